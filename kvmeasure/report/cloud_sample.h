#pragma once
// A bounded part of the points of a scan, for pages.

#include <kvmeasure/base/global.h>

#include <QtCore/QtGlobal>

#include <vector>

namespace KvMeasure {

/// Takes the points of a scan one after another, and keeps at most kMost of them, spread over the scan by
/// chance: which ones depends on their numbers alone, so that the same scan gives the same part. Memory: 24
/// bytes for each point that is kept.
///
///     CloudSample sample;
///     Scan::forEachPoint(scan, [&](float x, float at, float height) { sample.add(x, height, at); });
class KVMEASURE_EXPORT CloudSample {
public:
    static constexpr int kMost = 60'000;  ///< points that are kept; of more at least half as many

    /// A point as it is kept, mm.
    struct Point {
        qint64 number;  ///< of the points that were added before it
        float x;        ///< along the laser line
        float height;   ///< over the place
        float scan;     ///< position along the scan
    };

    /// Takes a point, mm; one with a coordinate that is not finite is left out and not counted.
    void add(float x, float height, float scan);
    /// Those that are kept, in the order in which they came.
    const std::vector<Point>& points() const { return points_; }
    /// How many were taken.
    qint64 total() const { return total_; }

private:
    std::vector<Point> points_;
    qint64 total_ = 0;
    quint64 mask_ = 0;
};

}  // namespace KvMeasure
