#pragma once
// Angle that two segments enclose. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Angle between lines": with a and the sense of TSUMRotationAngle, pi + a for a counter-clockwise turn,
/// otherwise pi - a; pi is 3.1415927410125732. So equally directed lines give pi, a quarter turn
/// counter-clockwise gives 3/2 pi; the largest value is 9e-8 above 2 pi. Uniform result and keys as
/// TSUMRotationAngle.
class KVMATH_EXPORT TSUMAngleBetweenLines : public TSUniformMeasurement {
public:
    /// Two template lines, and the name of the uniform result.
    TSUMAngleBetweenLines(int from, int to, const QString& name);

    /// Measures the angle. False when a line has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Angle between lines"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    /// Gives both template lines.
    void getMeasureLinesIndecies(int& from, int& to) const;  // interface spelling
    /// Sets both template lines; the result stays until the next measure.
    void setMeasureLinesIndecies(int from, int to);
    double getAngle() const;  ///< angle of the last measure, radians; -1e100 without one

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

}  // namespace KvMath
