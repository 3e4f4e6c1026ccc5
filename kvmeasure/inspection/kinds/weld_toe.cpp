// The toe of a weld: behind the last points that lie on the plate, the first ones off it (three deviations,
// three correlation times in a row) tell where the face begins. A parabola of least squares through the face
// beside it, up to a quarter of its height, is followed back to the plate; where it gives no answer, or one
// that may lie anywhere beside the face, the toe is halfway between the last point of the plate and the first
// of the face. The u of the place is that of the parabola and of the plate, each over the slope at which they
// meet. A few passes over the points, nothing is sorted.

#include <kvmeasure/inspection/kinds/weld_toe.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr double kDeviations = 3;

/// Of all stretches of `run` values, at least one, the one whose least value is greatest: the number of its
/// first value; that of all values where these are fewer. Time in proportion to the values.
std::size_t highestRun(const std::vector<double>& values, std::size_t run) {
    std::vector<std::size_t> open;  // values that may become the least of a run, ascending from `front`
    std::size_t front = 0;
    std::size_t best = values.size();
    double highest = -std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < values.size(); ++i) {
        while (open.size() > front && values[open.back()] >= values[i])
            open.pop_back();
        open.push_back(i);
        if (open[front] + run <= i)
            ++front;
        if (i + 1 >= run && values[open[front]] > highest) {
            highest = values[open[front]];
            best = i + 1 - run;
        }
    }
    return best;
}

/// Where the face begins: the first of `run` points in a row that lie off the plate, behind the last `run` in
/// a row before the face that lie on it. Off it is what neither the noise of a point nor that of the line
/// explains. Spatter on the plate, and noise that stays up for a while, are no face. The number of points:
/// there is none.
std::size_t departure(const LineFit& plate, const std::vector<Vector>& points, double side, std::size_t run,
                      const NoiseModel& noise) {
    const LineUncertainty u = lineUncertainty(plate, noise);
    const double least = 1e-9 * (plate.to - plate.from);
    std::vector<double> heights;  // over the limit
    heights.reserve(points.size());
    for (const Vector& p : points) {
        const double ofLine = u.at(plate.placeOf(p));
        const double deviation =
            std::isfinite(ofLine) ? std::hypot(plate.deviation, ofLine) : plate.deviation;
        heights.push_back(side * plate.distanceOf(p) - std::max(kDeviations * deviation, least));
    }
    const std::size_t face = highestRun(heights, run);
    if (face == points.size() || !(heights[face] > 0))
        return points.size();
    std::size_t from = 0;
    std::size_t inRow = 0;
    for (std::size_t i = 0; i < face; ++i) {
        inRow = heights[i] > 0 ? 0 : inRow + 1;
        from = inRow >= run ? i + 1 : from;
    }
    inRow = 0;
    for (std::size_t i = from; i < points.size(); ++i) {
        inRow = heights[i] > 0 ? inRow + 1 : 0;
        if (inRow == run)
            return i + 1 - run;
    }
    return points.size();
}

constexpr std::size_t kFewestOfFace = 8;
constexpr std::size_t kWantedOfFace = 12;

/// The points of the face beside the toe: up to a quarter of its height over the plate, to half of it where
/// these are few. `most` becomes the greatest of their heights.
std::vector<Vector> faceBeside(const LineFit& plate, const std::vector<Vector>& points, double side,
                               std::size_t from, double& most) {
    constexpr double kWide = 10;  // deviations
    constexpr double kShare = 1.0 / 4;
    constexpr double kGreatestShare = 1.0 / 2;
    double highest = 0;
    for (std::size_t i = from; i < points.size(); ++i)
        highest = std::max(highest, side * plate.distanceOf(points[i]));
    most = std::max(kWide * plate.deviation, kShare * highest);
    std::vector<Vector> face;
    for (std::size_t i = from; i < points.size(); ++i) {
        const double height = side * plate.distanceOf(points[i]);
        const bool isWanted = (face.size() < kWantedOfFace && height <= kGreatestShare * highest) ||
                              (face.size() < kFewestOfFace && height < highest);
        if (height > most && !isWanted)
            break;
        most = std::max(most, height);
        face.push_back(points[i]);
    }
    return face;
}

/// A parabola of least squares: the distance from the plate over the place along it, in units from a zero.
class FaceCurve {
public:
    FaceCurve(const LineFit& plate, const std::vector<Vector>& face, double zero, double unit);
    /// The place where it is 0 beside the first points; NaN: nowhere, or flatter than 10 degrees.
    double root() const;
    double at(double place) const { return curve_[0] + place * (curve_[1] + place * curve_[2]); }
    double slope(double place) const { return curve_[1] + 2 * curve_[2] * place; }
    double variance(double place) const;  ///< of a point's value there, in variances of a point

private:
    double rows_[3][3];  ///< inverse of the normal matrix
    double curve_[3] = {};
};

FaceCurve::FaceCurve(const LineFit& plate, const std::vector<Vector>& face, double zero, double unit) {
    double moments[5] = {};
    double sums[3] = {};
    for (const Vector& p : face) {
        const double t = (plate.placeOf(p) - zero) / unit;
        double power = 1;
        for (int k = 0; k < 5; ++k, power *= t) {
            moments[k] += power;
            if (k < 3)
                sums[k] += power * plate.distanceOf(p);
        }
    }
    // The inverse of the symmetric normal matrix.
    const double a = moments[2] * moments[4] - moments[3] * moments[3];
    const double b = moments[2] * moments[3] - moments[1] * moments[4];
    const double c = moments[1] * moments[3] - moments[2] * moments[2];
    const double d = moments[0] * moments[4] - moments[2] * moments[2];
    const double e = moments[1] * moments[2] - moments[0] * moments[3];
    const double f = moments[0] * moments[2] - moments[1] * moments[1];
    const double determinant = moments[0] * a + moments[1] * b + moments[2] * c;
    const double rows[3][3] = {{a, b, c}, {b, d, e}, {c, e, f}};
    for (int i = 0; i < 3; ++i) {
        for (int k = 0; k < 3; ++k) {
            rows_[i][k] = rows[i][k] / determinant;
            curve_[i] += rows_[i][k] * sums[k];
        }
    }
}

double FaceCurve::root() const {
    const double square = curve_[1] * curve_[1] - 4 * curve_[2] * curve_[0];
    return square >= 0 ? -2 * curve_[0] / (curve_[1] + std::copysign(std::sqrt(square), curve_[1]))
                       : std::numeric_limits<double>::quiet_NaN();
}

double FaceCurve::variance(double place) const {
    const double powers[3] = {1, place, place * place};
    double sum = 0;
    for (int i = 0; i < 3; ++i) {
        for (int k = 0; k < 3; ++k)
            sum += powers[i] * rows_[i][k] * powers[k];
    }
    return sum;
}

/// Where the face passes the plate. The first points were chosen by their heights, and noise has a part in
/// which they are: they are chosen again by their places, as the curve lies over the plate there.
bool meetFace(const LineFit& plate, const std::vector<Vector>& points, double side, std::vector<Vector> face,
              double most, const NoiseModel& noise, WeldToe& toe) {
    if (face.size() < kFewestOfFace)
        return false;
    const double zero = plate.placeOf(face.front());
    const double unit = std::fabs(plate.placeOf(face.back()) - zero);
    const double sign = plate.placeOf(face.back()) < zero ? -1 : 1;
    constexpr double kLeastSlope = 0.17;  // 10 degrees
    constexpr double kFurthest = 2.5;     // times the length of the face that was taken
    constexpr double kLongest = 2;        // the same
    constexpr double kClear = 2;          // deviations
    constexpr double kMostOfFace = 0.5;   // of the length of the face that was taken, for u
    constexpr int kRounds = 3;
    for (int round = 0;; ++round) {
        const FaceCurve curve(plate, face, zero, unit);
        const double at = curve.root();
        const double slope = curve.slope(at) / unit;
        if (!(std::fabs(slope) > kLeastSlope && std::fabs(at) < kFurthest))
            return false;
        std::vector<Vector> again;
        for (const Vector& p : points) {
            const double place = (plate.placeOf(p) - zero) / unit;
            const double height = side * curve.at(place);
            const bool isBehind = sign * (place - at) > 0 && sign * place < kLongest;
            if (isBehind && height >= kClear * plate.deviation && height <= most &&
                side * sign * curve.slope(place) > 0)
                again.push_back(p);
        }
        if (round + 1 < kRounds && again.size() >= kFewestOfFace) {
            face = std::move(again);
            continue;
        }
        toe.at = plate.pointAt(zero + at * unit);
        const LineUncertainty u = lineUncertainty(plate, noise);
        UncertaintySum sum;
        // A height that moves a point takes it along the plate, too.
        const double share = plate.along.x - slope * plate.along.y;
        sum.add(noise.deviation * share * std::sqrt(noise.correlationTime * curve.variance(at)) / slope,
                noise.lengths(noise.points));
        sum.add(u.at(plate.placeOf(toe.at)) / slope, u.degreesOfFreedom);
        toe.u = sum.u();
        toe.degreesOfFreedom = sum.degreesOfFreedom();
        // A curve that is followed so far that it may end anywhere beside the face tells nothing.
        return std::isfinite(toe.at.x + toe.at.y) && toe.u < kMostOfFace * unit;
    }
}

}  // namespace

WeldToe findToe(const LineFit& plate, const std::vector<Vector>& points, double side,
                const NoiseModel& noise) {
    WeldToe toe;
    toe.reason = plate.reason;
    if (!plate.isFound())
        return toe;
    constexpr double kFewest = 3;
    const bool isKnown = std::isfinite(noise.correlationTime) && noise.correlationTime >= 1;
    const double times = isKnown ? noise.correlationTime : 1;
    const auto run =
        static_cast<std::size_t>(std::min(std::ceil(kFewest * times), double(points.size()) + 1));
    toe.face = departure(plate, points, side, run, noise);
    if (toe.face == points.size())
        toe.reason = "a toe is not found: no points leave the plate";
    else if (toe.face == 0)
        toe.reason = "a toe is not found: the region begins on the weld, not on the plate";
    if (!toe.reason.isEmpty())
        return toe;
    double most = 0;
    const std::vector<Vector> face = faceBeside(plate, points, side, toe.face, most);
    if (meetFace(plate, points, side, face, most, noise, toe))
        return toe;
    const double before = plate.placeOf(points[toe.face - 1]);
    const double behind = plate.placeOf(points[toe.face]);
    toe.at = plate.pointAt((before + behind) / 2);
    // Before a flank that gives no curve the plate ends anywhere down from where its noise ends.
    const double height = side * plate.distanceOf(points[toe.face]);
    const double rise = face.empty() ? 0 : side * plate.distanceOf(face.back()) - height;
    const double way = face.empty() ? 0 : std::fabs(plate.placeOf(face.back()) - behind);
    const double onFlank = rise > 0 ? std::min(way, way * height / rise) : 0;
    toe.u = std::hypot(behind - before, 2 * onFlank) / kRootOf12;
    toe.degreesOfFreedom = std::numeric_limits<double>::infinity();
    return toe;
}

double undercutOf(const LineFit& plate, const std::vector<Vector>& points, double side, const WeldToe& toe) {
    double deepest = 0;
    for (std::size_t i = 0; i < toe.face; ++i)
        deepest = std::max(deepest, -side * plate.distanceOf(points[i]));
    return deepest > kDeviations * plate.deviation ? deepest : 0;
}

}  // namespace KvMeasure
