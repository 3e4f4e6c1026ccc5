#pragma once
// Boxes given by bounds; NaN is no limit on its side.

#include <cmath>

namespace KvMath::Internal {

/// low <= c <= high. An unset c is outside wherever a side has a number.
inline bool isWithin(float c, float low, float high) {
    return (std::isnan(low) || c >= low) && (std::isnan(high) || c <= high);
}

struct Box {
    float xmin, xmax, ymin, ymax, zmin, zmax;

    /// Ends included.
    template <class Point>
    bool contains(const Point& p) const {
        return isWithin(p.x, xmin, xmax) && isWithin(p.y, ymin, ymax) && isWithin(p.z, zmin, zmax);
    }

    /// True where a coordinate lies beyond a bound; an unset one never does, in contrast to contains.
    template <class Point>
    bool excludes(const Point& p) const {
        return p.x < xmin || p.x > xmax || p.y < ymin || p.y > ymax || p.z < zmin || p.z > zmax;
    }
};

}  // namespace KvMath::Internal
