// Every operation is one pass over the memory of its table, without allocation. For a fixed column each cut
// condition is a bound on y, so that a column keeps one run of rows. The bounds are whole numbers, worked out
// in 64 bits: a cell on the line of a corner cut is decided exactly.

#include <kvmath/calibration/table_ops.h>

#include "rows_p.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace KvMath {

namespace {

constexpr auto kColumns = static_cast<std::size_t>(kSensorColumns);

/// Sensor rows first <= y <= last of a column stay.
struct KeptRows {
    std::array<std::int16_t, kColumns> first, last;
};

/// How many whole rows a corner cut of this height and width has sunk `way` columns from its outer edge: the
/// greatest integer that is not above way * height / width. `width` is not 0.
std::int64_t sunk(std::int64_t way, int height, int width) {
    const std::int64_t product = way * height;
    const std::int64_t quotient = product / width;
    const bool isRoundedUp = product % width != 0 && (product < 0) != (width < 0);
    return quotient - (isRoundedUp ? 1 : 0);
}

KeptRows keptRows(const CutDiagonalParamsCBR& p) {
    constexpr std::int64_t kRows = kSensorRows;
    constexpr std::int64_t kWidth = kSensorColumns;
    KeptRows kept;
    for (std::int64_t x = 0; x < kWidth; ++x) {
        const std::int64_t fromRight = kWidth - x;
        std::int64_t from = p.topMargin;
        std::int64_t to = kRows - p.bottomMargin;
        if (p.topLeftWidth != 0)
            from = std::max(from, p.topLeftHeight - sunk(x, p.topLeftHeight, p.topLeftWidth));
        if (p.topRightWidth != 0)
            from = std::max(from, p.topRightHeight - sunk(fromRight, p.topRightHeight, p.topRightWidth));
        if (p.bottomLeftWidth != 0)
            to = std::min(to, kRows - p.bottomLeftHeight + sunk(x, p.bottomLeftHeight, p.bottomLeftWidth));
        if (p.bottomRightWidth != 0)
            to = std::min(to, kRows - p.bottomRightHeight +
                                  sunk(fromRight, p.bottomRightHeight, p.bottomRightWidth));
        const bool outside = x > kWidth - p.rightMargin || x < p.leftMargin;
        const auto i = static_cast<std::size_t>(x);
        kept.first[i] = static_cast<std::int16_t>(std::clamp<std::int64_t>(from, 0, kRows));
        kept.last[i] = static_cast<std::int16_t>(outside ? -1 : std::clamp<std::int64_t>(to, -1, kRows - 1));
    }
    return kept;
}

void cutRow(unsigned short* row, const KeptRows& kept, std::int16_t y) {
    for (std::size_t c = 0; c < kColumns; ++c) {
        const int stays =
            int(y >= kept.first[c]) & int(y <= kept.last[c]);  // no branch, so that it runs in lanes
        row[c] = stays != 0 ? row[c] : kEmptyCell;
    }
}

void reverseRows(unsigned short* half) {
    constexpr std::size_t kLast = kTableSensorRows;  // 976, deliberately one row beyond the sensor
    for (std::size_t r = 0; r < kLast / 2; ++r)
        std::swap_ranges(half + r * kColumns, half + (r + 1) * kColumns, half + (kLast - r) * kColumns);
}

/// Where the cells of one axis come from: `count` of them from `source` on go to `destination` on.
struct Overlap {
    Overlap(int shift, std::int64_t size)
        : source(std::clamp<std::int64_t>(shift, 0, size)),
          destination(std::clamp<std::int64_t>(-std::int64_t(shift), 0, size)),
          count(std::max<std::int64_t>(size - source - destination, 0)) {}
    std::int64_t source, destination, count;
};

/// Rows in the order in which none is read after it was written, should both tables be one.
void shiftHalf(const unsigned short* source, unsigned short* destination, const Overlap& columns,
               const Overlap& rows) {
    const bool upwards = rows.source > 0;
    for (std::int64_t i = 0; i < kCompactHalfRows; ++i) {
        const std::int64_t r = upwards ? i : kCompactHalfRows - 1 - i;
        unsigned short* to = destination + r * kSensorColumns;
        const std::int64_t offset = r - rows.destination;
        if (offset < 0 || offset >= rows.count || columns.count == 0) {
            std::fill_n(to, kSensorColumns, kEmptyCell);
            continue;
        }
        const unsigned short* from = source + (rows.source + offset) * kSensorColumns + columns.source;
        std::memmove(to + columns.destination, from, std::size_t(columns.count) * sizeof *to);
        std::fill_n(to, columns.destination, kEmptyCell);
        std::fill(to + columns.destination + columns.count, to + kSensorColumns, kEmptyCell);
    }
}

}  // namespace

void cutTBL(unsigned short* tbl, CutDiagonalParamsCBR params) {
    if (tbl == nullptr)
        return;
    const KeptRows kept = keptRows(params);
    for (const std::size_t half : {std::size_t(0), std::size_t(kTableHalfRows)}) {
        for (std::size_t r = 0; r < kTableSensorRows; ++r)
            cutRow(tbl + (half + r) * kColumns, kept, static_cast<std::int16_t>(r / 2));
    }
}

void zMirrorDTF(unsigned short** dtf) {
    if (!Internal::hasColumns(dtf))
        return;
    for (std::size_t c = 0; c < kColumns; ++c) {
        for (std::size_t s = 0; s < kCalibrationSteps; ++s) {
            const unsigned short v = dtf[c][s];
            dtf[c][s] = Internal::isOnSensor(v) ? static_cast<unsigned short>(kSensorPositions - v)
                                                : static_cast<unsigned short>(0);
        }
    }
}

void zMirrorTBL(unsigned short* tbl, bool mirrorZ, bool mirrorX) {
    if (tbl == nullptr)
        return;
    if (mirrorZ)
        reverseRows(tbl);
    if (mirrorX)
        reverseRows(tbl + kTableHalfRows * kColumns);
}

bool convert625to625d(const unsigned short* source, unsigned short* destination, int columnShift,
                      int rowShift) {
    if (source == nullptr || destination == nullptr)
        return true;
    const Overlap columns(columnShift, kSensorColumns);
    const Overlap rows(rowShift, kCompactHalfRows);
    constexpr std::size_t kHalf = kCompactHalfRows * kColumns;
    shiftHalf(source, destination, columns, rows);
    shiftHalf(source + kHalf, destination + kHalf, columns, rows);
    return true;
}

}  // namespace KvMath
