#include <kvmath/calibration/pixel_lookup.h>

#include <tests/support/cell_rows.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <map>

namespace {

using TestSupport::CellRows;
constexpr int kFirst = 5, kLast = 20;
constexpr double kStepX = 49000 / 1024.0;  // whole table units

/// Lines of 60 steps that climb unevenly, noisy, with lost columns, folds, strays and positions off the
/// sensor.
struct Record {
    explicit Record(unsigned seed) {
        TestSupport::Draws draws(seed);
        const double rise = draws.chance(0.5) ? 12.3 : -12.3, noise = draws.real(0.0, 30.0);
        for (int s = 0; s < 1000; ++s) {
            const double units = s == 132   ? -0.5
                                 : s == 133 ? 32767.5
                                            : 16.0 * (draws.integer(-20, 20) + 10 * (s - 95));
            params[std::size_t(s)] = s == 130 ? NAN : s == 131 ? 1e300 : units * (49 / 16384.0);  // exact
            for (int c = 0; s >= 100 && s < 160 && c < 40; ++c) {
                const int p = int(8000.0 + rise * s + 3.0 * c + draws.normal(noise));
                const bool lost =
                    draws.chance(0.2) || s == 120 || (s == 140 && c != (seed % 2 == 0 ? kFirst : kLast));
                const int stray = draws.chance(0.01)   ? draws.integer(1, 65535)
                                  : draws.chance(0.01) ? draws.integer(15615, 15616)
                                                       : p;
                dtf[c][s] = static_cast<unsigned short>(lost ? 0 : stray);
            }
        }
    }
    std::vector<int> foundColumns(int s) {
        std::vector<int> found;
        for (int c = kFirst; c <= kLast; ++c)
            if (dtf[c][s] > 0)
                found.push_back(c);
        return found;
    }
    bool areJoined(int s, int t) {
        bool joined = std::abs(s - t) <= 8;
        for (int between = std::min(s, t); between < std::max(s, t); ++between)
            joined = joined && !foundColumns(between).empty();
        return joined;
    }
    CellRows dtf{1000};
    std::vector<double> params = std::vector<double>(1000);
};

unsigned short cellOf(double units, bool triangles) {
    const double value = triangles ? std::floor(units + 0.5) : std::trunc(units);
    return value >= 0 && value <= 32767 ? static_cast<unsigned short>(value) : KvMath::kEmptyCell;
}

/// The lines drawn step after step, pair of found columns after pair; then each cell from the crossing at or
/// before it and, if that is joined, the next one.
template <class Units>
CellRows literal(Record& record, bool triangles, Units units) {
    std::vector<std::map<double, int>> columns(648);  // position to last step
    for (int s = 0; s < 1000; ++s) {
        const std::vector<int> found = record.foundColumns(s);
        for (std::size_t i = 1; i < found.size(); ++i) {
            const int c1 = found[i - 1], c2 = found[i], p1 = record.dtf[c1][s], p2 = record.dtf[c2][s];
            for (int c = c1; c <= c2; ++c) {
                const double part = double((c - c1) * (p2 - p1)) / (c2 - c1);
                const double p = p1 + (triangles ? part : std::trunc(part));
                if (p < 15616)
                    columns[std::size_t(c)][p] = s;
            }
        }
    }
    CellRows out(KvMath::kLookUpCells, KvMath::kEmptyCell);
    for (int c = 0; c < 648; ++c) {
        const auto& crossings = columns[std::size_t(c)];
        for (auto next = crossings.begin(); next != crossings.end();) {
            const auto [from, s] = *next++;
            int p = int(std::ceil(from));
            if (p == from)
                out[c][p++] = cellOf(units(c, s), triangles);
            if (next == crossings.end() || !record.areJoined(s, next->second))
                continue;
            const double slope = (units(c, next->second) - units(c, s)) / (next->first - from);
            for (; p < next->first; ++p)
                out[c][p] = cellOf(units(c, s) + (p - from) * slope, triangles);
        }
    }
    return out;
}

TEST(LookUps, EqualTheLinesDrawnOneByOneAndJoinedStepToStep) {
    CellRows z(KvMath::kLookUpCells), x(KvMath::kLookUpCells);
    for (unsigned round = 0; round < 6; ++round) {
        Record r(round);
        if (round == 5)
            r.params[1] = r.params[0];  // nothing recorded: z from the step number
        const auto unitsZ = [&](int, int s) {
            return (round == 5 ? s * 700.0 / 1000 : r.params[std::size_t(s)]) * 16384 / 49.0;
        };
        const auto unitsX = [](int c, int) { return (c - kFirst) * kStepX / 1000 * 16384 / 49.0; };
        ASSERT_TRUE(KvMath::convert_Pxl2Z(r.dtf.rows(), r.params.data(), 49, 700, kFirst, kLast, z.rows()));
        ASSERT_TRUE(KvMath::convert_Pxl2X(r.dtf.rows(), nullptr, 49, kStepX, kFirst, kLast, x.rows()));
        EXPECT_TRUE(z.cells == literal(r, false, unitsZ).cells && x.cells == literal(r, false, unitsX).cells);
        ASSERT_TRUE(KvMath::convert_Triangles2PxlWithTemplate(r.dtf.rows(), r.params.data(), 49, 49, 700,
                                                              kStepX, kFirst, kLast, z.rows(), x.rows()));
        EXPECT_TRUE(z.cells == literal(r, true, unitsZ).cells && x.cells == literal(r, true, unitsX).cells);
    }
}

// The last record alternates between the ends of the sensor: 10 billion cells if each pair of steps filled
// its own.
TEST(LookUps, RefuseWhatCannotBeBuiltAndEndSoonOnAnything) {
    Record r(6);
    CellRows out(KvMath::kLookUpCells, 7);
    const auto z = [&](double range, double step, int first, int last) {
        return KvMath::convert_Pxl2Z(r.dtf.rows(), r.params.data(), range, step, first, last, out.rows());
    };
    for (const double bad : {double(NAN), double(INFINITY), 0.0, -1.0})
        EXPECT_FALSE(z(bad, 1, 0, 647) ||
                     KvMath::convert_Pxl2X(r.dtf.rows(), nullptr, 1, bad, 0, 9, out.rows()));
    for (const auto& [first, last] : {std::pair(-1, 5), {0, 648}, {9, 8}, {INT_MIN, INT_MAX}})
        EXPECT_FALSE(z(1, 1, first, last));
    EXPECT_FALSE(KvMath::convert_Pxl2Z(nullptr, r.params.data(), 1, 1, 0, 647, out.rows()) ||
                 KvMath::convert_Pxl2Z(r.dtf.rows(), nullptr, 1, 1, 0, 647, out.rows()) ||
                 KvMath::convert_Pxl2X(r.dtf.rows(), nullptr, 1, 1, 0, 647, nullptr));
    for (const auto& [z0, x0] :
         {std::pair(out.rows(), static_cast<unsigned short**>(nullptr)), {nullptr, out.rows()}})
        EXPECT_FALSE(KvMath::convert_Triangles2PxlWithTemplate(r.dtf.rows(), r.params.data(), 1, 1, 1, 1, 0,
                                                               647, z0, x0));
    EXPECT_EQ(out[0][0] + out[647][16383], 14);  // untouched
    EXPECT_FALSE(z(1, NAN, 9, 9));               // one column is no line; the step is not used
    EXPECT_EQ(out.cells, TestSupport::Cells(out.cells.size(), KvMath::kEmptyCell));
    for (std::size_t i = 0; i < r.dtf.cells.size(); ++i)
        r.dtf.cells[i] = static_cast<unsigned short>(i % 2 == 0 ? 1 + i % 1000 : 15615 - i % 1000);
    EXPECT_TRUE(z(1, NAN, 0, 647));
}

}  // namespace
