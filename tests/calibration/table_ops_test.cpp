#include <kvmath/calibration/table_ops.h>

#include <tests/support/cell_rows.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace KvMath;
using TestSupport::Cells;

Cells randomCells(int count, TestSupport::Draws& draws) {
    Cells cells(static_cast<std::size_t>(count));
    for (auto& cell : cells)
        cell = static_cast<unsigned short>(draws.integer(0, 32767));
    return cells;
}

bool isCut(const CutDiagonalParamsCBR& p, double x, double y) {
    const double bl = double(p.bottomLeftHeight) / p.bottomLeftWidth;
    const double br = double(p.bottomRightHeight) / p.bottomRightWidth;
    const double tl = double(p.topLeftHeight) / p.topLeftWidth;
    const double tr = double(p.topRightHeight) / p.topRightWidth;
    return x > 648.0 - p.rightMargin || x < p.leftMargin || y > 488.0 - p.bottomMargin || y < p.topMargin ||
           (p.bottomLeftWidth != 0 && y > x * bl + 488.0 - p.bottomLeftHeight) ||
           (p.bottomRightWidth != 0 && y > -x * br + (488.0 - p.bottomRightHeight) + 648.0 * br) ||
           (p.topLeftWidth != 0 && x * -tl + p.topLeftHeight > y) ||
           (p.topRightWidth != 0 && x * tr + p.topRightHeight - 648.0 * tr > y);
}

TEST(CutTbl, EqualsTheLiteralConditions) {
    TestSupport::Draws draws(1);
    std::vector<CutDiagonalParamsCBR> cases = {
        {},
        {3, 1, 3, 1, 3, 1, 3, 1, 1, 0, 1, 0},  // flat corners, idle margins
        {0, 0, 0, 0, 0, 0, 0, 0, 2, 10, 2, 1},
        {0, 99, 0, 99, 0, 99, 0, 99, 0, 0, 0, 0},
        {0, 0, 0, 0, 0, 0, 0, 0, INT_MAX, INT_MIN, 0, 0}};
    const auto field = [&](int range) { return draws.chance(0.2) ? 0 : draws.integer(-range / 4, range); };
    for (int i = 0; i < 12; ++i)
        cases.push_back({field(300), field(300), field(300), field(300), field(300), field(300), field(300),
                         field(300), field(20), field(20), field(20), field(20)});
    for (const int extreme : {INT_MIN, INT_MAX})
        cases.push_back(
            {extreme, 5, 7, extreme, extreme, extreme, -3, extreme, INT_MIN, 3, INT_MIN, INT_MIN});
    for (const auto& params : cases) {
        const Cells before = randomCells(kTableCells, draws);
        Cells expected = before;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const int row = static_cast<int>(i / 648) % 1000;
            if (row < 976 && isCut(params, static_cast<double>(i % 648), row / 2))
                expected[i] = 32768;
        }
        Cells tbl = before;
        cutTBL(tbl.data(), params);
        ASSERT_TRUE(tbl == expected) << "case " << &params - cases.data();
    }
}

TEST(ZMirror, PositionsTurnAboutTheSensor) {
    TestSupport::CellRows dtf(kCalibrationSteps);
    const unsigned short pairs[][2] = {{0, 0}, {100, 15516}, {15615, 1}, {15616, 0}, {65535, 0}, {1, 15615}};
    for (int i = 0; i < 6; ++i)
        dtf[647][994 + i] = pairs[i][0];
    zMirrorDTF(dtf.rows());
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(dtf[647][994 + i], pairs[i][1]);
    dtf.pointers[3] = nullptr;
    zMirrorDTF(dtf.rows());
    EXPECT_EQ(dtf[647][995], 15516);
}

TEST(ZMirror, TablesTurn977RowsOfTheHalvesNamed) {
    TestSupport::Draws draws(2);
    const Cells before = randomCells(kTableCells, draws);
    for (const bool z : {false, true}) {
        for (const bool x : {false, true}) {
            Cells tbl = before;
            zMirrorTBL(tbl.data(), z, x);
            for (std::size_t i = 0; i < tbl.size(); ++i) {
                const std::size_t half = i / 648000 * 1000;
                const std::size_t row = i / 648 - half;
                const bool turned = (half == 0 ? z : x) && row <= 976;
                ASSERT_EQ(tbl[i], before[(half + (turned ? 976 - row : row)) * 648 + i % 648]) << i;
            }
        }
    }
}

TEST(Convert625, EqualsTheLiteralComparisonsAlsoInPlace) {
    TestSupport::Draws draws(3);
    const Cells source = randomCells(kCompactCells, draws);
    const int shifts[][2] = {{0, 0},       {3, -5},      {-3, 5},      {647, 511},
                             {648, 0},     {0, 512},     {-647, 0},    {0, -512},
                             {-648, -511}, {INT_MIN, 0}, {0, INT_MIN}, {INT_MAX, INT_MAX}};
    for (const auto& [columns, rows] : shifts) {
        Cells expected(source.size(), 32768);
        for (unsigned i = 0; i < expected.size(); ++i) {
            const unsigned r = static_cast<unsigned>(rows) + i / 648 % 512;
            const unsigned c = static_cast<unsigned>(columns) + i % 648;
            if (r <= 511 && c <= 647)
                expected[i] = source[(i / (512 * 648) * 512 + r) * 648 + c];
        }
        Cells other(source.size(), 1);
        Cells own = source;
        EXPECT_TRUE(convert625to625d(source.data(), other.data(), columns, rows));
        convert625to625d(own.data(), own.data(), columns, rows);
        EXPECT_TRUE(other == expected && own == expected) << columns << ' ' << rows;
    }
}

TEST(TableOps, NullTablesAreLeftAlone) {
    cutTBL(nullptr, {});
    zMirrorDTF(nullptr);
    zMirrorTBL(nullptr, true, true);
    EXPECT_TRUE(convert625to625d(nullptr, nullptr, 0, 0));
}

}  // namespace
