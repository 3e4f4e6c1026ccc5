#pragma once
#include <kvmath/core/point_cloud.h>
namespace KvMath {
class KVMATH_EXPORT KvLine {
public:
    float k, b;
    KvLine();
    KvLine(float k, float b);
    KvLine(const KvPointXY& p1, const KvPointXY& p2);
    bool calcFromTwoPoints(const KvPointXY& p1, const KvPointXY& p2);
    bool calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud);
    float y(float x) const;
    float x(float y) const;
    float calcDistanceToPoint(const KvPointXY& p) const;
    static float calcDistanceToPoint(const KvLine& line, const KvPointXY& p);
    static bool calcIntersection(const KvLine& l1, const KvLine& l2, KvPointXY& p);
    static float calcAngle(const KvLine& l1, const KvLine& l2);
};
}  // namespace KvMath
