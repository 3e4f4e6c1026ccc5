#pragma once
// The six constraints of the library.
//
// A bound of exactly -1e100 is unset and never rejects. A bound rejects values beyond it; a value on the
// bound passes, and so does a NaN value (segment of length zero). S and E are start and end of a segment in
// its assigned orientation. Lengths and bounds are compared squared: a lower bound of -6 that was not set
// through setBounds acts as 6.
//
// setBounds returns false and changes nothing for a NaN, for upper < lower (both set) and for a set value
// outside the range named there. Constructors and load take the fields as they are. Default: lines 0, bounds
// unset, angle and direction 0, flag false.
//
// Map form: indices are int, bounds double, or the string "undefined" when unset. On loading an index may be
// a number of any type (rounded), but only a double is a bound: an integer 3, a float or a string loads as
// unset, deliberately. Who passes a map through a text format must therefore keep whole numbers apart from
// integers (3.0, not 3).

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
    TSCLength();
    TSCLength(int line, double lower, double upper);

    TSConstraint* clone() override;
    bool check(LinePP* lines, int* assignment) override;
    int getMaximumLineIndex() override;
    QString getType() override;
    bool save(QMap<QString, QVariant>& map) override;
    bool save(QDataStream& stream) override;
    bool load(QMap<QString, QVariant>& map) override;
    bool load(QDataStream& stream) override;

    bool setBounds(double lower, double upper);                        ///< mm, both >= 0
    void getContraint(int& line, double& lower, double& upper) const;  // interface spelling

private:
    std::array<Internal::StoredField, 3> fields();

    int line_;
    double lower_;
    double upper_;
};

/// "Inclination angle": angle from the +x axis to E - S of one line, radians in (-pi, pi], counter-clockwise
/// positive. A line along -x has +pi. Keys and record as TSCLength.
class KVMATH_EXPORT TSCInclinationAngle : public TSConstraint {
public:
    TSCInclinationAngle();
    TSCInclinationAngle(int line, double lower, double upper);

    TSConstraint* clone() override;
    bool check(LinePP* lines, int* assignment) override;
    int getMaximumLineIndex() override;
    QString getType() override;
    bool save(QMap<QString, QVariant>& map) override;
    bool save(QDataStream& stream) override;
    bool load(QMap<QString, QVariant>& map) override;
    bool load(QDataStream& stream) override;

    bool setBounds(double lower,
                   double upper);  ///< radians, both in [-3.1415927410125732, 3.1415927410125732]
    void getContraint(int& line, double& lower, double& upper) const;  // interface spelling

private:
    std::array<Internal::StoredField, 3> fields();

    int line_;
    double lower_;
    double upper_;
};

/// "Endpoint distance": distance from E of line `from` to S of line `to`, mm. Keys "lineFromIndex",
/// "lineToIndex", "lowerBound", "upperBound"; record two int32, two doubles.
class KVMATH_EXPORT TSCEndPointDistance : public TSConstraint {
public:
    TSCEndPointDistance();
    TSCEndPointDistance(int from, int to, double lower, double upper);

    TSConstraint* clone() override;
    bool check(LinePP* lines, int* assignment) override;
    int getMaximumLineIndex() override;
    QString getType() override;
    bool save(QMap<QString, QVariant>& map) override;
    bool save(QDataStream& stream) override;
    bool load(QMap<QString, QVariant>& map) override;
    bool load(QDataStream& stream) override;
    int getMinimumLineIndex() override;

    bool setBounds(double lower, double upper);                                 ///< mm, both >= 0
    void getContraint(int& from, int& to, double& lower, double& upper) const;  // interface spelling

private:
    std::array<Internal::StoredField, 4> fields();

    int from_;
    int to_;
    double lower_;
    double upper_;
};

/// "Endpoint distance w/c": as TSCEndPointDistance, and the two ends must face each other: E of `from` to S
/// of `to` must not be farther than E of `to` to S of `from` (equal passes). Same keys and record.
class KVMATH_EXPORT TSCEndPointDistanceWithCheck : public TSCEndPointDistance {
public:
    TSCEndPointDistanceWithCheck();
    TSCEndPointDistanceWithCheck(int from, int to, double lower, double upper);

    TSConstraint* clone() override;
    bool check(LinePP* lines, int* assignment) override;
    QString getType() override;
};

/// "Rotation angle": angle between the directions of `from` and `to`, radians in [0, pi], and the sense of
/// the turn, which is judged even when both bounds are unset. Keys as TSCEndPointDistance, and "direction"
/// (int), written when it is not 0 and read as 0 when missing. Record two int32, two doubles, int32.
class KVMATH_EXPORT TSCRotationAngle : public TSConstraint {
public:
    /// Sense of the turn from `from` to `to`. Collinear lines turn Clockwise. Any other value rejects
    /// everything.
    enum Direction : int { AnyDirection = 0, CounterClockwise = 1, Clockwise = 2 };

    TSCRotationAngle();
    TSCRotationAngle(int from, int to, double lower, double upper, Direction direction);

    TSConstraint* clone() override;
    bool check(LinePP* lines, int* assignment) override;
    int getMaximumLineIndex() override;
    QString getType() override;
    bool save(QMap<QString, QVariant>& map) override;
    bool save(QDataStream& stream) override;
    bool load(QMap<QString, QVariant>& map) override;
    bool load(QDataStream& stream) override;
    int getMinimumLineIndex() override;

    bool setBounds(double lower, double upper,
                   Direction direction);  ///< radians, both in [0, 3.1415927410125732]
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

/// "Endpoint shift in direction": the vector from E of `from` to S of `to`, mm, along a reference: the
/// direction of `from` (or of `to`) turned counter-clockwise by directionAngle. Keys as TSCEndPointDistance,
/// "directionAngle" (double) and "isFromLineReference" (bool). Record two int32, three doubles, one byte.
class KVMATH_EXPORT TSCEndPointShiftInDirection : public TSConstraint {
public:
    TSCEndPointShiftInDirection();
    TSCEndPointShiftInDirection(int from, int to, double lower, double upper, double directionAngle,
                                bool isFromLineReference);

    TSConstraint* clone() override;
    bool check(LinePP* lines, int* assignment) override;
    int getMaximumLineIndex() override;
    QString getType() override;
    bool save(QMap<QString, QVariant>& map) override;
    bool save(QDataStream& stream) override;
    bool load(QMap<QString, QVariant>& map) override;
    bool load(QDataStream& stream) override;
    int getMinimumLineIndex() override;

    /// Bounds in mm, any sign; directionAngle in [-3.1415927410125732, 3.1415927410125732] radians, never
    /// unset.
    bool setBounds(double lower, double upper, double directionAngle, bool isFromLineReference);
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
