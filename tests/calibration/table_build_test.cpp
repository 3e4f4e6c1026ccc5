#include <kvmath/calibration/table_build.h>

#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/profile/profile.h>
#include <simulator/triangulation_scanner.h>
#include <tests/support/cell_rows.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace KvMath;
using TestSupport::CellRows;
using TestSupport::Cells;

/// A record of the simulated scanner, whose true mapping is known, and a compact table from it.
struct Scan {
    Scan(bool triangles, double noise) {
        recipe.noise = noise;
        recipe.missing = 0.02;
        record = *Simulator::simulateCalibration(recipe);
        columns = record.columns();
        EXPECT_TRUE((triangles ? calc_XandZ_Triangles : calc_XandZ)(dtf(), params(), 100, 140, 100, 200, 3,
                                                                    640, first, last, table.data()));
    }
    unsigned short** dtf() { return columns.data(); }
    const double* params() const { return record.parameters.data(); }
    Simulator::CalibrationRecipe recipe;
    KvMath::CalibrationRecord record;
    std::array<unsigned short*, 648> columns{};
    Cells table = Cells(kTableCells, 7);
    int first = 0, last = 0;
};

/// Row r of a half is look-up cell r * step in columns first ... last, and empty elsewhere.
void expectRows(const unsigned short* half, int rows, int first, int last, CellRows& lookUp) {
    for (int i = 0; i < rows * 648; ++i) {
        const int p = i / 648 * (rows == 512 ? 32 : 16), c = i % 648;
        ASSERT_EQ(half[i], c >= first && c <= last && p < 15616 ? lookUp[c][p] : kEmptyCell) << i;
    }
}

TEST(Builders, TakeTheRowsOfTheLookUpsInsideWindowAndLimits) {
    CellRows z(kLookUpCells), x(kLookUpCells);
    Scan t(true, 0.1), s(false, 0.1);
    EXPECT_EQ(std::pair(s.first, s.last), std::pair(1, 647));  // the simulated line fills the sensor
    convert_Triangles2PxlWithTemplate(t.dtf(), t.params(), 100, 140, 100, 200, 3, 640, z.rows(), x.rows());
    expectRows(t.table.data(), 512, 3, 640, z);
    expectRows(t.table.data() + 512 * 648, 512, 3, 640, x);
    convert_Pxl2Z(s.dtf(), s.params(), 100, 100, 3, 640, z.rows());
    convert_Pxl2X(s.dtf(), s.params(), 140, 200, 3, 640, x.rows());
    expectRows(s.table.data(), 512, 3, 640, z);
    expectRows(s.table.data() + 512 * 648, 512, 3, 640, x);
    EXPECT_TRUE(calc_X(s.dtf(), s.params(), 140, 200, 3, 640, s.first, s.last, s.table.data()));
    EXPECT_TRUE(calc_Z(s.dtf(), s.params(), 100, 100, 3, 640, s.first = 10, s.last = 600, s.table.data()));
    expectRows(s.table.data(), 1000, 10, 600, z);
    expectRows(s.table.data() + 648000, 1000, 3, 640, x);
}

// Table units. A position is rounded to 1/32 pixel and disturbed by the noise; a truncated value is half a
// unit low.
TEST(Builders, ZIsTrueWithinTruncationPositionsAndNoiseAndOnlyWhereMeasured) {
    for (const auto& [triangles, noise] : {std::pair(false, 0.0), {true, 0.0}, {false, 0.2}}) {
        const Scan scan(triangles, noise);
        const Simulator::TriangulationScanner scanner(scan.recipe.scanner);
        double sum = 0, squares = 0, bound = 0, cells = 0;
        for (int i = 648; i < 488 * 648; ++i) {
            const double r = i / 648, c = i % 648;
            const auto truth = scanner.toPlane({c, r});
            const double perRow = scanner.toPlane({c, r + 0.5}).y - scanner.toPlane({c, r - 0.5}).y;
            const double inside = std::min({truth.y, 99.9 - truth.y, 59 - std::abs(truth.x - 70)});  // mm
            const double blur = std::abs(perRow) * (0.02 + 5 * noise);
            const bool filled = scan.table[std::size_t(i)] != kEmptyCell;
            ASSERT_TRUE(filled ? inside > -blur : inside < blur + 1 || c < 3 || c > 640) << r << ' ' << c;
            const double error = filled ? scan.table[std::size_t(i)] - truth.y * 163.84 : 0;
            sum += error;
            squares += error * error;
            bound += filled ? 1 / 12.0 + std::pow(perRow * 163.84, 2) * (1 / 12288.0 + noise * noise) : 0;
            cells += filled ? 1 : 0;
        }
        const double bias = triangles ? 0.0 : -0.5;
        EXPECT_NEAR(sum / cells, bias, noise > 0 ? 0.3 : 0.02);
        EXPECT_LT(squares / cells, bound / cells + bias * bias);
    }
}

TEST(Builders, DeriveLimitsAndFailAtGapsBeforeStep500) {
    const std::vector<double> params(1000);
    for (auto [gap, first, last] : {std::tuple(498, 0, 5), {499, 1, 648}, {500, 5, 700}, {0, 7, 7}}) {
        // 0: one line, from column 0 to 300
        CellRows dtf(1000);
        for (int s = 3; gap > 0 && s < 1000; ++s)
            dtf[100][s] = dtf[300][s] = static_cast<unsigned short>(s == gap ? 0 : 10 * s);
        dtf[0][999] = dtf[300][999] = 64;  // column 0 is never inside limits
        Cells table(kTableCells, 7);
        const bool isWhole = gap == 500 || gap == 0;
        const auto limits = isWhole ? std::pair(gap > 0 ? 100 : 300, 300) : std::pair(first, last);
        const bool x = calc_X(dtf.rows(), params.data(), 1, 1, 0, 647, first, last, table.data());
        EXPECT_EQ(std::pair(first, last), limits);
        EXPECT_TRUE(x == (gap == 500) && (x || table == Cells(kTableCells, 7)));
        EXPECT_EQ(calc_Z(dtf.rows(), params.data(), 1, 1, 0, 647, first, last, table.data()), gap == 500);
        EXPECT_EQ(calc_XandZ(dtf.rows(), params.data(), 1, 1, 1, 1, 0, 647, first, last, table.data()),
                  isWhole);
        EXPECT_FALSE(calc_XandZ(dtf.rows(), params.data(), 1, NAN, 1, 1, 0, 647, first, last, table.data()) ||
                     calc_XandZ(dtf.rows(), params.data(), 1, 1, 1, 1, 0, 647, first, last, nullptr) ||
                     calc_Z(dtf.rows(), params.data(), 1, NAN, 0, 647, first, last, table.data()) ||
                     calc_Z(dtf.rows(), params.data(), 1, 1, 0, 647, first, last, nullptr));
        EXPECT_EQ(table[514 * 648], isWhole ? 0 : 7);  // X of column 0 at position 64
    }
}

TEST(Scores, GradientsPerSensorRowAndExposure) {
    Cells table(kTableCells);
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<unsigned short>(i / 648 % 1000 * (i / 648 % 1000) / 32);
    table[500 * 648 + 3] = table[976 * 648 + 3] = kEmptyCell;  // row 976 is beyond the sensor
    std::vector<double> z(976 * 648), x(z);
    ASSERT_TRUE(gradientXandZtables(table.data(), 32, 16384, z.data(), x.data()));
    EXPECT_EQ(x[32 * 648], 4);  // d(r^2 / 32) over two half rows, r^2 / 8 by the sensor row
    EXPECT_EQ(z[320 * 648], 40 * 32 / 16384.0);
    EXPECT_EQ(x[975 * 648], 29707 - 29585);  // of rows 975 and 973
    EXPECT_TRUE(std::isnan(z[498 * 648 + 3]) && std::isnan(z[502 * 648 + 3]) &&
                !std::isnan(z[500 * 648 + 3] + z[974 * 648 + 3]));
    EXPECT_FALSE(gradientXandZtables(table.data(), NAN, 1, z.data(), x.data()) ||
                 gradientXandZtables(table.data(), 1, 0, z.data(), x.data()) ||
                 gradientXandZtables(nullptr, 1, 1, z.data(), x.data()));
    EXPECT_TRUE(gradientXandZtables(table.data(), 0.5, 16384, z.data(), nullptr) &&
                gradientXandZtables(table.data(), 32, 8192, nullptr, x.data()));
    EXPECT_TRUE(z[320 * 648] == 40 * 0.5 / 16384.0 && x[32 * 648] == 2) << "either alone";

    KvProfile profile;
    double score = 7;
    EXPECT_TRUE(!checkExposure(profile, 1, 0.1, score) && score == 0);
    for (int i = 0; i < 325; ++i)
        profile.append({float(i), i == 324 ? NAN : float(i / 162)}, false);
    EXPECT_TRUE(checkExposure(profile, 1, 0.5, score) && score == 0.5);  // a jump of just 1 is even
    EXPECT_TRUE(!checkExposure(profile, 0.99F, 0.5, score) && score == 0.5 * (322.0 / 323.0));
}

}  // namespace
