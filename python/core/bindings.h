#pragma once
// What each source adds to the module.

#include <pybind11/pybind11.h>

namespace KvMathPython {

void bindProfiles(pybind11::module_& module);  ///< files of profiles, filters, segments
void bindFits(pybind11::module_& module);      ///< lines and circles
void bindPlans(pybind11::module_& module);     ///< plans, measuring, values
void bindTeaching(pybind11::module_& module);  ///< plans from a good part and from words

void bindForm(pybind11::module_& module);         ///< straightness, flatness, roundness, steps, roughness
void bindStatistics(pybind11::module_& module);   ///< series, capability, studies of gauges
void bindWheels(pybind11::module_& module);       ///< wheels, rails, conicity, train passes
void bindScans(pybind11::module_& module);        ///< 3D scans
void bindComparisons(pybind11::module_& module);  ///< profiles and scans against a master
void bindTrain(pybind11::module_& module);        ///< train passes, limits, the gauge of a track
void bindOutlines(pybind11::module_& module);     ///< outlines, filters of clouds, circumferences
void bindCalibration(pybind11::module_& module);  ///< pixel tables
void bindNumerics(pybind11::module_& module);     ///< decomposition, least squares

}  // namespace KvMathPython
