#include "python/core/bindings.h"
#include "python/core/casts.h"
#include "python/core/sections.h"

#include <kvmeasure/wheels/conicity.h>
#include <kvmeasure/wheels/rolling_radius.h>

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

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

}  // namespace

void bindWheels(py::module_& module) {
    bindSections(module);
    bindTrain(module);
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
}

}  // namespace KvMathPython
