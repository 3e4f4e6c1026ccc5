#pragma once
// Constraint of the gap between two segments. constraints.h says what all share.

#include <kvmath/tsearch/constraint.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Endpoint distance": distance from E of line `from` to S of line `to`, mm. Keys "lineFromIndex",
/// "lineToIndex", "lowerBound", "upperBound"; record two int32, two doubles.
class KVMATH_EXPORT TSCEndPointDistance : public TSConstraint {
public:
    TSCEndPointDistance();  ///< lines 0 and 0, no bounds
    /// Two template lines and bounds, mm; -1e100 is no bound.
    TSCEndPointDistance(int from, int to, double lower, double upper);

    TSConstraint* clone() override;                       ///< a copy made with new; the caller owns it
    bool check(LinePP* lines, int* assignment) override;  ///< whether the distance lies within the bounds
    int getMaximumLineIndex() override;                   ///< the greater of the two line indices
    QString getType() override;                           ///< "Endpoint distance"
    bool save(QMap<QString, QVariant>& map) override;     ///< adds the keys; always true
    bool save(QDataStream& stream) override;  ///< writes the record; false when the stream does not take it
    bool load(QMap<QString, QVariant>& map) override;  ///< reads the keys, all or nothing
    bool load(QDataStream& stream) override;           ///< reads the record, all or nothing
    int getMinimumLineIndex() override;                ///< the smaller of the two line indices

    /// Sets both bounds, mm, each >= 0 or unset. False, nothing changed, for others.
    bool setBounds(double lower, double upper);
    /// Gives both lines and both bounds, mm.
    void getContraint(int& from, int& to, double& lower, double& upper) const;  // interface spelling

private:
    std::array<Internal::StoredField, 4> fields();

    int from_;
    int to_;
    double lower_;
    double upper_;
};

}  // namespace KvMath
