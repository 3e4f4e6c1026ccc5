#pragma once
// Messages to an MQTT broker, each of them acknowledged.
//
//     MqttPublisher publisher(parseMqttPlace("mqtt://localhost/line/3"));
//     publisher.publish(line);
//     publisher.finish();  // after it the broker has them all

#include <kvmeasure/base/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

namespace KvMeasure {

namespace Internal {
class MqttConnection;
}

/// A broker and a topic.
struct KVMEASURE_EXPORT MqttPlace {
    QString host;           ///< name or address
    int port = 0;           ///< 1 to 65535
    bool isSecure = false;  ///< TLS, the broker's certificate checked by those of the system
    QString user;           ///< empty: none
    QString password;       ///< means nothing without a user
    QString topic;          ///< where messages go
    QString text() const;   ///< as parseMqttPlace reads it, without user and password
};

/// Reads "mqtt://[USER[:PASSWORD]@]HOST[:PORT]/TOPIC", or "mqtts://..." for TLS. The port is 1883, with TLS
/// 8883. What stands for a separator in user, password or topic is written as %XX. Throws Error, without the
/// password in it, for another text, a topic that is empty or too long (65,535 bytes) and one with "+" or
/// "#", which stand for several.
KVMEASURE_EXPORT MqttPlace parseMqttPlace(const QString& text);

/// A connection to a broker. Messages have quality of service 1: the broker acknowledges each of them, and
/// takes one twice at most where the connection was interrupted. It is made anew then; what is not
/// acknowledged is sent again. Waiting is bounded: where the broker answers nothing for `waitSeconds`, a call
/// throws Error, and the publisher is of no use any more. An object is used in one thread.
class KVMEASURE_EXPORT MqttPublisher {
public:
    static constexpr double kWait = 10;           ///< s, for an answer of the broker
    static constexpr qint64 kMostUnderway = 100;  ///< messages that publish() leaves without acknowledgement

    /// Connects. Throws Error where there is no module for it, the broker does not answer, or refuses user
    /// and password. The name of the host is resolved in the time that the system takes for it.
    explicit MqttPublisher(const MqttPlace& place, double waitSeconds = kWait);
    MqttPublisher(const MqttPublisher&) = delete;             ///< a connection is one
    MqttPublisher& operator=(const MqttPublisher&) = delete;  ///< likewise
    ~MqttPublisher();  ///< closes the connection; what is not acknowledged may be lost

    void publish(const QByteArray& message);  ///< sends it; waits while kMostUnderway are under way
    void finish();                            ///< waits until all are acknowledged
    qint64 acknowledged() const;              ///< messages that the broker has

private:
    [[noreturn]] void fail() const;

    MqttPlace place_;
    std::unique_ptr<Internal::MqttConnection> connection_;
};

}  // namespace KvMeasure
