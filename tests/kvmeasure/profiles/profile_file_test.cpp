// Files of points: what is in their records, and the place of what cannot be read. Written profiles are read
// back.

#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/profiles/profile_writer.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/scratch_directory.h>

#include <cmath>
#include <limits>

namespace {

using namespace KvMeasure;
using testing::HasSubstr;
using TestSupport::errorOf;
using TestSupport::textOf;

TEST(PointFiles, GiveNoPointsWithoutARecord) {
    const TestSupport::ScratchDirectory scratch;
    const QString path = scratch.write("one.bin", QByteArray("\x02\x01\0\0\0", 5) + QByteArray(8, '\0'));
    PointFile file(path);
    EXPECT_TRUE(file.nextPoints(5).empty()) << "no head is read";
    RecordHead head;
    ASSERT_TRUE(file.nextHead(head));
    for (const int most : {0, -1})
        EXPECT_TRUE(file.nextPoints(most).empty()) << most;
    EXPECT_EQ(file.nextPoints(5).size(), 1U);
    EXPECT_TRUE(file.nextPoints(5).empty()) << "the end of the record";
}

TEST(PointFiles, ThatCannotBeReadNameThePlace) {
    const TestSupport::ScratchDirectory scratch;
    const QByteArray xy3("\x02\x03\x00", 3);
    const struct {
        const char* name;
        QByteArray content;
        const char* reason;
    } cases[] = {
        {"empty", "", "is empty"},
        {"book.xlsx", "PK\x03\x04", "is a spreadsheet or another archive; save the sheet as CSV"},
        {"garbage", QByteArray("\x7f\x45\x4c\x01\x00", 5), "offset 3: byte 0x01"},
        {"text", "x,y\n1,2\n3,abc\n", "line 3: column 2: expected a number, found \"abc\""},
        {"inf", "1,inf\n", "line 1: column 2"},
        {"commas", "-1,0\n-1,0,0,02\n", "line 2: \"-1,0,0,02\" may be two numbers with decimal commas"},
        {"huge", "1,1e300\n", "too large for a coordinate"},
        {"zero", QByteArray("1,2\n", 4).repeated(2000) + QByteArray("1,\0\n", 4),
         "line 2001: holds a zero byte"},
        {"long", QByteArray(1'100'000, '1'), "line 1: is longer than 1048576 bytes"},
        {"header", "x,y\n", "holds no point"},
        {"second", xy3 + QByteArray(24, '\0') + '\x09', "offset 27: byte 0x09"},
        {"cut", xy3 + QByteArray(23, '\0'),
         "offset 0: XY cloud record: announces 3 points, the file ends after 2"},
        {"head", QByteArray("\x03\xff", 2), "its head needs 5 bytes"},
        {"count", QByteArray("\x03\xff\xff\xff\xff", 5),
         "announces 4294967295 points, the file ends after 0"},
    };
    for (const auto& c : cases) {
        scratch.write(c.name, c.content);
        const Error error = errorOf([&c] {
            ProfileSource source(c.name, {});
            for (LoadedProfile loaded; source.next(loaded);) {
            }
        });
        EXPECT_THAT(textOf(error), HasSubstr(c.reason)) << c.name;
        EXPECT_EQ(error.file(), c.name);
        const QString text = error.text();
        EXPECT_EQ(error.offset() >= 0, text.contains(": offset ")) << c.name;
        EXPECT_EQ(error.line() > 0, text.contains(": line ")) << c.name;
    }
}

/// Coordinates keep every bit, in every form, and what is not finite becomes unset.
TEST(PointFiles, WrittenAreReadAgain) {
    const TestSupport::ScratchDirectory scratch;
    LoadedProfile profile;
    profile.profile.points = {{0.1F, 1e-30F}, {std::nextafter(1.0F, 2.0F), -3.4e38F}, {2, 16777217.0F}};
    const float inf = std::numeric_limits<float>::infinity();
    for (const FileForm form : {FileForm::Csv, FileForm::LibraryCsv, FileForm::Records}) {
        SCOPED_TRACE(formName(form).toStdString());
        LoadedProfile damaged = profile;
        damaged.profile.points.append({3, inf});
        writeProfile("p", form, damaged);
        TextOptions options;
        options.unset.keepsAll = true;
        if (form == FileForm::Records)
            options = TextOptions();
        const LoadedProfile again = loadOnlyProfile("p", options);
        EXPECT_EQ(again.unset, 1);
        ASSERT_EQ(again.profile.points.size(), 3);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(again.profile.points[i].x, profile.profile.points[i].x);
            EXPECT_EQ(again.profile.points[i].y, profile.profile.points[i].y);
        }
    }
    ProfileWriter csv("two.csv", FileForm::Csv);
    csv.add(profile);
    EXPECT_THAT(textOf(errorOf([&] { csv.add(profile); })), HasSubstr("a CSV file holds one profile"));
    EXPECT_FALSE(QFile::exists("two.csv"));
    EXPECT_THAT(textOf(errorOf([] { parseForm("cvs", FileForm::Csv); })),
                HasSubstr("must be csv, kv-csv or record"));
}

}  // namespace
