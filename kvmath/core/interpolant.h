#pragma once
#include <kvmath/core/point_cloud.h>
#include <QtCore/QVector>
namespace KvMath {
enum _KvInterpolantType_ : int { KvInterpolantNone = -1, KvInterpolantAkima = 0 };
class KVMATH_EXPORT KvInterpolant {
public:
    QVector<float> knotX, coefficients;
    int knotCount;
    _KvInterpolantType_ type;
    KvInterpolant();
    KvInterpolant(const KvPointCloud<KvPointXY>& cloud, _KvInterpolantType_ type);
    int buildFromPointCloud(const KvPointCloud<KvPointXY>& cloud, _KvInterpolantType_ type);
    int buildAkimaSpline(const KvPointCloud<KvPointXY>* cloud);
    float calcY(float x) const;
    int generatePointCloud(KvPointCloud<KvPointXY>& out, float step, float xFrom, float xTo) const;
    float diff3p(float x, float x0, float x1, float x2, float y0, float y1, float y2) const;
};
}  // namespace KvMath
