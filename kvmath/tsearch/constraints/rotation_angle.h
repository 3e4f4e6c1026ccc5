#pragma once
// Constraint of the turn from one segment to another. constraints.h says what all share.

#include <kvmath/tsearch/constraint.h>

#include <array>

namespace KvMath {

namespace Internal {
struct StoredField;
}

/// "Rotation angle": angle between the directions of `from` and `to`, radians in [0, pi], and the sense of
/// the turn, which is judged even when both bounds are unset. Keys as TSCEndPointDistance, and "direction"
/// (int), written when it is not 0 and read as 0 when missing. Record two int32, two doubles, int32.
class KVMATH_EXPORT TSCRotationAngle : public TSConstraint {
public:
    /// Sense of the turn from `from` to `to`. Collinear lines turn Clockwise. Any other value rejects
    /// everything.
    enum Direction : int { AnyDirection = 0, CounterClockwise = 1, Clockwise = 2 };

    TSCRotationAngle();  ///< lines 0 and 0, no bounds, any sense
    /// Two template lines, bounds, radians, and a sense; -1e100 is no bound.
    TSCRotationAngle(int from, int to, double lower, double upper, Direction direction);

    TSConstraint* clone() override;  ///< a copy made with new; the caller owns it
    /// Whether the angle lies within the bounds and the sense of the turn is right.
    bool check(LinePP* lines, int* assignment) override;
    int getMaximumLineIndex() override;                ///< the greater of the two line indices
    QString getType() override;                        ///< "Rotation angle"
    bool save(QMap<QString, QVariant>& map) override;  ///< adds the keys; always true
    bool save(QDataStream& stream) override;  ///< writes the record; false when the stream does not take it
    bool load(QMap<QString, QVariant>& map) override;  ///< reads the keys, all or nothing
    bool load(QDataStream& stream) override;           ///< reads the record, all or nothing
    int getMinimumLineIndex() override;                ///< the smaller of the two line indices

    /// Sets both bounds, radians, each in [0, 3.1415927410125732] or unset, and the sense, which is not
    /// checked. False, nothing changed, for other bounds.
    bool setBounds(double lower, double upper, Direction direction);
    /// Gives both lines, both bounds, radians, and the sense.
    void getContraint(int& from, int& to, double& lower, double& upper,
                      Direction& direction) const;  // interface spelling

private:
    std::array<Internal::StoredField, 5> fields();

    int from_;
    int to_;
    double lower_;
    double upper_;
    int direction_;  // a Direction
};

}  // namespace KvMath
