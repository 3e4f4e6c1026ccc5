// What the headers of scans, wheels, pictures and reports promise for input that holds little or nothing.

#include <kvmeasure/drawing/error_map_picture.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/drawing/scan_picture.h>
#include <kvmeasure/drawing/trend_picture.h>
#include <kvmeasure/drawing/wheel_picture.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/report/wheel_report.h>
#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/height_plane.h>
#include <kvmeasure/scans/outline_search.h>
#include <kvmeasure/scans/scan_writer.h>
#include <kvmeasure/scans/surface.h>
#include <kvmeasure/wheels/reference.h>
#include <kvmeasure/wheels/values.h>
#include <tests/kvmeasure/calls.h>

namespace {

using KvMath::KvPointXY;
using KvMath::KvProfileZ;
using KvMath::KvProfileZSet;

/// Profiles 2 mm apart with points 1 mm apart, height x + 10 * scan.
KvProfileZSet slopes(int profiles, int points) {
    KvProfileZSet stack;
    for (int i = 0; i < profiles; ++i) {
        KvProfileZ profile(2.0F * static_cast<float>(i));
        for (int k = 0; k < points; ++k)
            profile.points.append(KvPointXY(static_cast<float>(k), static_cast<float>(k + 20 * i)));
        stack.append(profile);
    }
    return stack;
}

/// The parameter that an error names; "none" where nothing is thrown.
template <class Work>
QString parameterOf(const Work& work) {
    try {
        work();
    } catch (const Error& error) {
        return error.parameter();
    }
    return "none";
}

TEST(ScanContracts, StepsOfFewPointsServeForBothWays) {
    const struct {
        int profiles, points;
        double x, scan;
    } cases[] = {{0, 0, 1, 1}, {1, 1, 1, 1}, {1, 3, 1, 1}, {3, 1, 2, 2}, {3, 3, 1, 2}};
    for (const auto& c : cases) {
        const Steps steps = estimateSteps(slopes(c.profiles, c.points));
        EXPECT_NEAR(steps.x, c.x, 1e-6) << c.profiles << " profiles of " << c.points;
        EXPECT_NEAR(steps.scan, c.scan, 1e-6) << c.profiles << " profiles of " << c.points;
    }
}

TEST(ScanContracts, GridRefusesNothingAndSenselessSteps) {
    EXPECT_THROW(makeGrid(KvProfileZSet(), {1, 1}, "a"), Error);
    for (const double step : {0.0, -1.0, kNaN, 1e-9})
        EXPECT_THROW(makeGrid(slopes(3, 3), {step, 2}, "a"), Error) << step;
    EXPECT_EQ(gridCsv(makeGrid(slopes(2, 2), {1, 2}, "a")), "scan_mm/x_mm,0,1\n0,0,1\n2,20,21\n");
    EXPECT_EQ(gridCsv(KvMath::KvMatrixCloud()), "scan_mm/x_mm\n");
}

TEST(ScanContracts, PlaneIsUntouchedWherePointsGiveNone) {
    Scan scan;
    scan.isStack = true;
    scan.stack = slopes(1, 5);  // on one line
    scan.countPoints();
    HeightPlane plane;
    plane.a = 7;
    EXPECT_FALSE(fitHeights(scan, plane));
    EXPECT_EQ(plane.a, 7);
    scan.stack = slopes(3, 5);
    scan.countPoints();
    for (int round = 0; round < 2; ++round) {  // a fit does not add to the one before
        plane.squares = 1;
        ASSERT_TRUE(fitHeights(scan, plane));
        EXPECT_NEAR(plane.a, 1, 1e-9);
        EXPECT_NEAR(plane.b, 10, 1e-9);
        EXPECT_NEAR(plane.rms(), 0, 1e-9);
    }
    // Far from the origin: height = 0.5 x - 0.25 scan + 3, and the plane through these points.
    scan.stack.clear();
    for (int i = 0; i < 4; ++i) {
        KvMath::KvProfileZ profile;
        profile.z = 40 + 8.0F * float(i);
        for (int k = 0; k < 5; ++k)
            profile.points.append({100 + 4.0F * float(k), 53 + 2.0F * float(k) - profile.z / 4});
        scan.stack.profiles.append(profile);
    }
    scan.countPoints();
    ASSERT_TRUE(fitHeights(scan, plane));
    EXPECT_NEAR(plane.a, 0.5, 1e-9);
    EXPECT_NEAR(plane.b, -0.25, 1e-9);
    EXPECT_NEAR(plane.c, 3, 1e-7);
    EXPECT_NEAR(plane.height(10, 20), 3, 1e-7);
    const double size = std::sqrt(1 + 0.25 + 0.0625),
                 expected[4] = {-0.5 / size, 0.25 / size, 1 / size, -3 / size};
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(plane.normal[i], expected[i], 1e-6) << i << ", 1e-8 of 120 mm";
    // One point 0.5 too high: the residuals are those of the heights.
    scan.stack.profiles[1].points[2].y += 0.5F;
    ASSERT_TRUE(fitHeights(scan, plane));
    double squares = 0, lowest = 0, highest = 0;
    for (const KvMath::KvProfileZ& profile : scan.stack.profiles) {
        for (const KvMath::KvPointXY& p : profile.points) {
            const double residual = double(p.y) - plane.height(double(p.x), double(profile.z));
            squares += residual * residual;
            lowest = std::min(lowest, residual);
            highest = std::max(highest, residual);
        }
    }
    EXPECT_NEAR(plane.squares, squares, 1e-9);
    EXPECT_NEAR(plane.lowest, lowest, 1e-9);
    EXPECT_NEAR(plane.highest, highest, 1e-9);
    EXPECT_NEAR(plane.rms(), std::sqrt(squares / 20), 1e-9);
    scan.stack.profiles[0].points[0].x = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(fitHeights(scan, plane));
}

TEST(ScanContracts, SectionsRefuseASpacingWithoutEnd) {
    const ScanSurface surface(slopes(3, 5), 1.5, 3);
    for (const double spacing : {0.0, -1.0, 1e-9}) {
        EXPECT_EQ(parameterOf([&] { sectionAtScan(surface, 1, spacing); }), "spacing") << spacing;
        EXPECT_EQ(parameterOf([&] { sectionAtX(surface, 1, spacing); }), "spacing") << spacing;
        EXPECT_EQ(parameterOf([&] {
                      sectionBetween(surface, {0, 0}, {4, 4}, spacing);
                  }),
                  "spacing")
            << spacing;
    }
    EXPECT_EQ(sectionBetween(surface, {0, 0}, {4, 4}, std::sqrt(2.0)).profile.points.size(), 5);
    EXPECT_EQ(sectionBetween(surface, {1, 1}, {1, 1}, 1).profile.points.size(), 1);
    EXPECT_TRUE(sectionBetween(surface, {kNaN, 0}, {4, 4}, 1).profile.points.isEmpty());
    EXPECT_TRUE(sectionAtScan(surface, kNaN, kNaN).profile.points.isEmpty());
    EXPECT_TRUE(sectionAtScan(ScanSurface(KvProfileZSet(), 1, 1), 0, 1).profile.points.isEmpty());
    EXPECT_TRUE(std::isnan(ScanSurface(slopes(3, 5), kNaN, kNaN).at({0.5, 1}).value));
    EXPECT_NEAR(surface.at({0.5, 1}).value, 10.5, 1e-6);
    EXPECT_TRUE(std::isnan(surface.at({1, -1}).value) && std::isnan(surface.at({1, 9}).value));
    EXPECT_TRUE(sectionAtScan(surface, -1, kNaN).profile.points.isEmpty());
    EXPECT_TRUE(sectionAtX(ScanSurface(KvProfileZSet(), 1, 1), 0, 1).profile.points.isEmpty());
}

TEST(ScanContracts, OutlineOfNothingHasNoLines) {
    OutlineParameters parameters;
    EXPECT_THROW(deriveParameters(KvProfileZSet(), "a", parameters), Error);
    parameters.level = 1e6;
    EXPECT_THROW(deriveParameters(slopes(3, 5), "a", parameters), Error);
    parameters = OutlineParameters();
    parameters.level = -1;
    deriveParameters(slopes(3, 5), "a", parameters);
    EXPECT_EQ(parameters.step, 2);
    EXPECT_NEAR(parameters.gap, 5, 1e-6);
    EXPECT_TRUE(findOutline(KvProfileZSet(), parameters).lines.isEmpty());
    EXPECT_TRUE(std::isnan(innerAngle({OutlineLine()}, 0)));
}

TEST(WheelContracts, NothingIsKnownOfNothing) {
    const ReferenceSection section({0, 140}, {500, 460});
    const ScannerError error = errorOf({}, section, 0);
    EXPECT_TRUE(std::isnan(error.x));
    EXPECT_EQ(error.points, 0);
    EXPECT_TRUE(std::isnan(section.radius(141)));
    EXPECT_TRUE(std::isnan(section.slope(kNaN)));
    EXPECT_EQ(section.runningRadius(), 480);

    WheelResult wheel;
    MeasuredSection measured;
    calcWheelValues(ValueOptions(), {}, wheel, measured);
    EXPECT_FALSE(wheel.isComplete());
    EXPECT_FALSE(wheel.isBackKnown());
    EXPECT_TRUE(wheel.notes.contains("the section has fewer than four points"));
    EXPECT_TRUE(isWheelCircle(wheel));  // not known
    EXPECT_EQ(reflectionAt({}, 0), 0);
    EXPECT_EQ(wheelRecords({WheelsetResult()}).size(), 178);
    EXPECT_EQ(wheelCsv({}, WheelColumns()), "wheelset,travel_mm,side,notes\n");
}

TEST(WheelContracts, RowsOfAPassHaveEveryColumnAndNameWhatIsMissing) {
    WheelsetResult wheelset;
    wheelset.z = 1234.6F;
    wheelset.backToBack = 1359.1234;
    wheelset.backToBackUncertainty.u = 0.01;
    wheelset.notes = QStringList{"bent"};
    WheelResult& left = wheelset.wheels[Left];
    for (const auto& [i, value] : {std::pair(0, 28.5), {1, 32.25}, {8, -0.5}, {9, 9.75}})
        left.values.value[i] = value;
    left.nominal = 29;
    left.circle.radius = 488;
    left.uncertainties["flangeHeight"].u = 0.02;
    left.defect = 1;
    left.notes = QStringList{"say \"no\""};
    wheelset.wheels[Right].defect = 0;
    WheelsetResult none;
    none.z = std::nanf("");
    none.backToBack = kNaN;
    const std::string head =
        "wheelset,travel_mm,side,flange_height,flange_height_U,thickness_from_back,thickness_from_back_U,"
        "flange_steepness,flange_steepness_U,height_deviation,height_deviation_U,nominal_height,radius,"
        "radius_U,running_diameter,running_diameter_U,back_to_back,back_to_back_U,defect,notes\n";
    EXPECT_EQ(wheelCsv({wheelset, none}, {true, true, true}).toStdString(),
              head + "1,1235,left,28.500,0.040,32.250,,9.750,,-0.500,,29,488.000,,919.000,,1359.123,0.020,"
                     "DEFECT,\"bent; say \"\"no\"\"\"\n"
                     "1,1235,right,,,,,,,,,,,,,,1359.123,0.020,none,\"bent\"\n"
                     "2,,left,,,,,,,,,,,,,,,,,\"\"\n2,,right,,,,,,,,,,,,,,,,,\"\"\n");
    EXPECT_EQ(wheelTable({none}, {false, true, false}), "wheelset  travel mm  side   back to back  U  notes\n"
                                                        "       1          -  left              -  -\n"
                                                        "       1          -  right             -  -\n");
    LimitVerdict verdict;
    verdict.symbol = "Sd";
    for (const char* reason : {"", "0.1 below"}) {
        for (const char* note : {"", "new"}) {
            verdict.reason = reason;
            verdict.note = note;
            EXPECT_EQ(verdictRow("a", verdict).last(), QString(reason) +
                                                           (*reason != 0 && *note != 0 ? "; " : "") +
                                                           (*note != 0 ? "note: new" : ""));
        }
    }
}

TEST(PictureContracts, NothingIsDrawnAsAxes) {
    const MeasuredSection nothing;
    for (const QByteArray& svg :
         {drawScan(ScanPicture()), drawPicture(Picture()), drawTrend(Trend()),
          drawWheel(pictureOf(WheelResult(), nothing)), drawErrorMaps("a", "b", {})}) {
        EXPECT_TRUE(svg.startsWith("<svg"));
        EXPECT_FALSE(svg.contains("nan") || svg.contains("inf")) << svg.toStdString();
    }
    WheelPicture picture = pictureOf(WheelResult(), nothing);
    picture.values.value[0] = 30;  // a height without the place where it was measured
    EXPECT_TRUE(drawWheel(picture).endsWith("</svg>\n"));
}

TEST(ReportContracts, TablesTakeRowsOfAnyLength) {
    Table table({"name", "value"});
    table.add({"a"});
    table.add({"b", "1", "left out"});
    EXPECT_EQ(table.text(), "name  value\na\nb         1\n");
    EXPECT_EQ(segmentTable({}), "segment  length mm  direction deg  x1  y1  x2  y2\n");
}

}  // namespace
