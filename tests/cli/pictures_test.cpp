// Pictures of the program as SVG, PDF and PNG.

#include <tests/cli/program.h>

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QtEndian>

#include <set>

namespace {

using testing::IsEmpty;

class Pictures : public Program {
protected:
    void SetUp() override {
        simulate("part.csv", "--shape v-groove");
        const Outcome taught = run({"teach", "part.csv", "--lines", "0,1,2,3", "--measure",
                                    "depth = shift 0.end 1.end -90", "--out", "part.json"});
        ASSERT_EQ(taught.code, 0) << taught.err;
    }
    Outcome draw(const QString& file) const {
        return run({"match", "part.csv", "--template", "part.json", "--svg", file});
    }
};

TEST_F(Pictures, UnknownEndingsAreRefusedBeforeTheWork) {
    const Outcome result = draw("p.jpg");
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, "kvmeasure: p.jpg: the name of a picture ends in .svg, .pdf or .png\n");
    EXPECT_THAT(result.out, IsEmpty());
    // The ending that counts is the user's, not one that a profile's name puts behind it.
    write("part.new.csv", read("part.csv"));
    ASSERT_EQ(run("match part.csv part.new.csv --template part.json --svg p").code, 0);
    EXPECT_THAT(read("p-part.new").toStdString(), StartsWith("<svg"));
    expectRefused("wheels pass . --pictures png --no-pictures", "exclude each other");
}

#ifdef KVMEASURE_HAS_RENDERER

std::string inflated(const std::string& zlibStream) {
    const std::string sizeHint("\0\x10\0\0", 4);  // qUncompress wants a size in front, and grows from there
    return qUncompress(QByteArray::fromStdString(sizeHint + zlibStream)).toStdString();
}

/// All texts that a PDF shows, joined: the strings of its pages, without the kerning between them.
std::string textsOf(const std::string& pdf) {
    const std::string mark = "\nstream\n";
    std::string texts;
    for (std::size_t at = pdf.find(mark); at != std::string::npos; at = pdf.find(mark, at + 1)) {
        const QString page = QString::fromStdString(inflated(pdf.substr(at + mark.size())));
        auto strings = QRegularExpression("\\(([^()]*)\\)").globalMatch(page);
        while (strings.hasNext())
            texts += strings.next().captured(1).toStdString();
    }
    return texts;
}

struct Png {
    unsigned width = 0, height = 0;
    std::set<char> values;  ///< different bytes of its pixels
};

Png pngOf(const std::string& bytes) {
    EXPECT_THAT(bytes, StartsWith("\x89PNG\r\n\x1A\n"));
    const auto number = [&bytes](std::size_t at) { return qFromBigEndian<quint32>(bytes.data() + at); };
    std::string pixels;
    for (std::size_t at = 8; at + 8 <= bytes.size(); at += number(at) + 12) {
        if (bytes.compare(at + 4, 4, "IDAT") == 0)
            pixels += bytes.substr(at + 8, number(at));
    }
    const std::string rows = inflated(pixels);
    return {number(16), number(20), {rows.begin(), rows.end()}};
}

TEST_F(Pictures, PdfKeepsTextAndPngKeepsSize) {
    for (const char* name : {"p.svg", "p.pdf", "again.pdf", "p.PNG"})
        ASSERT_EQ(draw(name).code, 0) << name;
    const std::string pdf = read("p.pdf").toStdString();
    EXPECT_THAT(pdf, AllOf(StartsWith("%PDF-"), testing::EndsWith("%%EOF\n"), Not(HasSubstr("/Image"))));
    EXPECT_EQ(pdf, read("again.pdf").toStdString());
    const QString svg = QString::fromUtf8(read("p.svg"));
    auto texts = QRegularExpression(">([^<>\n\"&]+)</text>").globalMatch(svg);
    const std::string shown = textsOf(pdf);
    ASSERT_TRUE(texts.hasNext());
    while (texts.hasNext())
        EXPECT_THAT(shown, HasSubstr(texts.next().captured(1).toStdString()));

    const auto size = QRegularExpression("width=\"(\\d+)\" height=\"(\\d+)\"").match(svg);
    const Png png = pngOf(read("p.PNG").toStdString());
    EXPECT_EQ(png.width, size.captured(1).toUInt());
    EXPECT_EQ(png.height, size.captured(2).toUInt());
    EXPECT_GT(png.values.size(), 50U);

    ASSERT_EQ(run("simulate scan --out s.kvs --svg s.pdf").code, 0);
    EXPECT_THAT(read("s.pdf").toStdString(), HasSubstr("/Subtype /Image"));  // the heights
    ASSERT_EQ(run("match s.kvs part.csv --template part.json --trend t.png").code, 1);
    EXPECT_GT(pngOf(read("t.png").toStdString()).width, 100U);
    ASSERT_EQ(run("simulate pass --wheelsets 1 --spacing 40 --out train").code, 0);
    ASSERT_EQ(run("wheels pass train --out out --pictures png").code, 0);
    EXPECT_GT(pngOf(read("out/pictures/wheel_01_left.png").toStdString()).width, 100U);
}

TEST_F(Pictures, WithoutAnyFontNoneIsDrawnWithoutItsTexts) {
    write("fonts.conf", "<fontconfig><dir>/no/fonts</dir></fontconfig>");
    qputenv("FONTCONFIG_FILE", path("fonts.conf").toUtf8());
    const Outcome result = draw("p.png");
    qunsetenv("FONTCONFIG_FILE");
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, HasSubstr("p.png: the picture is missing: "));
    EXPECT_THAT(result.err, HasSubstr("no font is installed"));
    EXPECT_THAT(result.out, HasSubstr("depth"));  // the values are there
    EXPECT_FALSE(QFileInfo::exists(path("p.png")));
}

#else

TEST_F(Pictures, WithoutTheirLibrariesPdfAndPngAreRefusedBeforeTheWork) {
    for (const QString name : {"p.pdf", "p.png"}) {
        const Outcome result = draw(name);
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, AllOf(StartsWith("kvmeasure: " + name.toStdString() + ": "),
                                      HasSubstr("need librsvg and "),
                                      HasSubstr("renderer.so, which is not there; name a .svg file")));
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_FALSE(QFileInfo::exists(path(name)));
    }
}

#endif

}  // namespace
