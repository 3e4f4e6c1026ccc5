#pragma once
// Pictures of results.

#include "python/core/text.h"

#include <kvmeasure/drawing/rendering.h>

namespace KvMathPython {

namespace py = pybind11;

/// What picture() of a result gives: bytes of "svg", "png" or "pdf". draw() gives the SVG and must not touch
/// objects of Python; other threads run meanwhile. Throws Error for another format, and for one that cannot
/// be made here.
template <class Draw>
py::bytes pictureBytes(const QString& format, const Draw& draw) {
    QByteArray bytes;
    {
        const py::gil_scoped_release release;
        const KvMeasure::PictureFormat wanted = KvMeasure::pictureFormatOf("picture." + format);
        KvMeasure::requireFormat(wanted);
        bytes = KvMeasure::rendered(draw(), wanted);
    }
    return py::bytes(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

/// Adds picture(format) and svg() to a class; draw(const Object&) gives the SVG.
template <class Class, class Draw>
void bindPicture(Class& bound, const Draw& draw, const char* text) {
    using Object = typename Class::type;
    bound
        .def(
            "picture",
            [draw](const Object& self, const QString& format) {
                return pictureBytes(format, [&] { return draw(self); });
            },
            py::arg("format") = "svg", text)
        .def(
            "svg", [draw](const Object& self) { return QString::fromUtf8(draw(self)); },
            "The picture as text.");
}

}  // namespace KvMathPython
