#include <kvmath/tsearch/measurements/line_point.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMLinePoint, "Line point", 0, 0, QString())

std::array<StoredField, 2> TSUMLinePoint::fields() {
    return {storedIndex("measureLineIndex", line_), storedNumber("position", position_)};
}

TSUMLinePoint::TSUMLinePoint(int line, double position, const QString& name)
    : TSUniformMeasurement({name}, {}, {}), line_(line), position_(position), point_(noPoint()) {}

int TSUMLinePoint::getMeasureLineIndex() const { return line_; }
void TSUMLinePoint::setMeasureLineIndex(int line) { line_ = line; }
double TSUMLinePoint::getPosition() const { return position_; }
void TSUMLinePoint::setPosition(double position) { position_ = position; }
KvVector2D<double> TSUMLinePoint::getPoint() const { return point_; }

bool TSUMLinePoint::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    point_ = noPoint();
    LinePP line;
    if (!assignedLine(lines, indices, line_, line))
        return false;
    point_ = pointBetween(line.p1, line.p2, position_);
    addPoint(0, point_);
    return succeed();
}

}  // namespace KvMath
