#pragma once
// What the module of MQTT offers to the library that loads it. The module is built with the library, of the
// same Qt.

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace KvMeasure::Internal {

/// How a broker is reached.
struct MqttSettings {
    QByteArray host;
    int port = 0;
    bool isSecure = false;
    QByteArray user, password;  ///< no user: empty
    QByteArray topic;
    int waitMilliseconds = 0;  ///< for an answer
    qint64 mostUnderway = 0;   ///< messages that send() leaves without acknowledgement
};

/// A connection to a broker, for the thread that opened it.
class MqttConnection {
public:
    MqttConnection() = default;
    MqttConnection(const MqttConnection&) = delete;
    MqttConnection& operator=(const MqttConnection&) = delete;
    virtual ~MqttConnection() = default;

    virtual bool send(const QByteArray& message) = 0;  ///< false: error() says why, all ends here
    virtual bool finish() = 0;                         ///< waits for all acknowledgements; likewise
    virtual qint64 acknowledged() const = 0;           ///< messages
    virtual qint64 underway() const = 0;               ///< messages without acknowledgement
    virtual QString error() const = 0;                 ///< of the last failure
};

/// Connects; null, with the reason in `fault`, where that cannot be.
using OpenMqttConnection = MqttConnection* (*)(const MqttSettings& settings, QString& fault);

}  // namespace KvMeasure::Internal
