#pragma once
// What members of the library's classes are in Python: points tuples, lists of numbers and points arrays,
// lists of texts lists of str.

#include "python/core/arrays.h"
#include "python/core/text.h"

#include <QtCore/QStringList>

#include <array>

namespace pybind11::detail {

/// To Python alone.
#define KVMATH_CAST(Type, Name, Made)                                                                        \
    template <>                                                                                              \
    struct type_caster<Type> {                                                                               \
        static constexpr auto name = const_name(Name);                                                       \
        static handle cast(const Type& from, return_value_policy, handle) { return object(Made).release(); } \
    };

KVMATH_CAST(KvMeasure::Vector, "tuple[float, float]", make_tuple(from.x, from.y))
using ThreeNumbers = std::array<double, 3>;
KVMATH_CAST(ThreeNumbers, "tuple[float, float, float]", make_tuple(from[0], from[1], from[2]))
KVMATH_CAST(std::vector<KvMeasure::Vector>, "numpy.ndarray", KvMathPython::arrayFrom(from))
KVMATH_CAST(std::vector<double>, "numpy.ndarray", KvMathPython::arrayFrom(from))
KVMATH_CAST(std::vector<int>, "numpy.ndarray", array_t<int>(static_cast<ssize_t>(from.size()), from.data()))
KVMATH_CAST(KvMath::KvProfile, "numpy.ndarray", KvMathPython::arrayFrom(from))
KVMATH_CAST(KvMeasure::Segments, "numpy.ndarray", KvMathPython::arrayFrom(from))
#undef KVMATH_CAST

template <>
struct type_caster<QStringList> {
    static constexpr auto name = const_name("list[str]");
    static handle cast(const QStringList& from, return_value_policy, handle) {
        list texts;
        for (const QString& text : from)
            texts.append(text);
        return texts.release();
    }
};

}  // namespace pybind11::detail
