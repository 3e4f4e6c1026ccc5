#pragma once
// Export macro of the shared library. Everything without it stays hidden, except what headers define inline.

#include <QtCore/qglobal.h>

#if defined(KVMATH_LIBRARY)
#define KVMATH_EXPORT Q_DECL_EXPORT
#else
/// Marks what the shared library exports and hosts import.
#define KVMATH_EXPORT Q_DECL_IMPORT
#endif

/// Measurement mathematics for laser profile scanners. Coordinates are millimetres; NaN means unset.
namespace KvMath {}
