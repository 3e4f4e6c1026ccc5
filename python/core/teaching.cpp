// The steps of "kvmeasure teach": filter steps, search, lines, constraints, measurements, tolerances that
// take their nominal value from the taught part.

#include "python/core/bindings.h"
#include "python/core/plans.h"
#include "python/core/text.h"

#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/inspection/line_ends.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/inspection/teaching.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <cmath>

namespace KvMathPython {

using KvMath::KvProfile;
using KvMeasure::InspectionPlan;

namespace {

/// What is measured, in words: a text, or several.
struct Words {
    QStringList measure, regions, anchors, filter;
};

QStringList textsOf(const py::handle& value, const char* parameter) {
    if (value.is_none())
        return {};
    if (py::isinstance<py::str>(value))
        return {value.cast<QString>()};
    QStringList texts;
    if (!py::isinstance<py::iterable>(value))
        throwTypeError(parameter, "needs a text or several");
    for (const py::handle& text : py::reinterpret_borrow<py::iterable>(value)) {
        if (!py::isinstance<py::str>(text))
            throwTypeError(parameter, "needs a text or several");
        texts << text.cast<QString>();
    }
    return texts;
}

Words wordsOf(const py::handle& measure, const py::handle& regions, const py::handle& anchors,
              const py::handle& filter) {
    return {textsOf(measure, "measure"), textsOf(regions, "regions"), textsOf(anchors, "anchors"),
            textsOf(filter, "filter")};
}

/// Each text may hold several statements.
QStringList statements(const QStringList& texts) {
    QStringList all;
    for (const QString& text : texts) {
        for (const QString& statement : text.split(';')) {
            if (!statement.trimmed().isEmpty())
                all << statement.trimmed();
        }
    }
    return all;
}

void addPlaces(const Words& words, InspectionPlan& plan) {
    if (!words.filter.isEmpty())
        plan.filter += KvMeasure::parseSteps(words.filter.join("; "));
    for (const QString& text : statements(words.regions))
        plan.regions.append(KvMeasure::parseRegion(text));
    for (const QString& text : statements(words.anchors))
        plan.anchors.append(KvMeasure::parseAnchor(text));
}

/// "left=0, floor=1" of a mapping; "0,1" of numbers; a text as it is.
QString linesText(const py::handle& lines) {
    if (py::isinstance<py::str>(lines))
        return lines.cast<QString>();
    QStringList parts;
    if (py::isinstance<py::dict>(lines)) {
        for (const auto& item : py::reinterpret_borrow<py::dict>(lines))
            parts << py::str(item.first).cast<QString>() + '=' + py::str(item.second).cast<QString>();
    } else if (py::isinstance<py::iterable>(lines)) {
        for (const py::handle& line : py::reinterpret_borrow<py::iterable>(lines))
            parts << py::str(line).cast<QString>();
    } else {
        throwTypeError("lines",
                       "needs a text such as \"left=0, floor=1\", a dict of names and numbers, or numbers");
    }
    return parts.join(", ");
}

void warn(const QString& text) {
    if (PyErr_WarnEx(PyExc_UserWarning, text.toUtf8().constData(), 1) != 0)
        throw py::error_already_set();
}

/// What may make the plan useless: lines cut by the view, a good part that is not.
void warnOf(const KvProfile& profile, const KvMeasure::ProfilePieces& found,
            const KvMeasure::ChosenLines& chosen, const KvMeasure::TeachTolerances& tolerances,
            const KvMeasure::Evaluation& taught) {
    const KvMeasure::TeachTolerances usual;
    QStringList cut;
    if (tolerances.lengthShare == usual.lengthShare && tolerances.lengthMm == usual.lengthMm) {
        for (const int line : linesCutByView(profile, found.segments, chosen))
            cut << chosen.names[line];
    }
    if (!cut.isEmpty())
        warn("line " + cut.join(", ") +
             ": ends at the edge of the view, so that its length depends on where the part "
             "lies, and parts with much more or less of it are not found; give length_share or length_mm");
    for (const KvMeasure::Value& value : taught.values) {
        if (value.hasTolerance && !value.isGood())
            warn("the taught part is out of its own tolerance: " + value.name +
                 (value.isValid ? " is " + QString::number(value.value) + ' ' + value.unit
                                : " is not measured") +
                 ", allowed is " + value.tolerance.limits());
    }
}

/// Adds the measurements, takes nominal values from the part, and says what it gave.
KvMeasure::Evaluation addMeasured(const Words& words, const KvProfile& profile,
                                  const KvMeasure::ProfilePieces& found,
                                  const KvMath::TSLinesIndecies& indices, InspectionPlan& plan) {
    const auto written = addMeasurements(words.measure.join("; "), plan);
    const QString fault = planFault(plan);
    if (!fault.isEmpty())
        throw KvMeasure::Error(fault);
    const auto measured = [&] {
        return KvMeasure::PartMeasurement(plan).measureAssigned(profile, found, indices);
    };
    settleTolerances(written, measured().values, plan);
    return measured();
}

struct Search {
    bool allowReversed = false;
    double contourGap, splitTolerance, minLineLength;  // NaN: estimated
};

KvMath::TSFindTemplateParams searchOf(const KvProfile& profile, const Search& wanted) {
    KvMath::TSFindTemplateParams search = KvMeasure::estimateSearch(profile);
    const auto set = [](double value, const char* parameter, double& place) {
        if (std::isnan(value))
            return;
        if (!(value >= 0 && value <= 1e6))
            throw argumentError(parameter, QString("needs 0 to 1e6 mm, not %1").arg(value));
        place = value;
    };
    set(wanted.contourGap, "contour_gap", search.contourGap);
    set(wanted.splitTolerance, "split_tolerance", search.splitTolerance);
    set(wanted.minLineLength, "min_line_length", search.minLineLength);
    search.allowReversed = wanted.allowReversed;
    return search;
}

std::shared_ptr<Plan> teach(const py::handle& array, const py::handle& lines, const py::handle& measure,
                            const py::object& longest, const QString& name, const py::handle& regions,
                            const py::handle& anchors, const py::handle& filter,
                            const KvMeasure::TeachTolerances& tolerances, const Search& search) {
    KvProfile profile = profileFrom(array, "array", Empty::Refused);
    InspectionPlan plan;
    plan.name = name;
    const Words words = wordsOf(measure, regions, anchors, filter);
    addPlaces(words, plan);
    for (int i = 0; i < static_cast<int>(plan.filter.size()); ++i)
        applyStep(plan.filter[i], i + 1, profile);
    KvMeasure::ProfilePieces found;
    KvMeasure::ChosenLines chosen;
    KvMath::TSLinesIndecies indices;
    if (lines.is_none() == longest.is_none() && (!lines.is_none() || words.regions.isEmpty()))
        throw argumentError(
            "lines", "give either lines, the segments of the template, or longest, how many; kvmath.segments "
                     "shows the segments. Tools alone need regions");
    if (!longest.is_none() && !py::isinstance<py::int_>(longest))
        throwTypeError("longest", "needs a whole number");
    if (!lines.is_none() || !longest.is_none()) {
        plan.search = searchOf(profile, search);
        plan.hasSearch = true;
        found = KvMeasure::findPieces(profile, plan.search, plan.fitting.pieces());
        chosen = lines.is_none()
                     ? KvMeasure::longestLines(found.segments, longest.cast<int>())
                     : KvMeasure::parseLines(linesText(lines), static_cast<int>(found.segments.size()));
        buildConstraints(found.segments, chosen, tolerances, plan);
        std::vector<int> codes;
        codes.reserve(static_cast<std::size_t>(chosen.segments.size()));
        for (const int segment : chosen.segments)
            codes.push_back(2 * segment);
        indices = KvMath::TSLinesIndecies(codes.data(), static_cast<int>(codes.size()));
        plan.ends = lineEnds(found, indices, plan.lineNames);
    }
    const KvMeasure::Evaluation taught = addMeasured(words, profile, found, indices, plan);
    warnOf(profile, found, chosen, tolerances, taught);
    return std::make_shared<Plan>(plan);
}

std::shared_ptr<Plan> makePlan(const py::handle& measure, const py::handle& regions,
                               const py::handle& anchors, const py::handle& filter, const QString& name) {
    InspectionPlan plan;
    plan.name = name;
    const Words words = wordsOf(measure, regions, anchors, filter);
    addPlaces(words, plan);
    settleTolerances(addMeasurements(words.measure.join("; "), plan), {}, plan);
    return std::make_shared<Plan>(plan);
}

constexpr const char* kTeachText =
    "Makes a plan from a good part (n, 2), mm.\n\n"
    "lines            the segments that make the template: \"left=0, floor=1\", {\"left\": 0}, or [0, 1, 2]; "
    "see\n"
    "                 kvmath.segments. Without lines and longest: tools on regions alone\n"
    "measure          what to measure, e.g. \"depth = shift 0.end 1.end -90 : +- 0.1\"; "
    "kvmath.measure_help()\n"
    "longest          the so many longest segments, in place of lines\n"
    "name             of the plan\n"
    "regions          e.g. \"R = x -8..8\"; several as a list or parted by semicolons\n"
    "anchors          what regions move with, e.g. \"A = max in R from 0 20\"\n"
    "filter           filter steps that every profile goes through first, e.g. \"median 5\"\n"
    "length_share, length_mm, angle_degrees, distance_share, distance_mm, any_inclination\n"
    "                 how far a part may differ from the taught one\n"
    "allow_reversed   segments may also match from their end to their start\n"
    "contour_gap, split_tolerance, min_line_length\n"
    "                 of the search, mm; unless given they follow from the profile\n\n"
    "Warns where a line ends at the edge of the view, and where the part is out of its own tolerance. Raises "
    "Error\n"
    "with parameter for what it does not understand.";

}  // namespace

void bindTeaching(py::module_& module) {
    constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();
    const KvMeasure::TeachTolerances usual;
    module.def(
        "teach",
        [](const py::handle& array, const py::object& lines, const py::object& measure,
           const py::object& longest, const QString& name, const py::object& regions,
           const py::object& anchors, const py::object& filter, double lengthShare, double lengthMm,
           double angleDegrees, double distanceShare, double distanceMm, bool anyInclination,
           bool allowReversed, double contourGap, double splitTolerance, double minLineLength) {
            const std::pair<const char*, double> given[] = {{"length_share", lengthShare},
                                                            {"length_mm", lengthMm},
                                                            {"angle_degrees", angleDegrees},
                                                            {"distance_share", distanceShare},
                                                            {"distance_mm", distanceMm}};
            for (const auto& [parameter, value] : given) {
                if (!(value >= 0) || std::isinf(value))
                    throw argumentError(parameter, QString("needs a number from 0 on, not %1").arg(value));
            }
            return teach(array, lines, measure, longest, name, regions, anchors, filter,
                         {lengthMm, lengthShare, angleDegrees, distanceMm, distanceShare, anyInclination},
                         {allowReversed, contourGap, splitTolerance, minLineLength});
        },
        py::arg("array"), py::arg("lines") = py::none(), py::arg("measure") = "", py::kw_only(),
        py::arg("longest") = py::none(), py::arg("name") = "", py::arg("regions") = py::none(),
        py::arg("anchors") = py::none(), py::arg("filter") = py::none(),
        py::arg("length_share") = usual.lengthShare, py::arg("length_mm") = usual.lengthMm,
        py::arg("angle_degrees") = usual.angleDegrees, py::arg("distance_share") = usual.distanceShare,
        py::arg("distance_mm") = usual.distanceMm, py::arg("any_inclination") = false,
        py::arg("allow_reversed") = false, py::arg("contour_gap") = kNothing,
        py::arg("split_tolerance") = kNothing, py::arg("min_line_length") = kNothing, kTeachText);
    module.def("make_plan", &makePlan, py::arg("measure"), py::kw_only(), py::arg("regions") = py::none(),
               py::arg("anchors") = py::none(), py::arg("filter") = py::none(), py::arg("name") = "",
               "A plan of tools on regions, without a template: make_plan(\"top = max in R : 5 +- 0.1\", "
               "regions=\"R = x -6..6\").");
    module.def("measure_help", &KvMeasure::measureHelp,
               "The words of measurements, an example of each kind.");
}

}  // namespace KvMathPython
