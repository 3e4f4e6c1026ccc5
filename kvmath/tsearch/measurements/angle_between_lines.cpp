#include <kvmath/tsearch/measurements/angle_between_lines.h>

#include <kvmath/base/constants_p.h>
#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>
#include <kvmath/tsearch/measurements/rotation_angle.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMAngleBetweenLines, "Angle between lines", 0, 0, QString())

std::array<StoredField, 2> TSUMAngleBetweenLines::fields() {
    return {storedIndex("measureLineFromIndex", from_), storedIndex("measureLineToIndex", to_)};
}

TSUMAngleBetweenLines::TSUMAngleBetweenLines(int from, int to, const QString& name)
    : TSUniformMeasurement({}, {}, {name}), from_(from), to_(to), angle_(kNoBound) {}

double TSUMAngleBetweenLines::getAngle() const { return angle_; }

void TSUMAngleBetweenLines::getMeasureLinesIndecies(int& from, int& to) const {
    from = from_;
    to = to_;
}

void TSUMAngleBetweenLines::setMeasureLinesIndecies(int from, int to) {
    from_ = from;
    to_ = to;
}

bool TSUMAngleBetweenLines::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    angle_ = kNoBound;
    LinePP from;
    LinePP to;
    if (!assignedLine(lines, indices, from_, from) || !assignedLine(lines, indices, to_, to))
        return false;
    const Vector u = direction(from);
    const Vector w = direction(to);
    const double rotation = angleBetween(u, w);
    // By design the sense decides the side of pi, so that lines of equal direction enclose pi.
    angle_ = turnBetween(u, w) == TSUMRotationAngle::CounterClockwise ? rotation + kPi : kPi - rotation;
    if (isAngleActive(0)) {
        const Vector vertex = vertexOf(from, to);
        addAngle(0, vertex, sum(vertex, u), sum(vertex, w), angle_);
    }
    return succeed();
}

}  // namespace KvMath
