// Pixel tables of a scanner. The steps of a build are those of the program: reflections dropped, steps
// surveyed, the table built, X taken from teeth, and only then a file written. About a second for a full
// record.
#include "python/core/bindings.h"
#include "python/core/casts.h"

#include <kvmeasure/calibration/build.h>
#include <kvmeasure/calibration/check.h>
#include <kvmeasure/calibration/clean.h>
#include <kvmeasure/calibration/survey.h>

#include <QtCore/QFileInfo>

#include <cmath>
#include <optional>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

void requireAbove0(const char* parameter, double value, const char* unit) {
    if (!(value > 0) || !std::isfinite(value))
        throw argumentError(parameter, QString("needs a number above 0 %1, not %2").arg(unit).arg(value));
}

/// Z and X of each sensor row and column, mm.
py::tuple readTable(const Path& path, double zRange, double xRange) {
    requireAbove0("z_range", zRange, "mm");
    requireAbove0("x_range", xRange, "mm");
    const PixelTable table = loadTable(path.text);
    py::array_t<double> z({table.rows(), PixelTable::kColumns}), x({table.rows(), PixelTable::kColumns});
    for (int row = 0; row < table.rows(); ++row) {
        for (int column = 0; column < PixelTable::kColumns; ++column) {
            z.mutable_at(row, column) = table.value(Half::Z, row, column, zRange);
            x.mutable_at(row, column) = table.value(Half::X, row, column, xRange);
        }
    }
    return py::make_tuple(z, x, table.rowsPerPixel());
}

/// Sensor positions (n, 2), column and row in pixels, to a profile (n, 2) in mm.
std::vector<Vector> applyTable(const Path& path, const py::handle& pixels, double zRange, double xRange) {
    const py::array_t<double> positions = tableFrom(pixels, "pixels", 2);
    const PixelTable table = loadTable(path.text);
    std::vector<Vector> points;
    points.reserve(static_cast<std::size_t>(positions.shape(0)));
    for (py::ssize_t i = 0; i < positions.shape(0); ++i) {
        const double column = positions.at(i, 0), row = positions.at(i, 1);
        const bool isOn = column >= 0 && column < PixelTable::kColumns && column == std::floor(column) &&
                          row >= 0 && row < KvMath::kSensorRows;
        points.emplace_back(
            isOn ? table.valueAt(Half::X, row, static_cast<int>(column), xRange) : std::nan(""),
            isOn ? table.valueAt(Half::Z, row, static_cast<int>(column), zRange) : std::nan(""));
    }
    return points;
}

/// Units of a table as Python names them, checked.
TableUnits unitsOf(double zRange, double xRange, double zStep, double xStep, double zOffset) {
    requireAbove0("z_range", zRange, "mm");
    requireAbove0("x_range", xRange, "mm");
    requireAbove0("x_step", xStep, "thousandths of a mm");
    if (!(zStep >= 0) || !std::isfinite(zStep))
        throw argumentError("z_step", QString("needs a number from 0, not %1").arg(zStep));
    if (!std::isfinite(zOffset))
        throw argumentError("z_offset", QString("is %1").arg(zOffset));
    return {zRange, xRange, zStep, xStep, zOffset};
}

/// The record of a toothed target, and that target.
struct TeethFile {
    QString path;
    Teeth teeth;
};

/// The table, written, and what is to be known of it.
py::dict buildTableFile(const Path& recordPath, const Path& out, const BuildPlan& plan,
                        const std::optional<TeethFile>& toothed) {
    CleanReport cleaned;
    StepSurvey steps;
    TeethFit fit;
    int filled = 0;
    const auto fault = [&recordPath](const QString& text) {
        return Error(recordPath.text + ": " + text).inFile(recordPath.text);
    };
    {
        const py::gil_scoped_release release;
        RawRecord record = loadRaw(recordPath.text);
        if (!plan.keepsStrays)
            cleaned = dropReflections(record);
        const QString why = whyNotFlat(cleaned);
        if (!why.isEmpty())
            throw fault(why + " keeps_strays=True builds from all of them");
        steps = surveySteps(record, plan);
        if (steps.isMostlyOutside())
            throw fault("the table would be mostly empty: " + steps.sentences(plan.units.zRange).join("; "));
        PixelTable table = buildTable(record, plan);
        filled = table.filled(Half::Z);
        if (filled == 0)
            throw fault("gives a table without any cell");
        if (toothed)
            fit = buildXFromTeeth(table, loadRaw(toothed->path), plan.units, toothed->teeth);
        saveTable(table, out.text);
    }
    py::dict report;
    report["cells"] = filled;
    report["dropped"] = cleaned.dropped();
    report["warnings"] = steps.sentences(plan.units.zRange);
    if (toothed) {
        report["teeth_steps"] = fit.steps;
        report["teeth_places"] = fit.places;
        report["teeth_residual"] = fit.residual;
    }
    return report;
}

py::dict buildFromFiles(const Path& record, const Path& out, double zRange, double xRange, double xStep,
                        double zStep, double zOffset, bool compact, bool byTriangles, bool keepsStrays,
                        std::pair<int, int> columns, const py::object& teeth, double toothPitch,
                        double toothHeight) {
    BuildPlan plan;
    plan.units = unitsOf(zRange, xRange, zStep, xStep, zOffset);
    plan.isCompact = compact;
    plan.byTriangles = byTriangles;
    plan.keepsStrays = keepsStrays;
    plan.firstColumn = columns.first;
    plan.lastColumn = columns.second;
    if (columns.first < 0 || columns.second <= columns.first || columns.second >= KvMath::kSensorColumns)
        throw argumentError("columns", QString("needs two columns of 0 to 647 in order, not %1 and %2")
                                           .arg(columns.first)
                                           .arg(columns.second));
    std::optional<TeethFile> toothed;
    if (!teeth.is_none()) {
        requireAbove0("tooth_pitch", toothPitch, "mm");
        requireAbove0("tooth_height", toothHeight, "mm");
        toothed = TeethFile{teeth.cast<Path>().text, {toothPitch, toothHeight}};
    } else if (toothPitch != 0 || toothHeight != 0) {
        throw argumentError("teeth",
                            "needs the record of the toothed target, whose pitch or height is given");
    }
    for (const QString& input : {record.text, toothed ? toothed->path : record.text}) {
        if (QFileInfo(input) == QFileInfo(out.text))
            throw argumentError("out", input + " is read, too; give another file");
    }
    return buildTableFile(record, out, plan, toothed);
}

py::dict checkTable(const Path& path, const Path& recordPath, double zRange, double xRange, double zStep,
                    double zOffset) {
    const TableUnits units = unitsOf(zRange, xRange, zStep, 1, zOffset);
    RecordReport report;
    {
        const py::gil_scoped_release release;
        const PixelTable table = loadTable(path.text);
        report = compareWithRecord(table, units, loadRaw(recordPath.text));
    }
    const ErrorStatistics& all = report.map.all;
    py::array_t<float> deviations({report.map.raster.rows, report.map.raster.columns});
    std::copy(report.map.raster.values.begin(), report.map.raster.values.end(), deviations.mutable_data());
    py::dict checked;
    checked["found"] = report.found;
    checked["covered"] = report.covered;
    checked["mean"] = all.mean;
    checked["rms"] = all.rms;
    checked["percentile95"] = all.percentile95;
    checked["worst"] = all.worst;
    checked["worst_at"] = py::make_tuple(all.worstColumn, all.worstRow);
    checked["deviations"] = deviations;
    return checked;
}

}  // namespace

void bindCalibration(py::module_& module) {
    module.def(
        "read_calibration_table", &readTable, py::arg("path"), py::arg("z_range"), py::arg("x_range"),
        "(z, x, rows per sensor row) of a pixel table: arrays (rows, 648), mm, NaN where a cell is empty.");
    module.def("apply_calibration_table", &applyTable, py::arg("path"), py::arg("pixels"), py::arg("z_range"),
               py::arg("x_range"),
               "Sensor positions (n, 2), whole columns 0 to 647 and rows 0 to below 488, to a profile (n, "
               "2), mm; NaN where the\n"
               "table has no coordinate.");
    module.def(
        "build_calibration_table", &buildFromFiles, py::arg("record"), py::arg("out"), py::kw_only(),
        py::arg("z_range"), py::arg("x_range"), py::arg("x_step"), py::arg("z_step") = 0.0,
        py::arg("z_offset") = 0.0, py::arg("compact") = false, py::arg("by_triangles") = true,
        py::arg("keeps_strays") = false, py::arg("columns") = std::make_pair(0, KvMath::kSensorColumns - 1),
        py::arg("teeth") = py::none(), py::arg("tooth_pitch") = 0.0, py::arg("tooth_height") = 0.0,
        "Writes the table of a flat target's raw record to the file out, whole or not at all. Ranges mm, "
        "steps thousandths of\n"
        "a mm; z_step where the record has no z of its own. Reflections are left out. teeth: record of a "
        "toothed target, which\n"
        "tells X, with its pitch and height, mm. Gives cells, dropped positions, warnings (list of str), and "
        "with teeth\n"
        "teeth_steps, teeth_places and teeth_residual, mm. Error: no record of a flat target, or a table "
        "mostly empty.");
    module.def(
        "check_calibration_table", &checkTable, py::arg("path"), py::arg("record"), py::kw_only(),
        py::arg("z_range"), py::arg("x_range"), py::arg("z_step") = 0.0, py::arg("z_offset") = 0.0,
        "A table against a second record of a flat target, with the units it was built with: positions found "
        "and covered;\n"
        "mean, rms, percentile95 and worst deviation of z, mm, worst_at (column, row); deviations (488, "
        "648), mm, NaN: none.");
}

}  // namespace KvMathPython
