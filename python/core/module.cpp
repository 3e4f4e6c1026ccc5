#include "python/core/bindings.h"
#include "python/core/errors.h"

PYBIND11_MODULE(_core, module) {
    module.doc() = "The compiled part of kvmath; use kvmath.";
    KvMathPython::bindErrors(module);
    KvMathPython::bindProfiles(module);
    KvMathPython::bindFits(module);
    KvMathPython::bindPlans(module);
    KvMathPython::bindTeaching(module);
    KvMathPython::bindForm(module);
    KvMathPython::bindStatistics(module);
    KvMathPython::bindWheels(module);
    KvMathPython::bindScans(module);
    KvMathPython::bindComparisons(module);
    KvMathPython::bindOutlines(module);
    KvMathPython::bindCalibration(module);
    KvMathPython::bindNumerics(module);
}
