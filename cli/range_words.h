#pragma once
// Ranges of numbers as options take them: "A..B".

#include <QtCore/QString>

namespace KvMeasure {

/// Two numbers; infinite at an open end.
struct NumberRange {
    double from = 0;
    double to = 0;
};

/// Reads "A..B" with A < B, and where it may be open "A.." and "..B". Throws Error that names the option.
NumberRange parseRange(const QString& text, const QString& option, bool mayBeOpen);

}  // namespace KvMeasure
