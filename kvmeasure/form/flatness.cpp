// The narrowest zone touches three points with one plane and a fourth with the other, or two with each: its
// normal is square to two differences of points. The search of contact_search_p.h starts at the plane of
// least squares, and needs no hull. Along z the same normals are tried with their z component 1.

#include <kvmeasure/form/flatness.h>

#include <kvmeasure/form/contact_search_p.h>
#include <kvmeasure/form/symmetric_p.h>

namespace KvMeasure {

namespace {

using Internal::LeastZone;
using Internal::Real;
using Internal::Real3;

constexpr Real kSameWidth = 1e-17L;  // of the extent

Real dot(const Real3& a, const Real3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Real3 cross(const Real3& a, const Real3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Real3 difference(const Real3& a, const Real3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

/// Normals as candidates: of unit length, or with z = 1.
class NormalModel {
public:
    using Candidate = Real3;

    NormalModel(const std::vector<Real3>& points, bool isAlongZ) : points_(points), isAlongZ_(isAlongZ) {}

    Real value(const Real3& normal, int point) const {
        return dot(normal, points_[static_cast<std::size_t>(point)]);
    }

    template <class Take>
    void generate(int newest, const std::vector<int>& supports, const Take& take) const {
        Internal::forEachContactSet(newest, supports, [&](int a, int b, int c, int d) {
            const Real3 first = difference(at(b), at(a));
            const Real3 second = d < 0 ? difference(at(c), at(a)) : difference(at(d), at(c));
            Real3 normal = cross(first, second);
            if (scale(normal))
                take(normal, a, b, c, d);
        });
    }

    /// False for a normal without length, or upright planes along z.
    bool scale(Real3& normal) const {
        const Real size = isAlongZ_ ? normal[2] : std::sqrt(dot(normal, normal));
        for (Real& part : normal)
            part /= size;
        return std::isfinite(normal[0] + normal[1] + normal[2]);
    }

private:
    const Real3& at(int i) const { return points_[static_cast<std::size_t>(i)]; }

    const std::vector<Real3>& points_;
    bool isAlongZ_;
};

/// The points about the first, their plane of least squares and the extreme points along its axes.
class PlaneZones {
public:
    explicit PlaneZones(const std::vector<SpacePoint>& points);
    Real extent() const { return extent_; }
    PlaneZone zone(const LeastZone<Real3>& found, bool isAlongZ) const;
    PlaneZone narrowest(bool isAlongZ) const;
    PlaneZone leastSquares(double& deviation) const;

private:
    std::vector<int> extremes() const;
    PlaneZone about(Real3 normal) const;
    bool isProvenBy(const std::vector<int>& contacts, Real width, bool isAlongZ) const;
    void addContacts(const LeastZone<Real3>& found, std::vector<int>& contacts) const;

    SpacePoint origin_;
    std::vector<Real3> points_;
    Real extent_ = 0;
    Real3 mean_{};
    Real3 axes_[3] = {};  // least variance first
};

PlaneZones::PlaneZones(const std::vector<SpacePoint>& points) : origin_(points.front()) {
    points_.reserve(points.size());
    for (const SpacePoint& p : points) {
        points_.push_back({Real(p[0]) - origin_[0], Real(p[1]) - origin_[1], Real(p[2]) - origin_[2]});
        for (std::size_t k = 0; k < 3; ++k)
            mean_[k] += points_.back()[k];
    }
    for (Real& part : mean_)
        part /= static_cast<Real>(points.size());
    Real moments[3][3] = {};
    for (const Real3& p : points_) {
        const Real3 d = difference(p, mean_);
        for (std::size_t i = 0; i < 3; ++i) {
            extent_ = std::max(extent_, std::fabs(d[i]) * 2);
            for (std::size_t k = 0; k < 3; ++k)
                moments[i][k] += d[i] * d[k];
        }
    }
    Internal::axesOf(moments, axes_);
}

std::vector<int> PlaneZones::extremes() const {
    std::vector<int> found;
    for (const Real3& axis : axes_) {
        int lowest = 0, highest = 0;
        for (int i = 0; i < static_cast<int>(points_.size()); ++i) {
            const Real value = dot(axis, points_[static_cast<std::size_t>(i)]);
            if (value < dot(axis, points_[static_cast<std::size_t>(lowest)]))
                lowest = i;
            if (value > dot(axis, points_[static_cast<std::size_t>(highest)]))
                highest = i;
        }
        found.push_back(lowest);
        found.push_back(highest);
    }
    return found;
}

/// The zone of all points with planes square to that direction.
PlaneZone PlaneZones::about(Real3 normal) const {
    const Real size = std::sqrt(dot(normal, normal));
    const bool isDown = normal[2] < 0;
    for (Real& part : normal)
        part /= isDown ? -size : size;
    PlaneZone zone;
    Real from = std::numeric_limits<Real>::infinity(), to = -from;
    int lowest = 0, highest = 0;
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const Real value = dot(normal, points_[i]);
        if (value < from) {
            from = value;
            lowest = static_cast<int>(i);
        }
        if (value > to) {
            to = value;
            highest = static_cast<int>(i);
        }
    }
    zone.normal = {double(normal[0]), double(normal[1]), double(normal[2])};
    zone.origin = origin_;
    zone.from = double(from);
    zone.to = double(to);
    zone.width = double(to - from);
    zone.height = double((to - from) / normal[2]);
    zone.contacts = {std::min(lowest, highest)};
    if (lowest != highest)
        zone.contacts.push_back(std::max(lowest, highest));
    return zone;
}

/// True when the contacts alone need a zone of that width.
bool PlaneZones::isProvenBy(const std::vector<int>& contacts, Real width, bool isAlongZ) const {
    const NormalModel model(points_, isAlongZ);
    std::vector<int> before;
    Real least = std::numeric_limits<Real>::infinity();
    for (const int point : contacts) {
        model.generate(point, before, [&](const Real3& normal, int, int, int, int) {
            Real from = std::numeric_limits<Real>::infinity(), to = -from;
            for (const int i : contacts) {
                from = std::min(from, model.value(normal, i));
                to = std::max(to, model.value(normal, i));
            }
            least = std::min(least, to - from);
        });
        before.push_back(point);
    }
    return least >= width - kSameWidth * 10 * extent_ && std::isfinite(least);
}

/// Those that make the direction, on its bounds: of points in layers, others may give it. Each bound has one.
void PlaneZones::addContacts(const LeastZone<Real3>& found, std::vector<int>& contacts) const {
    bool hasLow = false, hasHigh = false;
    for (const int point : found.zone.points) {
        if (point < 0)
            continue;
        const Real value = dot(found.zone.candidate, points_[std::size_t(point)]);
        const Real rounding = kSameWidth * 10 * extent_;
        const bool isLow = value - found.zone.from <= rounding, isHigh = found.zone.to - value <= rounding;
        if (isLow || isHigh)
            contacts.push_back(point);
        hasLow = hasLow || isLow;
        hasHigh = hasHigh || isHigh;
    }
    if (!hasLow)
        contacts.push_back(found.lowest);
    if (!hasHigh)
        contacts.push_back(found.highest);
}

PlaneZone PlaneZones::zone(const LeastZone<Real3>& found, bool isAlongZ) const {
    PlaneZone zone = about(found.zone.candidate);
    const Real width = found.zone.width();
    (isAlongZ ? zone.height : zone.width) = double(width);
    if (found.zone.points[0] >= 0) {
        zone.contacts.clear();
        addContacts(found, zone.contacts);
        std::sort(zone.contacts.begin(), zone.contacts.end());
        zone.contacts.erase(std::unique(zone.contacts.begin(), zone.contacts.end()), zone.contacts.end());
    }
    zone.certificate.isValid = found.isProven;
    zone.certificate.lowerBound = double(found.lowerBound);
    zone.certificate.points = found.supports;
    if (found.isProven && isProvenBy(zone.contacts, width, isAlongZ))
        zone.certificate.points = zone.contacts;
    std::sort(zone.certificate.points.begin(), zone.certificate.points.end());
    return zone;
}

PlaneZone PlaneZones::narrowest(bool isAlongZ) const {
    const NormalModel model(points_, isAlongZ);
    Real3 first = axes_[0];
    if (isAlongZ && (!model.scale(first) || dot(first, first) > 1e24L)) {
        PlaneZone none;
        none.reason = "the points lie on an upright plane, so that no plane has a zone along z";
        return none;
    }
    Internal::ContactSearch<NormalModel> search(model, static_cast<int>(points_.size()),
                                                kSameWidth * extent_);
    return zone(search.run(extremes(), first), isAlongZ);
}

PlaneZone PlaneZones::leastSquares(double& deviation) const {
    Real squares = 0;
    for (const Real3& p : points_) {
        const Real d = dot(axes_[0], difference(p, mean_));
        squares += d * d;
    }
    deviation = double(std::sqrt(squares / static_cast<Real>(points_.size())));
    return about(axes_[0]);
}

}  // namespace

Flatness flatness(const std::vector<SpacePoint>& points) {
    Flatness result;
    result.count = static_cast<int>(points.size());
    const auto none = [&](const QString& reason) {
        for (PlaneZone* zone : {&result.minimumZone, &result.minimumZoneAlongZ, &result.leastSquares})
            zone->reason = reason;
        return result;
    };
    if (points.size() < 3)
        return none("fewer than three points");
    const PlaneZones zones(points);
    if (!(zones.extent() > 0))
        return none("all points lie in one place");
    result.minimumZone = zones.narrowest(/*isAlongZ=*/false);
    result.minimumZoneAlongZ = zones.narrowest(/*isAlongZ=*/true);
    result.leastSquares = zones.leastSquares(result.deviation);
    return result;
}

}  // namespace KvMeasure
