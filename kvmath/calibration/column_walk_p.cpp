// A column is crossed by at most one line per step. In order of position, every cell belongs to the crossing
// at or before it, and takes its value between that one and the next. So each cell is written once, whatever
// the data: folded or repeated positions cost a sort and nothing else. Rows of a table are asked for their
// crossings where that is less work than asking every crossing for its rows. Time: steps times columns, plus
// the cells.

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
    cellStep_ = 0;
    const unsigned short* row = request_.dtf[column];
    const bool walksDown = walksDown_;
    std::size_t count = 0;
    double before = 0.0;
    bool isAscending = true;
    bool isDescending = true;
    for (std::size_t k = 0; k < kSteps; ++k) {
        const std::size_t s = walksDown ? kSteps - 1 - k : k;
        double position = row[s];
        int ceiling = row[s];
        if (isFound(row[s]))
            previous_[s] = static_cast<short>(column);
        else if (bridge(column, s, position))
            ceiling = ceilOf(position);
        else
            continue;
        if (found_[s] > 1 && position < kSensorPositions) {
            isAscending &= (count == 0) | (before < position);
            isDescending &= (count == 0) | (before > position);
            before = position;
            crossings_[count++] = {position, static_cast<int>(s), ceiling};
        }
    }
    count_ = count;
    if (!isAscending)
        sortCrossings(isDescending);
}

/// By position; of equal ones only the last step stays. There are at least two.
void ColumnWalk::sortCrossings(bool isDescending) {
    const auto begin = crossings_.begin();
    auto end = begin + static_cast<std::ptrdiff_t>(count_);
    const auto below = [](const Crossing& a, const Crossing& b) {
        return a.position != b.position ? a.position < b.position : a.step > b.step;
    };
    if (begin->position > (end - 1)->position) {
        std::reverse(begin, end);
        walksDown_ = !walksDown_;  // the next column is like this one
    }
    if (isDescending)
        return;
    isNoisy_ = true;
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

/// Whether the cells of a table are asked for their crossings, not the other way round: where few crossings
/// have a cell, and where noise decides which, so that a branch for each would often be foreseen wrongly.
bool ColumnWalk::asksCells(int positionStep) const {
    return positionStep >= kPositionsPerRow || (isNoisy_ && positionStep >= kPositionsPerRow / 2);
}

/// The cells of a table that eachRun gives, each with the last crossing at or before it and the next one.
void ColumnWalk::findCells(int positionStep) {
    if (cellStep_ == positionStep)
        return;
    cellStep_ = positionStep;
    cellCount_ = 0;
    if (count_ == 0)
        return;
    int shift = 0;
    while ((1 << shift) < positionStep)
        ++shift;
    const auto rowBehind = [=](const Crossing& a) { return (a.ceiling + positionStep - 1) >> shift; };
    const int begin = rowBehind(crossings_[0]);
    const int end = rowBehind(crossings_[count_ - 1]) + 1;
    std::array<short, kTableSensorRows + 1> owners;
    std::fill(owners.begin() + begin, owners.begin() + end, short{0});
    for (std::size_t i = 0; i < count_; ++i)  // the last of several stays
        owners[static_cast<std::size_t>(rowBehind(crossings_[i]))] = static_cast<short>(i);
    int owner = 0;
    std::size_t count = 0;
    const bool hasEmptySteps = emptyBefore_.back() != 0;
    for (int i = begin; i < end; ++i) {
        owner = std::max<int>(owner, owners[static_cast<std::size_t>(i)]);
        const Crossing& a = crossings_[static_cast<std::size_t>(owner)];
        const auto next = std::min(static_cast<std::size_t>(owner) + 1, count_ - 1);
        const bool isOnIt = i * positionStep == a.position;
        const Crossing& b = crossings_[next];
        const bool isBetween = (hasEmptySteps ? areJoined(a, b) : std::abs(a.step - b.step) <= kJoinedSteps) &
                               (a.step != b.step);
        cells_[count] = {static_cast<short>(i), static_cast<short>(owner),
                         static_cast<short>(isOnIt ? owner : static_cast<int>(next))};
        count += static_cast<std::size_t>(isOnIt | isBetween);
    }
    cellCount_ = count;
}

unsigned short ColumnWalk::toCell(double units) const {
    return request_.form == Form::Triangles ? cellOf<Form::Triangles>(units) : cellOf<Form::Steps>(units);
}

void ColumnWalk::fillZ(const ColumnCells& out) {
    if (request_.form == Form::Triangles)
        fillZ<Form::Triangles>(out);
    else
        fillZ<Form::Steps>(out);
}

template <Form form>
void ColumnWalk::fillZ(const ColumnCells& out) {
    if (asksCells(out.positionStep)) {
        findCells(out.positionStep);
        for (std::size_t k = 0; k < cellCount_; ++k) {
            const TableCell& cell = cells_[k];
            const Crossing& a = crossings_[static_cast<std::size_t>(cell.before)];
            const Crossing& b = crossings_[static_cast<std::size_t>(cell.behind)];
            const double from = units_[static_cast<std::size_t>(a.step)];
            const double slope =
                (units_[static_cast<std::size_t>(b.step)] - from) / (b.position - a.position);
            const double units = from + (cell.row * out.positionStep - a.position) * slope;
            out.cells[static_cast<std::size_t>(cell.row) * out.stride] =
                cellOf<form>(cell.before == cell.behind ? from : units);
        }
        return;
    }
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

void ColumnWalk::fillX(const ColumnCells& out) {
    const double x = (column_ - request_.firstColumn) * request_.xStep / 1000;
    const unsigned short cell = toCell(x * kUnitsPerRange / request_.xRange);
    if (asksCells(out.positionStep)) {
        findCells(out.positionStep);
        for (std::size_t k = 0; k < cellCount_; ++k)
            out.cells[static_cast<std::size_t>(cells_[k].row) * out.stride] = cell;
        return;
    }
    eachRun(out.positionStep, [&](const Crossing&, const Crossing&, int first, int end) {
        for (int i = first; i < end; ++i)
            out.cells[static_cast<std::size_t>(i) * out.stride] = cell;
    });
}

}  // namespace KvMath::Internal
