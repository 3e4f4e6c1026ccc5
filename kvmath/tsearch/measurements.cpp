#include <kvmath/tsearch/measurements.h>

#include <kvmath/tsearch/bounds_p.h>
#include <kvmath/tsearch/directions_p.h>
#include <kvmath/tsearch/line_geometry.h>

namespace KvMath {

using namespace Internal;

namespace {

constexpr double kPi = 3.1415927410125732;  // single-precision pi, deliberately

const Vector kNoPoint(kNoBound, kNoBound);

Vector sum(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y}; }

Vector direction(const LinePP& line) { return between(line.p1, line.p2); }

/// a + position * (b - a); 0 gives a.
Vector pointBetween(const Vector& a, const Vector& b, double position) {
    return {a.x + position * (b.x - a.x), a.y + position * (b.y - a.y)};
}

Vector intersection(const LinePP& first, const LinePP& second) {
    LineABC l1;
    LineABC l2;
    LinePP2LineABC(first, l1);
    LinePP2LineABC(second, l2);
    Vector p;
    linesIntersection(l1, l2, p);
    return p;
}

/// Vertex of the angle drawn between two lines: where they meet, or else the start of the second.
Vector vertexOf(const LinePP& from, const LinePP& to) {
    const Vector p = intersection(from, to);
    return std::isfinite(p.x) && std::isfinite(p.y) ? p : to.p1;
}

const Vector& chosenEnd(const LinePP& line, bool isStart) { return isStart ? line.p1 : line.p2; }

}  // namespace

TSUMLength::TSUMLength(int line, const QString& name)
    : TSUniformMeasurement({}, {name}, {}), line_(line), length_(kNoBound) {}

QString TSUMLength::getType() { return QStringLiteral("Length"); }
TSMeasurement* TSUMLength::clone() { return new TSUMLength(*this); }
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

TSUMInclinationAngle::TSUMInclinationAngle(int line, const QString& name)
    : TSUniformMeasurement({}, {}, {name}), line_(line), angle_(kNoBound) {}

QString TSUMInclinationAngle::getType() { return QStringLiteral("Inclination angle"); }
TSMeasurement* TSUMInclinationAngle::clone() { return new TSUMInclinationAngle(*this); }
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

TSUMRotationAngle::TSUMRotationAngle(int from, int to, const QString& name)
    : TSUniformMeasurement({}, {}, {name}), from_(from), to_(to), angle_(kNoBound), direction_(NoDirection) {}

QString TSUMRotationAngle::getType() { return QStringLiteral("Rotation angle"); }
TSMeasurement* TSUMRotationAngle::clone() { return new TSUMRotationAngle(*this); }
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

TSUMAngleBetweenLines::TSUMAngleBetweenLines(int from, int to, const QString& name)
    : TSUniformMeasurement({}, {}, {name}), from_(from), to_(to), angle_(kNoBound) {}

QString TSUMAngleBetweenLines::getType() { return QStringLiteral("Angle between lines"); }
TSMeasurement* TSUMAngleBetweenLines::clone() { return new TSUMAngleBetweenLines(*this); }
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

TSUMLinePoint::TSUMLinePoint(int line, double position, const QString& name)
    : TSUniformMeasurement({name}, {}, {}), line_(line), position_(position), point_(kNoPoint) {}

QString TSUMLinePoint::getType() { return QStringLiteral("Line point"); }
TSMeasurement* TSUMLinePoint::clone() { return new TSUMLinePoint(*this); }
int TSUMLinePoint::getMeasureLineIndex() const { return line_; }
void TSUMLinePoint::setMeasureLineIndex(int line) { line_ = line; }
double TSUMLinePoint::getPosition() const { return position_; }
void TSUMLinePoint::setPosition(double position) { position_ = position; }
KvVector2D<double> TSUMLinePoint::getPoint() const { return point_; }

bool TSUMLinePoint::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    point_ = kNoPoint;
    LinePP line;
    if (!assignedLine(lines, indices, line_, line))
        return false;
    point_ = pointBetween(line.p1, line.p2, position_);
    addPoint(0, point_);
    return succeed();
}

TSUMLinesIntersection::TSUMLinesIntersection(int first, int second, const QString& name)
    : TSUniformMeasurement({name}, {}, {}), first_(first), second_(second), point_(kNoPoint) {}

QString TSUMLinesIntersection::getType() { return QStringLiteral("Lines intersection"); }
TSMeasurement* TSUMLinesIntersection::clone() { return new TSUMLinesIntersection(*this); }
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
    point_ = kNoPoint;
    int first = 0;
    int second = 0;
    // As stored, not as assigned: turning a segment round leaves the point but not its last bits.
    if (!assignedSegment(lines, indices, first_, first) || !assignedSegment(lines, indices, second_, second))
        return false;
    point_ = intersection(lines.at(first), lines.at(second));
    addPoint(0, point_);
    return succeed();
}

TSUMPointBetween2Points::TSUMPointBetween2Points(int from, int to, bool isLFStartPoint, bool isLTStartPoint,
                                                 double position, const QString& name)
    : TSUniformMeasurement({name}, {}, {}), from_(from), to_(to), isLFStartPoint_(isLFStartPoint),
      isLTStartPoint_(isLTStartPoint), position_(position), point_(kNoPoint) {}

QString TSUMPointBetween2Points::getType() { return QStringLiteral("Point between two points"); }
TSMeasurement* TSUMPointBetween2Points::clone() { return new TSUMPointBetween2Points(*this); }
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
    point_ = kNoPoint;
    LinePP from;
    LinePP to;
    if (!assignedLine(lines, indices, from_, from) || !assignedLine(lines, indices, to_, to))
        return false;
    point_ = pointBetween(chosenEnd(from, isLFStartPoint_), chosenEnd(to, isLTStartPoint_), position_);
    addPoint(0, point_);
    return succeed();
}

TSUMEndPointShiftInDirection::TSUMEndPointShiftInDirection(int from, int to, bool isLFStartPoint,
                                                           bool isLTStartPoint, int reference,
                                                           bool isLineReferenceReversed,
                                                           double directionAngle, const QString& name)
    : TSUniformMeasurement({}, {name}, {}), from_(from), to_(to), reference_(reference),
      isLFStartPoint_(isLFStartPoint), isLTStartPoint_(isLTStartPoint),
      isLineReferenceReversed_(isLineReferenceReversed), directionAngle_(directionAngle), shift_(kNoBound) {}

QString TSUMEndPointShiftInDirection::getType() { return QStringLiteral("Endpoint shift in direction"); }
TSMeasurement* TSUMEndPointShiftInDirection::clone() { return new TSUMEndPointShiftInDirection(*this); }
double TSUMEndPointShiftInDirection::getDirectionAngle() const { return directionAngle_; }
void TSUMEndPointShiftInDirection::setDirectionAngle(double directionAngle) {
    directionAngle_ = directionAngle;
}
bool TSUMEndPointShiftInDirection::getLineReferenceReversed() const { return isLineReferenceReversed_; }
double TSUMEndPointShiftInDirection::getShift() const { return shift_; }

void TSUMEndPointShiftInDirection::setLineReferenceReversed(bool isLineReferenceReversed) {
    isLineReferenceReversed_ = isLineReferenceReversed;
}

void TSUMEndPointShiftInDirection::getMeasureLinesIndecies(int& from, int& to, int& reference) const {
    from = from_;
    to = to_;
    reference = reference_;
}

void TSUMEndPointShiftInDirection::setMeasureLinesIndecies(int from, int to, int reference) {
    from_ = from;
    to_ = to;
    reference_ = reference;
}

void TSUMEndPointShiftInDirection::getPointsChoice(bool& isLFStartPoint, bool& isLTStartPoint) const {
    isLFStartPoint = isLFStartPoint_;
    isLTStartPoint = isLTStartPoint_;
}

void TSUMEndPointShiftInDirection::setPointsChoice(bool isLFStartPoint, bool isLTStartPoint) {
    isLFStartPoint_ = isLFStartPoint;
    isLTStartPoint_ = isLTStartPoint;
}

bool TSUMEndPointShiftInDirection::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    shift_ = kNoBound;
    LinePP from;
    LinePP to;
    LinePP reference;
    if (!assignedLine(lines, indices, from_, from) || !assignedLine(lines, indices, to_, to) ||
        !assignedLine(lines, indices, reference_, reference))
        return false;
    const Vector& a = chosenEnd(from, isLFStartPoint_);
    const Vector& b = chosenEnd(to, isLTStartPoint_);
    const Vector r =
        isLineReferenceReversed_ ? between(reference.p2, reference.p1) : between(reference.p1, reference.p2);
    shift_ = shiftAlong(between(a, b), r, std::cos(directionAngle_), std::sin(directionAngle_));
    addLine(0, a, b, shift_);
    return succeed();
}

TSUMFarLineInDirection::TSUMFarLineInDirection(const KvVector2D<double>& direction, const QString& nearName,
                                               const QString& farName, const QString& lineName)
    : TSUniformMeasurement({nearName, farName}, {lineName}, {}), direction_(direction), near_(kNoPoint),
      far_(kNoPoint) {}

QString TSUMFarLineInDirection::getType() { return QStringLiteral("Far line in direction"); }
TSMeasurement* TSUMFarLineInDirection::clone() { return new TSUMFarLineInDirection(*this); }
KvVector2D<double> TSUMFarLineInDirection::getDirection() const { return direction_; }
void TSUMFarLineInDirection::setDirection(const KvVector2D<double>& direction) { direction_ = direction; }
KvVector2D<double> TSUMFarLineInDirection::getNearPoint() const { return near_; }
KvVector2D<double> TSUMFarLineInDirection::getFarPoint() const { return far_; }

bool TSUMFarLineInDirection::measure(QList<LinePP>& lines, TSLinesIndecies& /*indices*/) {
    clearResults();
    near_ = far_ = kNoPoint;
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
