#include <kvmeasure/report/calibration_facts.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/table.h>

#include <kvmath/calibration/table_build.h>

#include <cmath>

namespace KvMeasure {

namespace {

void add(CalibrationFacts& facts, const char* key, const QString& what, const QString& text,
         const QJsonValue& value) {
    facts.rows.append(QStringList{what, text});
    facts.json[key] = value;
}

QString plain(double value) { return QString::number(value); }

void add(CalibrationFacts& facts, const char* key, const QString& what, const Span& span) {
    add(facts, key, what, span.text(plain), span.json());
}

void describeRecord(const RawRecord& record, CalibrationFacts& facts) {
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
    add(facts, "found", "positions found", percent(found, static_cast<double>(record.positions.size())),
        found);
    add(facts, "beyond", "positions beyond the sensor", QString::number(beyond), beyond);
    add(facts, "columns", "columns with a line", columns);
    add(facts, "steps", "steps with a line", steps);
    add(facts, "rows", "sensor rows of the line", positions);
    const bool hasZ = z[0] != z[1];  // what the builders ask
    add(facts, "z", "z of the first and last step",
        hasZ ? filledIn("%1, %2", z.front(), z.back()) : QString("not recorded"),
        hasZ ? QJsonValue(QJsonArray{jsonNumber(z.front()), jsonNumber(z.back())}) : QJsonValue());
}

void describeHalf(const PixelTable& table, Half half, double range, CalibrationFacts& facts) {
    Span columns, rows, values;
    for (int row = 0; row < table.rows(); ++row) {
        for (int column = 0; column < PixelTable::kColumns; ++column) {
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
    add(facts, isZ ? "filledZ" : "filledX", name + ", cells filled",
        filledIn("%1 (%2 of the sensor)", filled,
                 percent(filled, double(table.rows()) * PixelTable::kColumns)),
        filled);
    add(facts, isZ ? "columnsZ" : "columnsX", name + ", columns", columns);
    add(facts, isZ ? "rowsZ" : "rowsX", name + ", sensor rows", rows);
    add(facts, isZ ? "valuesZ" : "valuesX", name + ", " + unit, values);
}

/// Steepest and flattest mm per sensor row, where neighbours are filled.
void describeGradient(PixelTable& table, double zRange, double xRange, CalibrationFacts& facts) {
    std::vector<double> gradient(std::size_t{KvMath::kTableSensorRows} * KvMath::kSensorColumns);
    if (!KvMath::gradientXandZtables(table.cells(), zRange, xRange, gradient.data(), nullptr))
        return;
    Span span;
    for (const double value : gradient)
        span.add(value);
    add(facts, "gradientZ", "Z, mm per sensor row", span);
}

}  // namespace

CalibrationFacts factsOf(const RawRecord& record) {
    CalibrationFacts facts;
    facts.json["form"] = formName(CalibrationForm::Raw);
    describeRecord(record, facts);
    return facts;
}

CalibrationFacts factsOf(PixelTable& table, double zRange, double xRange, bool hasGradient) {
    CalibrationFacts facts;
    facts.json["form"] = formName(table.form());
    describeHalf(table, Half::Z, zRange, facts);
    describeHalf(table, Half::X, xRange, facts);
    if (hasGradient && table.isFull())
        describeGradient(table, zRange, xRange, facts);
    return facts;
}

}  // namespace KvMeasure
