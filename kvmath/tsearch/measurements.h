#pragma once
// The nine measurements of the library.
//
// Line arguments are template lines. S and E are start and end of the segment that stands for a line, in its
// assigned orientation. Lengths are millimetres, angles radians. `measure` is false, and every result -1e100,
// when a line has no segment (TSUMFarLineInDirection has its own conditions). Degenerate geometry is not
// guarded: a direction taken from a segment of length zero, or the intersection of parallel lines, is not
// finite, and `measure` is true. Names are those of the uniform results, in the order of the class's
// constructor.
//
// Map form: the keys listed, numbers of any type accepted where a line (rounded), a double or a flag belongs.
// Record: the parameters in the order of the keys, int32, double, or one byte for a flag.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Length": |E - S|. Uniform result: a line from S to E with the length. Key "measureLineIndex".
class KVMATH_EXPORT TSUMLength : public TSUniformMeasurement {
public:
    TSUMLength(int line, const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    int getMeasureLineIndex() const;
    void setMeasureLineIndex(int line);
    double getLength() const;  ///< mm

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 1> fields();

    int line_;
    double length_;
};

/// "Inclination angle": angle from the +x axis to E - S in (-pi, pi], counter-clockwise positive; along -x it
/// is +pi. Uniform result: an angle at S, arms to S + (|E - S|, 0) and to E. Key "measureLineIndex".
class KVMATH_EXPORT TSUMInclinationAngle : public TSUniformMeasurement {
public:
    TSUMInclinationAngle(int line, const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    int getMeasureLineIndex() const;
    void setMeasureLineIndex(int line);
    double getAngle() const;  ///< radians

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 1> fields();

    int line_;
    double angle_;
};

/// "Rotation angle": angle between the directions of `from` and `to` in [0, pi], and the sense of the turn.
/// Uniform result: an angle at the intersection of the lines (at S of `to` where that is not finite), its
/// arms reach as far as the directions E - S of `from` and `to`. Keys "measureLineFromIndex",
/// "measureLineToIndex".
class KVMATH_EXPORT TSUMRotationAngle : public TSUniformMeasurement {
public:
    /// NoDirection before a measure and after a failed one. Collinear lines turn Clockwise.
    enum Direction : int { NoDirection = 0, CounterClockwise = 1, Clockwise = 2 };

    TSUMRotationAngle(int from, int to, const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    void getMeasureLinesIndecies(int& from, int& to) const;  // interface spelling
    void setMeasureLinesIndecies(int from, int to);
    double getAngle() const;  ///< radians
    Direction getDirection() const;

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 2> fields();

    int from_;
    int to_;
    double angle_;
    Direction direction_;
};

/// "Angle between lines": with a and the sense of TSUMRotationAngle, pi + a for a counter-clockwise turn,
/// otherwise pi - a; pi is 3.1415927410125732. So equally directed lines give pi, a quarter turn
/// counter-clockwise gives 3/2 pi; the largest value is 9e-8 above 2 pi. Uniform result and keys as
/// TSUMRotationAngle.
class KVMATH_EXPORT TSUMAngleBetweenLines : public TSUniformMeasurement {
public:
    TSUMAngleBetweenLines(int from, int to, const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    void getMeasureLinesIndecies(int& from, int& to) const;  // interface spelling
    void setMeasureLinesIndecies(int from, int to);
    double getAngle() const;  ///< radians

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 2> fields();

    int from_;
    int to_;
    double angle_;
};

/// "Line point": S + position * (E - S); outside 0 ... 1 it lies on the prolonged line. Uniform result: the
/// point. Keys "measureLineIndex", "position".
class KVMATH_EXPORT TSUMLinePoint : public TSUniformMeasurement {
public:
    TSUMLinePoint(int line, double position, const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    int getMeasureLineIndex() const;
    void setMeasureLineIndex(int line);
    double getPosition() const;
    void setPosition(double position);
    KvVector2D<double> getPoint() const;

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 2> fields();

    int line_;
    double position_;
    KvVector2D<double> point_;
};

/// "Lines intersection": where the infinite lines through two segments meet. Uniform result: the point. Keys
/// "measureFirstLineIndex", "measureSecondLineIndex".
class KVMATH_EXPORT TSUMLinesIntersection : public TSUniformMeasurement {
public:
    TSUMLinesIntersection(int first, int second, const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    void getMeasureLinesIndecies(int& first, int& second) const;  // interface spelling
    void setMeasureLinesIndecies(int first, int second);
    KvVector2D<double> getIntersectionPoint() const;

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 2> fields();

    int first_;
    int second_;
    KvVector2D<double> point_;
};

/// "Point between two points": A + position * (B - A) between one end A of `from` and one end B of `to`.
/// Uniform result: the point. Keys "measureLineFromIndex", "measureLineToIndex", "isLFStartPoint",
/// "isLTStartPoint", "position".
class KVMATH_EXPORT TSUMPointBetween2Points : public TSUniformMeasurement {
public:
    TSUMPointBetween2Points(int from, int to, bool isLFStartPoint, bool isLTStartPoint, double position,
                            const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    void getMeasureLinesIndecies(int& from, int& to) const;  // interface spelling
    void setMeasureLinesIndecies(int from, int to);
    /// True chooses the start of the line, false its end.
    void getPointsChoice(bool& isLFStartPoint, bool& isLTStartPoint) const;
    void setPointsChoice(bool isLFStartPoint, bool isLTStartPoint);
    double getPosition() const;
    void setPosition(double position);
    KvVector2D<double> getPoint() const;

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 5> fields();

    int from_;
    int to_;
    bool isLFStartPoint_;
    bool isLTStartPoint_;
    double position_;
    KvVector2D<double> point_;
};

/// "Endpoint shift in direction": the vector from one end A of `from` to one end B of `to`, along a third
/// line turned counter-clockwise by directionAngle; with isLineReferenceReversed that line runs from E to S.
/// Uniform result: a line from A to B with the shift. Keys "measureLineFromIndex", "measureLineToIndex",
/// "measureLineReferenceIndex", "isLFStartPoint", "isLTStartPoint", "isLineReferenceReversed",
/// "directionAngle".
class KVMATH_EXPORT TSUMEndPointShiftInDirection : public TSUniformMeasurement {
public:
    TSUMEndPointShiftInDirection(int from, int to, bool isLFStartPoint, bool isLTStartPoint, int reference,
                                 bool isLineReferenceReversed, double directionAngle, const QString& name);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    void getMeasureLinesIndecies(int& from, int& to, int& reference) const;  // interface spelling
    void setMeasureLinesIndecies(int from, int to, int reference);
    /// True chooses the start of the line, false its end.
    void getPointsChoice(bool& isLFStartPoint, bool& isLTStartPoint) const;
    void setPointsChoice(bool isLFStartPoint, bool isLTStartPoint);
    double getDirectionAngle() const;  ///< radians
    void setDirectionAngle(double directionAngle);
    bool getLineReferenceReversed() const;
    void setLineReferenceReversed(bool isLineReferenceReversed);
    double getShift() const;  ///< mm, signed

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 7> fields();

    int from_;
    int to_;
    int reference_;
    bool isLFStartPoint_;
    bool isLTStartPoint_;
    bool isLineReferenceReversed_;
    double directionAngle_;
    double shift_;
};

/// "Far line in direction": of the end points of all found segments, assigned or not, the one farthest along
/// a direction (the first of several), and the other end of its segment. False without segments or when a
/// component of the direction is -1e100. Uniform results: the near point, the far point, and a line between
/// them with its length. Keys "directionX", "directionY".
class KVMATH_EXPORT TSUMFarLineInDirection : public TSUniformMeasurement {
public:
    TSUMFarLineInDirection(const KvVector2D<double>& direction, const QString& nearName,
                           const QString& farName, const QString& lineName);

    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;
    TSMeasurement* clone() override;

    KvVector2D<double> getDirection() const;
    void setDirection(const KvVector2D<double>& direction);
    KvVector2D<double> getNearPoint() const;  ///< the farthest end point
    KvVector2D<double> getFarPoint() const;   ///< the other end of its segment

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& map) override;
    bool saveConcreteUniform(QDataStream& stream) override;
    bool loadConcreteUniform(QMap<QString, QVariant>& map) override;
    bool loadConcreteUniform(QDataStream& stream) override;

private:
    std::array<Internal::StoredField, 2> fields();

    KvVector2D<double> direction_;
    KvVector2D<double> near_;
    KvVector2D<double> far_;
};

}  // namespace KvMath
