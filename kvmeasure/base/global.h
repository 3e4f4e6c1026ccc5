#pragma once
// Export macro of the shared library. Everything without it stays hidden, except what headers define inline.

#include <QtCore/qglobal.h>

#if defined(KVMEASURE_LIBRARY)
#define KVMEASURE_EXPORT Q_DECL_EXPORT
#else
/// Marks what the shared library exports and hosts import.
#define KVMEASURE_EXPORT Q_DECL_IMPORT
#endif

/// Measuring workflows for laser profile scanners, on the mathematics of KvMath: files, templates, scans,
/// wheels, calibration, pictures, reports. Coordinates are millimetres; NaN means unset. What cannot be done
/// throws.
namespace KvMeasure {}
