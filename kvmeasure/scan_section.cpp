#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_writer.h"
#include "kvmeasure/scan_grid.h"
#include "kvmeasure/scan_options.h"
#include "kvmeasure/scan_picture.h"

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

using KvMath::KvMatrixCloud;

namespace {

constexpr double finest = 1e-6;  // mm

const std::vector<Option> gridOptions = {
    {"--step-x", "MM", "size of a cell along x (the scan's own distance of points)"},
    {"--step-scan", "MM", "size of a cell along the scan (the scan's own distance of profiles)"},
};

Usage withGrid(const Usage& usage) { return withScanOptions(withLimits(with(usage, gridOptions))); }

const Usage gridUsage =
    withGrid({"scan grid",
              "SCAN",
              "Mean heights in the cells of a regular grid.",
              {{"--out", "FILE",
                "CSV: x of the columns in the first line, then a line per row that begins with its position"},
               {"--svg", "FILE", "top view coloured by height"}},
              "Measured columns and profiles lie in the middle of cells; cells without points stay empty.\n\n"
              "Examples\n"
              "  kvmeasure scan grid plate.kvs --svg plate.svg\n"
              "  kvmeasure scan grid plate.kvs --step-x 0.5 --step-scan 0.5 --out plate.csv\n"});

const Usage sectionUsage =
    withGrid({"scan section",
              "SCAN",
              "A profile through a scan: heights between the middles of grid cells, bilinear.",
              {{"--at-scan", "MM", "along x, at this position along the scan"},
               {"--at-x", "MM", "along the scan, at this x"},
               {"--from", "X,SCAN", "with --to: along the straight line between two places"},
               {"--to", "X,SCAN", "see --from"},
               {"--spacing", "MM", "distance of the points (the smaller side of a cell)"},
               {"--out", "FILE", "profile to write: rows of place and height, for teach, match, fit"},
               {"--format", "NAME", "of --out: csv, kv-csv or record (csv)", formNames()},
               {"--svg", "FILE", "draw the profile"}},
              "The place is x, the position along the scan, or the distance from --from. Where cells are "
              "empty the\n"
              "profile has no points.\n\n"
              "Examples\n"
              "  kvmeasure scan section plate.kvs --at-scan 26 --out profile.csv --svg profile.svg\n"
              "  kvmeasure scan section plate.kvs --from -20,5 --to 20,45 --out diagonal.csv\n"});

KvMatrixCloud readGrid(const Arguments& arguments, Scan& scan) {
    const QString path = arguments.operand(0);
    scan = takeScan(arguments);
    const KvMath::KvProfileZSet stack = takeStack(scan, path);
    Steps steps = estimateSteps(stack);
    steps.x = arguments.number("--step-x", steps.x, finest, farthest);
    steps.scan = arguments.number("--step-scan", steps.scan, finest, farthest);
    return makeGrid(stack, steps, path);
}

struct Place {
    double x = 0, scan = 0;
};

/// Where a section runs, and what its first coordinate begins with.
struct Course {
    Place from, to;
    double first = 0;  ///< coordinate of `from`, mm
    QString name;      ///< of the coordinate
};

Course readCourse(const Arguments& arguments, const KvMatrixCloud& grid) {
    const bool hasScan = arguments.has("--at-scan");
    const bool hasX = arguments.has("--at-x");
    const bool hasLine = arguments.has("--from") && arguments.has("--to");
    if (int(hasScan) + int(hasX) + int(hasLine) != 1 || (arguments.has("--from") != arguments.has("--to")))
        throw Failure{"scan section: say where: --at-scan MM, --at-x MM, or --from X,SCAN with --to X,SCAN"};
    Course course;
    course.from = {cellX(grid, 0), cellScan(grid, 0)};
    course.to = {cellX(grid, grid.columns - 1), cellScan(grid, grid.rows - 1)};
    if (hasScan) {
        course.from.scan = course.to.scan = arguments.number("--at-scan", 0, -farthest, farthest);
        course.first = course.from.x;
        course.name = "x";
    } else if (hasX) {
        course.from.x = course.to.x = arguments.number("--at-x", 0, -farthest, farthest);
        course.first = course.from.scan;
        course.name = "scan";
    } else {
        arguments.pair("--from", course.from.x, course.from.scan);
        arguments.pair("--to", course.to.x, course.to.scan);
        course.name = "distance";
    }
    return course;
}

/// Heights along a course. A place at the rim that rounding puts beyond the outermost middles counts as on
/// it.
KvMath::KvProfile sampleCourse(const KvMatrixCloud& grid, const Course& course, double spacing,
                               const QString& path) {
    constexpr double mostPoints = 1'000'000;
    const double length = std::hypot(course.to.x - course.from.x, course.to.scan - course.from.scan);
    const double count = std::floor(length / spacing + 1e-6);
    if (!(count < mostPoints))
        throw Failure{
            QString("%1: a section of %2 mm has too many points %3 mm apart; take a larger --spacing")
                .arg(path)
                .arg(length)
                .arg(spacing)};
    const auto inside = [](double value, double from, double to, double step) {
        const double rim = 1e-3 * step;
        return value < from && value > from - rim ? from : value > to && value < to + rim ? to : value;
    };
    KvMath::KvProfile profile;
    for (double i = 0; i <= count; ++i) {
        const double share = length > 0 ? i * spacing / length : 0;
        const double x = course.from.x + (course.to.x - course.from.x) * share;
        const double scan = course.from.scan + (course.to.scan - course.from.scan) * share;
        const float height = grid.sample(
            float(inside(x, cellX(grid, 0), cellX(grid, grid.columns - 1), double(grid.stepX))),
            float(inside(scan, cellScan(grid, 0), cellScan(grid, grid.rows - 1), double(grid.stepZ))));
        if (!std::isnan(height))
            profile.points.append(KvMath::KvPointXY(static_cast<float>(course.first + i * spacing), height));
    }
    if (profile.points.isEmpty())
        throw Failure{QString("%1: there are no heights along this section").arg(path)};
    return profile;
}

void reportGrid(const Arguments& arguments, const KvMatrixCloud& grid, const Scan& scan) {
    const int filled = filledCells(grid);
    const QString path = arguments.operand(0);
    if (arguments.isJson()) {
        printJson({{"file", path},
                   {"points", scan.points},
                   {"rows", grid.rows},
                   {"columns", grid.columns},
                   {"stepX", double(grid.stepX)},
                   {"stepScan", double(grid.stepZ)},
                   {"firstX", cellX(grid, 0)},
                   {"firstScan", cellScan(grid, 0)},
                   {"filled", filled}});
        return;
    }
    print(QString("%1: %2 rows along the scan, %3 columns along x; cells of %4 by %5 mm (x by scan), the "
                  "first at x "
                  "%6, scan %7\n%8 of %9 cells hold points\n")
              .arg(path)
              .arg(grid.rows)
              .arg(grid.columns)
              .arg(double(grid.stepX))
              .arg(double(grid.stepZ))
              .arg(mm(cellX(grid, 0)), mm(cellScan(grid, 0)))
              .arg(filled)
              .arg(qint64(grid.rows) * grid.columns));
}

void reportSection(const Arguments& arguments, const Course& course, const LoadedProfile& section) {
    const QList<KvMath::KvPointXY>& points = section.profile.points;
    Span heights;
    double sum = 0;
    QJsonArray array;
    for (const KvMath::KvPointXY& p : points) {
        heights.add(double(p.y));
        sum += double(p.y);
        if (arguments.isJson())
            array.append(QJsonArray{double(p.x), double(p.y)});
    }
    if (arguments.isJson()) {
        printJson({{"file", section.name}, {"along", course.name}, {"points", array}});
        return;
    }
    print(
        QString("%1: section from x %2, scan %3 to x %4, scan %5: %6 points, %7 %8 .. %9 mm, height %10, "
                "mean %11 mm\n")
            .arg(section.name, mm(course.from.x), mm(course.from.scan), mm(course.to.x), mm(course.to.scan))
            .arg(points.size())
            .arg(course.name, mm(double(points.first().x)))
            .arg(mm(double(points.last().x)), heights.text(), mm(sum / static_cast<double>(points.size()))));
}

}  // namespace

int runScanGrid(const QStringList& words) {
    const Arguments arguments(gridUsage, words, 1, 1);
    refuseOverwriting({arguments.text("--out"), arguments.text("--svg")}, scanInputs(arguments));
    Scan scan;
    const KvMatrixCloud grid = readGrid(arguments, scan);
    if (arguments.has("--out"))
        writeOutputFile(arguments.text("--out"), gridCsv(grid));
    if (arguments.has("--svg")) {
        ScanPicture picture;
        picture.title = QFileInfo(arguments.operand(0)).completeBaseName();
        picture.grid = grid;
        writeOutputFile(arguments.text("--svg"), drawScan(picture));
    }
    reportGrid(arguments, grid, scan);
    return Done;
}

int runScanSection(const QStringList& words) {
    const Arguments arguments(sectionUsage, words, 1, 1);
    refuseOverwriting({arguments.text("--out"), arguments.text("--svg")}, scanInputs(arguments));
    const FileForm form = parseForm(arguments.text("--format"), FileForm::Csv);
    Scan scan;
    const KvMatrixCloud grid = readGrid(arguments, scan);
    const Course course = readCourse(arguments, grid);
    const double smaller = double(std::min(grid.stepX, grid.stepZ));
    LoadedProfile section;
    section.name = arguments.operand(0);
    section.profile =
        sampleCourse(grid, course, arguments.number("--spacing", smaller, finest, farthest), section.name);
    if (arguments.has("--out"))
        writeProfile(arguments.text("--out"), form, section);
    if (arguments.has("--svg")) {
        Picture picture;
        picture.title = QFileInfo(section.name).completeBaseName() + ": section along " + course.name;
        picture.along = course.name;
        picture.profile = section.profile;
        writeOutputFile(arguments.text("--svg"), drawPicture(picture));
    }
    reportSection(arguments, course, section);
    return Done;
}

}  // namespace KvMeasure
