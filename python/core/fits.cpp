// fit_line and fit_circle. A fit keeps the residuals of its points, which give noise and uncertainty.
#include "python/core/arrays.h"
#include "python/core/bindings.h"
#include "python/core/text.h"

#include <kvmeasure/profiles/robust_arc.h>
#include <kvmeasure/profiles/robust_line.h>

#include <cmath>

namespace KvMathPython {

using KvMeasure::ArcFit;
using KvMeasure::ArcUncertainty;
using KvMeasure::LargestError;
using KvMeasure::LineFit;
using KvMeasure::LineUncertainty;
using KvMeasure::RobustFitting;
using KvMeasure::Vector;

namespace {

/// A fit with its uncertainty, which rests on the noise of these points alone.
struct Line {
    LineFit fit;
    LineUncertainty u;
};

/// A circle likewise.
struct Circle {
    ArcFit fit;
    ArcUncertainty u;
};

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

py::tuple pair(const Vector& vector) { return py::make_tuple(vector.x, vector.y); }

/// ((x, height), distance); of no point: None.
py::object largest(const LargestError& error) {
    if (error.distance == 0)
        return py::none();
    return py::make_tuple(pair(error.at), error.distance);
}

RobustFitting fittingOf(bool isRobust, double cut) {
    if (!(cut > 0) || !std::isfinite(cut))
        throw argumentError("cut", QString("needs a number of standard deviations above 0, not %1").arg(cut));
    return {isRobust, cut};
}

KvMeasure::NoiseModel noiseOf(const std::vector<double>& residuals, int parameters) {
    KvMeasure::ResidualNoise noise;
    noise.add(residuals, parameters);
    return noise.model();
}

Line fitLine(const py::handle& points, bool isRobust, double cut) {
    const RobustFitting fitting = fittingOf(isRobust, cut);
    const std::vector<Vector> taken = pointsFrom(points, "points");
    const py::gil_scoped_release release;
    Line line;
    line.fit = KvMeasure::fitLine(taken, fitting);
    if (line.fit.isFound())
        line.u = lineUncertainty(line.fit, noiseOf(line.fit.residuals, 2));
    else
        line.u.reason = line.fit.reason;
    return line;
}

Circle fitCircle(const py::handle& points, bool isRobust, double cut) {
    const RobustFitting fitting = fittingOf(isRobust, cut);
    const std::vector<Vector> taken = pointsFrom(points, "points");
    const py::gil_scoped_release release;
    Circle circle;
    circle.fit = KvMeasure::fitArc(taken, fitting);
    if (circle.fit.isFound())
        circle.u = arcUncertainty(circle.fit, noiseOf(circle.fit.residuals, 3));
    else
        circle.u.reason = circle.fit.reason;
    return circle;
}

/// A member of a fit, NaN where there is none.
template <class Fit, class Get>
auto found(Get get) {
    return [get](const Fit& self) { return self.fit.isFound() ? get(self) : kNothing; };
}

void bindLineMembers(py::class_<Line>& line) {
    line.def_property_readonly(
            "found", [](const Line& l) { return l.fit.isFound(); }, "There is a line.")
        .def_property_readonly(
            "reason", [](const Line& l) { return l.fit.reason; }, "Why there is none; \"\" where there is.")
        .def_property_readonly(
            "u_reason", [](const Line& l) { return l.u.reason; }, "Why the uncertainties are not known.")
        .def_property_readonly(
            "centre",
            [](const Line& l) { return pair(l.fit.isFound() ? l.fit.centre : Vector(kNothing, kNothing)); },
            "(x, z) of the line at the mean of its points, mm.")
        .def_property_readonly(
            "along",
            [](const Line& l) { return pair(l.fit.isFound() ? l.fit.along : Vector(kNothing, kNothing)); },
            "Unit vector (x, z) along the line: x > 0, or (0, 1).")
        .def_property_readonly(
            "in_height", [](const Line& l) { return l.fit.isInHeight; },
            "Heights were fitted; False: distances square to the line, from 60 degrees on.")
        .def_property_readonly(
            "points", [](const Line& l) { return l.fit.points; }, "Number of points that it was fitted to.")
        .def_property_readonly(
            "rejected", [](const Line& l) { return l.fit.rejected; }, "Number of points that were left out.")
        .def_property_readonly(
            "above", [](const Line& l) { return largest(l.fit.above); },
            "((x, z), distance) of the point farthest above, mm; None: no point is there.")
        .def_property_readonly(
            "below", [](const Line& l) { return largest(l.fit.below); },
            "The same below; its distance is negative.")
        .def_property_readonly(
            "residuals", [](const Line& l) { return arrayFrom(l.fit.residuals); },
            "Of the fitted points in the order of x, mm, (n,).")
        .def(
            "z_at",
            [](const Line& l, double x) {
                return l.fit.isFound() && l.fit.along.x > 0
                           ? l.fit.centre.y + (x - l.fit.centre.x) * (l.fit.along.y / l.fit.along.x)
                           : kNothing;
            },
            py::arg("x"), "Height of the line at x, mm; NaN for a vertical line.")
        .def(
            "distance_of",
            [](const Line& l, double x, double z) {
                return l.fit.isFound() ? l.fit.distanceOf({x, z}) : kNothing;
            },
            py::arg("x"), py::arg("z"), "Distance of a point from the line, mm, positive above.")
        .def("__repr__", [](const Line& l) {
            return l.fit.isFound()
                       ? QString("LineFit(z = %1 * x + %2, deviation %3 mm, %4 points, %5 rejected)")
                             .arg(l.fit.along.y / l.fit.along.x)
                             .arg(l.fit.centre.y - l.fit.centre.x * (l.fit.along.y / l.fit.along.x))
                             .arg(l.fit.deviation)
                             .arg(l.fit.points)
                             .arg(l.fit.rejected)
                       : QString("LineFit(not found: %1)").arg(l.fit.reason);
        });
}

void bindLine(py::module_& module) {
    py::class_<Line> line(module, "LineFit", "A line fitted to points: z = slope * x + intercept, mm.");
    const auto number = [&line](const char* name, auto get, const char* text) {
        line.def_property_readonly(name, found<Line>(get), text);
    };
    number(
        "slope", [](const Line& l) { return l.fit.along.x > 0 ? l.fit.along.y / l.fit.along.x : kNothing; },
        "Rise per mm along x; NaN for a vertical line.");
    number(
        "intercept",
        [](const Line& l) {
            return l.fit.along.x > 0 ? l.fit.centre.y - l.fit.centre.x * (l.fit.along.y / l.fit.along.x)
                                     : kNothing;
        },
        "Height at x = 0, mm; NaN for a vertical line.");
    number(
        "angle",
        [](const Line& l) { return std::atan2(l.fit.along.y, l.fit.along.x) * KvMeasure::kDegreesPerRadian; },
        "Direction from the x axis, degrees, above -90 to 90.");
    number(
        "deviation", [](const Line& l) { return l.fit.deviation; },
        "Standard deviation of the points square to the line, mm.");
    number(
        "u_offset", [](const Line& l) { return l.u.offset; },
        "Standard uncertainty square to the line at its centre, mm; NaN: not known, see u_reason.");
    number(
        "u_angle", [](const Line& l) { return l.u.direction * KvMeasure::kDegreesPerRadian; },
        "Standard uncertainty of the angle, degrees; NaN: not known, see u_reason.");
    bindLineMembers(line);
}

void bindCircleMembers(py::class_<Circle>& circle) {
    circle
        .def_property_readonly(
            "found", [](const Circle& c) { return c.fit.isFound(); }, "There is a circle.")
        .def_property_readonly(
            "reason", [](const Circle& c) { return c.fit.reason; }, "Why there is none; \"\" where there is.")
        .def_property_readonly(
            "u_reason", [](const Circle& c) { return c.u.reason; }, "Why the uncertainties are not known.")
        .def_property_readonly(
            "centre",
            [](const Circle& c) {
                return pair(c.fit.isFound() ? c.fit.circle.centre : Vector(kNothing, kNothing));
            },
            "(x, z), mm.")
        .def_property_readonly(
            "nearly_straight", [](const Circle& c) { return c.fit.isFound() && c.fit.isNearlyStraight; },
            "The arc rises over its chord by less than three deviations: the radius may be any.")
        .def_property_readonly(
            "points", [](const Circle& c) { return c.fit.points; }, "Number of points that it was fitted to.")
        .def_property_readonly(
            "rejected", [](const Circle& c) { return c.fit.rejected; },
            "Number of points that were left out.")
        .def_property_readonly(
            "outside", [](const Circle& c) { return largest(c.fit.outside); },
            "((x, z), distance) of the point farthest outside, mm; None: no point is there.")
        .def_property_readonly(
            "inside", [](const Circle& c) { return largest(c.fit.inside); },
            "The same inside; its distance is negative.")
        .def_property_readonly(
            "residuals", [](const Circle& c) { return arrayFrom(c.fit.residuals); },
            "Of the fitted points in their order, mm, outside positive, (n,).")
        .def_property_readonly(
            "used", [](const Circle& c) { return arrayFrom(c.fit.used); }, "The fitted points, (n, 2).")
        .def("__repr__", [](const Circle& c) {
            return c.fit.isFound() ? QString("CircleFit(centre (%1, %2), radius %3 mm, deviation %4 mm, %5 "
                                             "points, %6 rejected)")
                                         .arg(c.fit.circle.centre.x)
                                         .arg(c.fit.circle.centre.y)
                                         .arg(c.fit.circle.radius)
                                         .arg(c.fit.deviation)
                                         .arg(c.fit.points)
                                         .arg(c.fit.rejected)
                                   : QString("CircleFit(not found: %1)").arg(c.fit.reason);
        });
}

void bindCircle(py::module_& module) {
    py::class_<Circle> circle(module, "CircleFit", "A circle of least squared distances through points.");
    const auto number = [&circle](const char* name, auto get, const char* text) {
        circle.def_property_readonly(name, found<Circle>(get), text);
    };
    number(
        "radius", [](const Circle& c) { return c.fit.circle.radius; }, "mm.");
    number(
        "deviation", [](const Circle& c) { return c.fit.deviation; },
        "Standard deviation of the points from the circle, mm.");
    number(
        "angle_covered", [](const Circle& c) { return c.fit.span.span * KvMeasure::kDegreesPerRadian; },
        "What the points cover of the circle, degrees.");
    number(
        "u_x", [](const Circle& c) { return c.u.x; },
        "Standard uncertainty of the centre along x, mm; NaN: not known.");
    number(
        "u_z", [](const Circle& c) { return c.u.z; },
        "Standard uncertainty of the centre in height, mm; NaN: not known.");
    number(
        "u_radius", [](const Circle& c) { return c.u.radius; },
        "Standard uncertainty of the radius, mm; NaN: not known.");
    bindCircleMembers(circle);
}

}  // namespace

void bindFits(py::module_& module) {
    bindLine(module);
    bindCircle(module);
    module.def("fit_line", &fitLine, py::arg("points"), py::kw_only(), py::arg("robust") = true,
               py::arg("cut") = 3.5,
               "Fits a line to points (n, 2), mm, in any order. Heights are fitted where the line rises by "
               "less than\n"
               "60 degrees, else distances square to it. Points farther off than `cut` standard deviations "
               "are left\n"
               "out; robust=False takes all. Too few points: the fit is not found, and says why.");
    module.def(
        "fit_circle", &fitCircle, py::arg("points"), py::kw_only(), py::arg("robust") = true,
        py::arg("cut") = 3.5,
        "Fits the circle of least squared distances to points (n, 2), mm, in the order of the scan. Points\n"
        "farther off than `cut` standard deviations are left out; robust=False takes all. Points on a\n"
        "straight line and too few of them: the fit is not found, and says why.");
}

}  // namespace KvMathPython
