// Zones, step height and roughness. Points are taken in doubles, and the lock of Python is released while a
// zone is searched for.
#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/choices.h"

#include <kvmeasure/form/flatness.h>
#include <kvmeasure/form/roughness.h>
#include <kvmeasure/form/roundness.h>
#include <kvmeasure/form/step_height.h>
#include <kvmeasure/form/straightness.h>
#include <kvmeasure/form/stray_points.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

std::vector<SpacePoint> spacePoints(const py::handle& points) {
    const py::array_t<double> table = tableFrom(points, "points", 3);
    std::vector<SpacePoint> taken;
    taken.reserve(static_cast<std::size_t>(table.shape(0)));
    const double* at = table.data();
    for (py::ssize_t i = 0; i < table.shape(0); ++i, at += 3) {
        if (std::isinf(at[0]) || std::isinf(at[1]) || std::isinf(at[2]))
            throw argumentError("points", QString("row %1 is infinite; NaN is unset").arg(i));
        if (!std::isnan(at[0] + at[1] + at[2]))
            taken.push_back({at[0], at[1], at[2]});
    }
    return taken;
}

/// The points without those that lie far off their neighbours; NaN: all.
template <class Points>
Points withoutStrays(const Points& points, double cut) {
    if (std::isnan(cut))
        return points;
    if (!(cut > 0))
        throw argumentError("stray_cut", QString("needs a number of deviations above 0, not %1").arg(cut));
    const StrayPoints found = strayPoints(points, cut);
    Points kept;
    kept.reserve(points.size());
    std::size_t next = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (next < found.strays.size() && found.strays[next] == static_cast<int>(i))
            ++next;
        else
            kept.push_back(points[i]);
    }
    return kept;
}

template <class Zone>
py::class_<Zone> bindZone(py::module_& module, const char* name, const char* text) {
    py::class_<Zone> zone(module, name, text);
    zone.def_readonly("width", &Zone::width, "mm; NaN: there is none, see reason.")
        .def_property_readonly(
            "valid", [](const Zone& z) { return z.isValid(); }, "There is a zone.")
        .def_readonly("reason", &Zone::reason, "Why there is none; \"\" where there is.")
        .def_readonly("contacts", &Zone::contacts, "Indices of the points on its bounds, ascending.")
        .def_property_readonly(
            "certified", [](const Zone& z) { return z.certificate.isValid; },
            "It is proven that no zone is narrower, but for rounding.")
        .def_property_readonly(
            "lower_bound", [](const Zone& z) { return z.certificate.lowerBound; },
            "No zone is narrower than this, mm; NaN: not a minimum zone.");
    return zone;
}

void bindZones(py::module_& module) {
    bindZone<LineZone>(module, "LineZone", "Two parallel lines about all points.")
        .def_readonly("normal", &LineZone::normal, "(x, z), of unit length, square to the lines.")
        .def_readonly("height", &LineZone::height,
                      "Distance of the lines along z, mm; inf: they are upright.");
    py::class_<Straightness>(module, "Straightness", "Straightness of a profile (ISO 12780), mm.")
        .def_readonly("count", &Straightness::count, "Points.")
        .def_readonly("minimum_zone", &Straightness::minimumZone,
                      "LineZone of least width square to the lines.")
        .def_readonly("minimum_zone_along_z", &Straightness::minimumZoneAlongZ,
                      "LineZone of least width along z.")
        .def_readonly("least_squares", &Straightness::leastSquares,
                      "LineZone about the line of least squares.")
        .def_readonly("deviation", &Straightness::deviation, "Root mean square distance from that line, mm.");
    bindZone<PlaneZone>(module, "PlaneZone", "Two parallel planes about all points.")
        .def_readonly("normal", &PlaneZone::normal, "(x, y, z), of unit length, square to the planes.")
        .def_readonly("height", &PlaneZone::height,
                      "Distance of the planes along z, mm; inf: they are upright.");
    py::class_<Flatness>(module, "Flatness", "Flatness of a surface (ISO 12781), mm.")
        .def_readonly("count", &Flatness::count, "Points.")
        .def_readonly("minimum_zone", &Flatness::minimumZone,
                      "PlaneZone of least width square to the planes.")
        .def_readonly("minimum_zone_along_z", &Flatness::minimumZoneAlongZ,
                      "PlaneZone of least width along z.")
        .def_readonly("least_squares", &Flatness::leastSquares, "PlaneZone about the plane of least squares.")
        .def_readonly("deviation", &Flatness::deviation, "Root mean square distance from that plane, mm.");
    bindZone<RoundZone>(module, "RoundZone", "Two circles about one centre with all points between them.")
        .def_readonly("centre", &RoundZone::centre, "(x, z), mm.")
        .def_readonly("radius", &RoundZone::radius,
                      "Of the fitted circle, mm; of a minimum zone the middle one.")
        .def_readonly("inner_radius", &RoundZone::innerRadius, "Distance of the nearest point, mm.")
        .def_readonly("outer_radius", &RoundZone::outerRadius, "Distance of the farthest point, mm.");
    py::class_<Roundness>(module, "Roundness", "Roundness of a profile (ISO 12181), mm.")
        .def_readonly("count", &Roundness::count, "Points.")
        .def_readonly("minimum_zone", &Roundness::minimumZone, "RoundZone of least difference of the radii.")
        .def_readonly("least_squares", &Roundness::leastSquares,
                      "RoundZone about the circle of least squares.")
        .def_readonly("circumscribed", &Roundness::circumscribed,
                      "RoundZone about the smallest circle round all points.")
        .def_readonly("inscribed", &Roundness::inscribed,
                      "RoundZone about the largest circle between the points.")
        .def_readonly("deviation", &Roundness::deviation,
                      "Root mean square distance from the circle of least squares, mm.");
}

void bindZoneFunctions(py::module_& module) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    module.def(
        "straightness",
        [](const py::handle& points, double cut) {
            const std::vector<Vector> taken = pointsFrom(points, "points");
            const py::gil_scoped_release release;
            return straightness(withoutStrays(taken, cut));
        },
        py::arg("points"), py::kw_only(), py::arg("stray_cut") = kNone,
        "Straightness of points (n, 2), mm. stray_cut leaves out points so many deviations off their "
        "neighbours first;\n"
        "NaN: every point counts. Contacts count the points that are left.");
    module.def(
        "flatness",
        [](const py::handle& points, double cut) {
            const std::vector<SpacePoint> taken = spacePoints(points);
            const py::gil_scoped_release release;
            return flatness(withoutStrays(taken, cut));
        },
        py::arg("points"), py::kw_only(), py::arg("stray_cut") = kNone,
        "Flatness of points (n, 3), mm; \"along z\" means the last column. Clouds have the height in the "
        "middle: give\n"
        "cloud[:, [0, 2, 1]]. A million points take about a second. stray_cut as for straightness.");
    module.def(
        "roundness",
        [](const py::handle& points) {
            const std::vector<Vector> taken = pointsFrom(points, "points");
            const py::gil_scoped_release release;
            return roundness(taken);
        },
        py::arg("points"), "Roundness of points (n, 2), mm, about four circles.");
}

void bindStep(py::module_& module) {
    py::class_<StepHeight>(module, "StepHeight", "Depth of a groove or height of a ridge (ISO 5436-1).")
        .def_readonly("height", &StepHeight::height,
                      "Depth, mm, positive of a groove; NaN: none, see reason.")
        .def_property_readonly("valid", &StepHeight::isValid, "There is a height.")
        .def_readonly("reason", &StepHeight::reason, "Why there is none; \"\" where there is.")
        .def_readonly("from_edge", &StepHeight::fromEdge, "x of the left edge, mm.")
        .def_readonly("to_edge", &StepHeight::toEdge, "x of the right edge, mm.")
        .def_readonly("slope", &StepHeight::slope, "Of the references, mm / mm.")
        .def_readonly("deviation", &StepHeight::deviation, "Of the fit, mm.")
        .def_readonly("points_a", &StepHeight::pointsA, "Of the left reference.")
        .def_readonly("points_b", &StepHeight::pointsB, "Of the right reference.")
        .def_readonly("points_c", &StepHeight::pointsC, "Of the bottom.")
        .def_readonly("complete", &StepHeight::isComplete, "The points cover three widths of the groove.");
    module.def(
        "step_height",
        [](const py::handle& points, double from, double to, const QString& type) {
            const std::vector<Vector> taken = pointsFrom(points, "points");
            const auto chosen = choice<StepType>(type, {"a1", "a2"}, "type");
            const py::gil_scoped_release release;
            return stepHeight(taken, from, to, chosen);
        },
        py::arg("points"), py::arg("from_edge"), py::arg("to_edge"), py::kw_only(), py::arg("type") = "a1",
        "The depth of the groove between two edges, x in mm, of points (n, 2). type: \"a1\" for a flat "
        "bottom, \"a2\" for a\n"
        "rounded one.");
}

void bindRoughness(py::module_& module) {
    py::class_<Roughness> made(module, "Roughness", "Roughness and waviness of a profile, mm.");
    const std::pair<const char*, double RoughnessValues::*> values[] = {
        {"ra", &RoughnessValues::ra},   {"rq", &RoughnessValues::rq},   {"rz", &RoughnessValues::rz},
        {"rp", &RoughnessValues::rp},   {"rv", &RoughnessValues::rv},   {"rt", &RoughnessValues::rt},
        {"rsk", &RoughnessValues::rsk}, {"rku", &RoughnessValues::rku}, {"rsm", &RoughnessValues::rsm},
        {"wa", &RoughnessValues::wa},   {"wz", &RoughnessValues::wz}};
    for (const auto& [name, member] : values) {
        const auto value = member;
        made.def_property_readonly(
            name, [value](const Roughness& r) { return r.values.*value; },
            "mm, rsk and rku without unit; NaN: none, see reason and notes.");
    }
    made.def_readonly("reason", &Roughness::reason, "Why there are no values; \"\" where there are.")
        .def_readonly("sections", &Roughness::sections, "Sampling lengths evaluated.")
        .def_readonly("pitch", &Roughness::pitch, "Median point distance, mm.")
        .def_readonly("notes", &Roughness::notes, "What a reader must know of the values.")
        .def_readonly("x", &Roughness::x, "Places of waviness and heights, (n,), mm.")
        .def_readonly("waviness", &Roughness::waviness, "Mean line less the straight line, (n,), mm.")
        .def_readonly("heights", &Roughness::heights, "Roughness profile, (n,), mm.");
    module.def(
        "roughness",
        [](const py::handle& points, double cutoff, double shortCutoff, const QString& norm, bool isRobust,
           bool keepsEnds) {
            const std::vector<Vector> taken = pointsFrom(points, "points");
            const RoughnessSettings settings{cutoff, shortCutoff,
                                             choice<RoughnessNorm>(norm, {"iso21920", "iso4287"}, "norm"),
                                             isRobust, keepsEnds};
            const py::gil_scoped_release release;
            return roughness(taken, settings);
        },
        py::arg("points"), py::kw_only(), py::arg("cutoff") = 0.8, py::arg("short_cutoff") = 0.0,
        py::arg("norm") = "iso21920", py::arg("robust") = false, py::arg("keeps_ends") = false,
        "Roughness of points (n, 2), mm. cutoff and short_cutoff (0: none) are lambda c and lambda s, mm; "
        "norm is\n"
        "\"iso21920\" or \"iso4287\"; robust: the mean line does not follow stray points.");
}

}  // namespace

void bindForm(py::module_& module) {
    bindZones(module);
    bindZoneFunctions(module);
    bindStep(module);
    bindRoughness(module);
}

}  // namespace KvMathPython
