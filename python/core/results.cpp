// Values and results. Both can be pickled, as work in several processes needs it; a state of another length
// comes from another version and is refused.
#include "python/core/plans.h"
#include "python/core/text.h"

#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/rendering.h>

#include <cmath>

namespace KvMathPython {

using KvMeasure::Tolerance;
using KvMeasure::Value;

namespace {

py::tuple valueState(const Value& v) {
    const Tolerance& t = v.tolerance;
    return py::make_tuple(v.name, v.value, v.unit, v.note, v.warning, v.aboutU, v.reason, v.freeEdges, v.u,
                          v.degreesOfFreedom, v.propagatedU, v.statedU, static_cast<int>(v.decision),
                          v.isValid, v.hasTolerance, t.nominal, t.lower, t.upper, t.hasNominal);
}

constexpr std::size_t kStateSize = 19;

Value valueFromState(const py::tuple& state) {
    if (state.size() != kStateSize)
        throw KvMeasure::Error("this was pickled by another version of kvmath");
    Value v;
    v.name = state[0].cast<QString>();
    v.value = state[1].cast<double>();
    v.unit = state[2].cast<QString>();
    v.note = state[3].cast<QString>();
    v.warning = state[4].cast<QString>();
    v.aboutU = state[5].cast<QString>();
    v.reason = state[6].cast<QString>();
    v.freeEdges = state[7].cast<double>();
    v.u = state[8].cast<double>();
    v.degreesOfFreedom = state[9].cast<double>();
    v.propagatedU = state[10].cast<double>();
    v.statedU = state[11].cast<double>();
    v.decision = static_cast<KvMeasure::Decision>(state[12].cast<int>());
    v.isValid = state[13].cast<bool>();
    v.hasTolerance = state[14].cast<bool>();
    v.tolerance.nominal = state[15].cast<double>();
    v.tolerance.lower = state[16].cast<double>();
    v.tolerance.upper = state[17].cast<double>();
    v.tolerance.hasNominal = state[18].cast<bool>();
    return v;
}

KvMeasure::Segments segmentsFrom(const py::handle& array) {
    const py::array_t<double> table = tableFrom(array, "segments", 4);
    KvMeasure::Segments segments;
    const double* at = table.data();
    for (py::ssize_t i = 0; i < table.shape(0); ++i, at += 4)
        segments.append(KvMath::LinePP({at[0], at[1]}, {at[2], at[3]}));
    return segments;
}

py::tuple resultState(const Result& result) {
    py::list values;
    for (const Value& value : result.values)
        values.append(valueState(value));
    return py::make_tuple(result.plan, arrayFrom(result.profile), arrayFrom(result.second), values,
                          arrayFrom(result.segments), arrayFrom(result.lines()), result.found, result.reason,
                          result.name, result.z, result.keepsProfile);
}

Result resultFromState(const py::tuple& state) {
    Result result;
    result.plan = state[0].cast<std::shared_ptr<Plan>>();
    result.profile = profileFrom(state[1], "profile", Empty::Allowed);
    result.second = profileFrom(state[2], "second", Empty::Allowed);
    for (const py::handle& value : state[3])
        result.values.append(valueFromState(value.cast<py::tuple>()));
    result.segments = segmentsFrom(state[4]);
    result.measured = segmentsFrom(state[5]);
    std::vector<int> codes;
    codes.reserve(static_cast<std::size_t>(result.measured.size()));
    for (int i = 0; i < static_cast<int>(result.measured.size()); ++i)
        codes.push_back(2 * i);
    result.indices = KvMath::TSLinesIndecies(codes.data(), static_cast<int>(codes.size()));
    result.found = state[6].cast<int>();
    result.reason = state[7].cast<QString>();
    result.name = state[8].cast<QString>();
    result.z = state[9].cast<double>();
    result.keepsProfile = state[10].cast<bool>();
    return result;
}

/// The value of that name; KeyError with a suggestion.
const Value& valueOf(const Result& result, const QString& name) {
    if (const Value* const value = result.value(name))
        return *value;
    QStringList names;
    for (const Value& value : result.values)
        names << value.name;
    throw py::key_error(('"' + name + "\" is no value of the plan" + KvMeasure::suggestion(name, names) +
                         "; it has " + names.mid(0, 20).join(", "))
                            .toStdString());
}

py::list namesOf(const Result& result) {
    py::list names;
    for (const Value& value : result.values)
        names.append(value.name);
    return names;
}

QString valueWords(const Value& value) {
    if (!value.isValid)
        return "not measured: " + value.reason;
    QString words = QString::number(value.value, 'g', 7) + (value.unit.isEmpty() ? "" : ' ' + value.unit);
    if (!std::isnan(value.u))
        words += " (u " + QString::number(value.u, 'g', 2) + ')';
    return value.verdict().isEmpty() ? words : words + ' ' + value.verdict();
}

QString resultWords(const Result& result) {
    QStringList words;
    for (const Value& value : result.values)
        words << value.name + " = " + valueWords(value);
    return "Result(" + (result.found > 0 ? words.join(", ") : "not found: " + result.reason) + ')';
}

QByteArray inFormat(const QByteArray& svg, const QString& format) {
    return KvMeasure::rendered(svg, KvMeasure::pictureFormatOf("picture." + format));
}

py::bytes picture(const Result& result, const QString& format) {
    QByteArray bytes;
    {
        const py::gil_scoped_release release;
        bytes = inFormat(pictureOf(result), format);
    }
    return py::bytes(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

QString verdictOf(const Result& result) {
    QString verdict;
    for (const Value& value : result.values) {
        if (!value.isValid)
            return "NOT MEASURED";
        if (!value.isGood())
            verdict = "OUT";
        else if (verdict.isEmpty())
            verdict = value.verdict();
    }
    return verdict;
}

}  // namespace

void bindValue(py::module_& module) {
    py::class_<Tolerance>(module, "Tolerance",
                          "What a value may be; both limits are good. In the unit of the value.")
        .def_property_readonly(
            "nominal", [](const Tolerance& t) { return t.hasNominal ? t.nominal : std::nan(""); },
            "NaN where there are limits alone.")
        .def_property_readonly("least", &Tolerance::least, "The least good value; -inf: no limit.")
        .def_property_readonly("greatest", &Tolerance::greatest, "The greatest good value; inf: no limit.")
        .def_property_readonly("text", &Tolerance::text, "As plans have it, e.g. \"6 +0.1 -0.2\".")
        .def("__repr__", [](const Tolerance& t) { return "Tolerance(\"" + t.text() + "\")"; });
    py::class_<Value>(module, "Value", "One measured value. float(value) is its number.")
        .def_readonly("name", &Value::name, "Name in the plan.")
        .def_readonly("value", &Value::value, "In its unit; NaN where it is not valid.")
        .def_readonly("unit", &Value::unit, "\"mm\", \"deg\", \"mm2\", or \"\" for a ratio.")
        .def_readonly("valid", &Value::isValid, "It was measured.")
        .def_readonly("reason", &Value::reason, "Why it is not valid; \"\" where it is.")
        .def_readonly("u", &Value::u,
                      "Standard uncertainty (k = 1) in its unit; NaN: not known, see warning.")
        .def_property_readonly("expanded_u", &Value::expandedU, "U = 2 u.")
        .def_readonly("degrees_of_freedom", &Value::degreesOfFreedom, "Behind u.")
        .def_readonly("propagated_u", &Value::propagatedU,
                      "Where u is from simulated noise, what propagation gave; else NaN.")
        .def_readonly("stated_u", &Value::statedU, "The part of u that the plan states.")
        .def_readonly("free_edges", &Value::freeEdges,
                      "What the compensation of free edges added, in its unit.")
        .def_property_readonly(
            "verdict", &Value::verdict,
            "\"good\", \"OUT\" or \"NOT MEASURED\"; \"\" for a valid value without tolerance.")
        .def_property_readonly("good", &Value::isGood, "Valid, and within its tolerance where it has one.")
        .def_property_readonly(
            "tolerance",
            [](const Value& v) { return v.hasTolerance ? py::cast(v.tolerance) : py::object(py::none()); },
            "A Tolerance, or None.")
        .def_property_readonly(
            "deviation",
            [](const Value& v) {
                return v.isValid && v.hasTolerance && v.tolerance.hasNominal ? v.deviation() : std::nan("");
            },
            "From the nominal value; NaN without one.")
        .def_readonly("note", &Value::note, "E.g. the sense of a rotation.")
        .def_readonly("warning", &Value::warning,
                      "Why the value may mislead; \"\": nothing is known against it.")
        .def("__float__", [](const Value& v) { return v.value; })
        .def("__repr__", [](const Value& v) { return "Value(" + v.name + " = " + valueWords(v) + ')'; })
        .def(py::pickle(&valueState, &valueFromState));
}

void bindResult(py::module_& module) {
    py::class_<Result>(module, "Result",
                       "What a plan gave on a profile: a mapping from names to values, in the order of the "
                       "plan. A notebook\n"
                       "shows it as a picture with its values.")
        .def("__getitem__", &valueOf, py::return_value_policy::reference_internal, py::arg("name"))
        .def("__iter__", [](const Result& r) { return py::iter(namesOf(r)); })
        .def("__len__", [](const Result& r) { return r.values.size(); })
        .def("__contains__", [](const Result& r, const QString& name) { return r.value(name) != nullptr; })
        .def("keys", &namesOf, "Names of the values.")
        .def(
            "values",
            [](const Result& r) {
                py::list values;
                for (const Value& value : r.values)
                    values.append(value);
                return values;
            },
            "The values.")
        .def(
            "items",
            [](const Result& r) {
                py::list items;
                for (const Value& value : r.values)
                    items.append(py::make_tuple(value.name, value));
                return items;
            },
            "Pairs of name and value.")
        .def_property_readonly(
            "found", [](const Result& r) { return r.found > 0; }, "The template is in the profile.")
        .def_readonly("assignments", &Result::found, "Number of ways in which the template fits.")
        .def_readonly("reason", &Result::reason, "Why the template is not found; \"\" where it is.")
        .def_property_readonly("good", &Result::isGood, "Found, and every value good.")
        .def_property_readonly(
            "verdict", &verdictOf,
            "\"good\", \"OUT\", \"NOT MEASURED\", the worst of the values; \"\" without tolerances.")
        .def_readonly("name", &Result::name, "Of the profile, where its array has one.")
        .def_readonly("z", &Result::z, "Place of the profile along the scan, mm; NaN: not known.")
        .def_readonly("plan", &Result::plan, "The plan that measured.")
        .def_property_readonly(
            "profile", [](const Result& r) { return arrayFrom(r.profile); },
            "The profile as it was given, (n, 2), without unset points.")
        .def_property_readonly(
            "segments", [](const Result& r) { return arrayFrom(r.segments); },
            "The straight segments found, (n, 4): x and height of start and end, mm.")
        .def_property_readonly(
            "lines", [](const Result& r) { return arrayFrom(r.lines()); },
            "The lines of the template as they are measured, (n, 4); (0, 4) where it is not found.")
        .def("picture", &picture, py::arg("format") = "svg",
             "The profile with what was measured, as bytes of \"svg\", \"png\" or \"pdf\". It measures "
             "again. PNG and PDF need\n"
             "the package kvmeasure.")
        .def(
            "svg", [](const Result& r) { return QString::fromUtf8(pictureOf(r)); }, "The picture as text.")
        .def("__repr__", &resultWords)
        .def(py::pickle(&resultState, &resultFromState));
}

}  // namespace KvMathPython
