// Flats of a wheel. The baseline is the first eight waves of the turn, of a part of it the first two, fitted
// by least squares to what is no flat, in rounds. Each flat is fitted by a parabola through what is deeper
// than 0.3 of its depth, because a chord is one within L^2 / 8R^2 of its depth. A trough of a wave is far
// longer than a chord of its depth and is none. Cost: 17^2 products a point and round, eight rounds at most.

#include <kvmeasure/wheels/circumference_p.h>

#include <kvmeasure/form/normal_equations_p.h>

#include <array>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Looks for flats among filtered deviations at the places of a turn.
class FlatSearch {
public:
    FlatSearch(const Turn& turn, const std::vector<double>& heights, double radius,
               const CircumferenceOptions& options)
        : turn_(turn), below_(heights), heights_(heights), radius_(radius), options_(options),
          gap_(2 * std::max(options.cutoff / (radius * kRadiansPerDegree), turn.usualStep())) {}

    /// False where no baseline can be fitted.
    bool run(bool isWhole, std::vector<WheelFlat>& flats) {
        constexpr int kRounds = 8;
        std::vector<bool> isFlat(turn_.size(), false);
        for (int round = 0; round < kRounds; ++round) {
            if (!(isWhole ? fitBaseline<17>(isFlat) : fitBaseline<5>(isFlat)))
                return false;
            const std::vector<bool> before(isFlat);
            isFlat = marked();
            if (isFlat == before)
                break;
        }
        collect(flats);
        return true;
    }

private:
    template <int size>
    bool fitBaseline(const std::vector<bool>& isFlat) {
        constexpr std::size_t kMost = 20'000;
        const std::size_t every = turn_.size() / kMost + 1;
        Internal::NormalEquations<size> equations;
        const auto factorsAt = [&](std::size_t i) {
            std::array<Internal::Real, size> factors{1};
            for (int order = 1; 2 * order < size; ++order) {
                const double angle = order * turn_[i].x * kRadiansPerDegree;
                const auto wave = static_cast<std::size_t>(order);
                factors[2 * wave - 1] = std::cos(angle);
                factors[2 * wave] = std::sin(angle);
            }
            return factors;
        };
        for (std::size_t i = 0; i < turn_.size(); i += every) {
            if (!isFlat[i])
                equations.add(factorsAt(i), static_cast<Internal::Real>(heights_[i]));
        }
        Internal::Real unknowns[size];
        if (!equations.solve(unknowns))
            return false;
        for (std::size_t i = 0; i < turn_.size(); ++i) {
            const std::array<Internal::Real, size> factors = factorsAt(i);
            Internal::Real base = 0;
            for (std::size_t k = 0; k < size; ++k)
                base += factors[k] * unknowns[k];
            below_[i] = static_cast<double>(base) - heights_[i];
        }
        return true;
    }

    std::size_t next(std::size_t i) const { return i + 1 < turn_.size() ? i + 1 : 0; }
    std::size_t previous(std::size_t i) const { return i > 0 ? i - 1 : turn_.size() - 1; }
    bool isGapBehind(std::size_t i) const { return turn_.gapBehind(i) > gap_; }

    /// A stretch round this point that lies deeper than the level, up to gaps; it is at most all points.
    struct Stretch {
        std::size_t first = 0, last = 0, count = 1;
        bool endsAtGap = false;
    };
    Stretch stretchAround(std::size_t i, double level) const {
        Stretch result{i, i, 1, false};
        const auto stays = [&](std::size_t at) { return below_[at] > level && result.count < turn_.size(); };
        while (!isGapBehind(previous(result.first)) && stays(previous(result.first))) {
            result.first = previous(result.first);
            ++result.count;
        }
        while (!isGapBehind(result.last) && stays(next(result.last))) {
            result.last = next(result.last);
            ++result.count;
        }
        result.endsAtGap = isGapBehind(previous(result.first)) || isGapBehind(result.last);
        return result;
    }

    /// All that belongs to something deeper than half of the least depth, to where it meets the baseline.
    std::vector<bool> marked() const {
        std::vector<bool> result(turn_.size(), false);
        for (std::size_t i = 0; i < turn_.size(); ++i) {
            if (result[i] || !(below_[i] > options_.leastDepth / 2))
                continue;
            const Stretch stretch = stretchAround(i, 0);
            for (std::size_t k = 0, at = stretch.first; k < stretch.count; ++k, at = next(at))
                result[at] = true;
        }
        const bool isAll =
            std::count(result.begin(), result.end(), true) * 2 > static_cast<std::ptrdiff_t>(result.size());
        return isAll ? std::vector<bool>(turn_.size(), false) : result;  // waves, and no flats
    }

    void collect(std::vector<WheelFlat>& flats) const {
        std::vector<bool> isTaken(turn_.size(), false);
        for (std::size_t i = 0; i < turn_.size(); ++i) {
            if (isTaken[i] || !(below_[i] > options_.leastDepth))
                continue;
            const Stretch whole = stretchAround(i, 0);
            std::size_t deepest = i;
            for (std::size_t k = 0, at = whole.first; k < whole.count; ++k, at = next(at)) {
                isTaken[at] = true;
                deepest = below_[at] > below_[deepest] ? at : deepest;
            }
            WheelFlat flat;
            if (measure(deepest, flat))
                flats.push_back(flat);
        }
        std::stable_sort(flats.begin(), flats.end(), [](const WheelFlat& a, const WheelFlat& b) {
            return a.depth > b.depth || (std::isfinite(a.depth) && !std::isfinite(b.depth));
        });
    }

    /// False for what is no flat: a trough that is far longer than a chord of its depth.
    bool measure(std::size_t deepest, WheelFlat& flat) const {
        constexpr double kDeep = 0.3, kLeastOfChord = 0.25, kRounded = 0.8, kDeeper = 1.25;
        const Stretch part = stretchAround(deepest, kDeep * below_[deepest]);
        flat.angle = turn_[deepest].x;
        flat.from = turn_[part.first].x;
        flat.to = turn_[part.last].x;
        const double perDegree = radius_ * kRadiansPerDegree;
        Internal::NormalEquations<3> equations;
        for (std::size_t k = 0, at = part.first; k < part.count; ++k, at = next(at)) {
            const Internal::Real u = std::remainder(turn_[at].x - flat.angle, kFullTurn) * perDegree;
            equations.add({1, u, u * u}, static_cast<Internal::Real>(below_[at]));
        }
        Internal::Real c[3];
        constexpr std::size_t kFewest = 5;
        if (part.endsAtGap || part.count < kFewest || !equations.solve(c) || !(c[2] < 0)) {
            flat.depth = flat.length = flat.depthOfChord = kNaN;
            flat.reason = part.endsAtGap ? "it ends at a gap of the points" : "too few points on it";
            return true;
        }
        const double middle = static_cast<double>(-c[1] / (2 * c[2]));
        flat.depth = static_cast<double>(c[0] - c[1] * c[1] / (4 * c[2]));
        const double half = std::sqrt(-flat.depth / static_cast<double>(c[2]));
        if (!(flat.depth > 0) || !(half < radius_))
            return false;
        flat.from = folded(flat.angle + (middle - half) / perDegree);
        flat.to = folded(flat.angle + (middle + half) / perDegree);
        flat.angle = folded(flat.angle + middle / perDegree);
        flat.length = 2 * radius_ * std::sin(half / radius_);
        flat.depthOfChord = radius_ - std::sqrt(radius_ * radius_ - flat.length * flat.length / 4);
        const double share = flat.depth / flat.depthOfChord;
        if (share < kRounded)
            flat.note = "shallower than a chord of its length: its edges are worn";
        else if (share > kDeeper)
            flat.note = "deeper than a chord of its length: material is missing";
        return share >= kLeastOfChord && flat.depth >= options_.leastDepth;
    }

    const Turn& turn_;
    std::vector<double> below_;  ///< the baseline, mm
    const std::vector<double>& heights_;
    double radius_;
    const CircumferenceOptions& options_;
    double gap_;  ///< degrees; wider ones part the surface
};

}  // namespace

bool searchFlats(const Turn& turn, const std::vector<double>& heights, double radius,
                 const CircumferenceOptions& options, Circumference& result) {
    const bool isWhole = std::isfinite(result.meanRadius);
    return FlatSearch(turn, heights, radius, options).run(isWhole, result.flats);
}

}  // namespace KvMeasure
