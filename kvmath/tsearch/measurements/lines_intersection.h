#pragma once
// Point where two segments, prolonged, meet. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Lines intersection": where the infinite lines through two segments meet. Uniform result: the point. Keys
/// "measureFirstLineIndex", "measureSecondLineIndex".
class KVMATH_EXPORT TSUMLinesIntersection : public TSUniformMeasurement {
public:
    /// Two template lines, and the name of the uniform result.
    TSUMLinesIntersection(int first, int second, const QString& name);

    /// Computes the point. False when a line has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Lines intersection"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    /// Gives both template lines.
    void getMeasureLinesIndecies(int& first, int& second) const;  // interface spelling
    /// Sets both template lines; the result stays until the next measure.
    void setMeasureLinesIndecies(int first, int second);
    /// Intersection found by the last measure, mm; both -1e100 without one.
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

}  // namespace KvMath
