#pragma once
// Way from one end of a segment to another along a direction. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Endpoint shift in direction": the vector from one end A of `from` to one end B of `to`, along a third
/// line turned counter-clockwise by directionAngle; with isLineReferenceReversed that line runs from E to S.
/// Uniform result: a line from A to B with the shift. Keys "measureLineFromIndex", "measureLineToIndex",
/// "measureLineReferenceIndex", "isLFStartPoint", "isLTStartPoint", "isLineReferenceReversed",
/// "directionAngle".
class KVMATH_EXPORT TSUMEndPointShiftInDirection : public TSUniformMeasurement {
public:
    /// Three template lines, which ends of the first two, the direction, radians, and the name of the uniform
    /// result.
    TSUMEndPointShiftInDirection(int from, int to, bool isLFStartPoint, bool isLTStartPoint, int reference,
                                 bool isLineReferenceReversed, double directionAngle, const QString& name);

    /// Measures the shift. False when one of the three lines has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Endpoint shift in direction"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    /// Gives the three template lines.
    void getMeasureLinesIndecies(int& from, int& to, int& reference) const;  // interface spelling
    /// Sets the three template lines; the result stays until the next measure.
    void setMeasureLinesIndecies(int from, int to, int reference);
    /// Gives the chosen ends: true is the start of the line, false its end.
    void getPointsChoice(bool& isLFStartPoint, bool& isLTStartPoint) const;
    /// Chooses the ends: true is the start of the line, false its end.
    void setPointsChoice(bool isLFStartPoint, bool isLTStartPoint);
    double getDirectionAngle() const;               ///< angle by which the reference is turned, radians
    void setDirectionAngle(double directionAngle);  ///< sets that angle, radians; any number
    bool getLineReferenceReversed() const;          ///< true when the reference runs from E to S
    /// Chooses whether the reference runs from E to S.
    void setLineReferenceReversed(bool isLineReferenceReversed);
    double getShift() const;  ///< shift of the last measure, mm, signed; -1e100 without one

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

}  // namespace KvMath
