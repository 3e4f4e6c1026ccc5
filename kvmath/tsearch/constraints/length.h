#pragma once
// Constraint of the length of a segment. constraints.h says what all share.

#include <kvmath/tsearch/constraint.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Length": |E - S| of one line, mm. Keys "lineIndex", "lowerBound", "upperBound"; record int32, two
/// doubles.
class KVMATH_EXPORT TSCLength : public TSConstraint {
public:
    TSCLength();  ///< line 0, no bounds
    /// Template line and bounds, mm; -1e100 is no bound.
    TSCLength(int line, double lower, double upper);

    TSConstraint* clone() override;                       ///< a copy made with new; the caller owns it
    bool check(LinePP* lines, int* assignment) override;  ///< whether the length lies within the bounds
    int getMaximumLineIndex() override;                   ///< index of the line
    QString getType() override;                           ///< "Length"
    bool save(QMap<QString, QVariant>& map) override;     ///< adds the keys; always true
    bool save(QDataStream& stream) override;  ///< writes the record; false when the stream does not take it
    bool load(QMap<QString, QVariant>& map) override;  ///< reads the keys, all or nothing
    bool load(QDataStream& stream) override;           ///< reads the record, all or nothing

    /// Sets both bounds, mm, each >= 0 or unset. False, nothing changed, for others.
    bool setBounds(double lower, double upper);
    /// Gives the line and both bounds, mm.
    void getContraint(int& line, double& lower, double& upper) const;  // interface spelling

private:
    std::array<Internal::StoredField, 3> fields();

    int line_;
    double lower_;
    double upper_;
};

}  // namespace KvMath
