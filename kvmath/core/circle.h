#pragma once
#include <kvmath/core/point_cloud.h>
namespace KvMath {
class KVMATH_EXPORT KvCircle {
public:
    float x, y, radius;
    KvCircle();
    bool calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud, float* error);
};
}  // namespace KvMath
