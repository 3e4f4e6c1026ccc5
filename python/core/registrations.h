#pragma once
// How a part was laid on a master, in the plane and in space.

#include "python/core/arrays.h"

#include <kvmeasure/inspection/registration.h>
#include <kvmeasure/scans/scan_registration.h>

namespace KvMathPython {

/// A place or a direction of two or three coordinates.
inline py::tuple tupleOf(const KvMeasure::Vector& v) { return py::make_tuple(v.x, v.y); }
inline py::tuple tupleOf(const KvMeasure::SpaceVector& v) {
    return py::make_tuple(v.x, v.y, v.z);
}  ///< likewise

/// A registration in the plane or in space.
struct Motion {
    py::array_t<double> matrix;
    py::list parts;
    double deviation = 0;
    int used = 0, rejected = 0;
    bool isFixed = true;
};

/// The registration as Python has it; both under the lock of Python.
Motion motionOf(const KvMeasure::Registration& registration);
Motion motionOf(const KvMeasure::ScanRegistration& registration);  ///< in space

void bindRegistration(py::module_& module);  ///< kvmath.Registration and kvmath.MotionPart

}  // namespace KvMathPython
