#pragma once
// Plane vector of the template search, the wheel functions and the numerics.

#include <QtCore/qglobal.h>

namespace KvMath {

/// A vector or point (x, y). Default: (0, 0), not unset. Two values without padding, so that arrays of
/// KvVector2D<double> can be read as interleaved x, y.
template <class T>
struct KvVector2D {
    T x;                                      ///< first coordinate
    T y;                                      ///< second coordinate
    KvVector2D() : x(), y() {}                ///< (0, 0)
    KvVector2D(T x0, T y0) : x(x0), y(y0) {}  ///< (x0, y0)
};

}  // namespace KvMath

Q_DECLARE_TYPEINFO(KvMath::KvVector2D<double>, Q_MOVABLE_TYPE);
