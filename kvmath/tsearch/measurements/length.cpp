#include <kvmath/tsearch/measurements/length.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMLength, "Length", 0, QString())

std::array<StoredField, 1> TSUMLength::fields() { return {storedIndex("measureLineIndex", line_)}; }

TSUMLength::TSUMLength(int line, const QString& name)
    : TSUniformMeasurement({}, {name}, {}), line_(line), length_(kNoBound) {}

int TSUMLength::getMeasureLineIndex() const { return line_; }
void TSUMLength::setMeasureLineIndex(int line) { line_ = line; }
double TSUMLength::getLength() const { return length_; }

bool TSUMLength::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    length_ = kNoBound;
    LinePP line;
    if (!assignedLine(lines, indices, line_, line))
        return false;
    length_ = lengthOf(direction(line));
    addLine(0, line.p1, line.p2, length_);
    return succeed();
}

}  // namespace KvMath
