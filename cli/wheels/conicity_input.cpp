// Sections are read in doubles where a table has them: the contact of sections that nearly fit into each
// other moves by millimetres for a change of a height by a micrometre.

#include "cli/wheels/conicity_input.h"

#include "cli/form/points.h"
#include "cli/range_words.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/data_table.h>
#include <kvmeasure/wheels/gauge_section.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLongest = 100'000;  // mm

const QStringList partNames{"right", "left", "right-rail", "left-rail"};

/// The parts that --mirror names.
QStringList mirroredParts(const Arguments& arguments) {
    QStringList parts;
    if (!arguments.has("--mirror"))
        return parts;
    for (const QString& word : arguments.text("--mirror").split(',')) {
        const QString name = word.trimmed();
        if (!partNames.contains(name))
            throw Error(filledIn("--mirror needs %1, not \"%2\"%3", alternatives(partNames), name,
                                 suggestion(name, partNames)));
        parts.append(name);
    }
    return parts;
}

GaugeProfile readSection(const QString& path, const Arguments& arguments) {
    const QString columns = arguments.text("--columns");
    GaugeProfile profile;
    if (columns.isNull() || !isPointTable(path))
        profile = readGaugeProfile(path);
    if (profile.form == GaugeForm::Profile && isPointTable(path))
        profile.points = readPointTable(path, columns).points;
    return profile;
}

/// Put upright by its shape, x of a wheel from its running circle. Throws Error.
std::vector<Vector> upright(const GaugeProfile& profile, bool isRail, double runningCircle,
                            QStringList& notes) {
    const auto note = [&notes](const SectionTurn& turn) {
        if (!turn.text().isEmpty())
            notes.append(turn.text());
    };
    if (isRail) {
        const RailSection rail = railSection(profile);
        if (!rail.isRail())
            throw Error(rail.reason);
        note(rail.turn);
        return rail.points;
    }
    const WheelSection wheel = wheelSection(profile);
    if (!wheel.isWheel() || !wheel.backReason.isEmpty())
        throw Error(wheel.isWheel() ? wheel.backReason : wheel.reason);
    note(wheel.turn);
    if (profile.form == GaugeForm::Profile)
        notes.append("x counts from the flange back");
    std::vector<Vector> points = wheel.points;
    for (Vector& p : points)
        p.x -= runningCircle;
    return points;
}

/// Its shape is that of a wheel or rail that stands another way.
bool isTurned(const GaugeProfile& profile, bool isRail) {
    if (isRail) {
        const RailSection rail = railSection(profile);
        return rail.isRail() && !rail.turn.text().isEmpty();
    }
    const WheelSection wheel = wheelSection(profile);
    return wheel.isWheel() && !wheel.turn.text().isEmpty();
}

/// A table that stands in the frame of the command is taken as it is; what does not is put upright.
ContactProfile contactSection(GaugeProfile profile, const QString& part, bool isMirrored,
                              double runningCircle, QStringList& notes) {
    const bool isRail = part.endsWith("rail");
    if (isMirrored) {
        for (Vector& p : profile.points)
            p.x = -p.x;
    }
    if (profile.form != GaugeForm::Profile)
        return ContactProfile(upright(profile, isRail, runningCircle, notes));
    ContactProfile asItStands(profile.points);
    const QString reason = isRail ? whyNoRail(asItStands) : whyNoWheel(asItStands);
    if (reason.isEmpty() && !isTurned(profile, isRail))
        return asItStands;
    try {
        return ContactProfile(upright(profile, isRail, runningCircle, notes));
    } catch (const Error&) {
        if (reason.isEmpty())
            throw;
        throw Error(reason);
    }
}

ContactProfile section(const QString& path, const QString& part, const QStringList& mirrored,
                       const Arguments& arguments, double runningCircle, QStringList& notes) {
    try {
        const GaugeProfile profile = readSection(path, arguments);
        QStringList own;
        ContactProfile result = contactSection(profile, part, mirrored.contains(part), runningCircle, own);
        for (const QString& text : profile.notes + own)
            notes.append(part + ": " + text);
        return result;
    } catch (const Error& error) {
        throw error.file().isEmpty() ? Error("--" + part + ": " + error.text()).at(path) : error;
    }
}

/// Where x = 0 of a rail lies, mm from the middle of the track.
double railOrigin(const ContactProfile& rail, const Arguments& arguments) {
    constexpr double kUsualGauge = 1435;
    if (arguments.has("--rail-origin"))
        return arguments.number("--rail-origin", 0, 1, kLongest);
    return arguments.number("--gauge", kUsualGauge, 1, kLongest) / 2 - gaugeFace(rail);
}

/// Columns of the shift and of the difference: as --columns says, by their names, else the only two.
QList<int> differenceColumns(const QList<Heading>& headings, const QString& columns) {
    QList<int> chosen;
    if (!columns.isNull()) {
        for (const QString& word : columns.split(','))
            chosen.append(columnNamed(headings, word.trimmed()));
        if (chosen.size() != 2)
            throw Error("--columns needs the columns of y and dr, e.g. 1,2");
        return chosen;
    }
    const QStringList names[] = {{"y", "shift", "lateral", "y_w"},
                                 {"dr", "delta_r", "deltar", "delta r", "rolling_radius_difference"}};
    for (const QStringList& words : names) {
        for (int i = 0; i < static_cast<int>(headings.size()); ++i) {
            if (words.contains(headings[i].name.toLower())) {
                chosen.append(i);
                break;
            }
        }
    }
    if (chosen.size() == 2)
        return chosen;
    if (headings.size() != 2)
        throw Error(filledIn("has %1 column(s), none of them called y and dr; name them by --columns",
                             headings.size()));
    return {0, 1};
}

}  // namespace

DifferenceTable readDifferences(const QString& path, const Arguments& arguments) {
    try {
        QList<int> columns;
        const DataTable table = readDataTable(path, [&](const QList<Heading>& headings) {
            columns = differenceColumns(headings, arguments.text("--columns"));
            return TableColumns{columns, {}};
        });
        std::vector<std::pair<double, double>> rows;
        rows.reserve(table.lines.size());
        for (std::size_t i = 0; i < table.lines.size(); ++i) {
            double values[2] = {0, 0};
            for (std::size_t k = 0; k < 2; ++k) {
                const LengthUnit* unit = table.headings[columns[static_cast<int>(k)]].length;
                values[k] = table.numbers[k][i];
                if (unit != nullptr)
                    values[k] = values[k] * unit->multiply / unit->divide;
                if (!std::isfinite(values[k]))
                    throw Error(filledIn("line %1: no number", table.lines[i])).atLine(table.lines[i]);
            }
            rows.emplace_back(values[0], values[1]);
        }
        std::sort(rows.begin(), rows.end());
        DifferenceTable result;
        result.shifts.reserve(rows.size());
        result.differences.reserve(rows.size());
        for (const auto& [shift, difference] : rows) {
            if (!result.shifts.empty() && result.shifts.back() == shift)
                throw Error(filledIn("has two rows for y = %1", shift));
            result.shifts.push_back(shift);
            result.differences.push_back(difference);
        }
        return result;
    } catch (const Error& error) {
        throw error.at(path);
    }
}

std::vector<Option> wheelsetOptions() {
    return {
        {"--right", "WHEEL",
         "right wheel: a gauge's file, or x from the running circle, the flange at x < 0"},
        {"--left", "WHEEL", "of the left wheel, in the same frame: x outwards (the right one)"},
        {"--right-rail", "RAIL", "section of the right rail, x outwards"},
        {"--left-rail", "RAIL", "of the left rail, x outwards (the right one)"},
        {"--mirror", "LIST", "turns the x of these round: right, left, right-rail, left-rail"},
        {"--rail-origin", "MM", "distance of x = 0 of each rail from the middle of the track"},
        {"--gauge", "MM", "of the track, 14 mm below the tops, instead of --rail-origin (1435)"},
        {"--back-to-back", "MM", "distance of the flange backs (1360)"},
        {"--running-circle", "MM", "its distance from the flange back (70)"},
        {"--shift", "MM", "largest lateral shift (10, or 2 beyond the largest amplitude)"},
        {"--step", "MM", "of the shifts (0.1)"},
        {"--gap", "MM", "contact between points farther apart than this is none (5)"},
    };
}

void readDiameters(const Arguments& arguments, double (&diameters)[2]) {
    const double diameter = arguments.number("--diameter", 920, 1, kLongest);
    diameters[Left] = arguments.number("--left-diameter", diameter, 1, kLongest);
    diameters[Right] = arguments.number("--right-diameter", diameter, 1, kLongest);
}

WheelsetOnTrack readWheelset(const Arguments& arguments, QStringList& notes) {
    if (arguments.has("--gauge") && arguments.has("--rail-origin"))
        throw Error("wheels conicity: --gauge and --rail-origin both place the rails; give one");
    const QString rightWheel = arguments.required("--right", "it is the section of the right wheel");
    const QString rightRail = arguments.required("--right-rail", "it is the section of the right rail");
    const QString files[2][2] = {
        {arguments.has("--left") ? arguments.text("--left") : rightWheel, rightWheel},
        {arguments.has("--left-rail") ? arguments.text("--left-rail") : rightRail, rightRail}};
    const QStringList mirrored = mirroredParts(arguments);
    WheelsetOnTrack wheelset;
    wheelset.backToBack = arguments.number("--back-to-back", wheelset.backToBack, 1, kLongest);
    wheelset.runningCircle = arguments.number("--running-circle", wheelset.runningCircle, 0, kLongest);
    readDiameters(arguments, wheelset.diameters);
    QStringList known;  // of the right side again
    for (const int side : {Right, Left}) {
        QStringList& ofWheel = side == Left && !arguments.has("--left") ? known : notes;
        QStringList& ofRail = side == Left && !arguments.has("--left-rail") ? known : notes;
        wheelset.wheels[side] = section(files[0][side], side == Left ? "left" : "right", mirrored, arguments,
                                        wheelset.runningCircle, ofWheel);
        wheelset.rails[side] = section(files[1][side], side == Left ? "left-rail" : "right-rail", mirrored,
                                       arguments, wheelset.runningCircle, ofRail);
        wheelset.railOrigins[side] = railOrigin(wheelset.rails[side], arguments);
    }
    if (!arguments.has("--left"))
        notes.append("the left wheel is taken like the right one");
    if (!arguments.has("--left-rail"))
        notes.append("the left rail is taken like the right one");
    return wheelset;
}

std::vector<double> readAmplitudes(const QString& text) {
    constexpr double kMost = 10'000, kLargest = 100, kDigits = 1e9;
    const auto fail = [&text](const char* what) {
        throw Error(filledIn("--amplitudes %1, e.g. 3 or 1..7.5:0.1, not \"%2\"", what, text));
    };
    std::vector<double> amplitudes;
    for (const QString& word : text.split(',')) {
        NumberRange range;
        double step = 1;
        const auto colon = word.indexOf(':');
        if (word.contains("..")) {
            range = parseRange(word.left(colon), "--amplitudes", false);
            if (colon < 0 || !parseNumber(word.mid(colon + 1), step) || !(step > 0))
                fail("needs a step above 0 behind a range");
        } else if (!parseNumber(word, range.from)) {
            fail("needs numbers or ranges FROM..TO:STEP");
        } else {
            range.to = range.from;
        }
        if (!(range.from > 0) || !(range.to <= kLargest))
            fail("needs amplitudes above 0 and up to 100 mm");
        const double steps = std::floor((range.to - range.from) / step + 1e-9);
        if (!(static_cast<double>(amplitudes.size()) + steps < kMost))
            fail("needs at most 10000 amplitudes");
        for (int i = 0; i <= static_cast<int>(steps); ++i)
            amplitudes.push_back(std::round((range.from + i * step) * kDigits) / kDigits);
    }
    return amplitudes;
}

}  // namespace KvMeasure
