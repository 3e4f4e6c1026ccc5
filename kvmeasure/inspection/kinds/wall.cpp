#include <kvmeasure/inspection/kinds/wall.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

double wallShare(const std::vector<Vector>& points, std::size_t behind, double noise) {
    const auto slope = [&](std::size_t at) {  // infinite where x stands still
        return at < 1 || at >= points.size()
                   ? 0.0
                   : std::fabs((points[at].y - points[at - 1].y) / (points[at].x - points[at - 1].x));
    };
    const auto step = [&](std::size_t at) {
        return at < 1 || at >= points.size() ? 0.0 : std::fabs(points[at].x - points[at - 1].x);
    };
    const auto sure = [&](std::size_t at) {
        constexpr double kDeviations = 2;
        return noise > 0 && step(at) > 0 ? std::max(slope(at) - kDeviations * noise / step(at), 0.0)
                                         : slope(at);
    };
    const double here = slope(behind);
    if (!(here > 0))
        return 0;
    const double beside = std::max(sure(behind - 1), sure(behind + 1));
    const double share = 1 - beside / here;
    if (!std::isfinite(share))
        return 1;
    // Where points are missing a flank as steep as beside them takes but a part of the way.
    constexpr double kWide = 1.5;
    const bool isWide = step(behind) > kWide * std::max(step(behind - 1), step(behind + 1));
    const double ofMissing = isWide ? 1 - here / beside : 0;
    return std::max({share, std::isfinite(ofMissing) ? ofMissing : 0, 0.0});
}

}  // namespace KvMeasure
