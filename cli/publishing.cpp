#include "cli/publishing.h"

#include "cli/console.h"
#include "cli/parameters.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace KvMeasure {

Option mqttOption(const char* what) { return {"--mqtt", "mqtt://HOST/TOPIC", what}; }

std::optional<MqttPlace> brokerOf(const Arguments& arguments) {
    if (!arguments.has("--mqtt"))
        return std::nullopt;
    return parseMqttPlace(arguments.text("--mqtt"));
}

int publish(const std::optional<MqttPlace>& broker, const QJsonArray& objects, int code) {
    if (!broker)
        return code;
    try {
        MqttPublisher publisher(*broker);
        for (const QJsonValue& object : objects) {
            const QByteArray line = QJsonDocument(object.toObject()).toJson(QJsonDocument::Compact);
            publisher.publish(withParameters(QString::fromUtf8(line), optionOf).toUtf8());
        }
        publisher.finish();
        complain(filledIn("%1: %2 published", broker->text(), counted(publisher.acknowledged(), "result")));
    } catch (const Error& error) {
        complain(error.text(optionOf));
        return Refused;
    }
    return code;
}

}  // namespace KvMeasure
