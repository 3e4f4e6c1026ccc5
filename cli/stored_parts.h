#pragma once
// The results store of a run: --store, --station, --operator and --serial.

#include "cli/arguments.h"

#include <kvmeasure/report/results_store.h>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

namespace KvMeasure {

/// These options, for the usage of a command.
std::vector<Option> storeOptions();

/// What is stored of a file that cannot be read, or whose search was given up.
StoredPart unreadPart(const QString& name, const QString& reason);

/// Collects parts and stores them by the second, or by the thousand.
class StoredParts {
public:
    /// Opens the store that --store names and refuses what is read or written elsewhere under that name.
    /// Without the option nothing is ever stored. Throws Error.
    explicit StoredParts(const Arguments& arguments);

    bool isOpen() const { return store_.has_value(); }
    /// Begins a run with a plan. `list` is what it can be found again by: a run of that list that was killed
    /// is continued. Throws Error where that one is not in this store, though `done` of its files were done.
    void begin(const InspectionPlan& plan, const QString& list = {}, int done = 0);
    /// The same with a plan of any other form.
    void begin(const QString& planName, const QByteArray& plan, const QString& list = {}, int done = 0);
    /// Begins a run of a command without a plan: its options stand for one, with the content of the file of
    /// `settings`; empty: there is none.
    void beginWithOptions(const QString& settings = {});
    void add(StoredPart part);  ///< nothing where no store is open
    /// forEachFile(); parts that are added for a file get its place, and one without any that throws is added
    /// as not read.
    int forEachFile(const QStringList& paths, const std::function<void(const QString& path)>& work);
    bool isDue() const;  ///< flush() is wanted now
    void flush();        ///< stores what was added; throws Error
    void close();        ///< gives the store up: nothing is stored any more
    /// Stores the rest and the end of the run, and says how many of them there are now; throws Error.
    void finish(const char* what = "profile");
    /// The same; where that cannot be, it is said, and `code` becomes that of a refusal.
    int finishWith(int code);

private:
    void placeFrom(std::size_t first, int file);

    const Arguments& arguments_;
    QString name_;  ///< of the store, for messages
    std::optional<ResultsStore> store_;
    std::vector<StoredPart> parts_;
    std::chrono::steady_clock::time_point flushed_ = std::chrono::steady_clock::now();
    qint64 run_ = 0;
    qint64 stored_ = 0;
};

}  // namespace KvMeasure
