#pragma once
// What differs between the databases that hold stores: the statements that are not the same in both, and what
// their failures mean.

#include <kvmeasure/report/store_place_p.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>

namespace KvMeasure::Internal {

class StoreSession;

/// What a place holds.
struct StoreHead {
    /// Nothing: a store can be made there. Other: something that is no store.
    enum Kind { Nothing, Other, Store };
    Kind kind = Nothing;
    int form = 0;  ///< of a store: the version of its tables
};

/// A database's way to hold a store. Sentences stand after the name of the store and a colon.
class StoreDialect {
public:
    StoreDialect() = default;
    StoreDialect(const StoreDialect&) = delete;
    StoreDialect& operator=(const StoreDialect&) = delete;
    virtual ~StoreDialect() = default;

    /// Statements for a new connection. Calls wait for other programs that long.
    virtual QStringList settings(bool isWritten, int waitMilliseconds) const = 0;
    /// Begins a transaction; one that does not write sees one state of the store.
    virtual QString begin(bool isWritten) const = 0;
    /// What is there. `isWritten`: nobody else makes a store until the transaction ends.
    virtual StoreHead head(StoreSession& session, bool isWritten) const = 0;
    virtual const char* nothingThere() const = 0;                  ///< a sentence for StoreHead::Nothing
    virtual const char* otherThere() const = 0;                    ///< a sentence for StoreHead::Other
    virtual void make(StoreSession& session, int form) const = 0;  ///< makes the tables
    /// What holds of each table and trigger of a store, by its name.
    virtual QMap<QString, QString> form() const = 0;
    /// A question for the same as it is: name, what holds, and 1 where it changes rows by itself.
    virtual QString formQuestion() const = 0;
    virtual void requireWhole(StoreSession&) const {}  ///< refuses a store of which a part is missing

    virtual QString unopened(const QString& fault) const = 0;  ///< a sentence: there is no connection
    /// A sentence for a statement that failed with this code and text; `wait` in s as settings() has it.
    virtual QString failure(const QString& code, const QString& text, double wait) const = 0;
};

/// The one of a place; it lives as long as the program.
const StoreDialect& dialectOf(const StorePlace& place);

}  // namespace KvMeasure::Internal
