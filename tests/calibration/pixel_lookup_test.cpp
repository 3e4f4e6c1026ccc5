#include <kvmath/calibration/pixel_lookup.h>

#include <tests/support/cell_rows.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <map>

namespace {

using namespace KvMath;
using TestSupport::CellRows;

constexpr int kFirst = 5;
constexpr int kLast = 20;

struct Record {
    CellRows dtf{kCalibrationSteps};
    std::vector<double> params = std::vector<double>(kCalibrationSteps);
};

/// Lines of 60 steps that climb unevenly, noisy, with lost columns, folds, strays and positions off the
/// sensor.
void draw(Record& record, TestSupport::Draws& draws) {
    const bool climbs = draws.chance(0.5);
    const double noise = draws.real(0.0, 30.0);
    for (int s = 100; s < 160; ++s) {
        for (int c = 0; c < 40; ++c) {
            const double p = 8000.0 + (climbs ? 12.3 : -12.3) * s + 3.0 * c + draws.normal(noise);
            const bool lost = draws.chance(0.2) || s == 120 || (s == 140 && c != 9) || (s == 150 && c > 30);
            const bool stray = draws.chance(0.01);
            if (!lost)
                record.dtf[c][s] = static_cast<unsigned short>(stray ? draws.integer(1, 65535) : int(p));
        }
    }
    for (int s = 0; s < kCalibrationSteps; ++s)
        record.params[std::size_t(s)] = draws.real(-1.0, 1.0) + 0.5 * (s - 95);
    record.params[130] = std::numeric_limits<double>::quiet_NaN();
    record.params[131] = 1e300;
}

std::vector<int> foundColumns(Record& record, int s) {
    std::vector<int> found;
    for (int c = kFirst; c <= kLast; ++c)
        if (record.dtf[c][s] > 0 && record.dtf[c][s] < 15616)
            found.push_back(c);
    return found;
}

/// The lines drawn step after step, pair of found columns after pair: position to last step, per column.
std::vector<std::map<double, int>> drawnLines(Record& record, bool triangles) {
    std::vector<std::map<double, int>> columns(kSensorColumns);
    for (int s = 0; s < kCalibrationSteps; ++s) {
        const std::vector<int> found = foundColumns(record, s);
        for (std::size_t i = 1; i < found.size(); ++i) {
            const int c1 = found[i - 1], c2 = found[i];
            const int p1 = record.dtf[c1][s], p2 = record.dtf[c2][s];
            for (int c = c1; c <= c2; ++c) {
                const double part = double((c - c1) * (p2 - p1)) / (c2 - c1);
                columns[std::size_t(c)][p1 + (triangles ? part : std::trunc(part))] = s;
            }
        }
    }
    return columns;
}

unsigned short cellOf(double units, bool triangles) {
    const double value = triangles ? std::floor(units + 0.5) : std::trunc(units);
    return value >= 0 && value <= 32767 ? static_cast<unsigned short>(value) : kEmptyCell;
}

/// Cell by cell: the crossing at or before the position, and the next one if it is joined.
template <class Units>
void expectCells(Record& record, bool triangles, CellRows& actual, Units units) {
    const auto lines = drawnLines(record, triangles);
    const auto joined = [&](int s, int t) {
        bool gap = std::abs(s - t) > 8;
        for (int between = std::min(s, t); between < std::max(s, t); ++between)
            gap = gap || foundColumns(record, between).empty();
        return !gap;
    };
    for (int c = 0; c < kSensorColumns; ++c) {
        std::vector<unsigned short> column(kLookUpCells, kEmptyCell);
        const auto& crossings = lines[std::size_t(c)];
        for (auto next = crossings.begin(); next != crossings.end();) {
            const auto [from, s] = *next++;
            const int first = static_cast<int>(std::ceil(from));
            if (first == from)
                column[std::size_t(first)] = cellOf(units(c, s), triangles);
            if (next == crossings.end() || !joined(s, next->second))
                continue;
            const double slope = (units(c, next->second) - units(c, s)) / (next->first - from);
            for (int p = first; p < next->first; ++p)
                if (p != from)
                    column[std::size_t(p)] = cellOf(units(c, s) + (p - from) * slope, triangles);
        }
        ASSERT_TRUE(std::equal(column.begin(), column.end(), actual[c])) << "column " << c;
    }
}

TEST(LookUps, EqualTheLinesDrawnOneByOneAndJoinedStepToStep) {
    TestSupport::Draws draws(5);
    CellRows z(kLookUpCells), x(kLookUpCells);
    for (int round = 0; round < 6; ++round) {
        Record record;
        draw(record, draws);
        if (round == 5)
            record.params[1] = record.params[0];  // nothing recorded: z from the step number
        const auto unitsZ = [&](int, int s) {
            return (round == 5 ? s * 700.0 / 1000 : record.params[std::size_t(s)]) * 16384 / 90.0;
        };
        const auto unitsX = [](int c, int) { return (c - kFirst) * 333.3 / 1000 * 16384 / 50.0; };
        ASSERT_TRUE(
            convert_Pxl2Z(record.dtf.rows(), record.params.data(), 90.0, 700.0, kFirst, kLast, z.rows()));
        ASSERT_TRUE(convert_Pxl2X(record.dtf.rows(), nullptr, 50.0, 333.3, kFirst, kLast, x.rows()));
        expectCells(record, false, z, unitsZ);
        expectCells(record, false, x, unitsX);
        ASSERT_TRUE(convert_Triangles2PxlWithTemplate(record.dtf.rows(), record.params.data(), 90.0, 50.0,
                                                      700.0, 333.3, kFirst, kLast, z.rows(), x.rows()));
        expectCells(record, true, z, unitsZ);
        expectCells(record, true, x, unitsX);
    }
}

TEST(LookUps, RefuseWhatCannotBeBuilt) {
    Record record;
    TestSupport::Draws draws(6);
    draw(record, draws);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    CellRows out(kLookUpCells, 7);
    const auto z = [&](double range, double step, int first, int last) {
        return convert_Pxl2Z(record.dtf.rows(), record.params.data(), range, step, first, last, out.rows());
    };
    for (const double bad : {nan, inf, -inf, 0.0, -1.0}) {
        EXPECT_FALSE(z(bad, 1.0, 0, 647));
        EXPECT_FALSE(convert_Pxl2X(record.dtf.rows(), nullptr, 1.0, bad, 0, 647, out.rows()));
    }
    for (const auto& [first, last] : {std::pair(-1, 5), {0, 648}, {9, 8}, {INT_MIN, INT_MAX}})
        EXPECT_FALSE(z(1.0, 1.0, first, last));
    EXPECT_FALSE(convert_Pxl2Z(record.dtf.rows(), nullptr, 1.0, 1.0, 0, 647, out.rows()));
    EXPECT_FALSE(convert_Pxl2Z(nullptr, record.params.data(), 1.0, 1.0, 0, 647, out.rows()));
    EXPECT_EQ(out.cells, TestSupport::Cells(out.cells.size(), 7));
    EXPECT_TRUE(z(1.0, nan, 0, 647));  // a step that is not used is not looked at
    EXPECT_FALSE(z(1.0, 1.0, 9, 9));   // one column is no line
    EXPECT_EQ(out.cells, TestSupport::Cells(out.cells.size(), kEmptyCell));
}

// Alternating ends of the sensor in every column: 10 billion cells if each pair of steps were filled anew.
TEST(LookUps, CostIsBoundedByStepsAndCells) {
    Record record;
    for (int c = 0; c < kSensorColumns; ++c)
        for (int s = 0; s < kCalibrationSteps; ++s)
            record.dtf[c][s] = static_cast<unsigned short>(s % 2 == 0 ? 1 + s : 15615 - s);
    record.params[0] = 1;
    CellRows z(kLookUpCells);
    EXPECT_TRUE(convert_Pxl2Z(record.dtf.rows(), record.params.data(), 1, 1, 0, 647, z.rows()));
}

}  // namespace
