// Outlines round points, filters of clouds, and the circumference of a wheel.

#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/pictures.h"

#include <kvmeasure/drawing/circumference_picture.h>

#include <kvmath/contours/hull.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

constexpr double kEndless = std::numeric_limits<double>::infinity();

/// The points of an (n, 2) array in their places: unset ones stay, for the indices count them.
QList<KvMath::KvVector2D<double>> placesFrom(const py::handle& array) {
    const py::array_t<double> table = tableFrom(array, "points", 2);
    QList<KvMath::KvVector2D<double>> points;
    points.reserve(static_cast<int>(table.shape(0)));
    const double* at = table.data();
    for (py::ssize_t i = 0; i < table.shape(0); ++i, at += 2) {
        if (std::isinf(at[0]) || std::isinf(at[1]))
            throw argumentError("points", QString("row %1 is infinite; NaN is unset").arg(i));
        const bool isSet = !std::isnan(at[0]) && !std::isnan(at[1]);
        points.append({isSet ? at[0] : std::nan(""), isSet ? at[1] : std::nan("")});
    }
    return points;
}

void requireRadius(double radius) {
    if (!(radius > 0))
        throw argumentError("radius", QString("needs a distance above 0 mm, not %1").arg(radius));
}

std::vector<int> coinHull(const py::handle& array, double radius) {
    requireRadius(radius);
    const QList<KvMath::KvVector2D<double>> points = placesFrom(array);
    QList<int> indices;
    const py::gil_scoped_release release;
    if (!KvMath::getCoinHull(points, radius, indices))
        throw argumentError("radius", QString("the walk of a coin of %1 mm does not close").arg(radius));
    std::vector<int> touched;  // without the first of points that are all unset
    for (const int index : indices) {
        if (std::isfinite(points[index].x))
            touched.push_back(index);
    }
    return touched;
}

std::vector<Vector> pseudoConvexHull(const py::handle& array, double radius, int most) {
    requireRadius(radius);
    const QList<KvMath::KvVector2D<double>> points = placesFrom(array);
    const py::gil_scoped_release release;
    std::vector<Vector> outline;
    for (const auto& point : KvMath::getPseudoConvexHull(points, radius, most)) {
        if (std::isfinite(point.x))
            outline.emplace_back(point.x, point.y);
    }
    return outline;
}

/// A cloud without its sparse places: those of cubes, or of balls in them.
py::array sparseOut(const py::handle& array, double cell, int least, bool isSpherical) {
    if (!(cell > 0) || !std::isfinite(cell))
        throw argumentError("cell", QString("needs a length above 0 mm, not %1").arg(cell));
    if (least < 1)
        throw argumentError("least", QString("needs a number of points from 1 on, not %1").arg(least));
    KvMath::KvPointCloud<KvMath::KvPointXYZ> cloud = cloudFrom(array, "cloud");
    {
        const py::gil_scoped_release release;
        const auto size = static_cast<float>(cell);
        if (isSpherical)
            cloud.sphericalFilter2(size, size, least);
        else
            cloud.cubicFilter(size, least);
    }
    return arrayFrom(cloud);
}

void bindClouds(py::module_& module) {
    module.def(
        "coin_hull", &coinHull, py::arg("points"), py::arg("radius") = kEndless,
        "Indices (m,) of the points (n, 2) that a coin of this radius, mm, touches when it rolls round them "
        "counter-\n"
        "clockwise from the lowest one; the last is the first again. inf: the convex hull. Gaps up to twice "
        "the radius are\n"
        "bridged, what is farther off is not part of it. Unset points take no part. Empty without points. "
        "Raises Error\nwhere the walk does not close.");
    module.def("pseudo_convex_hull", &pseudoConvexHull, py::arg("points"), py::arg("radius") = kEndless,
               py::kw_only(), py::arg("most") = 0,
               "The outline (m, 2) of points (n, 2), mm, by the sharpest turn to the outside, in steps up to "
               "radius. most: ends\nwith so many points; 0: no limit.");
    module.def(
        "cubic_filter",
        [](const py::handle& cloud, double cell, int least) { return sparseOut(cloud, cell, least, false); },
        py::arg("cloud"), py::arg("cell"), py::arg("least"),
        "A cloud (n, 3), mm, without the points of cubes of edge cell that hold fewer than least: (m, 3), "
        "float32. A cloud\nthat is flat along an axis stays as it is.");
    module.def(
        "spherical_filter",
        [](const py::handle& cloud, double cell, int least) { return sparseOut(cloud, cell, least, true); },
        py::arg("cloud"), py::arg("cell"), py::arg("least"),
        "The same with balls of diameter cell, whose steps are cell / 1.41421; points that no ball holds "
        "stay.");
}

void bindCircumferenceParts(py::module_& module) {
    py::class_<WheelHarmonic>(module, "WheelHarmonic", "A wave round a wheel.")
        .def_readonly("order", &WheelHarmonic::order, "Waves per turn; 1 is the eccentricity.")
        .def_readonly("amplitude", &WheelHarmonic::amplitude, "Half from trough to crest, mm.")
        .def_readonly("angle", &WheelHarmonic::angle, "Of the first crest, degrees.")
        .def_readonly("level", &WheelHarmonic::level, "Of its root mean square, dB above 1 micrometre.");
    py::class_<WheelFlat>(module, "WheelFlat", "A place where a wheel is worn flat.")
        .def_readonly("angle", &WheelFlat::angle, "Of its middle, degrees.")
        .def_readonly("begin", &WheelFlat::from, "Where it begins, degrees; above end where it holds 0.")
        .def_readonly("end", &WheelFlat::to, "Where it ends, degrees.")
        .def_readonly("depth", &WheelFlat::depth, "Below the wheel without flats, mm; NaN: see reason.")
        .def_readonly("length", &WheelFlat::length, "Of the chord, mm; NaN: see reason.")
        .def_readonly("depth_of_chord", &WheelFlat::depthOfChord, "Of a fresh flat of this length, mm.")
        .def_readonly("reason", &WheelFlat::reason, "Why depth and length are not known; \"\": they are.")
        .def_readonly("note", &WheelFlat::note, "How it differs from a fresh flat; \"\": it does not.");
}

template <class Part>
py::list listOf(const std::vector<Part>& parts) {
    py::list list;
    for (const Part& part : parts)
        list.append(part);
    return list;
}

void bindCircumference(py::module_& module) {
    bindCircumferenceParts(module);
    py::class_<Circumference> bound(module, "Circumference",
                                    "What radii round a wheel tell. A notebook shows it as a picture.");
    bound.def_readonly("mean_radius", &Circumference::meanRadius, "Of the mean circle, mm; NaN: not known.")
        .def_readonly("eccentricity", &Circumference::eccentricity,
                      "Of the mean circle from the centre of the angles, mm; NaN: not known.")
        .def_readonly("eccentricity_angle", &Circumference::eccentricityAngle, "Towards it, degrees.")
        .def_readonly("out_of_roundness", &Circumference::outOfRoundness,
                      "Largest less smallest filtered radius, mm; NaN: not known.")
        .def_readonly("deviation", &Circumference::deviation,
                      "Root mean square of the deviations from the mean circle, mm; NaN: not known.")
        .def_readonly("level", &Circumference::level, "The same, dB above 1 micrometre.")
        .def_readonly("seen", &Circumference::seen, "Degrees of the circumference with points.")
        .def_property_readonly(
            "harmonics", [](const Circumference& c) { return listOf(c.harmonics); },
            "WheelHarmonics from order 1 on.")
        .def_property_readonly(
            "flats", [](const Circumference& c) { return listOf(c.flats); }, "WheelFlats, the deepest first.")
        .def_readonly(
            "deviations", &Circumference::deviations,
            "(n, 2): angle, degrees, and filtered radius less the mean circle, mm; NaN between gaps.")
        .def_readonly("reason", &Circumference::reason, "Why nothing is known; \"\": something is.")
        .def_readonly("roundness_reason", &Circumference::roundnessReason,
                      "Why radius, eccentricity, out-of-roundness and harmonics are not known.")
        .def_readonly("flats_reason", &Circumference::flatsReason, "Why no flats were looked for.")
        .def_readonly("notes", &Circumference::notes, "What is to be known of the points.");
    bindPicture(
        bound, [](const Circumference& c) { return drawCircumference(c, "circumference of a wheel", {}); },
        "Deviations over the angle with the flats, above the harmonics, as bytes of \"svg\", \"png\" or "
        "\"pdf\".");
    const CircumferenceOptions usual;
    module.def(
        "evaluate_circumference",
        [](const py::handle& points, double cutoff, int orders, double leastDepth) {
            const std::vector<Vector> taken = pointsFrom(points, "points");
            const py::gil_scoped_release release;
            return evaluateCircumference(taken, {cutoff, orders, leastDepth});
        },
        py::arg("points"), py::kw_only(), py::arg("cutoff") = usual.cutoff, py::arg("orders") = usual.orders,
        py::arg("least_depth") = usual.leastDepth,
        "Flats and out-of-roundness of a wheel from points (n, 2) round it: angle, degrees, and radius, mm. "
        "cutoff of the\n"
        "Gaussian filter, mm; orders: harmonics, 1 to 500; least_depth of a flat, mm. Less than a turn gives "
        "flats alone;\nwhat the points do not tell has a reason.");
}

}  // namespace

void bindOutlines(py::module_& module) {
    bindClouds(module);
    bindCircumference(module);
}

}  // namespace KvMathPython
