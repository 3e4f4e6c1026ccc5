#pragma once
// Geometry of directed segments that several measurements need.

#include <kvmath/segments/line_geometry.h>
#include <kvmath/tsearch/bounds_p.h>
#include <kvmath/tsearch/directions_p.h>

namespace KvMath::Internal {

/// The result of a measurement that has none.
inline Vector noPoint() { return {kNoBound, kNoBound}; }

inline Vector sum(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y}; }

inline Vector direction(const LinePP& line) { return between(line.p1, line.p2); }

inline const Vector& chosenEnd(const LinePP& line, bool isStart) { return isStart ? line.p1 : line.p2; }

/// a + position * (b - a); 0 gives a.
inline Vector pointBetween(const Vector& a, const Vector& b, double position) {
    return {a.x + position * (b.x - a.x), a.y + position * (b.y - a.y)};
}

inline Vector intersection(const LinePP& first, const LinePP& second) {
    LineABC l1;
    LineABC l2;
    LinePP2LineABC(first, l1);
    LinePP2LineABC(second, l2);
    Vector p;
    linesIntersection(l1, l2, p);
    return p;
}

/// Vertex of the angle drawn between two lines: where they meet, or else the start of the second.
inline Vector vertexOf(const LinePP& from, const LinePP& to) {
    const Vector p = intersection(from, to);
    return std::isfinite(p.x) && std::isfinite(p.y) ? p : to.p1;
}

}  // namespace KvMath::Internal
