#pragma once
// How the program ends.

#include <QtCore/QString>

namespace KvMeasure {

/// Exit codes of the program.
enum ExitCode : int {
    Done = 0,
    NotMet = 1,  ///< measured, but out of tolerance, not valid or not found
    Refused = 2  ///< wrong use, or input that cannot be read
};

inline const char* meaning(ExitCode code) {
    if (code == Done)
        return "done";
    return code == NotMet ? "measured but out of tolerance or not found" : "wrong use or unreadable input";
}

/// Thrown where --help is among the words: main prints the text and exits with 0.
struct Help {
    QString text;
};

}  // namespace KvMeasure
