#include <kvmath/tsearch/measurements/rotation_angle.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMRotationAngle, "Rotation angle", 0, 0, QString())

std::array<StoredField, 2> TSUMRotationAngle::fields() {
    return {storedIndex("measureLineFromIndex", from_), storedIndex("measureLineToIndex", to_)};
}

TSUMRotationAngle::TSUMRotationAngle(int from, int to, const QString& name)
    : TSUniformMeasurement({}, {}, {name}), from_(from), to_(to), angle_(kNoBound), direction_(NoDirection) {}

double TSUMRotationAngle::getAngle() const { return angle_; }
TSUMRotationAngle::Direction TSUMRotationAngle::getDirection() const { return direction_; }

void TSUMRotationAngle::getMeasureLinesIndecies(int& from, int& to) const {
    from = from_;
    to = to_;
}

void TSUMRotationAngle::setMeasureLinesIndecies(int from, int to) {
    from_ = from;
    to_ = to;
}

bool TSUMRotationAngle::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    angle_ = kNoBound;
    direction_ = NoDirection;
    LinePP from;
    LinePP to;
    if (!assignedLine(lines, indices, from_, from) || !assignedLine(lines, indices, to_, to))
        return false;
    const Vector u = direction(from);
    const Vector w = direction(to);
    angle_ = angleBetween(u, w);
    direction_ = static_cast<Direction>(turnBetween(u, w));
    if (isAngleActive(0)) {
        const Vector vertex = vertexOf(from, to);
        addAngle(0, vertex, sum(vertex, u), sum(vertex, w), angle_);
    }
    return succeed();
}

}  // namespace KvMath
