// Reading, writing, filtering and segments of profiles. A file is read profile by profile as Python asks for
// them, so that memory holds one.
#include "python/core/arrays.h"
#include "python/core/bindings.h"
#include "python/core/text.h"

#include <kvmeasure/base/length_unit.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/profiles/filter_steps.h>
#include <kvmeasure/profiles/line_pieces.h>
#include <kvmeasure/profiles/profile_writer.h>
#include <kvmeasure/profiles/search_estimate.h>
#include <kvmeasure/scans/profile_sequence.h>

#include <algorithm>
#include <cmath>

namespace KvMathPython {

using KvMath::KvProfile;
using KvMeasure::LengthUnit;

namespace {

/// Segments of a profile, which a picture shows with their numbers.
struct FoundSegments {
    KvProfile profile;
    KvMeasure::Segments segments;
    KvMath::TSFindTemplateParams search;
};

QList<LengthUnit> unitsOf(const QStringList& names) {
    QList<LengthUnit> units;
    for (const QString& name : names) {
        const LengthUnit* const unit = KvMeasure::findLengthUnit(name);
        if (unit == nullptr)
            throw argumentError("units", '"' + name + "\" is no unit of length; " +
                                             KvMeasure::alternatives(KvMeasure::lengthUnitNames()));
        units << *unit;
    }
    return units;
}

KvMeasure::TextOptions textOptions(const QString& columns, const QString& units, double pitch,
                                   const py::object& unset) {
    KvMeasure::TextOptions options;
    options.columns = columns;
    if (!units.isEmpty())
        options.units = unitsOf(units.split(','));
    if (!std::isnan(pitch) && !(pitch > 0 && std::isfinite(pitch)))
        throw argumentError("pitch", QString("needs a distance above 0 mm, not %1").arg(pitch));
    options.pitch = pitch;
    if (!unset.is_none()) {
        const bool isOne = py::isinstance<py::float_>(unset) || py::isinstance<py::int_>(unset);
        options.unset.values =
            isOne ? std::vector<double>{unset.cast<double>()} : numbersFrom(unset, "unset");
        options.unset.keepsAll = options.unset.values.empty();
        options.given = "unset";
    }
    if (!columns.isEmpty() || !std::isnan(pitch))
        options.given = options.givenOfTable = columns.isEmpty() ? "pitch" : "columns";
    return options;
}

std::shared_ptr<KvMeasure::ProfileSequence> openProfiles(const Path& path, const QString& columns,
                                                         const QString& units, double pitch,
                                                         const py::object& unset) {
    const KvMeasure::TextOptions text = textOptions(columns, units, pitch, unset);
    KvMeasure::ScanOptions scan;
    scan.progress = untilInterrupted();
    const py::gil_scoped_release release;
    return std::make_shared<KvMeasure::ProfileSequence>(path.text, text, scan);
}

/// (array, z, name, number of unset points, warning); StopIteration at the end.
py::tuple nextProfile(KvMeasure::ProfileSequence& profiles) {
    throwIfInterrupted();
    KvMeasure::LoadedProfile loaded;
    bool hasOne = false;
    {
        const py::gil_scoped_release release;
        hasOne = profiles.next(loaded);
    }
    if (!hasOne)
        throw py::stop_iteration();
    return py::make_tuple(arrayFrom(loaded.profile),
                          loaded.hasZ() ? static_cast<double>(loaded.z) : std::nan(""), loaded.name,
                          loaded.unset, loaded.warning);
}

void writeProfiles(const Path& path, const py::iterable& arrays, const QString& form) {
    KvMeasure::ProfileWriter writer(
        path.text, KvMeasure::parseForm(form, path.text.endsWith(".csv") ? KvMeasure::FileForm::Csv
                                                                         : KvMeasure::FileForm::Records));
    for (const py::handle& array : arrays) {
        throwIfInterrupted();
        KvMeasure::LoadedProfile loaded;
        loaded.profile = profileFrom(array, "arrays", Empty::Allowed);
        const py::object z = py::getattr(array, "z", py::none());
        if (py::isinstance<py::float_>(z) && !std::isnan(z.cast<double>())) {
            loaded.head.bytes = QByteArray(3, '\0');
            loaded.head.bytes[0] = KvMath::kProfileRecord;
            KvMeasure::appendLittleEndian(loaded.head.bytes, z.cast<float>());
        }
        writer.add(loaded);
    }
    writer.commit();
}

py::array filtered(const py::handle& array, const QString& steps) {
    KvProfile profile = profileFrom(array, "array", Empty::Allowed);
    const QList<KvMeasure::FilterStep> parsed = KvMeasure::parseSteps(steps);
    {
        const py::gil_scoped_release release;
        for (int i = 0; i < static_cast<int>(parsed.size()); ++i)
            applyStep(parsed[i], i + 1, profile);
        const auto isUnset = [](const KvMath::KvPointXY& p) {
            return !std::isfinite(p.x) || !std::isfinite(p.y);
        };
        profile.points.erase(std::remove_if(profile.points.begin(), profile.points.end(), isUnset),
                             profile.points.end());
    }
    return arrayFrom(profile);
}

FoundSegments findSegments(const py::handle& array, double contourGap, double splitTolerance,
                           double minLineLength) {
    FoundSegments found;
    found.profile = profileFrom(array, "array", Empty::Refused);
    const py::gil_scoped_release release;
    found.search = KvMeasure::estimateSearch(found.profile);
    const auto set = [](double value, const char* parameter, double& place) {
        if (std::isnan(value))
            return;
        if (!(value >= 0 && value <= 1e6))
            throw argumentError(parameter, QString("needs 0 to 1e6 mm, not %1").arg(value));
        place = value;
    };
    set(contourGap, "contour_gap", found.search.contourGap);
    set(splitTolerance, "split_tolerance", found.search.splitTolerance);
    set(minLineLength, "min_line_length", found.search.minLineLength);
    found.segments = KvMeasure::findPieces(found.profile, found.search).segments;
    return found;
}

QByteArray pictureOf(const FoundSegments& found) {
    KvMeasure::Picture picture;
    picture.title = "segments found";
    picture.profile = found.profile;
    picture.segments = found.segments;
    picture.numberSegments = true;
    return drawPicture(picture);
}

py::array lengthsOf(const FoundSegments& found) {
    std::vector<double> lengths;
    lengths.reserve(static_cast<std::size_t>(found.segments.size()));
    for (const KvMath::LinePP& segment : found.segments)
        lengths.push_back(KvMeasure::length(segment.p1, segment.p2));
    return arrayFrom(lengths);
}

py::array anglesOf(const FoundSegments& found) {
    std::vector<double> angles;
    angles.reserve(static_cast<std::size_t>(found.segments.size()));
    for (const KvMath::LinePP& segment : found.segments)
        angles.push_back(KvMeasure::direction(segment));
    return arrayFrom(angles);
}

void bindSegments(py::module_& module) {
    py::class_<FoundSegments>(
        module, "Segments",
        "The straight segments of a profile, in scan order. numpy takes it as an array (n, 4). A notebook\n"
        "shows it as a picture with their numbers.")
        .def_property_readonly(
            "lines", [](const FoundSegments& f) { return arrayFrom(f.segments); },
            "(n, 4): x and height of start and end, mm.")
        .def_property_readonly("lengths", &lengthsOf, "(n,), mm.")
        .def_property_readonly("angles", &anglesOf, "(n,), degrees from the x axis, -180 to 180.")
        .def_property_readonly(
            "search",
            [](const FoundSegments& f) {
                py::dict search;
                search["contour_gap"] = f.search.contourGap;
                search["split_tolerance"] = f.search.splitTolerance;
                search["min_line_length"] = f.search.minLineLength;
                search["refine_iterations"] = f.search.refineIterations;
                search["corner_tolerance"] = f.search.cornerTolerance;
                return search;
            },
            "The settings that they were found with, mm.")
        .def("__len__", [](const FoundSegments& f) { return f.segments.size(); })
        .def(
            "__getitem__",
            [](const FoundSegments& f, const py::object& index) -> py::object {
                return arrayFrom(f.segments)[index];
            },
            py::arg("index"))
        .def(
            "__array__",
            [](const FoundSegments& f, const py::object& dtype, const py::object& /*copy*/) -> py::object {
                const py::array array = arrayFrom(f.segments);
                return dtype.is_none() ? py::object(array) : array.attr("astype")(dtype);
            },
            py::arg("dtype") = py::none(), py::arg("copy") = py::none())
        .def(
            "svg", [](const FoundSegments& f) { return QString::fromUtf8(pictureOf(f)); },
            "The picture as text.")
        .def("__repr__",
             [](const FoundSegments& f) { return QString("Segments(%1)").arg(f.segments.size()); });
}

}  // namespace

void bindProfiles(py::module_& module) {
    constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();
    py::class_<KvMeasure::ProfileSequence, std::shared_ptr<KvMeasure::ProfileSequence>>(module,
                                                                                        "ProfileSequence")
        .def(py::init(&openProfiles), py::arg("path"), py::arg("columns") = "", py::arg("units") = "",
             py::arg("pitch") = kNothing, py::arg("unset") = py::none())
        .def("__iter__", [](const py::object& self) { return self; })
        .def("__next__", &nextProfile);
    module.def("write_profiles", &writeProfiles, py::arg("path"), py::arg("arrays"), py::kw_only(),
               py::arg("form") = "",
               "Writes profiles (n, 2), mm: one as CSV where the name ends in .csv, else one binary record "
               "each. form is\n"
               "\"csv\", \"kv-csv\" (semicolons and decimal commas) or \"record\". The file is complete or "
               "not touched.");
    module.def("filtered", &filtered, py::arg("array"), py::arg("steps"),
               "A profile after filter steps, e.g. \"median 5; trim-y 0 120\", without unset points; "
               "kvmath.steps_help() lists\n"
               "them.");
    module.def("steps_help", &KvMeasure::stepsHelp, "Every filter step with its parameters and their units.");
    bindSegments(module);
    module.def(
        "segments", &findSegments, py::arg("array"), py::kw_only(), py::arg("contour_gap") = kNothing,
        py::arg("split_tolerance") = kNothing, py::arg("min_line_length") = kNothing,
        "The straight segments of a profile (n, 2), mm, in scan order, one for each surface, as teach and "
        "the search of plans see them.\n\n"
        "contour_gap      a step of at least this length begins another contour, mm\n"
        "split_tolerance  a contour is split where it deviates by at least this from its chord, mm\n"
        "min_line_length  shorter ones are left out, mm\n\n"
        "Unless given, they follow from the profile: its spacing, noise and size.");
}

}  // namespace KvMathPython
