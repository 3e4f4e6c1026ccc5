#pragma once
// Constraint of the gap between two segments that face each other. constraints.h says what all share.

#include <kvmath/tsearch/constraints/endpoint_distance.h>

namespace KvMath {

/// "Endpoint distance w/c": as TSCEndPointDistance, and the two ends must face each other: E of `from` to S
/// of `to` must not be farther than E of `to` to S of `from` (equal passes). Same keys and record.
class KVMATH_EXPORT TSCEndPointDistanceWithCheck : public TSCEndPointDistance {
public:
    TSCEndPointDistanceWithCheck();  ///< lines 0 and 0, no bounds
    /// Two template lines and bounds, mm; -1e100 is no bound.
    TSCEndPointDistanceWithCheck(int from, int to, double lower, double upper);

    TSConstraint* clone() override;  ///< a copy made with new; the caller owns it
    /// Whether the distance lies within the bounds and the ends face each other.
    bool check(LinePP* lines, int* assignment) override;
    QString getType() override;  ///< "Endpoint distance w/c"
};

}  // namespace KvMath
