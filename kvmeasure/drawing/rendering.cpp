#include <kvmeasure/drawing/rendering.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/module_path_p.h>
#include <kvmeasure/drawing/renderer_p.h>

#include <QtCore/QFileInfo>

#include <array>
#include <new>

namespace KvMeasure {

namespace {

/// Loaded when the first picture needs it.
KvMeasureRender renderer() {
    static const auto render = reinterpret_cast<KvMeasureRender>(
        moduleFunction(KVMEASURE_RENDERER, "kvmeasureRender",
                       "PDF and PNG pictures need librsvg and %1, which is not there; name a .svg file",
                       "PDF and PNG pictures: %1; name a .svg file"));
    return render;
}

bool append(void* target, const unsigned char* bytes, unsigned size) {
    try {
        static_cast<QByteArray*>(target)->append(reinterpret_cast<const char*>(bytes),
                                                 static_cast<int>(size));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

PictureFormat pictureFormatOf(const QString& path) {
    const QString ending = QFileInfo(path).suffix().toLower();
    if (ending.isEmpty() || ending == "svg")
        return PictureFormat::Svg;
    if (ending != "pdf" && ending != "png")
        throw Error(filledIn("%1: the name of a picture ends in .svg, .pdf or .png", path)).inFile(path);
    return ending == "pdf" ? PictureFormat::Pdf : PictureFormat::Png;
}

void requireFormat(PictureFormat format) {
    if (format != PictureFormat::Svg)
        renderer();
}

QByteArray rendered(const QByteArray& svg, PictureFormat format) {
    if (format == PictureFormat::Svg)
        return svg;
    QByteArray bytes;
    std::array<char, 256> reason{};
    if (!renderer()(svg.constData(), static_cast<std::size_t>(svg.size()), format == PictureFormat::Pdf,
                    append, &bytes, reason.data(), reason.size()))
        throw Error(filledIn("the picture cannot be rendered: %1", QString::fromUtf8(reason.data())));
    return bytes;
}

}  // namespace KvMeasure
