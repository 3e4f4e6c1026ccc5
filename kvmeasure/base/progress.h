#pragma once
// How far long work is, told to whoever waits for it.

#include <QtCore/QString>
#include <kvmeasure/base/global.h>

#include <functional>

namespace KvMeasure {

/// Is told that `done` of `total` of `what` are done, in bytes, profiles or whatever is counted. At the
/// end `done` is `total`, also of work that failed or was cancelled. Returns false to cancel: the work
/// then throws Error with isCancelled() and leaves nothing half-written. It is called in the thread of the
/// work. Empty: nobody waits, and nothing can be cancelled.
using Progress = std::function<bool(const QString& what, qint64 done, qint64 total)>;

/// Reports one piece of work: shows how far it is, and at the end of the scope that it is over.
class KVMEASURE_EXPORT ProgressReport {
public:
    /// Tells nothing yet. `progress` is not copied and must outlive the report.
    ProgressReport(const Progress& progress, const QString& what, qint64 total)
        : progress_(progress), what_(what), total_(total) {}
    /// Tells that all is done, if anything was told. The answer and what the callback throws do not count.
    ~ProgressReport();
    ProgressReport(const ProgressReport&) = delete;             ///< the end is told once
    ProgressReport& operator=(const ProgressReport&) = delete;  ///< not copied either

    /// Tells that `done` are done. Throws Error with isCancelled() when the answer is false, and whatever the
    /// callback throws.
    void show(qint64 done);

private:
    const Progress& progress_;
    QString what_;
    qint64 total_;
    bool isTold_ = false;
};

}  // namespace KvMeasure
