#pragma once
// The head of a rail as a polyline, with its sides and its top; a rail and a nominal one laid side by side.

#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure::Internal {

constexpr double kLargestRailGap = 5;  ///< mm between points; across more nothing is measured

/// A place, or why there is none.
struct RailPlace {
    Vector at = Vector(std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN());
    QString reason;
};

/// A head with its points from left to right, at least one.
struct RailHead {
    explicit RailHead(const std::vector<Vector>& of);
    double height() const { return points[top].y; }

    /// Where the head first falls below a height, to the left (-1) or right (1) of its top.
    RailPlace side(int direction, double y) const;
    /// The highest crossing of a lateral position.
    RailPlace above(double x) const;

    std::vector<Vector> points;
    std::size_t top = 0;  ///< index of the highest point
};

/// Left and right side at a height.
struct RailSides {
    RailSides(const RailHead& head, double y) : left(head.side(-1, y)), right(head.side(1, y)) {}
    QString reason() const { return left.reason.isEmpty() ? right.reason : left.reason; }
    double middle() const { return (left.at.x + right.at.x) / 2; }
    RailPlace left, right;
};

/// The points with x negated, from left to right again.
std::vector<Vector> mirrored(const std::vector<Vector>& points);

/// Whether a rail fits the nominal one only when mirrored (`other`): by the middle of its head, at a depth
/// below the top, where that lies off, else by the form of the head.
bool fitsMirrored(const RailHead& rail, const RailHead& other, const RailHead& nominal, double depth);

/// A length for messages, e.g. "14 mm".
QString shortMm(double value);

}  // namespace KvMeasure::Internal
