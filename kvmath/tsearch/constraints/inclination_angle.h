#pragma once
// Constraint of the direction of a segment. constraints.h says what all share.

#include <kvmath/tsearch/constraint.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Inclination angle": angle from the +x axis to E - S of one line, radians in (-pi, pi], counter-clockwise
/// positive. A line along -x has +pi. Keys and record as TSCLength.
class KVMATH_EXPORT TSCInclinationAngle : public TSConstraint {
public:
    TSCInclinationAngle();  ///< line 0, no bounds
    /// Template line and bounds, radians; -1e100 is no bound.
    TSCInclinationAngle(int line, double lower, double upper);

    TSConstraint* clone() override;                       ///< a copy made with new; the caller owns it
    bool check(LinePP* lines, int* assignment) override;  ///< whether the angle lies within the bounds
    int getMaximumLineIndex() override;                   ///< index of the line
    QString getType() override;                           ///< "Inclination angle"
    bool save(QMap<QString, QVariant>& map) override;     ///< adds the keys; always true
    bool save(QDataStream& stream) override;  ///< writes the record; false when the stream does not take it
    bool load(QMap<QString, QVariant>& map) override;  ///< reads the keys, all or nothing
    bool load(QDataStream& stream) override;           ///< reads the record, all or nothing

    /// Sets both bounds, radians, each in [-3.1415927410125732, 3.1415927410125732] or unset. False, nothing
    /// changed, for others.
    bool setBounds(double lower, double upper);
    /// Gives the line and both bounds, radians.
    void getContraint(int& line, double& lower, double& upper) const;  // interface spelling

private:
    std::array<Internal::StoredField, 3> fields();

    int line_;
    double lower_;
    double upper_;
};

}  // namespace KvMath
