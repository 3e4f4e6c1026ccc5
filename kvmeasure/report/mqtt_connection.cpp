// The module of MQTT, through libmosquitto. Its thread connects, sends, and connects anew where a connection
// is lost; what is not acknowledged it sends again. This side counts acknowledgements and waits for them, as
// long as one comes within the time. A module of its own so that hosts of the library need nothing but Qt
// Core.

#include <kvmeasure/report/mqtt_connection_p.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <memory>
#include <mosquitto.h>
#include <mutex>

namespace KvMeasure::Internal {

namespace {

constexpr int kKeepAlive = 60;  // s

/// Signals go to the threads of the host. One that breaks a pipe would end it where a broker goes.
class WithoutSignals {
public:
    WithoutSignals() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    WithoutSignals(const WithoutSignals&) = delete;
    WithoutSignals& operator=(const WithoutSignals&) = delete;
    ~WithoutSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

QString reasonOf(int code) {
    if (code == MOSQ_ERR_ERRNO)
        return qt_error_string(errno);
    const QString reason = QString::fromUtf8(::mosquitto_strerror(code));
    return code == MOSQ_ERR_TLS ? reason + " Does the system trust the certificate of the broker?" : reason;
}

class MosquittoConnection : public MqttConnection {
public:
    explicit MosquittoConnection(const MqttSettings& settings)
        : settings_(settings), client_(::mosquitto_new(nullptr, true, this)) {}
    MosquittoConnection(const MosquittoConnection&) = delete;
    MosquittoConnection& operator=(const MosquittoConnection&) = delete;
    ~MosquittoConnection() override {
        if (client_ == nullptr)
            return;
        const bool connects = !isConnectedNow();  // which may take minutes
        ::mosquitto_disconnect(client_);
        if (isStarted_)
            ::mosquitto_loop_stop(client_, /*force=*/connects || !fault_.isEmpty());
        ::mosquitto_destroy(client_);
    }

    bool open();
    bool send(const QByteArray& message) override;
    bool finish() override { return waitUntil(0); }
    qint64 acknowledged() const override {
        const std::lock_guard<std::mutex> lock(mutex_);
        return acknowledged_;
    }
    qint64 underway() const override {
        const std::lock_guard<std::mutex> lock(mutex_);
        return sent_ - acknowledged_;
    }
    QString error() const override { return fault_; }

private:
    static void onConnect(::mosquitto* client, void* self, int code);
    static void onDisconnect(::mosquitto* client, void* self, int code);
    static void onPublish(::mosquitto* client, void* self, int number);
    bool failed(int code);
    bool waitUntil(qint64 underway);
    bool isConnectedNow() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return isConnected_;
    }

    const MqttSettings settings_;
    ::mosquitto* client_;
    bool isStarted_ = false;
    QString fault_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;  ///< of what follows
    qint64 sent_ = 0;
    bool isConnected_ = false;
    bool wasConnected_ = false;
    QString refusal_;  ///< of the broker
    QString lost_;     ///< why there is no connection now
    qint64 acknowledged_ = 0;
};

void MosquittoConnection::onConnect(::mosquitto*, void* self, int code) {
    auto& connection = *static_cast<MosquittoConnection*>(self);
    const std::lock_guard<std::mutex> lock(connection.mutex_);
    connection.isConnected_ = code == 0;
    connection.wasConnected_ = connection.wasConnected_ || connection.isConnected_;
    if (code != 0)
        connection.refusal_ = QString::fromUtf8(::mosquitto_connack_string(code));
    connection.changed_.notify_all();
}

void MosquittoConnection::onDisconnect(::mosquitto*, void* self, int code) {
    auto& connection = *static_cast<MosquittoConnection*>(self);
    const std::lock_guard<std::mutex> lock(connection.mutex_);
    connection.isConnected_ = false;
    const bool isRefused = code == MOSQ_ERR_CONN_LOST && !connection.wasConnected_;
    connection.lost_ =
        isRefused ? QString("nothing there answers as a broker does; is it running, with TLS or without?")
                  : reasonOf(code);
    connection.changed_.notify_all();
}

void MosquittoConnection::onPublish(::mosquitto*, void* self, int) {
    auto& connection = *static_cast<MosquittoConnection*>(self);
    const std::lock_guard<std::mutex> lock(connection.mutex_);
    ++connection.acknowledged_;
    connection.changed_.notify_all();
}

bool MosquittoConnection::failed(int code) {
    fault_ = reasonOf(code);
    return false;
}

bool MosquittoConnection::open() {
    if (client_ == nullptr)
        return failed(MOSQ_ERR_NOMEM);
    ::mosquitto_connect_callback_set(client_, onConnect);
    ::mosquitto_disconnect_callback_set(client_, onDisconnect);
    ::mosquitto_publish_callback_set(client_, onPublish);
    int code = MOSQ_ERR_SUCCESS;
    if (!settings_.user.isEmpty())
        code =
            ::mosquitto_username_pw_set(client_, settings_.user.constData(), settings_.password.constData());
    if (code == MOSQ_ERR_SUCCESS && settings_.isSecure)
        code = ::mosquitto_int_option(client_, MOSQ_OPT_TLS_USE_OS_CERTS, 1);
    if (code == MOSQ_ERR_SUCCESS)
        code = ::mosquitto_connect_async(client_, settings_.host.constData(), settings_.port, kKeepAlive);
    const int connecting = errno;
    if (code == MOSQ_ERR_SUCCESS) {
        const WithoutSignals inThread;
        code = ::mosquitto_loop_start(client_);
    }
    errno = connecting;
    if (code != MOSQ_ERR_SUCCESS)
        return failed(code);
    isStarted_ = true;
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, std::chrono::milliseconds(settings_.waitMilliseconds),
                      [this] { return isConnected_ || !refusal_.isEmpty() || !lost_.isEmpty(); });
    if (isConnected_)
        return true;
    fault_ = refusal_.isEmpty() ? lost_ : refusal_;
    if (fault_.isEmpty())
        fault_ = settings_.isSecure ? "no answer; does the system trust the certificate of the broker?"
                                    : "no answer; is it a broker, with TLS or without?";
    return false;
}

/// Waits until so many messages at most are not acknowledged, as long as acknowledgements come.
bool MosquittoConnection::waitUntil(qint64 underway) {
    if (!fault_.isEmpty())
        return false;
    std::unique_lock<std::mutex> lock(mutex_);
    while (sent_ - acknowledged_ > underway) {
        const qint64 before = acknowledged_;
        const bool isAlive = changed_.wait_for(lock, std::chrono::milliseconds(settings_.waitMilliseconds),
                                               [&] { return acknowledged_ > before || !refusal_.isEmpty(); });
        if (isAlive && refusal_.isEmpty())
            continue;
        const QString reason = isConnected_ || lost_.isEmpty() ? QString("no answer") : lost_;
        fault_ = refusal_.isEmpty() ? reason : refusal_;
        return false;
    }
    return true;
}

bool MosquittoConnection::send(const QByteArray& message) {
    constexpr int kAtLeastOnce = 1;
    if (!waitUntil(settings_.mostUnderway - 1))
        return false;
    const int code = ::mosquitto_publish(client_, nullptr, settings_.topic.constData(),
                                         static_cast<int>(message.size()), message.constData(), kAtLeastOnce,
                                         /*retain=*/false);
    // Without a connection the message is kept, and sent when there is one again.
    if (code != MOSQ_ERR_SUCCESS && code != MOSQ_ERR_NO_CONN && code != MOSQ_ERR_CONN_LOST)
        return failed(code);
    const std::lock_guard<std::mutex> lock(mutex_);
    ++sent_;
    return true;
}

}  // namespace

extern "C" Q_DECL_EXPORT MqttConnection* kvmeasureOpenMqtt(const MqttSettings& settings, QString& fault);

MqttConnection* kvmeasureOpenMqtt(const MqttSettings& settings, QString& fault) {
    static const int started = ::mosquitto_lib_init();
    if (started != MOSQ_ERR_SUCCESS) {
        fault = QString::fromUtf8(::mosquitto_strerror(started));
        return nullptr;
    }
    auto connection = std::make_unique<MosquittoConnection>(settings);
    if (connection->open())
        return connection.release();
    fault = connection->error();
    return nullptr;
}

}  // namespace KvMeasure::Internal
