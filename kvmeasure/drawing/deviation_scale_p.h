#pragma once
// What the map and the cloud of deviations share.

#include <kvmeasure/drawing/deviation_map.h>
#include <kvmeasure/drawing/raster_picture_p.h>

namespace KvMeasure::Internal {

/// Colours of deviations, mm: both ways from 0, over the limits or 99 % of the points.
ColourScale deviationScale(const DeviationMap& map);

/// Calls visit(point, deviation) for every point, where it lies on the master; NaN: it does not count.
template <class Visit>
void forEachDeviation(const DeviationMap& map, const Visit& visit) {
    if (map.scan == nullptr || map.comparison == nullptr)
        return;
    const SpaceMotion& motion = map.comparison->registration.motion;
    std::size_t number = 0;
    Scan::forEachPoint(*map.scan, [&](float x, float place, float height) {
        if (number >= map.comparison->deviations.size())
            return;
        visit(motion.apply({double(x), double(height), double(place)}), map.comparison->deviations[number]);
        ++number;
    });
}

}  // namespace KvMeasure::Internal
