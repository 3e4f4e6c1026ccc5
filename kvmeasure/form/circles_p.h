#pragma once
// Circles through, about and between points of the plane, in long double.

#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/form/contact_search_p.h>

namespace KvMeasure::Internal {

/// A place relative to an origin that all have in common, mm.
struct Place {
    Real x = 0, y = 0;
};

inline Real distance(const Place& a, const Place& b) {
    const Real dx = a.x - b.x, dy = a.y - b.y;
    return std::sqrt(dx * dx + dy * dy);
}

/// The points relative to the origin.
std::vector<Place> placesAbout(const std::vector<Vector>& points, const Vector& origin);

/// Where the perpendicular bisectors of a, b and of c, d cross. False, `crossing` untouched, for parallel
/// ones.
bool bisectorCrossing(const Place& a, const Place& b, const Place& c, const Place& d, Place& crossing);

/// The circle with the least sum of squared distances to the points. False where a straight line fits as
/// well; the centre is then that of the circle that came nearest.
bool fitCircle(const std::vector<Place>& places, Place& centre, Real& radius);

/// A circle and the points that it touches, ascending.
struct TouchingCircle {
    Place centre;
    Real radius = 0;
    std::vector<int> contacts;  ///< empty: there is no such circle
};

/// The smallest circle about all points, of which there is one at least.
TouchingCircle smallestAbout(const std::vector<Place>& points);

/// The largest circle without a point inside whose contacts hold it on all sides, among those found from
/// `start`.
TouchingCircle largestBetween(const std::vector<Place>& points, const Place& start);

}  // namespace KvMeasure::Internal
