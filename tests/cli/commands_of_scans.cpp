// What the commands for scans, calibration and profiles print, and what they refuse: called without a
// process.

#include <tests/cli/commands.h>

#include <array>
#include <cmath>

namespace {

using testing::HasSubstr;

/// A plane of 9 by 7 points, 1 mm apart, with a corner that stands 1 mm higher.
QByteArray plate() {
    QByteArray rows;
    for (int scan = 0; scan < 7; ++scan) {
        for (int x = 0; x < 9; ++x)
            rows += QByteArray::number(x) + ' ' + QByteArray::number(x > 6 && scan > 4 ? 6 : 5) + ' ' +
                    QByteArray::number(scan) + '\n';
    }
    return rows;
}

TEST_F(Commands, ScansRefuseOptionsThatContradict) {
    write("s.xyz", plate());
    write("far.xyz", "99 5 99\n98 5 99\n98 5 98\n99 5 98\n");
    write("line.xyz", "0 1 0\n1 1 0\n2 1 0\n3 1 0\n");
    const QString compare = "compare s.xyz --axes x,height,scan --master ",
                  whole = "scan outline s.xyz --all-points --level 4 --coin 1";
    expect(
        {{"scan section s.xyz --at-scan 3 --at-x 3", 2, {"say where"}},
         {"scan section s.xyz --from 1,1", 2, {"say where"}},
         {"scan section s.xyz --at-scan 3 --from 1,1", 2, {"say where the section runs"}},
         {"scan plane s.xyz --scan 0,3 --height 4,7", 0, {"points 36\n"}},
         {"scan section s.xyz --at-scan 3 --step-x 2", 0, {"5 measured and 0 interpolated points"}},
         {"scan section s.xyz --at-scan 3 --step-scan 2", 0, {"s.xyz"}},
         {"scan section s.xyz --at-scan 2.5 --svg i.svg", 0, {"0 measured and 9 interpolated points"}},
         {"scan plane s.xyz --level --remove above --out o.xyz",
          2,
          {"--remove and --level exclude each other"}},
         {"scan outline s.xyz --raw --merge 3", 2, {"--merge"}},
         {"scan outline s.xyz --level 5.5 --raw --json", 1, {"\"levelReason\": \"given\""}},
         {"scan plane s.xyz --remove below --out o.xyz", 0, {"c, mm 4.811111111\n"}},
         {"scan outline s.xyz --all-points --gap 3", 2, {"--gap"}},
         {"scan outline s.xyz --all-points --min-run 3", 2, {"--min-run finds edges, which --all-points"}},
         {whole, 0, {"\n 1 9.0000 0.00 -0.5000 6.5000 8.5000 6.5000 90.00 7 0.0000 +0.5000\n"}},
         {whole + " --raw", 0, {"\n 0 6.0000 90.00 0.0000 0.0000 0.0000 6.0000 90.00 0 - -\n"}},
         {whole + " --raw --json", 0, {"\"edgeCompensation\": false"}},
         {"scan outline s.xyz --raw --edge-compensation on", 2, {"--raw adds nothing at free edges"}},
         {compare + "s.xyz --band 1,0", 2, {"--band needs the least deviation first"}},
         {compare + "plane~1,2", 2, {"needs three numbers", "not \"plane 1,2\""}},
         {compare + "plane~1,2,x", 2, {"not \"plane 1,2,x\""}},
         {compare + "plane~1,2,1e300", 2, {"not \"plane 1,2,1e300\""}},
         {compare + "plane~0,0,5 --record 2", 2, {"--record is of profiles; these are scans"}},
         {compare + "s.xyz --align template", 2, {"--align template is of profiles; scans take"}},
         {compare + "plane~0,0,5 --svg d.svg --ply d.ply --json", 0, {"\"largest\": 1,"}},
         {compare + "far.xyz --align none --svg n.svg --ply n.ply", 1, {"NOT COMPARED with far.xyz: "}},
         {compare + "far.xyz --align none --json", 1, {"no point of the scan lies over the master"}},
         {"scan outline s.xyz --x 1", 2, {"--x needs two numbers, e.g. --x -5,12.5, not \"1\""}},
         {"form straightness s.xyz --axes x,height,scan --at-x 1 --x 5,", 2, {"not \"5,\""}},
         {"form step s.xyz --axes x,height,scan --at-scan 3 --edges 3..5 --json", 0, {"\"interpolated\": 0"}},
         {compare + "plane~0,0,5 --band -0.1,0.1", 1, {"OUT OF BAND", "largest"}},
         {"compare line.xyz --axes x,height,scan --master plane",
          2,
          {"no plane through 4 point(s) that lie on one line"}}});
    EXPECT_THAT(read("d.ply"), testing::StartsWith("ply\n"));
}

/// A record of points in space.
QByteArray space(const std::vector<std::array<float, 3>>& points) {
    QByteArray record("\x03");
    const auto count = static_cast<std::uint32_t>(points.size());
    record.append(reinterpret_cast<const char*>(&count), sizeof count);
    return record.append(reinterpret_cast<const char*>(points.data()),
                         int(sizeof(float) * 3 * points.size()));
}

TEST_F(Commands, ProfilesAreComparedFitAndToldInWords) {
    write("p.csv", "0,0\n1,0\n2,0\n3,0\n4,0\n");
    write("q.csv", "0,0\n1,0.5\n2,0\n3,0\n4,0\n");
    write("far.csv", "100,0\n101,0\n102,0\n");
    write("two.csv", "x,z\n1,1\n2,2\n");
    write("empty.csv", "");
    write("gap.csv", "0,0\n1,\n2,0\n3,0\n4,1\n");
    write("three.csv", "x,z\n1,1\n2,2\n3,1\n");
    write("stairs.csv", "0,0\n0,1\n0,2\n1,0\n1,1\n1,5\n2,0\n");
    const float no = std::nanf("");
    const QByteArray cloud = space({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {no, 0, 0}, {0, no, 0}, {0, 0, no}});
    write("cloud.bin", cloud + cloud);
    write("line.bin", space({{1, 1, 1}, {1.3F, 1.3F, 1.3F}, {900.1F, 900.1F, 900.1F}}) +
                          space({{7, 8, 9}, {7, 8, 9}, {7, 8, 9}}) +
                          space({{100, 100, 100}, {101, 100, 100}, {100.5F, 100.01F, 100}}));
    expect(
        {{"compare q.csv --master p.csv --align none --keep-all",
          2,
          {"--keep-all goes with --align registration"}},
         {"compare q.csv --master p.csv --align registration --keep-all", 0, {"q.csv"}},
         {"compare q.csv --master p.csv --align none --band -0.1,0.1", 1, {"OUT OF BAND"}},
         {"compare far.csv --master p.csv --align none", 1, {"NOT COMPARED with p.csv: "}},
         {"compare far.csv --master p.csv --align none --svg none.svg --json", 1, {"\"reason\": \""}},
         {"compare q.csv --master empty.csv", 2, {"empty.csv"}},
         {"fit p.csv --circle --svg c.svg", 1, {}},
         {"fit q.csv --parabola --svg q.svg", 0, {"q.csv"}},
         {"fit p.csv --plane", 2, {"p.csv"}},
         {"fit two.csv --parabola", 1, {"(NO RESULT)", "a -\n", "do not determine a parabola\n"}},
         {"fit three.csv --circle", 0, {"radius 1\n", "standard error, mm -\n"}},
         {"fit p.csv --plane --record 0", 2, {"p.csv: a plane needs an XYZ record"}},
         {"fit line.bin --plane",
          1,
          {"(NO RESULT)", "a -\n", "rms residual, mm -", "do not determine a plane"}},
         {"fit line.bin --plane --record 1 --svg l.svg", 1, {"the points do not determine a plane"}},
         {"fit line.bin --plane --record 2", 0, {"c 1\n", "d -100\n"}},
         {"fit cloud.bin --plane", 0, {"points 3\n", "unset 3\n"}},
         {"info cloud.bin", 0, {"2 record(s)", " 6 3 0.0000 .. 1.0000 "}},
         {"lines p.csv --raw", 0, {"\n 0 0 4.0000 0.00 "}},
         {"lines p.csv --unit mm,mm,mm,mm", 2, {"--unit needs one or two of nm", "not \"mm,mm,mm,mm\""}},
         {"lines p.csv --edge-compensation on", 2, {"--edge-compensation"}},
         {"info gap.csv p.csv", 0, {"gap.csv"}},
         {"filter gap.csv out.csv --steps mean~3", 0, {"1 unset points left out"}},
         {"filter stairs.csv out.csv --steps slope~3", 0, {", 1 unset points made by the steps\n"}},
         {"filter p.csv out.csv --columns ~ --steps mean~3", 2, {"--columns needs x and height"}},
         {"teach p.csv --out t.json --lines 1 --longest 1", 2, {"--lines and --longest exclude each other"}},
         {"teach p.csv --out t.json --longest x",
          2,
          {"--longest needs a number with a decimal point, not \"x\""}},
         {"teach p.csv --out t.json --longest 1.5", 2, {"--longest needs a whole number, not \"1.5\""}},
         {"teach p.csv --out t.json --longest 0", 2, {"--longest must be from 1 to "}},
         {"teach p.csv --out t.json --longest", 2, {"--longest needs a value"}},
         {"teach p.csv --out t.json --master p.csv --band 1",
          2,
          {"--band needs two numbers, e.g. --band -5,12.5, not \"1\""}},
         {"teach p.csv --out t.json --master p.csv --band x,1", 2, {"not \"x,1\""}},
         {"teach p.csv --out t.json --master p.csv --band 1,x", 2, {"not \"1,x\""}},
         {"teach p.csv --out t.json --gap x",
          2,
          {"--gap needs a number with a decimal point, in mm, not \"x\""}},
         {"results", 2, {"nothing to read"}},
         {"help", 0, {"kvmeasure COMMAND"}},
         {"", 2, {"which command?"}},
         {"-h", 0, {"kvmeasure COMMAND"}},
         {"scan -h", 0, {"kvmeasure scan COMMAND"}},
         {"stats -h", 0, {"kvmeasure stats COMMAND"}},
         {"stats", 2, {"stats: which command? See \"kvmeasure stats --help\""}}});
}

/// A groove 4 mm wide, this deep, in a surface from -16 to 16; points nearer to its middle are missing.
QByteArray groove(double depth, double missing = 0) {
    QByteArray rows = "x_mm,z_mm\n";
    for (int i = 0; i <= 640; ++i) {
        const double x = -16 + i * 0.05;
        if (std::fabs(x) >= missing)
            rows += QByteArray::number(x, 'f', 4) + ',' +
                    (std::fabs(x) < 2.005 ? QByteArray::number(-depth) : "0") + '\n';
    }
    return rows;
}

TEST_F(Commands, PlansAreToldCheckedAndJudgedInWords) {
    write("good.csv", groove(1.5));
    write("deep.csv", groove(1.7));
    write("hollow.csv", groove(1.5, 1));
    write("word.csv", "x_mm,z_mm\n1,2\n2,x\n");
    write("list.txt", "gone.csv\n");
    write("stack.bin", (QByteArray("\x05\x02\0", 3) + QByteArray(20, '\0')).repeated(2));
    write("counted.csv", "0,0\n1,0\n2,0\n");
    write("stacks.txt", "stack.bin\ncounted.csv\n");
    const QString second = "measure good.csv deep.csv hollow.csv --plan p.json --second ",
                  groove = "--region R~=~x~-9..9 --measure g~=~groove~in~R";
    const QString tools = "--region R~=~x~-9..9 --measure g~=~groove~in~R~:~depth~1.5~+-0.1;~a~=~max~in~R";
    expect({
        {"teach good.csv --out tools.json --master good.csv --band -0.1,0.1 " + tools,
         0,
         {"1 region, 2 tools, master master: good.csv (641 points)", "g.depth 1.5000 mm 1.4000 1.6000 good",
          "master.shareOutside 0.0000 - 0.0000 good"}},
        {"teach good.csv --out lines.json --longest 3 --measure w~=~length~1 --svg lines.svg",
         0,
         {"template of 3 lines, 10 constraints", "w 4.0500 mm free edges +0.0500 mm"}},
        {"teach good.csv --out p.json --svg p.svg --name Probe " + groove, 0, {"p.json: 1 region, 1 tool,"}},
        {"teach good.csv --out uncut.json --raw " + groove, 0, {"g.width 4.0500 mm"}},
        {"plan show uncut.json", 0, {"lines raw: as the search leaves them"}},
        {"teach good.csv --out m.json --master good.csv", 0, {"m.json: master master: good.csv (641 "}},
        {"teach good.csv --out a.json --anchor A~=~left~in~S~from~-15~0", 2, {"there is no region \"S\""}},
        {"teach good.csv --out s.json --region R~=~all; --measure a~=~max~in~R", 0, {"s.json: 1 region, "}},
        {"teach good.csv --out x.json --raw --edge-compensation on --longest 3", 2, {"--raw adds nothing"}},
        {"measure good.csv --plan p.json --svg s.svg --store s.db", 0, {"g.depth 1.5000"}},
        {"measure good.csv --plan m.json --store s.db --aqdef m.dfq", 0, {"master.largest 0.0000 0.0000 mm"}},
        {"compare deep.csv --master good.csv --plan p.json", 2, {"--plan goes with --align template, or"}},
        {second + "good.csv", 2, {"--second has fewer profiles than the files that are measured: good.csv"}},
        {"measure good.csv --plan p.json --second deep.csv --second good.csv", 2, {"left over: good.csv"}},
        {"measure --files-from stacks.txt --plan s.json --out z.csv --scan-step 3", 0, {}},
        {"teach good.csv --out none.json --name Void", 2, {"which segments make the template?"}},
        {"teach good.csv --out raw.json --longest 3 --raw --measure w~=~length~1", 0, {"w 4.0000 mm"}},
        {"plan show raw.json", 0, {"lines raw: as the search leaves them"}},
        {"plan check raw.json good.csv", 0, {"w 4.0000 mm; no uncertainty: the segments"}},
        {"teach good.csv --out seen.json --edge-compensation off --region R~=~x~-9..9~at~A;~S~=~all --anchor "
         "A~=~left~in~S~from~-15~0 --measure g~=~groove~in~R~:~depth~max~9",
         0,
         {"g.width 4.0500 mm"}},
        {"plan show seen.json", 0, {"lines fitted anew, edges as seen"}},
        {"plan check seen.json good.csv", 0, {"361 points; moved by -1.0000 0.0000 mm, turned"}},
        {"plan check seen.json word.csv --columns 2,1", 2, {"word.csv"}},
        {"teach good.csv --out void.json --region R~=~x~90..91 --measure a~=~max~in~R~:~5~+-~1",
         0,
         {"a - mm"}},
        {"plan check void.json good.csv", 1, {"a no point lies in region \"R\""}},
        {"measure good.csv --plan tools.json --uncertainty monte-carlo", 2, {"not \"monte-carlo\""}},
        {"measure good.csv --plan tools.json --uncertainty monte-carlo~1.5", 2, {"not \"monte-carlo 1.5\""}},
        {"measure good.csv --plan tools.json --uncertainty monte-carlo~x", 2, {"not \"monte-carlo x\""}},
        {"merge --files-from list.txt --out whole.csv", 2, {"gone.csv: no such file"}},
        {"merge --files-from good.csv --out whole.csv", 2, {"x_mm,z_mm: no such file"}},
        {"plan show tools.json", 0, {"tool a = max in R", "align registration, band -0.1..0.1"}},
        {"plan show lines.json", 0, {"lines 0, 1, 2; 10 constraints", "fitted anew, free edges compensated"}},
        {"plan check tools.json deep.csv",
         1,
         {"R = x -9..9 361 points", "g.depth 1.7000 mm, U 0.0000; OUT: 1.4 to 1.6",
          "master.shareOutside 0.1167; no uncertainty"}},
        {"plan check lines.json hollow.csv",
         1,
         {"but length of line 1 is 1.0000 mm, allowed are 3.2000 to 4.8000"}},
        {"plan check lines.json good.csv",
         0,
         {"template 0, 1, 2 found", "w 4.0500 mm, U 0.0408; free edges"}},
        {"plan check lines.json word.csv", 2, {"word.csv: line 3: column 2: expected a number"}},
        {"match good.csv hollow.csv --template lines.json --report page.html --svg seen.svg",
         1,
         {"hollow.csv - - - NOT FOUND", "found in 1 of 2 profiles",
          "w mm 1 - 4.0500 4.0500 4.0500 - 0.0500"}},
        {"measure good.csv deep.csv --plan tools.json --decision guarded",
         1,
         {"decision: guarded acceptance, values are good at least U inside their limits"}},
        {"measure good.csv --plan tools.json", 0, {"g.depth 1.5000 0.0000 mm yes 1.5000 0.0000 good"}},
        {"match good.csv --template lines.json --jsonl j.jsonl --stats",
         2,
         {"--stats has no place in lines of profiles"}},
        {"merge part.csv", 2, {"--out FILE is missing; name the file to write"}},
    });
    const Called taught = call("teach deep.csv --plan tools.json --out again.json --measure b~=~box~in~R");
    EXPECT_THAT(taught.out, HasSubstr("1 region, 3 tools"));
    EXPECT_THAT(taught.err, HasSubstr("g.depth is 1.7000 mm, allowed is 1.4 to 1.6\n"));
    EXPECT_THAT(taught.err, HasSubstr("master.shareOutside is 0.1167, allowed is at most 0\n"));
    EXPECT_THAT(read("page.html"), HasSubstr("NOT FOUND"));
    EXPECT_THAT(read("p.svg"), HasSubstr("Plan &quot;Probe&quot;"));
    EXPECT_THAT(read("s.svg"), HasSubstr("plan &quot;Probe&quot;"));
    EXPECT_THAT(read("z.csv"), HasSubstr("give --columns HEIGHT --pitch MM"));
    EXPECT_THAT(read("z.csv"), HasSubstr("\nstack.bin#1,3,0,"));
    EXPECT_THAT(read("seen-hollow.svg"), HasSubstr("NOT FOUND"));
}

TEST_F(Commands, InfoSaysWhatWasTakenOfATextAndWhatWasNot) {
    write("tabs.csv", "x\tz\n1\t2\n2\t3\n");
    write("mixed.csv", "x;z\n1.5;2,5\n2.5;3,5\n");
    QByteArray parted;
    for (int i = 1; i <= 10; ++i)
        parted += "part " + QByteArray::number(i) + "\n" + QByteArray::number(i) + ",1\n";
    write("parted.csv", parted);
    write("foot.csv", "a title\nn,x,z\n1,1,2\n\nfoot\n");
    write("one.csv", "1\n2\n3\n4\n");
    write("row.csv", "1,2,3,4,5,6\n1,2,3,4,5,7\n");
    QByteArray wide = QByteArray::fromHex("fffe"), many;
    for (const char c : QByteArray("x,z\n1,2\n3,4\n"))
        wide += QByteArray(1, c) + QByteArray(1, '\0');
    for (int i = 1; i <= 30; ++i)
        many += "c" + QByteArray::number(i) + (i < 30 ? ',' : '\n');
    write("wide.csv", wide);
    write("many.csv", many + QByteArray("1,").repeated(29) + "1\n");
    write("four.csv", "x,y,z,t\n1,2,3,a\n2,3,4,b\n");
    write("units.csv", "x [um],z\n1,2\n");
    write("cut.bin", QByteArray("\x05\x02\0", 3) + QByteArray(9, '\0'));
    write("torn.bin", QByteArray("\x05\x02\0", 3) + QByteArray(20, '\0') + "\x05\x02");
    write("1001.csv", QByteArray("part\n1,1\n").repeated(1001));
    expect({
        {"info tabs.csv",
         0,
         {"separated by tabs, decimal marks: none", "column 1 \"x\" in mm", "no points in line 1 (heading)"}},
        {"info mixed.csv", 0, {"separated by semicolons, decimal marks: points and commas"}},
        {"info parted.csv",
         0,
         {"CSV, 10 profiles", "line 15 (text between the rows), ...", "x counts 0, 1, 2, ..."}},
        {"info one.csv --pitch 0.5", 0, {"column 1 in mm, 0.5 mm apart", "0.0000 .. 1.5000 1.0000"}},
        {"info one.csv", 2, {"column 1 holds heights alone; give their distance along x with --pitch MM"}},
        {"info one.csv --pitch 0.5 --json", 0, {"\"pitch\": 0.5", "\"x\": null"}},
        {"info row.csv --pitch 0.5 --json", 0, {"\"profilePerRow\": true"}},
        {"info wide.csv --json", 0, {"\"encoding\": \"UTF-16\"", "\"name\": \"x\""}},
        {"info four.csv --columns z,x", 0, {"x: column 3 \"z\" in mm, height: column 1 \"x\""}},
        {"info four.csv --columns 0,1", 2, {"\"0\" is no column"}},
        {"info four.csv --columns 1.5,1", 2, {"\"1.5\" is no column"}},
        {"info units.csv", 2, {"has no unit, "}},
        {"info many.csv", 2, {"the columns are \"c1\", ", "..."}},
        {"info cut.bin --json", 2, {"cut.bin"}},
        {"info torn.bin", 2, {"offset 23: profile with z record: its head needs 7 bytes"}},
        {"info 1001.csv", 0, {"... and 981 more profiles; points by kind: 1001 \"points\""}},
        {"info 1001.csv --json", 0, {"\"sectionsLeftOut\": 1"}},
        {"info foot.csv",
         0,
         {"column 3 \"z\" in mm", "line 1 (title), line 2 (heading), line 5 (text below the rows)"}},
    });
}

TEST_F(Commands, CalibrationNeedsWhatFilesDoNotHold) {
    ASSERT_EQ(call("calibrate simulate flat.raw").code, 0);
    const std::string truth = read("flat.raw.truth.json");
    ASSERT_THAT(truth, HasSubstr("\"focal-length\": 16"));
    const auto changed = [&truth](const char* from, const char* to) {
        return QByteArray::fromStdString(truth).replace(from, to);
    };
    write("missing.json", changed("focal-length", "focus"));
    write("bad.json", changed("\"focal-length\": 16", "\"focal-length\": -16"));
    write("toothed.json", changed("\"target\": \"flat\"", "\"target\": \"toothed\""));
    const QString build = "calibrate build flat.raw t.tbl ", ranges = build + "--z-range 100 --x-range 140 ";
    expect(
        {{ranges + "--columns 5,5", 2, {"the first of --columns must be left of the last"}},
         {ranges + "--columns 1.5,7", 2, {"--columns needs two whole numbers from 0 to 647, not \"1.5,7\""}},
         {ranges + "--columns -1,7", 2, {"--columns needs two whole numbers from 0 to 647"}},
         {ranges + "--columns 1,700", 2, {"--columns needs two whole numbers from 0 to 647"}},
         {ranges + "--teeth flat.raw --tooth-pitch 5",
          2,
          {"--teeth needs --tooth-pitch MM and --tooth-height MM"}},
         {ranges + "--teeth flat.raw --tooth-height 5", 2, {"--teeth needs --tooth-pitch MM and"}},
         {build + "--z-range 100", 2, {"--x-range MM is missing; it is not stored in the file"}},
         {build + "--truth missing.json", 2, {"missing.json: \"focal-length\" is missing or no number"}},
         {build + "--truth bad.json", 2, {"bad.json: "}},
         {build + "--truth toothed.json --json", 0, {"\"file\""}},
         {"calibrate check t.tbl --z-range 100 --x-range 140",
          2,
          {"against what? Name --truth FILE or --against RAW"}},
         {"calibrate info flat.raw --z-range 100", 2, {"--z-range and --x-range are of tables"}},
         {"calibrate info flat.raw --x-range 100", 2, {"--z-range and --x-range are of tables"}},
         {"calibrate info gone.raw --z-range 100", 2, {"gone.raw"}},
         {"calibrate simulate o.raw --tooth-pitch 3", 2, {"--tooth-pitch goes with --target toothed"}},
         {"calibrate mirror flat.raw m.raw --z", 2, {"a raw record has no halves"}},
         {"calibrate mirror flat.raw m.raw --x", 2, {"a raw record has no halves"}},
         {"calibrate mirror t.tbl x.tbl --x", 0, {"x.tbl: full table mirrored\n"}},
         {"calibrate mirror t.tbl m.tbl", 2, {"which half of the table? Add --z, --x or both"}},
         {"calibrate mirror flat.raw m.raw --json", 0, {"\"form\": \"raw"}},
         {"calibrate apply t.tbl flat.raw o.csv --format csv --z-range 100 --x-range 140",
          2,
          {"choose one with --step N"}},
         {"calibrate apply t.tbl flat.raw o.csv --step 5 --pitch 2 --z-range 100 --x-range 140",
          2,
          {"--pitch is of records"}},
         {"calibrate apply t.tbl flat.raw o.bin --step 5 --pitch 2 --format record --truth toothed.json "
          "--json",
          0,
          {"\"profiles\": 1"}}});
}

TEST_F(Commands, SimulationsRefuseWhatHasNoEffect) {
    expect({{"simulate circumference --out c.csv --wave 1:2", 2, {"--wave"}},
            {"simulate circumference --out c.csv --wave 1:x:2", 2, {"--wave"}},
            {"simulate circumference --out c.csv --wave 1.5:1:2", 2, {"--wave"}},
            {"simulate circumference --out c.csv --wave 501:1:2", 2, {"--wave"}},
            {"simulate circumference --out c.csv --seen 90..180 --points 360", 0, {"c.csv"}},
            {"simulate pass --out p --flats 99", 2, {"--flats: 99 is outside 0 ... 16"}},
            {"simulate pass --out p --spacing 1000", 2, {"--spacing: 1000 is outside 1 ... 100"}},
            {"simulate pass --out p --wheelsets 2 --false-targets 1000000", 2, {"--false-targets"}},
            {"simulate pass --out p --speed 1e-9 --rate 1000", 2, {"simulate pass: "}},
            {"simulate profile --out p.csv --points 3 --from 5 --to 5", 2, {"simulate profile: "}}});
    EXPECT_THAT(read("c.csv"), HasSubstr("\n90.0"));
    EXPECT_FALSE(QFileInfo::exists("p")) << "nothing is left behind";
}

TEST_F(Commands, PagesShowFilesUpToTheirLimits) {
    QDir().mkdir("none");
    QDir().mkdir("many");
    QByteArray stack;
    for (int i = 0; i < 25; ++i)
        stack += QByteArray("\x05\x02\0", 3) + QByteArray(4, '\0') + QByteArray(16, '\0');
    write("stack.bin", stack);
    for (int i = 0; i < 201; ++i)
        write(QString("many/%1.csv").arg(i), "0,0\n1,1\n");
    write("down.csv", "2,0\n1,0\n0,1\n");
    write("post.ini", "[SENSOR1]\nSN=1001\n");
    write("parts.csv", QByteArray("part\n1,1\n").repeated(25));
    expect({{"view parts.csv --out parts.html --json", 0, {"25 profile(s), 25 points, 0 unset"}},
            {"view down.csv --out v.html --json", 0, {"1 profile(s), 3 points"}},
            {"view post.ini --out v.html --json", 0, {"a measuring post: SENSOR1 1001\""}},
            {"view none --out v.html", 2, {"none: has no files"}},
            {"view many --out v.html", 2, {"there are 201 files; a page shows 200 at most"}},
            {"view stack.bin --out v.html", 0, {"v.html"}}});
    EXPECT_EQ(QByteArray::fromStdString(read("parts.html")).count("<figure"), 20);
}

}  // namespace
