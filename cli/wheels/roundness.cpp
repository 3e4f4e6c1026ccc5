// "kvmeasure wheels roundness": flats and out-of-roundness from radii round a wheel.

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/profile/text_options.h"
#include "cli/range_words.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/circumference_picture.h>
#include <kvmeasure/profiles/data_table.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/profile_sequence.h>

#include <cmath>
#include <numeric>

namespace KvMeasure {

namespace {

const char* const kOfProfiles[] = {"--step", "--x", "--inward", "--pitch", "--unset"};

const Usage& usage() {
    static const Usage all = withTextOptions(
        {"wheels roundness",
         "FILE",
         "Flats and out-of-roundness of a wheel from radii round its circumference.",
         {{"--diameter", "MM", "FILE holds profiles round a wheel of this diameter, not a table"},
          {"--step", "MM", "of circumference from profile to profile (that of the file)"},
          {"--x", "A..B", "part of each profile whose mean height counts, mm (all)"},
          {"--inward", "", "heights of the profiles grow towards the axis; they grow outwards"},
          {"--cutoff", "MM", "of the Gaussian filter along the circumference (5)"},
          {"--orders", "N", "harmonics per turn (20)"},
          {"--least-depth", "MM", "of a flat (0.1)"},
          {"--svg", "PICTURE", "draw deviations, flats and harmonics"}},
         "FILE is a table of angle (degrees, or rad by its heading) and radius, or with --diameter a stack "
         "or scan "
         "whose\nprofiles go round the wheel: the angle of one is its distance over the radius. Exit code 1: "
         "a "
         "flat was found, or a\nvalue is missing.\n\nExamples\n"
         "  kvmeasure wheels roundness wheel.csv --svg wheel.svg\n"
         "  kvmeasure wheels roundness lathe.bin --diameter 920 --step 1 --x -5..5 --json\n"});
    return all;
}

/// A heading without the unit of an angle behind "_", which is parted off for lengths alone.
QString angleName(const Heading& heading) {
    for (const char* unit : {"_rad", "_deg"}) {
        if (heading.name.endsWith(unit, Qt::CaseInsensitive))
            return heading.name.chopped(4);
    }
    return heading.name;
}

double factorOf(const Heading& heading, bool isAngle, const Arguments& arguments) {
    const bool isInRadians = heading.unit.startsWith("rad", Qt::CaseInsensitive) ||
                             heading.name.endsWith("_rad", Qt::CaseInsensitive);
    if (isAngle)
        return isInRadians ? kDegreesPerRadian : 1;
    const QList<LengthUnit> given = readLengthUnits(arguments);
    if (given.size() > 1)
        throw Error("wheels roundness: --unit is that of the radius; give one");
    const LengthUnit unit = !given.isEmpty()            ? given.first()
                            : heading.length != nullptr ? *heading.length
                                                        : millimetre;
    return unit.toMm(1);
}

/// Columns "angle" and "radius", those of --columns, else the first two.
QList<int> columnsOf(const QList<Heading>& headings, const QString& list) {
    if (!list.isEmpty()) {
        const QStringList words = list.split(',');
        if (words.size() != 2)
            throw Error("--columns names two: those of angle and radius");
        return {columnNamed(headings, words[0].trimmed()), columnNamed(headings, words[1].trimmed())};
    }
    const auto place = [&](const QString& name) {
        const auto found = std::find_if(headings.begin(), headings.end(), [&](const Heading& heading) {
            return angleName(heading).compare(name, Qt::CaseInsensitive) == 0;
        });
        return found == headings.end() ? -1 : static_cast<int>(found - headings.begin());
    };
    if (place("angle") >= 0 && place("radius") >= 0)
        return {place("angle"), place("radius")};
    if (headings.size() < 2)
        throw Error("one column; expected angle and radius");
    return {0, 1};
}

std::vector<Vector> readRadii(const QString& path, const Arguments& arguments) {
    QList<int> columns;
    const DataTable table = readDataTable(path, [&](const QList<Heading>& headings) {
        columns = columnsOf(headings, arguments.text("--columns"));
        return TableColumns{columns, {}};
    });
    const double degrees = factorOf(table.headings[columns[0]], true, arguments),
                 millimetres = factorOf(table.headings[columns[1]], false, arguments);
    std::vector<Vector> points;
    points.reserve(table.lines.size());
    for (std::size_t i = 0; i < table.lines.size(); ++i)
        points.push_back({degrees * table.numbers[0][i], millimetres * table.numbers[1][i]});
    return points;
}

/// Mean height within a range of x; NaN without a point there.
double meanHeight(const KvMath::KvProfile& profile, const NumberRange& range) {
    double sum = 0;
    int count = 0;
    for (const KvMath::KvPointXY& point : profile.points) {
        const auto x = static_cast<double>(point.x);
        if (!std::isfinite(point.y) || !(x >= range.from && x <= range.to))
            continue;
        sum += static_cast<double>(point.y);
        ++count;
    }
    return count > 0 ? sum / count : std::nan("");
}

/// Radii from the heights of profiles: their mean lies on the given diameter.
std::vector<Vector> readProfiles(const QString& path, const Arguments& arguments) {
    constexpr double kLeast = 250, kMost = 2600, kLongest = 1000,
                     kInfinite = std::numeric_limits<double>::infinity();
    const double radius = arguments.number("--diameter", 0, kLeast, kMost) / 2,
                 step = arguments.number("--step", std::nan(""), 1e-6, kLongest);
    const NumberRange range = arguments.has("--x") ? parseRange(arguments.text("--x"), "--x", true)
                                                   : NumberRange{-kInfinite, kInfinite};
    const double outward = arguments.has("--inward") ? -1 : 1;
    ProfileSequence profiles(path, readTextOptions(arguments));
    std::vector<Vector> points;
    double sum = 0;
    int index = 0, count = 0;
    for (LoadedProfile loaded; profiles.next(loaded); ++index) {
        const double own = loaded.hasZ() ? static_cast<double>(loaded.z) : std::nan("");
        const double distance = std::isfinite(step) ? index * step : own;
        const double height = outward * meanHeight(loaded.profile, range);
        if (!std::isfinite(distance) && index > 0)  // one profile alone is refused below, for what it is
            throw Error(path + ": the profiles have no distance; give it by --step").inFile(path);
        points.push_back({distance / radius * kDegreesPerRadian, height});
        sum += std::isfinite(height) ? height : 0;
        count += std::isfinite(height) ? 1 : 0;
    }
    if (index == 1)
        throw Error(path + ": holds one profile; leave --diameter out for a table of angle and radius")
            .inFile(path);
    for (Vector& point : points)
        point.y += radius - (count > 0 ? sum / count : 0);
    return points;
}

QJsonValue textOrNull(const QString& text) { return text.isEmpty() ? QJsonValue() : QJsonValue(text); }

QJsonObject jsonOf(const Circumference& wheel, const QString& path, const CircumferenceOptions& options) {
    QJsonArray flats, harmonics;
    for (const WheelFlat& flat : wheel.flats)
        flats.append(QJsonObject{{"angle", jsonNumber(flat.angle)},
                                 {"from", jsonNumber(flat.from)},
                                 {"to", jsonNumber(flat.to)},
                                 {"depth", jsonNumber(flat.depth)},
                                 {"length", jsonNumber(flat.length)},
                                 {"depthOfChord", jsonNumber(flat.depthOfChord)},
                                 {"reason", textOrNull(flat.reason)},
                                 {"note", textOrNull(flat.note)}});
    for (const WheelHarmonic& harmonic : wheel.harmonics)
        harmonics.append(QJsonObject{{"order", harmonic.order},
                                     {"amplitude", jsonNumber(harmonic.amplitude)},
                                     {"angle", jsonNumber(harmonic.angle)},
                                     {"level", jsonNumber(harmonic.level)}});
    const auto because = [&](const QString& own) {
        return textOrNull(wheel.reason.isEmpty() ? own : wheel.reason);
    };
    const bool hasNoFlats = !wheel.reason.isEmpty() || !wheel.flatsReason.isEmpty();
    return {{"file", path},
            {"seen", wheel.seen},
            {"meanRadius", jsonNumber(wheel.meanRadius)},
            {"eccentricity", jsonNumber(wheel.eccentricity)},
            {"eccentricityAngle", jsonNumber(wheel.eccentricityAngle)},
            {"outOfRoundness", jsonNumber(wheel.outOfRoundness)},
            {"deviation", jsonNumber(wheel.deviation)},
            {"level", jsonNumber(wheel.level)},
            {"harmonics", harmonics},
            {"flats", hasNoFlats ? QJsonValue() : QJsonValue(flats)},
            {"filter", QJsonObject{{"kind", "Gaussian, ISO 16610-21"}, {"cutoff", options.cutoff}}},
            {"leastDepth", options.leastDepth},
            {"reasons", QJsonObject{{"roundness", because(wheel.roundnessReason)},
                                    {"flats", because(wheel.flatsReason)}}},
            {"notes", QJsonArray::fromStringList(wheel.notes)}};
}

QString cell(double value, int decimals) {
    return std::isfinite(value) ? fixed(value, decimals) : QString("-");
}

QString textOf(const Circumference& wheel, const CircumferenceOptions& options) {
    if (!wheel.reason.isEmpty())
        return "nothing is known: " + wheel.reason + '\n';
    Table values({"", "value", "", "reason"});
    const auto add = [&](const char* name, double value, int decimals, const char* unit,
                         const QString& reason) {
        values.add({name, cell(value, decimals), unit, std::isfinite(value) ? QString() : reason});
    };
    add("seen", wheel.seen, 1, "degrees", {});
    add("mean radius", wheel.meanRadius, 3, "mm", wheel.roundnessReason);
    add("eccentricity", wheel.eccentricity, 4, "mm", wheel.roundnessReason);
    add("out-of-roundness", wheel.outOfRoundness, 4, "mm", wheel.roundnessReason);
    add("root mean square", wheel.deviation, 4, "mm", wheel.roundnessReason);
    add("level", wheel.level, 1, "dB above 1 um", wheel.roundnessReason);
    QString text = values.text();
    if (!wheel.harmonics.empty()) {
        Table table({"order", "amplitude", "first crest", "level"});
        for (const WheelHarmonic& harmonic : wheel.harmonics)
            table.add({QString::number(harmonic.order), cell(harmonic.amplitude, 4), cell(harmonic.angle, 2),
                       cell(harmonic.level, 1)});
        text += '\n' + table.text();
    }
    if (!wheel.flats.empty()) {
        Table table({"flat at", "from", "to", "depth", "length", "depth of chord", "notes"});
        for (const WheelFlat& flat : wheel.flats)
            table.add({cell(flat.angle, 2), cell(flat.from, 2), cell(flat.to, 2), cell(flat.depth, 3),
                       cell(flat.length, 2), cell(flat.depthOfChord, 3),
                       flat.reason.isEmpty() ? flat.note : flat.reason});
        text += '\n' + table.text();
    } else {
        text += wheel.flatsReason.isEmpty() ? filledIn("\nno flat deeper than %1 mm\n", options.leastDepth)
                                            : "\nno flats looked for: " + wheel.flatsReason + '\n';
    }
    for (const QString& note : wheel.notes)
        text += "  " + note + '\n';
    return text + filledIn("filter: Gaussian (ISO 16610-21), cut-off %1 mm\n", options.cutoff);
}

QByteArray draw(const Circumference& wheel, const QString& path) {
    const QString facts = std::isfinite(wheel.outOfRoundness)
                              ? filledIn("mean radius %1 mm, out-of-roundness %2 mm, %3",
                                         fixed(wheel.meanRadius, 2), fixed(wheel.outOfRoundness, 3),
                                         counted(static_cast<qint64>(wheel.flats.size()), "flat"))
                              : wheel.reason + wheel.roundnessReason;
    return drawCircumference(wheel, path.section('/', -1), facts);
}

}  // namespace

int runWheelsRoundness(const QStringList& words) {
    constexpr int kMostOrders = 500;
    constexpr double kLeastCutoff = 0.1, kMostCutoff = 500, kLeastDepth = 0.005, kMostDepth = 50;
    const Arguments arguments(usage(), words, 1, 1);
    const QString path = arguments.operand(0), svg = arguments.text("--svg");
    refuseOverwriting({svg}, {path});
    CircumferenceOptions options;
    options.cutoff = arguments.number("--cutoff", options.cutoff, kLeastCutoff, kMostCutoff);
    options.orders = arguments.integer("--orders", options.orders, 1, kMostOrders);
    options.leastDepth = arguments.number("--least-depth", options.leastDepth, kLeastDepth, kMostDepth);
    for (const char* option : kOfProfiles) {
        if (arguments.has(option) && !arguments.has("--diameter"))
            throw Error(QString("wheels roundness: %1 is of profiles; they need --diameter").arg(option));
    }
    const std::vector<Vector> points =
        arguments.has("--diameter") ? readProfiles(path, arguments) : readRadii(path, arguments);
    const Circumference wheel = evaluateCircumference(points, options);
    if (arguments.isJson())
        printJson(jsonOf(wheel, path, options));
    else
        print(textOf(wheel, options));
    if (!svg.isEmpty())
        writePicture(svg, [&] { return draw(wheel, path); });
    const bool isWhole =
        wheel.reason.isEmpty() && wheel.roundnessReason.isEmpty() && wheel.flatsReason.isEmpty();
    return isWhole && wheel.flats.empty() ? Done : NotMet;
}

}  // namespace KvMeasure
