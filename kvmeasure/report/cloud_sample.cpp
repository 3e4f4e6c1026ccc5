#include <kvmeasure/report/cloud_sample.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// Mixes the bits of a number (the end of splitmix64), so that no pattern of the scan meets one of the part.
quint64 mixed(qint64 number) {
    auto bits = static_cast<quint64>(number) + 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30U)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31U);
}

}  // namespace

void CloudSample::add(float x, float height, float scan) {
    if (!std::isfinite(x) || !std::isfinite(height) || !std::isfinite(scan))
        return;
    const qint64 number = total_++;
    if ((mixed(number) & mask_) != 0)
        return;
    points_.push_back({number, x, height, scan});
    while (points_.size() > std::size_t(kMost)) {
        mask_ = mask_ * 2 + 1;
        const auto isGone = [this](const Point& point) { return (mixed(point.number) & mask_) != 0; };
        points_.erase(std::remove_if(points_.begin(), points_.end(), isGone), points_.end());
    }
}

}  // namespace KvMeasure
