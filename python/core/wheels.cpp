#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/choices.h"

#include <kvmeasure/report/wheel_report.h>
#include <kvmeasure/wheels/conicity.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/pass.h>
#include <kvmeasure/wheels/rail_values.h>
#include <kvmeasure/wheels/rolling_radius.h>
#include <kvmeasure/wheels/wheel_wear.h>

#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

/// The values of a section by their keys.
py::dict byKey(const std::vector<SectionValue>& values) {
    py::dict all;
    for (const SectionValue& value : values)
        all[py::cast(value.key)] = value;
    return all;
}

/// A section of a file, or of points in the frame that the shape tells.
GaugeProfile sectionFrom(const py::object& section, const char* parameter) {
    if (py::isinstance<GaugeProfile>(section))
        return section.cast<GaugeProfile>();
    if (py::isinstance<py::str>(section) || py::hasattr(section, "__fspath__"))
        return readGaugeProfile(section.cast<Path>().text);
    GaugeProfile profile;
    profile.points = pointsFrom(section, parameter);
    return profile;
}

GaugePlaces placesOf(double l1, double l2, double l3) {
    const std::pair<const char*, double> given[] = {{"l1", l1}, {"l2", l2}, {"l3", l3}};
    for (const auto& [parameter, value] : given) {
        if (!(value > 0 && value <= 1000))
            throw argumentError(parameter,
                                QString("needs a distance above 0 and up to 1000 mm, not %1").arg(value));
    }
    return {l1, l2, l3, {}};
}

py::dict wheelValues(const py::object& section, double back, double l1, double l2, double l3) {
    const GaugePlaces places = placesOf(l1, l2, l3);
    const GaugeProfile profile = sectionFrom(section, "section");
    GaugeValues values;
    {
        const py::gil_scoped_release release;
        values = gaugeValues(wheelSection(profile, back), places);
    }
    return byKey(values.values);
}

py::dict wearOf(const py::object& worn, const py::object& nominal, const QString& alignment, double back) {
    const auto chosen = choice<WearAlignment>(alignment, {"tread", "tip"}, "alignment");
    const GaugeProfile profile = sectionFrom(worn, "worn");
    const GaugeProfile reference = nominal.is_none() ? GaugeProfile() : sectionFrom(nominal, "nominal");
    const bool isStandard = nominal.is_none();
    WheelWear wear;
    {
        const py::gil_scoped_release release;
        wear = KvMeasure::wheelWear(wheelSection(profile, back),
                                    isStandard ? s1002Section() : wheelSection(reference), chosen);
    }
    return byKey(wear.values);
}

py::dict railOf(const py::object& rail, const py::object& nominal, const QString& side) {
    RailPlaces places;
    places.side = choice<GaugeSide>(side, {"", "left", "right"}, "side");
    const GaugeProfile profile = sectionFrom(rail, "rail");
    const RailSection reference =
        nominal.is_none() ? RailSection() : railSection(sectionFrom(nominal, "nominal"));
    const bool hasNominal = !nominal.is_none();
    RailValues values;
    {
        const py::gil_scoped_release release;
        values = KvMeasure::railValues(railSection(profile), hasNominal ? &reference : nullptr, places);
    }
    return byKey(values.values);
}

py::list conicityOf(const py::handle& shifts, const py::handle& differences, const py::handle& amplitudes,
                    double diameter, double contactDistance) {
    const ConicityCurve curve(numbersFrom(shifts, "shifts"), numbersFrom(differences, "differences"),
                              {diameter, contactDistance});
    py::list values;
    for (const double amplitude : numbersFrom(amplitudes, "amplitudes"))
        values.append(curve.at(amplitude));
    return values;
}

/// "x" from x = 0 outwards, as the sections of a wheelset over a track count it.
ContactProfile contactFrom(const py::handle& points, const char* parameter,
                           QString (*fault)(const ContactProfile&)) {
    const ContactProfile profile(pointsFrom(points, parameter));
    const QString reason = fault(profile);
    if (!reason.isEmpty())
        throw argumentError(parameter, reason);
    return profile;
}

py::tuple radiiOf(const py::object& right, const py::object& rightRail, const py::object& left,
                  const py::object& leftRail, double diameter, double backToBack, double railOrigin,
                  double largest, double step) {
    WheelsetOnTrack wheelset;
    wheelset.wheels[Right] = contactFrom(right, "right", &whyNoWheel);
    wheelset.rails[Right] = contactFrom(rightRail, "right_rail", &whyNoRail);
    wheelset.wheels[Left] = left.is_none() ? wheelset.wheels[Right] : contactFrom(left, "left", &whyNoWheel);
    wheelset.rails[Left] =
        leftRail.is_none() ? wheelset.rails[Right] : contactFrom(leftRail, "left_rail", &whyNoRail);
    for (const int side : {Left, Right}) {
        wheelset.diameters[side] = diameter;
        wheelset.railOrigins[side] = railOrigin;
    }
    wheelset.backToBack = backToBack;
    RollingRadii radii;
    {
        const py::gil_scoped_release release;
        radii = rollingRadii(wheelset, {largest, step, ShiftSettings().widestGap});
    }
    if (!radii.reason.isEmpty())
        throw Error(radii.reason);
    return py::make_tuple(radii.shifts, radii.differences);
}

/// The results of a pass as JSON, which Python reads.
QString passJson(const Path& folder, const py::object& settingsPath, const py::object& work,
                 const QString& kind, int join) {
    if (join < 0 || join > 1'000'000)
        throw argumentError("join", QString("needs 0 to 1,000,000 records, not %1").arg(join));
    const QString beside = QFileInfo(folder.text).isDir() ? folder.text : QFileInfo(folder.text).path();
    const QString ini = settingsPath.is_none() ? beside + "/settings.ini" : settingsPath.cast<Path>().text;
    Splitting splitting;
    splitting.join = join;
    splitting.work = work.is_none() ? beside + "/wheels/work" : work.cast<Path>().text;
    ValueOptions options;
    options.kind = choice<int>(kind, wheelKinds(), "kind");
    const Progress progress = untilInterrupted();
    const py::gil_scoped_release release;
    PostSettings settings(ini);
    QStringList skipped;
    WheelPass pass(findRecordings({folder.text}, settings, skipped), settings, progress);
    pass.split(splitting);
    pass.measureDistances();
    pass.searchDefects();
    pass.measureSections(options, [](const MeasuredSection&) {});
    return QString::fromUtf8(QJsonDocument(wheelJson(pass, {true, true, true})).toJson());
}

void bindSections(py::module_& module) {
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
        .def("__float__", [](const SectionValue& v) { return v.value; });
    module.def(
        "read_gauge_profile",
        [](const Path& path) {
            const py::gil_scoped_release release;
            return readGaugeProfile(path.text);
        },
        py::arg("path"),
        "Reads a section of a wheel or rail: files of gauges (.whl, .ban, .prw and the like) and tables.");
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    module.def("wheel_values", &wheelValues, py::arg("section"), py::kw_only(), py::arg("back") = kNone,
               py::arg("l1") = 2.0, py::arg("l2") = 70.0, py::arg("l3") = 10.0,
               "The values of a wheel's section by their symbols (Sh, Sd, qR, ...). section: a path, a "
               "GaugeProfile, or points\n"
               "(n, 2), mm, mirrored or upside down too. back: place of the flange back; NaN: by file and "
               "shape. l1, l2, l3: the\n"
               "places of the gauge, mm. Values that the section does not show have a reason.");
    module.def("wheel_wear", &wearOf, py::arg("worn"), py::arg("nominal") = py::none(), py::kw_only(),
               py::arg("alignment") = "tread", py::arg("back") = kNone,
               "Wear of a wheel against a nominal section (None: S1002), aligned on the \"tread\" or the "
               "\"tip\" of the flange.");
    module.def("rail_values", &railOf, py::arg("rail"), py::arg("nominal") = py::none(), py::kw_only(),
               py::arg("side") = "",
               "The values of a rail, and with a nominal one its wear W1 to W3. side of the gauge face: "
               "\"left\", \"right\", or\n"
               "\"\": the one with the larger W2.");
}

}  // namespace

void bindWheels(py::module_& module) {
    bindSections(module);
    py::class_<Conicity>(module, "Conicity", "Equivalent conicity (EN 15302) at one amplitude.")
        .def_readonly("amplitude", &Conicity::amplitude, "mm.")
        .def_readonly("tan_gamma", &Conicity::tanGamma,
                      "Of the cone with the same wavelength; NaN: none, see reason.")
        .def_readonly("regression", &Conicity::regression,
                      "Half the slope of the line through the differences.")
        .def_readonly("wavelength", &Conicity::wavelength, "Of the motion, mm.")
        .def_property_readonly("valid", &Conicity::isValid, "There is a conicity.")
        .def_readonly("reason", &Conicity::reason, "Why values are missing.");
    module.def("conicity", &conicityOf, py::arg("shifts"), py::arg("differences"), py::arg("amplitudes"),
               py::kw_only(), py::arg("diameter") = 920.0, py::arg("contact_distance") = 1500.0,
               "Equivalent conicity at each amplitude, mm, from rolling radius differences (n,) over shifts "
               "(n,) to the right, mm.");
    module.def("rolling_radii", &radiiOf, py::arg("right"), py::arg("right_rail"),
               py::arg("left") = py::none(), py::arg("left_rail") = py::none(), py::kw_only(),
               py::arg("diameter") = 920.0, py::arg("back_to_back") = 1360.0, py::arg("rail_origin") = 750.0,
               py::arg("largest") = 10.0, py::arg("step") = 0.1,
               "(shifts, rolling radius differences) of a wheelset on its rails, mm. Sections (n, 2): x from "
               "the running circle,\n"
               "and from the rail's origin, outwards on both sides; heights away from the axle, and upwards. "
               "Left ones are as the\n"
               "right ones unless given.");
    module.def("_wheel_pass", &passJson, py::arg("folder"), py::arg("settings"), py::arg("work"),
               py::arg("kind"), py::arg("join"));
}

}  // namespace KvMathPython
