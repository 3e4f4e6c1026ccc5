#include <kvmath/base/constants_p.h>
#include <kvmath/core/line.h>

#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();
constexpr double kVerticalMm = 1e-5;  // compared with the float difference widened

}  // namespace

KvLine::KvLine() : k(kUnset), b(kUnset) {}
KvLine::KvLine(float slope, float intercept) : k(slope), b(intercept) {}
KvLine::KvLine(const KvPointXY& p1, const KvPointXY& p2) : KvLine() { calcFromTwoPoints(p1, p2); }

bool KvLine::calcFromTwoPoints(const KvPointXY& p1, const KvPointXY& p2) {
    const float dx = p1.x - p2.x;
    if (static_cast<double>(std::fabs(dx)) < kVerticalMm) {
        k = 0.0F;
        b = 0.0F;
        return false;
    }
    k = (p1.y - p2.y) / dx;
    b = (p1.x * p2.y - p2.x * p1.y) / dx;
    return true;
}

bool KvLine::calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud) {
    if (cloud.points.size() < 2)
        return false;
    double sumX = 0.0;
    double sumXX = 0.0;
    double sumY = 0.0;
    double sumXY = 0.0;
    int used = 0;
    for (const KvPointXY& p : cloud.points) {
        if (std::isnan(p.x) || std::isnan(p.y))
            continue;
        sumX += static_cast<double>(p.x);
        sumXX += static_cast<double>(p.x * p.x);  // product in float, sum in double
        sumY += static_cast<double>(p.y);
        sumXY += static_cast<double>(p.x * p.y);
        ++used;
    }
    const double n = used;
    const double slope = (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
    k = static_cast<float>(slope);
    b = static_cast<float>((sumY - slope * sumX) / n);
    return true;
}

float KvLine::y(float atX) const { return k * atX + b; }
float KvLine::x(float atY) const { return (atY - b) / k; }

float KvLine::calcDistanceToPoint(const KvPointXY& p) const { return calcDistanceToPoint(*this, p); }

float KvLine::calcDistanceToPoint(const KvLine& line, const KvPointXY& p) {
    return std::fabs(line.k * p.x - p.y + line.b) / std::sqrt(line.k * line.k + 1.0F);
}

bool KvLine::calcIntersection(const KvLine& l1, const KvLine& l2, KvPointXY& p) {
    if (l1.k == l2.k)
        return false;
    p.x = (l2.b - l1.b) / (l1.k - l2.k);
    p.y = l1.k * p.x + l1.b;
    return true;
}

float KvLine::calcAngle(const KvLine& l1, const KvLine& l2) {
    const double radians = std::atan(static_cast<double>(l1.k)) - std::atan(static_cast<double>(l2.k));
    return static_cast<float>(radians * 180.0 / Internal::kPi);
}

}  // namespace KvMath
