// The tables are filled directly: of a look-up column only the cells of the table's rows are worked out,
// which gives the same values without 21 megabytes of look-up for each coordinate.

#include <kvmath/calibration/table_build.h>

#include "column_walk_p.h"
#include "rows_p.h"

#include <algorithm>

namespace KvMath {

namespace {

using Internal::BuildRequest;
using Internal::ColumnWalk;
using Internal::Form;

/// Steps 500 and up may have gaps: the target may have left the range by then.
constexpr int kGapFreeSteps = 500;

/// Rows of a table and the halves in it that are built; `z` and `x` point to their first row.
struct Halves {
    unsigned short *z, *x;
    int rows;
    int positionStep;
};

bool hasLine(const unsigned short* column) {
    return std::any_of(column, column + kCalibrationSteps, Internal::isFound);
}

bool areInOrder(int first, int last) { return first >= 1 && last < kSensorColumns && first < last; }

/// Keeps limits that are in order, else derives them; false when they still are not.
bool settleLimits(unsigned short** dtf, int& first, int& last) {
    if (areInOrder(first, last))
        return true;
    first = 1;
    while (first < kSensorColumns && !hasLine(dtf[first]))
        ++first;
    if (first == kSensorColumns) {
        first = last = 0;
        return false;
    }
    last = kSensorColumns - 1;
    while (!hasLine(dtf[last]))
        --last;
    return areInOrder(first, last);
}

bool stepHasLine(unsigned short** dtf, int step) {
    return std::any_of(dtf, dtf + kSensorColumns,
                       [step](const unsigned short* column) { return Internal::isFound(column[step]); });
}

/// A step without any line right behind one with lines.
bool hasGap(unsigned short** dtf) {
    bool before = false;
    for (int s = 0; s < kGapFreeSteps; ++s) {
        const bool now = stepHasLine(dtf, s);
        if (before && !now)
            return true;
        before = now;
    }
    return false;
}

/// The columns of a legal request from `first` to `last`.
bool build(const BuildRequest& request, int first, int last, const Halves& out) {
    const auto walk = ColumnWalk::create(request);
    if (walk == nullptr || !walk->hasLine())
        return false;
    const std::size_t cells = static_cast<std::size_t>(out.rows) * kSensorColumns;
    for (unsigned short* half : {out.z, out.x}) {
        if (half != nullptr)
            std::fill_n(half, cells, kEmptyCell);
    }
    const int end = std::min(request.lastColumn, last);
    for (int c = request.firstColumn; c <= end; ++c) {
        walk->enter(c);  // those before the first too: a line may begin there
        if (c < first)
            continue;
        if (out.z != nullptr)
            walk->fillZ({out.z + c, kSensorColumns, out.positionStep});
        if (out.x != nullptr)
            walk->fillX({out.x + c, kSensorColumns, out.positionStep});
    }
    return true;
}

bool buildFull(const BuildRequest& request, int& firstLimit, int& lastLimit, unsigned short* table) {
    if (table == nullptr || !request.isLegal() || hasGap(request.dtf) ||
        !settleLimits(request.dtf, firstLimit, lastLimit))
        return false;
    unsigned short* x = table + static_cast<std::size_t>(kTableHalfRows) * kSensorColumns;
    return build(request, firstLimit, lastLimit,
                 {request.wantsZ ? table : nullptr, request.wantsX ? x : nullptr, kTableHalfRows,
                  kPositionsPerRow / 2});
}

bool buildCompact(const BuildRequest& request, int& firstLimit, int& lastLimit, unsigned short* table) {
    if (table == nullptr || !request.isLegal() || hasGap(request.dtf))
        return false;
    settleLimits(request.dtf, firstLimit, lastLimit);  // for the caller: the window alone counts here
    unsigned short* x = table + static_cast<std::size_t>(kCompactHalfRows) * kSensorColumns;
    return build(request, request.firstColumn, request.lastColumn,
                 {table, x, kCompactHalfRows, kPositionsPerRow});
}

}  // namespace

bool calc_X(unsigned short** dtf, const double* params, double xRange, double xStep, int firstColumn,
            int lastColumn, int& firstLimit, int& lastLimit, unsigned short* tbl) {
    return buildFull({dtf, params, 0.0, xRange, 0.0, xStep, firstColumn, lastColumn, Form::Steps,
                      /*wantsZ=*/false, /*wantsX=*/true},
                     firstLimit, lastLimit, tbl);
}

bool calc_Z(unsigned short** dtf, const double* params, double zRange, double zStep, int firstColumn,
            int lastColumn, int& firstLimit, int& lastLimit, unsigned short* tbl) {
    return buildFull({dtf, params, zRange, 0.0, zStep, 0.0, firstColumn, lastColumn, Form::Steps,
                      /*wantsZ=*/true, /*wantsX=*/false},
                     firstLimit, lastLimit, tbl);
}

bool calc_XandZ(unsigned short** dtf, const double* params, double zRange, double xRange, double zStep,
                double xStep, int firstColumn, int lastColumn, int& firstLimit, int& lastLimit,
                unsigned short* compactTbl) {
    return buildCompact({dtf, params, zRange, xRange, zStep, xStep, firstColumn, lastColumn, Form::Steps,
                         /*wantsZ=*/true, /*wantsX=*/true},
                        firstLimit, lastLimit, compactTbl);
}

bool calc_XandZ_Triangles(unsigned short** dtf, const double* params, double zRange, double xRange,
                          double zStep, double xStep, int firstColumn, int lastColumn, int& firstLimit,
                          int& lastLimit, unsigned short* compactTbl) {
    return buildCompact({dtf, params, zRange, xRange, zStep, xStep, firstColumn, lastColumn, Form::Triangles,
                         /*wantsZ=*/true, /*wantsX=*/true},
                        firstLimit, lastLimit, compactTbl);
}

}  // namespace KvMath
