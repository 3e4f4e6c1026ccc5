// Formats of pictures by the ending, and what is refused as a picture; pictures of little or no data.

#include <kvmeasure/drawing/circumference_picture.h>
#include <kvmeasure/drawing/comparison_picture.h>
#include <kvmeasure/drawing/conicity_picture.h>
#include <kvmeasure/drawing/deviation_map.h>
#include <kvmeasure/drawing/rendering.h>
#include <kvmeasure/drawing/scan_picture.h>
#include <kvmeasure/drawing/sensor_map_picture.h>
#include <kvmeasure/drawing/series_picture.h>
#include <kvmeasure/drawing/study_picture.h>
#include <kvmeasure/drawing/trend_picture.h>
#include <kvmeasure/drawing/wear_picture.h>
#include <kvmeasure/drawing/zone_picture.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QXmlStreamReader>

namespace {

const double nan = std::nan(""), infinite = std::numeric_limits<double>::infinity();

/// The texts of a picture, which is XML without a number that is none.
std::string textsOf(const QByteArray& svg, const char* of = "") {
    SCOPED_TRACE(of);
    std::string texts;
    QXmlStreamReader xml(svg);
    while (!xml.atEnd()) {
        xml.readNext();
        for (const QXmlStreamAttribute& attribute : xml.attributes()) {
            const std::string value = attribute.value().toString().toStdString();
            EXPECT_THAT(value, testing::Not(testing::AnyOf(HasSubstr("nan"), HasSubstr("inf")))) << value;
        }
        if (xml.isCharacters())
            texts += xml.text().toString().simplified().toStdString() + '|';
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return texts;
}

/// Lines that a picture may be given: none, one point, points that are no numbers, points in one place, many.
std::vector<std::vector<Vector>> lines() {
    std::vector<Vector> many;
    for (int i = 0; i < 30'000; ++i)
        many.emplace_back(i * 0.01, i % 100 == 7 ? nan : std::sin(i * 0.001));
    return {{},
            {{1, 2}},
            {{nan, nan}, {nan, 1}},
            {{1, 2}, {1, 2}, {1, 2}},
            {{1, 2}, {nan, 3}, {4, 5}, {6, infinite}, {7, 1}},
            many};
}

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
                EXPECT_THAT(error.what(), HasSubstr("picture")) << bytes.toStdString();
            }
        }
    }
    EXPECT_EQ(rendered("measured", PictureFormat::Svg), "measured");
}

TEST(Pictures, OfLinesAreDrawnWhateverTheyHold) {
    for (const std::vector<Vector>& line : lines()) {
        SCOPED_TRACE(line.size());
        for (const std::vector<Vector>& other : {line, std::vector<Vector>{{0, 0}, {5, 1}}}) {
            WearPicture wear;
            wear.title = "worn <1>";
            wear.nominal = line;
            wear.worn = other;
            wear.marks = {
                {{nan, 1}, {1, 1}, "unseen"}, {{1, 2}, {nan, 1}, "unseen"}, {{1, 2}, {1, 1.5}, "W1 0.50"}};
            const std::string texts = textsOf(drawWear(wear), "Wear");
            EXPECT_THAT(texts, HasSubstr("worn <1>|"));
            EXPECT_THAT(texts, HasSubstr("W1 0.50|"));
            EXPECT_THAT(texts, testing::Not(HasSubstr("unseen")));

            ConicityPicture conicity;
            conicity.title = "conicity";
            conicity.difference = line;
            conicity.conicity = other;
            conicity.regression = line;
            conicity.leaps = {0.5, -100};
            conicity.runningPosition = other.empty() ? nan : 0.1;
            EXPECT_THAT(textsOf(drawConicity(conicity), "Conicity"), HasSubstr("conicity|"));
        }
        ZonePicture zone;
        zone.title = "zone";
        zone.points = line;
        zone.contacts = {0, -1, 1'000'000};
        for (const bool isJoined : {false, true}) {
            zone.isJoined = isJoined;
            EXPECT_THAT(textsOf(drawZone(zone), "Zone"), HasSubstr("distance, mm|"));
        }
        Circumference wheel;
        wheel.meanRadius = line.empty() ? nan : 460;
        for (const Vector& p : line)
            wheel.deviations.emplace_back(std::isnan(p.x) ? 0 : p.x, p.y);
        wheel.flats.resize(2);
        wheel.flats[0] = {359, 357, 1, 0.5, 30, 0.3, {}, {}};
        wheel.flats[1].depth = nan;
        wheel.flats[1].reason = "it ends at a gap";
        const std::string texts = textsOf(drawCircumference(wheel, "wheel.csv", "facts"), "Circumference");
        EXPECT_THAT(texts, HasSubstr("flat 0.50 mm deep, 30.0 mm long"));
        EXPECT_THAT(texts, HasSubstr("flat, not measured|"));
    }
}

TEST(Pictures, OfSeriesAndStudiesSayWhatIsLeftOut) {
    SeriesPicture series;
    series.title = "depth";
    for (const std::vector<double>& values :
         {std::vector<double>{}, {1}, {1, 1, 1}, {1e300, -1e300}, std::vector<double>(5000, 2)}) {
        series.values = values;
        EXPECT_THAT(textsOf(drawSeries(series), "Series"), HasSubstr("depth|"));
    }
    StudyPicture study;
    study.title = "study";
    study.study.reason = "one part alone";
    EXPECT_THAT(textsOf(drawStudy(study), "Study"), HasSubstr("no result|"));
    for (int part = 0; part < 500; ++part)
        study.readings.push_back(
            {"part " + QString::number(part), "appraiser " + QString::number(part % 40), part % 7 * 0.1});
    std::string texts = textsOf(drawStudy(study), "Study");
    EXPECT_THAT(texts, HasSubstr("more parts|"));
    EXPECT_THAT(texts, testing::ContainsRegex("and [0-9]+ more\\|"));
    study.study = GaugeStudy();
    study.study.ev = 1;
    study.study.grr = study.study.tv = 2;
    study.study.interaction = 0.5;
    study.tolerance = 10;
    EXPECT_THAT(textsOf(drawStudy(study), "Study"), HasSubstr("interaction|"));

    Trend trend;
    trend.title = "trend";
    for (const std::vector<double>& values :
         {std::vector<double>{}, {nan}, {1}, {nan, 2, nan}, {3, 2, 1}, {1, 1, 1e300}, {1, 1, -1e300}}) {
        for (const double step : {0.0, 1.0, -1.0, nan}) {
            trend.z.clear();
            Series one;
            one.name = "depth";
            one.unit = "mm";
            one.values = values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                trend.z.push_back(step * double(i));
                if (!std::isnan(values[i]))
                    one.statistics.add(values[i], true);
            }
            trend.series = {one, one, one};
            trend.series[0].tolerance = {0, -infinite, infinite, false};
            trend.series[2].unit = "deg";
            trend.series[0].hasTolerance = trend.series[1].hasTolerance = trend.series[2].hasTolerance = true;
            trend.series[1].tolerance.lower = -0.5;
            trend.series[1].tolerance.upper = infinite;
            trend.series[2].tolerance.lower = -infinite;
            trend.series[2].tolerance.upper = 200;
            texts = textsOf(drawTrend(trend), "Trend");
            EXPECT_THAT(texts, HasSubstr("depth"));
            EXPECT_THAT(texts, testing::Not(HasSubstr("nan")));
        }
    }
}

TEST(Pictures, OfAComparisonShowTheMasterAloneWhereNothingIsCompared) {
    ComparisonPicture picture;
    picture.title = "part";
    EXPECT_THAT(textsOf(drawComparison(picture), "Comparison"), HasSubstr("part|"));
    for (int i = 0; i < 50; ++i)
        picture.master.points.append({float(i), 0.0F});
    Comparison none;
    none.reason = "no point has the master below it";
    picture.comparison = &none;
    EXPECT_THAT(textsOf(drawComparison(picture), "Comparison"), HasSubstr("NOT COMPARED|"));
    for (const double height : {0.0, 1e-9, 0.2, 3.0}) {
        KvMath::KvProfile part = picture.master;
        part.points[20].y = float(height);
        ComparisonSettings settings;
        settings.alignment = Alignment::None;
        settings.lower = -0.5;
        settings.upper = 0.5;
        const Comparison found = compare(part, picture.master, settings);
        picture.comparison = &found;
        picture.upper = height > 1 ? 0.5 : infinite;
        const std::string texts = textsOf(drawComparison(picture), "Comparison");
        EXPECT_THAT(texts,
                    HasSubstr(height > 1 ? "outside the limits||2.00 %|" : "outside the limits||0.00 %|"));
    }
    // Of the deviations in one pixel the greatest is drawn. What no point determines is said.
    Comparison found;
    found.registration.parts = {{}};
    found.registration.parts[0].isFree = true;
    found.largest = found.smallest = 0;
    found.deviations = {{{20, -0.7}, {20, 0}, {0, 1}, -0.7}};
    picture.comparison = &found;
    picture.lower = -0.5;
    const QByteArray alone = drawComparison(picture);
    EXPECT_THAT(textsOf(alone), testing::AllOf(HasSubstr("-0.7000 mm|"), HasSubstr("not determined|"),
                                               testing::Not(HasSubstr("outside the limits"))));
    for (const double less : {0.6, -0.1})
        found.deviations.push_back({{20, less}, {20, 0}, {0, 1}, less});
    EXPECT_EQ(drawComparison(picture), alone);
    found.deviations.push_back({{20, 6}, {20, 5}, {0, 1}, 0.6});
    EXPECT_NE(drawComparison(picture), alone) << "beside it";
}

TEST(Pictures, OfDeviationsSayWhatIsMissing) {
    const ScratchDirectory scratch;
    const auto cloud = [](const DeviationMap& map, bool heightLast) {
        writeDeviationCloud("c.ply", map, heightLast);
        return ScratchDirectory::read("c.ply").toStdString();
    };
    Scan scan;
    scan.add(KvMath::KvPointXYZ(1, 0, 1));
    scan.add(KvMath::KvPointXYZ(2, 0, 2));
    ScanComparison comparison;
    comparison.reason = "no master";
    for (const DeviationMap& map :
         {DeviationMap{"scan", &scan}, {"scan", nullptr, &comparison}, {"scan", &scan, &comparison}}) {
        EXPECT_EQ(textsOf(drawDeviationMap(map)), "||scan||");
        EXPECT_THAT(cloud(map, true), HasSubstr("y along the scan, z height\nelement vertex 0\n"));
    }
    const DeviationMap map{"scan", &scan, &comparison, -infinite, 0.05};
    comparison.deviations = {std::nanf(""), 0.1F};
    EXPECT_THAT(textsOf(drawDeviationMap(map)), HasSubstr("NOT COMPARED: no master|"));
    comparison.reason.clear();
    comparison.compared = 1;
    comparison.largest = {1, {1, 0, 1}, 0.1};
    EXPECT_THAT(textsOf(drawDeviationMap(map)), HasSubstr("+0.1000 mm|"));
    EXPECT_THAT(cloud(map, false), HasSubstr("y height, z along the scan\nelement vertex 1\n"));
}

TEST(Pictures, WithoutValuesHaveTheirFrame) {
    const QByteArray empty = drawScan({});
    for (int set = 0; set < 15; ++set) {
        ScanPicture scan;
        scan.grid.rows = set & 1;
        scan.grid.columns = (set >> 1) & 1;
        scan.grid.stepX = float((set >> 2) & 1);
        scan.grid.stepZ = float((set >> 3) & 1);
        EXPECT_EQ(drawScan(scan), empty) << set;
    }
    SensorMap map;
    map.heading = "Z";
    map.rows = 1;
    map.raster = {2, 1, {std::nanf(""), std::nanf("")}, {}};
    EXPECT_THAT(textsOf(drawSensorMaps("t", {map})), HasSubstr("Z: no value|"));
    map.raster.values = {7, 7};
    EXPECT_THAT(textsOf(drawSensorMaps("t", {map})), testing::AllOf(HasSubstr("Z|"), HasSubstr("|7")));
}

}  // namespace
