#include "python/core/registrations.h"

#include "python/core/text.h"

#include <cmath>

namespace KvMathPython {

using namespace KvMeasure;

namespace {

/// One of its motions.
struct Part {
    QString text;
    bool isTurn = false, isFree = false;
    py::object direction, pole;
    double information = 0, uncertainty = 0;
};

/// The motion as a matrix on (x, height, 1) or (x, height, scan, 1).
py::array_t<double> matrixOf(const RigidMotion& motion) {
    const Vector at = motion.apply({0, 0}), x = motion.apply({1, 0}), y = motion.apply({0, 1});
    py::array_t<double> matrix({3, 3});
    const double cells[] = {x.x - at.x, y.x - at.x, at.x, x.y - at.y, y.y - at.y, at.y, 0, 0, 1};
    std::copy(std::begin(cells), std::end(cells), matrix.mutable_data());
    return matrix;
}

py::array_t<double> matrixOf(const SpaceMotion& motion) {
    const SpaceVector at = motion.apply({});
    py::array_t<double> matrix({4, 4});
    const double ways[] = {at.x, at.y, at.z};
    for (int row = 0; row < 3; ++row) {
        const SpaceVector& turned = motion.rows[static_cast<std::size_t>(row)];
        const double cells[] = {turned.x, turned.y, turned.z, ways[row]};
        std::copy(std::begin(cells), std::end(cells), matrix.mutable_data(row, 0));
    }
    const double last[] = {0, 0, 0, 1};
    std::copy(std::begin(last), std::end(last), matrix.mutable_data(3, 0));
    return matrix;
}

template <class Registered>
Motion motionFrom(const Registered& registration) {
    Motion motion{matrixOf(registration.motion),
                  py::list(),
                  registration.parts.empty() ? std::nan("") : registration.deviation,
                  registration.used,
                  registration.rejected,
                  registration.isFixed()};
    for (const auto& part : registration.parts) {
        const bool hasDirection = !part.isTurn || std::is_same_v<Registered, ScanRegistration>;
        motion.parts.append(Part{part.text(), part.isTurn, part.isFree,
                                 hasDirection ? py::object(tupleOf(part.direction)) : py::none(),
                                 part.isTurn ? py::object(tupleOf(part.pole)) : py::none(), part.information,
                                 part.uncertainty});
    }
    return motion;
}

}  // namespace

Motion motionOf(const Registration& registration) { return motionFrom(registration); }
Motion motionOf(const ScanRegistration& registration) { return motionFrom(registration); }

void bindRegistration(py::module_& module) {
    py::class_<Part>(module, "MotionPart", "One of the motions that a registration is made of.")
        .def_readonly("text", &Part::text, "E.g. \"shift along (1.000, 0.000)\".")
        .def_readonly("turn", &Part::isTurn, "It is a turn; False: a shift.")
        .def_readonly("free", &Part::isFree, "The master does not determine it: it was not made.")
        .def_readonly("direction", &Part::direction,
                      "Of a shift, and of the axis of a turn in space, of unit length; None of a turn in a "
                      "profile.")
        .def_readonly("pole", &Part::pole, "Place that a turn goes through, mm; None of a shift.")
        .def_readonly("information", &Part::information,
                      "0 to about 1: mean square of the way square to the master for a motion of 1 mm.")
        .def_readonly("uncertainty", &Part::uncertainty,
                      "Standard uncertainty, mm, of a turn degrees; inf where it is free.");
    py::class_<Motion>(module, "Registration", "How a part was laid on a master.")
        .def_readonly("matrix", &Motion::matrix,
                      "(3, 3) on (x, height, 1) of a profile, (4, 4) on (x, height, scan, 1) of a scan, mm.")
        .def_readonly("parts", &Motion::parts,
                      "MotionParts: three of a profile, six of a scan, the least determined first; none "
                      "where nothing was moved.")
        .def_readonly("deviation", &Motion::deviation,
                      "Root mean square square to the master of the points that were used, mm; NaN: none.")
        .def_readonly("used", &Motion::used, "Points that determine the motion.")
        .def_readonly("rejected", &Motion::rejected, "Points left out as too far from the master.")
        .def_readonly("fixed", &Motion::isFixed, "No motion is free.");
}

}  // namespace KvMathPython
