#pragma once
// What the module of PDF and PNG pictures offers to the library that loads it. C types only: the module
// does not depend on Qt.

#include <cstddef>

extern "C" {

/// Takes the next bytes of a rendered picture; false ends the rendering.
using KvMeasureSink = bool (*)(void* target, const unsigned char* bytes, unsigned size);

/// Renders an SVG document, as PDF or else as PNG, and hands the bytes to the sink. False on failure, with
/// its reason in `reason`, which has room for `room` bytes.
using KvMeasureRender = bool (*)(const char* svg, std::size_t size, bool asPdf, KvMeasureSink sink,
                                 void* target, char* reason, std::size_t room);

}  // extern "C"
