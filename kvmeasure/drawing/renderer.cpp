// The module of PDF and PNG pictures: librsvg draws an SVG document on a surface of Cairo. Text stays text in
// PDF. A module of its own because loading librsvg triples the time that a program takes to start, and only
// few runs need it.

#include <kvmeasure/drawing/renderer_p.h>

#include <cairo-pdf.h>
#include <fontconfig/fontconfig.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

namespace {

struct Unref {
    void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
    void operator()(FcObjectSet* objects) const { FcObjectSetDestroy(objects); }
    void operator()(FcFontSet* fonts) const { FcFontSetDestroy(fonts); }
};

template <class T>
using Owned = std::unique_ptr<T, Unref>;

constexpr double kPointsPerPixel = 0.75;  // 72 points and 96 pixels an inch
constexpr double kLongestSide = 32'767;   // pixels of an image of Cairo
constexpr double kMostPixels = 1 << 26;   // 256 MB; a picture of kvmeasure has at most some 10 million

struct Output {
    KvMeasureSink sink;
    void* target;
};

cairo_status_t writeBytes(void* closure, const unsigned char* bytes, unsigned size) {
    const auto* output = static_cast<const Output*>(closure);
    return output->sink(output->target, bytes, size) ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

/// Without any font, Pango draws an empty box for each letter and says nothing.
bool hasFonts() {
    const Owned<FcPattern> any(FcPatternCreate());
    const Owned<FcObjectSet> objects(FcObjectSetBuild(FC_FAMILY, nullptr));
    const Owned<FcFontSet> fonts(FcFontList(nullptr, any.get(), objects.get()));
    return fonts != nullptr && fonts->nfont > 0;
}

class Rendering {
public:
    Rendering(char* reason, std::size_t room) : reason_(reason), room_(room) {}

    bool run(const char* svg, std::size_t size, bool asPdf, Output output) {
        GError* error = nullptr;
        const Owned<RsvgHandle> handle(
            rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg), size, &error));
        double width = 0, height = 0;
        if (handle == nullptr)
            return fail(error);
        if (rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &width, &height) == FALSE)
            return fail("the picture has no size in pixels");
        if (!(std::min(width, height) > 0 && std::max(width, height) <= kLongestSide &&
              width * height <= kMostPixels))  // false for NaN, too
            return fail("the picture has no size, or is too large");
        if (!hasFonts())
            return fail("no font is installed (fontconfig lists none)");
        const double scale = asPdf ? kPointsPerPixel : 1;
        const Owned<cairo_surface_t> surface(
            asPdf ? cairo_pdf_surface_create_for_stream(writeBytes, &output, width * scale, height * scale)
                  : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(std::ceil(width)),
                                               static_cast<int>(std::ceil(height))));
        if (asPdf)  // not that of today: the same picture gives the same bytes
            cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
        const Owned<cairo_t> context(cairo_create(surface.get()));
        const RsvgRectangle page{0, 0, width * scale, height * scale};
        if (rsvg_handle_render_document(handle.get(), context.get(), &page, &error) == FALSE)
            return fail(error);
        if (asPdf)
            cairo_surface_finish(surface.get());
        else if (!succeeds(cairo_surface_write_to_png_stream(surface.get(), writeBytes, &output)))
            return false;
        return succeeds(cairo_surface_status(surface.get()));
    }

private:
    bool succeeds(cairo_status_t status) {
        return status == CAIRO_STATUS_SUCCESS || fail(cairo_status_to_string(status));
    }

    bool fail(GError* error) {
        const Owned<GError> owned(error);
        return fail(error != nullptr ? error->message : "librsvg gives no reason");
    }

    bool fail(const char* text) {
        std::snprintf(reason_, room_, "%s", text);
        return false;
    }

    char* reason_;
    std::size_t room_;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) bool kvmeasureRender(const char* svg, std::size_t size,
                                                                       bool asPdf, KvMeasureSink sink,
                                                                       void* target, char* reason,
                                                                       std::size_t room) {
    return Rendering(reason, room).run(svg, size, asPdf, {sink, target});
}
