// Comparison with a master. A comparison keeps what its picture shows: the points are shared with the
// arguments, not copied.

#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/choices.h"
#include "python/core/pictures.h"
#include "python/core/plans.h"
#include "python/core/registrations.h"

#include <kvmeasure/drawing/comparison_picture.h>
#include <kvmeasure/drawing/deviation_map.h>
#include <kvmeasure/inspection/comparison.h>
#include <kvmeasure/scans/scan_comparison.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();
constexpr double kEndless = std::numeric_limits<double>::infinity();

/// A comparison of profiles with what its picture shows.
struct ProfileComparison {
    Comparison result;
    KvMath::KvProfile master;
    double lower = -kEndless, upper = kEndless;
};

/// A comparison of scans likewise.
struct WholeComparison {
    ScanComparison result;
    Scan scan;
    double lower = -kEndless, upper = kEndless;
};

void requireBand(double lower, double upper) {
    if (!(lower <= upper))
        throw argumentError("lower",
                            QString("needs a limit up to upper, %1 mm, not %2").arg(upper).arg(lower));
}

/// The template of a plan: what the plan does to profiles has been done to the part, where it is wanted.
InspectionPlan templateOf(const py::object& plan, Alignment alignment) {
    if (plan.is_none())
        return {};
    if (alignment != Alignment::Template)
        throw argumentError("plan", "goes with alignment=\"template\"");
    InspectionPlan lines = plan.cast<std::shared_ptr<Plan>>()->inspection;
    lines.master.reset();
    lines.filter.clear();
    lines.tools.clear();
    return lines;
}

ProfileComparison compareProfiles(const py::handle& profile, const py::handle& master,
                                  const QString& alignment, const py::object& plan, double lower,
                                  double upper, bool isRobust, bool findsStart) {
    requireBand(lower, upper);
    ComparisonSettings settings;
    settings.alignment = choice<Alignment>(alignment, alignmentWords(), "alignment");
    settings.registration = {isRobust, findsStart};
    settings.plan = templateOf(plan, settings.alignment);
    settings.lower = lower;
    settings.upper = upper;
    const KvMath::KvProfile part = profileFrom(profile, "profile", Empty::Allowed);
    ProfileComparison comparison{{}, profileFrom(master, "master", Empty::Allowed), lower, upper};
    const py::gil_scoped_release release;
    comparison.result = compare(part, comparison.master, settings);
    return comparison;
}

ScanComparisonSettings scanSettings(Alignment alignment, double lower, double upper, bool isRobust,
                                    bool findsStart, bool leavesStraysOut) {
    requireBand(lower, upper);
    ScanComparisonSettings settings;
    settings.alignment = alignment;
    settings.registration = {isRobust, findsStart};
    settings.leavesStraysOut = leavesStraysOut;
    settings.lower = lower;
    settings.upper = upper;
    settings.progress = untilInterrupted();
    return settings;
}

Alignment scanAlignment(const QString& word) {
    return choice<Alignment>(word, {"none", "registration"}, "alignment");
}

WholeComparison compareWithScan(const Scan& scan, const Scan& master, const QString& alignment, double lower,
                                double upper, bool isRobust, bool findsStart, bool leavesStraysOut) {
    const ScanComparisonSettings settings =
        scanSettings(scanAlignment(alignment), lower, upper, isRobust, findsStart, leavesStraysOut);
    const py::gil_scoped_release release;
    return {compareScans(scan, master, settings), scan, lower, upper};
}

WholeComparison compareWithHeights(const Scan& scan, const HeightPlane& plane, const QString& alignment,
                                   double lower, double upper, bool leavesStraysOut) {
    const ScanComparisonSettings settings =
        scanSettings(scanAlignment(alignment), lower, upper, true, true, leavesStraysOut);
    const py::gil_scoped_release release;
    return {compareWithPlane(scan, plane, settings), scan, lower, upper};
}

QByteArray draw(const ProfileComparison& comparison) {
    return drawComparison({comparison.result.isValid() ? "compared with the master"
                                                       : "not compared: " + comparison.result.reason,
                           comparison.master, comparison.result.isValid() ? &comparison.result : nullptr,
                           comparison.lower, comparison.upper});
}

QByteArray draw(const WholeComparison& comparison) {
    return drawDeviationMap({comparison.result.isValid() ? "compared with the master"
                                                         : "not compared: " + comparison.result.reason,
                             &comparison.scan, &comparison.result, comparison.lower, comparison.upper});
}

/// One deviation: its number, its value and the place on the master.
struct Extreme {
    qint64 number = -1;
    double value = kNothing;
    py::tuple at;
};

py::object extremeOf(const Comparison& result, int number) {
    if (number < 0)
        return py::none();
    const Deviation& deviation = result.deviations[static_cast<std::size_t>(number)];
    return py::cast(Extreme{number, deviation.value, tupleOf(deviation.place)});
}

py::object extremeOf(const ScanDeviation& deviation) {
    if (deviation.number < 0)
        return py::none();
    return py::cast(Extreme{deviation.number, deviation.value, tupleOf(deviation.point)});
}

template <class Registered>
QStringList freeMotions(const Registered& registration) {
    QStringList texts;
    for (const auto& part : registration.parts) {
        if (part.isFree)
            texts.append(part.text());
    }
    return texts;
}

void bindExtreme(py::module_& module) {
    py::class_<Extreme>(module, "Deviation",
                        "The deviation of one point. float(deviation) is its number of mm.")
        .def_readonly("number", &Extreme::number,
                      "Of the point: of a profile in Comparison.deviations, of a scan in Scan.points.")
        .def_readonly("value", &Extreme::value, "mm, square to the master; positive outside the material.")
        .def_readonly("at", &Extreme::at,
                      "Place on the master, mm: (x, z), of a scan (x, height, place along the scan).")
        .def("__float__", [](const Extreme& e) { return e.value; });
}

/// What both comparisons have.
template <class Compared>
py::class_<Compared> bindComparison(py::module_& module, const char* name, const char* text) {
    py::class_<Compared> bound(module, name, text);
    const auto number = [&bound](const char* member, auto pointer, const char* says) {
        bound.def_property_readonly(
            member,
            [pointer](const Compared& c) {
                return c.result.isValid() ? static_cast<double>(c.result.*pointer) : kNothing;
            },
            says);
    };
    using Result = decltype(Compared::result);
    bound
        .def_property_readonly(
            "valid", [](const Compared& c) { return c.result.isValid(); }, "There are deviations.")
        .def_property_readonly(
            "reason", [](const Compared& c) { return c.result.reason; },
            "Why there are none; \"\" where there are.")
        .def_property_readonly(
            "good", [](const Compared& c) { return c.result.isGood(); },
            "Valid, and no deviation is beyond the limits.");
    number("mean", &Result::mean, "Mean deviation, mm; NaN where it is not valid.");
    number("rms", &Result::rms, "Root mean square deviation, mm; NaN where it is not valid.");
    number("band_value", &Result::bandValue, "Twice the greatest size of a deviation, mm.");
    number("share_outside", &Result::shareOutside,
           "Share of the points that count beyond the limits, 0 to 1; NaN without limits.");
    bound
        .def_property_readonly(
            "registration", [](const Compared& c) { return motionOf(c.result.registration); },
            "The Registration: how the part was laid on the master.")
        .def_property_readonly(
            "free_motions", [](const Compared& c) { return freeMotions(c.result.registration); },
            "Motions that the master does not determine, as texts; they were not made.")
        .def_property_readonly(
            "beyond", [](const Compared& c) { return c.result.beyond; },
            "Number of points beyond the ends of the master and in its gaps, which are not compared.");
    return bound;
}

/// A member of each deviation as an array (n, 2).
std::vector<Vector> placesOf(const Comparison& result, Vector Deviation::*member) {
    std::vector<Vector> places;
    places.reserve(result.deviations.size());
    for (const Deviation& deviation : result.deviations)
        places.push_back(deviation.*member);
    return places;
}

std::vector<double> valuesOf(const Comparison& result) {
    std::vector<double> values;
    values.reserve(result.deviations.size());
    for (const Deviation& deviation : result.deviations)
        values.push_back(deviation.value);
    return values;
}

void bindProfileComparison(py::module_& module) {
    auto bound = bindComparison<ProfileComparison>(
        module, "Comparison", "A profile against a master. A notebook shows it as a picture.");
    bound
        .def_property_readonly(
            "deviations", [](const ProfileComparison& c) { return valuesOf(c.result); },
            "Of the points that are compared, in their order, (n,), mm, square to the master; positive "
            "outside the\nmaterial: above it, on a wall to the left.")
        .def_property_readonly(
            "points", [](const ProfileComparison& c) { return placesOf(c.result, &Deviation::point); },
            "These points where they came to lie, (n, 2), mm.")
        .def_property_readonly(
            "places", [](const ProfileComparison& c) { return placesOf(c.result, &Deviation::place); },
            "The nearest places of the master, (n, 2), mm.")
        .def_property_readonly(
            "largest", [](const ProfileComparison& c) { return extremeOf(c.result, c.result.largest); },
            "The greatest Deviation; None where it is not valid.")
        .def_property_readonly(
            "smallest", [](const ProfileComparison& c) { return extremeOf(c.result, c.result.smallest); },
            "The least Deviation; None where it is not valid.")
        .def_property_readonly(
            "worst", [](const ProfileComparison& c) { return extremeOf(c.result, c.result.worst()); },
            "The Deviation of greatest size; None where it is not valid.");
    bindPicture(
        bound, [](const ProfileComparison& c) { return draw(c); },
        "The master with the deviations magnified, as bytes of \"svg\", \"png\" or \"pdf\".");
}

void bindScanComparison(py::module_& module) {
    auto bound = bindComparison<WholeComparison>(
        module, "ScanComparison",
        "A scan against a master scan or a plane. A notebook shows it as a picture.");
    bound
        .def_property_readonly(
            "deviations",
            [](const WholeComparison& c) {
                return py::array_t<float>(static_cast<py::ssize_t>(c.result.deviations.size()),
                                          c.result.deviations.data());
            },
            "Of each point of the scan, in the order of Scan.points, (n,), mm, float32, positive above; NaN "
            "for points that\ndo not count.")
        .def_property_readonly(
            "compared", [](const WholeComparison& c) { return c.result.compared; },
            "Number of points that count.")
        .def_property_readonly(
            "strays", [](const WholeComparison& c) { return c.result.strays; },
            "Number of points left out as strays.")
        .def_property_readonly(
            "largest", [](const WholeComparison& c) { return extremeOf(c.result.largest); },
            "The greatest Deviation; None where it is not valid.")
        .def_property_readonly(
            "smallest", [](const WholeComparison& c) { return extremeOf(c.result.smallest); },
            "The least Deviation; None where it is not valid.")
        .def_property_readonly(
            "worst", [](const WholeComparison& c) { return extremeOf(c.result.worst()); },
            "The Deviation of greatest size; None where it is not valid.")
        .def(
            "write_deviation_cloud",
            [](const WholeComparison& c, const Path& path, bool heightLast) {
                const Progress progress = untilInterrupted();
                const py::gil_scoped_release release;
                writeDeviationCloud(path.text, {{}, &c.scan, &c.result, c.lower, c.upper}, heightLast,
                                    progress);
            },
            py::arg("path"), py::kw_only(), py::arg("height_last") = false,
            "Writes the points that count, laid on the master, as PLY with a deviation, mm, and a colour "
            "each.");
    bindPicture(
        bound, [](const WholeComparison& c) { return draw(c); },
        "A coloured map of the deviations from above, as bytes of \"svg\", \"png\" or \"pdf\".");
}

void bindFunctions(py::module_& module) {
    module.def(
        "compare", &compareProfiles, py::arg("profile"), py::arg("master"), py::kw_only(),
        py::arg("alignment") = "registration", py::arg("plan") = py::none(), py::arg("lower") = -kEndless,
        py::arg("upper") = kEndless, py::arg("robust") = true, py::arg("finds_start") = true,
        "Compares a profile (n, 2) with a master (m, 2), both in scan order, mm: how far each point lies off "
        "the surface\nthat it should have. Gives a Comparison; where nothing can be compared it is not "
        "valid, "
        "with a reason.\n\n"
        "alignment    \"registration\": laid on the master by all points; \"template\": by the lines of a "
        "template;\n"
        "             \"none\": as it lies\n"
        "plan         for \"template\", whose lines are searched in both; None: the five longest lines of "
        "the "
        "master\n"
        "lower, upper  limits of the deviations, mm\n"
        "robust       points far off the master do not take part in the registration\n"
        "finds_start  tries shifts and turns first; False: the profile lies near its place\n\n"
        "Raises Error for another shape, for limits in the wrong order, and where a search is given up.");
    module.def(
        "compare_scans", &compareWithScan, py::arg("scan"), py::arg("master"), py::kw_only(),
        py::arg("alignment") = "registration", py::arg("lower") = -kEndless, py::arg("upper") = kEndless,
        py::arg("robust") = true, py::arg("finds_start") = true, py::arg("leaves_strays_out") = true,
        "Compares a Scan with the surface that joins the points of another; alignment \"registration\" or "
        "\"none\", the rest as\nin compare. Gives a ScanComparison. A million points take some ten seconds; "
        "Ctrl-C ends it.");
    module.def("compare_with_plane", &compareWithHeights, py::arg("scan"), py::arg("plane"), py::kw_only(),
               py::arg("alignment") = "none", py::arg("lower") = -kEndless, py::arg("upper") = kEndless,
               py::arg("leaves_strays_out") = true,
               "Compares a Scan with a plane, e.g. scan.plane(robust=True). Gives a ScanComparison.");
}

}  // namespace

void bindComparisons(py::module_& module) {
    bindRegistration(module);
    bindExtreme(module);
    bindProfileComparison(module);
    bindScanComparison(module);
    bindFunctions(module);
}

}  // namespace KvMathPython
