// What the program refuses, with the place it names, and what it leaves behind: nothing. Then features that
// no other test of the program runs, each with a value.

#include <tests/cli/program.h>

#include <QtCore/QXmlStreamReader>
#include <QtCore/QtEndian>

namespace {

template <class T>
QByteArray raw(std::initializer_list<T> values) {
    QByteArray bytes;
    for (const T value : values) {
        const T stored = qToLittleEndian(value);
        bytes.append(reinterpret_cast<const char*>(&stored), sizeof stored);
    }
    return bytes;
}

QByteArray profile(float z, const QByteArray& points) {
    return '\x05' + raw({quint16(points.size() / 8)}) + raw({z}) + points;
}

class Refusals : public Program {
protected:
    void SetUp() override {
        write("p.csv", "0,0\n1,0\n2,0\n3,0\n");
        write("a,b", "0,0\n1,0\n2,0\n4,0\n4.1,3\n4.2,6\n");
        write("hill.csv", "0,0\n1,0\n2,5\n3,0\n4,0\n");
        QByteArray slope;
        for (const float z : {0.0F, 0.5F, 1.0F})
            slope += profile(z, raw({0.0F, 1.0F, 0.5F, 1 + z, 1.0F, 1 + 2 * z}));
        write("slope.kvs", slope);
        write("rod.xyz", "1 2 3\n1 4 3\n");
        write("two.bin", '\x03' + raw({3}) + raw({1.0F, 2.0F, 7.0F, 3.0F, 4.0F, 7.0F, 5.0F, NAN, 7.0F}));
        write("flat.bin", profile(0, raw({1.0F, 1.0F})) + '\x03' + raw({4}) + raw({0.0F, 0.0F, 1.0F}) +
                              raw({4.0F, 0.0F, 1.0F, 0.0F, 2.0F, 1.0F, NAN, 0.0F, 1.0F}));
    }

    /// Blanks part the arguments; "~" is a blank within one.
    Outcome runLine(const QString& line) const { return run(line.split(' ').replaceInStrings("~", " ")); }

    void expectRefusedWithoutTrace(const QString& line, const char* reason) const {
        const auto listing = [] { return QDir().entryList(QDir::AllEntries).join(' ').toStdString(); };
        const std::string before = listing();
        const Outcome result = runLine(line);
        EXPECT_EQ(result.code, 2) << line.toStdString();
        EXPECT_THAT(result.err, HasSubstr(reason)) << line.toStdString();
        EXPECT_EQ(result.out + listing(), before) << line.toStdString();
    }
};

TEST_F(Refusals, OfOptionsNameThemAndLeaveNothingBehind) {
    write("wide.bin", '\x03' + raw({65'536}) + QByteArray(12 * 65'536, '\0'));
    const std::pair<QString, const char*> cases[] = {
        {"scan info flat.bin --map rod.xyz", "rod.xyz: is no description of a height map"},
        {"scan section slope.kvs --at-x 1 --at-scan 1 --out o", "say where"},
        {"scan section slope.kvs --from 1e300,0 --to 1e300,1", "no heights along this section"},
        {"scan section slope.kvs --at-x 1 --spacing 1e-6", "a section of 1 mm has too many points"},
        {"scan grid slope.kvs --x 2,-2 --out o", "no point lies within the limits"},
        {"scan plane rod.xyz", "no plane through 2 point(s)"},
        {"scan plane slope.kvs --level", "need --out FILE"},
        {"scan convert slope.kvs o --format stak", "not \"stak\"; did you mean \"stack\"?"},
        {"scan convert wide.bin o", "the profile at 0 mm has 65536 points, a record holds at most 65535"},
        {"scan convert slope.kvs o --scan-start 1", "--scan-start goes with --scan-step"},
        {"scan slice slope.kvs o --step 1e-6", "gives more than a million profiles"},
        {"scan slice rod.xyz o --step 1", "rod.xyz: lies at one position along the scan"},
        {"lines slope.kvs --record 3", "slope.kvs: has 3 profile(s); there is no --record 3"},
        {"fit flat.bin --plane --record 2", "flat.bin: has 2 record(s); there is no --record 2"},
        {"fit flat.bin --plane --record 0", "record 0 has no z, which a plane needs"},
        {"teach p.csv --out o", "Add --lines or --longest"},
        {"teach p.csv --measure a=lenght~9", "--measure is of a template; add --lines"},
        {"teach p.csv --length-tolerance -5% --longest 1 --out o", "not \"-5%\""},
        {"teach p.csv --min-length 100 --lines 0 --out o", "no segments were found"},
        {"teach p.csv --lines 0 --out o --measure dist~0~0", "\"dist\" is no kind of measurement; expected"},
        {"teach p.csv --lines 0 --out o --measure dist~0~0", "did you mean \"distance\"?"},
        {"teach p.csv --lines 0 --out o --measure d=depth~0~0", "did you mean \"shift\"?"},
        {"teach p.csv --lines 0 --out o --measure distance~0.end~0", "or take \"shift\" or \"between\""},
        {"teach p.csv --lines 0 --out o --distance 1", "did you mean \"--distance-tolerance\"?"},
        {"teach p.csv --lines 0 --out o --angle-tolerance 40%",
         "with a decimal point, in degrees, not \"40%\""},
        {"distance p.csv", "did you mean \"teach\"?"},
        {"filter p.csv o.xlsx --steps sort-x", "o.xlsx: spreadsheet files are not written"},
        {"teach p.csv --lines 0 --out o --measure p=point~0~0;p.x=length~0", "result \"p.x\" already"},
        {"teach p.csv --lines 0 --out o --measure f~far.y=distance~0~0;f=far~0~1", "\"f far.y\" already"},
        {"filter p.csv o --steps sort-x;resample~1~5~2", "step 2 \"resample 1 5 2\": TO (2) must be"},
        {"simulate profile --out o --shape v-grove", "round; did you mean \"v-groove\"?"},
        {"simulate profile --out o --dimensions depth=3=4", "found \"depth=3=4\""},
        {"simulate scan --out o --noise -1", "noise: -1 is outside"},
        {"simulate pass --out o --wear 9", "--wear: 9 is outside 0 ... 6"},
        {"simulate pass --out o --speed 15 --rate 10", "--speed in mm/s over --rate: 1500 is outside"},
        {"simulate pass --out o --speed 3 --rate 9 --spacing 3", "--spacing, or --speed and --rate"},
        {"calibrate info p.csv --z-range 0", "--z-range must be from 1e-06"},
        {"calibrate build p.csv o --z-range 1 --x-range 1 --tooth-pitch 2", "goes with --teeth"}};
    for (const auto& [line, reason] : cases)
        expectRefusedWithoutTrace(line, reason);
}

TEST_F(Refusals, OfOptionsThatWouldHaveNoEffect) {
    const std::pair<const char*, const char*> cases[] = {
        {"wheels parameters p.csv --diameter banana", "--diameter needs a number"},
        {"wheels parameters p.csv --settings nofile", "--settings is of recordings; these are sections"},
        {"wheels parameters p.csv --join 2", "--join is of recordings"},
        {"wheels parameters two.bin --svg s.svg", "--svg is of sections; these are recordings"},
        {"wheels parameters p.csv --radii --diameter 920", "leave --diameter out"},
        {"wheels pass two.bin --mode 77", "--mode must be 0 or 3, not \"77\""},
        {"scan section slope.kvs --at-x 1 --format csv", "--format goes with --out"},
        {"scan plane slope.kvs --format ply", "--format goes with --out"},
        {"scan convert slope.kvs o --format=", "the value of --format is empty"},
        {"filter p.csv o --steps sort-x --format=", "the value of --format is empty"},
        {"scan outline slope.kvs --raw --merge 5", "leave --merge out"},
        {"scan outline slope.kvs --all-points --gap 1", "--gap finds edges"},
        {"scan convert slope.kvs o --axes x,scan,height", "this holds profiles, leave it out"},
        {"scan convert rod.xyz o --scan-step 1", "--scan-step is of profiles"},
        {"teach p.csv --reversed", "--reversed is of a template"},
        {"calibrate simulate o --tooth-pitch 9", "--tooth-pitch goes with --target toothed"}};
    for (const auto& [line, reason] : cases)
        expectRefusedWithoutTrace(line, reason);
}

TEST_F(Refusals, AreNotAllThatRunsHere) {
    QByteArray record(1'304'000, '\0'), stack;
    record.replace(6014, 2, raw<quint16>({3200})).replace(10'018, 4, raw<quint16>({6400, 15'616}));
    write("few.raw", record);
    write("zero.tbl", QByteArray(2'592'000, '\0'));
    for (int i = 0; i < 4500; ++i) {
        const float step = i % 500 == 7 ? 6.0F : 2.0F + 0.01F * float(i % 7);
        const QByteArray level = raw({0.0F, 1.0F, step, 1.0F, 2 * step, 1.0F, 3 * step, 1.0F});
        stack += profile(float(i), i % 2 == 1 && i > 1000 && i < 1400 ? QByteArray() : level);
    }
    write("long.kvs", stack);
    QString many = "0=length~0";
    for (int i = 1; i < 45; ++i)
        many += QString(";%1=length~0").arg(i);
    const QString size = "n=length~0;x=intersection~0~0 --out n";
    const QString kinds = "d=distance~0~1:+-1;d~far=length~0;i=point~1~0;i=length~0";
    const std::tuple<QString, int, const char*, QByteArray> cases[] = {
        {"filter hill.csv o --steps smooth-polar~-~3~1", 0, "o", "y_mm\n0,0\n2.12838"},
        {"filter hill.csv o --steps remove-straight~2~0.9~9~1", 0, "o", "y_mm\n0,0\n1,0\n2,5\n3,0\n"},
        {"filter hill.csv o --steps trim-x~9~-;resample~1", 0, "", "0        0"},
        {"filter two.bin o --steps sort-x", 0, "o", read("two.bin").left(29).replace(1, 1, "\x02")},
        {"scan section slope.kvs --at-x 0.5 --out o --svg 1.svg", 0, "o", "0,1\n0.5,1.5\n1,2\n"},
        {"fit flat.bin --plane --svg 2.svg --json", 0, "", "\"standardError\": null,\n    \"unset\": 1"},
        {"info -- p.csv", 0, "", "points       4"},
        {"info p.csv -h", 0, "", "kvmeasure info FILE..."},
        {"lines p.csv --gap 2mm", 0, "", "p.csv: 4 points, 1 contour, 1 segment\n"},
        {"lines p.csv --gap 2mm", 0, "",
         "\nsearched with --gap 2 --split 1 --passes 3 --min-length 0.75 --corner"},
        {"teach p.csv --lines 0 --angle-tolerance 5deg --out h --measure s=shift~0.end~0~90deg", 0, "", "s "},
        {"teach a,b --lines 0,1 --gap 5 --raw --svg 3.svg --json --out o --measure " + kinds, 0, "",
         "-1.99888"},
        {"teach a,b --lines 0 --gap 5 --raw --length-tolerance 9 --any-inclination --measure " + size, 0, "n",
         ": 13"},
        {"match a,b hill.csv --template n --csv --svg 4.svg --all", 1, "", "\"a,b\",,best,6.0033"},
        {"teach p.csv --lines 0 --out m --raw --length-tolerance 999% --measure " + many, 0, "", "44"},
        {"match p.csv --template m --svg 5.svg --trend 6.svg", 0, "", "3.0000"},
        {"teach p.csv --lines 0 --out e --raw --length-tolerance 999% --measure length~0", 0, "", "3.0000"},
        {"match long.kvs --template e --trend 7.svg --csv", 1, "", "found in 4300 of 4500"},
        {"simulate profile --out o --svg 8.svg --json", 0, "", "\"value\": 8.485281374"},
        {"simulate scan --out o --svg 9.svg --json", 0, "", "\"shape\": \"grooved-plate\""},
        {"calibrate info few.raw", 0, "", "line           3 .. 5\nsteps with a line             7 .. 9\n"},
        {"calibrate info zero.tbl --z-range 100", 0, "", "Z, mm per sensor row  0 .. 0"},
        {"simulate pass --wheelsets 2 --speed 6 --rate 200 --lost .15 --seed 7 --out t --json", 0, "", ": 2"},
        {"wheels detect t t/pass_1001.bin --join 1", 0, "", "SENSOR1   pass_1001.bin"},
        {"wheels pass t --kind loko --join 1", 0, "", "records 39 to 45, a second run at one wheelset"}};
    for (const auto& [line, code, file, words] : cases) {
        const Outcome result = runLine(line);
        EXPECT_EQ(result.code, code) << line.toStdString() << result.err;
        const std::string found = *file == '\0' ? result.out : read(file).toStdString();
        EXPECT_THAT(found, HasSubstr(words.toStdString())) << line.toStdString();
    }
    const std::pair<const char*, const char*> pictures[] = {
        {"1.svg", "along scan"},       {"2.svg", "from the plane"}, {"3.svg", "taught on a,b"},
        {"4-a,b.svg", "quot;n&quot;"}, {"5.svg", "... more in"},    {"6.svg", "5 more in"},
        {"7.svg", "8 beyond the"},     {"8.svg", "d v-groove"},     {"9.svg", "d grooved-plate"}};
    for (const auto& [name, words] : pictures) {
        QXmlStreamReader xml(read(name));
        while (!xml.atEnd())
            xml.readNext();
        EXPECT_TRUE(!xml.hasError() && read(name).contains(words)) << name;
    }
}

}  // namespace
