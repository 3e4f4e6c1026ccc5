#include <kvmath/tsearch/measurements/lines_intersection.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMLinesIntersection, "Lines intersection", 0, 0, QString())

std::array<StoredField, 2> TSUMLinesIntersection::fields() {
    return {storedIndex("measureFirstLineIndex", first_), storedIndex("measureSecondLineIndex", second_)};
}

TSUMLinesIntersection::TSUMLinesIntersection(int first, int second, const QString& name)
    : TSUniformMeasurement({name}, {}, {}), first_(first), second_(second), point_(noPoint()) {}

KvVector2D<double> TSUMLinesIntersection::getIntersectionPoint() const { return point_; }

void TSUMLinesIntersection::getMeasureLinesIndecies(int& first, int& second) const {
    first = first_;
    second = second_;
}

void TSUMLinesIntersection::setMeasureLinesIndecies(int first, int second) {
    first_ = first;
    second_ = second;
}

bool TSUMLinesIntersection::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    point_ = noPoint();
    int first = 0;
    int second = 0;
    // As stored, not as assigned: turning a segment round leaves the point but not its last bits.
    if (!assignedSegment(lines, indices, first_, first) || !assignedSegment(lines, indices, second_, second))
        return false;
    point_ = intersection(lines.at(first), lines.at(second));
    addPoint(0, point_);
    return succeed();
}

}  // namespace KvMath
