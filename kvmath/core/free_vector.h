#pragma once
// Direction in the plane.

#include <kvmath/core/point_cloud.h>

namespace KvMath {

/// Components (x, y) of a vector that is bound to no point, mm or without unit.
class KVMATH_EXPORT KvFreeVector {
public:
    float x;  ///< component along x
    float y;  ///< component along y

    KvFreeVector();                  ///< unset: both NaN
    KvFreeVector(float x, float y);  ///< takes the components as they are

    /// Length, in single precision throughout: infinite above some 1e19 mm, 0 below some 1e-23 mm, which
    /// resize and sumVectors then take for the length.
    float size() const;

    /// Stretches the vector to `length`. False, with the vector untouched, when `length` is not > 0 or the
    /// vector has no direction (size 0 or NaN).
    bool resize(float length);

    /// Becomes the unit vector along a + b. False, with the vector untouched, when the sum has length 0;
    /// true with NaN components when it is unset. Either may be this vector.
    bool sumVectors(const KvFreeVector& a, const KvFreeVector& b);

    /// Angle between this vector and b, degrees in [0, 180], in double; NaN when either has length 0 or is
    /// unset. The cosine is clamped to [-1, 1], since rounding carries parallel vectors past it.
    double calcAngleBetweenVectors(const KvFreeVector& b) const;
    /// Angle between a and b, as the member computes it.
    static double calcAngleBetweenVectors(const KvFreeVector& a, const KvFreeVector& b);

    /// Unit vector along the cloud: from point `start` towards the first point, in steps of +1 or -1 index,
    /// that lies at `length` mm or farther, or the last one of the cloud when none does (NaN: always the
    /// last). False, with the vector untouched, when `step` is neither, `start` is no index, or the walk ends
    /// at no distance (`length` not above 0, start at the end, a closed run, an unset point at either end).
    bool calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud, int start, int step, float length);
};

}  // namespace KvMath
