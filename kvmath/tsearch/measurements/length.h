#pragma once
// Length of a segment. measurements.h says what all share.

#include <kvmath/tsearch/measurement.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Length": |E - S|. Uniform result: a line from S to E with the length. Key "measureLineIndex".
class KVMATH_EXPORT TSUMLength : public TSUniformMeasurement {
public:
    /// A template line, and the name of the uniform result.
    TSUMLength(int line, const QString& name);

    /// Measures the length. False when the line has no segment.
    bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) override;
    QString getType() override;       ///< "Length"
    TSMeasurement* clone() override;  ///< a copy made with new; the caller owns it

    int getMeasureLineIndex() const;  ///< template line to be measured
    /// Sets the template line; the result stays until the next measure.
    void setMeasureLineIndex(int line);
    double getLength() const;  ///< length of the last measure, mm; -1e100 without one

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

}  // namespace KvMath
