#include "kvmeasure/progress.h"

#include <cstdio>
#include <unistd.h>

namespace KvMeasure {

Progress::Progress(const QString& what, qint64 total)
    : what_(what), total_(total), isTerminal_(isatty(STDERR_FILENO) == 1) {
    timer_.start();
}

Progress::~Progress() { clear(); }

void Progress::show(qint64 done) {
    constexpr qint64 firstAfterMs = 1000;
    constexpr qint64 againAfterMs = 200;
    if (!isTerminal_)
        return;
    const qint64 now = timer_.elapsed();
    if (now < firstAfterMs || (shownAt_ != 0 && now - shownAt_ < againAfterMs))
        return;
    shownAt_ = now;
    const QString line = QString("\r\033[K%1: %2 of %3").arg(what_).arg(done).arg(total_);
    std::fputs(line.toUtf8().constData(), stderr);
    std::fflush(stderr);
}

void Progress::clear() {
    if (shownAt_ == 0)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    shownAt_ = 0;
}

}  // namespace KvMeasure
