// A store is opened in one transaction: whether there is one, of which form, and whether its tables are those
// of this form. All that depends on the database is asked from its dialect.

#include <kvmeasure/report/store_session_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/module_path_p.h>

#include <cmath>
#include <limits>

namespace KvMeasure::Internal {

namespace {

constexpr int kForm = 1;
constexpr double kLongestWait = 3600;  // s

/// Milliseconds for the database.
int waitOf(double seconds) {
    constexpr double kMilliseconds = 1000;
    return static_cast<int>(seconds * kMilliseconds);
}

/// Of the module, loaded once.
OpenSqlConnection opener() {
    static const auto open = reinterpret_cast<OpenSqlConnection>(moduleFunction(
        KVMEASURE_STORE, "kvmeasureOpenStore", "results are stored by Qt Sql and %1, which is not there",
        "results cannot be stored: %1"));
    return open;
}

}  // namespace

StoreSession::StoreSession(const QString& path, bool isWritten, double waitSeconds)
    : waitSeconds_(qBound(0.0, waitSeconds, kLongestWait)),
      place_(storePlace(path, isWritten, waitOf(waitSeconds_))), dialect_(dialectOf(place_)) {
    QString fault;
    connection_.reset(opener()(place_.sql, fault));
    if (!connection_)
        refuse(dialect_.unopened(fault));
    open(isWritten);
}

void StoreSession::open(bool isWritten) {
    for (const QString& setting : dialect_.settings(isWritten, waitOf(waitSeconds_)))
        run(setting);
    StoreTransaction transaction(*this, isWritten);
    const StoreHead head = dialect_.head(*this, isWritten);
    if (head.kind == StoreHead::Nothing && isWritten) {
        dialect_.make(*this, kForm);
    } else if (head.kind != StoreHead::Store) {
        refuse(head.kind == StoreHead::Nothing ? dialect_.nothingThere() : dialect_.otherThere());
    } else if (head.form > kForm) {
        refuse(filledIn("was made by a newer version of kvmeasure (form %1, this one knows form %2)",
                        head.form, kForm));
    } else {
        requireForm();
        dialect_.requireWhole(*this);
    }
    transaction.commit();
}

void StoreSession::requireForm() {
    const QMap<QString, QString> form = dialect_.form();
    QMap<QString, QString> missing = form;
    run(dialect_.formQuestion());
    for (QVariantList row; next(row);) {
        const QString name = row.value(0).toString();
        const bool isOwn = missing.contains(name) && missing[name] == row.value(1).toString();
        if (isOwn)
            missing.remove(name);
        else if (form.contains(name) || row.value(2).toInt() != 0)
            refuse("its tables were changed, it is no results store any more");
    }
    if (!missing.isEmpty())
        refuse("tables are missing in it, it is no results store any more");
}

void StoreSession::require(SqlOutcome outcome) const {
    if (outcome == SqlOutcome::Failed)
        refuse(dialect_.failure(connection_->code(), connection_->error(), waitSeconds_));
}

void StoreSession::run(const QString& statement, const QVariantList& values) {
    require(connection_->run(statement, values));
}

bool StoreSession::next(QVariantList& row) {
    const SqlOutcome outcome = connection_->next(row);
    require(outcome);
    return outcome == SqlOutcome::Row;
}

QVariant StoreSession::cell(const QString& statement, const QVariantList& values) {
    run(statement, values);
    QVariantList row;
    next(row);
    connection_->close();
    return row.value(0);
}

void StoreSession::abandon() noexcept {
    try {
        connection_->run("ROLLBACK", {});
    } catch (const std::exception&) {  // memory: closing rolls back, too
    }
}

void StoreSession::refuse(const QString& sentence) const {
    throw Error(place_.name + ": " + sentence).inFile(place_.name);
}

StoreTransaction::StoreTransaction(StoreSession& session, bool isWritten) : session_(session) {
    session_.run(session_.dialect().begin(isWritten));
}

StoreTransaction::~StoreTransaction() {
    if (isOpen_)
        session_.abandon();
}

void StoreTransaction::commit() {
    session_.run("COMMIT");
    isOpen_ = false;
}

double numberOf(const QVariant& cell, const QString& path) {
    if (!cell.isValid() || cell.isNull())
        return std::numeric_limits<double>::quiet_NaN();
    bool isNumber = cell.userType() != QMetaType::QString && cell.userType() != QMetaType::QByteArray;
    const double number = isNumber ? cell.toDouble(&isNumber) : 0;
    if (!isNumber || !std::isfinite(number))
        throw Error(filledIn("%1: a value in it is no number; the store is damaged", path)).inFile(path);
    return number;
}

}  // namespace KvMeasure::Internal
