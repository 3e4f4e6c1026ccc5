// Arguments are taken under the lock of Python, so that no thread changes an array while it is read. Taking n
// points costs one pass over them; the library's own arrays cost nothing.

#include "python/core/arrays.h"

#include "python/core/text.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace KvMathPython {

using KvMath::KvPointXY;
using KvMath::KvPointXYZ;
using KvMath::KvProfile;

namespace {

constexpr const char* kProfileName = "kvmath.profile";
constexpr int kMostPoints = 20'000'000;  // of an argument, as of a scan

QString shapeText(const py::array& array) {
    QStringList sizes;
    for (py::ssize_t i = 0; i < array.ndim(); ++i)
        sizes << QString::number(array.shape(i));
    return '(' + sizes.join(", ") + (array.ndim() == 1 ? ",)" : ")");
}

/// Any array of real numbers as one of numpy; masked places become NaN.
py::array numeric(const py::handle& value, const char* parameter) {
    py::object taken = py::reinterpret_borrow<py::object>(value);
    const bool isPlain = Py_TYPE(value.ptr()) == py::detail::npy_api::get().PyArray_Type_;
    if (!isPlain && py::hasattr(taken, "mask") && py::hasattr(taken, "filled"))
        taken = taken.attr("astype")("float64").attr("filled")(std::numeric_limits<double>::quiet_NaN());
    if (taken.is_none() || py::isinstance<py::str>(taken) || py::isinstance<py::bytes>(taken))
        throwTypeError(parameter,
                       QString("needs an array of numbers, not %1").arg(Py_TYPE(value.ptr())->tp_name));
    const py::array array = py::array::ensure(taken);
    if (!array) {
        PyErr_Clear();
        throwTypeError(parameter,
                       QString("needs an array of numbers; %1 is none, or its rows differ in length")
                           .arg(Py_TYPE(value.ptr())->tp_name));
    }
    const char kind = array.dtype().kind();
    if (kind != 'f' && kind != 'i' && kind != 'u' && array.size() > 0)
        throwTypeError(parameter,
                       "needs an array of numbers, not of dtype " + py::str(array.dtype()).cast<QString>());
    return array;
}

/// An array of `columns` columns.
py::array shaped(const py::handle& value, const char* parameter, int columns, Empty empty) {
    const py::array array = numeric(value, parameter);
    if (array.ndim() != 2 || array.shape(1) != columns)
        throw argumentError(
            parameter, QString("needs an array of shape (n, %1), not %2").arg(columns).arg(shapeText(array)));
    if (array.shape(0) == 0 && empty == Empty::Refused)
        throw argumentError(parameter, QString("has no points; its shape is %1").arg(shapeText(array)));
    if (array.shape(0) > kMostPoints)
        throw argumentError(parameter, QString("has more than %1 points").arg(kMostPoints));
    return array;
}

[[noreturn]] void refuse(const char* parameter, qint64 row, double value) {
    throw argumentError(
        parameter,
        QString("row %1 holds %2, which is no coordinate in mm; NaN is unset").arg(row).arg(value));
}

/// The profile whose points an array shows; null: it shows none of the library's, or not all of them.
const KvProfile* ownProfile(const py::array& array) {
    py::object base = array.base();
    for (int i = 0; i < 3 && base && py::isinstance<py::array>(base); ++i)
        base = py::reinterpret_borrow<py::array>(base).base();
    if (!base || !PyCapsule_IsValid(base.ptr(), kProfileName))
        return nullptr;
    const auto* const profile = static_cast<const KvProfile*>(PyCapsule_GetPointer(base.ptr(), kProfileName));
    const bool isWhole = array.ndim() == 2 && array.shape(1) == 2 && !profile->points.isEmpty() &&
                         array.data() == &profile->points.first() &&
                         array.shape(0) == profile->points.size() && array.strides(0) == sizeof(KvPointXY) &&
                         array.strides(1) == sizeof(float) && py::isinstance<py::array_t<float>>(array);
    return isWhole ? profile : nullptr;
}

/// So many points. QList 5 has no resize, and an append per point is a call per point.
QList<KvPointXY> listOfSize(int size) {
    QList<KvPointXY> list;
    if (size < 1)
        return list;
    list.reserve(size);
    list.append(KvPointXY(0, 0));
    int digit = 0;
    while ((size >> digit) > 1)
        ++digit;
    while (--digit >= 0) {
        list.append(list);
        if (((size >> digit) & 1) != 0)
            list.append(KvPointXY(0, 0));
    }
    return list;
}

/// Drops unset points and refuses infinite ones.
template <class Number>
void takePoints(const Number* from, qint64 count, const char* parameter, QList<KvPointXY>& points) {
    static_assert(sizeof(KvPointXY) == 2 * sizeof(float));
    constexpr auto kLargest = static_cast<Number>(std::numeric_limits<float>::max());
    points = listOfSize(static_cast<int>(count));
    if (count == 0)
        return;
    KvPointXY* const first = &points.first();
    KvPointXY* to = first;
    for (qint64 i = 0; i < count; ++i) {
        const Number x = from[2 * i];
        const Number y = from[2 * i + 1];
        if (std::abs(x) <= kLargest && std::abs(y) <= kLargest)
            *to++ = KvPointXY(static_cast<float>(x), static_cast<float>(y));
        else if (!std::isnan(x) && !std::isnan(y))
            refuse(parameter, i, static_cast<double>(std::abs(x) <= kLargest ? y : x));
    }
    if (to != first + count)
        points.erase(points.begin() + (to - first), points.end());
}

}  // namespace

KvProfile profileFrom(const py::handle& value, const char* parameter, Empty empty) {
    if (py::isinstance<py::array>(value)) {
        if (const KvProfile* const own = ownProfile(py::reinterpret_borrow<py::array>(value)))
            return *own;
    }
    const py::array array = shaped(value, parameter, 2, empty);
    KvProfile profile;
    if (py::isinstance<py::array_t<float>>(array)) {
        const auto floats = py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(array);
        takePoints(floats.data(), floats.shape(0), parameter, profile.points);
    } else {
        const py::array_t<double> doubles = tableFrom(array, parameter, 2);
        takePoints(doubles.data(), doubles.shape(0), parameter, profile.points);
    }
    return profile;
}

py::array_t<double> tableFrom(const py::handle& value, const char* parameter, int columns) {
    const py::array array =
        columns > 0 ? shaped(value, parameter, columns, Empty::Allowed) : numeric(value, parameter);
    if (array.ndim() != 2)
        throw argumentError(
            parameter, QString("needs an array of two dimensions, not of shape %1").arg(shapeText(array)));
    auto doubles = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
    if (!doubles)
        throw py::error_already_set();
    return py::array_t<double>(std::move(doubles));
}

std::vector<KvMeasure::Vector> pointsFrom(const py::handle& value, const char* parameter) {
    const py::array array = shaped(value, parameter, 2, Empty::Refused);
    const py::array_t<double> doubles = tableFrom(array, parameter, 2);
    const double* const from = doubles.data();
    std::vector<KvMeasure::Vector> points;
    points.reserve(static_cast<std::size_t>(doubles.shape(0)));
    for (py::ssize_t i = 0; i < doubles.shape(0); ++i) {
        const double x = from[2 * i];
        const double y = from[2 * i + 1];
        if (std::isinf(x) || std::isinf(y))
            refuse(parameter, i, std::isinf(x) ? x : y);
        if (!std::isnan(x) && !std::isnan(y))
            points.emplace_back(x, y);
    }
    return points;
}

KvMath::KvPointCloud<KvPointXYZ> cloudFrom(const py::handle& value, const char* parameter) {
    const py::array array = shaped(value, parameter, 3, Empty::Refused);
    const py::array_t<double> doubles = tableFrom(array, parameter, 3);
    const double* from = doubles.data();
    KvMath::KvPointCloud<KvPointXYZ> cloud;
    cloud.points.reserve(static_cast<int>(doubles.shape(0)));
    for (py::ssize_t i = 0; i < doubles.shape(0); ++i, from += 3) {
        bool isSet = true;
        for (int axis = 0; axis < 3; ++axis) {
            if (std::abs(from[axis]) > static_cast<double>(std::numeric_limits<float>::max()))
                refuse(parameter, i, from[axis]);
            isSet = isSet && !std::isnan(from[axis]);
        }
        if (isSet)
            cloud.points.append(
                {static_cast<float>(from[0]), static_cast<float>(from[1]), static_cast<float>(from[2])});
    }
    return cloud;
}

std::vector<double> numbersFrom(const py::handle& value, const char* parameter) {
    const py::array array = numeric(value, parameter);
    if (array.ndim() != 1)
        throw argumentError(parameter, QString("needs an array of shape (n,), not %1").arg(shapeText(array)));
    const auto doubles = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
    if (!doubles)
        throw py::error_already_set();
    return std::vector<double>(doubles.data(), doubles.data() + doubles.size());
}

py::array arrayFrom(const KvProfile& profile) {
    auto* const own = new KvProfile(profile);  // the capsule's; the points are shared, not copied
    const py::capsule keeper(own, kProfileName, [](PyObject* capsule) {
        delete static_cast<KvProfile*>(PyCapsule_GetPointer(capsule, kProfileName));
    });
    const auto size = static_cast<py::ssize_t>(own->points.size());
    const float nothing = 0;
    const float* const data = size > 0 ? &own->points.constBegin()->x : &nothing;
    const py::array array(py::dtype::of<float>(), {size, py::ssize_t(2)},
                          {py::ssize_t(sizeof(KvPointXY)), py::ssize_t(sizeof(float))}, data, keeper);
    array.attr("flags").attr("writeable") = false;
    return array;
}

py::array arrayFrom(const KvMath::KvPointCloud<KvPointXYZ>& cloud) {
    py::array_t<float> array({static_cast<py::ssize_t>(cloud.points.size()), py::ssize_t(3)});
    float* to = array.mutable_data();
    for (const KvPointXYZ& point : cloud.points) {
        *to++ = point.x;
        *to++ = point.y;
        *to++ = point.z;
    }
    return py::array(std::move(array));
}

py::array arrayFrom(const std::vector<KvMeasure::Vector>& points) {
    py::array_t<double> array({static_cast<py::ssize_t>(points.size()), py::ssize_t(2)});
    if (!points.empty())
        std::memcpy(array.mutable_data(), points.data(), points.size() * sizeof(KvMeasure::Vector));
    return py::array(std::move(array));
}

py::array arrayFrom(const std::vector<double>& numbers) {
    return py::array_t<double>(static_cast<py::ssize_t>(numbers.size()), numbers.data());
}

py::array arrayFrom(const KvMeasure::Segments& segments) {
    py::array_t<double> array({static_cast<py::ssize_t>(segments.size()), py::ssize_t(4)});
    double* to = array.mutable_data();
    for (const KvMath::LinePP& segment : segments) {
        *to++ = segment.p1.x;
        *to++ = segment.p1.y;
        *to++ = segment.p2.x;
        *to++ = segment.p2.y;
    }
    return py::array(std::move(array));
}

}  // namespace KvMathPython
