// X from a toothed target. The table tells the z of every place of the line; on a flank z tells x, since
// flanks are straight: from the tip at x0, where the line has the z of the tips, x = x0 -+ (zTip - z) pitch /
// (2 height). The teeth are told apart by following them from step to step. A polynomial in column and row
// then takes in all these places at once, which evens out their noise and carries over the tips, where z says
// little.

#include <kvmeasure/base/error.h>
#include <kvmeasure/calibration/build.h>

#include <kvmath/numerics/svd.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr int kDegree = 7;  // total; the optics are smooth
constexpr int kTerms = (kDegree + 1) * (kDegree + 2) / 2;
constexpr int kMostUnknown = 4;  // columns in a row, behind which nobody can tell the flank
constexpr int kStepStride = 4;   // neighbouring steps see nearly the same places
constexpr double kMiddleColumn = (KvMath::kSensorColumns - 1) / 2.0;
constexpr double kMiddleRow = (KvMath::kSensorRows - 1) / 2.0;

/// Products of Chebyshev polynomials in column and row, scaled to -1 ... 1.
using Terms = std::array<double, kTerms>;

Terms termsAt(double column, double row) {
    std::array<double, kDegree + 1> u{1, (column - kMiddleColumn) / kMiddleColumn};
    std::array<double, kDegree + 1> v{1, (row - kMiddleRow) / kMiddleRow};
    for (std::size_t i = 2; i <= kDegree; ++i) {
        u[i] = 2 * u[1] * u[i - 1] - u[i - 2];
        v[i] = 2 * v[1] * v[i - 1] - v[i - 2];
    }
    Terms values{};
    std::size_t k = 0;
    for (std::size_t i = 0; i <= kDegree; ++i) {
        for (std::size_t j = 0; i + j <= kDegree; ++j)
            values[k++] = u[i] * v[j];
    }
    return values;
}

/// x over the sensor, by least squares over any number of places.
class Surface {
public:
    void add(double column, double row, double x) { places_.push_back({column, row, x}); }

    /// Places far off, of flanks that were mistaken, are dropped; twice, as they bend the first surface.
    bool solve() {
        constexpr int kRounds = 3;
        constexpr double kFarOff = 4;  // residuals
        for (int round = 0; round < kRounds; ++round) {
            if (!fit())
                return false;
            const double most = kFarOff * residual();
            const auto isFar = [this, most](const Place& p) {
                return std::abs(at(p.column, p.row) - p.x) > most;
            };
            places_.erase(std::remove_if(places_.begin(), places_.end(), isFar), places_.end());
        }
        return fit();
    }

    int count() const { return static_cast<int>(places_.size()); }

    double residual() const {
        double squares = 0;
        for (const Place& place : places_) {
            const double error = at(place.column, place.row) - place.x;
            squares += error * error;
        }
        return std::sqrt(squares / count());
    }

    double at(double column, double row) const {
        const Terms t = termsAt(column, row);
        double x = 0;
        for (std::size_t i = 0; i < kTerms; ++i)
            x += t[i] * coefficients_[i];
        return x;
    }

private:
    struct Place {
        double column, row, x;
    };

    bool fit() {
        std::array<double, std::size_t{kTerms} * kTerms> normal{};
        Terms right{};
        for (const Place& place : places_) {
            const Terms t = termsAt(place.column, place.row);
            for (std::size_t i = 0; i < kTerms; ++i) {
                for (std::size_t j = 0; j < kTerms; ++j)
                    normal[i * kTerms + j] += t[i] * t[j];
                right[i] += t[i] * place.x;
            }
        }
        constexpr double kCutOff = 1e-13;  // polynomials that the places do not tell apart count nothing
        return KvMath::svdLeastSquares(normal.data(), right.data(), kTerms, kTerms, kCutOff,
                                       coefficients_.data());
    }

    std::vector<Place> places_;
    Terms coefficients_{};
};

/// Half the height of a flank, where it is surest.
struct Crossing {
    double column;
    bool climbs;   ///< with the column
    double x = 0;  ///< relative to the tip in the middle
};

/// One step of the toothed record: how deep below the tips every column is, as a share of the height of the
/// teeth.
class ToothLine {
public:
    ToothLine(const PixelTable& table, const RawRecord& record, int step, const TableUnits& units,
              const Teeth& teeth) {
        const auto s = static_cast<std::size_t>(step);
        for (std::size_t c = 0; c < kColumns; ++c) {
            const int position = record.positions[c * KvMath::kCalibrationSteps + s];
            const bool isLine =
                position > 0 && position < KvMath::kSensorPositions - 2 * KvMath::kPositionsPerRow;
            row[c] = position / double(KvMath::kPositionsPerRow);
            const double z =
                isLine ? table.valueAt(Half::Z, row[c], static_cast<int>(c), units.zRange) : std::nan("");
            depth[c] = (record.parameters[s] + units.zOffset - z) / teeth.height;
        }
        findCrossings();
    }

    static constexpr std::size_t kColumns = KvMath::kSensorColumns;
    std::array<double, kColumns> row{}, depth{};  ///< depth NaN: not known
    std::vector<Crossing> crossings;

private:
    /// Noise about the middle crosses it several times; a crossing counts when the line comes from well above
    /// and goes to well below it, or the other way round.
    void findCrossings() {
        constexpr double kWell = 0.2;
        double lastColumn = 0, lastDepth = std::nan("");
        double crossing = std::nan("");
        int side = 0;  // 1: deep
        for (std::size_t c = 0; c < kColumns; ++c) {
            const double d = depth[c] - 0.5;
            if (std::isnan(d))
                continue;
            const auto column = static_cast<double>(c);
            const bool isGap = column - lastColumn > kMostUnknown + 1;  // a whole tooth may be in it
            if (isGap)
                crossing = std::nan("");
            else if (d * lastDepth <= 0 && d != lastDepth)
                crossing = lastColumn + (column - lastColumn) * lastDepth / (lastDepth - d);
            lastColumn = column;
            lastDepth = d;
            if (std::abs(d) < kWell)
                continue;
            const int now = d > 0 ? 1 : -1;
            if (side != 0 && now != side && !std::isnan(crossing))
                crossings.push_back({crossing, now < 0});
            side = now;
        }
    }
};

/// Gives the teeth of one step after another their places.
class ToothTracker {
public:
    explicit ToothTracker(double pitch) : pitch_(pitch) {}

    /// The first step: teeth are counted from the tip nearest to the middle. False when a flank is missing.
    bool begin(ToothLine& line) {
        std::vector<Crossing>& all = line.crossings;
        const auto isTwice = [](const Crossing& a, const Crossing& b) { return a.climbs == b.climbs; };
        if (std::adjacent_find(all.begin(), all.end(), isTwice) != all.end())
            return false;
        std::size_t middle = all.size();
        double nearest = 1e9;
        for (std::size_t i = 0; i + 1 < all.size(); ++i) {
            const double away = std::abs((all[i].column + all[i + 1].column) / 2 - kMiddleColumn);
            if (all[i].climbs && away < nearest) {
                nearest = away;
                middle = i;
            }
        }
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i].x = (static_cast<double>(i) - static_cast<double>(middle) - 0.5) * pitch_ / 2;
        return remember(all) && middle < all.size();
    }

    /// A further step: each flank is the one that was nearest there in the step before.
    bool follow(ToothLine& line) {
        for (Crossing& crossing : line.crossings) {
            const double quarter = crossing.climbs ? -pitch_ / 4 : pitch_ / 4;
            crossing.x = std::round((expected(crossing.column) - quarter) / pitch_) * pitch_ + quarter;
        }
        return remember(line.crossings);
    }

private:
    bool remember(const std::vector<Crossing>& crossings) {
        if (crossings.size() < 2)
            return false;
        last_ = crossings;
        return true;
    }

    double expected(double column) const {
        std::size_t i = 1;
        while (i + 1 < last_.size() && last_[i].column < column)
            ++i;
        const Crossing& a = last_[i - 1];
        const Crossing& b = last_[i];
        return a.x + (b.x - a.x) * (column - a.column) / (b.column - a.column);
    }

    double pitch_;
    std::vector<Crossing> last_;
};

/// The places of a flank on one side of its crossing, up to near its end: there noise would put places onto
/// the wrong flank.
void addSide(const ToothLine& line, const Crossing& crossing, int direction, double pitch, Surface& surface) {
    constexpr double kFromEnd = 0.1;
    int unknown = 0;
    int column = static_cast<int>(std::floor(crossing.column)) + (direction > 0 ? 1 : 0);
    for (; column >= 0 && column < KvMath::kSensorColumns && unknown <= kMostUnknown; column += direction) {
        const auto c = static_cast<std::size_t>(column);
        const double d = line.depth[c];
        if (std::isnan(d)) {
            ++unknown;
            continue;
        }
        if (!(d > kFromEnd && d < 1 - kFromEnd))
            return;
        unknown = 0;
        const double fromMiddle = (d - 0.5) * pitch / 2;
        surface.add(column, line.row[c], crossing.x + (crossing.climbs ? -fromMiddle : fromMiddle));
    }
}

void fillX(PixelTable& table, const Surface& surface, double xRange) {
    unsigned short* cells = table.cells(Half::X);
    for (int row = 0; row < table.rows(); ++row) {
        for (int column = 0; column < PixelTable::kColumns; ++column) {
            const double x = surface.at(column, row / table.rowsPerPixel()) + xRange / 2;
            const double units = std::floor(x * KvMath::kUnitsPerRange / xRange + 0.5);
            const bool fits = units >= 0 && units < KvMath::kEmptyCell &&
                              table.cell(Half::Z, row, column) != KvMath::kEmptyCell;
            cells[row * PixelTable::kColumns + column] =
                fits ? static_cast<unsigned short>(units) : KvMath::kEmptyCell;
        }
    }
}

}  // namespace

TeethFit buildXFromTeeth(PixelTable& table, const RawRecord& record, const TableUnits& units,
                         const Teeth& teeth) {
    constexpr int kMiddleStep = KvMath::kCalibrationSteps / 2;
    constexpr int kLeastPlaces = 50 * kTerms;
    constexpr double kWorstResidual = 0.05;  // of the pitch; beyond that flanks have been mistaken
    Surface surface;
    TeethFit fit;
    const auto lineOf = [&](int step) { return ToothLine(table, record, step, units, teeth); };
    const auto take = [&](const ToothLine& line) {
        for (const Crossing& crossing : line.crossings) {
            addSide(line, crossing, -1, teeth.pitch, surface);
            addSide(line, crossing, 1, teeth.pitch, surface);
        }
        ++fit.steps;
    };
    ToothTracker start(teeth.pitch);
    for (int first = kMiddleStep; first < KvMath::kCalibrationSteps; first += kStepStride) {
        ToothLine line = lineOf(first);
        if (!start.begin(line))
            continue;
        take(line);
        for (const int direction : {-kStepStride, kStepStride}) {
            ToothTracker tracker = start;
            for (int step = first + direction; step >= 0 && step < KvMath::kCalibrationSteps;
                 step += direction) {
                ToothLine next = lineOf(step);
                if (tracker.follow(next))
                    take(next);
            }
        }
        break;
    }
    if (surface.count() < kLeastPlaces || !surface.solve() || surface.count() < kLeastPlaces)
        throw Error("no teeth are recognised in the record of the toothed target; are \1toothPitch\2 and "
                    "\1toothHeight\2 those of the target, and its z those of the tips?");
    fit.places = surface.count();
    fit.residual = surface.residual();
    if (!(fit.residual < kWorstResidual * teeth.pitch))
        throw Error(
            QString("the record does not fit teeth of this pitch and height: places on flanks lie %1 mm off")
                .arg(fit.residual));
    fillX(table, surface, units.xRange);
    return fit;
}

}  // namespace KvMeasure
