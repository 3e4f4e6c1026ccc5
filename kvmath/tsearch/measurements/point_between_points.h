#pragma once
// Point between the ends of two segments. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Point between two points": A + position * (B - A) between one end A of `from` and one end B of `to`.
/// Uniform result: the point. Keys "measureLineFromIndex", "measureLineToIndex", "isLFStartPoint",
/// "isLTStartPoint", "position".
class KVMATH_EXPORT TSUMPointBetween2Points : public TSUniformMeasurement {
public:
    /// Two template lines, which ends of them, the share of the way, and the name of the uniform result.
    TSUMPointBetween2Points(int from, int to, bool isLFStartPoint, bool isLTStartPoint, double position,
                            const QString& name);

    /// Computes the point. False when a line has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Point between two points"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    /// Gives both template lines.
    void getMeasureLinesIndecies(int& from, int& to) const;  // interface spelling
    /// Sets both template lines; the result stays until the next measure.
    void setMeasureLinesIndecies(int from, int to);
    /// Gives the chosen ends: true is the start of the line, false its end.
    void getPointsChoice(bool& isLFStartPoint, bool& isLTStartPoint) const;
    /// Chooses the ends: true is the start of the line, false its end.
    void setPointsChoice(bool isLFStartPoint, bool isLTStartPoint);
    double getPosition() const;           ///< share of the way, 0 to 1 between the ends
    void setPosition(double position);    ///< sets the share of the way; any number
    KvVector2D<double> getPoint() const;  ///< point of the last measure, mm; both -1e100 without one

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

}  // namespace KvMath
