// The results of a pass, limits and their verdicts, the track. A pass comes as JSON, the same as that of the
// program, so that both have one form of results.

#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/choices.h"
#include "python/core/sections.h"

#include <kvmeasure/report/pass_limits.h>
#include <kvmeasure/report/wheel_report.h>
#include <kvmeasure/wheels/track_gauge.h>

#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <cmath>
#include <optional>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// A table of limits: its path, or what read_wheel_limits gave.
WheelLimits limitsFrom(const py::object& limits) {
    if (py::isinstance<py::str>(limits) || py::hasattr(limits, "__fspath__"))
        return readWheelLimits(limits.cast<Path>().text);
    WheelLimits taken;
    if (!py::isinstance<py::iterable>(limits))
        throw py::type_error("limits: needs the path of a table, or what read_wheel_limits gave");
    for (const py::handle& limit : py::reinterpret_borrow<py::iterable>(limits)) {
        if (!py::isinstance<WheelLimit>(limit))
            throw py::type_error("limits: needs the path of a table, or what read_wheel_limits gave");
        taken.push_back(limit.cast<WheelLimit>());
    }
    return taken;
}

/// Wheelsets of each vehicle or bogie.
QList<int> axlesFrom(const py::list& numbers, const char* parameter) {
    constexpr int kMost = 100;
    QList<int> axles;
    for (const py::handle& each : numbers) {
        if (!py::isinstance<py::int_>(each))
            throwTypeError(parameter, "needs whole numbers");
        const auto number = each.cast<long long>();
        if (number < 1 || number > kMost)
            throw argumentError(parameter,
                                QString("needs numbers from 1 to %1, not %2").arg(kMost).arg(number));
        axles.append(static_cast<int>(number));
    }
    return axles;
}

/// The results of a pass as JSON, which Python reads.
QString passJson(const Path& folder, const py::object& settingsPath, const py::object& work,
                 const QString& kind, int join, const py::object& limitsTable, const py::list& vehicles,
                 const py::list& bogies) {
    if (join < 0 || join > 1'000'000)
        throw argumentError("join", QString("needs 0 to 1,000,000 records, not %1").arg(join));
    const QString beside = QFileInfo(folder.text).isDir() ? folder.text : QFileInfo(folder.text).path();
    const QString ini = settingsPath.is_none() ? beside + "/settings.ini" : settingsPath.cast<Path>().text;
    Splitting splitting;
    splitting.join = join;
    splitting.work = work.is_none() ? beside + "/wheels/work" : work.cast<Path>().text;
    ValueOptions options;
    options.kind = choice<int>(kind, wheelKinds(), "kind");
    std::optional<PassLimits> limits;
    const QList<int> vehicleAxles = axlesFrom(vehicles, "vehicles"), bogieAxles = axlesFrom(bogies, "bogies");
    if (limitsTable.is_none() && !(vehicles.empty() && bogies.empty()))
        throw argumentError(vehicles.empty() ? "bogies" : "vehicles", "goes with limits");
    if (!limitsTable.is_none())
        limits.emplace(limitsFrom(limitsTable), vehicleAxles, bogieAxles);
    options.hasGaugeValues = limits.has_value();
    const Progress progress = untilInterrupted();
    const py::gil_scoped_release release;
    PostSettings settings(ini);
    QStringList skipped;
    WheelPass pass(findRecordings({folder.text}, settings, skipped), settings, progress);
    pass.split(splitting);
    pass.measureDistances();
    pass.searchDefects();
    pass.measureSections(options, [&](const MeasuredSection& section) {
        if (limits)
            limits->take(section, pass.wheelsets().at(section.wheelset - 1).wheels[section.side]);
    });
    QJsonObject json = wheelJson(pass, {true, true, true});
    if (limits) {
        limits->judgeAll(pass.wheelsets(), true);
        limits->addTo(json);
    }
    return QString::fromUtf8(QJsonDocument(json).toJson());
}

py::list judgeValues(const py::object& limits, const py::iterable& values, double diameter) {
    const bool isMapping = py::hasattr(values, "keys") && py::hasattr(values, "values");
    std::vector<SectionValue> taken;
    for (const py::handle& value : isMapping ? py::iterable(values.attr("values")()) : values) {
        if (!py::isinstance<SectionValue>(value))
            throw py::type_error(
                "values: needs what wheel_values gave, or SectionValues; the limits come first");
        taken.push_back(value.cast<SectionValue>());
    }
    py::list verdicts;
    for (const LimitVerdict& verdict : judge(limitsFrom(limits), taken, diameter))
        verdicts.append(verdict);
    return verdicts;
}

void bindLimits(py::module_& module) {
    py::class_<WheelLimit>(module, "WheelLimit", "A row of a table of limits of wheels, mm.")
        .def_readonly("symbol", &WheelLimit::symbol, "E.g. \"Sh\".")
        .def_readonly("quantity", &WheelLimit::quantity, "E.g. \"flange height\".")
        .def_readonly("diameter_from", &WheelLimit::diameterFrom,
                      "It holds for running diameters from here, mm,")
        .def_readonly("diameter_to", &WheelLimit::diameterTo, "up to here.")
        .def_readonly("minimum", &WheelLimit::minimum, "Itself good, mm; NaN: no limit.")
        .def_readonly("maximum", &WheelLimit::maximum, "Itself good, mm; NaN: no limit.")
        .def_readonly("note", &WheelLimit::note, "As in the table.");
    py::class_<LimitVerdict>(module, "LimitVerdict", "The verdict on one value of a wheel.")
        .def_readonly("symbol", &LimitVerdict::symbol, "Of the value, as in the table.")
        .def_readonly("quantity", &LimitVerdict::quantity, "Its name in the table.")
        .def_readonly("value", &LimitVerdict::value, "mm; NaN where it is missing.")
        .def_readonly("expanded_u", &LimitVerdict::expanded, "U (k = 2) of the value, mm; NaN: not known.")
        .def_readonly("minimum", &LimitVerdict::minimum, "mm; NaN: none, or not known.")
        .def_readonly("maximum", &LimitVerdict::maximum, "mm; NaN: none, or not known.")
        .def_property_readonly("verdict", &LimitVerdict::word, "\"good\", \"OUT\" or \"NOT MEASURED\".")
        .def_readonly("reason", &LimitVerdict::reason, "Why it is not good; \"\" where it is.")
        .def_readonly("note", &LimitVerdict::note, "Of the row.");
    module.def(
        "read_wheel_limits",
        [](const Path& path) {
            py::list limits;
            for (const WheelLimit& limit : readWheelLimits(path.text))
                limits.append(limit);
            return limits;
        },
        py::arg("path"),
        "The rows of a table of limits with the columns symbol, minimum, maximum and, if they are there, "
        "quantity,\n"
        "diameter_from, diameter_to, note. Raises Error with file and line for a table that is none.");
    module.def(
        "judge", &judgeValues, py::arg("limits"), py::arg("values"), py::arg("diameter") = kNone,
        "The LimitVerdicts on those of these values that have limits. limits: the path of a table or what "
        "read_wheel_limits\n"
        "gave; values: what wheel_values gave, or SectionValues; diameter: running diameter, mm, NaN: not "
        "known.");
}

/// The section of a rail in the frame of the track.
TrackGauge gaugeOf(const py::object& left, const py::object& right, double depth, double railOrigin,
                   bool uncertainties) {
    GaugeProfile first = sectionFrom(left, "left");
    GaugeProfile second;
    if (!right.is_none())
        second = sectionFrom(right, "right");
    else if (!std::isnan(railOrigin))
        throw argumentError("rail_origin", "goes with two rails, each in its own frame");
    const py::gil_scoped_release release;
    if (right.is_none())
        std::tie(first, second) = partedRails(first);
    TrackGaugeOptions options;
    options.depth = depth;
    options.isLevel = !std::isnan(railOrigin);
    RailSection rails[] = {railSection(first), railSection(second)};
    if (options.isLevel)
        rails[0] = placedRail(rails[0], railOrigin, true), rails[1] = placedRail(rails[1], railOrigin, false);
    TrackGauge gauge = trackGauge(rails[0], rails[1], options);
    if (uncertainties)
        addUncertainty(rails[0], rails[1], options, gauge);
    return gauge;
}

void bindTrack(py::module_& module) {
    py::class_<TrackGauge>(module, "TrackGauge", "The gauge of a track.")
        .def_readonly("gauge", &TrackGauge::gauge, "The SectionValue, mm, with its reason and u.")
        .def_readonly("left_face", &TrackGauge::leftFace, "Place (x, z) on the left rail, mm; NaN: none.")
        .def_readonly("right_face", &TrackGauge::rightFace, "Place on the right rail, mm; NaN: none.")
        .def_readonly("slope", &TrackGauge::slope, "Of the running surface; NaN: not known.");
    module.def(
        "track_gauge", &gaugeOf, py::arg("left"), py::arg("right") = py::none(), py::kw_only(),
        py::arg("depth") = TrackGaugeOptions().depth, py::arg("rail_origin") = kNone,
        py::arg("uncertainties") = false,
        "The least distance of the gauge faces (EN 13848-1), mm, down to depth below the running surface. "
        "left, right:\n"
        "sections as in rail_values, in one frame, x growing across the track to the right; right None: "
        "left shows both\n"
        "rails. rail_origin: each file has its own frame, x growing to the field side from so many mm "
        "beside the middle\n"
        "of the track. A gauge that the sections do not show has a reason.");
}

}  // namespace

void bindTrain(py::module_& module) {
    bindLimits(module);
    bindTrack(module);
    module.def("_wheel_pass", &passJson, py::arg("folder"), py::arg("settings"), py::arg("work"),
               py::arg("kind"), py::arg("join"), py::arg("limits"), py::arg("vehicles"), py::arg("bogies"));
}

}  // namespace KvMathPython
