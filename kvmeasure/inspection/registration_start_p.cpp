// Shifts are tried on heights over 200 equal steps of x, each with the median of the height differences; a
// third of the part must lie over the master. Turns: none, and the one that makes the main directions equal.

#include <kvmeasure/inspection/registration_start_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure::Internal {

namespace {

Vector centroid(const std::vector<Vector>& points) {
    const auto n = static_cast<double>(points.size());
    Vector sum;
    for (const Vector& point : points)
        sum = Vector(sum.x + point.x / n, sum.y + point.y / n);
    return sum;
}

/// Direction of the longest extent, radians, -pi/2 to pi/2.
double mainAngle(const std::vector<Vector>& points) {
    const Vector centre = centroid(points);
    double xx = 0;
    double xy = 0;
    double yy = 0;
    for (const Vector& point : points) {
        xx += (point.x - centre.x) * (point.x - centre.x);
        xy += (point.x - centre.x) * (point.y - centre.y);
        yy += (point.y - centre.y) * (point.y - centre.y);
    }
    return 0.5 * std::atan2(2 * xy, xx - yy);
}

/// Heights over equal steps of x, the uppermost of each; NaN where there is none.
std::vector<double> heightsOver(const std::vector<Vector>& points, double from, double step,
                                std::size_t count) {
    std::vector<double> heights(count, std::nan(""));
    for (const Vector& point : points) {
        const double place = (point.x - from) / step;
        if (!(place >= 0 && place < static_cast<double>(count)))
            continue;
        double& height = heights[static_cast<std::size_t>(place)];
        height = std::isnan(height) ? point.y : std::max(height, point.y);
    }
    return heights;
}

/// A shift of one row of heights against another, and how well they agree there.
struct Agreement {
    double shift = 0, height = 0;
    double misfit = std::numeric_limits<double>::infinity();
};

Agreement agreementAt(const std::vector<double>& part, const std::vector<double>& master, int lag) {
    std::vector<double> differences;
    for (std::size_t i = 0; i < part.size(); ++i) {
        const auto k = static_cast<std::ptrdiff_t>(i) + lag;
        if (k < 0 || k >= static_cast<std::ptrdiff_t>(master.size()))
            continue;
        const double difference = master[static_cast<std::size_t>(k)] - part[i];
        if (!std::isnan(difference))
            differences.push_back(difference);
    }
    Agreement agreement;
    constexpr std::size_t kFewest = 10;
    if (differences.size() < std::max(kFewest, part.size() / 3))
        return agreement;
    const auto middle = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 2);
    std::nth_element(differences.begin(), middle, differences.end());
    agreement.height = *middle;
    double sum = 0;
    for (const double difference : differences)
        sum += std::fabs(difference - agreement.height);
    agreement.misfit = sum / static_cast<double>(differences.size());
    return agreement;
}

/// Shifts at which the heights agree best.
std::vector<RigidMotion> shiftsOf(const std::vector<Vector>& points, const std::vector<Vector>& master) {
    constexpr std::size_t kCells = 200;
    constexpr std::size_t kMost = 3;
    const auto span = [](const std::vector<Vector>& of) {
        const auto ends = std::minmax_element(of.begin(), of.end(),
                                              [](const Vector& a, const Vector& b) { return a.x < b.x; });
        return std::pair<double, double>(ends.first->x, ends.second->x);
    };
    const auto ofPart = span(points);
    const auto ofMaster = span(master);
    const double step =
        std::max(ofPart.second - ofPart.first, ofMaster.second - ofMaster.first) / double(kCells);
    if (!(step > 0))
        return {};
    const std::vector<double> part = heightsOver(points, ofPart.first, step, kCells + 1);
    const std::vector<double> wanted = heightsOver(master, ofMaster.first, step, kCells + 1);
    std::vector<Agreement> best;
    for (int lag = -static_cast<int>(kCells); lag <= static_cast<int>(kCells); ++lag) {
        Agreement here = agreementAt(part, wanted, lag);
        here.shift = ofMaster.first - ofPart.first + lag * step;
        if (std::isfinite(here.misfit))
            best.push_back(here);
    }
    std::sort(best.begin(), best.end(),
              [](const Agreement& a, const Agreement& b) { return a.misfit < b.misfit; });
    std::vector<RigidMotion> shifts;
    for (std::size_t i = 0; i < std::min(kMost, best.size()); ++i)
        shifts.push_back({{}, 0, {best[i].shift, best[i].height}});
    return shifts;
}

}  // namespace

std::vector<RigidMotion> registrationStarts(const std::vector<Vector>& points,
                                            const std::vector<Vector>& master) {
    constexpr double kPi = 3.141592653589793;
    std::vector<RigidMotion> starts{RigidMotion()};
    double turn = mainAngle(master) - mainAngle(points);
    turn -= kPi * std::round(turn / kPi);
    for (const double angle : {0.0, turn}) {
        const RigidMotion turned{centroid(points), angle, {}};
        std::vector<Vector> moved;
        moved.reserve(points.size());
        for (const Vector& point : points)
            moved.push_back(turned.apply(point));
        for (const RigidMotion& shift : shiftsOf(moved, master))
            starts.push_back(turned.followedBy(shift));
    }
    return starts;
}

}  // namespace KvMeasure::Internal
