// The module of stores: statements through Qt Sql. A module of its own so that hosts of the library need
// nothing but Qt Core.

#include <kvmeasure/report/sql_connection_p.h>

#include <QtCore/QAtomicInt>
#include <QtCore/QHash>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlDriver>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>
#include <QtSql/QSqlRecord>

#include <memory>

namespace KvMeasure::Internal {

namespace {

/// PostgreSQL's code for a connection that was lost, which its library does not set then.
const char* const kLost = "08006";

class QtConnection : public SqlConnection {
public:
    QtConnection() : name_(QString("kvmeasure-%1").arg(numberOfNext())) {}
    QtConnection(const QtConnection&) = delete;
    QtConnection& operator=(const QtConnection&) = delete;
    ~QtConnection() override {
        current_.reset();
        database_ = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);  // first, so that no statement is freed on a lost connection
        queries_.clear();
    }

    bool open(const SqlPlace& place, QString& fault) {
        if (!QSqlDatabase::isDriverAvailable(place.driver)) {
            const bool isServer = place.driver == "QPSQL";
            fault = QString("Qt has no driver for ") + (isServer ? "PostgreSQL" : "SQLite") +
                    QString(" here; on Debian install libqt%1sql%1-").arg(QT_VERSION_MAJOR) +
                    (isServer ? "psql" : "sqlite");
            return false;
        }
        database_ = QSqlDatabase::addDatabase(place.driver, name_);
        database_.setDatabaseName(place.database);
        database_.setHostName(place.host);
        database_.setUserName(place.user);
        database_.setPassword(place.password);
        database_.setPort(place.port);
        database_.setConnectOptions(place.options);
        if (database_.open())
            return true;
        fault = textOf(database_.lastError());
        return false;
    }

    SqlOutcome run(const QString& statement, const QVariantList& values) override {
        close();
        cells_ = -1;
        if (!database_.driver()->isOpen()) {  // Qt would say so on standard error
            code_ = kLost;
            return SqlOutcome::Failed;
        }
        current_ = values.isEmpty() ? nullptr : queries_.value(statement);
        if (!current_) {
            current_ = std::make_shared<QSqlQuery>(database_);
            current_->setForwardOnly(true);
            if (values.isEmpty())  // not all statements can be prepared
                return current_->exec(statement) ? SqlOutcome::Done : failed();
            if (!current_->prepare(statement))
                return failed();
            queries_.insert(statement, current_);
        }
        for (int i = 0; i < static_cast<int>(values.size()); ++i)
            current_->bindValue(i, values[i]);
        return current_->exec() ? SqlOutcome::Done : failed();
    }

    SqlOutcome next(QVariantList& row) override {
        row.clear();
        if (!current_ || !current_->isActive())
            return SqlOutcome::Done;
        if (!current_->next())
            return current_->lastError().isValid() ? failed() : SqlOutcome::Done;
        if (cells_ < 0)
            cells_ = static_cast<int>(current_->record().count());
        row.reserve(cells_);
        for (int i = 0; i < cells_; ++i)
            row.append(current_->isNull(i) ? QVariant() : current_->value(i));
        return SqlOutcome::Row;
    }

    void close() override {
        if (current_)
            current_->finish();
        current_.reset();
    }
    QString error() const override { return error_; }
    QString code() const override { return code_; }

private:
    static int numberOfNext() {
        static QAtomicInt opened;
        return opened.fetchAndAddRelaxed(1);
    }
    static QString textOf(const QSqlError& error) {
        return (error.databaseText().isEmpty() ? error.driverText() : error.databaseText()).simplified();
    }

    SqlOutcome failed() {
        const QSqlError error = current_->lastError();
        error_ = textOf(error);
        code_ = database_.driver()->isOpen() ? error.nativeErrorCode() : QString(kLost);
        current_->finish();
        current_.reset();
        return SqlOutcome::Failed;
    }

    QString name_, error_, code_;
    QSqlDatabase database_;
    QHash<QString, std::shared_ptr<QSqlQuery>> queries_;
    std::shared_ptr<QSqlQuery> current_;
    int cells_ = -1;  // of a row of the last statement
};

}  // namespace

extern "C" Q_DECL_EXPORT SqlConnection* kvmeasureOpenStore(const SqlPlace& place, QString& fault);

SqlConnection* kvmeasureOpenStore(const SqlPlace& place, QString& fault) {
    auto connection = std::make_unique<QtConnection>();
    return connection->open(place, fault) ? connection.release() : nullptr;
}

}  // namespace KvMeasure::Internal
