// Minimum zone: the centre has two farthest and two nearest points at least, so that it lies on two
// perpendicular bisectors, or is the circumcentre of three points; circles of endless radius are strips. All
// are candidates of the search of contact_search_p.h, which starts at the circle of least squares.
// Least squares: Newton steps in long double behind polishCircle(), until they are rounding.
// Circumscribed and inscribed: the circles of few points, to which the point joins that lies farthest
// outside, or inside, until there is none. Cost: a few passes over the points each.

#include <kvmeasure/form/roundness.h>

#include <kvmeasure/form/circles_p.h>
#include <kvmeasure/form/contact_search_p.h>
#include <kvmeasure/form/straightness.h>

namespace KvMeasure {

namespace {

using namespace Internal;

/// A centre, or the direction of a strip.
struct Centre {
    Place place;
    bool isStrip = false;
};

class CentreModel {
public:
    using Candidate = Centre;

    explicit CentreModel(const std::vector<Place>& points) : points_(points) {}

    Real value(const Centre& centre, int point) const {
        const Place& p = at(point);
        return centre.isStrip ? p.x * centre.place.x + p.y * centre.place.y : distance(p, centre.place);
    }

    template <class Take>
    void generate(int newest, const std::vector<int>& supports, const Take& take) const {
        const Place& n = at(newest);
        for (const int other : supports) {
            const Place d{at(other).x - n.x, at(other).y - n.y};
            const Real size = std::hypot(d.x, d.y);
            if (size > 0)
                take(Centre{{-d.y / size, d.x / size}, true}, newest, other, -1, -1);
        }
        forEachContactSet(newest, supports, [&](int a, int b, int c, int d) {
            Centre centre;
            const bool isOne = d < 0 ? bisectorCrossing(at(a), at(b), at(a), at(c), centre.place)
                                     : bisectorCrossing(at(a), at(b), at(c), at(d), centre.place);
            if (isOne)
                take(centre, a, b, c, d);
        });
    }

private:
    const Place& at(int i) const { return points_[static_cast<std::size_t>(i)]; }

    const std::vector<Place>& points_;
};

class RoundZones {
public:
    explicit RoundZones(const std::vector<Vector>& points)
        : points_(points), places_(placesAbout(points, points.front())) {
        for (const Place& p : places_)
            extent_ = std::max({extent_, std::fabs(p.x), std::fabs(p.y)});
    }
    RoundZone leastSquares(double& deviation);
    RoundZone minimum() const;
    RoundZone circumscribed() const;
    RoundZone inscribed() const;

private:
    RoundZone about(const Place& centre) const;
    std::vector<int> contactsOf(const LeastZone<Centre>& found) const;
    std::vector<int> extremes() const;

    const std::vector<Vector>& points_;
    std::vector<Place> places_;
    Real extent_ = 0;
    Place start_;  // the centre of least squares
};

/// The zone of all points about a centre, its radius in the middle.
RoundZone RoundZones::about(const Place& centre) const {
    RoundZone zone;
    Real inner = std::numeric_limits<Real>::infinity(), outer = 0;
    for (const Place& p : places_) {
        const Real dx = p.x - centre.x, dy = p.y - centre.y, square = dx * dx + dy * dy;
        inner = std::min(inner, square);
        outer = std::max(outer, square);
    }
    inner = std::sqrt(inner);
    outer = std::sqrt(outer);
    zone.centre = {double(centre.x + Real(points_.front().x)), double(centre.y + Real(points_.front().y))};
    zone.innerRadius = double(inner);
    zone.outerRadius = double(outer);
    zone.radius = double((inner + outer) / 2);
    zone.width = double(outer - inner);
    return zone;
}

RoundZone RoundZones::leastSquares(double& deviation) {
    Real radius = 0;
    RoundZone none;
    if (!fitCircle(places_, start_, radius)) {
        none.reason = "a straight line fits the points as well as any circle";
        return none;
    }
    RoundZone zone = about(start_);
    zone.radius = double(radius);
    Real squares = 0;
    for (const Place& p : places_) {
        const Real d = distance(p, start_) - radius;
        squares += d * d;
    }
    deviation = double(std::sqrt(squares / static_cast<Real>(places_.size())));
    return zone;
}

/// Points on all sides: the extreme ones in eight directions.
std::vector<int> RoundZones::extremes() const {
    std::vector<int> found;
    for (const Place& axis : {Place{1, 0}, Place{0, 1}, Place{1, 1}, Place{1, -1}}) {
        int ends[2] = {0, 0};
        for (int i = 0; i < static_cast<int>(places_.size()); ++i) {
            const auto along = [&](int k) {
                const Place& p = places_[static_cast<std::size_t>(k)];
                return p.x * axis.x + p.y * axis.y;
            };
            ends[0] = along(i) < along(ends[0]) ? i : ends[0];
            ends[1] = along(i) > along(ends[1]) ? i : ends[1];
        }
        found.insert(found.end(), ends, ends + 2);
    }
    return found;
}

/// The points that make the centre; with three of them on one circle, the outermost on the other.
std::vector<int> RoundZones::contactsOf(const LeastZone<Centre>& found) const {
    const auto& zone = found.zone;
    std::vector<int> contacts(zone.points, zone.points + 4);
    if (contacts.back() < 0) {
        contacts.pop_back();
        const Real own = distance(places_[std::size_t(contacts[0])], zone.candidate.place);
        contacts.push_back(own - zone.from < zone.to - own ? found.highest : found.lowest);
    }
    std::sort(contacts.begin(), contacts.end());
    contacts.erase(std::unique(contacts.begin(), contacts.end()), contacts.end());
    return contacts;
}

RoundZone RoundZones::minimum() const {
    const CentreModel model(places_);
    const Real tolerance = 1e-16L * extent_;
    ContactSearch<CentreModel> search(model, static_cast<int>(places_.size()), tolerance);
    const LeastZone<Centre> found = search.run(extremes(), Centre{start_, false});
    RoundZone none;
    none.reason = "a straight strip is no wider than any ring about the points: their arc is too flat";
    if (found.zone.candidate.isStrip)
        return none;
    RoundZone zone = about(found.zone.candidate.place);
    zone.width = double(found.zone.width());
    if (found.zone.points[0] >= 0)
        zone.contacts = contactsOf(found);
    zone.certificate.isValid = found.isProven;
    zone.certificate.lowerBound = double(found.lowerBound);
    zone.certificate.points = found.supports;
    std::vector<Place> few;
    for (const int i : zone.contacts)
        few.push_back(places_[static_cast<std::size_t>(i)]);
    if (found.isProven && few.size() == 4) {
        const CentreModel ofContacts(few);
        ContactSearch<CentreModel> again(ofContacts, 4, 0);
        const LeastZone<Centre> alone = again.run({0, 1, 2, 3}, found.zone.candidate);
        if (alone.zone.width() >= found.zone.width() - 10 * tolerance)
            zone.certificate.points = zone.contacts;
    }
    std::sort(zone.certificate.points.begin(), zone.certificate.points.end());
    return zone;
}

RoundZone RoundZones::circumscribed() const {
    const TouchingCircle circle = smallestAbout(places_);
    RoundZone zone = about(circle.centre);
    zone.radius = zone.outerRadius;
    zone.contacts = circle.contacts;
    return zone;
}

RoundZone RoundZones::inscribed() const {
    const TouchingCircle circle = largestBetween(places_, start_);
    RoundZone zone;
    if (circle.contacts.empty()) {
        zone.reason =
            "no circle is held by points on all sides: they leave half a turn open, or lie all over";
        return zone;
    }
    zone = about(circle.centre);
    zone.radius = zone.innerRadius;
    zone.contacts = circle.contacts;
    return zone;
}

}  // namespace

Roundness roundness(const std::vector<Vector>& points) {
    Roundness result;
    result.count = static_cast<int>(points.size());
    const auto none = [&](const QString& reason) {
        for (RoundZone* zone : {&result.minimumZone, &result.leastSquares, &result.inscribed})
            zone->reason = reason;
    };
    if (points.empty()) {
        none("no points");
        result.circumscribed.reason = result.inscribed.reason;
        return result;
    }
    RoundZones zones(points);
    result.circumscribed = zones.circumscribed();
    const LineZone line = straightness(points).minimumZone;
    if (!line.isValid())
        none("fewer than three points in different places");
    else if (line.width <= 1e-15 * result.circumscribed.radius)
        none(points.size() < 3 ? "fewer than three points" : "all points lie on one line");
    if (!result.minimumZone.reason.isEmpty())
        return result;
    result.leastSquares = zones.leastSquares(result.deviation);
    result.minimumZone = zones.minimum();
    result.inscribed = zones.inscribed();
    return result;
}

RoundZone circumscribedCircle(const std::vector<Vector>& points) {
    if (!points.empty())
        return RoundZones(points).circumscribed();
    RoundZone none;
    none.reason = "no points";
    return none;
}

}  // namespace KvMeasure
