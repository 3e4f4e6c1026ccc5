// Profiles from text: what each spelling is taken for, what is refused, and with which way out.

#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/data_table.h>
#include <kvmeasure/profiles/profile_file.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QRegularExpression>

namespace {

QByteArray utf16(const QByteArray& text, bool isBigEndian, bool hasMark) {
    QByteArray bytes = !hasMark ? "" : isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char letter : text) {
        const char pair[2] = {letter, '\0'};
        bytes += pair[isBigEndian ? 1 : 0];
        bytes += pair[isBigEndian ? 0 : 1];
    }
    return bytes;
}

/// "units um,mm; pitch 0.5" as the struct has it.
TextOptions optionsOf(const QString& text) {
    TextOptions options;
    for (const QString& part : text.split("; ", Qt::SkipEmptyParts)) {
        const QString name = part.section(' ', 0, 0);
        const QString value = part.section(' ', 1);
        if (name == "columns")
            options.columns = value;
        if (name == "pitch")
            options.pitch = value.toDouble();
        for (const QString& word : value.split(',')) {
            if (name == "units")
                options.units.append(*findLengthUnit(word));
            if (name == "unset" && word == "none")
                options.unset.keepsAll = true;
            else if (name == "unset")
                options.unset.values.push_back(word.toDouble());
        }
    }
    return options;
}

class Text : public testing::Test {
protected:
    /// "points(-unset) x from..to y from..to" of each profile; x of unset points counts too.
    static std::string taken(const QByteArray& content, const QString& options) {
        TextProfiles text;
        try {
            ScratchDirectory::write("t.csv", content);
            text = PointFile("t.csv").readText(optionsOf(options));
        } catch (const Error& error) {
            return error.what();
        }
        QStringList parts;
        for (const TextProfile& taken : text.profiles) {
            float x[2] = {taken.hasUnsetX ? taken.unsetX[0] : 1e38F,
                          taken.hasUnsetX ? taken.unsetX[1] : -1e38F};
            float y[2] = {1e38F, -1e38F};
            for (const KvMath::KvPointXY& point : taken.profile.points) {
                x[0] = std::min(x[0], point.x);
                x[1] = std::max(x[1], point.x);
                y[0] = std::min(y[0], point.y);
                y[1] = std::max(y[1], point.y);
            }
            const auto range = [](const float* of) {
                return QString("%1..%2").arg(double(of[0])).arg(double(of[1]));
            };
            parts << QString::number(taken.profile.points.size() + taken.unset) +
                         (taken.unset > 0 ? QString::number(-taken.unset) : "") + ' ' + range(x) + ' ' +
                         range(y);
        }
        return parts.join("; ").toStdString();
    }

private:
    const ScratchDirectory scratch_;
};

struct Case {
    const char* what;
    QByteArray content;
    const char* options;
    const char* expected;
};

TEST_F(Text, UnitsAndNamesOfHeadingsAreUsed) {
    const Case cases[] = {
        {"brackets", "x [um];z [um]\n1000;2000\n3000;4500\n", "", "2 1..3 2..4.5"},
        {"a unit each", "x (mm),z (\xC2\xB5m)\n1,2500\n2,2000\n", "", "2 1..2 2..2.5"},
        {"Latin-1", "x [\xB5m],z [\xB5m]\n1000,2500\n", "", "1 1..1 2.5..2.5"},
        {"words", "Position in inch\tHeight in inch\n1\t2\n", "", "1 25.4..25.4 50.8..50.8"},
        {"names with words", "Height in inch\tPosition in inch\n1\t2\n", "", "1 50.8..50.8 25.4..25.4"},
        {"last word", "x_m,z_m\n0.001,0.0025\n", "", "1 1..1 2.5..2.5"},
        {"line of units", "title\nx;z\n[mm];[um]\n1;2000\n", "", "1 1..1 2..2"},
        {"option for all", "1,2\n2,3\n", "units cm", "2 10..20 20..30"},
        {"option for each", "x,z\n1,2000\n", "units inch,um", "1 25.4..25.4 2..2"},
        {"option before heading", "x [um],z [um]\n1,2\n", "units mm", "1 1..1 2..2"},
        {"comment above", "# made today\n#  x_um  z_um\n 1000   2000 \n", "", "1 1..1 2..2"},
        {"number of the point", "n,x,z\n0,5,7\n1,6,8\n2,7,9\n", "", "3 5..7 7..9"},
        {"number sign", "#;z;x\n1;7;5\n2;8;6\n", "", "2 5..6 7..8"},
        {"other columns", "t,x,intensity,Height\n9,5,200,7\n9,6,201,8\n", "", "2 5..6 7..8"},
        {"y across, z up", "z_mm,y_mm\n7,5\n8,6\n", "", "2 5..6 7..8"},
        {"unknown names", "u,v\n5,7\n6,8\n", "", "2 5..6 7..8"},
        {"a column of text", "part,y_mm,dr_mm\nE,5,7\nE,6,8\n", "", "2 5..6 7..8"},
        {"by name", "a,b,c\n5,1,7\n6,1,8\n", "columns c,A", "2 7..8 5..6"},
        {"by number", "5,1,7\n6,1,8\n", "columns 3,1", "2 7..8 5..6"},
        {"without brackets", "xMm,ZMm\n1,2\n", "", "1 1..1 2..2"},
        {"capitals", "X_MM,Z_UM\n1,2000\n", "", "1 1..1 2..2"},
        {"another unit unused", "x;z;q\n[mm];[mm];[V]\n1;2;9\n", "", "1 1..1 2..2"},
        {"rows by name of x alone", "x,u\n1,2\n", "", "1 1..1 2..2"},
        {"x and y", "y,x\n2,1\n", "", "1 1..1 2..2"},
        {"height before an unknown", "u,z\n1,2\n", "", "1 1..1 2..2"},
        {"y before an unknown", "y,u\n1,2\n", "", "1 1..1 2..2"},
        {"an unknown before y", "u,y\n1,2\n", "", "1 1..1 2..2"},
        {"minus signs and spaces",
         "x ; z\n \xE2\x88\x92"
         "1 ; +2 \n +3 ; -4\n",
         "", "2 -1..3 -4..2"},
        {"quotes", "\"x, mm\",\"z\"\n\"1,5\",\"2,5\"\n", "", "1 1.5..1.5 2.5..2.5"},
        {"blanks in quotes", "x,z\n\" 1 \",' 2 '\n", "", "1 1..1 2..2"},
        {"nothing between tabs", "x\tq\tz\n1\t9\t5\n2\t\t6\n", "", "2 1..2 5..6"},
        {"four columns", "1.5,2,3,4\n2.5,3,3,4\n", "", "2 1.5..2.5 2..3"},
        {"too few rows to count", "0,5,7\n1,6,8\n", "", "2 0..1 5..6"},
        {"a comment below", "1,5\n# x z\n2,6\n", "", "2 1..2 5..6"}};
    for (const Case& c : cases)
        EXPECT_EQ(taken(c.content, c.options), c.expected) << c.what;
}

TEST_F(Text, WhatIsNoPointIsLeftOut) {
    const Case cases[] = {
        {"titles, heading, footer", "Line 3\n\nPart, good\nx;z\n1,5;2\n2,5;3\n\nend of data\nsee above\n", "",
         "2 1.5..2.5 2..3"},
        {"unset words", "0,5\n#N/A,6\n2,n/a\n3,NaN\n4,-\n5,\n6,1.#QNAN\n# 7,9\n8,6\n", "", "8-6 0..8 5..6"},
        {"unset number", "x,z\n0,5\n1,-9999\n2,6\n3,-1\n", "unset -9999.0,-1", "4-2 0..3 5..6"},
        {"kept", "x,z\n0,5\n1,-9999\n2,6\n", "unset none", "3 0..2 -9999..6"},
        {"0 is a place", "x,z\n0,5\n1,0\n2,6\n", "unset 0", "3-1 0..2 5..6"},
        {"-9999 is none", "x,z\n-9999,-9999\n1,5\n2,6\n", "unset -9999", "3-1 1..2 5..6"},
        {"as records have it", "0,5\n1,0.10000000149011612\n", "unset 0.1", "2-1 0..1 5..5"},
        {"nines are places", "98,5\n99,-9999\n100,6\n", "unset -9999", "3-1 98..100 5..6"},
        {"nines within", "0,998\n1,999\n2,1003\n", "", "3 0..2 998..1003"}};
    for (const Case& c : cases)
        EXPECT_EQ(taken(c.content, c.options), c.expected) << c.what;
}

TEST_F(Text, EncodingsAndLineEnds) {
    const QByteArray text = "x_mm;z_mm\n1,5;2\n2,5;3\n3,5;4\n", rows = "1 5\n2 6\n3 7\n";
    for (const bool isBigEndian : {false, true}) {
        for (const bool hasMark : {false, true})
            EXPECT_EQ(taken(utf16(text, isBigEndian, hasMark), ""), "3 1.5..3.5 2..4");
    }
    for (const char* end : {"\r", "\r\n", "\r\r\n", "\n\n", "\r\n\r\n"}) {
        EXPECT_EQ(taken(QByteArray(rows).replace("\n", end), ""), "3 1..3 5..7") << end;
        EXPECT_EQ(taken(QByteArray(text).replace("\n", end), ""), "3 1.5..3.5 2..4") << end;
    }
    for (const char* space : {"\xC2\xA0", "\xE2\x80\xAF", "\xA0", " \xC2\xA0"})
        EXPECT_EQ(taken(QByteArray(rows).replace(" ", space), ""), "3 1..3 5..7") << space;
    QByteArray many;
    for (int i = 0; i < 30'000; ++i)
        many += QByteArray::number(i) + ' ' + QByteArray::number(i % 7) + "\r\n";
    EXPECT_EQ(taken(many, ""), "30000 0..29999 0..6");
}

TEST_F(Text, HeightsAloneAndSeveralProfiles) {
    const QByteArray one = "0,5\n1,6\n2,7\n3,8\n", other = "0,6\n1,7\n2,8\n3,9\n", head = "x,z\n";
    const char* const both = "4 0..3 5..8; 4 0..3 6..9";
    QByteArray gap, stray, circle;
    for (int i = 0; i < 60; ++i) {
        const QByteArray x = QByteArray::number(0.1 * i + (i > 30 ? 50 : 0));
        gap += x + ",1\n";
        stray += (i == 9 || i == 40 ? QByteArray::number(i == 9 ? 90 : -90) : QByteArray::number(0.1 * i)) +
                 ",1\n";
        circle += QByteArray::number(std::cos(0.1 * i)) + ',' + QByteArray::number(std::sin(0.1 * i)) + '\n';
    }
    const Case cases[] = {
        {"a column", "z\n5\n6\nnan\n7\n", "pitch 0.5", "4-1 0..1.5 5..7"},
        {"a name, a blank and a unit", "z [um]\n5000\n6000\n7000\n", "pitch 0.5", "3 0..1 5..7"},
        {"in a comment", "title of it\n# Height in mm\n5\n6\n7\n", "pitch 0.5", "3 0..1 5..7"},
        {"chosen", "z,q\n5,1\n6,1\n7,1\n", "pitch 0.5; columns z", "3 0..1 5..7"},
        {"beside numbers", "i;z [um]\n1;5000\n2;6000\n", "pitch 2", "2 0..2 5..6"},
        {"a profile per row", "5;6;;8\n6;7;8;9\n", "pitch 1", "4-1 0..3 5..8; 4 0..3 6..9"},
        {"in the unit of the heading", "z1 [um];z2 [um];z3 [um]\n5000;6000;8000\n6000;7000;8000\n", "pitch 1",
         "3 0..2 5..8; 3 0..2 6..8"},
        {"blank line", one + "\n" + other, "", both},
        {"heading again", head + one + head + other + "\nend\n", "", both},
        {"title between", head + one + "Profile 2\n" + other, "", both},
        {"x jumps back", one + other, "", both},
        {"x jumps forth", "3,8\n2,7\n1,6\n0,5\n3,9\n2,8\n1,7\n0,6\n", "", both},
        {"words between", head + one + "u,v\n" + other, "", both},
        {"units below", head + one + "mm,mm\n" + other, "", both},
        {"a heading with units", head + one + "x [mm],z [mm]\n" + other, "", both},
        {"words between profiles", "z1;z2;z3\n5;6;8\nno;more;z\n;;\n6;7;8\n", "pitch 1",
         "3 0..2 5..8; 3-3 0..2 1e+38..-1e+38; 3 0..2 6..8"},
        {"a unit as the heading", "mm\n5\n6\n7\n", "pitch 0.5", "3 0..1 5..7"},
        {"the one height", "z,b,c\n1,2,3\n2,3,4\n", "pitch 1", "2 0..1 1..2"},
        {"a gap is none", gap, "", "60 0..55.9 1..1"},
        {"a stray point is none", stray, "", "60 -90..90 1..1"}};
    for (const Case& c : cases)
        EXPECT_EQ(taken(c.content, c.options), c.expected) << c.what;
    EXPECT_EQ(taken(circle, "").substr(0, 3), "60 ");
}

TEST_F(Text, WhatIsNotClearIsRefusedWithTheWayOut) {
    const QByteArray xz = "x,z\n0,5\n1,6\n2,7\n";
    const Case cases[] = {
        {"numbers beside two columns", "0,5,7\n1,6,8\n2,7,9\n", "", "column 1 counts 0, 1, 2, ..."},
        {"heights alone", "5\n6\n7\n", "",
         "column 1 holds heights alone; give their distance along x with --pitch"},
        {"with numbers", "n,z\n1,5\n2,6\n", "", "column 2 \"z\" holds heights alone"},
        {"number sign", "#;u\n1;5\n2;6\n", "", "column 2 \"u\" holds heights alone"},
        {"frames", "frame,u\n1,5\n2,6\n", "", "column 2 \"u\" holds heights alone"},
        {"in one row", "5;6;7;8\n", "", "has one row of 4 numbers; if they are heights"},
        {"a profile per row", QByteArray("1;2;3;4;5;6;7;8;9\n").repeated(3), "",
         "a profile per row needs --pitch"},
        {"points of a scan", "x,y,z\n1,2,3\n", "", "\"x\", \"y\", \"z\": points of a scan"},
        {"two heights", "x,z1,z2\n1,2,3\n", "",
         "several are named alike; choose x and height with --columns"},
        {"x, and several others", "x,u,v\n1,2,3\n", "", "none is named as a height"},
        {"x, y and z", "x,y,h,u\n1,2,3,4\n", "", "points of a scan have x, y and z"},
        {"a height, and several others", "z,u,v\n1,2,3\n", "", "none is named as x"},
        {"a name and words", "u,name\n1,a\n", "", "holds no point; expected rows of"},
        {"names alike", "a,A,z\n1,2,3\n", "columns a,z", "the name of 2 columns; take their numbers"},
        {"two columns and a pitch", xz, "columns x,z; pitch 1", "--columns names two columns"},
        {"two units, heights alone", "z\n1\n2\n", "units um,mm; pitch 1",
         "there are heights alone; give one unit"},
        {"no such number", xz, "columns 1,9", "line 2: has 2 column(s), expected at least 9 in \"0,5\""},
        {"fewer columns", xz + "4\n", "", "line 5: has 1 column(s), expected at least 2 in \"4\""},
        {"words alone", QByteArray("abc def\n").repeated(300), "", "hold no row of numbers"},
        {"unknown names", "a,b,c\n1,2,3\n", "", "\"a\", \"b\", \"c\": none is named as x or as a height"},
        {"no length", "x [mm],z [V]\n1,2\n", "",
         "column 2 \"z [V]\": \"V\" is no unit of length known here; give"},
        {"megametres", "x [Mm],z [Mm]\n1,2\n", "", "column 2 \"z [Mm]\": \"Mm\" is no unit of length known"},
        {"megametres", "x_Mm,z_Mm\n1,2\n", "",
         "column 2 \"z_Mm\": \"Mm\" is no unit of length known here; give"},
        {"line of units", "x;z\n[Mm];[Mm]\n1;2\n", "",
         "column 2 \"z\": \"Mm\" is no unit of length known here"},
        {"line of units", "x;z\nkm;km\n1;2\n", "",
         "line 2: \"km;km\" is neither a line of units known here nor"},
        {"groups of digits",
         "1\xC2\xA0"
         "234,5;2\n2\xC2\xA0"
         "234,5;3\n",
         "", "line 1: has no-break spaces between"},
        {"three units", xz, "units um,um,um", "points of a profile have x and height"},
        {"one unit", "x,z [um]\n1,2\n", "",
         "column 1 \"x\" has no unit, column 2 \"z [um]\" has one; give --units"},
        {"unit in a title", "all in um\nx,z\n1,2\n", "", "line 1: \"all in um\" speaks of um"},
        {"unit in a comment", "# unit: inch\n1,2\n", "", "\"# unit: inch\" speaks of inch"},
        {"unset", "0,5\n1,-9999\n2,-9999\n3,5.5\n", "",
         "line 2: -9999 occurs 2 time(s), far outside all other values; does it"},
        {"16 bits", "x,z\n0,5\n1,-32.768\n2,6\n", "", "--unset -32.768, otherwise --unset none"},
        {"only unset", "0,9999.0\n1,9999.0\n", "", "line 1: 9999 occurs 2 time(s)"},
        {"metadata", "Date=1\nPoints=3\n\nx,z\n1,2\n", "", "line 1: \"Date=1\" is about the measurement"},
        {"metadata", "Points;3\nx;y;z\n1;2;3\n1;2;3\n", "", "which begin in line 3, or put '#' in front"},
        {"true values", "name,value,unit\ndepth,6,mm\n", "", "holds the true values of a simulated part"},
        {"decimal commas", "x,z\n1,5,2,5\n2,5,3,5\n", "",
         "line 1: the heading has 2 column(s), line 2 has 4"},
        {"decimal commas", "z\n1,5\n2,5\n", "", "line 1: the heading has 1 column(s), line 2 has 2"},
        {"other heading", xz + "z,x\n1,2\n", "", "line 5: another heading than in line 1"},
        {"text in a row", xz + "3,abc\n", "", "line 5: column 2: expected a number, found \"abc\""},
        {"no name", xz, "columns x,zz", "--columns: \"zz\" is no column; there are \"x\", \"z\""},
        {"one of two", xz, "columns z", "holds heights alone"},
        {"three", xz, "columns 1,2,3", "--columns needs x and height"},
        {"pitch with x", xz, "pitch 1", "--pitch goes with heights alone"},
        {"two and words", "u,v,name\n1,2,a\n", "", "none is named as x or as a height"},
        {"heights and words", "a,b,c,name\n1,2,3,t\n", "pitch 1", "--pitch goes with heights alone"},
        {"two across", "y,Y,z\n1,2,3\n", "", "several are named alike"},
        {"beyond all columns", xz, "columns 1,100001", "--columns: \"100001\" is no column"},
        {"two signs", xz + "3,+-4\n", "", "line 5: column 2: expected a number, found \"+-4\""},
        {"too large", xz + "3,1e300\n", "", "line 5: column 2: 1e300 is too large for a coordinate"},
        {"as many words as are looked at", QByteArray("abc def\n").repeated(256), "", "holds no point"},
        {"nothing in a column alone", xz + "nan\n", "", "line 5: has 1 column(s), expected at least 2"},
        {"text beside another number", "x,z,q\n0,5,1\na,b,2\n", "", "line 3: column 1: expected a number"},
        {"text in a profile per row", "5;6;7;8\n6;a;8;9\n", "pitch 1", "line 2: column 2: expected a number"},
        {"a column without a name", "x;z\n1;2;3\n", "", "line 2 has 3; name every column"},
        {"a long word", xz + "3," + QByteArray(200, 'a'), "", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa..."},
        {"not printable", xz + "3,x\xE2\x80\x8By\n", "", "found \"x?y\""},
        {"zero bytes", QByteArray("1,2\n\0,4\n", 8), "", "offset 4: byte 0x00"},
        {"zero bytes", QByteArray("1,2\n3\0004\n", 8), "", "offset 5: byte 0x00"},
        {"two bytes", QByteArray("1\0", 2), "", "offset 1: byte 0x00"},
        {"metadata", "Result:\n\nx,z\n1,2\n", "", "\"Result:\" is about the measurement"},
        {"huge", "0,5\n1,1e10\n2,6\n", "", "line 2: 1e+10 occurs 1 time(s)"},
        {"the more frequent", "0,5\n1,-32768\n2,-9999\n3,-9999\n4,6\n", "", "-9999 occurs 2 time(s)"},
        {"the more frequent", "0,5\n1,9999\n2,9999\n3,32768\n4,6\n", "", "9999 occurs 2 time(s)"},
        {"pitch of two", "1,2\n3,4\n", "pitch 1", "say which holds the heights"}};
    for (const Case& c : cases) {
        ScratchDirectory::write("t.csv", c.content);
        const Error error = errorOf([&c] { PointFile("t.csv").readText(optionsOf(c.options)); });
        const std::string text = error.text([](const QString& name) { return "--" + name; }).toStdString();
        EXPECT_THAT(text, HasSubstr(c.expected)) << c.what;
        EXPECT_THAT(text, testing::StartsWith("t.csv: ")) << c.what;
        EXPECT_EQ(error.file(), "t.csv") << c.what;
        const QRegularExpressionMatch line = QRegularExpression("^t.csv: line (\\d+):").match(error.text());
        EXPECT_EQ(error.line(), line.captured(1).toInt()) << c.what;
    }
}

TEST_F(Text, OfProfilesWithoutAPointOrOfAnotherFormIsRefused) {
    ScratchDirectory::write("t.csv", "n,x,z\n1,5,7\n");
    EXPECT_THAT([] { loadOnlyProfile("t.csv", optionsOf("unset 7")); }, Refuses("holds no point;"));
    ScratchDirectory::write("t.bin", QByteArray("\x02\x01\x00", 3) + QByteArray(8, '\0'));
    TextOptions options = optionsOf("units um");
    options.given = "units";
    EXPECT_THAT([&] { loadOnlyProfile("t.bin", options); },
                Refuses("holds binary records, no text of profiles; leave units out"));
}

TEST_F(Text, ColumnsOfATableAreFoundByTheirNames) {
    const QList<Heading> headings{readHeading("Width [mm]"), readHeading("width"), readHeading("opening_deg"),
                                  readHeading("area_mm2"),   readHeading("Depth"), readHeading("Depth")};
    const struct {
        const char* word;
        int column;
        const char* refusal;
    } cases[] = {{"width", 1, ""},
                 {"WIDTH", 1, ""},
                 {"Width [mm]", 0, ""},
                 {"width [MM]", 0, ""},
                 {"opening", 2, ""},
                 {"area", 3, ""},
                 {"1", 0, ""},
                 {"6", 5, ""},
                 {"Depth", -1, "columns 5 and 6 are both called"},
                 {"0", -1, "no column \"0\""},
                 {"7", -1, "no column \"7\""},
                 {"", -1, "there are \"Width [mm]\", \"width\""},
                 {"opning_deg", -1, "opening_deg"}};
    for (const auto& c : cases) {
        if (c.column >= 0)
            EXPECT_EQ(columnNamed(headings, c.word), c.column) << c.word;
        else
            EXPECT_THAT([&] { columnNamed(headings, c.word); }, Refuses(c.refusal)) << c.word;
    }
}

TEST_F(Text, TablesGiveTheColumnsThatAreWanted) {
    const auto read = [](const QByteArray& content) {
        ScratchDirectory::write("table.csv", content);
        return readDataTable("table.csv", [](const QList<Heading>& headings) {
            return TableColumns{{2, 0}, {static_cast<int>(headings.size()) > 1 ? 1 : 0}};
        });
    };
    const DataTable table = read("# made\n\na;name;c\n1.5; x y ;-2\n\n# more\n3;\"z\";nan\n;;7\n");
    ASSERT_EQ(table.headings.size(), 3);
    EXPECT_EQ(table.headings[1].text, "name");
    EXPECT_EQ(table.words, (std::vector<QStringList>{{"x y", "z", ""}}));
    EXPECT_EQ(table.lines, (std::vector<qint64>{4, 7, 8}));
    ASSERT_EQ(table.numbers.size(), 2U);
    EXPECT_THAT(table.numbers[0], testing::ElementsAre(-2, testing::IsNan(), 7));
    EXPECT_THAT(table.numbers[1], testing::ElementsAre(1.5, 3, testing::IsNan()));
    EXPECT_THAT(read("1\t2\t3\n").numbers[0], testing::ElementsAre(3));
    const struct {
        const char *content, *refusal;
        qint64 line;
    } cases[] = {{"", "holds no row", 0},
                 {"# a\n\n", "holds no row", 0},
                 {"a;b;c\n", "holds a heading and no row", 0},
                 {"a;b;c\n1;2\n", "has 2 column(s), expected at least 3", 2},
                 {"a;b;c\n1;2;3\n1;2;x\n", "column \"c\": expected a number, found \"x\"", 3},
                 {"1;2;3\n1;2;inf\n", "column 3: expected a number", 2},
                 {"\x01\x02;;", "is no text", 0}};
    for (const auto& c : cases) {
        const Error error = errorOf([&] { read(c.content); });
        EXPECT_THAT(error, Says(c.refusal)) << c.content;
        EXPECT_EQ(error.file(), "table.csv");
        EXPECT_EQ(error.line(), c.line) << c.content;
    }
}

}  // namespace
