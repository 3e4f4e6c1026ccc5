#pragma once
// Turn from one segment to another. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Rotation angle": angle between the directions of `from` and `to` in [0, pi], and the sense of the turn.
/// Uniform result: an angle at the intersection of the lines (at S of `to` where that is not finite), its
/// arms reach as far as the directions E - S of `from` and `to`. Keys "measureLineFromIndex",
/// "measureLineToIndex".
class KVMATH_EXPORT TSUMRotationAngle : public TSUniformMeasurement {
public:
    /// NoDirection before a measure and after a failed one. Collinear lines turn Clockwise.
    enum Direction : int { NoDirection = 0, CounterClockwise = 1, Clockwise = 2 };

    /// Two template lines, and the name of the uniform result.
    TSUMRotationAngle(int from, int to, const QString& name);

    /// Measures angle and sense. False when a line has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Rotation angle"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    /// Gives both template lines.
    void getMeasureLinesIndecies(int& from, int& to) const;  // interface spelling
    /// Sets both template lines; the result stays until the next measure.
    void setMeasureLinesIndecies(int from, int to);
    double getAngle() const;         ///< angle of the last measure, radians in [0, pi]; -1e100 without one
    Direction getDirection() const;  ///< sense of the turn in the last measure

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

}  // namespace KvMath
