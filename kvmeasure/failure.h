#pragma once
// How the commands report what keeps them from their work: main prints the text and exits with 2.

#include <QtCore/QString>

namespace KvMeasure {

/// Exit codes of the program.
enum ExitCode : int {
    Done = 0,
    NotMet = 1,  ///< measured, but out of tolerance, not valid or not found
    Refused = 2  ///< wrong use, or input that cannot be read
};

/// Wrong use or unreadable input: says what, where and what to do.
struct Failure {
    QString text;
};

}  // namespace KvMeasure
