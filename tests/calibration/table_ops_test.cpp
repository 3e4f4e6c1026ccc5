#include <kvmath/calibration/table_ops.h>

#include <tests/support/cell_rows.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <climits>

namespace {

using TestSupport::Cells;
using Params = KvMath::CutDiagonalParamsCBR;

Cells randomCells(int count, TestSupport::Draws& draws) {
    Cells cells(std::size_t(count), 0);
    for (auto& cell : cells)
        cell = static_cast<unsigned short>(draws.integer(0, 32767));
    return cells;
}

/// The conditions as they are written, in fractions that nothing rounds: a > b / width.
bool isCut(const Params& p, long long x, long long y) {
    const auto exceeds = [](long long a, long long b, int width) {
        return width > 0 ? a * width > b : width < 0 && a * width < b;
    };
    const long long bl = p.bottomLeftHeight, br = p.bottomRightHeight, tl = p.topLeftHeight,
                    tr = p.topRightHeight, fromRight = 648 - x;
    return x > 648LL - p.rightMargin || x < p.leftMargin || y > 488LL - p.bottomMargin || y < p.topMargin ||
           exceeds(y - 488 + bl, x * bl, p.bottomLeftWidth) ||
           exceeds(y - 488 + br, fromRight * br, p.bottomRightWidth) ||
           exceeds(tl - y, x * tl, p.topLeftWidth) || exceeds(tr - y, fromRight * tr, p.topRightWidth);
}

// Of corners of up to 150 pixels one in twenty has a cell on its line that a quotient in double puts beside
// it.
TEST(CutTbl, EqualsTheLiteralConditionsExactly) {
    TestSupport::Draws draws(1);
    std::vector<Params> cases = {
        {}, {3, 1, 3, 1, 3, 1, 3, 1, 1, 0, 1, 0}, {0, 9, 0, 9, 0, 9, 0, 9, 2, 10, 2, 1}};
    for (const int range : {300, 300, 300, 300, INT_MAX, INT_MAX}) {
        const auto f = [&] { return draws.chance(0.2) ? 0 : draws.integer(-range / 4, range); };
        const auto m = [&] { return draws.chance(0.2) ? INT_MIN : draws.integer(-2, 20); };
        cases.push_back({f(), f(), f(), f(), f(), f(), f(), f(), m(), m(), m(), m()});
    }
    for (int i = 0; i < 40; ++i) {
        const auto f = [&] { return draws.integer(1, 150); };
        cases.push_back({f(), f(), f(), f(), f(), f(), f(), f(), 0, 0, 0, 0});
    }
    const Cells before = randomCells(KvMath::kTableCells, draws);
    std::vector<bool> cut(488 * 648);
    for (const auto& params : cases) {
        for (std::size_t i = 0; i < cut.size(); ++i)
            cut[i] = isCut(params, static_cast<long long>(i % 648), static_cast<long long>(i / 648));
        Cells tbl = before, expected = before;
        for (std::size_t i = 0; i < expected.size(); ++i)
            if (i / 648 % 1000 < 976 && cut[i / 648 % 1000 / 2 * 648 + i % 648])
                expected[i] = 32768;
        KvMath::cutTBL(tbl.data(), params);
        ASSERT_TRUE(tbl == expected) << "case " << &params - cases.data();
    }
}

TEST(Convert625, NullTablesAreLeftAlone) {
    Cells one(std::size_t(KvMath::kTableCells), 7);
    TestSupport::CellRows gap(1000, 7);
    gap.pointers[647] = nullptr;
    KvMath::cutTBL(nullptr, {});
    KvMath::zMirrorTBL(nullptr, true, true);
    KvMath::zMirrorDTF(nullptr);
    KvMath::zMirrorDTF(gap.rows());
    EXPECT_TRUE(KvMath::convert625to625d(nullptr, one.data(), 1, 1) &&
                KvMath::convert625to625d(one.data(), nullptr, 1, 1));
    EXPECT_TRUE(one == Cells(one.size(), 7) && gap.cells == Cells(gap.cells.size(), 7));
}

TEST(ZMirror, TurnsPositionsAboutTheSensorAndTablesBy977Rows) {
    TestSupport::Draws draws(2);
    TestSupport::CellRows dtf(1000);
    const Cells positions = {0, 100, 15615, 15616, 65535};
    std::copy(positions.begin(), positions.end(), dtf[647]);
    KvMath::zMirrorDTF(dtf.rows());
    EXPECT_EQ(Cells(dtf[647], dtf[647] + 5), (Cells{0, 15516, 1, 0, 0}));
    const Cells before = randomCells(KvMath::kTableCells, draws);
    for (const bool z : {false, true}) {
        Cells tbl = before;
        KvMath::zMirrorTBL(tbl.data(), z, !z);
        for (std::size_t i = 0; i < tbl.size(); ++i) {
            const bool turned = (i < 648000) == z && i / 648 % 1000 <= 976;
            ASSERT_EQ(tbl[i], before[turned ? i + 976 * 648 - 2 * 648 * (i / 648 % 1000) : i]);
        }
    }
}

TEST(Convert625, EqualsTheLiteralComparisonsAlsoInPlace) {
    TestSupport::Draws draws(3);
    const Cells source = randomCells(KvMath::kCompactCells, draws);
    for (const auto& [columns, rows] : {std::pair(0, 0),
                                        {3, -5},
                                        {-3, 5},
                                        {647, 511},
                                        {648, 0},
                                        {0, 512},
                                        {-647, -511},
                                        {-648, 0},
                                        {INT_MIN, 0},
                                        {0, INT_MIN},
                                        {INT_MAX, INT_MAX}}) {
        Cells expected(source.size(), 32768), other(source.size(), 1), own = source;
        for (unsigned i = 0; i < expected.size(); ++i) {
            const unsigned r = unsigned(rows) + i / 648 % 512, c = unsigned(columns) + i % 648;
            if (r <= 511 && c <= 647)
                expected[i] = source[(i / (512 * 648) * 512 + r) * 648 + c];
        }
        EXPECT_TRUE(KvMath::convert625to625d(source.data(), other.data(), columns, rows));
        KvMath::convert625to625d(own.data(), own.data(), columns, rows);
        EXPECT_TRUE(other == expected && own == expected) << columns << ' ' << rows;
    }
}

}  // namespace
