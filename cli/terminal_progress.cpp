#include "cli/terminal_progress.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace KvMeasure {

TerminalProgress::TerminalProgress(const QString& what, qint64 total)
    : what_(what), total_(total), isTerminal_(isatty(STDERR_FILENO) == 1) {
    timer_.start();
}

TerminalProgress::~TerminalProgress() { clear(); }

void TerminalProgress::show(qint64 done) {
    constexpr qint64 kFirstAfterMs = 1000;
    constexpr qint64 kAgainAfterMs = 200;
    if (!isTerminal_)
        return;
    const qint64 now = timer_.elapsed();
    if (now < kFirstAfterMs || (shownAt_ != 0 && now - shownAt_ < kAgainAfterMs))
        return;
    shownAt_ = now;
    const QString line = filledIn("\r\033[K%1: %2 of %3", printable(what_), done, total_);
    std::fputs(line.toUtf8().constData(), stderr);
    std::fflush(stderr);
}

void TerminalProgress::clear() {
    if (shownAt_ == 0)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    shownAt_ = 0;
}

Progress terminalProgress() {
    const auto line = std::make_shared<std::unique_ptr<TerminalProgress>>();
    const auto shown = std::make_shared<QString>();
    return [line, shown](const QString& what, qint64 done, qint64 total) {
        if (done == total) {
            line->reset();
            return true;
        }
        if (*line == nullptr || *shown != what)
            *line = std::make_unique<TerminalProgress>(what, total);
        *shown = what;
        (*line)->show(done);
        return true;
    };
}

}  // namespace KvMeasure
