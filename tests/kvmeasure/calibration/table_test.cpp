// Tables in memory and in files, and their X from a toothed target, against the true mapping.

#include <kvmeasure/calibration/build.h>
#include <kvmeasure/calibration/check.h>
#include <simulator/triangulation_scanner.h>
#include <tests/kvmeasure/calls.h>

#include <numeric>

namespace {

using Simulator::CalibrationRecipe;

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
    const ScratchDirectory scratch;
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
        EXPECT_THAT([] { loadRaw("a"); }, Refuses("expected a raw record"));
        const QByteArray bytes = scratch.read("a");
        for (const QByteArray& other : {bytes.chopped(1), bytes + '0', QByteArray()}) {
            scratch.write("b", other);
            EXPECT_THAT([] { CalibrationFile("b"); },
                        Refuses("b: is no calibration file: it has " + std::to_string(other.size())));
        }
    }
    EXPECT_THAT([] { loadTable("none"); }, Refuses("none: no such file"));
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
    } cases[] = {{10, 5, 0.02, 0, false, 0.003}, {10, 5, 0, 0, true, 0.003}, {6, 4, 0, 3, false, 0.004}};
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
        {&teeth, {10, 2}, "teeth"}};
    for (const auto& [record, drawn, reason] : cases) {
        const auto& target = drawn;
        const RawRecord& of = *record;
        const Error error = errorOf([&] { buildXFromTeeth(table, of, unitsOf(recipe), target); });
        EXPECT_THAT(error, Says(reason));
        EXPECT_TRUE(std::equal(before.begin(), before.end(), table.cells(Half::X)));
    }
    PixelTable none(CalibrationForm::FullTable);
    EXPECT_THAT([&] { buildXFromTeeth(none, teeth, unitsOf(recipe), {10, 5}); }, Refuses("no teeth"));
}

/// A table of 0.1 mm per sensor row and column with errors that are put in, in units of 0.01 mm.
class Checked : public testing::Test {
protected:
    static constexpr double kUnit = 0.01, kRange = 16384 * kUnit, kOffset = 2, kOrigin = 1.5;
    const TableUnits units_{kRange, kRange, 30, 100, kOffset};
    PixelTable table_{CalibrationForm::CompactTable};

    static Vector plane(const Vector& place) { return {50 + 0.1 * place.x, 5 + 0.1 * place.y}; }
    /// The target has been at columns 20 to 619 and rows 50 to 349, and with the border a row more.
    static bool isCovered(int column, int row, int border = 0) {
        return column >= 20 && column <= 619 && row >= 50 - border && row <= 349 + border;
    }
    void set(Half half, int column, int row, double value) {
        table_.cells(half)[row * PixelTable::kColumns + column] =
            static_cast<unsigned short>(std::lround(value / kUnit));
    }
    static void expect(const ErrorStatistics& found, const std::vector<double>& errors, const char* what) {
        SCOPED_TRACE(what);
        double sum = 0, squares = 0, worst = 0;
        std::vector<double> sizes;
        for (const double error : errors) {
            sum += error;
            squares += error * error;
            worst = std::fabs(error) > std::fabs(worst) ? error : worst;
            sizes.push_back(std::fabs(error));
        }
        const auto n = errors.size();
        EXPECT_EQ(found.count, int(n));
        if (n == 0)
            return;
        EXPECT_NEAR(found.mean, sum / double(n), 1e-6);
        EXPECT_NEAR(found.rms, std::sqrt(squares / double(n)), 1e-6);
        EXPECT_NEAR(found.worst, worst, 1e-6);
        std::sort(sizes.begin(), sizes.end());
        EXPECT_NEAR(found.percentile95, sizes[std::size_t(std::ceil(0.95 * double(n))) - 1], 1e-6);
    }
};

TEST_F(Checked, ErrorsAreThoseThatWerePutIn) {
    CalibrationTruth truth;
    truth.toPlane = plane;
    truth.targetSurface = [](double) { return 0.0; };
    truth.xRange = kRange;
    truth.targetWidth = 60;
    truth.zFirst = 39.97;
    truth.zStep = -0.03;
    truth.zOrigin = kOrigin;
    truth.noise = 0.2;  // the border is 1/32 and 5 times that wide
    std::vector<double> z, x, places;
    std::array<std::vector<double>, 9> ofRegion;
    int inside = 0, filled = 0, border = 0, beyond = 0;
    for (int row = 0; row < 488; ++row) {
        for (int column = 0; column < 648; ++column) {
            const Vector point = plane({double(column), double(row)});
            const bool hasZ = (column + row) % 11 != 0, hasX = (column + row) % 13 != 0;
            const double error =
                column == 300 && row == 200 ? -0.5 : kUnit * ((column * 7 + row * 3) % 20 - 5);
            const double errorOfX = kUnit * std::round((0.5 + 0.004 * (point.x - 80)) / kUnit);
            const bool isBeside =
                (column + 2 * row) % 3 == 0;  // of the cells that the target has not covered
            if (isCovered(column, row) ? hasZ : isBeside)
                set(Half::Z, column, row, point.y + error + kOffset + kOrigin);
            if (isCovered(column, row) ? hasX : isBeside)
                set(Half::X, column, row, point.x + errorOfX);
            if (!isCovered(column, row)) {
                const bool isBorder = isCovered(column, row, 1);
                border += isBorder && isBeside ? 1 : 0;
                beyond += !isBorder && isBeside ? 1 : 0;
                continue;
            }
            ++inside;
            filled += hasZ ? 1 : 0;
            if (hasZ) {
                z.push_back(error);
                ofRegion[std::size_t(row < 163   ? 0
                                     : row < 326 ? 3
                                                 : 6) +
                         std::size_t(column < 216   ? 0
                                     : column < 432 ? 1
                                                    : 2)]
                    .push_back(error);
            }
            if (hasX) {
                x.push_back(errorOfX);
                places.push_back(point.x + errorOfX);
            }
        }
    }
    const TruthReport report = compareWithTruth(table_, units_, truth);
    EXPECT_EQ(report.coverage.inside, inside);
    EXPECT_EQ(report.coverage.insideFilled, filled);
    EXPECT_EQ(report.coverage.border, 2 * 600);
    EXPECT_EQ(report.coverage.borderFilled, border);
    EXPECT_EQ(report.coverage.outside, 648 * 488 - inside - 2 * 600);
    EXPECT_EQ(report.coverage.outsideFilled, beyond);
    ASSERT_EQ(report.maps.size(), 2);
    const ErrorMap &ofZ = report.maps[0], &ofX = report.maps[1];
    expect(ofZ.all, z, "all");
    EXPECT_EQ(ofZ.all.worstColumn, 300);
    EXPECT_EQ(ofZ.all.worstRow, 200);
    for (std::size_t i = 0; i < 9; ++i)
        expect(ofZ.regions[i], ofRegion[i], "a region");
    // X loses its mean, and its slope is that of the truth over the table.
    double mean = 0, meanPlace = 0, xx = 0, xy = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        mean += x[i] / double(x.size());
        meanPlace += places[i] / double(x.size());
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
        xx += (places[i] - meanPlace) * (places[i] - meanPlace);
        xy += (places[i] - meanPlace) * (places[i] - x[i]);
    }
    EXPECT_NEAR(ofX.offset, mean, 1e-9);
    EXPECT_NEAR(ofX.slope, xy / xx, 1e-9);
    for (double& error : x)
        error -= mean;
    expect(ofX.all, x, "x");
    EXPECT_TRUE(std::isnan(ofZ.raster.at(19, 200)));
    EXPECT_TRUE(ofZ.raster.outside[ofZ.raster.cell(19, 200)]);
    EXPECT_FALSE(ofZ.raster.outside[ofZ.raster.cell(20, 200)]);
    // 0.1 mm a row; positions are rounded to 1/32, and 2/3 of the variance of one is that between two.
    const double positions = 0.01 * (1 / 1024.0 / 12 + 0.04) * 2 / 3;
    EXPECT_NEAR(report.expectedRounded, std::sqrt(kUnit * kUnit / 12 + positions), 1e-9);
    EXPECT_NEAR(report.expectedTruncated, std::sqrt(kUnit * kUnit / 3 + positions), 1e-9);
    // The first filled cell that is nearest to the middle of each region that the target has covered.
    ASSERT_EQ(report.samples.size(), 9);
    for (int i = 0; i < 9; ++i) {
        const CellSample& sample = report.samples[i];
        const double middleRow = (i / 3 + 0.5) * 488 / 3, middleColumn = (i % 3 + 0.5) * 216;
        const auto distance = [&](double column, double row) {
            return std::hypot(row - middleRow, column - middleColumn);
        };
        const Vector point = plane({double(sample.column), sample.sensorRow});
        const int row = int(sample.sensorRow);
        EXPECT_TRUE(isCovered(sample.column, row) && (sample.column + row) % 11 != 0) << i;
        for (int r = i / 3 * 488 / 3 + 1; r < (i / 3 + 1) * 488 / 3; ++r) {
            for (int c = i % 3 * 216; c < (i % 3 + 1) * 216; ++c) {
                if (isCovered(c, r) && (c + r) % 11 != 0) {
                    ASSERT_LE(distance(sample.column, row), distance(c, r)) << i;
                }
            }
        }
        EXPECT_NEAR(sample.trueZ, point.y, 1e-12);
        EXPECT_NEAR(sample.trueX, point.x, 1e-12);
        EXPECT_NEAR(sample.z, table_.value(Half::Z, row, sample.column, kRange) - kOffset - kOrigin, 1e-5);
        if ((sample.column + row) % 13 != 0) {
            EXPECT_NEAR(sample.x, table_.value(Half::X, row, sample.column, kRange) - mean, 1e-5);
        }
    }
}

TEST_F(Checked, ARecordIsReadBetweenTheRowsOfTheTable) {
    RawRecord record;
    record.positions.assign(648 * 1000, 0);
    record.parameters.assign(1000, 0);
    for (int row = 0; row < 488; ++row) {
        for (int column = 0; column < 600; ++column)  // none for the last columns
            set(Half::Z, column, row, plane({0, double(row)}).y + 0.02 + kOffset);
    }
    std::vector<double> errors;
    std::vector<double> ofCell;  // of column 7 and row 51
    int found = 0;
    for (int step = 0; step < 1000; ++step) {
        record.parameters[std::size_t(step)] = 10 + 0.03 * step;
        for (int column = 0; column < 648; column += 7) {
            const int position = step % 10 == 9 ? 0 : step % 100 == 50 ? 15616 : 1600 + 96 * step / 10;
            record.positions[std::size_t(column * 1000 + step)] = static_cast<unsigned short>(position);
            if (position == 0 || position == 15616)
                continue;
            ++found;
            if (column >= 600)
                continue;
            errors.push_back(5 + 0.1 * position / 32 + 0.02 - record.parameters[std::size_t(step)]);
            if (column == 7 && position / 32 == 51)
                ofCell.push_back(errors.back());
        }
    }
    const RecordReport report = compareWithRecord(table_, units_, record);
    EXPECT_EQ(report.found, found);
    EXPECT_EQ(report.covered, int(errors.size()));
    expect(report.map.all, errors, "record");
    const Raster& raster = report.map.raster;
    ASSERT_GE(ofCell.size(), 2U);
    EXPECT_NEAR(double(raster.at(7, 51)),
                std::accumulate(ofCell.begin(), ofCell.end(), 0.0) / double(ofCell.size()), 1e-5);
    EXPECT_FALSE(raster.outside[raster.cell(7, 51)]);
    EXPECT_TRUE(raster.outside[raster.cell(8, 51)]);
}

}  // namespace
