// The form of a store: its tables and the numbers in the head of the file by which SQLite lets programs tell
// their files, application_id and user_version. Tables are strict, and triggers keep rows from being changed:
// results are added, nothing else. A file is read only where its tables are those of this form, letter by
// letter, so that no view of a hostile file takes their place. Every transaction is on the disk, with the
// folder that holds its journal, before it is said to be stored (synchronous = EXTRA). The journal is that of
// one file beside the store, not a write-ahead log, which needs memory shared between all programs and so
// fails on network drives.

#include <kvmeasure/report/store_session_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/module_path_p.h>
#include <kvmeasure/base/output_file.h>

#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>
#include <QtCore/QMap>

#include <cmath>
#include <limits>

namespace KvMeasure::Internal {

namespace {

constexpr int kForm = 1;
constexpr int kApplication = 0x4b764d73;  // "KvMs"
constexpr double kLongestWait = 3600;     // s

const struct {
    const char *name, *statement;
} kTables[] = {
    {"plan",
     "CREATE TABLE plan(digest TEXT PRIMARY KEY NOT NULL, name TEXT NOT NULL, text TEXT NOT NULL) STRICT"},
    {"run", "CREATE TABLE run(id INTEGER PRIMARY KEY AUTOINCREMENT, list TEXT NOT NULL, started TEXT NOT "
            "NULL, command "
            "TEXT NOT NULL, version TEXT NOT NULL, plan TEXT NOT NULL REFERENCES plan(digest), station TEXT "
            "NOT NULL, "
            "operator TEXT NOT NULL) STRICT"},
    {"run_end",
     "CREATE TABLE run_end(run INTEGER PRIMARY KEY REFERENCES run(id), ended TEXT NOT NULL) STRICT"},
    {"part", "CREATE TABLE part(id INTEGER PRIMARY KEY AUTOINCREMENT, run INTEGER NOT NULL REFERENCES "
             "run(id), source "
             "INTEGER NOT NULL, record INTEGER NOT NULL, name TEXT NOT NULL, serial TEXT NOT NULL, stored "
             "TEXT NOT NULL, "
             "z_mm REAL, state TEXT NOT NULL, verdict TEXT NOT NULL, reason TEXT NOT NULL, UNIQUE(run, "
             "source, record)) "
             "STRICT"},
    {"value", "CREATE TABLE value(part INTEGER NOT NULL REFERENCES part(id), position INTEGER NOT NULL, name "
              "TEXT NOT NULL, "
              "unit TEXT NOT NULL, value REAL, expanded_u REAL, nominal REAL, lower REAL, upper REAL, "
              "verdict TEXT NOT "
              "NULL, reason TEXT NOT NULL, PRIMARY KEY(part, position)) STRICT, WITHOUT ROWID"}};

/// Of each table, for both ways to change a row.
QString guard(const QString& table, const QString& change) {
    return QString("CREATE TRIGGER no_%2_of_%1 BEFORE %3 ON %1 BEGIN SELECT RAISE(ABORT, 'results are only "
                   "added'); END")
        .arg(table, change, change.toUpper());
}

/// All statements that make a store, by the names of what they make.
QMap<QString, QString> formOfStore() {
    QMap<QString, QString> form;
    for (const auto& table : kTables) {
        form[table.name] = table.statement;
        for (const char* change : {"update", "delete"})
            form[QString("no_%2_of_%1").arg(table.name, change)] = guard(table.name, change);
    }
    return form;
}

/// The module, loaded once.
OpenSqlConnection opener() {
    static QString fault;
    static const OpenSqlConnection loaded = []() -> OpenSqlConnection {
        const QString path = modulePath(KVMEASURE_STORE);
        if (!QFileInfo::exists(path)) {
            fault = filledIn("results are stored by Qt Sql and %1, which is not there", path);
            return nullptr;
        }
        QLibrary library(path);
        library.setLoadHints(QLibrary::PreventUnloadHint);  // its drivers stay, too
        const auto open = reinterpret_cast<OpenSqlConnection>(library.resolve("kvmeasureOpenStore"));
        fault = filledIn("results cannot be stored: %1", library.errorString());
        return open;
    }();
    if (loaded == nullptr)
        throw Error(fault);
    return loaded;
}

/// Refuses what SQLite would make a file of, or misunderstand.
void requirePlace(const QString& path, bool isWritten) {
    const QFileInfo file(path);
    const auto refuse = [&](const char* reason) { throw Error(filledIn(reason, path)).inFile(path); };
    if (path.isEmpty())
        throw Error("a results store needs a name");
    if (path.startsWith("postgresql:") || path.startsWith("postgres:"))
        throw Error(filledIn("%1: stores are SQLite files, none is on a server; name a file", path));
    if (file.isDir())
        refuse("%1: is a directory");
    if (file.exists() && !file.isFile())
        refuse("%1: is no regular file");
    if (!file.exists() && !isWritten)
        refuse("%1: no such file");
    if (!QFileInfo(file.absolutePath()).isDir())
        refuse("%1: its folder is not there");
    if (file.exists() && !file.isReadable())
        refuse("%1: may not be read");
}

}  // namespace

StoreSession::StoreSession(const QString& path, bool isWritten, double waitSeconds)
    : path_(path), waitSeconds_(qBound(0.0, waitSeconds, kLongestWait)) {
    requirePlace(path, isWritten);
    constexpr double kMilliseconds = 1000;
    QString fault;
    const SqlPlace place{placeOf(path), static_cast<int>(waitSeconds_ * kMilliseconds)};
    connection_.reset(opener()(place, fault));
    if (!connection_)
        throw Error(filledIn("%1: cannot be opened: %2", path, fault)).inFile(path);
    open(isWritten);
}

void StoreSession::open(bool isWritten) {
    for (const char* setting : {"trusted_schema = OFF", "cell_size_check = ON", "foreign_keys = ON",
                                "synchronous = EXTRA", isWritten ? "query_only = OFF" : "query_only = ON"})
        run(QString("PRAGMA ") + setting);
    StoreTransaction transaction(*this, isWritten);
    const bool isEmpty = cell("SELECT count(*) FROM sqlite_master").toInt() == 0;
    const int application = cell("PRAGMA application_id").toInt();
    const int form = cell("PRAGMA user_version").toInt();
    if (isEmpty && isWritten && application == 0 && form == 0) {
        makeForm();
        run(QString("PRAGMA application_id = %1").arg(kApplication));
        run(QString("PRAGMA user_version = %1").arg(kForm));
    } else if (application != kApplication) {
        refuse(isEmpty ? "%1: is empty, and no results store"
                       : "%1: is a database of another program, no results store");
    } else if (form > kForm) {
        throw Error(filledIn("%1: was made by a newer version of kvmeasure (form %2, this one knows form %3)",
                             path_, form, kForm))
            .inFile(path_);
    } else {
        requireForm();
        const qint64 bytes = cell("PRAGMA page_count").toLongLong() * cell("PRAGMA page_size").toLongLong();
        if (QFileInfo(path_).size() < bytes)  // SQLite takes what is missing of the last page for zeros
            refuse("%1: is damaged or cut; take a copy of an earlier day");
    }
    transaction.commit();
}

void StoreSession::makeForm() {
    const QMap<QString, QString> form = formOfStore();
    for (const char* what : {"CREATE TABLE", "CREATE TRIGGER"}) {  // a trigger needs its table
        for (const QString& statement : form) {
            if (statement.startsWith(what))
                run(statement);
        }
    }
}

void StoreSession::requireForm() {
    const QMap<QString, QString> form = formOfStore();
    QMap<QString, QString> missing = form;
    run("SELECT name, tbl_name, type, sql FROM sqlite_master WHERE sql IS NOT NULL");
    for (QVariantList row; next(row);) {
        const QString name = row.value(0).toString();
        const bool isOwn = missing.contains(name) && missing[name] == row.value(3).toString();
        if (isOwn)
            missing.remove(name);
        else if (form.contains(name) || row.value(2) == "trigger")
            refuse("%1: its tables were changed, it is no results store any more");
    }
    if (!missing.isEmpty())
        refuse("%1: tables are missing in it, it is no results store any more");
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

void StoreSession::refuse(const char* reason) const { throw Error(filledIn(reason, path_)).inFile(path_); }

void StoreSession::fail() const {
    // https://www.sqlite.org/rescode.html
    constexpr int kBusy = 5, kLocked = 6, kReadOnly = 8, kInputOutput = 10, kDamaged = 11, kFull = 13,
                  kCannotOpen = 14, kNoDatabase = 26;
    switch (connection_->code()) {
    case kBusy:
    case kLocked:
        throw Error(filledIn("%1: is locked: another program holds it for more than %2 s; try again", path_,
                             waitSeconds_))
            .inFile(path_);
    case kReadOnly:
        refuse("%1: is read-only, or its folder is; nothing was stored");
    case kFull:
        refuse("%1: the disk is full; what was stored before is not affected");
    case kCannotOpen:
        refuse("%1: cannot be opened; may its folder be written?");
    case kNoDatabase:
        refuse("%1: is no results store");
    case kDamaged:
        refuse("%1: is damaged or cut; take a copy of an earlier day");
    case kInputOutput:
        throw Error(filledIn("%1: cannot be read or written (%2); what was stored before is not affected",
                             path_, connection_->error()))
            .inFile(path_);
    default:
        throw Error(filledIn("%1: %2", path_, connection_->error())).inFile(path_);
    }
}

StoreTransaction::StoreTransaction(StoreSession& session, bool isWritten) : session_(session) {
    session_.run(isWritten ? "BEGIN IMMEDIATE" : "BEGIN");
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
