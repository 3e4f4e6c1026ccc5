// Values of the sections of wheels and rails. The results keep what their picture shows.

#include "python/core/sections.h"

#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/choices.h"
#include "python/core/pictures.h"

#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/wear_picture.h>
#include <kvmeasure/wheels/rail_values.h>
#include <kvmeasure/wheels/section_uncertainty.h>
#include <kvmeasure/wheels/wheel_wear.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

GaugeProfile sectionFrom(const py::object& section, const char* parameter) {
    if (py::isinstance<GaugeProfile>(section))
        return section.cast<GaugeProfile>();
    if (py::isinstance<py::str>(section) || py::hasattr(section, "__fspath__"))
        return readGaugeProfile(section.cast<Path>().text);
    GaugeProfile profile;
    profile.points = pointsFrom(section, parameter);
    return profile;
}

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// The values of a section, in their order, with what their picture shows.
struct SectionValues {
    std::vector<SectionValue> values;
    WearPicture picture;
};

GaugePlaces placesOf(double l1, double l2, double l3) {
    const std::pair<const char*, double> given[] = {{"l1", l1}, {"l2", l2}, {"l3", l3}};
    for (const auto& [parameter, value] : given) {
        if (!(value > 0 && value <= 1000))
            throw argumentError(parameter,
                                QString("needs a distance above 0 and up to 1000 mm, not %1").arg(value));
    }
    return {l1, l2, l3, {}};
}

/// The values that are known, for the picture.
QString factsOf(const std::vector<SectionValue>& values) {
    QStringList facts;
    for (const SectionValue& value : values) {
        if (value.isKnown())
            facts.append(value.key + ' ' + fixed(value.value, 2) + (value.unit == "mm2" ? " mm\u00b2" : ""));
    }
    return facts.join(", ");
}

/// A mark with its value, where that is known.
void addMark(const SectionValues& of, const char* key, const Vector& from, const Vector& to,
             std::vector<WearPictureMark>& marks) {
    const SectionValue* const value = findValue(of.values, key);
    if (value != nullptr && value->isKnown() && std::isfinite(from.x + to.x))
        marks.push_back({from, to, QString(key) + ' ' + fixed(value->value, 2)});
}

SectionValues wheelValues(const py::object& section, double back, double l1, double l2, double l3,
                          bool uncertainties) {
    const GaugePlaces places = placesOf(l1, l2, l3);
    const GaugeProfile profile = sectionFrom(section, "section");
    const py::gil_scoped_release release;
    const WheelSection upright = wheelSection(profile, back);
    GaugeValues measured = gaugeValues(upright, places);
    if (uncertainties)
        addUncertainties(upright, nullptr, WearAlignment::Tread, places, measured.values);
    SectionValues result{std::move(measured.values), {}};
    result.picture = {"wheel", factsOf(result.values), {}, upright.points, {}};
    const GaugeMarks& marks = measured.marks;
    addMark(result, "Sh", marks.tread, {marks.tread.x, marks.tip.y}, result.picture.marks);
    addMark(result, "Sd", {0, marks.lowerFlank.y}, marks.lowerFlank, result.picture.marks);
    addMark(result, "qR", {marks.upperFlank.x, marks.lowerFlank.y}, marks.lowerFlank, result.picture.marks);
    return result;
}

SectionValues wearOf(const py::object& worn, const py::object& nominal, const QString& alignment, double back,
                     bool uncertainties) {
    const auto chosen = choice<WearAlignment>(alignment, {"tread", "tip"}, "alignment");
    const GaugeProfile profile = sectionFrom(worn, "worn");
    const GaugeProfile reference = nominal.is_none() ? GaugeProfile() : sectionFrom(nominal, "nominal");
    const bool isStandard = nominal.is_none();
    const py::gil_scoped_release release;
    const WheelSection upright = wheelSection(profile, back);
    const WheelSection standard = isStandard ? s1002Section() : wheelSection(reference);
    WheelWear wear = KvMeasure::wheelWear(upright, standard, chosen);
    if (uncertainties) {  // which are those of the section's values with the wear behind them
        std::vector<SectionValue> all = gaugeValues(upright).values;
        const auto before = static_cast<std::ptrdiff_t>(all.size());
        all.insert(all.end(), wear.values.begin(), wear.values.end());
        addUncertainties(upright, &standard, chosen, {}, all);
        wear.values.assign(all.begin() + before, all.end());
    }
    SectionValues result{std::move(wear.values), {}};
    result.picture = {
        "wear of a wheel", factsOf(result.values), std::move(wear.nominal), std::move(wear.worn), {}};
    addMark(result, "largestWear", wear.largest.nominal, wear.largest.worn, result.picture.marks);
    return result;
}

SectionValues railOf(const py::object& rail, const py::object& nominal, const QString& side,
                     bool uncertainties) {
    RailPlaces places;
    places.side = choice<GaugeSide>(side, {"", "left", "right"}, "side");
    const GaugeProfile profile = sectionFrom(rail, "rail");
    const bool hasNominal = !nominal.is_none();
    const GaugeProfile given = hasNominal ? sectionFrom(nominal, "nominal") : GaugeProfile();
    const py::gil_scoped_release release;
    const RailSection upright = railSection(profile);
    const RailSection reference = hasNominal ? railSection(given) : RailSection();
    const RailSection* const against = hasNominal ? &reference : nullptr;
    RailValues measured = KvMeasure::railValues(upright, against, places);
    if (uncertainties)
        addUncertainties(upright, against, places, measured);
    SectionValues result{std::move(measured.values), {}};
    result.picture = {"rail", factsOf(result.values), reference.points, std::move(measured.worn), {}};
    addMark(result, "W1", measured.w1.nominal, measured.w1.worn, result.picture.marks);
    addMark(result, "W2", measured.w2.nominal, measured.w2.worn, result.picture.marks);
    addMark(result, "W3", measured.w3.nominal, measured.w3.worn, result.picture.marks);
    return result;
}

/// The value of that key; KeyError with a suggestion.
const SectionValue& valueOf(const SectionValues& all, const QString& key) {
    if (const SectionValue* const value = findValue(all.values, key))
        return *value;
    QStringList keys;
    for (const SectionValue& value : all.values)
        keys << value.key;
    throw py::key_error(
        ('"' + key + "\" is no value of this section" + suggestion(key, keys) + "; it has " + keys.join(", "))
            .toStdString());
}

py::list keysOf(const SectionValues& all) {
    py::list keys;
    for (const SectionValue& value : all.values)
        keys.append(value.key);
    return keys;
}

void bindValues(py::module_& module) {
    auto bound = py::class_<SectionValues>(module, "SectionValues",
                                           "The values of a cross-section: a mapping from keys to "
                                           "SectionValues. A notebook shows it as a picture.");
    bound.def("__getitem__", &valueOf, py::return_value_policy::reference_internal, py::arg("key"))
        .def("__iter__", [](const SectionValues& v) { return py::iter(keysOf(v)); })
        .def("__len__", [](const SectionValues& v) { return v.values.size(); })
        .def("__contains__",
             [](const SectionValues& v, const QString& key) { return findValue(v.values, key) != nullptr; })
        .def("keys", &keysOf, "Keys of the values, e.g. \"Sh\".")
        .def(
            "values",
            [](const SectionValues& v) {
                py::list values;
                for (const SectionValue& value : v.values)
                    values.append(value);
                return values;
            },
            "The values.")
        .def(
            "items",
            [](const SectionValues& v) {
                py::list items;
                for (const SectionValue& value : v.values)
                    items.append(py::make_tuple(value.key, value));
                return items;
            },
            "Pairs of key and value.");
    bindPicture(
        bound, [](const SectionValues& v) { return drawWear(v.picture); },
        "The section with what was measured, on its nominal one where there is one, as bytes of \"svg\", "
        "\"png\" or \"pdf\".");
}

void bindFiles(py::module_& module) {
    py::class_<GaugeProfile>(module, "GaugeProfile", "A cross-section from a file of a profile gauge.")
        .def_readonly("points", &GaugeProfile::points, "(n, 2), mm, in the order and frame of the file.")
        .def_property_readonly(
            "object", [](const GaugeProfile& p) { return objectName(p.object); },
            "\"wheel\", \"rail\" or \"cross-section\", as the header says.")
        .def_readonly("side", &GaugeProfile::side, "\"left\", \"right\" or \"\".")
        .def_property_readonly(
            "header",
            [](const GaugeProfile& p) {
                py::dict header;
                for (const GaugeField& field : p.header)
                    header[py::cast(field.name)] = field.value;
                return header;
            },
            "Fields of the header, as texts.")
        .def_readonly("notes", &GaugeProfile::notes, "What was done to the points.");
    py::class_<SectionValue>(module, "SectionValue",
                             "A value of a cross-section. float(value) is its number.")
        .def_readonly("key", &SectionValue::key, "Its symbol, e.g. \"Sh\".")
        .def_readonly("name", &SectionValue::name, "E.g. \"flange height\".")
        .def_readonly("value", &SectionValue::value, "NaN where there is a reason.")
        .def_readonly("unit", &SectionValue::unit, "\"mm\", \"deg\", \"mm2\" or \"\".")
        .def_property_readonly("valid", &SectionValue::isKnown, "There is a value.")
        .def_readonly("reason", &SectionValue::reason, "Why there is none; \"\" where there is.")
        .def_readonly("note", &SectionValue::note, "What is to be said of it.")
        .def_property_readonly(
            "u", [](const SectionValue& v) { return v.uncertainty.u; },
            "Standard uncertainty (k = 1) in its unit; NaN: not asked for, or not known, see u_reason.")
        .def_property_readonly(
            "expanded_u", [](const SectionValue& v) { return v.uncertainty.expanded(); }, "U = 2 u.")
        .def_property_readonly(
            "u_reason", [](const SectionValue& v) { return v.uncertainty.reason; }, "Why u is not known.")
        .def("__float__", [](const SectionValue& v) { return v.value; });
    module.def(
        "read_gauge_profile",
        [](const Path& path) {
            const py::gil_scoped_release release;
            return readGaugeProfile(path.text);
        },
        py::arg("path"),
        "Reads a section of a wheel or rail: files of gauges (.whl, .ban, .prw and the like) and tables.");
}

}  // namespace

void bindSections(py::module_& module) {
    bindFiles(module);
    bindValues(module);
    module.def(
        "wheel_values", &wheelValues, py::arg("section"), py::kw_only(), py::arg("back") = kNone,
        py::arg("l1") = 2.0, py::arg("l2") = 70.0, py::arg("l3") = 10.0, py::arg("uncertainties") = false,
        "The values of a wheel's section by their symbols (Sh, Sd, qR, ...). section: a path, a "
        "GaugeProfile, or points\n"
        "(n, 2), mm, mirrored or upside down too. back: place of the flange back; NaN: by file and "
        "shape. l1, l2, l3: the\n"
        "places of the gauge, mm. uncertainties: of each value, from the noise and the steps of its "
        "points, by 100 simulated\nmeasurements. Values that the section does not show have a reason.");
    module.def("wheel_wear", &wearOf, py::arg("worn"), py::arg("nominal") = py::none(), py::kw_only(),
               py::arg("alignment") = "tread", py::arg("back") = kNone, py::arg("uncertainties") = false,
               "Wear of a wheel against a nominal section (None: S1002), aligned on the \"tread\" or the "
               "\"tip\" of the flange. The\nnominal section is exact; the rest as in wheel_values.");
    module.def("rail_values", &railOf, py::arg("rail"), py::arg("nominal") = py::none(), py::kw_only(),
               py::arg("side") = "", py::arg("uncertainties") = false,
               "The values of a rail, and with a nominal one its wear W1 to W3. side of the gauge face: "
               "\"left\", \"right\", or\n"
               "\"\": the one with the larger W2. uncertainties as in wheel_values.");
}

}  // namespace KvMathPython
