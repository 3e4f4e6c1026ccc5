#pragma once
// Where a store is: a file, or a database on a server.

#include <kvmeasure/report/sql_connection_p.h>

namespace KvMeasure::Internal {

/// A place of a store, taken apart.
struct StorePlace {
    QString name;           ///< for messages: the path, or the URL with neither password nor options
    SqlPlace sql;           ///< for the module
    bool isServer = false;  ///< PostgreSQL; else a file of SQLite
};

/// The place that a path or URL means; `waitMilliseconds` for other programs and for the server. Throws Error
/// for an empty path, a URL that is none of these, and, with file(), for a path where no store can be.
StorePlace storePlace(const QString& path, bool isWritten, int waitMilliseconds);

}  // namespace KvMeasure::Internal
