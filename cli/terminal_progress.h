#pragma once
// A line on the terminal while work takes long.

#include <kvmeasure/base/progress.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QString>

namespace KvMeasure {

/// Shows "what: done of total" on standard error once a second has passed, and takes the line away at the
/// end. Silent when standard error is not a terminal.
class TerminalProgress {
public:
    TerminalProgress(const QString& what, qint64 total);
    ~TerminalProgress();
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    void show(qint64 done);
    void clear();  ///< takes the line away, before something else is written to the terminal

private:
    QString what_;
    qint64 total_;
    bool isTerminal_;
    qint64 shownAt_ = 0;  ///< ms since the start; 0 when no line is shown
    QElapsedTimer timer_;
};

/// The same for work that takes a callback; never cancels.
Progress terminalProgress();

}  // namespace KvMeasure
