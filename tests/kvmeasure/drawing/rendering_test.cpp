// Formats of pictures by the ending, and what is refused as a picture.

#include <kvmeasure/base/error.h>
#include <kvmeasure/drawing/rendering.h>

#include <gmock/gmock.h>

namespace {

using namespace KvMeasure;

TEST(Rendering, FormatFollowsTheEnding) {
    for (const char* name : {"p.svg", "p.SVG", "p", "p.", "-", "folder.png/p", ".svg"})
        EXPECT_EQ(pictureFormatOf(name), PictureFormat::Svg) << name;
    for (const char* name : {"p.pdf", "p.svg.Pdf", ".pdf"})
        EXPECT_EQ(pictureFormatOf(name), PictureFormat::Pdf) << name;
    EXPECT_EQ(pictureFormatOf("p.pdf.PNG"), PictureFormat::Png);
    for (const char* name : {"p.jpg", "p.svgz", "p.png ", "p.png~", "p.%1"})
        EXPECT_THROW(pictureFormatOf(name), Error) << name;
}

TEST(Rendering, NoPictureIsRefusedWithItsReason) {
    const auto sized = [](const char* width, const char* height) {
        return QByteArray("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"") + width + "\" height=\"" +
               height + "\"/>";
    };
    const QByteArray noPictures[] = {"",
                                     "measured",
                                     "<svg",
                                     QByteArray(100, '\0'),
                                     sized("0", "10"),
                                     sized("-10", "10"),
                                     sized("100%", "100%"),
                                     sized("1e300", "1e300"),
                                     sized("32768", "1"),
                                     sized("32767", "32767")};
    for (const PictureFormat format : {PictureFormat::Pdf, PictureFormat::Png}) {
        for (const QByteArray& bytes : noPictures) {
            try {
                rendered(bytes, format);
                ADD_FAILURE() << bytes.toStdString();
            } catch (const Error& error) {
                EXPECT_THAT(error.what(), testing::HasSubstr("picture")) << bytes.toStdString();
            }
        }
    }
    EXPECT_EQ(rendered("measured", PictureFormat::Svg), "measured");
}

}  // namespace
