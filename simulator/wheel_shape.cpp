// Sections of wheels: the S1002 profile of EN 13715, wear that moves the flange, a hollow tread, and defects
// that take depth away. True values are found on this shape by scanning and halving, not by the code that is
// tested with them.
#include "simulator/wheel_shape.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Simulator {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <std::size_t n>
double polynomial(const double (&coefficients)[n], double y) {
    double sum = 0;
    for (std::size_t i = n; i-- > 0;)
        sum = sum * y + coefficients[i];
    return sum;
}

/// Height at y of the circle of this radius about (-shift, centre); side is -1 for its lower half.
double arc(double centre, double radius, double shift, double y, double side) {
    const double square = radius * radius - (y + shift) * (y + shift);
    return centre + side * std::sqrt(std::max(square, 0.0));
}

/// From 0 at `from` smoothly to 1 at `to`.
double ramp(double x, double from, double to) {
    const double t = std::min(std::max((x - from) / (to - from), 0.0), 1.0);
    return t * t * (3 - 2 * t);
}

/// First lateral position from `from` on at which the depth below the tip is reached.
double positionAtDepth(const WheelShape& shape, double arcPlace, double tip, double from, double depth) {
    constexpr double kStep = 0.05;
    constexpr int kHalvings = 40;
    const auto reached = [&](double lateral) { return tip - radiusAt(shape, lateral, arcPlace) >= depth; };
    for (double high = from + kStep; high <= kWheelWidth; high += kStep) {
        if (!reached(high))
            continue;
        double low = high - kStep;
        for (int i = 0; i < kHalvings; ++i) {
            const double middle = (low + high) / 2;
            (reached(middle) ? high : low) = middle;
        }
        return high;
    }
    return kNaN;
}

}  // namespace

double s1002Height(double lateral) {
    constexpr double kTread[] = {0,
                                 -3.358537058e-02,
                                 1.565681624e-03,
                                 -2.810427944e-05,
                                 5.844240864e-08,
                                 -1.562379023e-08,
                                 5.309217349e-15,
                                 -5.957839843e-12,
                                 2.646656573e-13};
    constexpr double kFillet[] = {-4.320221063e+03, -1.038384026e+03, -1.065501873e+02, -6.051367875,
                                  -2.054332446e-01, -4.169739389e-03, -4.687195829e-05, -2.252755540e-07};
    const double y = lateral - kRunningCircle;
    if (!(lateral >= 0 && lateral <= kWheelWidth))
        return kNaN;
    if (y >= 32.15796)
        return 1.364323640 - 0.066666667 * y;
    if (y >= -26)
        return polynomial(kTread, y);
    if (y >= -35)
        return polynomial(kFillet, y);
    if (y >= -38.426669071)
        return arc(16.446, 13, 26.210665, y, -1);
    if (y >= -39.764473993)
        return -93.576667419 - 2.747477419 * y;
    if (y >= -49.662510381)
        return arc(8.834924130, 20, 58.558326413, y, 1);
    if (y >= -62.764705882)
        return arc(16, 12, 55, y, 1);
    return arc(9.519259302, 20.5, 49.5, y, 1);
}

double wornRadius(const WheelShape& shape, double lateral) {
    constexpr double kTop = 17, kFlank = 31, kFilletEnd = 48;  // lateral positions of the nominal section
    constexpr double kHollowHalfWidth = 30, kPi = 3.14159265358979323846;
    const double moved =
        shape.flangeWear * ramp(lateral, kTop, kFlank) * (1 - ramp(lateral, kFlank, kFilletEnd));
    const double fromMiddle = std::min(std::fabs(lateral - kRunningCircle) / kHollowHalfWidth, 1.0);
    const double bowl = std::cos(fromMiddle * kPi / 2);
    return shape.treadDiameter / 2 + s1002Height(lateral + moved) - shape.hollow * bowl * bowl +
           (lateral + moved > kWheelWidth ? kNaN : 0.0);
}

double missingDepth(const WheelShape& shape, const TreadDefect& defect, double lateral, double arcPlace) {
    constexpr double kDegree = 3.14159265358979323846 / 180;
    const double fromMiddle = arcPlace - defect.angle * kDegree * shape.treadDiameter / 2;
    const double share = 2 * fromMiddle / defect.length;
    if (!(std::fabs(share) < 1))
        return 0;
    const double across = ramp(lateral, defect.from, defect.from + defect.sideWidth) *
                          (1 - ramp(lateral, defect.to - defect.sideWidth, defect.to));
    return defect.depth * (1 - share * share) * across;
}

double radiusAt(const WheelShape& shape, double lateral, double arcPlace) {
    double radius = wornRadius(shape, lateral);
    for (const TreadDefect& defect : shape.defects)
        radius -= missingDepth(shape, defect, lateral, arcPlace);
    return radius;
}

SectionTruth sectionTruth(const WheelShape& shape, double arcPlace) {
    constexpr double kFlangeEnd = 30, kStep = 0.01;
    constexpr double kFlankDepth = 2, kReferenceDepth = 18, kAboveTread = 13;
    SectionTruth truth{kNaN, kNaN, kNaN, 0};
    double top = 0;
    for (double lateral = 0; lateral < kFlangeEnd; lateral += kStep) {
        const double radius = radiusAt(shape, lateral, arcPlace);
        if (radius > truth.tipRadius) {
            truth.tipRadius = radius;
            top = lateral;
        }
    }
    const auto position = [&](double depth) {
        return positionAtDepth(shape, arcPlace, truth.tipRadius, top, depth);
    };
    truth.flangeHeight = truth.tipRadius - radiusAt(shape, kRunningCircle, arcPlace);
    truth.flangeSteepness = position(truth.flangeHeight - kAboveTread) - position(kFlankDepth);
    truth.thicknessFromBack = position(kReferenceDepth);
    return truth;
}

}  // namespace Simulator
