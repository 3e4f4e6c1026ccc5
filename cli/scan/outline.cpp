#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/outline_search.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/print.h"
#include "kvmeasure/progress.h"
#include "kvmeasure/scan_options.h"
#include "kvmeasure/scan_picture.h"
#include "kvmeasure/scan_summary.h"

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
      {"--split", "MM", "deviation at which a line is divided (4 times the distance of points)"},
      {"--min-length", "MM", "shorter lines are left out (1/10 of the smaller side)"},
      {"--gap", "MM", "a larger step of x divides a profile (5 times the distance of points)"},
      {"--min-run", "MM", "shorter pieces of a profile are left out (10 times the distance of points)"},
      {"--join", "MM", "a larger distance of hull points interrupts a line (2.02 times the coin)"},
      {"--step", "MM", "distance of the profiles (as measured)"},
      {"--passes", "N", "of the line search, 0 to 1000 (3)"},
      {"--merge", "DEG", "joins neighbouring lines that turn by less (5)"},
      {"--raw", "", "lines as they come from the hull, neither joined nor fitted"},
      {"--all-points", "", "rolls the coin around all points, not those on edges alone"},
      {"--svg", "FILE", "view from above with edge points, hull, lines, lengths and angles"}},
     "The values that the scan suggests, in parentheses, are shown with the result. The coin touches the "
     "outermost\n"
     "points: a small one follows the edge, a large one closes notches. Angles are those inside the object, "
     "where a\n"
     "line meets the next one. The object that reaches the lowest x is taken; leave others out by --x and "
     "--scan.\n"
     "Exit code 1 when there is no line.\n\n"
     "Examples\n"
     "  kvmeasure scan outline plate.kvs --svg outline.svg\n"
     "  kvmeasure scan outline heights.bin --map meta.csv --level 70 --coin 6 --json\n"}));

OutlineParameters readParameters(const Arguments& arguments) {
    constexpr double finest = 1e-6;
    const double absent = std::nan("");
    OutlineParameters parameters;
    parameters.level = arguments.number("--level", absent, -farthest, farthest);
    parameters.coin = arguments.number("--coin", absent, finest, farthest);
    parameters.split = arguments.number("--split", absent, 0, farthest);
    parameters.minLength = arguments.number("--min-length", absent, 0, farthest);
    parameters.gap = arguments.number("--gap", absent, finest, farthest);
    parameters.minRun = arguments.number("--min-run", absent, 0, farthest);
    parameters.join = arguments.number("--join", absent, finest, farthest);
    parameters.step = arguments.number("--step", absent, finest, farthest);
    parameters.passes = arguments.integer("--passes", parameters.passes, 0, 1000);
    parameters.merge = arguments.number("--merge", parameters.merge, 0, 90);
    parameters.raw = arguments.has("--raw");
    parameters.allPoints = arguments.has("--all-points");
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
            .append(QString("%1 %2").arg(parameter.name).arg(parameter.value, 0, 'g', 6));
    QString values = "by the scan, mm: " + derived.join(' ');
    if (!given.isEmpty())
        values += "; given: " + given.join(' ');
    print(QString("%1: %2\n%3\n%4 points above the level, %5 edge points, %6 in the hull, %7 lines\n")
              .arg(path, summarise(scan).line(), values)
              .arg(outline.objectPoints)
              .arg(outline.edgePoints.size())
              .arg(outline.hull.size())
              .arg(outline.lines.size()));
    Table table({"line", "length mm", "direction deg", "x1", "scan1", "x2", "scan2", "angle to next deg",
                 "points", "rms mm"});
    for (int i = 0; i < outline.lines.size(); ++i) {
        const KvMath::LinePP& line = outline.lines[i].line;
        table.add({QString::number(i), mm(length(line.p1, line.p2)), degrees(direction(line)), mm(line.p1.x),
                   mm(line.p1.y), mm(line.p2.x), mm(line.p2.y), degrees(innerAngle(outline.lines, i)),
                   QString::number(outline.lines[i].points),
                   outline.lines[i].points > 0 ? mm(outline.lines[i].rms) : QString("-")});
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
                                 {"rms", jsonNumber(outline.lines[i].rms)}});
    }
    QJsonObject used{{"passes", parameters.passes},
                     {"merge", parameters.merge},
                     {"raw", parameters.raw},
                     {"allPoints", parameters.allPoints}};
    for (const Named& parameter : named(parameters))
        used[parameter.key] = jsonNumber(parameter.value);
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

void draw(const QString& path, const QString& title, const KvMath::KvProfileZSet& stack,
          const Outline& outline, const OutlineParameters& parameters) {
    ScanPicture picture;
    picture.title = title + ": outline";
    picture.subtitle = QString("above %1 mm, coin of radius %2 mm; lengths in mm")
                           .arg(parameters.level, 0, 'g', 5)
                           .arg(parameters.coin, 0, 'g', 4);
    picture.grid = makeGrid(stack, estimateSteps(stack), title);
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
                                QString("%1: %2").arg(i).arg(length(line.p1, line.p2), 0, 'f', 2)});
        const KvMath::LinePP& next = outline.lines[(i + 1) % outline.lines.size()].line;
        const double angle = innerAngle(outline.lines, i);
        if (!std::isnan(angle))
            picture.angles.append({{(line.p2.x + next.p1.x) / 2, (line.p2.y + next.p1.y) / 2},
                                   {next.p1.x - next.p2.x + along.x, next.p1.y - next.p2.y + along.y},
                                   degrees(angle) + QChar(0xB0)});
    }
    writeOutputFile(path, drawScan(picture));
}

}  // namespace

int runScanOutline(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    const QString path = arguments.operand(0);
    refuseOverwriting({arguments.text("--svg")}, scanInputs(arguments));
    OutlineParameters parameters = readParameters(arguments);
    Scan scan = takeScan(arguments);
    const KvMath::KvProfileZSet stack = takeStack(scan, path);
    deriveParameters(stack, path, parameters);
    const Outline outline = findOutline(stack, parameters);
    if (arguments.has("--svg"))
        draw(arguments.text("--svg"), QFileInfo(path).completeBaseName(), stack, outline, parameters);
    if (arguments.isJson())
        reportJson(path, scan, parameters, outline);
    else
        reportText(path, scan, parameters, outline, arguments);
    return outline.lines.isEmpty() ? int(NotMet) : int(Done);
}

}  // namespace KvMeasure
