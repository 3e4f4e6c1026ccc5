#pragma once
// What the evaluation of a circumference and its search for flats share.

#include <kvmeasure/wheels/circumference.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

constexpr double kFullTurn = 360;  ///< degrees

/// The upper middle of values; at least one.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// An angle from 0 to 360.
inline double folded(double angle) {
    const double rest = std::fmod(angle, kFullTurn);
    return rest < 0 ? std::min(rest + kFullTurn, std::nextafter(kFullTurn, 0.0)) : rest;
}

/// Points in one turn, in ascending angle.
class Turn {
public:
    explicit Turn(std::vector<Vector> points) : points_(std::move(points)) {
        for (Vector& point : points_)
            point.x = folded(point.x);
        std::stable_sort(points_.begin(), points_.end(),
                         [](const Vector& a, const Vector& b) { return a.x < b.x; });
        for (std::size_t i = 0; i < points_.size(); ++i)
            largestGap_ = std::max(largestGap_, gapBehind(i));
    }

    std::size_t size() const { return points_.size(); }
    const Vector& operator[](std::size_t i) const { return points_[i]; }
    const std::vector<Vector>& points() const { return points_; }
    double largestGap() const { return largestGap_; }
    /// Degrees to the next point.
    double gapBehind(std::size_t i) const {
        return i + 1 < size() ? points_[i + 1].x - points_[i].x
                              : points_.front().x + kFullTurn - points_.back().x;
    }
    /// Half the way from its neighbour to its neighbour, as a share of the turn.
    double weight(std::size_t i) const {
        return (gapBehind(i) + gapBehind(i > 0 ? i - 1 : size() - 1)) / (2 * kFullTurn);
    }
    double usualStep() const {
        std::vector<double> steps(size());
        for (std::size_t i = 0; i < size(); ++i)
            steps[i] = gapBehind(i);
        return median(steps);
    }

private:
    std::vector<Vector> points_;
    double largestGap_ = 0;
};

/// Sets result.flats by filtered radii less this radius at the places of a turn. False where no baseline can
/// be fitted.
bool searchFlats(const Turn& turn, const std::vector<double>& heights, double radius,
                 const CircumferenceOptions& options, Circumference& result);

}  // namespace KvMeasure
