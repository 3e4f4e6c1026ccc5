#include <tests/kvmeasure/inspection/shapes.h>

namespace TestSupport {

namespace {

const double none = std::nan("");

double hem(double x, double touch, double radius) {  // a surface at 0 that bends down behind x = touch
    if (x <= touch)
        return 0;
    return x <= touch + radius ? std::sqrt(radius * radius - (x - touch) * (x - touch)) - radius : none;
}

/// A fillet weld in the corner of plates at -45 and 45 degrees, legs of 4 mm, its face an arc `rise` mm over
/// the chord.
double filletWeld(double x, double rise) {
    const double half = 4 * std::sqrt(0.5);
    if (std::fabs(x) >= half)
        return std::fabs(x);
    if (rise == 0)
        return half;
    const double radius = (half * half + rise * rise) / (2 * std::fabs(rise));
    return half + std::copysign(std::sqrt(radius * radius - x * x) - (radius - std::fabs(rise)), rise);
}

}  // namespace

const std::vector<Shape>& shapes() {
    static const std::vector<Shape> all{
        {"arc in M",
         [](double x) { return std::fabs(x) < 4 ? std::sqrt(25 - x * x) - 5 : none; },
         {{"radius", 5}, {"x", 0}, {"z", -5}},
         {{"z", 2e-3}}},
        {"step L R", [](double x) { return x < 0 ? 0 : 0.75; }, {{"", 0.75}}},
        {"flush L R", [](double x) { return x < 0 ? hem(x, -3, 1.5) : hem(-x, -3, 1.5) + 0.4; }, {{"", 0.4}}},
        {"gap L R", [](double x) { return hem(-std::fabs(x), -3, 1.5); }, {{"", 3}}, {{"", 3e-3}}},
        {"gap L R tangent", [](double x) { return hem(-std::fabs(x), -3, 1.5); }, {{"", 6}}, {{"", 3e-3}}},
        {"groove in M",
         [](double x) { return std::fabs(x - 0.5) < 2.005 ? -1.5 : 0.0; },
         {{"width", 4.01}, {"depth", 1.5}, {"x", 0.5}, {"z", -1.5}, {"area", 6.015}},
         {{"width", 0.0101}, {"x", 0.0101}, {"area", 0.0151}}},
        {"groove in M",
         [](double x) { return std::min(0.0, std::fabs(x) - 3); },
         {{"width", 6}, {"depth", 3}, {"x", 0}, {"z", -3}, {"area", 9}},
         {{"area", 2e-3}}},
        {"corner in M",
         [](double x) { return x < 0 ? x : x * 0.2; },
         {{"x", 0}, {"z", 0}, {"angle", 180 - 45 + 11.30993}}},
        {"corner in M",  // radius 2 in the corner of -45 and 45 degrees
         [](double x) {
             return std::fabs(x) > std::sqrt(2.0) ? std::fabs(x) : 2 * std::sqrt(2.0) - std::sqrt(4 - x * x);
         },
         {{"x", 0}, {"z", 0}, {"angle", 90}, {"radius", 2}},
         {{"radius", 2e-3}}},
        {"gap L R corner",
         [](double x) { return std::fabs(x) < 2.005 ? none : 0.0; },
         {{"", 4.01}},
         {{"", 0.0101}}},
        {"fillet K Q in M",  // radius 2 in the corner of -45 and 45 degrees
         [](double x) {
             return std::fabs(x) > std::sqrt(2.0) ? std::fabs(x) : 2 * std::sqrt(2.0) - std::sqrt(4 - x * x);
         },
         {{"radius", 2},
          {"x", 0},
          {"z", 2 * std::sqrt(2.0)},
          {"x2", std::sqrt(2.0)},
          {"z2", std::sqrt(2.0)}}},
        {"strip in M on B",
         [](double x) { return std::fabs(x - 0.5) < 2.005 ? 1.5 : 0.0; },
         {{"width", 4.01}, {"height", 1.5}, {"left", -1.505}, {"right", 2.505}},
         {{"width", 0.0101}, {"left", 0.0101}, {"right", 0.0101}}},
        {"strip in M on K",
         [](double x) { return std::clamp(3 - std::fabs(x), 0.0, 2.0); },
         {{"width", 4}, {"height", 2}, {"left", -2}, {"right", 2}}},
        {"strip in M",
         [](double x) { return std::fabs(x) < 3.005 ? 1.0 : none; },
         {{"width", 6.01}, {"left", -3.005}, {"right", 3.005}},
         {{"width", 0.0125}, {"left", 0.0101}, {"right", 0.0101}}},
        {"thickness M S",
         [](double x) { return 2 + 0.002 * x * x; },
         {{"mean", 2.04261}, {"min", 2}, {"max", 2.128}, {"median", 2.032}, {"at", 0}},
         {{"mean", 2e-3}, {"max", 2e-3}, {"median", 2e-3}, {"at", 0.02}},
         [](double) { return 0.0; }},
        {"area in M with S",
         [](double x) { return std::fabs(x) < 5.005 ? 2.0 : none; },
         {{"", 20.02}, {"x", 0}, {"z", 1}},
         {{"", 0.0404}, {"x", 0.0101}},
         [](double x) { return std::fabs(x) < 5.005 ? 0.0 : none; }},
        {"fillet-weld K Q in M",
         [](double x) { return filletWeld(x, 0.5); },
         {{"leg1", 4}, {"leg2", 4}, {"throat", 4 * std::sqrt(0.5)}, {"convexity", 0.5}, {"x", 0}, {"z", 0}},
         {{"leg1", 0.06}, {"leg2", 0.06}, {"throat", 0.04}, {"convexity", 0.04}}},
        {"butt-weld K Q in M",
         [](double x) { return std::max((x > 0 ? 0.2 : 0.0), 1.2 - x * x / 9); },
         {{"width", std::hypot(std::sqrt(10.8) + 3, 0.2)}, {"misalignment", 0.2}},
         {{"width", 0.06}}},
        {"area in O above B",
         [](double x) { return std::fabs(x - 0.5) < 2.005 ? 1.5 : 0.0; },
         {{"", 6.015}, {"x", 0.5}, {"z", 0.75}},
         {{"", 0.0151}, {"x", 0.0101}, {"z", 2e-3}}},
        // The same on slopes.
        {"area in M above K",
         [](double x) { return 0.3 * x + std::max(0.0, 2 - std::fabs(x - 2)); },
         {{"", 4}, {"x", 2}, {"z", 0.6 + 2.0 / 3}}},
        {"thickness M S square",
         [](double x) { return 0.75 * x + 2.5; },
         {{"mean", 2}, {"min", 2}, {"max", 2}, {"median", 2}},
         {},
         [](double x) { return 0.75 * x; }},
        {"step L R", [](double x) { return 0.75 * x + (x > 0 ? 2.5 : 0); }, {{"", 2}}},
        {"intersection L R", [](double x) { return 1 + (x < 0 ? 0.5 : -0.3) * x; }, {{"x", 0}, {"z", 1}}},
        {"groove in M",
         [](double x) { return 0.75 * x + std::min(0.0, 2 * std::fabs(x) - 5); },
         {{"width", 6.25}, {"depth", 4}, {"x", 0}, {"z", -5}, {"area", 12.5}}},
        {"arc in M",
         [](double x) { return std::fabs(x - 2.5) < 3.5 ? std::sqrt(36 - (x - 3) * (x - 3)) - 4 : none; },
         {{"radius", 6}, {"x", 3}, {"z", -4}}},
        {"corner in M",
         [](double x) { return (x < 0 ? 0.8 : 0.1) * x; },
         {{"x", 0}, {"z", 0}, {"angle", 180 - (std::atan(0.8) - std::atan(0.1)) * kDegreesPerRadian}}},
        {"edge in M window 20",
         [](double x) { return std::clamp(5 * x, -0.5, 0.5); },
         {{"x", 0}, {"z", 0}},
         {{"x", 2e-3}, {"z", 7e-3}}}};
    return all;
}

}  // namespace TestSupport
