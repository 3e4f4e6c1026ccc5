#include <kvmath/wheel/sensor_coord.h>

#include <kvmath/wheel/rule_algebra.h>

#include <cmath>
#include <type_traits>

namespace KvMath {

static_assert(std::is_standard_layout_v<_KvORBIS_SensorCoordROT_> &&
                  sizeof(_KvORBIS_SensorCoordROT_) == 9 * sizeof(double),
              "the rule doubles as an array of nine");

namespace {

/// The sums of the placement by angles (radians), in float throughout.
class AngleTransform {
public:
    AngleTransform(const _KvORBIS_SensorCoord_& sensor, float a, float b, float c)
        : sA_(std::sin(a)), cA_(std::cos(a)), sB_(std::sin(b)), cB_(std::cos(b)), cC_(std::cos(c)),
          xFromX_(sA_ * cB_ * cC_ + std::sin(c) * sB_), yFromX_(sA_ * sB_ * cC_ - std::sin(c) * cB_),
          sensor_(sensor) {}

    KvPointXYZ operator()(const KvPointXY& p) const {
        return {xFromX_ * p.x + sensor_.x + cA_ * p.y * cB_, yFromX_ * p.x + sensor_.y + cA_ * p.y * sB_,
                cA_ * p.x * cC_ + sensor_.z - sA_ * p.y};
    }

private:
    float sA_, cA_, sB_, cB_, cC_, xFromX_, yFromX_;
    const _KvORBIS_SensorCoord_& sensor_;
};

float radians(float degrees) { return degrees / 180.0F * 3.1415927F; }

KvPointXYZ placed(const _KvORBIS_SensorCoordROT_& rule, double x, double y) {
    const double plane[2] = {x, y};
    double space[3];
    plane2space(&rule.originX, plane, space);
    return {static_cast<float>(space[0]), static_cast<float>(space[1]), static_cast<float>(space[2])};
}

/// Origin, x and y factors of one coordinate through three points; v are its values there.
void solveRow(const double* x, const double* y, const double* v, double& origin, double& fromX,
              double& fromY) {
    const double D = (y[0] - y[1]) * x[2] + (y[1] - y[2]) * x[0] + (y[2] - y[0]) * x[1];
    fromX = ((y[0] - y[1]) * v[2] + (y[1] - y[2]) * v[0] + (y[2] - y[0]) * v[1]) / D;
    fromY = ((v[0] - v[1]) * x[2] + (v[1] - v[2]) * x[0] + (v[2] - v[0]) * x[1]) / D;
    origin = ((x[0] * y[1] - x[1] * y[0]) * v[2] + (x[1] * y[2] - x[2] * y[1]) * v[0] +
              (x[2] * y[0] - x[0] * y[2]) * v[1]) /
             D;
}

}  // namespace

void ORBIS_XYtoXYZ(const KvProfile& profile, KvPointCloud<KvPointXYZ>& cloud,
                   const _KvORBIS_SensorCoordROT_& rule) {
    for (const KvPointXY& p : profile.points)
        cloud.points.append(placed(rule, static_cast<double>(p.x), static_cast<double>(p.y)));
}

void ORBIS_XYtoXYZ(const KvProfile& profile, KvPointCloud<KvPointXYZ>& cloud,
                   const _KvORBIS_SensorCoord_& sensor) {
    const AngleTransform transform(sensor, radians(sensor.angleA), radians(sensor.angleB),
                                   radians(sensor.angleC));
    for (const KvPointXY& p : profile.points)
        cloud.points.append(transform(p));
}

void ORBIS_XYtoXYZ(const KvProfile& profile, KvPointCloud<KvPointXYZ>& cloud,
                   const _KvORBIS_SensorCoord_& sensor, float radius, float step, int index) {
    const AngleTransform transform(sensor, sensor.angleA, sensor.angleB, sensor.angleC);
    const auto position = static_cast<float>(index);
    const float rolled = position * step;
    const float theta = -(step / radius * position);
    const float shiftX = radius * std::cos(theta) - rolled, shiftZ = radius * std::sin(theta);
    for (const KvPointXY& p : profile.points) {
        KvPointXYZ q = transform(p);
        q.x += shiftX;
        q.z += shiftZ;
        cloud.points.append(q);
    }
}

void ORBIS_XYtoXYZ(const KvVector2D<double>& point, KvPointXYZ& out, const _KvORBIS_SensorCoordROT_& rule) {
    out = placed(rule, point.x, point.y);
}

bool ORBIS_calcCoordinatesFrom3p(KvPointCloud<KvPointXY> pts2d, KvPointCloud<KvPointXYZ> pts3d,
                                 double rule[9]) {
    double x[3], y[3], v[3][3];
    for (int i = 0; i < 3; ++i) {
        const KvPointXY p = pts2d.points.value(i);  // beyond the end: an unset point
        const KvPointXYZ q = pts3d.points.value(i);
        x[i] = static_cast<double>(p.x);
        y[i] = static_cast<double>(p.y);
        v[0][i] = static_cast<double>(q.x);
        v[1][i] = static_cast<double>(q.y);
        v[2][i] = static_cast<double>(q.z);
    }
    for (int k = 0; k < 3; ++k)
        solveRow(x, y, v[k], rule[k], rule[3 + 2 * k], rule[4 + 2 * k]);
    return true;
}

bool ORBIS_calcCoord(KvPointCloud<KvPointXY> pts2d, KvPointCloud<KvPointXYZ> pts3d,
                     _KvORBIS_SensorCoordROT_& rule) {
    double values[9];
    ORBIS_calcCoordinatesFrom3p(std::move(pts2d), std::move(pts3d), values);
    rule = {values[0], values[1], values[2], values[3], values[4],
            values[5], values[6], values[7], values[8]};
    return true;
}

}  // namespace KvMath
