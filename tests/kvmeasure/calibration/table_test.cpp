// Tables in memory and in files, and their X from a toothed target, against the true mapping.

#include <kvmeasure/calibration/build.h>
#include <kvmeasure/calibration/check.h>
#include <simulator/triangulation_scanner.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/scratch_directory.h>

#include <cmath>

namespace {

using namespace KvMeasure;
using Simulator::CalibrationRecipe;
using testing::HasSubstr;
using TestSupport::errorOf;
using TestSupport::textOf;

TableUnits unitsOf(const CalibrationRecipe& recipe) {
    return {recipe.scanner.zRange, recipe.scanner.xRange, recipe.zStep * 1000,
            recipe.scanner.xRange * 1000 / Simulator::kSensorColumns, 0};
}

TruthReport against(const PixelTable& table, const CalibrationRecipe& recipe) {
    const Simulator::TriangulationScanner scanner(recipe.scanner);
    CalibrationTruth truth;
    truth.toPlane = [&scanner](const Vector& place) { return scanner.toPlane(place); };
    truth.targetSurface = [&recipe](double x) { return Simulator::targetSurface(recipe, x); };
    truth.xRange = recipe.scanner.xRange;
    truth.targetWidth = recipe.targetWidth;
    truth.zFirst = recipe.zFirst;
    truth.zStep = recipe.zStep;
    truth.noise = recipe.noise;
    return compareWithTruth(table, unitsOf(recipe), truth);
}

PixelTable built(const CalibrationRecipe& recipe, bool byTriangles = true, bool isCompact = false) {
    auto record = simulateCalibration(recipe);
    BuildPlan plan;
    plan.units = unitsOf(recipe);
    plan.byTriangles = byTriangles;
    plan.isCompact = isCompact;
    return buildTable(*record, plan);
}

TEST(Tables, TellACoordinateBetweenTheirRowsAndNothingBesideAnEmptyCell) {
    for (const CalibrationForm form : {CalibrationForm::FullTable, CalibrationForm::CompactTable}) {
        PixelTable table(form);
        const double perRow = 1 / table.rowsPerPixel();
        EXPECT_EQ(table.rows(), table.isFull() ? 976 : 488);
        EXPECT_EQ(table.filled(Half::Z) + table.filled(Half::X), 0);
        table.cells(Half::X)[10 * PixelTable::kColumns + 647] = 16384;
        table.cells(Half::X)[11 * PixelTable::kColumns + 647] = 0;
        EXPECT_EQ(table.filled(Half::X), 2);
        EXPECT_EQ(table.filled(Half::Z), 0) << "the other half";
        EXPECT_DOUBLE_EQ(table.value(Half::X, 10, 647, 140), 140) << "16384 units are the range";
        EXPECT_TRUE(std::isnan(table.value(Half::Z, 10, 647, 140)));
        const double places[][2] = {{10, 140}, {10.25, 105}, {11, 0}};
        for (const auto& [row, x] : places)
            EXPECT_DOUBLE_EQ(table.valueAt(Half::X, row * perRow, 647, 140), x);
        EXPECT_TRUE(std::isnan(table.valueAt(Half::X, 11.5 * perRow, 647, 140)));
        EXPECT_TRUE(std::isnan(table.valueAt(Half::X, 9.5 * perRow, 647, 140)));
    }
}

TEST(Tables, AreReadAsTheyWereWrittenAndByTheirSizesAlone) {
    const TestSupport::ScratchDirectory scratch;
    for (const CalibrationForm form : {CalibrationForm::FullTable, CalibrationForm::CompactTable}) {
        PixelTable table(form);
        for (int i = 0; i < 1000; ++i) {
            table.cells(Half::Z)[600 * i % 300'000] = static_cast<unsigned short>(61 * i);
            table.cells(Half::X)[700 * i % 300'000] = static_cast<unsigned short>(i);
        }
        saveTable(table, "a");
        PixelTable read = loadTable("a");
        ASSERT_EQ(read.form(), form);
        for (const Half half : {Half::Z, Half::X})
            EXPECT_TRUE(std::equal(table.cells(half), table.cells(half) + 300'000, read.cells(half)));
        EXPECT_THAT(textOf(errorOf([] { loadRaw("a"); })), HasSubstr("expected a raw record"));
        const QByteArray bytes = scratch.read("a");
        for (const QByteArray& other : {bytes.chopped(1), bytes + '0', QByteArray()}) {
            scratch.write("b", other);
            EXPECT_THAT(textOf(errorOf([] { CalibrationFile("b"); })),
                        HasSubstr("b: is no calibration file: it has " + std::to_string(other.size())));
        }
    }
    EXPECT_THAT(textOf(errorOf([] { loadTable("none"); })), HasSubstr("none: no such file"));
}

TEST(Tables, HaveAZAsGoodAsUnitsPositionsAndNoiseAllow) {
    CalibrationRecipe plain, tilted, falling;
    tilted.scanner.tilt = 3;
    tilted.missing = 0.05;
    tilted.missingColumns = 20;
    falling.noise = 0.05;
    falling.zStep = -0.05;
    falling.zFirst = 90;
    for (const CalibrationRecipe& recipe : {plain, tilted, falling}) {
        for (const auto& [byTriangles, isCompact] :
             {std::pair{true, recipe.noise > 0}, {false, recipe.missing > 0}}) {
            SCOPED_TRACE(testing::Message() << "tilt " << recipe.scanner.tilt << " step " << recipe.zStep
                                            << byTriangles << isCompact);
            const TruthReport report = against(built(recipe, byTriangles, isCompact), recipe);
            const double expected = byTriangles ? report.expectedRounded : report.expectedTruncated;
            EXPECT_NEAR(report.maps[0].all.rms / expected, 1, 0.1);
            EXPECT_EQ(report.coverage.outsideFilled, 0);
            EXPECT_GT(report.coverage.outside, 50'000);
            EXPECT_GT(report.coverage.insideFilled, 0.997 * report.coverage.inside);
            EXPECT_GE(report.samples.size(), recipe.zStep < 0 ? 6 : 9);
            for (const CellSample& cell : report.samples) {
                const Vector seen = Simulator::TriangulationScanner(recipe.scanner)
                                        .toPlane({double(cell.column), cell.sensorRow});
                EXPECT_NEAR(cell.z, seen.y, 0.1);
                EXPECT_NEAR(cell.trueZ, seen.y, 1e-9);
                EXPECT_NEAR(cell.trueX, seen.x, 1e-9);
            }
        }
    }
}

TEST(Teeth, GiveTheXOfEveryFilledCell) {
    const struct {
        double pitch, height, missing, tilt;
        bool isCompact;
        double worst;  // RMS of X, mm
    } cases[] = {
        {10, 5, 0.02, 0, false, 0.003},
        {10, 5, 0, 0, true, 0.003},
        {6, 4, 0, 3, false, 0.004},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "pitch " << c.pitch << " tilt " << c.tilt);
        CalibrationRecipe recipe;
        recipe.scanner.tilt = c.tilt;
        PixelTable table = built(recipe, true, c.isCompact);
        CalibrationRecipe toothed = recipe;
        toothed.target = Simulator::CalibrationTarget::Toothed;
        toothed.toothPitch = c.pitch;
        toothed.toothHeight = c.height;
        toothed.missing = c.missing;
        toothed.seed = 5;
        const int filled = table.filled(Half::Z);
        const TeethFit fit =
            buildXFromTeeth(table, *simulateCalibration(toothed), unitsOf(recipe), {c.pitch, c.height});
        EXPECT_EQ(table.filled(Half::X), filled);
        EXPECT_EQ(table.filled(Half::Z), filled);
        EXPECT_GT(fit.places, 10'000);
        EXPECT_LT(fit.residual, 0.02 * c.pitch);
        const ErrorMap x = against(table, recipe).maps[1];
        EXPECT_LT(x.all.rms, c.worst);
        EXPECT_NEAR(x.slope, 1, 1e-4);
    }
}

TEST(Teeth, ThatAreNotThoseOfTheDrawingLeaveTheTableAlone) {
    CalibrationRecipe recipe;
    PixelTable table = built(recipe);
    CalibrationRecipe toothed = recipe;
    toothed.target = Simulator::CalibrationTarget::Toothed;
    const RawRecord teeth = *simulateCalibration(toothed), flat = *simulateCalibration(recipe);
    RawRecord empty = teeth;
    std::fill(empty.positions.begin(), empty.positions.end(), static_cast<unsigned short>(0));
    const int cells = table.rows() * PixelTable::kColumns;
    const std::vector<unsigned short> before(table.cells(Half::X), table.cells(Half::X) + cells);
    const std::tuple<const RawRecord*, Teeth, const char*> cases[] = {
        {&flat, {10, 5}, "no teeth are recognised"},
        {&empty, {10, 5}, "no teeth are recognised"},
        {&teeth, {10, 50}, "no teeth are recognised"},
        {&teeth, {10, 2}, "teeth"},
    };
    for (const auto& [record, drawn, reason] : cases) {
        const auto& target = drawn;
        const RawRecord& of = *record;
        const Error error = errorOf([&] { buildXFromTeeth(table, of, unitsOf(recipe), target); });
        EXPECT_THAT(textOf(error), HasSubstr(reason));
        EXPECT_TRUE(std::equal(before.begin(), before.end(), table.cells(Half::X)));
    }
    PixelTable none(CalibrationForm::FullTable);
    EXPECT_THAT(textOf(errorOf([&] {
                    buildXFromTeeth(none, teeth, unitsOf(recipe), {10, 5});
                })),
                HasSubstr("no teeth"));
}

}  // namespace
