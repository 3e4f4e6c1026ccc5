// A median over the block of 3 by 3 cells about each cell, computed once per occupied cell, so that the cost
// is n log n whatever lies where. The deviation is the median over all points, which half of them would have
// to be stray to move. Three passes: the element of least squares of the first is drawn aside by the strays.

#include <kvmeasure/form/stray_points.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/form/circles_p.h>
#include <kvmeasure/form/normal_equations_p.h>
#include <kvmeasure/form/symmetric_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <utility>

namespace KvMeasure {

namespace {

using Internal::Real;

constexpr int kPasses = 3;
constexpr double kOfDeviation = 1.4826;  // deviations of a normal distribution in its median distance

/// Where a point lies on the element, and how far off it.
struct Place {
    double u = 0, v = 0, off = 0;
};

using Places = std::vector<Place>;

double medianOf(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Cells in the order of their rows and columns.
class Cells {
public:
    Cells(const Places& places, const std::vector<char>& isStray, double side);
    /// Distance of each point from the median of its block; NaN where that has fewer than five points.
    std::vector<double> distances() const;

private:
    struct Entry {
        std::pair<qint64, qint64> cell;
        int point;
        bool operator<(const Entry& other) const {
            return cell != other.cell ? cell < other.cell : point < other.point;
        }
    };
    std::pair<qint64, qint64> cellOf(const Place& place) const {
        const auto number = [this](double at) {
            constexpr double kMost = 1e15;
            return static_cast<qint64>(std::clamp(std::floor(at / side_), -kMost, kMost));
        };
        return {number(place.v), number(place.u)};
    }
    double medianAround(const std::pair<qint64, qint64>& cell, std::vector<double>& offs) const;

    const Places& places_;
    double side_;
    std::vector<Entry> kept_;  ///< points that are not stray, by their cells
};

Cells::Cells(const Places& places, const std::vector<char>& isStray, double side)
    : places_(places), side_(side) {
    kept_.reserve(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (isStray[i] == 0)
            kept_.push_back({cellOf(places[i]), static_cast<int>(i)});
    }
    std::sort(kept_.begin(), kept_.end());
}

double Cells::medianAround(const std::pair<qint64, qint64>& cell, std::vector<double>& offs) const {
    constexpr std::size_t kFewest = 5;
    offs.clear();
    for (qint64 row = cell.first - 1; row <= cell.first + 1; ++row) {
        const Entry first{{row, cell.second - 1}, -1};
        for (auto it = std::lower_bound(kept_.begin(), kept_.end(), first);
             it != kept_.end() && it->cell.first == row && it->cell.second <= cell.second + 1; ++it)
            offs.push_back(places_[static_cast<std::size_t>(it->point)].off);
    }
    return offs.size() < kFewest ? std::nan("") : medianOf(offs);
}

std::vector<double> Cells::distances() const {
    std::vector<Entry> all;
    all.reserve(places_.size());
    for (std::size_t i = 0; i < places_.size(); ++i)
        all.push_back({cellOf(places_[i]), static_cast<int>(i)});
    std::sort(all.begin(), all.end());
    std::vector<double> distances(places_.size());
    std::vector<double> offs;
    double median = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (i == 0 || all[i].cell != all[i - 1].cell)
            median = medianAround(all[i].cell, offs);
        const auto point = static_cast<std::size_t>(all[i].point);
        distances[point] = std::fabs(places_[point].off - median);
    }
    return distances;
}

/// Wide enough for 16 points on average.
double usualSide(const Places& places) {
    constexpr double kPoints = 16;
    double low[2] = {places[0].u, places[0].v}, high[2] = {places[0].u, places[0].v};
    for (const Place& place : places) {
        low[0] = std::min(low[0], place.u);
        high[0] = std::max(high[0], place.u);
        low[1] = std::min(low[1], place.v);
        high[1] = std::max(high[1], place.v);
    }
    const double width = high[0] - low[0], height = high[1] - low[1];
    const auto count = static_cast<double>(places.size());
    // A surface as narrow as a line has cells along it alone.
    return std::max(
        {std::sqrt(kPoints * width * height / count), kPoints * std::max(width, height) / count, 1e-12});
}

/// `place` gives the places on the element of the points that are kept.
StrayPoints search(std::size_t count, double cut, double cell,
                   const std::function<Places(const std::vector<char>& isStray)>& place) {
    constexpr std::size_t kFewest = 8;
    StrayPoints result;
    if (count < kFewest)
        return result;
    std::vector<char> isStray(count, 0);
    for (int pass = 0; pass < kPasses; ++pass) {
        const Places places = place(isStray);
        result.cell = cell > 0 ? cell : usualSide(places);
        const std::vector<double> distances = Cells(places, isStray, result.cell).distances();
        std::vector<double> judged, offs;
        for (std::size_t i = 0; i < count; ++i) {
            if (!std::isnan(distances[i]))
                judged.push_back(distances[i]);
            offs.push_back(places[i].off);
        }
        result.alone = static_cast<int>(count - judged.size());
        const double middle = medianOf(offs);
        for (double& off : offs)
            off = std::fabs(off - middle);
        const double ofAll = kOfDeviation * medianOf(offs);
        result.deviation = judged.empty() ? ofAll : kOfDeviation * medianOf(judged);
        result.limit = cut * result.deviation;
        for (std::size_t i = 0; i < count; ++i) {
            const bool isAlone = std::isnan(distances[i]);
            const double distance = isAlone ? std::fabs(places[i].off - middle) : distances[i];
            const double limit = isAlone ? cut * std::max(ofAll, result.deviation) : result.limit;
            isStray[i] = limit > 0 && distance > limit ? 1 : 0;
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (isStray[i] != 0)
            result.strays.push_back(static_cast<int>(i));
    }
    return result;
}

/// A plane z = a x + b y + c, or a line z = a x + c, about the means of the kept points; unset where heights
/// do not determine it.
template <int Size>
bool fitHeights(const std::vector<SpacePoint>& points, const std::vector<char>& isStray,
                Real (&found)[Size]) {
    Internal::NormalEquations<Size> equations;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (isStray[i] != 0)
            continue;
        std::array<Real, Size> factors;
        factors[0] = Real(points[i][0]) - points[0][0];
        factors[Size - 1] = 1;
        if (Size > 2)
            factors[1] = Real(points[i][1]) - points[0][1];
        equations.add(factors, Real(points[i][2]) - points[0][2]);
    }
    return equations.solve(found);
}

/// The direction in which the kept points scatter least.
Internal::Real3 thinnest(const std::vector<SpacePoint>& points, const std::vector<char>& isStray) {
    Internal::Real3 mean = {0, 0, 0};
    Real count = 0, moments[3][3] = {};
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t k = 0; k < 3 && isStray[i] == 0; ++k)
            mean[k] += Real(points[i][k]) - points[0][k];
        count += isStray[i] == 0 ? 1 : 0;
    }
    for (std::size_t k = 0; k < 3; ++k)
        mean[k] = mean[k] / count + points[0][k];
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t r = 0; r < 3 && isStray[i] == 0; ++r) {
            for (std::size_t k = 0; k < 3; ++k)
                moments[r][k] += (points[i][r] - mean[r]) * (points[i][k] - mean[k]);
        }
    }
    Internal::Real3 axes[3];
    Internal::axesOf(moments, axes);
    return axes[0];
}

/// On a plane that is not upright: places are x and y, so that a stray is compared with what lies below it,
/// and heights are fitted, which strays do not turn; elsewhere along the plane of least squares.
Places onPlane(const std::vector<SpacePoint>& points, const std::vector<char>& isStray) {
    constexpr Real kSteep = 0.5L;
    Places places;
    places.reserve(points.size());
    const Internal::Real3 n = thinnest(points, isStray);
    Real plane[3];
    if (std::fabs(n[2]) >= kSteep && fitHeights<3>(points, isStray, plane)) {
        const Real cosine = 1 / std::sqrt(1 + plane[0] * plane[0] + plane[1] * plane[1]);
        for (const SpacePoint& p : points)
            places.push_back({p[0], p[1],
                              double(cosine * (p[2] - points[0][2] - plane[0] * (p[0] - Real(points[0][0])) -
                                               plane[1] * (p[1] - Real(points[0][1])) - plane[2]))});
        return places;
    }
    // Two directions square to the normal.
    const std::size_t least = std::fabs(n[0]) < std::fabs(n[1]) ? 0 : 1;
    Internal::Real3 u = {0, 0, 0};
    for (std::size_t k = 0; k < 3; ++k)
        u[k] = (k == least ? 1 : 0) - n[least] * n[k];
    const Internal::Real3 v = {n[1] * u[2] - n[2] * u[1], n[2] * u[0] - n[0] * u[2],
                               n[0] * u[1] - n[1] * u[0]};
    for (const SpacePoint& p : points) {
        Real along = 0, across = 0, off = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const Real d = Real(p[k]) - points[0][k];
            along += u[k] * d;
            across += v[k] * d;
            off += n[k] * d;
        }
        places.push_back({double(along), double(across), double(off)});
    }
    return places;
}

/// The same of a profile.
Places onLine(const std::vector<Vector>& profile, const std::vector<char>& isStray) {
    std::vector<SpacePoint> points;
    points.reserve(profile.size());
    double lowest = profile[0].y, highest = profile[0].y, left = profile[0].x, right = profile[0].x;
    for (const Vector& p : profile) {
        points.push_back({p.x, 0, p.y});
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        lowest = std::min(lowest, p.y);
        highest = std::max(highest, p.y);
    }
    Real line[2];
    constexpr double kSteepest = 2;  // steeper profiles are fitted along x
    const bool isUpright =
        highest - lowest > kSteepest * (right - left) || !fitHeights<2>(points, isStray, line);
    if (isUpright) {
        for (SpacePoint& p : points)
            std::swap(p[0], p[2]);
        if (!fitHeights<2>(points, isStray, line))
            line[0] = line[1] = 0;
    }
    const Real cosine = 1 / std::sqrt(1 + line[0] * line[0]);
    Places places;
    places.reserve(points.size());
    for (const SpacePoint& p : points)
        places.push_back(
            {p[0], 0,
             double(cosine * (p[2] - points[0][2] - line[0] * (p[0] - Real(points[0][0])) - line[1]))});
    return places;
}

/// The same of a circle, along it; of points on a line nothing is off.
Places onCircle(const std::vector<Vector>& points, const std::vector<char>& isStray) {
    const std::vector<Internal::Place> all = Internal::placesAbout(points, points[0]);
    std::vector<Internal::Place> kept;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (isStray[i] == 0)
            kept.push_back(all[i]);
    }
    Internal::Place centre;
    Real radius = 0;
    const bool isCircle = Internal::fitCircle(kept, centre, radius);
    Places places;
    places.reserve(all.size());
    for (const Internal::Place& place : all)
        places.push_back({double(std::atan2(place.y - centre.y, place.x - centre.x) * radius), 0,
                          isCircle ? double(Internal::distance(place, centre) - radius) : 0});
    return places;
}

}  // namespace

QString StrayPoints::text() const {
    return filledIn(
        "%1 stray points left out: farther than %2 mm (robust deviation %3 mm) from the median of "
        "the points around, in cells of %4 mm%5",
        strays.size(), limit, deviation, cell,
        alone > 0 ? filledIn("; %1 points with fewer than four neighbours are compared with all", alone)
                  : QString());
}

StrayPoints strayPoints(const std::vector<SpacePoint>& surface, double cut, double cell) {
    return search(surface.size(), cut, cell,
                  [&surface](const std::vector<char>& isStray) { return onPlane(surface, isStray); });
}

StrayPoints strayPoints(const std::vector<Vector>& profile, double cut, double cell) {
    return search(profile.size(), cut, cell,
                  [&profile](const std::vector<char>& isStray) { return onLine(profile, isStray); });
}

StrayPoints strayPointsOfCircle(const std::vector<Vector>& circle, double cut, double cell) {
    return search(circle.size(), cut, cell,
                  [&circle](const std::vector<char>& isStray) { return onCircle(circle, isStray); });
}

}  // namespace KvMeasure
