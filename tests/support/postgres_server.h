#pragma once
// A server of PostgreSQL for the tests of a program: in a folder of its own under /tmp, since paths of
// sockets are short, on a port of this machine that is free. It ends with the program, however that ends, and
// runs as another user where the tests run as root, which the server refuses.

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <memory>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace TestSupport {

class PostgresServer {
public:
    /// The only one, started by the first call.
    static PostgresServer& shared() {
        static PostgresServer server;
        return server;
    }

    const QString& fault() const { return fault_; }  ///< why there is no server; empty: it runs

    /// A new database without tables, owned by the user "kv", who needs no password.
    QString newDatabase() {
        const QString name = QString("d%1").arg(++databases_);
        sql("postgres", "CREATE DATABASE " + name);
        return name;
    }
    QString url(const QString& database, const QString& login = "kv") const {
        return "postgresql://" + login + "@127.0.0.1:" + QString::number(port_) + '/' + database;
    }
    QString socketUrl(const QString& database, const QString& login = "kv") const {
        return "postgresql://" + login + '@' + folder_->path().replace("/", "%2F") + ':' +
               QString::number(port_) + '/' + database;
    }
    /// What statements give, one after another, as the owner of everything.
    QString sql(const QString& database, const QString& statements) const {
        QString text;
        EXPECT_TRUE(runs("psql", psqlWords(database, statements), &text)) << statements.toStdString();
        return text;
    }
    /// Begins statements that take a while.
    void begin(QProcess& process, const QString& database, const QString& statements) const {
        const QStringList all = asUser("psql", psqlWords(database, statements));
        process.setWorkingDirectory(folder_->path());
        process.start(all.first(), all.mid(1));
    }
    /// Ends it at once, as a crash would: nothing is written any more.
    void crash() {
        ::kill(pid_t(server_.processId()), SIGQUIT);
        server_.waitForFinished();
    }
    void start() {
        constexpr int kTries = 3;
        fault_ = "does not start";
        for (int i = 0; i < kTries && !fault_.isEmpty(); ++i) {
            port_ = port_ == 0 || i > 0 ? freePort() : port_;
            const QStringList words =
                asUser("postgres",
                       {"-D", folder_->filePath("data"), "-k", folder_->path(), "-p", QString::number(port_),
                        "-c", "listen_addresses=127.0.0.1", "-c", "shared_buffers=16MB"});
            server_.setWorkingDirectory(folder_->path());
            server_.setStandardOutputFile(folder_->filePath("log"), QIODevice::Append);
            server_.setStandardErrorFile(folder_->filePath("log"), QIODevice::Append);
            server_.start(words.first(), words.mid(1));
            while (!fault_.isEmpty() && !server_.waitForFinished(20) &&
                   server_.state() == QProcess::Running) {
                if (runs("pg_isready", {"-h", "127.0.0.1", "-p", QString::number(port_), "-q"}))
                    fault_.clear();
            }
        }
    }

private:
    PostgresServer() {
        const QString versions = "/usr/lib/postgresql/";
        for (const QString& version : QDir(versions).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (QFile::exists(versions + version + "/bin/initdb"))
                programs_ = versions + version + "/bin/";
        }
        folder_ = std::make_unique<QTemporaryDir>("/tmp/kvpg-XXXXXX");
        if (programs_.isEmpty() || !QFile::exists("/usr/bin/setpriv") || !folder_->isValid()) {
            fault_ = programs_.isEmpty() ? "no server of PostgreSQL is installed (Debian: postgresql)"
                                         : "no setpriv (util-linux), or /tmp cannot be written";
            return;
        }
        if (::geteuid() == 0) {
            for (const char* name : {"postgres", "nobody"})
                user_ = user_ != nullptr ? user_ : ::getpwnam(name);
            if (user_ == nullptr || ::chown(qPrintable(folder_->path()), user_->pw_uid, user_->pw_gid) != 0) {
                fault_ = "root has no other user to run a server as";
                return;
            }
        }
        if (!runs("initdb", {"-D", folder_->filePath("data"), "-U", "kv", "-A", "trust", "-N", "-E", "UTF8",
                             "--locale=C"})) {
            fault_ = "initdb makes no database";
            return;
        }
        QFile rules(folder_->filePath("data/pg_hba.conf"));  // the first line that fits decides
        if (rules.open(QIODevice::ReadWrite)) {
            const QByteArray before = rules.readAll();
            rules.seek(0);
            rules.write("local all pw scram-sha-256\nhost all pw all scram-sha-256\n" + before);
            rules.close();
        }
        start();
    }
    ~PostgresServer() {
        if (server_.state() != QProcess::NotRunning)
            crash();
    }

    /// The words that run a program of the server so that it ends with this one.
    QStringList asUser(const QString& program, const QStringList& words) const {
        QStringList all{"/usr/bin/setpriv", "--pdeathsig", "QUIT"};
        if (user_ != nullptr)
            all += {QString("--reuid=%1").arg(user_->pw_uid), QString("--regid=%1").arg(user_->pw_gid),
                    "--clear-groups"};
        return all + QStringList{programs_ + program} + words;
    }
    QStringList psqlWords(const QString& database, const QString& statements) const {
        return {"-h", folder_->path(), "-p", QString::number(port_), "-U",    "kv",
                "-d", database,        "-v", "ON_ERROR_STOP=1",      "-qAtc", statements};
    }
    /// A program of the server ends with 0; `text`: its standard output.
    bool runs(const QString& program, const QStringList& words, QString* text = nullptr) const {
        const QStringList all = asUser(program, words);
        QProcess process;
        process.setWorkingDirectory(folder_->path());
        process.start(all.first(), all.mid(1));
        const bool isDone = process.waitForFinished(100'000) && process.exitStatus() == QProcess::NormalExit;
        if (text != nullptr)
            *text = QString::fromUtf8(process.readAllStandardOutput()).trimmed();
        return isDone && process.exitCode() == 0;
    }
    static int freePort() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        const auto place = reinterpret_cast<sockaddr*>(&address);
        const bool isBound = ::bind(socket, place, size) == 0 && ::getsockname(socket, place, &size) == 0;
        ::close(socket);
        return isBound ? ntohs(address.sin_port) : 1;
    }

    QString programs_, fault_;
    std::unique_ptr<QTemporaryDir> folder_;
    const passwd* user_ = nullptr;
    QProcess server_;
    int port_ = 0, databases_ = 0;
};

}  // namespace TestSupport
