#pragma once
// Circle and its least-squares fit.

#include <kvmath/core/point_cloud.h>

namespace KvMath {

/// Centre (x, y) and radius, mm.
class KVMATH_EXPORT KvCircle {
public:
    float x;       ///< centre, mm
    float y;       ///< centre, mm
    float radius;  ///< mm

    KvCircle();  ///< unset: all NaN

    /// Algebraic least-squares circle (I. Kasa, 1976) over the points without an unset coordinate: it
    /// minimises the sum of (distance to centre squared - radius squared) squared. In double about the
    /// centroid, so that a circle far from the origin costs no digits; exact for points on a circle, with a
    /// radius that comes out small for a short noisy arc. `error`, when not null, receives the root mean
    /// square of (distance to centre - radius), mm. False, with circle and `error` untouched, for fewer than
    /// three places, points on a line, or anything not finite.
    bool calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud, float* error);
};

}  // namespace KvMath
