#include <kvmeasure/wheels/rail_head_p.h>

#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The median of values; NaN without any.
double medianOf(std::vector<double> values) {
    if (values.empty())
        return kNaN;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// How the heights of two heads differ in form: the median distance of their differences from the median one.
double misfit(const RailHead& rail, const RailHead& nominal, const RailSides& sides) {
    constexpr int kPlaces = 41;
    std::vector<double> differences;
    differences.reserve(kPlaces);
    for (int i = 1; i < kPlaces; ++i) {
        const double x = sides.left.at.x + (sides.right.at.x - sides.left.at.x) * i / kPlaces;
        const RailPlace a = rail.above(x), b = nominal.above(x);
        if (std::isfinite(a.at.y) && std::isfinite(b.at.y))
            differences.push_back(a.at.y - b.at.y);
    }
    const double middle = medianOf(differences);
    for (double& difference : differences)
        difference = std::fabs(difference - middle);
    return medianOf(differences);
}

}  // namespace

QString shortMm(double value) { return QString::number(value, 'g', 6) + " mm"; }

RailHead::RailHead(const std::vector<Vector>& of) : points(of) {
    top = static_cast<std::size_t>(
        std::max_element(of.begin(), of.end(), [](const Vector& a, const Vector& b) { return a.y < b.y; }) -
        of.begin());
}

RailPlace RailHead::side(int direction, double y) const {
    RailPlace place;
    const auto count = static_cast<int>(points.size());
    for (int i = static_cast<int>(top) + direction; i >= 0 && i < count; i += direction) {
        const Vector &a = points[static_cast<std::size_t>(i - direction)],
                     &b = points[static_cast<std::size_t>(i)];
        if (b.y >= y)
            continue;
        const double share = (a.y - y) / (a.y - b.y);
        place.at = Vector(a.x + share * (b.x - a.x), y);
        if (length(a, b) > kLargestRailGap)
            place.reason = filledIn("the %1 side lies in a gap of %2", direction < 0 ? "left" : "right",
                                    shortMm(length(a, b)));
        return place;
    }
    constexpr double kNearly = 0.02;  // mm: a section that was cut at this height
    const Vector& end = direction < 0 ? points.front() : points.back();
    if (end.y - y <= kNearly) {
        place.at = Vector(end.x, y);
        return place;
    }
    place.reason = filledIn("the %1 side is not seen %2 below the top", direction < 0 ? "left" : "right",
                            shortMm(height() - y));
    return place;
}

RailPlace RailHead::above(double x) const {
    RailPlace place;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Vector &a = points[i - 1], &b = points[i];
        if (a.x == b.x || std::min(a.x, b.x) > x || std::max(a.x, b.x) < x)
            continue;
        const double y = a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x);
        if (place.at.y >= y)
            continue;
        place.at = Vector(x, y);
        place.reason = length(a, b) > kLargestRailGap
                           ? filledIn("the top lies in a gap of %1", shortMm(length(a, b)))
                           : QString();
    }
    if (std::isnan(place.at.y))
        place.reason = filledIn("the section has no point at %1", shortMm(x));
    return place;
}

std::vector<Vector> mirrored(const std::vector<Vector>& points) {
    std::vector<Vector> result;
    result.reserve(points.size());
    for (auto p = points.rbegin(); p != points.rend(); ++p)
        result.emplace_back(-p->x, p->y);
    return result;
}

bool fitsMirrored(const RailHead& rail, const RailHead& other, const RailHead& nominal, double depth) {
    constexpr double kOff = 4, kSame = 1, kForm = 0.3, kShare = 0.5;
    const RailSides sides(nominal, nominal.height() - depth), own(rail, rail.height() - depth);
    if (!sides.reason().isEmpty() || !own.reason().isEmpty())
        return false;
    const double asIs = std::fabs(own.middle() - sides.middle());
    const double turned = std::fabs(-own.middle() - sides.middle());
    if (asIs > kOff && turned < kShare * asIs)
        return true;
    if (std::fabs(asIs - turned) > kSame)
        return false;
    const double form = misfit(rail, nominal, sides);
    return form > kForm && misfit(other, nominal, sides) < kShare * form;
}

}  // namespace KvMeasure::Internal
