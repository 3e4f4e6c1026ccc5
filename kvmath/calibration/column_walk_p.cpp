// A column is crossed by at most one line per step. In order of position, every cell belongs to the crossing
// at or before it, and takes its value between that one and the next. So each cell is written once, whatever
// the data: folded or repeated positions cost a sort and nothing else. Time: steps times columns, plus the
// cells.

#include "column_walk_p.h"

#include "rows_p.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace KvMath::Internal {

namespace {

// Steps between two crossings that are joined. Lost columns at the end of a line leave a few steps out, and
// noise exchanges neighbours; farther apart nothing is known about the positions between.
constexpr int kJoinedSteps = 8;

constexpr short kNone = kSensorColumns;

bool isPositive(double value) { return std::isfinite(value) && value > 0.0; }

bool hasParameters(const double* params) { return params[0] != params[1]; }

/// Sorts by insertion, which is linear where only neighbours are out of order, as noise leaves them. Gives
/// up, false, when the moves show that it is not so.
template <class Iterator, class Below>
bool sortNearly(Iterator begin, Iterator end, Below below) {
    std::ptrdiff_t moves = 8 * (end - begin);
    for (Iterator i = begin; i != end; ++i) {
        const auto value = *i;
        Iterator gap = i;
        for (; gap != begin && below(value, *(gap - 1)); --gap, --moves)
            *gap = *(gap - 1);
        *gap = value;
        if (moves < 0)
            return false;
    }
    return true;
}

/// Casts instead of trunc and floor, which are calls on the base instruction set: below the least value that
/// still gives 0 nothing is cast, and above it both round towards 0. False comparisons leave NaN out.
template <Form form>
unsigned short cellOf(double units) {
    const double value = form == Form::Triangles ? units + 0.5 : units;
    const bool fits = (form == Form::Triangles ? value >= 0.0 : value > -1.0) & (value < kEmptyCell);
    return static_cast<unsigned short>(static_cast<int>(fits ? value : double(kEmptyCell)));
}

/// For values from 0 to 2^31.
int ceilOf(double value) {
    const int whole = static_cast<int>(value);
    return whole + (whole < value ? 1 : 0);
}

}  // namespace

bool BuildRequest::isLegal() const {
    if (!hasColumns(dtf) || firstColumn < 0 || lastColumn >= kSensorColumns || firstColumn > lastColumn)
        return false;
    if (wantsX && !(isPositive(xRange) && isPositive(xStep)))
        return false;
    if (!wantsZ)
        return true;
    return params != nullptr && isPositive(zRange) && (hasParameters(params) || isPositive(zStep));
}

std::unique_ptr<ColumnWalk> ColumnWalk::create(const BuildRequest& request) {
    return std::unique_ptr<ColumnWalk>(new (std::nothrow) ColumnWalk(request));
}

ColumnWalk::ColumnWalk(const BuildRequest& request) : request_(request) {
    countLines();
    if (request.wantsZ)
        setUnits();
}

void ColumnWalk::countLines() {
    for (int c = request_.firstColumn; c <= request_.lastColumn; ++c) {
        const unsigned short* row = request_.dtf[c];
        for (std::size_t s = 0; s < kSteps; ++s)
            found_[s] = static_cast<unsigned short>(found_[s] + (isFound(row[s]) ? 1 : 0));
    }
    previous_.fill(-1);
    next_.fill(-1);
    unsigned short empty = 0;
    for (std::size_t s = 0; s < kSteps; ++s) {
        emptyBefore_[s] = empty;
        empty = static_cast<unsigned short>(empty + (found_[s] == 0 ? 1 : 0));
        hasLine_ = hasLine_ || found_[s] > 1;
    }
}

void ColumnWalk::setUnits() {
    const bool recorded = hasParameters(request_.params);
    for (std::size_t s = 0; s < kSteps; ++s) {
        const double z = recorded ? request_.params[s] : static_cast<double>(s) * request_.zStep / 1000;
        units_[s] = z * kUnitsPerRange / request_.zRange;
    }
}

/// Position of the step's line in a column in which it was not found; false outside its found columns.
bool ColumnWalk::bridge(int column, std::size_t step, double& position) {
    const int left = previous_[step];
    if (left < 0)
        return false;
    if (next_[step] < column) {
        int c = column + 1;
        while (c <= request_.lastColumn && !isFound(request_.dtf[c][step]))
            ++c;
        next_[step] = c <= request_.lastColumn ? static_cast<short>(c) : kNone;
    }
    const int right = next_[step];
    if (right == kNone)
        return false;
    const int from = request_.dtf[left][step];
    const int rise = (column - left) * (request_.dtf[right][step] - from);
    const int width = right - left;
    if (request_.form == Form::Triangles) {
        position = from + double(rise) / width;
    } else {
        const int whole = rise / width;
        position = from + whole;
    }
    return true;
}

void ColumnWalk::enter(int column) {
    column_ = column;
    count_ = 0;
    const unsigned short* row = request_.dtf[column];
    for (std::size_t s = 0; s < kSteps; ++s) {
        double position = row[s];
        if (isFound(row[s]))
            previous_[s] = static_cast<short>(column);
        else if (!bridge(column, s, position))
            continue;
        if (found_[s] > 1 && position < kSensorPositions)
            crossings_[count_++] = {position, static_cast<int>(s)};
    }
    sortCrossings();
}

/// By position; of equal ones only the last step stays.
void ColumnWalk::sortCrossings() {
    const auto begin = crossings_.begin();
    auto end = begin + static_cast<std::ptrdiff_t>(count_);
    const auto below = [](const Crossing& a, const Crossing& b) {
        return a.position != b.position ? a.position < b.position : a.step > b.step;
    };
    if (count_ > 1 && begin->position > (end - 1)->position)
        std::reverse(begin, end);
    const auto notBelow = [](const Crossing& a, const Crossing& b) { return a.position >= b.position; };
    if (std::adjacent_find(begin, end, notBelow) == end)
        return;  // the usual record
    if (!sortNearly(begin, end, below))
        std::sort(begin, end, below);
    end = std::unique(begin, end,
                      [](const Crossing& a, const Crossing& b) { return a.position == b.position; });
    count_ = static_cast<std::size_t>(end - begin);
}

bool ColumnWalk::areJoined(const Crossing& a, const Crossing& b) const {
    return std::abs(a.step - b.step) <= kJoinedSteps &&
           emptyBefore_[static_cast<std::size_t>(a.step)] == emptyBefore_[static_cast<std::size_t>(b.step)];
}

/// Calls run(a, b, first, end) for the cells from crossing a up to, not including, its neighbour b; for a
/// cell on a crossing that is not joined to the next one, b is a.
template <class Run>
void ColumnWalk::eachRun(int positionStep, Run run) const {
    const double scale = 1.0 / positionStep;  // exact
    int end = count_ > 0 ? ceilOf(crossings_[0].position * scale) : 0;
    for (std::size_t i = 0; i < count_; ++i) {
        const Crossing& a = crossings_[i];
        const Crossing& b = crossings_[std::min(i + 1, count_ - 1)];
        const int first = end;
        end = ceilOf(b.position * scale);
        if (i + 1 < count_ && areJoined(a, b))
            run(a, b, first, end);
        else if (first * positionStep == a.position)
            run(a, a, first, first + 1);
    }
}

unsigned short ColumnWalk::toCell(double units) const {
    return request_.form == Form::Triangles ? cellOf<Form::Triangles>(units) : cellOf<Form::Steps>(units);
}

void ColumnWalk::fillZ(const ColumnCells& out) const {
    if (request_.form == Form::Triangles)
        fillZ<Form::Triangles>(out);
    else
        fillZ<Form::Steps>(out);
}

template <Form form>
void ColumnWalk::fillZ(const ColumnCells& out) const {
    eachRun(out.positionStep, [&](const Crossing& a, const Crossing& b, int first, int end) {
        const double from = units_[static_cast<std::size_t>(a.step)];
        if (first < end && first * out.positionStep == a.position)  // needs no slope, which may be NaN
            out.cells[static_cast<std::size_t>(first++) * out.stride] = cellOf<form>(from);
        if (first >= end)
            return;
        const double slope = (units_[static_cast<std::size_t>(b.step)] - from) / (b.position - a.position);
        if (out.stride == 1 && out.positionStep == 1) {  // the loop below, fit to run in lanes
            unsigned short* cells = out.cells;
            for (int i = first; i < end; ++i)
                cells[i] = cellOf<form>(from + (i - a.position) * slope);
            return;
        }
        for (int i = first; i < end; ++i) {
            const double units = from + (i * out.positionStep - a.position) * slope;
            out.cells[static_cast<std::size_t>(i) * out.stride] = cellOf<form>(units);
        }
    });
}

void ColumnWalk::fillX(const ColumnCells& out) const {
    const double x = (column_ - request_.firstColumn) * request_.xStep / 1000;
    const unsigned short cell = toCell(x * kUnitsPerRange / request_.xRange);
    eachRun(out.positionStep, [&](const Crossing&, const Crossing&, int first, int end) {
        for (int i = first; i < end; ++i)
            out.cells[static_cast<std::size_t>(i) * out.stride] = cell;
    });
}

}  // namespace KvMath::Internal
