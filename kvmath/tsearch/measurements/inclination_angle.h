#pragma once
// Direction of a segment. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Inclination angle": angle from the +x axis to E - S in (-pi, pi], counter-clockwise positive; along -x it
/// is +pi. Uniform result: an angle at S, arms to S + (|E - S|, 0) and to E. Key "measureLineIndex".
class KVMATH_EXPORT TSUMInclinationAngle : public TSUniformMeasurement {
public:
    /// A template line, and the name of the uniform result.
    TSUMInclinationAngle(int line, const QString& name);

    /// Measures the angle. False when the line has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Inclination angle"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    int getMeasureLineIndex() const;  ///< template line to be measured
    /// Sets the template line; the result stays until the next measure.
    void setMeasureLineIndex(int line);
    double getAngle() const;  ///< angle of the last measure, radians; -1e100 without one

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

}  // namespace KvMath
