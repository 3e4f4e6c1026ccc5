#pragma once
// Arrays of numpy in and out. A profile is (n, 2): x and height, mm; a cloud (n, 3): x, height, place along
// the scan, mm. NaN is unset.
//
// Profiles that the module gives are views of the library's own points. They are read-only, and taken back as
// they are. Other arrays are copied once, 8 bytes a point; float64 is rounded to the nearest float32 where
// the library keeps points as float.

#include "python/core/errors.h"

#include <pybind11/numpy.h>

#include <kvmeasure/base/plane_geometry.h>

#include <kvmath/core/point_cloud.h>
#include <kvmath/profile/profile.h>

#include <vector>

namespace KvMathPython {

/// What an argument without points is.
enum class Empty { Refused, Allowed };

/// The points of an (n, 2) array as a profile without unset points. Throws argumentError for another shape,
/// for an infinite coordinate and one that no float holds, TypeError for what holds no numbers.
KvMath::KvProfile profileFrom(const py::handle& array, const char* parameter, Empty empty);

/// The same in double precision, nothing rounded.
std::vector<KvMeasure::Vector> pointsFrom(const py::handle& array, const char* parameter);

/// The points of an (n, 3) array without unset ones.
KvMath::KvPointCloud<KvMath::KvPointXYZ> cloudFrom(const py::handle& array, const char* parameter);

/// The numbers of an array of one dimension, NaN among them. A single number is refused.
std::vector<double> numbersFrom(const py::handle& array, const char* parameter);

/// An array of float64 in C order with this many columns, copied only where it is none; 0: of any number.
py::array_t<double> tableFrom(const py::handle& array, const char* parameter, int columns);

/// A read-only view of the points of a profile, which it keeps alive.
py::array arrayFrom(const KvMath::KvProfile& profile);
py::array arrayFrom(const KvMath::KvPointCloud<KvMath::KvPointXYZ>& cloud);  ///< (n, 3), float32
py::array arrayFrom(const std::vector<KvMeasure::Vector>& points);           ///< (n, 2), float64
py::array arrayFrom(const std::vector<double>& numbers);                     ///< (n,), float64
/// (n, 4), float64: x and height of the start, x and height of the end of each.
py::array arrayFrom(const KvMeasure::Segments& segments);

}  // namespace KvMathPython
