// scan grid and scan section. A section runs between the measured points unless cells are asked for, whose
// means then take their place.
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/scan/course.h"
#include "cli/scan/options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/drawing/scan_picture.h>
#include <kvmeasure/profiles/profile_writer.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/height_grid.h>

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

using KvMath::KvMatrixCloud;

namespace {

constexpr double kFinest = 1e-6;  // mm

const std::vector<Option> gridOptions = {
    {"--step-x", "MM", "size of a cell along x (the scan's own point distance)"},
    {"--step-scan", "MM", "size of a cell along the scan (the scan's own distance of profiles)"},
};

Usage withGrid(const Usage& usage) { return withScanOptions(withLimits(with(usage, gridOptions))); }

const Usage gridUsage =
    withGrid({"scan grid",
              "SCAN",
              "Mean heights in the cells of a regular grid.",
              {{"--out", "FILE",
                "CSV: x of the columns in the first line, then a line per row that begins with its position"},
               {"--svg", "PICTURE", "top view coloured by height"}},
              "Measured columns and profiles lie in the middle of cells; cells without points stay empty.\n\n"
              "Examples\n"
              "  kvmeasure scan grid plate.kvs --svg plate.svg\n"
              "  kvmeasure scan grid plate.kvs --step-x 0.5 --step-scan 0.5 --out plate.csv\n"});

const Usage sectionUsage = withGrid(
    with({"scan section", "SCAN", "A profile through a scan.", courseOptions(),
          "The place is x, the position along the scan, or the distance from --from. At the position of a "
          "profile\n"
          "the section has its points, --at-x one height for each profile; in between, heights run "
          "straight from\n"
          "neighbour to neighbour, and the result says how many points are interpolated. Where neighbours "
          "are more\n"
          "than 2.5 times the usual distance apart there are no points. With --step-x or --step-scan the "
          "section\n"
          "runs between the mean heights of grid cells.\n\n"
          "Examples\n"
          "  kvmeasure scan section plate.kvs --at-scan 26 --out profile.csv --svg profile.svg\n"
          "  kvmeasure scan section plate.kvs --from -20,5 --to 20,45 --out diagonal.csv\n"},
         {{"--out", "FILE", "profile to write: rows of place and height, for teach, match, fit"},
          {"--format", "NAME", "of --out: csv, kv-csv or record (csv)", formNames()},
          {"--svg", "PICTURE", "draw the profile"}}));

/// The scan's own point distances, or the cells that were asked for.
Steps readSteps(const Arguments& arguments, const KvMath::KvProfileZSet& stack) {
    Steps steps = estimateSteps(stack);
    steps.x = arguments.number("--step-x", steps.x, kFinest, kFarthest);
    steps.scan = arguments.number("--step-scan", steps.scan, kFinest, kFarthest);
    return steps;
}

KvMatrixCloud readGrid(const Arguments& arguments, Scan& scan) {
    const QString path = arguments.operand(0);
    scan = takeScan(arguments);
    const KvMath::KvProfileZSet stack = takeStack(scan, path);
    return makeGrid(stack, readSteps(arguments, stack), path);
}

/// The middles of the filled cells as points.
KvMath::KvProfileZSet cellsOf(const KvMatrixCloud& grid) {
    KvMath::KvProfileZSet stack;
    for (int row = 0; row < grid.rows; ++row) {
        KvMath::KvProfileZ profile(static_cast<float>(cellScan(grid, row)));
        for (int column = 0; column < grid.columns; ++column) {
            const float height = grid.height(row, column);
            if (!std::isnan(height))
                profile.points.append(KvMath::KvPointXY(static_cast<float>(cellX(grid, column)), height));
        }
        stack.append(profile);
    }
    return stack;
}

ScanSurface makeSurface(const Arguments& arguments, const KvMath::KvProfileZSet& stack, const Steps& steps) {
    constexpr double kNext = 1.5;  // no lost cell is bridged
    if (!arguments.has("--step-x") && !arguments.has("--step-scan"))
        return surfaceOf(stack, steps);
    return {cellsOf(makeGrid(stack, steps, arguments.operand(0))), kNext * steps.x, kNext * steps.scan};
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
    print(filledIn("%1: %2 rows along the scan, %3 columns along x; cells of %4 by %5 mm (x by scan), the "
                   "first at x "
                   "%6, scan %7\n%8 of %9 cells hold points\n",
                   printable(path), grid.rows, grid.columns, double(grid.stepX), double(grid.stepZ),
                   mm(cellX(grid, 0)), mm(cellScan(grid, 0)), filled, qint64(grid.rows) * grid.columns));
}

void reportSection(const Arguments& arguments, Course course, const Section& section) {
    const QList<KvMath::KvPointXY>& points = section.profile.points;
    const QString path = arguments.operand(0);
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
        printJson({{"file", path},
                   {"along", nameOf(course)},
                   {"measured", section.measured},
                   {"interpolated", section.interpolated},
                   {"points", array}});
        return;
    }
    print(filledIn("%1: section from x %2, scan %3 to x %4, scan %5: %6 measured and %7 interpolated points, "
                   "%8 %9 .. %10 mm, height %11, mean %12 mm\n",
                   printable(path), mm(section.from.x), mm(section.from.scan), mm(section.to.x),
                   mm(section.to.scan), section.measured, section.interpolated, nameOf(course),
                   mm(double(points.first().x)), mm(double(points.last().x)), heights.text(),
                   mm(sum / static_cast<double>(points.size()))));
}

}  // namespace

int runScanGrid(const QStringList& words) {
    const Arguments arguments(gridUsage, words, 1, 1);
    refuseOverwritingScans(arguments, {arguments.text("--out"), arguments.text("--svg")},
                           arguments.operands());
    Scan scan;
    const KvMatrixCloud grid = readGrid(arguments, scan);
    if (arguments.has("--out"))
        writeOutputFile(arguments.text("--out"), gridCsv(grid));
    if (arguments.has("--svg")) {
        ScanPicture picture;
        picture.title = QFileInfo(arguments.operand(0)).completeBaseName();
        picture.grid = grid;
        writePicture(arguments.text("--svg"), [&] { return drawScan(picture); });
    }
    reportGrid(arguments, grid, scan);
    return Done;
}

int runScanSection(const QStringList& words) {
    const Arguments arguments(sectionUsage, words, 1, 1);
    refuseOverwritingScans(arguments, {arguments.text("--out"), arguments.text("--svg")},
                           arguments.operands());
    arguments.requireWith({"--format"}, "--out");
    const FileForm form = parseForm(arguments.text("--format"), FileForm::Csv);
    const Course course = readCourse(arguments);
    const QString path = arguments.operand(0);
    Scan scan = takeScan(arguments);
    const KvMath::KvProfileZSet stack = takeStack(scan, path);
    const Steps steps = readSteps(arguments, stack);
    const Section section = takeSection(arguments, course, makeSurface(arguments, stack, steps), steps);
    if (arguments.has("--out")) {
        LoadedProfile written;
        written.name = path;
        written.profile = section.profile;
        writeProfile(arguments.text("--out"), form, written);
    }
    if (arguments.has("--svg")) {
        Picture picture;
        picture.title = QFileInfo(path).completeBaseName() + ": section along " + nameOf(course);
        picture.along = nameOf(course);
        picture.profile = section.profile;
        if (section.interpolated > 0)
            picture.points =
                section.measured > 0 ? "measured and interpolated points" : "interpolated points";
        writePicture(arguments.text("--svg"), [&] { return drawPicture(picture); });
    }
    reportSection(arguments, course, section);
    return Done;
}

}  // namespace KvMeasure
