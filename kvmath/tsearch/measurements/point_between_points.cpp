#include <kvmath/tsearch/measurements/point_between_points.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMPointBetween2Points, "Point between two points", 0, 0, false, false, 0, QString())

std::array<StoredField, 5> TSUMPointBetween2Points::fields() {
    return {storedIndex("measureLineFromIndex", from_), storedIndex("measureLineToIndex", to_),
            storedFlag("isLFStartPoint", isLFStartPoint_), storedFlag("isLTStartPoint", isLTStartPoint_),
            storedNumber("position", position_)};
}

TSUMPointBetween2Points::TSUMPointBetween2Points(int from, int to, bool isLFStartPoint, bool isLTStartPoint,
                                                 double position, const QString& name)
    : TSUniformMeasurement({name}, {}, {}), from_(from), to_(to), isLFStartPoint_(isLFStartPoint),
      isLTStartPoint_(isLTStartPoint), position_(position), point_(noPoint()) {}

double TSUMPointBetween2Points::getPosition() const { return position_; }
void TSUMPointBetween2Points::setPosition(double position) { position_ = position; }
KvVector2D<double> TSUMPointBetween2Points::getPoint() const { return point_; }

void TSUMPointBetween2Points::getMeasureLinesIndecies(int& from, int& to) const {
    from = from_;
    to = to_;
}

void TSUMPointBetween2Points::setMeasureLinesIndecies(int from, int to) {
    from_ = from;
    to_ = to;
}

void TSUMPointBetween2Points::getPointsChoice(bool& isLFStartPoint, bool& isLTStartPoint) const {
    isLFStartPoint = isLFStartPoint_;
    isLTStartPoint = isLTStartPoint_;
}

void TSUMPointBetween2Points::setPointsChoice(bool isLFStartPoint, bool isLTStartPoint) {
    isLFStartPoint_ = isLFStartPoint;
    isLTStartPoint_ = isLTStartPoint;
}

bool TSUMPointBetween2Points::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    point_ = noPoint();
    LinePP from;
    LinePP to;
    if (!assignedLine(lines, indices, from_, from) || !assignedLine(lines, indices, to_, to))
        return false;
    point_ = pointBetween(chosenEnd(from, isLFStartPoint_), chosenEnd(to, isLTStartPoint_), position_);
    addPoint(0, point_);
    return succeed();
}

}  // namespace KvMath
