// Files of points: what is in their records, and the place of what cannot be read. Written profiles are read
// back.

#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/profiles/profile_writer.h>
#include <kvmeasure/profiles/text_table.h>
#include <tests/kvmeasure/calls.h>

namespace {

TEST(PointFiles, GiveNoPointsWithoutARecord) {
    const ScratchDirectory scratch;
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
    const ScratchDirectory scratch;
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
         "announces 4294967295 points, the file ends after 0"}};
    for (const auto& c : cases) {
        scratch.write(c.name, c.content);
        const Error error = errorOf([&c] {
            ProfileSource source(c.name, {});
            for (LoadedProfile loaded; source.next(loaded);) {
            }
        });
        EXPECT_THAT(error, Says(c.reason)) << c.name;
        EXPECT_EQ(error.file(), c.name);
        const QString text = error.text();
        EXPECT_EQ(error.offset() >= 0, text.contains(": offset ")) << c.name;
        EXPECT_EQ(error.line() > 0, text.contains(": line ")) << c.name;
    }
}

/// Coordinates keep every bit, in every form, and what is not finite becomes unset.
TEST(PointFiles, WrittenAreReadAgain) {
    const ScratchDirectory scratch;
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
    EXPECT_THAT([&] { csv.add(profile); }, Refuses("a CSV file holds one profile"));
    EXPECT_FALSE(QFile::exists("two.csv"));
    EXPECT_THAT([] { parseForm("cvs", FileForm::Csv); }, Refuses("must be csv, kv-csv or record"));
}

/// Separator, width, lines of the first row, of names and of units, columns with their units, lines of titles
/// and of comments, columns with numbers; "double" where blank lines part the rows.
std::string headOf(const QByteArray& text) {
    std::vector<NumberedLine> lines;
    for (const QByteArray& line : text.split('\n'))
        lines.push_back({qint64(lines.size()) + 1, line});
    const TextHead head = findHead(lines);
    QStringList columns, titles, comments;
    for (const Heading& heading : head.columns)
        columns << heading.text + (heading.unit.isEmpty() ? "" : ' ' + heading.unit) +
                       (heading.length != nullptr ? "!" : "");
    for (const NumberedLine& line : head.titles)
        titles << QString::number(line.number);
    for (const NumberedLine& line : head.comments)
        comments << QString::number(line.number);
    QString numeric;
    for (const bool isNumeric : head.isNumeric)
        numeric += isNumeric ? '1' : '0';
    const QString places = QString("%1 %2,%3,%4 ")
                               .arg(head.width)
                               .arg(head.firstRow + 1)
                               .arg(head.namesLine)
                               .arg(head.unitsLine);
    return (head.separator + places + '[' + columns.join('|') + "] " + titles.join(',') + '/' +
            comments.join(',') + ' ' + numeric + (head.isDoubleSpaced ? " double" : ""))
        .toStdString();
}

TEST(TextHead, IsWhatStandsAboveTheRows) {
    const struct {
        const char *text, *expected;
    } cases[] = {
        // The separator that makes most rows of numbers; of equal ones the first of ; tab , and blank.
        {"1,5;2\n2,5;3", ";2 1,0,0 [] / 11"},
        {"1,5\t2\n2,5\t3", "\t2 1,0,0 [] / 11"},
        {"1.5,2\n2.5,3", ",2 1,0,0 [] / 11"},
        {"1,5 2,5\n2,5 3", " 2 1,0,0 [] / 11"},
        {"1;2\n3 4\n5 6", " 2 2,0,0 [] 1/ 11"},
        {"# 1 2\n# 3 4\n5;6", ";2 3,0,0 [] /1,2 11"},
        {"5\n6\n7", " 1 1,0,0 [] / 1"},
        {"5;\n6;", ";1 1,0,0 [] / 1"},
        {"no numbers", " 0 2,0,0 [] / "},
        {"a;b", ";0 2,0,0 [] / "},
        // The width of most rows; of equal numbers of rows the greater one. Texts count where numbers are.
        {"1;2;3\n1;2\n1;2", ";2 1,0,0 [] / 11"},
        {"1;2\n1;2;3", ";3 1,0,0 [] / 111"},
        {"E;1;2\nE;3;4\nE;5;6", ";3 1,0,0 [] / 011"},
        {"a;1;2;-\n1;3;4;nan", ";4 1,0,0 [] / 0110"},
        {"1;2;;\n3;4;;", ";2 1,0,0 [] / 11"},
        // Names, and units in a line of their own below them.
        {"x;z\n1;2", ";2 2,1,0 [x|z] / 11"},
        {"a title\nx;z\n[mm];[um]\n1;2", ";2 4,2,3 [x mm!|z um!] 1/ 11"},
        {"x [um];z\n[mm];[mm]\n1;2", ";2 3,1,2 [x [um] um!|z mm!] / 11"},
        {"x;z\n-;um\n1;2", ";2 3,1,2 [x -|z um!] / 11"},
        {"x;z;q\n[mm];;[V]\n1;2;3", ";3 3,1,2 [x mm!|z|q V] / 111"},
        {"x;z\nmm;um\nu;v\n1;2", ";2 4,3,0 [u|v] 1/ 11"},
        {"a;b\nx;z\n1;2", ";2 3,2,0 [x|z] 1/ 11"},
        {"mm;mm\n1;2", ";2 2,1,0 [mm|mm] / 11"},
        {"x,z\n1;2\n3;4", ";2 2,1,0 [x|z] / 11"},
        {"x;z;q\n1 2 3\n4 5 6", " 3 2,1,0 [x|z|q] / 111"},
        {"one two three\n1;2;3", ";3 2,0,0 [] 1/ 111"},
        {"x;z;more\n1;2", ";2 2,1,0 [x|z] / 11"},
        // A single column: only a known name, of which blanks part no field.
        {"z [um]\n5\n6", " 1 2,1,0 [z [um] um!] / 1"},
        {"Height in mm\n5\n6", " 1 2,1,0 [Height in mm mm!] / 1"},
        {"y\n5\n6", " 1 2,1,0 [y] / 1"},
        {"part\n5\n6", " 1 2,0,0 [] 1/ 1"},
        {"a title\n5\n6", " 1 2,0,0 [] 1/ 1"},
        // A comment names columns directly above the rows, where nothing else does.
        {"# x z\n1 2", " 2 2,1,0 [x|z] / 11"},
        {"# a\n#x z\n1 2", " 2 3,2,0 [x|z] /1 11"},
        {"# x z\n\n1 2", " 2 3,0,0 [] /1 11"},
        {"# x z\nu v\n1 2", " 2 3,2,0 [u|v] /1 11"},
        {"u v\n# x z\n1 2", " 2 3,1,0 [u|v] /2 11"},
        {"# p q\n1 2", " 2 2,0,0 [] /1 11"},
        {"#;x;z\n1;2;3", ";3 2,1,0 [#|x|z] / 111"},
        {"# q;x;z\n1;2;3", ";3 2,1,0 [q|x|z] / 111"},
        {"# x;z\n1;2", ";2 2,1,0 [x|z] / 11"},
        {"# z\n5\n6", " 1 2,1,0 [z] / 1"},
        {"1 2\n# x z\n3 4", " 2 1,0,0 [] / 11"},
        // Three rows at least with a blank line behind each.
        {"1 2\n\n3 4\n\n5 6", " 2 1,0,0 [] / 11 double"},
        {"1 2\n\n3 4", " 2 1,0,0 [] / 11"},
        {"1 2\n3 4\n\n5 6", " 2 1,0,0 [] / 11"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_NO_THROW(EXPECT_EQ(headOf(c.text), c.expected));
    }
}

}  // namespace
