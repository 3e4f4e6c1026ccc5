// The options stand in one table, which makes help text, completion and manual page. Numbers are read with
// decimal points alone, as everywhere on the command line, since a comma parts the words of a list.

#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/text.h>

namespace KvMeasure {

namespace {

const std::vector<Option>& textOptions() {
    static const std::vector<Option> options = {
        {"--columns", "X,HEIGHT", "text: columns by number from 1 or by name (by the heading, or 1,2)"},
        {"--unit", "UNIT",
         "text: nm, um, mm, cm, m, mil or inch; X,HEIGHT where they differ (the heading's, or mm)"},
        {"--pitch", "MM", "text: distance along x of heights alone, in a column or a profile per row"},
        {"--unset", "LIST",
         "text: values that stand for \"nothing measured\", e.g. -9999,0; \"none\" keeps all"},
    };
    return options;
}

}  // namespace

Usage withTextOptions(const Usage& usage) { return with(usage, textOptions()); }

TextOptions readTextOptions(const Arguments& arguments) {
    TextOptions options;
    for (const Option& option : textOptions()) {
        if (arguments.has(option.name) && options.given.isEmpty())
            options.given = option.name;
    }
    options.givenOfTable = arguments.has("--columns") ? "--columns"
                           : arguments.has("--pitch") ? "--pitch"
                                                      : "";
    options.columns = arguments.text("--columns").trimmed();
    if (arguments.has("--columns") && options.columns.isEmpty())
        throw Error("--columns needs x and height, e.g. \"1,3\" or \"x_mm,z_mm\"");
    constexpr double kFinest = 1e-6, kWidest = 1e6;
    options.pitch = arguments.number("--pitch", options.pitch, kFinest, kWidest);
    options.units = readLengthUnits(arguments);
    options.unset = readUnset(arguments);
    return options;
}

QList<LengthUnit> readLengthUnits(const Arguments& arguments) {
    QList<LengthUnit> units;
    if (!arguments.has("--unit"))
        return units;
    constexpr int kMost = 3;
    for (const QString& word : arguments.text("--unit").split(',')) {
        const LengthUnit* unit = findLengthUnit(word);
        if (unit == nullptr || units.size() == kMost)
            throw Error("--unit needs one or two of " + alternatives(lengthUnitNames()) +
                        ", of a scan one or three, not \"" + arguments.text("--unit") + '"');
        units.append(*unit);
    }
    return units;
}

UnsetValues readUnset(const Arguments& arguments) {
    UnsetValues unset;
    if (!arguments.has("--unset"))
        return unset;
    unset.keepsAll = arguments.text("--unset").trimmed() == "none";
    for (const QString& word : arguments.text("--unset").split(',')) {
        double value = 0;
        if (unset.keepsAll)
            break;
        if (!parseNumber(word, value))
            throw Error("--unset needs numbers with decimal points, e.g. -9999,0, or \"none\", not \"" +
                        arguments.text("--unset") + '"');
        unset.values.push_back(value);
    }
    return unset;
}

}  // namespace KvMeasure
