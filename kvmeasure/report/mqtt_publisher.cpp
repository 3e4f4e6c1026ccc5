#include <kvmeasure/report/mqtt_publisher.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/module_path_p.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/mqtt_connection_p.h>

#include <QtCore/QUrl>

namespace KvMeasure {

namespace {

constexpr int kPort = 1883;        // registered for MQTT
constexpr int kSecurePort = 8883;  // registered for MQTT over TLS
constexpr int kMostTopicBytes = 65'535;

const char* const form = "mqtt://[USER[:PASSWORD]@]HOST[:PORT]/TOPIC";

/// Of the module, loaded once.
Internal::OpenMqttConnection opener() {
    static const auto open = reinterpret_cast<Internal::OpenMqttConnection>(
        moduleFunction(KVMEASURE_MQTT, "kvmeasureOpenMqtt",
                       "results are published by libmosquitto and %1, which is not there; install the "
                       "package kvmeasure, or build with libmosquitto-dev",
                       "results cannot be published: %1"));
    return open;
}

}  // namespace

QString MqttPlace::text() const {
    const int usual = isSecure ? kSecurePort : kPort;
    return filledIn("%1://%2%3/%4", isSecure ? "mqtts" : "mqtt", host.contains(':') ? '[' + host + ']' : host,
                    port == usual ? QString() : ':' + QString::number(port), topic);
}

MqttPlace parseMqttPlace(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    MqttPlace place;
    place.isSecure = url.scheme() == "mqtts";
    place.host = url.host();
    place.port = url.port(place.isSecure ? kSecurePort : kPort);
    place.user = url.userName(QUrl::FullyDecoded);
    place.password = url.password(QUrl::FullyDecoded);
    place.topic = url.path(QUrl::FullyDecoded).mid(1);
    if (!url.isValid() || (url.scheme() != "mqtt" && !place.isSecure) || place.host.isEmpty() ||
        place.port < 1 || url.hasQuery())
        throw Error(filledIn("\1mqtt\2 needs %1, with mqtts for TLS", form));
    const QString where = place.text();
    if (url.hasFragment() || place.topic.contains('#') || place.topic.contains('+'))
        throw Error(filledIn("\1mqtt\2: %1: + and # stand for several topics; name one", where));
    if (place.topic.isEmpty())
        throw Error(filledIn("\1mqtt\2: %1: names no topic; the form is %2", where, form));
    if (place.topic.toUtf8().size() > kMostTopicBytes || !isPrintable(place.topic))
        throw Error("\1mqtt\2: the topic is too long, or has characters that no topic may have");
    return place;
}

MqttPublisher::MqttPublisher(const MqttPlace& place, double waitSeconds) : place_(place) {
    constexpr double kLongest = 3600, kMilliseconds = 1000;
    Internal::MqttSettings settings;
    settings.host = place.host.toUtf8();
    settings.port = place.port;
    settings.isSecure = place.isSecure;
    settings.user = place.user.toUtf8();
    settings.password = place.password.toUtf8();
    settings.topic = place.topic.toUtf8();
    settings.waitMilliseconds = static_cast<int>(qBound(0.0, waitSeconds, kLongest) * kMilliseconds);
    settings.mostUnderway = kMostUnderway;
    QString fault;
    connection_.reset(opener()(settings, fault));
    if (!connection_)
        throw Error(filledIn("%1: no connection: %2", place.text(), fault));
}

MqttPublisher::~MqttPublisher() = default;

void MqttPublisher::publish(const QByteArray& message) {
    if (!connection_->send(message))
        fail();
}

void MqttPublisher::finish() {
    if (!connection_->finish())
        fail();
}

void MqttPublisher::fail() const {
    throw Error(filledIn("%1: %2 without acknowledgement of the broker, %3 acknowledged: %4", place_.text(),
                         counted(connection_->underway(), "message"), connection_->acknowledged(),
                         connection_->error()));
}

qint64 MqttPublisher::acknowledged() const { return connection_->acknowledged(); }

}  // namespace KvMeasure
