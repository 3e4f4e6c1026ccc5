#include <kvmath/tsearch/measurements/inclination_angle.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMInclinationAngle, "Inclination angle", 0, QString())

std::array<StoredField, 1> TSUMInclinationAngle::fields() { return {storedIndex("measureLineIndex", line_)}; }

TSUMInclinationAngle::TSUMInclinationAngle(int line, const QString& name)
    : TSUniformMeasurement({}, {}, {name}), line_(line), angle_(kNoBound) {}

int TSUMInclinationAngle::getMeasureLineIndex() const { return line_; }
void TSUMInclinationAngle::setMeasureLineIndex(int line) { line_ = line; }
double TSUMInclinationAngle::getAngle() const { return angle_; }

bool TSUMInclinationAngle::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    angle_ = kNoBound;
    LinePP line;
    if (!assignedLine(lines, indices, line_, line))
        return false;
    const Vector d = direction(line);
    angle_ = inclinationOf(d);
    addAngle(0, line.p1, {line.p1.x + lengthOf(d), line.p1.y}, line.p2, angle_);
    return succeed();
}

}  // namespace KvMath
