#include <kvmath/tsearch/measurements/far_line_in_direction.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMFarLineInDirection, "Far line in direction", Vector(), QString(), QString(), QString())

std::array<StoredField, 2> TSUMFarLineInDirection::fields() {
    return {storedNumber("directionX", direction_.x), storedNumber("directionY", direction_.y)};
}

TSUMFarLineInDirection::TSUMFarLineInDirection(const KvVector2D<double>& direction, const QString& nearName,
                                               const QString& farName, const QString& lineName)
    : TSUniformMeasurement({nearName, farName}, {lineName}, {}), direction_(direction), near_(noPoint()),
      far_(noPoint()) {}

KvVector2D<double> TSUMFarLineInDirection::getDirection() const { return direction_; }
void TSUMFarLineInDirection::setDirection(const KvVector2D<double>& direction) { direction_ = direction; }
KvVector2D<double> TSUMFarLineInDirection::getNearPoint() const { return near_; }
KvVector2D<double> TSUMFarLineInDirection::getFarPoint() const { return far_; }

bool TSUMFarLineInDirection::measure(QList<LinePP>& lines, TSLinesIndecies& /*indices*/) {
    clearResults();
    near_ = far_ = noPoint();
    if (lines.isEmpty() || !isBound(direction_.x) || !isBound(direction_.y))
        return false;
    const auto projection = [this](const Vector& p) { return p.x * direction_.x + p.y * direction_.y; };
    near_ = lines.at(0).p1;
    far_ = lines.at(0).p2;
    double greatest = projection(near_);
    const auto consider = [&](const Vector& end, const Vector& other) {
        const double candidate = projection(end);
        if (!(candidate > greatest))
            return;
        greatest = candidate;
        near_ = end;
        far_ = other;
    };
    for (const LinePP& line : static_cast<const QList<LinePP>&>(lines)) {
        consider(line.p1, line.p2);
        consider(line.p2, line.p1);
    }
    addPoint(0, near_);
    addPoint(1, far_);
    addLine(0, near_, far_, lengthOf(between(near_, far_)));
    return succeed();
}

}  // namespace KvMath
