#include <kvmath/numerics/ring_calibration.h>

#include <kvmath/numerics/optimisers.h>
#include <kvmath/numerics/ring_model_p.h>

#include <cmath>

namespace KvMath {
namespace {

struct Ring {
    const double* phi;
    const double* t;
    int count;
    double radius;
};

struct TwoRings {
    Ring first, second;
};

double sumOfSquares(const Ring& ring, double a, double b, double e, double c) {
    double sum = 0.0;
    for (int i = 0; i < ring.count; ++i) {
        const double residual = Internal::ringDistanceModel(ring.phi[i], a, b, e, c, ring.radius) - ring.t[i];
        sum += residual * residual;
    }
    return sum;
}

// p: e, c, centre of ring 1, centre of ring 2.
double twoRingsCost(double* p, void* data) {
    const auto& rings = *static_cast<const TwoRings*>(data);
    return sumOfSquares(rings.first, p[2], p[3], p[0], p[1]) +
           sumOfSquares(rings.second, p[4], p[5], p[0], p[1]);
}

}  // namespace

bool calcCalibrationParameters(const double* h, double R, double& o1, double& o2, double& o3, double& o4) {
    const double rho = 2.0 * std::sqrt(R * std::sqrt(h[3] * h[3] + h[4] * h[4]));
    if (rho == 0.0)
        return false;
    const double rho2 = rho * rho;
    const double k = (1.0 - 4.0 * h[3] * R / rho2) / (4.0 * h[4] * R / rho2);
    o2 = (h[2] - k * h[1]) * R / (k * h[2] + h[1]);
    o1 = R - h[0] - (o2 * o2 + rho2 / 2.0) / (2.0 * R);
    const double theta = std::atan(k);
    o3 = rho * std::cos(theta);
    o4 = rho * std::sin(theta);
    return true;
}

bool calcCalibrationParametersWithFixedRho(const double* h, double R, double& o1, double rho, double& o2,
                                           double& o3) {
    const double r = rho / R;
    o3 = (h[2] - r * h[1]) / (r * r + 1.0);
    o2 = r * o3 + h[1];
    o1 = R - h[0] - ((o3 * o3 + o2 * o2) / 2.0 + rho * rho) / (2.0 * R);
    return true;
}

bool calcCalibrationParametersWithTwoRings(const double* phi1, const double* t1, int count1,
                                           const double* phi2, const double* t2, int count2, double R1,
                                           double R2, double tol, int& iterations, double& e, double& c) {
    TwoRings rings{{phi1, t1, count1, R1}, {phi2, t2, count2, R2}};
    double p[6] = {e, c, 0.0, 0.0, 0.0, 0.0};
    const double steps[6] = {0.1, 0.1, 0.1, 0.1, 0.1, 0.1};
    const int limit = iterations;
    const bool converged = fminsearch(twoRingsCost, &rings, 6, p, steps, tol, limit, iterations);
    e = p[0];
    c = p[1];
    return converged;
}

void mapTPhi2XY(double phi, double t, double c, double e, double& x, double& y) {
    const double r = std::sqrt((t + c) * (t + c) + e * e);
    x = r * std::cos(phi);
    y = r * std::sin(phi);
}

}  // namespace KvMath
