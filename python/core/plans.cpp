// A measurement takes an object that measures from those of its plan, so that a plan may be used by several
// threads at a time; an object is made where none is idle.

#include "python/core/plans.h"

#include "python/core/bindings.h"
#include "python/core/text.h"

#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/scratch_folder.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <algorithm>
#include <cmath>

namespace KvMathPython {

using KvMath::KvProfile;
using KvMeasure::InspectionPlan;
using KvMeasure::MeasuredPart;
using KvMeasure::PartMeasurement;
using KvMeasure::PartSettings;
using KvMeasure::Value;

std::unique_ptr<PartMeasurement> Measurers::take() {
    if (idle_.empty())
        return std::make_unique<PartMeasurement>(plan_, settings_);
    auto measurement = std::move(idle_.back());
    idle_.pop_back();
    return measurement;
}

void Measurers::giveBack(std::unique_ptr<PartMeasurement> measurement) {
    constexpr std::size_t kMostIdle = 64;
    if (idle_.size() < kMostIdle)
        idle_.push_back(std::move(measurement));
}

Plan::Plan(const InspectionPlan& inspectionPlan) : inspection(inspectionPlan), usual(inspection, settings) {
    columns = static_cast<int>(KvMeasure::valueNames(inspection).size());
    const QString fault = planFault(inspection);
    if (!fault.isEmpty())
        throw KvMeasure::Error(fault);
}

const Value* Result::value(const QString& wanted) const {
    for (const Value& candidate : values) {
        if (candidate.name == wanted)
            return &candidate;
    }
    return nullptr;
}

KvMeasure::Segments Result::lines() const {
    KvMeasure::Segments lines;
    for (int i = 0; i < indices.count(); ++i)
        lines.append(KvMeasure::assignedLine(measured, indices, i));
    return lines;
}

bool Result::isGood() const {
    return found > 0 &&
           std::all_of(values.begin(), values.end(), [](const Value& value) { return value.isGood(); });
}

namespace {

/// Each value of the plan in its place, those that were not measured with the reason.
QList<Value> allValues(const Plan& plan, const PartMeasurement& measurement, const MeasuredPart& part) {
    if (part.isFound() && part.best.values.size() == plan.columns)
        return part.best.values;
    const QString reason = part.reason.isEmpty() ? QString("the template is not found") : part.reason;
    QList<Value> all = measurement.unmeasured(reason).best.values;
    for (const Value& measured : part.best.values) {
        for (Value& value : all) {
            if (value.name == measured.name) {
                value = measured;
                break;
            }
        }
    }
    return all;
}

Result resultOf(const Plan& plan, const PartMeasurement& measurement, const MeasuredPart& part) {
    Result result;
    result.values = allValues(plan, measurement, part);
    for (int i = 0; i < static_cast<int>(result.values.size()); ++i) {
        if (!result.values.at(i).isValid)  // a list that is not written to is not copied
            result.values[i].value = std::nan("");
    }
    result.segments = part.segments;
    result.measured = part.lines;
    result.indices = part.bestIndices;
    result.found = part.found;
    result.reason = part.reason;
    return result;
}

bool isUsual(const PartSettings& settings) { return settings.monteCarloRuns == 0 && settings.givesReason; }

PartSettings settingsOf(int monteCarloRuns, quint64 seed, bool givesReason) {
    if (monteCarloRuns != 0 && (monteCarloRuns < 2 || monteCarloRuns > KvMeasure::kMostMonteCarloRuns))
        throw argumentError("monte_carlo_runs", QString("needs 0 or 2 to %1 runs, not %2")
                                                    .arg(KvMeasure::kMostMonteCarloRuns)
                                                    .arg(monteCarloRuns));
    PartSettings settings;
    settings.monteCarloRuns = monteCarloRuns;
    settings.seed = seed;
    settings.givesReason = givesReason;
    return settings;
}

/// Name and place of an array that carries them, as those of read_profiles do.
void takeOrigin(const py::handle& array, Result& result) {
    if (Py_TYPE(array.ptr()) == py::detail::npy_api::get().PyArray_Type_)
        return;
    const py::object name = py::getattr(array, "name", py::none());
    const py::object z = py::getattr(array, "z", py::none());
    if (py::isinstance<py::str>(name))
        result.name = name.cast<QString>();
    if (py::isinstance<py::float_>(z))
        result.z = z.cast<double>();
}

Result measureArray(const std::shared_ptr<Plan>& plan, const py::handle& array, const py::object& second,
                    int monteCarloRuns, quint64 seed, bool givesReason) {
    const PartSettings settings = settingsOf(monteCarloRuns, seed, givesReason);
    const KvProfile profile = profileFrom(array, "array", Empty::Allowed);
    const KvProfile other = second.is_none() ? KvProfile() : profileFrom(second, "second", Empty::Allowed);
    Result result = measure(plan, profile, other, settings);
    takeOrigin(array, result);
    return result;
}

Result measureWith(PartMeasurement& measurement, const std::shared_ptr<Plan>& plan, const KvProfile& profile,
                   const KvProfile& second) {
    Result result;
    {
        const py::gil_scoped_release release;
        result = resultOf(*plan, measurement, measurement.measure(profile, second));
    }
    result.plan = plan;
    result.profile = profile;
    result.second = second;
    return result;
}

/// The profile of the other scanner that belongs to the next array; empty: there is none.
KvProfile nextSecond(const py::object& seconds, py::iterator& next) {
    if (seconds.is_none())
        return {};
    if (next == py::iterator::sentinel())
        throw argumentError("second", "has fewer profiles than arrays");
    const py::object array = py::reinterpret_borrow<py::object>(*next);
    ++next;
    return array.is_none() ? KvProfile() : profileFrom(array, "second", Empty::Allowed);
}

/// Measures one array after another; Ctrl-C ends it between two. Without their profiles a million results are
/// a few GB.
py::list measureAll(const std::shared_ptr<Plan>& plan, const py::iterable& arrays, const py::object& seconds,
                    int monteCarloRuns, quint64 seed, bool givesReason, bool keepsProfiles) {
    const PartSettings settings = settingsOf(monteCarloRuns, seed, givesReason);
    PartMeasurement measurement(plan->inspection, settings);
    py::iterator next = seconds.is_none() ? py::iterator() : py::iter(seconds);
    py::list results;
    for (const py::handle& array : arrays) {
        throwIfInterrupted();
        const KvProfile profile = profileFrom(array, "arrays", Empty::Allowed);
        Result result = measureWith(measurement, plan, profile, nextSecond(seconds, next));
        takeOrigin(array, result);
        if (!keepsProfiles) {
            result.profile = KvProfile();
            result.second = KvProfile();
            result.keepsProfile = false;
        }
        results.append(std::move(result));
    }
    if (!seconds.is_none() && next != py::iterator::sentinel())
        throw argumentError("second", "has more profiles than arrays");
    return results;
}

py::list valueNames(const Plan& plan) {
    py::list names;
    for (const KvMeasure::ValueName& value : KvMeasure::valueNames(plan.inspection))
        names.append(value.name);
    return names;
}

QString planWords(const Plan& plan) {
    QStringList names;
    for (const KvMeasure::ValueName& value : KvMeasure::valueNames(plan.inspection))
        names << value.name;
    return "Plan(" + (plan.inspection.name.isEmpty() ? QString() : '"' + plan.inspection.name + "\", ") +
           QString::number(plan.inspection.lines.getTemplateLinesNumber()) +
           " lines, values: " + names.join(", ") + ')';
}

}  // namespace

Result measure(const std::shared_ptr<Plan>& plan, const KvProfile& profile, const KvProfile& second,
               const PartSettings& settings) {
    auto measurement = isUsual(settings) ? plan->usual.take()
                                         : std::make_unique<PartMeasurement>(plan->inspection, settings);
    Result result = measureWith(*measurement, plan, profile, second);
    if (isUsual(settings))
        plan->usual.giveBack(std::move(measurement));
    return result;
}

QByteArray pictureOf(const Result& result) {
    if (!result.keepsProfile)
        throw KvMeasure::Error(
            "the profile of this result was not kept; measure it alone, or with keep_profiles=True");
    KvMeasure::Picture picture;
    picture.title = result.name.isEmpty() ? QString("profile") : result.name;
    picture.subtitle = result.plan->inspection.name;
    picture.profile = result.profile;
    picture.segments = result.segments;
    const KvMeasure::Segments lines = result.lines();
    for (int i = 0; i < static_cast<int>(lines.size()); ++i)
        picture.lines.append({lines[i], result.plan->inspection.lineNames.value(i, QString::number(i))});
    PartSettings settings;
    settings.givesMarks = true;
    PartMeasurement measurement(result.plan->inspection, settings);
    const MeasuredPart part = measurement.measure(result.profile, result.second);
    picture.evaluation = part.best;
    picture.evaluation.values = result.values;
    picture.isMissing = !part.isFound();
    if (!part.reason.isEmpty())
        picture.reasons << part.reason;
    try {
        measurement.prepare(picture.profile);
    } catch (const KvMeasure::Error&) {
        picture.profile = result.profile;  // the reason says which step could not be applied
    }
    return drawPicture(picture);
}

py::bytes documentOf(const Plan& plan) {
    const QByteArray text = planText(plan.inspection);
    return py::bytes(text.constData(), static_cast<std::size_t>(text.size()));
}

std::shared_ptr<Plan> planFromDocument(const QByteArray& document) {
    const KvMeasure::ScratchFolder folder;
    const QString path = folder.path() + "/plan.json";
    KvMeasure::writeOutputFile(path, document);
    try {
        return std::make_shared<Plan>(KvMeasure::readPlan(path));
    } catch (const KvMeasure::Error& error) {
        throw error.renamed(path, "the document");
    }
}

namespace {

void bindReading(py::module_& module) {
    module.def(
        "read_plan",
        [](const Path& path) {
            const py::gil_scoped_release release;
            return std::make_shared<Plan>(KvMeasure::readPlan(path.text));
        },
        py::arg("path"),
        "Reads a plan that kvmeasure teach, Plan.write or a host wrote. Raises Error with file, and with "
        "line where\n"
        "the text is no JSON.");
}

}  // namespace

void bindPlans(py::module_& module) {
    bindValue(module);
    py::class_<Plan, std::shared_ptr<Plan>> bound(
        module, "Plan",
        "What to do with a profile before it is measured, what to find "
        "in it, what to measure, and what the values may\n"
        "be. Made by read_plan, teach or make_plan; nothing changes it. "
        "Threads may share it. Can be pickled.");
    bindResult(module);
    bound
        .def("measure", &measureArray, py::arg("array"), py::arg("second") = py::none(), py::kw_only(),
             py::arg("monte_carlo_runs") = 0, py::arg("seed") = 1, py::arg("reasons") = true,
             "Measures a profile (n, 2), x and height in mm, NaN unset; it may be empty. float32 in C order "
             "is copied\n"
             "once, arrays of read_profiles not at all; float64 is rounded to the nearest float32.\n\n"
             "second            profile of another scanner in the same x and z, for regions of it\n"
             "monte_carlo_runs  takes u from so many runs with simulated noise, 2 to 100000; 0: by "
             "propagation\n"
             "seed              of that noise\n"
             "reasons           False: does not say why the template is not found, which takes time\n\n"
             "Other threads run meanwhile. Raises Error for another shape and an infinite coordinate, and "
             "where the\n"
             "search has to be given up; TypeError for what holds no numbers.")
        .def("measure_all", &measureAll, py::arg("arrays"), py::arg("second") = py::none(), py::kw_only(),
             py::arg("monte_carlo_runs") = 0, py::arg("seed") = 1, py::arg("reasons") = true,
             py::arg("keep_profiles") = false,
             "The results of measure for each of these profiles, in a list. second: as many profiles of the "
             "other scanner,\n"
             "None where there is none. Only with keep_profiles the results hold the profiles, from which "
             "pictures are drawn.\n"
             "Ctrl-C ends it between two profiles.")
        .def(
            "write",
            [](const Plan& plan, const Path& path) {
                KvMeasure::writeOutputFile(path.text, planText(plan.inspection, path.text));
            },
            py::arg("path"),
            "Writes the plan as JSON, which read_plan and kvmeasure read. The file is complete or not "
            "touched.")
        .def(
            "to_json", [](const Plan& plan) { return QString::fromUtf8(planText(plan.inspection)); },
            "The plan as JSON.")
        .def_property_readonly(
            "name", [](const Plan& plan) { return plan.inspection.name; }, "For titles; may be empty.")
        .def_property_readonly("value_names", &valueNames, "Names of the values, in their order.")
        .def_property_readonly(
            "line_names",
            [](const Plan& plan) {
                py::list names;
                for (const QString& name : plan.inspection.lineNames)
                    names.append(name);
                return names;
            },
            "Names of the template's lines, in their order.")
        .def("__repr__", &planWords)
        .def(py::pickle(
            [](const Plan& plan) { return documentOf(plan); },
            [](const py::bytes& document) { return planFromDocument(QByteArray::fromStdString(document)); }));
    bindReading(module);
}

}  // namespace KvMathPython
