// corner: where two lines meet, the angle between them and the radius of the round part.

#include <kvmeasure/inspection/kinds/corner.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

using Points = std::vector<Vector>;

constexpr std::size_t kFewestPoints = 8;
constexpr std::size_t kFewestOfLine = 3;
constexpr std::size_t kFewestOfArc = 6;

Points part(const Points& points, std::size_t from, std::size_t end) {
    return {points.begin() + std::ptrdiff_t(from), points.begin() + std::ptrdiff_t(std::max(from, end))};
}

/// The number of the point that is furthest from the line through the ends.
std::size_t furthest(const Points& points) {
    const Vector& a = points.front();
    const Vector& b = points.back();
    std::size_t best = points.size() / 2;
    double most = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Vector& p = points[i];
        const double distance = std::fabs((b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x));
        if (distance > most) {
            most = distance;
            best = i;
        }
    }
    return best;
}

/// The first of the points, on the way from the corner to an end by steps of +-1, that lies on the line.
std::size_t reaching(const Points& points, std::size_t corner, std::size_t end, const LineFit& line) {
    constexpr double kDeviations = 4;
    const double most = std::max(kDeviations * line.deviation, 1e-9 * (line.to - line.from));
    std::size_t i = corner;
    while (i != end && std::fabs(line.distanceOf(points[i])) > most)
        i = i < end ? i + 1 : i - 1;
    return i;
}

double crossing(const LineFit& a, const LineFit& b) { return a.along.x * b.along.y - a.along.y * b.along.x; }

constexpr double kLeastShare = 0.1;  // cosine: steeper than 84 degrees heights say nothing

/// Residuals in height: square to a line they are smaller by its cosine. None of a line that is too steep.
std::vector<double> heightResiduals(const LineFit& line) {
    std::vector<double> residuals = line.residuals;
    if (line.isInHeight)
        return residuals;
    if (line.along.x < kLeastShare)
        return {};
    for (double& residual : residuals)
        residual /= line.along.x;
    return residuals;
}

class Corner {
public:
    explicit Corner(const Points& points) : points_(points) {}
    CornerResult measure(const ResidualNoise& known);

private:
    QString fitLines(std::size_t firstEnd, std::size_t secondBegin, bool isRough = false);
    void guessTouch(std::size_t& firstEnd, std::size_t& secondBegin) const;
    Vector away(const LineFit& line) const;
    void findArc(std::size_t firstEnd, std::size_t secondBegin);
    std::size_t touch(const LineFit& line, const Vector& centre, bool isFirst) const;
    bool areUnlike() const;
    void values(CornerResult& result) const;

    const Points& points_;
    LineFit first_, second_;
    ArcFit arc_;
    bool isRound_ = false;
};

/// Rough lines, which say where points belong, go through some of the points.
QString Corner::fitLines(std::size_t firstEnd, std::size_t secondBegin, bool isRough) {
    if (firstEnd < kFewestOfLine || secondBegin + kFewestOfLine > points_.size())
        return "a side of the corner has fewer than three points";
    const auto fitted = [&](std::size_t from, std::size_t end) {
        return fitLine(isRough ? thinned(points_, from, end) : part(points_, from, end));
    };
    first_ = fitted(0, firstEnd);
    second_ = fitted(secondBegin, points_.size());
    if (!first_.isFound() || !second_.isFound())
        return "a side of the corner has no two distinct points";
    constexpr double kLeastSine = 0.05;  // 3 degrees
    if (std::fabs(crossing(first_, second_)) < kLeastSine)
        return "the lines beside the corner are parallel";
    return {};
}

/// The number of the first point beyond the place of the line that is nearest to the centre, seen from
/// outside.
std::size_t Corner::touch(const LineFit& line, const Vector& centre, bool isFirst) const {
    const double place = line.placeOf(centre);
    const std::size_t n = points_.size();
    const bool growing = line.placeOf(meetingPoint(first_, second_)) > 0;
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t at = isFirst ? i : n - 1 - i;
        if ((line.placeOf(points_[at]) > place) == growing)
            return at;
    }
    return isFirst ? n : 0;
}

/// The direction from the corner along a line to its points.
Vector Corner::away(const LineFit& line) const {
    const double sign = line.placeOf(meetingPoint(first_, second_)) > 0 ? -1 : 1;
    return {sign * line.along.x, sign * line.along.y};
}

/// Parts the points where a circle that touches both lines would begin and end. With b the direction between
/// the lines, s and c sine and cosine of half their angle, a point p from the corner lies on the one of
/// radius r where r^2 c^2 / s^2 - 2 r p b / s + p^2 = 0: the larger r, the point being on the near side. The
/// median of all points.
void Corner::guessTouch(std::size_t& firstEnd, std::size_t& secondBegin) const {
    const Vector corner = meetingPoint(first_, second_);
    const Vector a = away(first_);
    const Vector b = away(second_);
    const double size = std::hypot(a.x + b.x, a.y + b.y);
    const Vector middle((a.x + b.x) / size, (a.y + b.y) / size);
    const double sine = std::sqrt(std::max(0.0, 1 - size * size / 4));
    const double cotangent = size / 2 / sine;
    std::vector<double> radii;
    for (std::size_t i = firstEnd; i < secondBegin; ++i) {
        const Vector p(points_[i].x - corner.x, points_[i].y - corner.y);
        const double along = (p.x * middle.x + p.y * middle.y) / sine;
        const double root = along * along - (p.x * p.x + p.y * p.y) * cotangent * cotangent;
        if (root >= 0 && along > 0)
            radii.push_back((along + std::sqrt(root)) / (cotangent * cotangent));
    }
    if (radii.size() < kFewestOfLine)
        return;
    std::nth_element(radii.begin(), radii.begin() + std::ptrdiff_t(radii.size() / 2), radii.end());
    const double radius = radii[radii.size() / 2];
    const Vector centre(corner.x + middle.x * radius / sine, corner.y + middle.y * radius / sine);
    firstEnd = std::min(firstEnd, touch(first_, centre, /*isFirst=*/true));
    secondBegin = std::max(secondBegin, touch(second_, centre, /*isFirst=*/false) + 1);
}

void Corner::findArc(std::size_t firstEnd, std::size_t secondBegin) {
    constexpr int kRounds = 3;
    for (int round = 0; round < kRounds; ++round) {
        if (secondBegin < firstEnd + kFewestOfArc)
            return;
        const ArcFit arc = fitArc(part(points_, firstEnd, secondBegin));
        if (!arc.isFound() || arc.isNearlyStraight)
            return;
        const std::size_t end = touch(first_, arc.circle.centre, /*isFirst=*/true);
        const std::size_t begin = touch(second_, arc.circle.centre, /*isFirst=*/false) + 1;
        const LineFit first = first_;
        const LineFit second = second_;
        if (end >= begin || !fitLines(end, begin).isEmpty()) {
            first_ = first;
            second_ = second;
            return;
        }
        arc_ = arc;
        isRound_ = true;
        firstEnd = end;
        secondBegin = begin;
    }
}

void Corner::values(CornerResult& result) const {
    UncertaintySum x;
    UncertaintySum z;
    UncertaintySum angle;
    const LineFit* lines[] = {&first_, &second_};
    for (int i = 0; i < 2; ++i) {
        const LineUncertainty u = lineUncertainty(*lines[i], result.noise);
        const Vector& other = lines[1 - i]->along;
        const double move = u.at(lines[i]->placeOf(result.point)) / std::fabs(crossing(first_, second_));
        x.add(move * other.x, u.degreesOfFreedom);
        z.add(move * other.y, u.degreesOfFreedom);
        angle.add(u.direction * kDegreesPerRadian, u.degreesOfFreedom);
        result.isShort = result.isShort || u.isShort;
    }
    const Vector a = away(first_);
    const Vector b = away(second_);
    const double turn = std::fabs(std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y));
    result.x = {result.point.x, x.u(), x.degreesOfFreedom(), {}};
    result.z = {result.point.y, z.u(), z.degreesOfFreedom(), {}};
    result.angle = {turn * kDegreesPerRadian, angle.u(), angle.degreesOfFreedom(), {}};
    if (isRound_) {
        const ArcUncertainty u = arcUncertainty(arc_, result.noise);
        result.radius = {arc_.circle.radius, u.radius, u.degreesOfFreedom, {}};
    } else {
        result.radius = refused("the corner is sharp: fewer than six points lie between its lines");
    }
}

/// One side scatters more than the other, both square to the lines and in height, which is where noise is.
bool Corner::areUnlike() const {
    constexpr double kUnlike = 5;
    const double rounding = 1e-6 * (std::fabs(first_.to) + std::fabs(second_.to));
    const auto unlike = [&](double a, double b) {
        return std::max(a, b) > kUnlike * std::min(a, b) + rounding;
    };
    const auto inHeight = [](const LineFit& line) {
        return line.deviation / std::max(kLeastShare, line.along.x);
    };
    return unlike(first_.deviation, second_.deviation) && unlike(inHeight(first_), inHeight(second_));
}

CornerResult Corner::measure(const ResidualNoise& known) {
    CornerResult result;
    const std::size_t at = furthest(points_);
    result.reason =
        fitLines(std::max(at / 2, kFewestOfLine),
                 std::min(points_.size() - (points_.size() - at) / 2, points_.size() - kFewestOfLine),
                 /*isRough=*/true);
    if (!result.reason.isEmpty())
        return result;
    std::size_t firstEnd = reaching(points_, at, 0, first_) + 1;
    std::size_t secondBegin = reaching(points_, at, points_.size() - 1, second_);
    result.reason = fitLines(firstEnd, secondBegin);
    if (!result.reason.isEmpty())
        return result;
    guessTouch(firstEnd, secondBegin);
    findArc(firstEnd, secondBegin);
    if (areUnlike()) {
        result.reason = "a side of the corner is no straight line";
        return result;
    }
    ResidualNoise noise = known;
    constexpr int kParameters = 2;
    for (const LineFit* line : {&first_, &second_})
        noise.add(heightResiduals(*line), kParameters);
    result.noise = noise.model();
    result.point = meetingPoint(first_, second_);
    result.first = first_;
    result.second = second_;
    result.arc = arc_;
    values(result);
    return result;
}

}  // namespace

CornerResult measureCorner(const Points& points, const ResidualNoise& known) {
    Points finite;
    std::copy_if(points.begin(), points.end(), std::back_inserter(finite),
                 [](const Vector& p) { return isFinite(p); });
    if (finite.size() < kFewestPoints) {
        CornerResult none;
        none.reason = "fewer than eight points for a corner";
        return none;
    }
    return Corner(finite).measure(known);
}

namespace Internal {

namespace {

void measureCornerTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const CornerResult corner = measureCorner(region.points, input.knownNoise());
    if (!corner.reason.isEmpty())
        return results.refuse(corner.reason);
    give("x", corner.x, results);
    give("z", corner.z, results);
    give("radius", corner.radius, results);
    give("angle", corner.angle, results);
    warnOfNoise(corner.noise.reason, corner.isShort, results);
    results.markPoint(corner.point, tool.name);
}

}  // namespace

const ToolKind cornerTool{"corner",
                          "where two straight surfaces meet, the radius between them and their angle",
                          {regionField("region", "in", "region")},
                          {{"x", "mm", "x of the point where the lines meet"},
                           {"z", "mm", "z of this point"},
                           {"radius", "mm", "radius of the round part"},
                           {"angle", "deg", "angle between the surfaces"}},
                          measureCornerTool};

}  // namespace Internal

}  // namespace KvMeasure
