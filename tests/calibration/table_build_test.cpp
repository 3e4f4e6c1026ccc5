#include <kvmath/calibration/table_build.h>

#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/profile/profile.h>
#include <simulator/triangulation_scanner.h>
#include <tests/support/cell_rows.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace KvMath;
using TestSupport::CellRows;
using TestSupport::Cells;

constexpr double kZRange = 100.0;
constexpr double kXRange = 140.0;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A record of the simulated scanner, whose true mapping is known.
struct Scan {
    explicit Scan(double noise, double missing) {
        recipe.noise = noise;
        recipe.missing = missing;
        record = *Simulator::simulateCalibration(recipe);
        columns = record.columns();
    }
    unsigned short** dtf() { return columns.data(); }
    const double* params() const { return record.parameters.data(); }
    bool buildCompact(bool triangles, Cells& table, int& first, int& last) {
        const auto build = triangles ? calc_XandZ_Triangles : calc_XandZ;
        return build(dtf(), params(), kZRange, kXRange, 100.0, 200.0, 3, 640, first, last, table.data());
    }
    Simulator::CalibrationRecipe recipe;
    Simulator::CalibrationRecord record;
    std::array<unsigned short*, kSensorColumns> columns{};
};

/// Row r of `half` is look-up cell r * step in columns first ... last, and empty elsewhere.
void expectRows(const unsigned short* half, int rows, int step, int first, int last, CellRows& lookUp) {
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < kSensorColumns; ++c) {
            const bool inside = c >= first && c <= last && r * step < kLookUpCells;
            ASSERT_EQ(half[r * kSensorColumns + c], inside ? lookUp[c][r * step] : kEmptyCell)
                << r << ' ' << c;
        }
    }
}

TEST(Builders, TakeTheRowsOfTheLookUpsInsideWindowAndLimits) {
    Scan scan(0.1, 0.1);
    CellRows z(kLookUpCells), x(kLookUpCells);
    convert_Pxl2Z(scan.dtf(), scan.params(), kZRange, 100.0, 3, 640, z.rows());
    convert_Pxl2X(scan.dtf(), scan.params(), kXRange, 200.0, 3, 640, x.rows());
    Cells full(kTableCells, 7), compact(kCompactCells, 7);
    int first = 10, last = 600;
    ASSERT_TRUE(calc_Z(scan.dtf(), scan.params(), kZRange, 100.0, 3, 640, first, last, full.data()));
    expectRows(full.data(), 1000, 16, 10, 600, z);
    EXPECT_EQ(Cells(full.begin() + 648000, full.end()), Cells(648000, 7));
    first = 0;
    ASSERT_TRUE(calc_X(scan.dtf(), scan.params(), kXRange, 200.0, 3, 640, first, last, full.data()));
    EXPECT_EQ(std::pair(first, last), std::pair(1, 647));  // the simulated line fills the sensor
    expectRows(full.data() + 648000, 1000, 16, 3, 640, x);
    ASSERT_TRUE(scan.buildCompact(false, compact, first, last));
    expectRows(compact.data(), 512, 32, 3, 640, z);
    expectRows(compact.data() + 512 * 648, 512, 32, 3, 640, x);
    convert_Triangles2PxlWithTemplate(scan.dtf(), scan.params(), kZRange, kXRange, 100.0, 200.0, 3, 640,
                                      z.rows(), x.rows());
    ASSERT_TRUE(scan.buildCompact(true, compact, first, last));
    expectRows(compact.data(), 512, 32, 3, 640, z);
    expectRows(compact.data() + 512 * 648, 512, 32, 3, 640, x);
}

// A position is rounded to 1/32 pixel and disturbed by the noise; between two steps the errors of both mix,
// so that the bound of a single crossing holds. A truncated value is half a unit low, a rounded one is not.
TEST(Builders, ZIsTrueWithinTruncationPositionsAndNoise) {
    for (const bool triangles : {false, true}) {
        for (const double noise : {0.0, 0.2}) {
            Scan scan(noise, 0.02);
            const Simulator::TriangulationScanner scanner(scan.recipe.scanner);
            Cells table(kCompactCells);
            int first = 0, last = 0;
            ASSERT_TRUE(scan.buildCompact(triangles, table, first, last));
            double sum = 0, squares = 0, bound = 0, cells = 0, measured = 0;
            for (int r = 1; r < kSensorRows; ++r) {
                for (int c = 3; c <= 640; ++c) {
                    const auto truth = scanner.toPlane({double(c), double(r)});
                    const double perRow =
                        (scanner.toPlane({double(c), r + 0.5}).y - scanner.toPlane({double(c), r - 0.5}).y) /
                        kZRange * 16384;
                    const double margin = std::abs(perRow) * (0.02 + 4 * noise) * kZRange / 16384;
                    const double depth = std::min({truth.y, 99.9 - truth.y, 59 - std::abs(truth.x - 70)});
                    const auto cell = table[std::size_t(r * kSensorColumns + c)];
                    measured += depth > margin + 1.0 ? 1 : 0;
                    if (cell == kEmptyCell) {
                        ASSERT_LT(depth, margin + 1.0) << r << ' ' << c;
                        continue;
                    }
                    ASSERT_GT(depth, -margin) << r << ' ' << c;
                    const double error = cell - truth.y / kZRange * 16384;
                    sum += error;
                    squares += error * error;
                    bound += 1 / 12.0 + perRow * perRow * (1 / 12.0 / 1024 + noise * noise);
                    ++cells;
                }
            }
            ASSERT_GT(measured, 100'000);
            const double bias = triangles ? 0.0 : -0.5;
            EXPECT_NEAR(sum / cells, bias, noise > 0 ? 0.3 : 0.02);
            EXPECT_LT(std::sqrt(squares / cells), std::sqrt(bound / cells + bias * bias));
        }
    }
}

TEST(Builders, GapsCountBeforeStep500) {
    for (const auto& [from, fails] : {std::pair(498, true), {499, true}, {500, false}}) {
        CellRows dtf(kCalibrationSteps);
        std::vector<double> params(kCalibrationSteps);
        for (int s = 3; s < kCalibrationSteps; ++s)
            for (const int c : {100, 300})
                dtf[c][s] = static_cast<unsigned short>(s == from ? 0 : 10 * s);
        Cells table(kCompactCells, 7);
        int first = 5, last = 700;
        const bool built =
            calc_XandZ(dtf.rows(), params.data(), 1, 1, 1, 1, 0, 647, first, last, table.data());
        EXPECT_EQ(built, !fails) << from;
        EXPECT_EQ(table[0], fails ? 7 : kEmptyCell);  // untouched on failure
        EXPECT_EQ(std::pair(first, last), fails ? std::pair(5, 700) : std::pair(100, 300));
    }
}

TEST(Builders, FailWhereLimitsCannotBeDerived) {
    CellRows dtf(kCalibrationSteps);
    std::vector<double> params(kCalibrationSteps);
    Cells table(kTableCells, 7);
    int first = 9, last = 9;
    const auto build = [&] {
        return calc_X(dtf.rows(), params.data(), 1, 1, 0, 647, first, last, table.data());
    };
    EXPECT_FALSE(build());
    EXPECT_EQ(std::pair(first, last), std::pair(0, 0));
    dtf[0][5] = dtf[400][5] = 77;  // column 0 is never inside
    EXPECT_FALSE(build());
    EXPECT_EQ(std::pair(first, last), std::pair(400, 400));
    EXPECT_FALSE(calc_X(dtf.rows(), params.data(), kNaN, 1, 0, 647, first, last, table.data()));
    EXPECT_FALSE(calc_X(dtf.rows(), params.data(), 1, 1, 0, 647, first, last, nullptr));
    EXPECT_EQ(table, Cells(kTableCells, 7));
}

TEST(Gradient, IsCentralInsideOneSidedAtTheEndsAndUnsetBesideEmptyCells) {
    Cells table(kTableCells);
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<unsigned short>(i / 648 % 1000 * (i / 648 % 1000) / 50);
    table[500 * 648 + 3] = kEmptyCell;
    std::vector<double> z(976 * 648), x(z);
    ASSERT_TRUE(gradientXandZtables(table.data(), 32.0, 16384.0, z.data(), x.data()));
    const auto v = [](int r) { return double(r * r / 50); };
    EXPECT_EQ(x[0], v(2));
    EXPECT_EQ(x[975 * 648], v(975) - v(973));
    EXPECT_EQ(x[300 * 648 + 647], (v(302) - v(298)) / 2);
    EXPECT_EQ(z[300 * 648], (v(302) - v(298)) / 2 * 32 / 16384);
    EXPECT_TRUE(std::isnan(z[498 * 648 + 3]) && std::isnan(z[502 * 648 + 3]) &&
                !std::isnan(z[500 * 648 + 3]));
    EXPECT_FALSE(gradientXandZtables(table.data(), kNaN, 1.0, z.data(), x.data()));
    EXPECT_TRUE(gradientXandZtables(table.data(), 1.0, 1.0, nullptr, nullptr));
}

TEST(Exposure, IsTheShareOfColumnsTimesTheShareOfEvenPairs) {
    KvProfile profile;
    double score = 7;
    EXPECT_FALSE(checkExposure(profile, 1, 0.1, score));
    EXPECT_EQ(score, 0);
    for (int i = 0; i < 324; ++i)
        profile.append({float(i), i < 162 ? 0.0F : 1.0F}, false);
    profile.append({1, std::numeric_limits<float>::quiet_NaN()}, false);
    EXPECT_TRUE(checkExposure(profile, 1.0F, 0.5, score));  // a jump of just 1 is even
    EXPECT_EQ(score, 0.5);
    EXPECT_FALSE(checkExposure(profile, 0.99F, 0.5, score));
    EXPECT_EQ(score, 0.5 * (322.0 / 323.0));
    EXPECT_FALSE(checkExposure(profile, 1.0F, kNaN, score));
}

}  // namespace
