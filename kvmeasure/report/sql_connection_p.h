#pragma once
// What the module of stores offers to the library that loads it: statements and their rows. The module is
// built with the library, of the same Qt.

#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QVariantList>

namespace KvMeasure::Internal {

/// What a statement came to.
enum class SqlOutcome {
    Row,    ///< there is a row
    Done,   ///< there is none, or no further one
    Failed  ///< code() and error() say why
};

/// A connection to a database, for the thread that opened it.
class SqlConnection {
public:
    SqlConnection() = default;
    SqlConnection(const SqlConnection&) = delete;
    SqlConnection& operator=(const SqlConnection&) = delete;
    virtual ~SqlConnection() = default;

    /// Runs a statement with values for its question marks. Its rows are read by next(), until the next
    /// statement. A statement with values is prepared once and kept.
    virtual SqlOutcome run(const QString& statement, const QVariantList& values) = 0;
    virtual SqlOutcome next(QVariantList& row) = 0;  ///< Row: the cells of the next row are in `row`
    virtual void close() = 0;                        ///< ends the last statement, whose rows are not all read
    virtual QString error() const = 0;               ///< of the last failure, in words of the database
    /// Of that failure, the number or SQLSTATE of the database; 08006 where a server has gone; may be empty.
    virtual QString code() const = 0;
};

/// How a database is opened.
struct SqlPlace {
    QString driver;    ///< Qt's name of it: QSQLITE or QPSQL
    QString database;  ///< its name; of SQLite the absolute path of its file
    QString host;      ///< of the server, or the folder of its socket; empty: as its library has it
    QString user;      ///< likewise
    QString password;  ///< likewise
    QString options;   ///< of the connection, as the driver takes them
    int port = -1;     ///< of the server; -1: as its library has it
};

/// Opens a database; null, with the reason in `fault`, where that cannot be.
using OpenSqlConnection = SqlConnection* (*)(const SqlPlace& place, QString& fault);

}  // namespace KvMeasure::Internal
