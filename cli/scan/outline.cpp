// scan outline. The parameters that the scan suggests are shown with the result, so that a run can be
// repeated and mended with options.
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/scan/options.h"
#include "cli/scan/summary.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/scan_picture.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/outline_search.h>

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage usage = withScanOptions(withLimits(
    {"scan outline",
     "SCAN",
     "The outline of the object in a scan, seen from above, as straight lines with lengths and angles.",
     {{"--level", "MM", "points not above it are no part of the object (between its two kinds of heights)"},
      {"--coin", "MM",
       "radius of the coin that rolls around the object; it bridges gaps up to twice that (1/8 of the "
       "smaller side)"},
      {"--split", "MM", "deviation at which a line is divided (4 times the point distance)"},
      {"--min-length", "MM", "shorter lines are left out (1/10 of the smaller side)"},
      {"--gap", "MM", "a larger step of x divides a profile (5 times the point distance)"},
      {"--min-run", "MM", "shorter pieces of a profile are left out (10 times the point distance)"},
      {"--join", "MM", "a larger distance of hull points interrupts a line (2.02 times the coin)"},
      {"--step", "MM", "distance of the profiles (as measured)"},
      {"--passes", "N", "of the line search, 0 to 1000 (3)"},
      {"--merge", "DEG", "joins neighbouring lines that turn by less (5)"},
      {"--raw", "", "lines as they come from the hull, neither joined nor fitted"},
      {"--edge-compensation",
       "on|off",
       "sides lie half a point distance beyond the last points (on)",
       {"on", "off"}},
      {"--all-points", "", "rolls the coin around all points, not those on edges alone"},
      {"--svg", "PICTURE", "view from above with edge points, hull, lines, lengths and angles"}},
     "The values that the scan suggests, in parentheses, are shown with the result. The level is found where "
     "the scan\n"
     "has two kinds of heights, as of a part and its support; where it has not, --level is needed. The coin "
     "touches the "
     "outermost\n"
     "points: a small one follows the edge, a large one closes notches. No point lies on the edge itself, so "
     "each side\n"
     "is moved outwards by half a point distance (column \"free edge\"). Angles are those inside the "
     "object, "
     "where a\n"
     "line meets the next one. The object that reaches the lowest x is taken; leave others out by --x and "
     "--scan.\n"
     "Exit code 1 when there is no line.\n\n"
     "Examples\n"
     "  kvmeasure scan outline plate.kvs --svg outline.svg\n"
     "  kvmeasure scan outline heights.bin --map meta.csv --level 70 --coin 6 --json\n"}));

OutlineParameters readParameters(const Arguments& arguments) {
    constexpr double kFinest = 1e-6;
    const double absent = std::nan("");
    OutlineParameters parameters;
    parameters.level = arguments.number("--level", absent, -kFarthest, kFarthest);
    parameters.coin = arguments.number("--coin", absent, kFinest, kFarthest);
    parameters.split = arguments.number("--split", absent, 0, kFarthest);
    parameters.minLength = arguments.number("--min-length", absent, 0, kFarthest);
    parameters.gap = arguments.number("--gap", absent, kFinest, kFarthest);
    parameters.minRun = arguments.number("--min-run", absent, 0, kFarthest);
    parameters.join = arguments.number("--join", absent, kFinest, kFarthest);
    parameters.step = arguments.number("--step", absent, kFinest, kFarthest);
    parameters.passes = arguments.integer("--passes", parameters.passes, 0, 1000);
    parameters.merge = arguments.number("--merge", parameters.merge, 0, 90);
    parameters.raw = arguments.has("--raw");
    parameters.compensatesEdges = arguments.choice("--edge-compensation") == 0;
    parameters.allPoints = arguments.has("--all-points");
    if (parameters.raw && arguments.has("--edge-compensation"))
        throw Error("scan outline: --raw adds nothing at free edges; leave out --edge-compensation");
    return parameters;
}

QString degrees(double value) { return std::isnan(value) ? QString("-") : fixed(value, 2); }

struct Named {
    const char* name;
    const char* key;
    double value;
};

std::vector<Named> named(const OutlineParameters& p) {
    return {{"--level", "level", p.level}, {"--coin", "coin", p.coin},
            {"--split", "split", p.split}, {"--min-length", "minLength", p.minLength},
            {"--gap", "gap", p.gap},       {"--min-run", "minRun", p.minRun},
            {"--join", "join", p.join},    {"--step", "step", p.step}};
}

void reportText(const QString& path, const Scan& scan, const OutlineParameters& parameters,
                const Outline& outline, const Arguments& arguments) {
    QStringList given, derived;
    for (const Named& parameter : named(parameters))
        (arguments.has(parameter.name) ? given : derived)
            .append(filledIn("%1 %2", parameter.name, QString::number(parameter.value, 'g', 6)));
    QString values = "by the scan, mm: " + derived.join(' ');
    if (!given.isEmpty())
        values += "; given: " + given.join(' ');
    if (!parameters.reason.isEmpty())
        values += "\nlevel: " + parameters.reason;
    print(filledIn("%1: %2\n%3\n%4 points above the level, %5 edge points, %6 in the hull, %7 lines\n",
                   printable(path), summarise(scan).line(), values, outline.objectPoints,
                   outline.edgePoints.size(), outline.hull.size(), outline.lines.size()));
    Table table({"line", "length mm", "direction deg", "x1", "scan1", "x2", "scan2", "angle to next deg",
                 "points", "rms mm", "free edge mm"});
    for (int i = 0; i < outline.lines.size(); ++i) {
        const KvMath::LinePP& line = outline.lines[i].line;
        table.add({QString::number(i), mm(length(line.p1, line.p2)), degrees(direction(line)), mm(line.p1.x),
                   mm(line.p1.y), mm(line.p2.x), mm(line.p2.y), degrees(innerAngle(outline.lines, i)),
                   QString::number(outline.lines[i].points),
                   outline.lines[i].points > 0 ? mm(outline.lines[i].rms) : QString("-"),
                   outline.lines[i].freeEdge > 0 ? '+' + mm(outline.lines[i].freeEdge) : QString("-")});
    }
    print(table.text());
}

void reportJson(const QString& path, const Scan& scan, const OutlineParameters& parameters,
                const Outline& outline) {
    QJsonArray lines;
    for (int i = 0; i < outline.lines.size(); ++i) {
        const KvMath::LinePP& line = outline.lines[i].line;
        lines.append(QJsonObject{{"p1", jsonPoint(line.p1)},
                                 {"p2", jsonPoint(line.p2)},
                                 {"length", jsonNumber(length(line.p1, line.p2))},
                                 {"direction", jsonNumber(direction(line))},
                                 {"angleToNext", jsonNumber(innerAngle(outline.lines, i))},
                                 {"points", outline.lines[i].points},
                                 {"rms", jsonNumber(outline.lines[i].rms)},
                                 {"freeEdge", jsonNumber(outline.lines[i].freeEdge)}});
    }
    QJsonObject used{{"passes", parameters.passes},
                     {"merge", parameters.merge},
                     {"raw", parameters.raw},
                     {"edgeCompensation", parameters.compensatesEdges && !parameters.raw},
                     {"allPoints", parameters.allPoints}};
    for (const Named& parameter : named(parameters))
        used[parameter.key] = jsonNumber(parameter.value);
    used["levelReason"] = parameters.reason.isEmpty() ? QString("given") : parameters.reason;
    QJsonArray hull;
    for (const Vector& place : outline.hull)
        hull.append(jsonPoint(place));
    QJsonObject object = summarise(scan).json();
    object["file"] = path;
    object["parameters"] = used;
    object["objectPoints"] = outline.objectPoints;
    object["edgePoints"] = outline.edgePoints.size();
    object["hull"] = hull;
    object["lines"] = lines;
    printJson(object);
}

/// A single point that lies far away makes the grid of heights too large: the options that leave it out are
/// said.
KvMath::KvMatrixCloud gridOf(const KvMath::KvProfileZSet& stack, const QString& title) {
    try {
        return makeGrid(stack, estimateSteps(stack), title);
    } catch (const Error&) {
        KvMath::KvProfileZSet ranged = stack;
        ranged.calcRange();
        throw Error(
            filledIn("the scan is too large for its point distance: x from %1 to %2 mm, scan from %3 to "
                     "%4 mm; leave points far off out by --x and --scan",
                     mm(double(ranged.minX)), mm(double(ranged.maxX)), mm(double(ranged.minZ)),
                     mm(double(ranged.maxZ))));
    }
}

QByteArray draw(const QString& title, const KvMath::KvProfileZSet& stack, const Outline& outline,
                const OutlineParameters& parameters) {
    ScanPicture picture;
    picture.title = title + ": outline";
    picture.subtitle =
        filledIn("above %1 mm, coin of radius %2 mm", QString::number(parameters.level, 'g', 5),
                 QString::number(parameters.coin, 'g', 4));
    picture.grid = gridOf(stack, title);
    picture.edgePoints = outline.edgePoints;
    picture.hull = outline.hull;
    for (const OutlineLine& line : outline.lines)
        picture.lines.append(line.line);
    for (int i = 0; i < outline.lines.size(); ++i) {
        const KvMath::LinePP& line = outline.lines[i].line;
        const Vector along(line.p2.x - line.p1.x, line.p2.y - line.p1.y);
        const Vector outward(-along.y, along.x);  // the walk is clockwise
        picture.lengths.append({{(line.p1.x + line.p2.x) / 2, (line.p1.y + line.p2.y) / 2},
                                outward,
                                filledIn("%1: %2 mm", i, QString::number(length(line.p1, line.p2), 'f', 2))});
        const KvMath::LinePP& next = outline.lines[(i + 1) % outline.lines.size()].line;
        const double angle = innerAngle(outline.lines, i);
        if (!std::isnan(angle))
            picture.angles.append({{(line.p2.x + next.p1.x) / 2, (line.p2.y + next.p1.y) / 2},
                                   {next.p1.x - next.p2.x + along.x, next.p1.y - next.p2.y + along.y},
                                   degrees(angle) + QChar(0xB0)});
    }
    return drawScan(picture);
}

}  // namespace

int runScanOutline(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    const QString path = arguments.operand(0);
    refuseOverwritingScans(arguments, {arguments.text("--svg")}, arguments.operands());
    if (arguments.has("--raw") && arguments.has("--merge"))
        throw Error("scan outline: --raw leaves lines as they are; leave --merge out");
    for (const char* option : {"--gap", "--min-run"}) {
        if (arguments.has("--all-points") && arguments.has(option))
            throw Error(
                QString("scan outline: %1 finds edges, which --all-points does not; leave one of them out")
                    .arg(option));
    }
    OutlineParameters parameters = readParameters(arguments);
    Scan scan = takeScan(arguments);
    const KvMath::KvProfileZSet stack = takeStack(scan, path);
    deriveParameters(stack, path, parameters);
    const Outline outline = findOutline(stack, parameters);
    if (arguments.has("--svg"))
        writePicture(arguments.text("--svg"), [&] { return draw(stemOf(path), stack, outline, parameters); });
    if (arguments.isJson())
        reportJson(path, scan, parameters, outline);
    else
        reportText(path, scan, parameters, outline, arguments);
    return outline.lines.isEmpty() ? int(NotMet) : int(Done);
}

}  // namespace KvMeasure
