// Medians all the way: of each line, of each column, and of windows about nodes that stand a few columns and
// steps apart, so that a window's median serves several positions. About 0.2 s for a full record.

#include <kvmeasure/calibration/clean.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

constexpr int kColumns = KvMath::kSensorColumns;
constexpr int kSteps = KvMath::kCalibrationSteps;
constexpr float kNone = std::numeric_limits<float>::quiet_NaN();

/// A neighbourhood about nodes; all in columns and steps.
struct Window {
    int halfColumns, halfSteps;
    int every;                     ///< only each so many columns and steps are looked at
    int columnsApart, stepsApart;  ///< of the nodes
    double leastLimit;             ///< positions, 1/32 pixel
};

constexpr Window kWide{40, 40, 4, 16, 16, 64};
constexpr Window kNarrow{8, 4, 1, 4, 2, 8};
constexpr std::size_t kFewest = 5;  // positions in a narrow window that can be compared

float takeMedian(std::vector<float>& values) {
    if (values.empty())
        return kNone;
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The positions of a record less the place of their step and the shape of all lines; NaN where there is
/// none.
class Residuals {
public:
    explicit Residuals(const RawRecord& record) : values_(record.positions.size(), kNone) {
        for (std::size_t i = 0; i < values_.size(); ++i) {
            if (record.positions[i] != 0)
                values_[i] = static_cast<float>(record.positions[i]);
        }
        constexpr int kRounds = 3;  // the first places of slanted lines follow the columns that they fill
        for (int round = 0; round < kRounds; ++round) {
            takeOut(kSteps, kColumns, 1, kSteps);
            takeOut(kColumns, kSteps, kSteps, 1);
        }
    }

    float at(int column, int step) const { return values_[index(column, step)]; }
    void drop(std::size_t i) { values_[i] = kNone; }
    std::size_t size() const { return values_.size(); }
    static std::size_t index(int column, int step) {
        return std::size_t(column) * std::size_t(kSteps) + std::size_t(step);
    }

private:
    /// Subtracts the median of each row of values; values[row * rowStride + i * stride].
    void takeOut(std::size_t rows, std::size_t count, std::size_t rowStride, std::size_t stride) {
        std::vector<float> row;
        for (std::size_t k = 0; k < rows; ++k) {
            row.clear();
            for (std::size_t i = 0; i < count; ++i) {
                const float value = values_[k * rowStride + i * stride];
                if (!std::isnan(value))
                    row.push_back(value);
            }
            const float median = takeMedian(row);
            for (std::size_t i = 0; i < count && !std::isnan(median); ++i)
                values_[k * rowStride + i * stride] -= median;
        }
    }

    std::vector<float> values_;
};

/// How far each position is from the median of the window about its nearest node; infinite where fewer than
/// five are in the window.
std::vector<float> deviations(const Residuals& residuals, const Window& window) {
    std::vector<float> result(residuals.size(), kNone);
    std::vector<float> values;
    for (int column = window.columnsApart / 2; column < kColumns + window.columnsApart / 2;
         column += window.columnsApart) {
        for (int step = window.stepsApart / 2; step < kSteps + window.stepsApart / 2;
             step += window.stepsApart) {
            values.clear();
            for (int c = column - window.halfColumns; c <= column + window.halfColumns; c += window.every) {
                for (int s = step - window.halfSteps; s <= step + window.halfSteps; s += window.every) {
                    const bool isInside = c >= 0 && c < kColumns && s >= 0 && s < kSteps;
                    if (isInside && !std::isnan(residuals.at(c, s)))
                        values.push_back(residuals.at(c, s));
                }
            }
            const bool isAlone = values.size() < kFewest;
            const float median = takeMedian(values);
            for (int c = column - window.columnsApart / 2; c < column + (window.columnsApart + 1) / 2; ++c) {
                for (int s = step - window.stepsApart / 2; s < step + (window.stepsApart + 1) / 2; ++s) {
                    if (c >= kColumns || s >= kSteps || std::isnan(residuals.at(c, s)))
                        continue;
                    result[Residuals::index(c, s)] = isAlone ? std::numeric_limits<float>::infinity()
                                                             : std::fabs(residuals.at(c, s) - median);
                }
            }
        }
    }
    return result;
}

/// Drops what is farther off than the limit; returns how many. Those without neighbours are dropped from the
/// narrow window only.
int dropFar(Residuals& residuals, const Window& window, CleanReport& report) {
    constexpr double kDeviationsAllowed = 8;
    constexpr double kSigmaPerMedian = 1.4826;  // of the absolute deviations of a normal distribution
    const std::vector<float> far = deviations(residuals, window);
    std::vector<float> known;
    for (const float deviation : far) {
        if (std::isfinite(deviation))
            known.push_back(deviation);
    }
    constexpr double kRounding = 0.2887;  // standard deviation of a position rounded to 1/32 pixel
    const double median = known.empty() ? 0 : double(takeMedian(known));
    const double scatter = std::max(kRounding, kSigmaPerMedian * median);
    const double limit = std::max(window.leastLimit, kDeviationsAllowed * scatter);
    int dropped = 0;
    for (std::size_t i = 0; i < far.size(); ++i) {
        const bool isAlone = std::isinf(far[i]);
        if (!(double(far[i]) > limit) || (isAlone && window.every > 1))
            continue;
        residuals.drop(i);
        ++(isAlone ? report.alone : report.strays);
        ++dropped;
    }
    report.scatter = scatter / KvMath::kPositionsPerRow;
    report.limit = limit / KvMath::kPositionsPerRow;
    return dropped;
}

}  // namespace

CleanReport dropReflections(RawRecord& record) {
    constexpr int kMostRounds = 6;  // what is left of a large reflection is small the next time
    CleanReport report;
    report.found = static_cast<int>(record.positions.size()) -
                   static_cast<int>(std::count(record.positions.begin(), record.positions.end(), 0));
    Residuals residuals(record);
    dropFar(residuals, kWide, report);
    for (int round = 0; round < kMostRounds && dropFar(residuals, kNarrow, report) > 0; ++round) {
    }
    for (int column = 0; column < kColumns; ++column) {
        for (int step = 0; step < kSteps; ++step) {
            if (std::isnan(residuals.at(column, step)))
                record.positions[Residuals::index(column, step)] = 0;
        }
    }
    return report;
}

QString whyNotFlat(const CleanReport& report) {
    constexpr double kMostDropped = 0.1;
    constexpr double kMostScatter = 4;  // pixels: nothing of lines is left
    if (report.dropped() > kMostDropped * report.found)
        return filledIn(
            "%1 of the positions lie far from those about them: is this the record of a flat target?",
            percent(report.dropped(), report.found));
    if (report.scatter > kMostScatter)
        return filledIn(
            "the positions scatter by %1 pixels about those near them: is this the record of a flat "
            "target?",
            report.scatter);
    return {};
}

}  // namespace KvMeasure
