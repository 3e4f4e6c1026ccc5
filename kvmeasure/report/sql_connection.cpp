// The module of stores: statements through Qt Sql. A module of its own so that hosts of the library need
// nothing but Qt Core.

#include <kvmeasure/report/sql_connection_p.h>

#include <QtCore/QAtomicInt>
#include <QtCore/QHash>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>
#include <QtSql/QSqlRecord>

#include <memory>

namespace KvMeasure::Internal {

namespace {

const char* const kDriver = "QSQLITE";

class QtConnection : public SqlConnection {
public:
    QtConnection() : name_(QString("kvmeasure-%1").arg(numberOfNext())) {}
    QtConnection(const QtConnection&) = delete;
    QtConnection& operator=(const QtConnection&) = delete;
    ~QtConnection() override {
        queries_.clear();
        if (database_.isOpen())
            database_.close();
        database_ = QSqlDatabase();
        QSqlDatabase::removeDatabase(name_);
    }

    bool open(const SqlPlace& place, QString& fault) {
        if (!QSqlDatabase::isDriverAvailable(kDriver)) {
            fault = QString("Qt has no driver for SQLite here; on Debian install libqt%1sql%1-sqlite")
                        .arg(QT_VERSION_MAJOR);
            return false;
        }
        database_ = QSqlDatabase::addDatabase(kDriver, name_);
        database_.setDatabaseName(place.name);
        database_.setConnectOptions(QString("QSQLITE_BUSY_TIMEOUT=%1").arg(place.waitMilliseconds));
        if (database_.open())
            return true;
        fault = database_.lastError().databaseText();
        return false;
    }

    SqlOutcome run(const QString& statement, const QVariantList& values) override {
        close();
        current_ = queries_.value(statement);
        if (!current_) {
            current_ = std::make_shared<QSqlQuery>(database_);
            current_->setForwardOnly(true);
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
        const int cells = static_cast<int>(current_->record().count());
        row.reserve(cells);
        for (int i = 0; i < cells; ++i)
            row.append(current_->isNull(i) ? QVariant() : current_->value(i));
        return SqlOutcome::Row;
    }

    void close() override {
        if (current_)
            current_->finish();
        current_.reset();
    }
    QString error() const override { return error_; }
    int code() const override { return code_; }

private:
    static int numberOfNext() {
        static QAtomicInt opened;
        return opened.fetchAndAddRelaxed(1);
    }

    /// Numbers of SQLite, https://www.sqlite.org/rescode.html, without what refines them.
    SqlOutcome failed() {
        constexpr int kPrimary = 0xff, kBusy = 5, kLocked = 6;
        const QSqlError error = current_->lastError();
        error_ = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
        code_ = error.nativeErrorCode().toInt() & kPrimary;
        current_->finish();
        current_.reset();
        return code_ == kBusy || code_ == kLocked ? SqlOutcome::Busy : SqlOutcome::Failed;
    }

    QString name_, error_;
    QSqlDatabase database_;
    QHash<QString, std::shared_ptr<QSqlQuery>> queries_;
    std::shared_ptr<QSqlQuery> current_;
    int code_ = 0;
};

}  // namespace

extern "C" Q_DECL_EXPORT SqlConnection* kvmeasureOpenStore(const SqlPlace& place, QString& fault);

SqlConnection* kvmeasureOpenStore(const SqlPlace& place, QString& fault) {
    auto connection = std::make_unique<QtConnection>();
    return connection->open(place, fault) ? connection.release() : nullptr;
}

}  // namespace KvMeasure::Internal
