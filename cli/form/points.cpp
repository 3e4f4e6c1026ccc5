// A text is read in doubles: the readers of profiles and scans keep floats, whose steps at 1 m are 0.06 um.

#include "cli/form/points.h"

#include "cli/profile/options.h"
#include "cli/scan/course.h"
#include "cli/scan/options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/profiles/data_table.h>
#include <kvmeasure/profiles/text_lines.h>
#include <kvmeasure/scans/scan_file.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr std::size_t kPlaneColumns = 2;
constexpr std::size_t kSpaceColumns = 3;

/// Columns by their names, else in their order; a column that counts the points is passed over.
QList<int> chosenColumns(const QString& columns, const QList<Heading>& headings, std::size_t count) {
    QList<int> chosen;
    const auto wanted = static_cast<int>(count);
    if (!columns.isNull()) {
        for (const QString& word : columns.split(','))
            chosen.append(columnNamed(headings, word.trimmed()));
        if (chosen.size() != wanted)
            throw Error(
                filledIn("--columns needs %1 columns, e.g. %2", wanted, wanted == 2 ? "1,2" : "x,y,z"));
        return chosen;
    }
    const auto first = [&](std::initializer_list<ColumnRole> roles) {
        for (const ColumnRole role : roles) {
            for (int i = 0; i < static_cast<int>(headings.size()); ++i) {
                if (headings[i].role == role && !chosen.contains(i)) {
                    chosen.append(i);
                    return;
                }
            }
        }
    };
    first({ColumnRole::X});
    if (count == kSpaceColumns)
        first({ColumnRole::Y});
    first({ColumnRole::Height, ColumnRole::Y});
    if (chosen.size() == wanted)
        return chosen;
    chosen.clear();
    for (int i = 0; i < static_cast<int>(headings.size()) && chosen.size() < wanted; ++i) {
        if (headings[i].role != ColumnRole::Number)
            chosen.append(i);
    }
    if (chosen.size() < wanted)
        throw Error(filledIn("has %1 column(s) of coordinates; %2 are needed", chosen.size(), wanted));
    return chosen;
}

/// Rows of coordinates, mm; those with a NaN are left out.
template <class Point, class Make>
FormPoints<Point> tablePoints(const QString& path, const QString& wanted, std::size_t count,
                              const Make& make) {
    QList<int> columns;
    const DataTable table = readDataTable(path, [&](const QList<Heading>& headings) {
        columns = chosenColumns(wanted, headings, count);
        return TableColumns{columns, {}};
    });
    double factors[kSpaceColumns][2] = {{1, 1}, {1, 1}, {1, 1}};
    for (std::size_t k = 0; k < count; ++k) {
        const LengthUnit* unit = table.headings[columns[static_cast<int>(k)]].length;
        if (unit != nullptr) {
            factors[k][0] = unit->multiply;
            factors[k][1] = unit->divide;
        }
    }
    FormPoints<Point> taken;
    taken.points.reserve(table.lines.size());
    taken.rows.reserve(table.lines.size());
    for (std::size_t i = 0; i < table.lines.size(); ++i) {
        double values[kSpaceColumns] = {0, 0, 0};
        bool isSet = true;
        for (std::size_t k = 0; k < count; ++k) {
            values[k] = table.numbers[k][i] * factors[k][0] / factors[k][1];
            isSet = isSet && std::isfinite(values[k]);
        }
        if (!isSet) {
            ++taken.unset;
            continue;
        }
        constexpr double kFarthest = 1e12;  // mm; products of four lengths stay far from the ends of numbers
        if (std::any_of(values, values + count, [](double v) { return std::fabs(v) > kFarthest; }))
            throw Error(filledIn("%1: line %2: a coordinate is beyond 1e12 mm", path, table.lines[i]))
                .inFile(path)
                .atLine(table.lines[i]);
        taken.points.push_back(make(values));
        taken.rows.push_back(static_cast<int>(i));
    }
    return taken;
}

FormPoints<Vector> takeSectionPoints(const Arguments& arguments) {
    const QString path = arguments.operand(0);
    for (const char* option : {"--columns", "--record"}) {
        if (arguments.has(option))
            throw Error(filledIn("%1 goes with a profile; leave it out of a section through a scan", option));
    }
    const Course course = readCourse(arguments);
    ScanOptions options;
    options.heightLast = isHeightLast(arguments, "--axes");
    Scan scan = loadScan(path, options);
    const KvMath::KvProfileZSet stack = takeStack(scan, path);
    const Steps steps = estimateSteps(stack);
    const Section section = takeSection(arguments, course, surfaceOf(stack, steps), steps);
    FormPoints<Vector> taken;
    taken.unset = static_cast<int>(scan.unset);
    taken.interpolated = section.interpolated;
    for (const KvMath::KvPointXY& p : section.profile.points) {
        taken.rows.push_back(static_cast<int>(taken.points.size()));
        taken.points.emplace_back(double(p.x), double(p.y));
    }
    return taken;
}

/// The value of --columns, null where it was not given.
QString columnsOf(const Arguments& arguments) {
    if (arguments.has("--record"))
        throw Error(arguments.operand(0) + ": is a text; --record goes with binary records and scans");
    return arguments.text("--columns");
}

}  // namespace

bool isPointTable(const QString& path) {
    const std::shared_ptr<QFile> file = openedFile(path);
    const QByteArray start = file->peek(4096);
    int badByte = 0;
    return !start.startsWith("ply") && textEncoding(start, badByte) != TextEncoding::NoText &&
           !looksLikeScan(file);
}

FormPoints<Vector> readPointTable(const QString& path, const QString& columns) {
    return tablePoints<Vector>(path, columns, kPlaneColumns,
                               [](const double* v) { return Vector(v[0], v[1]); });
}

std::vector<Option> pointOptions() {
    return {{"--columns", "LIST", "text: the columns of the coordinates, by name or by number from 1"},
            {"--record", "N", "which record or profile of a binary file, from 0 (0)"}};
}

std::vector<Option> profileOptions() {
    std::vector<Option> all = pointOptions();
    const std::vector<Option> course = courseOptions();
    all.insert(all.end(), course.begin(), course.end());
    all.push_back(
        {"--axes", "ORDER", "of a section through XYZ, PLY or cloud points (x,height,scan)", axesOrders()});
    return all;
}

FormPoints<Vector> takePlanePoints(const Arguments& arguments) {
    const QString path = arguments.operand(0);
    if (hasCourse(arguments))
        return takeSectionPoints(arguments);
    if (arguments.has("--axes"))
        throw Error("--axes goes with a section through a scan: say where it runs, e.g. --at-x 5");
    if (isPointTable(path))
        return readPointTable(path, columnsOf(arguments));
    if (arguments.has("--columns"))
        throw Error(path + ": is no text table; leave --columns out");
    const LoadedProfile loaded = takeProfile(arguments);
    FormPoints<Vector> taken;
    taken.unset = loaded.unset;
    for (const KvMath::KvPointXY& p : loaded.profile.points) {
        taken.rows.push_back(static_cast<int>(taken.points.size()));
        taken.points.emplace_back(double(p.x), double(p.y));
    }
    return taken;
}

FormPoints<SpacePoint> takeSpacePoints(const Arguments& arguments) {
    const QString path = arguments.operand(0);
    if (isPointTable(path))
        return tablePoints<SpacePoint>(path, columnsOf(arguments), kSpaceColumns, [](const double* v) {
            return SpacePoint{v[0], v[1], v[2]};
        });
    for (const char* option : {"--columns", "--record"}) {
        if (arguments.has(option))
            throw Error(path + ": is a scan; leave " + option + " out");
    }
    const Scan scan = loadScan(path, ScanOptions());
    FormPoints<SpacePoint> taken;
    taken.unset = static_cast<int>(scan.unset);
    Scan::forEachPoint(scan, [&](float x, float position, float height) {
        taken.rows.push_back(static_cast<int>(taken.points.size()));
        taken.points.push_back({double(x), double(position), double(height)});
    });
    return taken;
}

}  // namespace KvMeasure
