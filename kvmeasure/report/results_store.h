#pragma once
// Results that are kept: runs, parts, plans and values in one SQLite file, or in a database of PostgreSQL, to
// be asked later.
//
//     ResultsStore store("results.db", ResultsStore::Access::Add);
//     const qint64 run = store.beginRun(about);
//     store.addParts(run, {storedPart(matched, plan)});  // after it the part is on the disk
//     store.endRun(run);

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/match_report.h>

#include <QtCore/QList>
#include <QtCore/QString>

#include <functional>
#include <limits>
#include <memory>
#include <vector>

namespace KvMeasure {

namespace Internal {
class StoreSession;
}

/// What is to be known of a run before its first part.
struct NewRun {
    QString command;       ///< that measured
    QString version;       ///< of the library
    QString planName;      ///< for titles; may be empty
    QByteArray plan;       ///< its text, as planText() gives it; stored once, under the SHA-256 of it
    QString station;       ///< where it was measured; empty: not told
    QString operatorName;  ///< who measured; empty: not told
    QString list;          ///< what the run can be found again by, see findRun(); empty: by nothing
};

/// What became of a part.
enum class PartState {
    Good,    ///< found, every value valid and in its tolerance
    Missed,  ///< measured, and not good
    Unread   ///< not measured: the file cannot be read, or the search was given up
};

/// A profile with its values, as it is stored. Values are those of the best assignment.
struct StoredPart {
    int source = 0;                                       ///< place of the file in the run, from 0
    int record = 0;                                       ///< place of the profile in its file, from 0
    QString name;                                         ///< of the profile
    QString serial;                                       ///< of the part; empty: not told
    double z = std::numeric_limits<double>::quiet_NaN();  ///< scan position, mm; NaN: none
    PartState state = PartState::Unread;                  ///< good or not
    QString verdict;                                      ///< as reports have it
    QString reason;                                       ///< why it is not found, or was not read
    QList<Value> values;  ///< each value of the plan, those that are missing with their reason
};

/// The profile as it is stored: every value of the plan, in the order of the columns.
KVMEASURE_EXPORT StoredPart storedPart(const MatchedProfile& profile, const InspectionPlan& plan);

/// A run as it is stored.
struct RunRecord {
    qint64 id = 0;         ///< from 1, in the order of their begin
    QString started;       ///< UTC, ISO 8601 with milliseconds
    QString ended;         ///< likewise; empty: it goes on, or was killed
    QString command;       ///< that measured
    QString version;       ///< of the library
    QString plan;          ///< SHA-256 of its text, hexadecimal
    QString planName;      ///< may be empty
    QString station;       ///< empty: not told
    QString operatorName;  ///< empty: not told
    qint64 parts = 0;      ///< all that are stored
    qint64 good = 0;       ///< of these, PartState::Good
    qint64 unread = 0;     ///< of these, PartState::Unread
};

/// A value as it is stored, with the part that it belongs to.
struct StoredValue {
    qint64 run = 0;        ///< RunRecord::id
    qint64 part = 0;       ///< number of the part in the store, in the order of storing
    QString stored;        ///< when the part was stored, UTC, ISO 8601 with milliseconds
    QString station;       ///< of the run
    QString operatorName;  ///< of the run
    QString profile;       ///< name of the part's profile
    QString serial;        ///< of the part
    double z = std::numeric_limits<double>::quiet_NaN();  ///< of the part, mm; NaN: none
    QString name;                                         ///< of the value; null for a part without values
    QString unit;                                         ///< "mm", "deg", "mm2" or empty
    double value = std::numeric_limits<double>::quiet_NaN();      ///< NaN: missing
    double expandedU = std::numeric_limits<double>::quiet_NaN();  ///< U = 2 u; NaN: not known
    double nominal = std::numeric_limits<double>::quiet_NaN();    ///< NaN: none
    Limits limits;    ///< its tolerance; infinite where there is none
    QString verdict;  ///< "good", "OUT", "NOT MEASURED", empty without tolerance; of a part without values
                      ///< its own
    QString reason;   ///< why it is missing; of a part without values why that is so
};

/// Which results are asked for; what is empty or 0 leaves all.
struct ResultsQuery {
    QString part;     ///< serial, or name of the profile
    QString station;  ///< of the run
    QString name;     ///< of the value
    qint64 run = 0;   ///< RunRecord::id
};

/// A store is named by the URL of a database of PostgreSQL, not by a file: what begins with "postgresql:" or
/// "postgres:".
KVMEASURE_EXPORT bool isOnServer(const QString& place);

/// The name of a store for messages and pages: a path as it is; a URL without password and options, but host
/// and port. Throws Error for a text that isOnServer() and is no URL; it repeats nothing of that.
KVMEASURE_EXPORT QString storeName(const QString& place);

/// A store of results: a file of SQLite, or the schema "kvmeasure" in a database of PostgreSQL, to which runs
/// are added and in which nothing is ever changed. Values are stored with all their digits. Several programs
/// may add and read at once: a call waits for the others. A program may be killed at any moment: what a call
/// has stored before it returned is in the store, what it had not is not, as a whole. An object is used in
/// the thread that made it. All functions throw Error with file(): where Qt has no driver for the database,
/// where there is no results store, one that a newer version made, or one that is damaged, read-only or
/// locked for too long, where the disk is full, where the server is not there, refuses the user, or is lost;
/// then nothing of that call is stored. Only where the server is lost within a call, it may be: adding it
/// again does no harm.
class KVMEASURE_EXPORT ResultsStore {
public:
    /// What is to be done with it: a store that is read is never made, and nothing is written to it but what
    /// a killed program began.
    enum class Access { Read, Add };

    static constexpr double kWait = 30;  ///< s, that a call waits for other programs

    /// Opens the store at a path or URL, or makes one. A URL is postgresql://host:port/database, with
    /// user:password and an at sign before the host; the library of the server gives what is missing
    /// (PGPASSWORD, ~/.pgpass).
    ResultsStore(const QString& place, Access access, double waitSeconds = kWait);
    ResultsStore(const ResultsStore&) = delete;             ///< a connection is one
    ResultsStore& operator=(const ResultsStore&) = delete;  ///< likewise
    ~ResultsStore();                                        ///< closes it

    qint64 beginRun(const NewRun& run);  ///< stores a run without parts; returns its number
    /// The last run of this NewRun::list, ended or not; 0: there is none, or the list is empty.
    qint64 findRun(const QString& list);
    qint64 sourcesBefore(qint64 run, int source);  ///< files of the run before that place that have parts
    /// Stores parts, all of them or none. Of a file and record that the run has, the stored part stays.
    /// Returns how many were stored.
    int addParts(qint64 run, const std::vector<StoredPart>& parts);
    void endRun(qint64 run);  ///< stores that the run is complete

    /// Runs in the order of their begin, with the parts that are asked for; runs without any are left out
    /// where parts or values are asked for.
    QList<RunRecord> runs(const ResultsQuery& query = {});
    /// Calls `take` for each value, in the order of storing: what it throws passes through. Parts without
    /// values come once, where no name is asked for. Memory holds one value.
    void forEachValue(const ResultsQuery& query, const std::function<void(const StoredValue& value)>& take);
    /// Throws Error with a suggestion where no result has the name, station, part or run of the query.
    void requireKnown(const ResultsQuery& query);

private:
    std::unique_ptr<Internal::StoreSession> session_;
};

}  // namespace KvMeasure
