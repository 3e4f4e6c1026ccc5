#pragma once
// Constraint of the way from one segment to another along a direction. constraints.h says what all share.

#include <kvmath/tsearch/constraint.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Endpoint shift in direction": the vector from E of `from` to S of `to`, mm, along a reference: the
/// direction of `from` (or of `to`) turned counter-clockwise by directionAngle. Keys as TSCEndPointDistance,
/// "directionAngle" (double) and "isFromLineReference" (bool). Record two int32, three doubles, one byte.
class KVMATH_EXPORT TSCEndPointShiftInDirection : public TSConstraint {
public:
    TSCEndPointShiftInDirection();  ///< lines 0 and 0, no bounds, directionAngle 0, along `to`
    /// Two template lines, bounds, mm, and the reference; -1e100 is no bound.
    TSCEndPointShiftInDirection(int from, int to, double lower, double upper, double directionAngle,
                                bool isFromLineReference);

    TSConstraint* clone() override;                       ///< a copy made with new; the caller owns it
    bool check(LinePP* lines, int* assignment) override;  ///< whether the shift lies within the bounds
    int getMaximumLineIndex() override;                   ///< the greater of the two line indices
    QString getType() override;                           ///< "Endpoint shift in direction"
    bool save(QMap<QString, QVariant>& map) override;     ///< adds the keys; always true
    bool save(QDataStream& stream) override;  ///< writes the record; false when the stream does not take it
    bool load(QMap<QString, QVariant>& map) override;  ///< reads the keys, all or nothing
    bool load(QDataStream& stream) override;           ///< reads the record, all or nothing
    int getMinimumLineIndex() override;                ///< the smaller of the two line indices

    /// Sets both bounds, mm, of any sign or unset, directionAngle in
    /// [-3.1415927410125732, 3.1415927410125732] radians, never unset, and whether it turns `from` or `to`.
    /// False, nothing changed, for others.
    bool setBounds(double lower, double upper, double directionAngle, bool isFromLineReference);
    /// Gives both lines, both bounds, mm, the angle, radians, and which line it turns.
    void getContraint(int& from, int& to, double& lower, double& upper, double& directionAngle,
                      bool& isFromLineReference) const;  // interface spelling

private:
    std::array<Internal::StoredField, 6> fields();
    void updateRotation();

    int from_;
    int to_;
    double lower_;
    double upper_;
    double directionAngle_;
    bool isFromLineReference_;
    double cos_;  // of directionAngle_
    double sin_;
};

}  // namespace KvMath
