#pragma once
// Greatest and least height or x of points.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure {

/// What extreme is wanted.
struct ExtremeSettings {
    bool isGreatest = true;  ///< false: the least
    bool isOfX = false;      ///< of x; false: of the height
};

/// The point whose coordinate is the extreme, the first of equals; its number in the list, -1 without points.
/// All coordinates are finite.
KVMEASURE_EXPORT int extremePoint(const std::vector<Vector>& points, const ExtremeSettings& settings = {});

}  // namespace KvMeasure
