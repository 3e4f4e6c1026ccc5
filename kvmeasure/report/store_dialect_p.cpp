// Tables are written once, in SQLite's words; PostgreSQL has others for their types. In both, triggers keep
// rows from being changed.
//
// SQLite: numbers in the head of the file, by which programs tell their files, are those of a store
// (application_id, user_version). Tables are strict. A file is read only where its tables are those of this
// form, letter by letter, so that no view of a hostile file takes their place. Every transaction is on the
// disk, with the folder that holds its journal, before it is said to be stored (synchronous = EXTRA). The
// journal is that of one file beside the store, not a write-ahead log, which needs memory shared between all
// programs and so fails on network drives.
//
// PostgreSQL: tables stand in a schema of their own, beside whatever else the database holds; the last row of
// its table "form" is their version. Writers do not wait for each other, but while a store is made. A
// transaction is on the server's disk before it is said to be stored, whatever its settings say for others
// (synchronous_commit).

#include <kvmeasure/report/store_dialect_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/store_session_p.h>

#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>

namespace KvMeasure::Internal {

namespace {

constexpr int kApplication = 0x4b764d73;  // "KvMs"
const char* const kChanges[] = {"update", "delete"};

const struct {
    const char *name, *columns, *kind;  // `kind`: of SQLite's table
} kTables[] = {
    {"plan", "digest TEXT PRIMARY KEY NOT NULL, name TEXT NOT NULL, text TEXT NOT NULL", "STRICT"},
    {"run",
     "id INTEGER PRIMARY KEY AUTOINCREMENT, list TEXT NOT NULL, started TEXT NOT NULL, command TEXT NOT "
     "NULL, version TEXT NOT NULL, plan TEXT NOT NULL REFERENCES plan(digest), station TEXT NOT NULL, "
     "operator TEXT NOT NULL",
     "STRICT"},
    {"run_end", "run INTEGER PRIMARY KEY REFERENCES run(id), ended TEXT NOT NULL", "STRICT"},
    {"part",
     "id INTEGER PRIMARY KEY AUTOINCREMENT, run INTEGER NOT NULL REFERENCES run(id), source INTEGER NOT "
     "NULL, record INTEGER NOT NULL, name TEXT NOT NULL, serial TEXT NOT NULL, stored TEXT NOT NULL, z_mm "
     "REAL, state TEXT NOT NULL, verdict TEXT NOT NULL, reason TEXT NOT NULL, UNIQUE(run, source, record)",
     "STRICT"},
    {"value",
     "part INTEGER NOT NULL REFERENCES part(id), position INTEGER NOT NULL, name TEXT NOT NULL, unit TEXT "
     "NOT NULL, value REAL, expanded_u REAL, nominal REAL, lower REAL, upper REAL, verdict TEXT NOT NULL, "
     "reason TEXT NOT NULL, PRIMARY KEY(part, position)",
     "STRICT, WITHOUT ROWID"}};

class SqliteDialect : public StoreDialect {
public:
    QStringList settings(bool isWritten, int /*waitMilliseconds*/) const override {
        return {"PRAGMA trusted_schema = OFF", "PRAGMA cell_size_check = ON", "PRAGMA foreign_keys = ON",
                "PRAGMA synchronous = EXTRA",
                isWritten ? "PRAGMA query_only = OFF" : "PRAGMA query_only = ON"};
    }
    QString begin(bool isWritten) const override { return isWritten ? "BEGIN IMMEDIATE" : "BEGIN"; }

    StoreHead head(StoreSession& session, bool /*isWritten*/) const override {
        const bool isEmpty = session.cell("SELECT count(*) FROM sqlite_master").toInt() == 0;
        const int application = session.cell("PRAGMA application_id").toInt();
        const int form = session.cell("PRAGMA user_version").toInt();
        if (application == kApplication)
            return {StoreHead::Store, form};
        return {isEmpty && application == 0 && form == 0 ? StoreHead::Nothing : StoreHead::Other, 0};
    }
    const char* nothingThere() const override { return "is empty, and no results store"; }
    const char* otherThere() const override { return "is a database of another program, no results store"; }

    void make(StoreSession& session, int form) const override {
        const QMap<QString, QString> statements = this->form();
        for (const char* what : {"CREATE TABLE", "CREATE TRIGGER"}) {  // a trigger needs its table
            for (const QString& statement : statements) {
                if (statement.startsWith(what))
                    session.run(statement);
            }
        }
        session.run(QString("PRAGMA application_id = %1").arg(kApplication));
        session.run(QString("PRAGMA user_version = %1").arg(form));
    }

    QMap<QString, QString> form() const override {
        QMap<QString, QString> form;
        for (const auto& table : kTables) {
            form[table.name] = filledIn("CREATE TABLE %1(%2) %3", table.name, table.columns, table.kind);
            for (const char* change : kChanges)
                form[filledIn("no_%1_of_%2", change, table.name)] =
                    filledIn("CREATE TRIGGER no_%1_of_%2 BEFORE %3 ON %2 BEGIN SELECT RAISE(ABORT, 'results "
                             "are only added'); END",
                             change, table.name, QString(change).toUpper());
        }
        return form;
    }
    QString formQuestion() const override {
        return "SELECT name, sql, type = 'trigger' FROM sqlite_master WHERE sql IS NOT NULL";
    }
    /// SQLite takes what is missing of the last page for zeros.
    void requireWhole(StoreSession& session) const override {
        const qint64 bytes =
            session.cell("PRAGMA page_count").toLongLong() * session.cell("PRAGMA page_size").toLongLong();
        if (QFileInfo(session.database()).size() < bytes)
            session.refuse(kDamagedText);
    }

    QString unopened(const QString& fault) const override { return "cannot be opened: " + fault; }

    /// https://www.sqlite.org/rescode.html, without what refines the codes.
    QString failure(const QString& code, const QString& text, double wait) const override {
        constexpr int kPrimary = 0xff, kBusy = 5, kLocked = 6, kReadOnly = 8, kInputOutput = 10,
                      kDamaged = 11, kFull = 13, kCannotOpen = 14, kNoDatabase = 26;
        const char* const locked = "is locked: another program holds it for more than %2 s; try again";
        static const QMap<int, const char*> words{
            {kBusy, locked},
            {kLocked, locked},
            {kReadOnly, "is read-only, or its folder is; nothing was stored"},
            {kInputOutput, "cannot be read or written (%1); what was stored before is not affected"},
            {kDamaged, kDamagedText},
            {kFull, "the disk is full; what was stored before is not affected"},
            {kCannotOpen, "cannot be opened; may its folder be written?"},
            {kNoDatabase, "is no results store"}};
        return filledIn(words.value(code.toInt() & kPrimary, "%1"), text, wait);
    }

private:
    static constexpr const char* kDamagedText = "is damaged or cut; take a copy of an earlier day";
};

/// The types of columns in PostgreSQL's words.
QString inPostgres(QString columns) {
    return columns
        .replace("INTEGER PRIMARY KEY AUTOINCREMENT", "INTEGER GENERATED ALWAYS AS IDENTITY PRIMARY KEY")
        .replace("INTEGER", "BIGINT")
        .replace("REAL", "DOUBLE PRECISION");
}

/// "id bigint, name text": columns with their types as the server's catalogue has them.
QString columnsIn(const char* columns) {
    const QMap<QString, QString> types{{"INTEGER", "bigint"}, {"TEXT", "text"}, {"REAL", "double precision"}};
    QStringList found;
    for (const QString& column : QString(columns).split(", ")) {
        const QString type = types.value(column.section(' ', 1, 1));
        if (!type.isEmpty())
            found.append(column.section(' ', 0, 0) + ' ' + type);
    }
    return found.join(", ");
}

class PostgresDialect : public StoreDialect {
public:
    QStringList settings(bool isWritten, int waitMilliseconds) const override {
        const QString flushed = "SELECT set_config('synchronous_commit', 'on', false) WHERE "
                                "current_setting('synchronous_commit') = 'off'";
        return {"SET client_min_messages = error",
                "SET search_path = kvmeasure",
                "SET extra_float_digits = 3",
                filledIn("SET lock_timeout = %1", qMax(1, waitMilliseconds)),
                flushed,
                filledIn("SET default_transaction_read_only = %1", isWritten ? "off" : "on")};
    }
    QString begin(bool isWritten) const override {
        return isWritten ? "BEGIN ISOLATION LEVEL READ COMMITTED"
                         : "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";
    }

    StoreHead head(StoreSession& session, bool isWritten) const override {
        if (isWritten)
            session.cell(QString("SELECT pg_advisory_xact_lock(%1)").arg(kApplication));
        const QString tables = "SELECT count(*) FROM pg_class JOIN pg_namespace ON pg_namespace.oid = "
                               "relnamespace WHERE nspname = 'kvmeasure'";
        if (session.cell(tables).toInt() == 0)
            return {};
        if (session.cell(tables + " AND relname = 'form'").toInt() == 0)
            return {StoreHead::Other, 0};
        return {StoreHead::Store, session.cell("SELECT max(form) FROM kvmeasure.form").toInt()};
    }
    const char* nothingThere() const override { return "holds no results store"; }
    const char* otherThere() const override {
        return "its schema kvmeasure is of another program, no results store";
    }

    void make(StoreSession& session, int form) const override {
        if (session.cell("SELECT count(*) FROM pg_namespace WHERE nspname = 'kvmeasure'").toInt() == 0)
            session.run("CREATE SCHEMA kvmeasure");
        session.run("CREATE FUNCTION only_added() RETURNS trigger LANGUAGE plpgsql AS "
                    "$$BEGIN RAISE EXCEPTION 'results are only added'; END$$");
        const auto makeTable = [&session](const char* name, const QString& columns) {
            session.run(filledIn("CREATE TABLE %1(%2)", name, columns));
            session.run(filledIn("CREATE TRIGGER only_added BEFORE UPDATE OR DELETE OR TRUNCATE ON %1 FOR "
                                 "EACH STATEMENT EXECUTE PROCEDURE only_added()",
                                 name));
        };
        for (const auto& table : kTables)
            makeTable(table.name, inPostgres(table.columns));
        makeTable("form", "form BIGINT PRIMARY KEY");
        session.run("INSERT INTO form(form) VALUES(?)", {form});
    }

    QMap<QString, QString> form() const override {
        QMap<QString, QString> form;
        for (const auto& table : kTables) {
            form[table.name] = columnsIn(table.columns);
            form[QString("only_added of ") + table.name] = "trigger";
        }
        return form;
    }
    QString formQuestion() const override {
        return "SELECT relname::text, string_agg(attname || ' ' || format_type(atttypid, atttypmod), ', ' "
               "ORDER BY attnum), 0 FROM pg_class JOIN pg_namespace ON pg_namespace.oid = relnamespace JOIN "
               "pg_attribute ON attrelid = pg_class.oid AND attnum > 0 AND NOT attisdropped WHERE nspname = "
               "'kvmeasure' AND relkind IN ('r', 'v', 'm', 'f', 'p') GROUP BY relname UNION ALL "
               "SELECT tgname || ' of ' || relname, 'trigger', 0 FROM pg_trigger JOIN pg_class ON "
               "pg_class.oid = tgrelid JOIN pg_namespace ON pg_namespace.oid = relnamespace WHERE nspname = "
               "'kvmeasure' AND NOT tgisinternal AND tgenabled IN ('O', 'A')";
    }

    /// The library of the server gives no code for this, but English words.
    QString unopened(const QString& fault) const override {
        static const struct {
            QRegularExpression words;
            const char* text;
        } kFaults[] = {
            {QRegularExpression("(?s)database \".*does not exist"),
             "there is no such database on the server; make it there with \"createdb\" (%1)"},
            {QRegularExpression("permission denied"), "the user may not open this database (%1)"},
            {QRegularExpression("role \"|authentication|password|pg_hba\\.conf"),
             "the server refuses this user; the URL names the user, PGPASSWORD or ~/.pgpass has the password "
             "(%1)"},
            {QRegularExpression("refused|No such file|could not translate|timeout expired|timed out|"
                                "unreachable|No route"),
             "no server answers there; does PostgreSQL run, are host and port right? (%1)"}};
        for (const auto& known : kFaults) {
            if (fault.contains(known.words))
                return filledIn(known.text, fault);
        }
        return filledIn("cannot be connected to: %1", fault);
    }

    /// https://www.postgresql.org/docs/current/errcodes-appendix.html
    QString failure(const QString& code, const QString& text, double wait) const override {
        const char* const lost =
            "the connection to the server was lost; what was said to be stored is there (%1)";
        const char* const locked = "is locked: another program holds it for more than %2 s; try again";
        const char* const missing = "tables are missing in it, it is no results store any more";
        static const QMap<QString, const char*> words{
            {"57P01", lost},
            {"57P02", lost},
            {"57P03", lost},
            {"42501", "the user has not the rights that this takes; the owner of the store gives them with "
                      "GRANT (%1)"},
            {"55P03", locked},
            {"57014", locked},
            {"25006", "is read-only; nothing was stored"},
            {"53100", "the disk of the server is full; what was stored before is not affected"},
            {"42P01", missing},
            {"42703", missing}};
        return filledIn(code.startsWith("08") ? lost : words.value(code, "%1"), text, wait);
    }
};

}  // namespace

const StoreDialect& dialectOf(const StorePlace& place) {
    static const SqliteDialect sqlite;
    static const PostgresDialect postgres;
    return place.isServer ? static_cast<const StoreDialect&>(postgres) : sqlite;
}

}  // namespace KvMeasure::Internal
