#pragma once
// Point on a segment. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Line point": S + position * (E - S); outside 0 ... 1 it lies on the prolonged line. Uniform result: the
/// point. Keys "measureLineIndex", "position".
class KVMATH_EXPORT TSUMLinePoint : public TSUniformMeasurement {
public:
    /// A template line, the share of the way along it, and the name of the uniform result.
    TSUMLinePoint(int line, double position, const QString& name);

    /// Computes the point. False when the line has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Line point"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    int getMeasureLineIndex() const;  ///< template line to be measured
    /// Sets the template line; the result stays until the next measure.
    void setMeasureLineIndex(int line);
    double getPosition() const;           ///< share of the way, 0 to 1 between the ends
    void setPosition(double position);    ///< sets the share of the way; any number
    KvVector2D<double> getPoint() const;  ///< point of the last measure, mm; both -1e100 without one

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

}  // namespace KvMath
