#include "kvmeasure/arguments.h"
#include "kvmeasure/calibration_file.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"

#include <kvmath/calibration/table_build.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

const Usage usage{
    "calibrate info",
    "FILE...",
    "What raw records and tables hold.",
    {{"--z-range", "MM", "show Z of tables in mm"}, {"--x-range", "MM", "show X of tables in mm"}},
    "Without ranges, values of tables are in table units, 16384 of which make the range.\n\nExamples\n"
    "  kvmeasure calibrate info flat.raw\n"
    "  kvmeasure calibrate info scanner.tbl --z-range 100 --x-range 140 --json\n"};

QString plain(double value) { return QString::number(value); }

void add(Facts& facts, const char* key, const QString& what, const Span& span) {
    facts.add(key, what, span.text(plain), span.json());
}

void describeRecord(const QString& path, Facts& facts) {
    const RawRecord record = loadRaw(path);
    Span columns, steps, positions;
    int found = 0, beyond = 0;
    for (std::size_t i = 0; i < record.positions.size(); ++i) {
        const int position = record.positions[i];
        beyond += position >= KvMath::kSensorPositions ? 1 : 0;
        if (position == 0 || position >= KvMath::kSensorPositions)
            continue;
        ++found;
        columns.add(static_cast<int>(i / KvMath::kCalibrationSteps));
        steps.add(static_cast<int>(i % KvMath::kCalibrationSteps));
        positions.add(position / double(KvMath::kPositionsPerRow));
    }
    const std::vector<double>& z = record.parameters;
    facts.add("found", "positions found", percent(found, static_cast<double>(record.positions.size())),
              found);
    facts.add("beyond", "positions beyond the sensor", beyond);
    add(facts, "columns", "columns with a line", columns);
    add(facts, "steps", "steps with a line", steps);
    add(facts, "rows", "sensor rows of the line", positions);
    const bool hasZ = z[0] != z[1];  // what the builders ask
    facts.add("z", "z of the first and last step",
              hasZ ? QString("%1, %2").arg(z.front()).arg(z.back()) : QString("not recorded"),
              hasZ ? QJsonValue(QJsonArray{jsonNumber(z.front()), jsonNumber(z.back())}) : QJsonValue());
}

void describeHalf(const PixelTable& table, Half half, double range, Facts& facts) {
    Span columns, rows, values;
    for (int row = 0; row < table.rows(); ++row) {
        for (int column = 0; column < PixelTable::columns; ++column) {
            const double value = table.value(half, row, column, range);
            if (std::isnan(value))
                continue;
            columns.add(column);
            rows.add(row / table.rowsPerPixel());
            values.add(value);
        }
    }
    const bool isZ = half == Half::Z;
    const QString name = isZ ? "Z" : "X";
    const QString unit = range == KvMath::kUnitsPerRange ? "table units" : "mm";
    const int filled = table.filled(half);
    facts.add(isZ ? "filledZ" : "filledX", name + ", cells filled",
              QString("%1 (%2 of the sensor)")
                  .arg(filled)
                  .arg(percent(filled, double(table.rows()) * PixelTable::columns)),
              filled);
    add(facts, isZ ? "columnsZ" : "columnsX", name + ", columns", columns);
    add(facts, isZ ? "rowsZ" : "rowsX", name + ", sensor rows", rows);
    add(facts, isZ ? "valuesZ" : "valuesX", name + ", " + unit, values);
}

/// Steepest and flattest mm per sensor row, where neighbours are filled.
void describeGradient(PixelTable& table, double zRange, double xRange, Facts& facts) {
    std::vector<double> gradient(std::size_t{KvMath::kTableSensorRows} * KvMath::kSensorColumns);
    if (!KvMath::gradientXandZtables(table.cells(), zRange, xRange, gradient.data(), nullptr))
        return;
    Span span;
    for (const double value : gradient)
        span.add(value);
    add(facts, "gradientZ", "Z, mm per sensor row", span);
}

/// False where one cannot be read, which is said when its turn comes.
bool holdOnlyRaw(const QStringList& paths) {
    try {
        return std::all_of(paths.begin(), paths.end(),
                           [](const QString& path) { return calibrationForm(path) == CalibrationForm::Raw; });
    } catch (const Failure&) {
        return false;
    }
}

}  // namespace

int runCalibrateInfo(const QStringList& words) {
    constexpr double any = std::numeric_limits<double>::max();
    const Arguments arguments(usage, words, 1, anyNumber);
    constexpr double smallest = 1e-6;  // mm
    const double zRange = arguments.number("--z-range", KvMath::kUnitsPerRange, smallest, any);
    const double xRange = arguments.number("--x-range", KvMath::kUnitsPerRange, smallest, any);
    if ((arguments.has("--z-range") || arguments.has("--x-range")) && holdOnlyRaw(arguments.operands()))
        throw Failure{"calibrate info: --z-range and --x-range are of tables; raw records have none"};
    QJsonArray json;
    const int code = forEachFile(arguments.operands(), [&](const QString& path) {
        const CalibrationForm form = calibrationForm(path);
        Facts facts;
        facts.json = {{"file", path}, {"form", formName(form)}};
        if (form == CalibrationForm::Raw) {
            describeRecord(path, facts);
        } else {
            PixelTable table = loadTable(path);
            describeHalf(table, Half::Z, zRange, facts);
            describeHalf(table, Half::X, xRange, facts);
            if (table.isFull() && arguments.has("--z-range"))
                describeGradient(table, zRange, xRange, facts);
        }
        json.append(facts.json);
        if (!arguments.isJson())
            print(path + ": " + formName(form) + '\n' + facts.table.text() + '\n');
    });
    if (arguments.isJson())
        printJson({{"files", json}});
    return code;
}

}  // namespace KvMeasure
