// Strips of columns outside, steps inside. Along a strip neighbouring steps read neighbouring rows of the
// table and the next cells of a few rows of the DTF; the strip is as wide as a cache line of points, so that
// every line of table, DTF and profiles is fetched about once.

#include <kvmath/calibration/dtf_profiles.h>

#include "rows_p.h"

#include <kvmath/profile/profile.h>

#include <cstddef>

namespace KvMath {

namespace {

constexpr std::size_t kSteps = kCalibrationSteps;
constexpr std::size_t kColumns = kSensorColumns;
constexpr std::size_t kStripColumns = 8;
static_assert(kColumns % kStripColumns == 0);

struct Ranges {
    double z, x;
};

/// `cell` points to the table cell of the row in question, the next row lies 648 cells on.
float coordinate(const unsigned short* cell, int f, double range) {
    const int value = cell[0];
    return static_cast<float>((value + (cell[kColumns] - value) * f * 0.5) * range / kUnitsPerRange);
}

/// `column` is the table's cell of row 0 in the column of the position.
KvPointXY pointAt(const unsigned short* column, unsigned position, const Ranges& range) {
    const unsigned rem = position & 31U;
    const std::size_t row = 2 * (position >> 5U) + (rem >> 1U);  // deliberately not position >> 4
    if (row + 1 >= kTableHalfRows)
        return pointAt(column, 0, range);  // the half ends before
    const int f = static_cast<int>(rem & 1U);
    const unsigned short* z = column + row * kColumns;
    return {coordinate(z + kTableHalfRows * kColumns, f, range.x), coordinate(z, f, range.z)};
}

}  // namespace

void calcProfsFromDtf(const unsigned short* tbl, unsigned short** dtf, double zRange, double xRange,
                      KvProfile* profiles) {
    if (tbl == nullptr || profiles == nullptr || !Internal::hasColumns(dtf))
        return;
    for (std::size_t s = 0; s < kSteps; ++s)
        profiles[s].points.reserve(profiles[s].points.size() + kSensorColumns);
    for (std::size_t strip = 0; strip < kColumns; strip += kStripColumns) {
        for (std::size_t s = 0; s < kSteps; ++s) {
            QList<KvPointXY>& points = profiles[s].points;
            for (std::size_t c = strip; c < strip + kStripColumns; ++c)
                points.append(pointAt(tbl + c, dtf[c][s], {zRange, xRange}));
        }
    }
}

}  // namespace KvMath
