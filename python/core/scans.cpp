// Scans, planes, sections, outlines and grids. A scan keeps the form in which it was read until profiles are
// asked for.
#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/choices.h"

#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/height_plane.h>
#include <kvmeasure/scans/outline_search.h>
#include <kvmeasure/scans/scan_file.h>
#include <kvmeasure/scans/scan_writer.h>
#include <kvmeasure/scans/surface.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

Scan readScan(const Path& path, double step, double start, bool heightLast, const py::object& map) {
    ScanOptions options;
    if (!std::isnan(step) && !(step > 0 && std::isfinite(step)))
        throw argumentError("step", QString("needs a distance above 0 mm, not %1").arg(step));
    options.step = step;
    options.start = start;
    options.heightLast = heightLast;
    if (!map.is_none())
        options.map = map.cast<Path>().text;
    options.progress = untilInterrupted();
    const py::gil_scoped_release release;
    Scan scan = loadScan(path.text, options);
    if (!scan.doubt.isEmpty())
        throw Error(scan.doubt);
    return scan;
}

/// A stack of profiles at given places, or a cloud.
Scan makeScan(const py::object& points, const py::object& places) {
    Scan scan;
    scan.form = "array";
    if (places.is_none()) {
        scan.cloud = cloudFrom(points, "points");
    } else {
        const std::vector<double> z = numbersFrom(places, "z");
        std::size_t i = 0;
        for (const py::handle& profile : py::reinterpret_borrow<py::iterable>(points)) {
            if (i >= z.size() || !std::isfinite(z[i]))
                throw argumentError(
                    "z", QString("needs a finite place for each profile; there are %1").arg(z.size()));
            KvMath::KvProfileZ placed(static_cast<float>(z[i]));
            placed.points = profileFrom(profile, "points", Empty::Allowed).points;
            scan.stack.append(placed);
            ++i;
        }
        if (i != z.size())
            throw argumentError("z", QString("has %1 places for %2 profiles").arg(z.size()).arg(i));
        scan.isStack = true;
    }
    scan.countPoints();
    scan.requireRoom("points");
    if (scan.points == 0)
        throw argumentError("points", "has no points");
    return scan;
}

py::array cloudOf(const Scan& scan) {
    py::array_t<float> array({static_cast<py::ssize_t>(scan.points), py::ssize_t(3)});
    float* to = array.mutable_data();
    Scan::forEachPoint(scan, [&](float x, float place, float height) {
        *to++ = x;
        *to++ = height;
        *to++ = place;
    });
    return py::array(std::move(array));
}

/// [(array, z)] of each profile.
py::list profilesOf(Scan& scan) {
    const KvMath::KvProfileZSet stack = takeStack(scan, "the scan");
    py::list profiles;
    for (const KvMath::KvProfileZ& profile : stack.profiles)
        profiles.append(py::make_tuple(arrayFrom(profile), static_cast<double>(profile.z)));
    return profiles;
}

HeightPlane planeOf(const Scan& scan, bool isRobust) {
    HeightPlane plane;
    const py::gil_scoped_release release;
    if (!(isRobust ? fitHeightsRobustly(scan, plane) : fitHeights(scan, plane)))
        throw Error("no plane of heights goes through these points: fewer than three, or on one line seen "
                    "from above");
    return plane;
}

KvMath::KvProfile sectionOf(Scan& scan, double atScan, double atX, double spacing) {
    if (std::isnan(atScan) == std::isnan(atX))
        throw argumentError("at_scan", "give either at_scan or at_x, mm");
    const py::gil_scoped_release release;
    const KvMath::KvProfileZSet stack = takeStack(scan, "the scan");
    const Steps steps = estimateSteps(stack);
    constexpr double kApart = 2.5;  // usual distances, as kvmeasure scan section has it
    const ScanSurface surface(stack, kApart * steps.x, kApart * steps.scan);
    return (std::isnan(atScan) ? sectionAtX(surface, atX, spacing) : sectionAtScan(surface, atScan, spacing))
        .profile;
}

Outline outlineOf(Scan& scan, double level, double coin) {
    OutlineParameters parameters;
    parameters.level = level;
    parameters.coin = coin;
    if (coin <= 0)
        throw argumentError("coin", QString("needs a radius above 0 mm, not %1").arg(coin));
    const py::gil_scoped_release release;
    const KvMath::KvProfileZSet stack = takeStack(scan, "the scan");
    deriveParameters(stack, "the scan", parameters);
    return findOutline(stack, parameters);
}

Segments sidesOf(const Outline& outline) {
    Segments sides;
    for (const OutlineLine& line : outline.lines)
        sides.append(line.line);
    return sides;
}

std::vector<double> anglesOf(const Outline& outline) {
    std::vector<double> angles;
    angles.reserve(static_cast<std::size_t>(outline.lines.size()));
    for (int i = 0; i < static_cast<int>(outline.lines.size()); ++i)
        angles.push_back(innerAngle(outline.lines, i));
    return angles;
}

/// (heights (rows, columns), x of the columns, places of the rows).
py::tuple gridOf(Scan& scan, double stepX, double stepScan) {
    KvMath::KvMatrixCloud grid;
    {
        const py::gil_scoped_release release;
        const KvMath::KvProfileZSet stack = takeStack(scan, "the scan");
        Steps steps = estimateSteps(stack);
        steps.x = std::isnan(stepX) ? steps.x : stepX;
        steps.scan = std::isnan(stepScan) ? steps.scan : stepScan;
        grid = makeGrid(stack, steps, "the scan");
    }
    py::array_t<float> heights({static_cast<py::ssize_t>(grid.rows), static_cast<py::ssize_t>(grid.columns)});
    std::copy(grid.heights.constBegin(), grid.heights.constEnd(), heights.mutable_data());
    std::vector<double> x, places;
    x.reserve(static_cast<std::size_t>(grid.columns));
    places.reserve(static_cast<std::size_t>(grid.rows));
    for (int i = 0; i < grid.columns; ++i)
        x.push_back(cellX(grid, i));
    for (int i = 0; i < grid.rows; ++i)
        places.push_back(cellScan(grid, i));
    return py::make_tuple(heights, x, places);
}

void bindResults(py::module_& module) {
    py::class_<HeightPlane>(module, "HeightPlane", "height = a * x + b * scan + c, mm.")
        .def_readonly("a", &HeightPlane::a, "Slope along x.")
        .def_readonly("b", &HeightPlane::b, "Slope along the scan.")
        .def_readonly("c", &HeightPlane::c, "Height at x = 0, scan = 0, mm.")
        .def_property_readonly("rms", &HeightPlane::rms, "Root mean square residual of height, mm.")
        .def_readonly("lowest", &HeightPlane::lowest, "Least residual, mm.")
        .def_readonly("highest", &HeightPlane::highest, "Greatest residual, mm.")
        .def_readonly("count", &HeightPlane::count, "Points of the fit.")
        .def("height", &HeightPlane::height, py::arg("x"), py::arg("scan"),
             "Height of the plane at a place, mm.");
    py::class_<Outline>(module, "Outline", "The outline of a part in a scan; places are (x, scan), mm.")
        .def_property_readonly("lines", &sidesOf, "The sides (n, 4), clockwise: x and scan of start and end.")
        .def_property_readonly("angles", &anglesOf, "Angle inside at the end of each side, (n,), degrees.")
        .def_readonly("object_points", &Outline::objectPoints, "Points above the level.")
        .def("__len__", [](const Outline& o) { return o.lines.size(); });
}

}  // namespace

void bindScans(py::module_& module) {
    bindResults(module);
    py::class_<Scan>(module, "Scan", "A 3D scan: profiles in order, or points without order.")
        .def(py::init(&makeScan), py::arg("points"), py::arg("z") = py::none(),
             "A scan of a cloud (n, 3): x, height, place along the scan; or of profiles with their places z "
             "(n,), mm.")
        .def_readonly("form", &Scan::form, "What the file holds.")
        .def_readonly("stack", &Scan::isStack, "It holds profiles; False: a cloud.")
        .def_readonly("unset", &Scan::unset, "Points that were left out.")
        .def_property_readonly("points", &cloudOf, "(n, 3): x, height, place along the scan, mm, float32.")
        .def("__len__", [](const Scan& s) { return s.points; })
        .def("_profiles", &profilesOf)
        .def("section", &sectionOf, py::kw_only(), py::arg("at_scan") = kNothing, py::arg("at_x") = kNothing,
             py::arg("spacing") = kNothing,
             "A profile through the scan across it (at_scan) or along it (at_x), mm. spacing: of its points; "
             "NaN: those of the scan.")
        .def("plane", &planeOf, py::kw_only(), py::arg("robust") = false,
             "The plane of least squares of the heights; robust leaves out what does not belong to it.")
        .def("outline", &outlineOf, py::kw_only(), py::arg("level") = kNothing, py::arg("coin") = kNothing,
             "The outline of the part above level, mm; NaN: both follow from the scan. No side: nothing "
             "closed was found.")
        .def("grid", &gridOf, py::kw_only(), py::arg("step_x") = kNothing, py::arg("step_scan") = kNothing,
             "(heights (rows, columns), x of the columns, places of the rows), mm; cells without points are "
             "NaN.")
        .def(
            "write",
            [](Scan& scan, const Path& path, const QString& form, bool heightLast) {
                const ScanForm chosen = parseScanForm(form, path.text);
                const Progress progress = untilInterrupted();
                const py::gil_scoped_release release;
                writeScan(path.text, chosen, heightLast, scan, progress);
            },
            py::arg("path"), py::kw_only(), py::arg("form") = "", py::arg("height_last") = false,
            "Writes the scan; form by the name, or stack, cloud, xyz, grid, ply, ply-ascii.");
    module.def("read_scan", &readScan, py::arg("path"), py::kw_only(), py::arg("step") = kNothing,
               py::arg("start") = 0.0, py::arg("height_last") = false, py::arg("map") = py::none(),
               "Reads a scan of any form: stacks, clouds, PLY, XYZ, grids, height maps. step: distance of "
               "profiles that have no\n"
               "place, mm; height_last: points are (x, scan, height); map: description of a raw height map.");
}

}  // namespace KvMathPython
