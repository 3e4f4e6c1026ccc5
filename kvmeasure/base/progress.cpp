#include <kvmeasure/base/progress.h>

#include <kvmeasure/base/error.h>

namespace KvMeasure {

ProgressReport::~ProgressReport() {
    if (!isTold_)
        return;
    try {
        progress_(what_, total_, total_);
    } catch (...) {  // the work is over; a destructor must not throw
        isTold_ = false;
    }
}

void ProgressReport::show(qint64 done) {
    if (!progress_)
        return;
    isTold_ = true;
    if (!progress_(what_, done, total_))
        throw Error(what_ + ": cancelled").asCancelled();
}

}  // namespace KvMeasure
