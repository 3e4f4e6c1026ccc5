#pragma once
// Outermost end of all segments in a direction. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Far line in direction": of the end points of all found segments, assigned or not, the one farthest along
/// a direction (the first of several), and the other end of its segment. False without segments or when a
/// component of the direction is -1e100. Uniform results: the near point, the far point, and a line between
/// them with its length. Keys "directionX", "directionY".
class KVMATH_EXPORT TSUMFarLineInDirection : public TSUniformMeasurement {
public:
    /// A direction of any length, and the names of the three uniform results.
    TSUMFarLineInDirection(const KvVector2D<double>& direction, const QString& nearName,
                           const QString& farName, const QString& lineName);

    /// Finds the segment; `indices` is not read. False without segments or a direction.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Far line in direction"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    KvVector2D<double> getDirection() const;                 ///< direction in which an end point is far
    void setDirection(const KvVector2D<double>& direction);  ///< sets the direction, of any length
    KvVector2D<double> getNearPoint() const;  ///< the farthest end point, mm; both -1e100 without one
    /// The other end of its segment, mm; both -1e100 without one.
    KvVector2D<double> getFarPoint() const;

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
