#pragma once
// Operations on scans word by word, slow: the yardstick of the tests and benchmarks.

#include <kvmath/profile/profile_zset.h>

#include <cmath>

namespace TestSupport::Literal {

/// Slicing of a cloud whose range is known and gives at least one plane.
inline void slice(const KvMath::KvPointCloud<KvMath::KvPointXYZ>& cloud, float step,
                  KvMath::KvProfileZSet& set) {
    const int n = static_cast<int>(std::ceil((cloud.maxZ - cloud.minZ) / step));
    set.clear();
    for (int i = 0; i <= n; ++i)
        set.append(KvMath::KvProfileZ(static_cast<float>(i) * step + cloud.minZ));
    for (const auto& p : cloud.points) {
        for (int i = 0; i < n; ++i) {
            if (!(set.at(i).z <= p.z && p.z <= set.at(i + 1).z))
                continue;
            const float t = (p.z - set.at(i).z) / step;
            set[t < 0.5F ? i : i + 1].points.append(KvMath::KvPointXY(p.x, p.y));
            break;
        }
    }
}

}  // namespace TestSupport::Literal
