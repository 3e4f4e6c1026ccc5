#include "cli/range_words.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <limits>

namespace KvMeasure {

NumberRange parseRange(const QString& text, const QString& option, bool mayBeOpen) {
    const auto dots = text.indexOf("..");
    NumberRange range{-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    bool isGood = dots >= 0;
    int ends = 0;
    for (const bool isFirst : {true, false}) {
        const QString word = (isFirst ? text.left(dots) : text.mid(dots + 2)).trimmed();
        double value = 0;
        if (word.isEmpty() && mayBeOpen)
            continue;
        isGood = isGood && parseNumber(word, value);
        (isFirst ? range.from : range.to) = value;
        ++ends;
    }
    if (!isGood || ends == 0)
        throw Error(filledIn("%1 needs two numbers as 10..13%2, not \"%3\"", option,
                             mayBeOpen ? ", one of them may be left out" : "", text));
    if (!(range.from < range.to))
        throw Error(filledIn("%1 needs the lesser number first, not \"%2\"", option, text));
    return range;
}

}  // namespace KvMeasure
