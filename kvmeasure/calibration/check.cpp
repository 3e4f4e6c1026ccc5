// Each cell of a table is compared with the mapping that made the record: what the sensor sees at that place,
// or nothing where the target has not been. The mean deviation of X is taken out, since its origin is free.
// The error to be expected follows from rounding to positions and units, and from noise. A few passes over
// the cells; the percentile by partial sorting.
#include <kvmeasure/calibration/check.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

constexpr int kColumns = KvMath::kSensorColumns;
constexpr int kRegionCount = kRegionsAcross * kRegionsAcross;

/// Collects deviations, all and by region.
class Collector {
public:
    void add(double column, double sensorRow, double error) {
        const int across = static_cast<int>(column * kRegionsAcross / kColumns);
        const int down = static_cast<int>(sensorRow * kRegionsAcross / KvMath::kSensorRows);
        const int region = std::clamp(down, 0, kRegionsAcross - 1) * kRegionsAcross + across;
        const Deviation deviation{static_cast<float>(column), static_cast<float>(sensorRow), error};
        regions_[static_cast<std::size_t>(region)].push_back(deviation);
    }

    void finish(ErrorMap& map) {
        std::vector<Deviation> all;
        for (std::size_t i = 0; i < kRegionCount; ++i) {
            all.insert(all.end(), regions_[i].begin(), regions_[i].end());
            map.regions[i] = statistics(regions_[i]);
        }
        map.all = statistics(all);
    }

private:
    struct Deviation {
        float column, row;
        double error;
    };

    static ErrorStatistics statistics(std::vector<Deviation>& deviations) {
        ErrorStatistics result;
        if (deviations.empty())
            return result;
        const auto smaller = [](const Deviation& a, const Deviation& b) {
            return std::abs(a.error) < std::abs(b.error);
        };
        double sum = 0, squares = 0;
        for (const Deviation& deviation : deviations) {
            sum += deviation.error;
            squares += deviation.error * deviation.error;
        }
        result.count = static_cast<int>(deviations.size());
        result.mean = sum / result.count;
        result.rms = std::sqrt(squares / result.count);
        const Deviation& worst = *std::max_element(deviations.begin(), deviations.end(), smaller);
        result.worst = worst.error;
        result.worstColumn = double(worst.column);
        result.worstRow = double(worst.row);
        const auto rank = (static_cast<std::ptrdiff_t>(deviations.size()) * 95 + 99) / 100 - 1;
        std::nth_element(deviations.begin(), deviations.begin() + rank, deviations.end(), smaller);
        result.percentile95 = std::abs(deviations[static_cast<std::size_t>(rank)].error);
        return result;
    }

    std::array<std::vector<Deviation>, kRegionCount> regions_;
};

Raster emptyRaster(int rows) {
    Raster raster;
    raster.columns = kColumns;
    raster.rows = rows;
    raster.values.resize(static_cast<std::size_t>(rows) * kColumns, std::numeric_limits<float>::quiet_NaN());
    raster.outside.resize(raster.values.size());
    return raster;
}

/// The comparison with the truth in the making.
class TruthCheck {
public:
    TruthCheck(const PixelTable& table, const TableUnits& units, const CalibrationTruth& truth)
        : table_(table), units_(units), truth_(truth),
          margin_(1.0 / KvMath::kPositionsPerRow + 5 * truth.noise) {}

    TruthReport run() {
        for (ErrorMap* map : {&z_, &x_})
            map->raster = emptyRaster(table_.rows());
        x_.half = Half::X;
        for (int row = 0; row < table_.rows(); ++row) {
            for (int column = 0; column < kColumns; ++column)
                checkCell(row, column);
        }
        settleX();
        for (ErrorMap* map : {&z_, &x_}) {
            collect(*map);
            report_.maps.append(*map);
        }
        sampleCells();
        const double zUnit = units_.zRange / KvMath::kUnitsPerRange;
        const double positions = count_ > 0 ? variance_ / count_ : 0.0;
        report_.expectedRounded = std::sqrt(zUnit * zUnit / 12 + positions);
        report_.expectedTruncated = std::sqrt(zUnit * zUnit / 3 + positions);
        return report_;
    }

private:
    /// Whether the target has been where this place of the sensor looks at.
    bool isCovered(const Vector& point) const {
        const double last = truth_.zFirst + (KvMath::kCalibrationSteps - 1) * truth_.zStep;
        const double step = point.y - truth_.targetSurface(point.x);
        return std::abs(point.x - truth_.xRange / 2) <= truth_.targetWidth / 2 &&
               step >= std::min(truth_.zFirst, last) && step <= std::max(truth_.zFirst, last);
    }

    void checkCell(int row, int column) {
        const double place = row / table_.rowsPerPixel();
        const auto seenAt = [this, column](double r) { return truth_.toPlane({double(column), r}); };
        const Vector point = seenAt(place);
        const double origin = units_.zOffset + truth_.zOrigin;  // of z in the table
        const double z = table_.value(Half::Z, row, column, units_.zRange) - origin;
        const double x = table_.value(Half::X, row, column, units_.xRange);
        const bool isFilled = !std::isnan(z) || !std::isnan(x);
        Coverage& c = report_.coverage;
        const std::size_t cell = z_.raster.cell(column, row);
        if (!isCovered(point)) {
            const bool isBorder = isCovered(seenAt(place - margin_)) || isCovered(seenAt(place + margin_));
            ++(isBorder ? c.border : c.outside);
            (isBorder ? c.borderFilled : c.outsideFilled) += isFilled ? 1 : 0;
            z_.raster.outside[cell] = x_.raster.outside[cell] = true;
            return;
        }
        ++c.inside;
        c.insideFilled += std::isnan(z) ? 0 : 1;
        z_.raster.values[cell] = static_cast<float>(z - point.y);
        x_.raster.values[cell] = static_cast<float>(x - point.x);
        if (!std::isnan(z)) {
            const double slope = seenAt(place + 0.5).y - seenAt(place - 0.5).y;
            // Between two steps the errors of both count, by their shares: 2/3 of one on average.
            constexpr double kUnit = 1.0 / KvMath::kPositionsPerRow;
            variance_ += slope * slope * (kUnit * kUnit / 12 + truth_.noise * truth_.noise) * 2 / 3;
            ++count_;
        }
        if (!std::isnan(x))
            addToRegression(x, point.x);
    }

    void addToRegression(double table, double truth) {
        const double t = table - units_.xRange / 2;
        n_ += 1;
        t_ += t;
        tt_ += t * t;
        e_ += table - truth;
        te_ += t * (table - truth);
    }

    /// Takes the mean deviation out of X.
    void settleX() {
        if (n_ == 0)
            return;
        x_.offset = e_ / n_;
        const double spread = tt_ - t_ * t_ / n_;
        x_.slope = spread > 0 ? 1 - (te_ - t_ * e_ / n_) / spread : 1;
        for (float& value : x_.raster.values)
            value -= static_cast<float>(x_.offset);
    }

    void collect(ErrorMap& map) const {
        Collector collector;
        for (int row = 0; row < table_.rows(); ++row) {
            for (int column = 0; column < kColumns; ++column) {
                const float error = map.raster.at(column, row);
                if (!std::isnan(error))
                    collector.add(column, row / table_.rowsPerPixel(), double(error));
            }
        }
        collector.finish(map);
    }

    void sampleCells() {
        struct Nearest {
            double distance = std::numeric_limits<double>::infinity();
            int row = 0, column = 0;
        } nearest[kRegionCount];
        const double width = double(kColumns) / kRegionsAcross,
                     height = double(KvMath::kSensorRows) / kRegionsAcross;
        for (int row = 0; row < table_.rows(); ++row) {
            const double place = row / table_.rowsPerPixel();
            const int down = std::min(static_cast<int>(place / height), kRegionsAcross - 1);
            for (int column = 0; column < kColumns; ++column) {
                const int across = std::min(static_cast<int>(column / width), kRegionsAcross - 1);
                Nearest& best = nearest[down * kRegionsAcross + across];
                const double distance =
                    std::hypot(place - (down + 0.5) * height, column - (across + 0.5) * width);
                if (distance < best.distance && !std::isnan(z_.raster.at(column, row)))
                    best = {distance, row, column};
            }
        }
        for (const Nearest& place : nearest) {
            if (std::isinf(place.distance))
                continue;
            const double row = place.row / table_.rowsPerPixel();
            const Vector truth = truth_.toPlane({double(place.column), row});
            report_.samples.append({place.column, row,
                                    truth.y + double(z_.raster.at(place.column, place.row)), truth.y,
                                    truth.x + double(x_.raster.at(place.column, place.row)), truth.x});
        }
    }

    const PixelTable& table_;
    const TableUnits& units_;
    const CalibrationTruth& truth_;
    double margin_;  ///< sensor rows
    ErrorMap z_, x_;
    TruthReport report_;
    double variance_ = 0;
    int count_ = 0;
    double n_ = 0, t_ = 0, tt_ = 0, e_ = 0, te_ = 0;
};

}  // namespace

TruthReport compareWithTruth(const PixelTable& table, const TableUnits& units,
                             const CalibrationTruth& truth) {
    return TruthCheck(table, units, truth).run();
}

RecordReport compareWithRecord(const PixelTable& table, const TableUnits& units, const RawRecord& record) {
    RecordReport report;
    report.map.raster = emptyRaster(KvMath::kSensorRows);
    Raster& raster = report.map.raster;
    std::vector<int> counts(raster.values.size());
    Collector collector;
    for (std::size_t i = 0; i < record.positions.size(); ++i) {
        const int position = record.positions[i];
        const int column = static_cast<int>(i / KvMath::kCalibrationSteps);
        if (position == 0 || position >= KvMath::kSensorPositions)
            continue;
        ++report.found;
        const double sensorRow = double(position) / KvMath::kPositionsPerRow;
        const double z = table.valueAt(Half::Z, sensorRow, column, units.zRange);
        if (std::isnan(z))
            continue;
        ++report.covered;
        const double error = z - units.zOffset - record.parameters[i % KvMath::kCalibrationSteps];
        collector.add(column, sensorRow, error);
        const std::size_t cell = raster.cell(column, position / KvMath::kPositionsPerRow);
        const float sum = counts[cell] == 0 ? 0 : raster.values[cell] * static_cast<float>(counts[cell]);
        raster.values[cell] = (sum + static_cast<float>(error)) / static_cast<float>(++counts[cell]);
    }
    for (std::size_t i = 0; i < counts.size(); ++i)
        raster.outside[i] = counts[i] == 0;
    collector.finish(report.map);
    return report;
}

}  // namespace KvMeasure
