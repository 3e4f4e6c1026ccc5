// Statistics of values. All numbers must be finite and all columns equally long; names of parts and
// appraisers may be any objects and are taken as texts.
#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/choices.h"

#include <kvmeasure/statistics/anova.h>
#include <kvmeasure/statistics/capability.h>
#include <kvmeasure/statistics/control_chart.h>
#include <kvmeasure/statistics/gauge_study.h>
#include <kvmeasure/statistics/linearity.h>
#include <kvmeasure/statistics/sample.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

/// Numbers of which none may be missing.
std::vector<double> finiteNumbers(const py::handle& array, const char* parameter) {
    std::vector<double> numbers = numbersFrom(array, parameter);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!std::isfinite(numbers[i]))
            throw argumentError(
                parameter,
                QString("number %1 is %2; leave out what was not measured").arg(i).arg(numbers[i]));
    }
    return numbers;
}

/// Names, which may be any objects, as texts.
QStringList namesFrom(const py::iterable& names, std::size_t wanted, const char* parameter) {
    QStringList texts;
    for (const py::handle& name : names)
        texts << py::str(name).cast<QString>();
    if (static_cast<std::size_t>(texts.size()) != wanted)
        throw argumentError(
            parameter,
            QString("needs a name for each of the %1 values, not %2").arg(wanted).arg(texts.size()));
    return texts;
}

void bindSample(py::module_& module) {
    py::class_<SampleSummary>(module, "SampleSummary",
                              "What a series of values says of itself; NaN where it has too few.")
        .def_readonly("count", &SampleSummary::count, "Values.")
        .def_readonly("mean", &SampleSummary::mean, "In the unit of the values, as all that follow.")
        .def_readonly("standard_deviation", &SampleSummary::standardDeviation, "With n - 1.")
        .def_readonly("median", &SampleSummary::median, "Half of the values are below.")
        .def_readonly("autocorrelation", &SampleSummary::autocorrelation,
                      "Of neighbours in the series, -1 to 1.");
    module.def(
        "summarize", [](const py::handle& values) { return summarize(finiteNumbers(values, "values")); },
        py::arg("values"), "Mean, deviation and more of values (n,).");
    module.def(
        "percentile",
        [](const py::handle& values, double p) {
            if (!(p >= 0 && p <= 1))
                throw argumentError("p", QString("needs a share from 0 to 1, not %1").arg(p));
            return percentile(finiteNumbers(values, "values"), p);
        },
        py::arg("values"), py::arg("p"),
        "The p-th part, 0 to 1, of the values (n,) lies below it (ISO 16269); NaN without values.");
}

void bindCapability(py::module_& module) {
    py::class_<Estimate>(module, "Estimate", "A figure with its limits of 95 %; NaN where it does not exist.")
        .def_readonly("value", &Estimate::value, "The figure.")
        .def_readonly("low", &Estimate::low, "Lower limit.")
        .def_readonly("high", &Estimate::high, "Upper limit.")
        .def("__float__", [](const Estimate& e) { return e.value; });
    py::class_<Capability>(module, "Capability",
                           "Capability of a process; NaN where a figure does not exist.")
        .def_readonly("cp", &Capability::cp, "Tolerance over six deviations within subgroups.")
        .def_readonly("cpk", &Capability::cpk, "Of the nearer limit.")
        .def_readonly("pp", &Capability::pp, "Estimate, with the deviation of all values.")
        .def_readonly("ppk", &Capability::ppk, "Estimate, of the nearer limit.")
        .def_readonly("pp_by_percentiles", &Capability::ppByPercentiles, "ISO 22514-2; from 1000 values on.")
        .def_readonly("ppk_by_percentiles", &Capability::ppkByPercentiles, "Of the nearer limit.")
        .def_readonly("deviation_within", &Capability::deviationWithin, "Mean range over d2.")
        .def_readonly("deviation_overall", &Capability::deviationOverall, "Of all values.")
        .def_readonly("outside", &Capability::outside, "Values outside of the limits.")
        .def_readonly("share_outside", &Capability::shareOutside, "Expected of a normal distribution.")
        .def_readonly("reason", &Capability::reason, "Why cp and pp do not exist; \"\" where they do.")
        .def_readonly("percentiles_reason", &Capability::percentilesReason, "Likewise of the percentiles.");
    constexpr double kOpen = std::numeric_limits<double>::infinity();
    module.def(
        "capability",
        [](const py::handle& values, double lower, double upper, int subgroup) {
            const std::vector<double> taken = finiteNumbers(values, "values");
            if (subgroup < 1)
                throw argumentError("subgroup", QString("needs a number from 1 on, not %1").arg(subgroup));
            if (!(lower <= upper))
                throw argumentError("lower",
                                    QString("%1 is not below the upper limit %2").arg(lower).arg(upper));
            return capability(taken, {lower, upper}, subgroup);
        },
        py::arg("values"), py::arg("lower") = -kOpen, py::arg("upper") = kOpen, py::kw_only(),
        py::arg("subgroup") = 1,
        "Capability of values (n,) in the order of their making. lower and upper may be infinite. Ranges are "
        "those of\n"
        "subgroups of so many values; 1: moving ranges of neighbours.");
}

void bindGaugeCapability(py::module_& module) {
    py::class_<GaugeCapability>(module, "GaugeCapability",
                                "Capability of a gauge by readings of a reference.")
        .def_readonly("cg", &GaugeCapability::cg, "0.2 T / 6 s.")
        .def_readonly("cgk", &GaugeCapability::cgk, "(0.1 T - |bias|) / 3 s.")
        .def_readonly("bias", &GaugeCapability::bias, "Mean less reference.")
        .def_readonly("t", &GaugeCapability::t, "Bias in deviations of the mean.")
        .def_readonly("biased", &GaugeCapability::isBiased, "The bias is beyond chance (95 %).")
        .def_readonly("reason", &GaugeCapability::reason, "Why they do not exist; \"\" where they do.");
    module.def(
        "gauge_capability",
        [](const py::handle& readings, double reference, double lower, double upper) {
            return gaugeCapability(finiteNumbers(readings, "readings"), reference, {lower, upper});
        },
        py::arg("readings"), py::arg("reference"), py::arg("lower"), py::arg("upper"),
        "Capability of a gauge by readings (n,) of one reference; T is upper - lower.");
}

void bindControlChart(py::module_& module) {
    py::class_<ControlChart>(module, "ControlChart", "Limits of a run chart and what breaks its rules.")
        .def_readonly("centre", &ControlChart::centre, "Mean.")
        .def_readonly("lower", &ControlChart::lower, "Three deviations of moving ranges below.")
        .def_readonly("upper", &ControlChart::upper, "Three deviations above.")
        .def_property_readonly(
            "findings",
            [](const ControlChart& chart) {
                py::list findings;
                for (const ChartSignal& signal : chart.findings)
                    findings.append(py::make_tuple(signal.index, signal.rule));
                return findings;
            },
            "[(index, rule in words)], in the order of the index.");
    module.def(
        "control_chart",
        [](const py::handle& values) { return controlChart(finiteNumbers(values, "values")); },
        py::arg("values"), "The run chart of values (n,) in the order of their making.");
}

void bindStudies(py::module_& module) {
    py::class_<GaugeStudy>(module, "GaugeStudy",
                           "Repeatability and reproducibility; deviations in the unit of the readings.")
        .def_readonly("parts", &GaugeStudy::parts, "Different parts.")
        .def_readonly("appraisers", &GaugeStudy::appraisers, "Different appraisers.")
        .def_readonly("trials", &GaugeStudy::trials, "Readings of a part by an appraiser.")
        .def_readonly("ev", &GaugeStudy::ev, "Repeatability.")
        .def_readonly("av", &GaugeStudy::av, "Reproducibility, 0 at least.")
        .def_readonly("interaction", &GaugeStudy::interaction,
                      "Of appraiser and part, by analysis of variance.")
        .def_readonly("grr", &GaugeStudy::grr, "Of both.")
        .def_readonly("pv", &GaugeStudy::pv, "Of the parts.")
        .def_readonly("tv", &GaugeStudy::tv, "Of all.")
        .def_property_readonly(
            "grr_share", [](const GaugeStudy& s) { return s.grr / s.tv; },
            "GRR over TV; 0.1 and less is good.")
        .def_property_readonly(
            "ndc",
            [](const GaugeStudy& s) -> py::object {
                return s.ndc < 0 ? py::object(py::none()) : py::int_(s.ndc);
            },
            "Distinct categories; None: not determined.")
        .def_readonly("pooled", &GaugeStudy::isPooled, "The interaction counts as repeatability.")
        .def_readonly("reason", &GaugeStudy::reason, "Why there is no result; \"\" where there is.")
        .def_readonly("note", &GaugeStudy::note, "What was taken how.");
    module.def(
        "gauge_study",
        [](const py::iterable& parts, const py::iterable& appraisers, const py::handle& values,
           const QString& method, double poolingProbability) {
            const std::vector<double> numbers = finiteNumbers(values, "values");
            const QStringList part = namesFrom(parts, numbers.size(), "parts");
            const QStringList appraiser = namesFrom(appraisers, numbers.size(), "appraisers");
            std::vector<StudyReading> readings;
            readings.reserve(numbers.size());
            for (std::size_t i = 0; i < numbers.size(); ++i)
                readings.push_back({part[static_cast<int>(i)], appraiser[static_cast<int>(i)], numbers[i]});
            return gaugeStudy(readings, choice<StudyMethod>(method, {"range", "anova"}, "method"),
                              poolingProbability);
        },
        py::arg("parts"), py::arg("appraisers"), py::arg("values"), py::kw_only(),
        py::arg("method") = "anova", py::arg("pooling_probability") = 0.25,
        "A study of a gauge: who (appraisers) read what (parts), and the readings (n,); names may be any "
        "objects. method\n"
        "is \"anova\" or \"range\". Each appraiser reads each part equally often, else there is no result "
        "and a reason.");
}

void bindAnova(py::module_& module) {
    py::class_<OneWayAnova>(module, "OneWayAnova",
                            "Analysis of variance of one factor; NaN where a value does not exist.")
        .def_readonly("count", &OneWayAnova::count, "Values.")
        .def_readonly("groups", &OneWayAnova::groups, "Of them.")
        .def_readonly("between_ss", &OneWayAnova::betweenSS, "Sum of squares between groups.")
        .def_readonly("within_ss", &OneWayAnova::withinSS, "Within groups.")
        .def_readonly("between_freedom", &OneWayAnova::betweenFreedom, "groups - 1.")
        .def_readonly("within_freedom", &OneWayAnova::withinFreedom, "count - groups.")
        .def_readonly("f", &OneWayAnova::f, "Ratio of the mean squares.")
        .def_readonly("probability", &OneWayAnova::probability, "Of a greater f where groups are alike.")
        .def_readonly("r_squared", &OneWayAnova::rSquared, "Share between groups.")
        .def_readonly("variance_within", &OneWayAnova::varianceWithin, "Of values of one group.")
        .def_readonly("variance_between", &OneWayAnova::varianceBetween,
                      "Of the means of groups, 0 at least.")
        .def_readonly("reason", &OneWayAnova::reason, "Why there is no f; \"\" where there is.");
    module.def(
        "one_way_anova",
        [](const py::handle& values, const py::iterable& groups) {
            const std::vector<double> numbers = finiteNumbers(values, "values");
            return oneWayAnova(numbers, namesFrom(groups, numbers.size(), "groups"));
        },
        py::arg("values"), py::arg("groups"),
        "Analysis of variance of values (n,), the group of each named beside it.");
}

void bindLinearity(py::module_& module) {
    py::class_<Linearity>(module, "Linearity",
                          "Bias of a gauge over its range: bias = slope * reference + intercept.")
        .def_readonly("count", &Linearity::count, "Readings.")
        .def_readonly("mean_bias", &Linearity::meanBias, "Of all readings.")
        .def_readonly("slope", &Linearity::slope, "Estimate.")
        .def_readonly("intercept", &Linearity::intercept, "Estimate.")
        .def_readonly("slope_probability", &Linearity::slopeProbability, "Of a greater one of an even bias.")
        .def_readonly("deviation", &Linearity::deviation, "Of readings about the line.")
        .def_readonly("r_squared", &Linearity::rSquared, "Share of the line in the scatter.")
        .def_property_readonly("linear", &Linearity::isLinear, "The slope is within chance.")
        .def_readonly("reason", &Linearity::reason, "Why there is no line; \"\" where there is.");
    module.def(
        "linearity",
        [](const py::handle& references, const py::handle& values) {
            const std::vector<double> reference = finiteNumbers(references, "references");
            const std::vector<double> value = finiteNumbers(values, "values");
            if (reference.size() != value.size())
                throw argumentError(
                    "references",
                    QString("has %1 numbers, values %2").arg(reference.size()).arg(value.size()));
            std::vector<ReferenceReading> readings;
            readings.reserve(value.size());
            for (std::size_t i = 0; i < value.size(); ++i)
                readings.push_back({reference[i], value[i]});
            return linearity(readings);
        },
        py::arg("references"), py::arg("values"),
        "Bias and linearity of a gauge: known values (n,) and what was read (n,).");
}

}  // namespace

void bindStatistics(py::module_& module) {
    bindSample(module);
    bindCapability(module);
    bindGaugeCapability(module);
    bindControlChart(module);
    bindStudies(module);
    bindAnova(module);
    bindLinearity(module);
}

}  // namespace KvMathPython
