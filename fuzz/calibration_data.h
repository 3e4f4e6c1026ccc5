#pragma once
// Storage of calibration targets: a raw record with its row pointers, look-ups and tables, made once.

#include "fuzz/fuzz_input.h"

#include <kvmath/calibration/table_layout.h>

#include <algorithm>
#include <vector>

// Preparing an input is not what is tested: a record of 648,000 cells takes a tenth of the time unchecked.
#ifdef KVMATH_FUZZER
#define KVMATH_UNCHECKED __attribute__((no_sanitize("address", "undefined", "coverage")))
#else
#define KVMATH_UNCHECKED
#endif

namespace Fuzz {

/// Columns of 16-bit cells as the calibration functions take them.
class Columns {
public:
    explicit Columns(int cells) : size_(size_t(cells)), cells_(size_ * KvMath::kSensorColumns) {
        for (size_t c = 0; c < size_t(KvMath::kSensorColumns); ++c)
            rows_.push_back(cells_.data() + c * size_);
    }
    unsigned short** rows() { return rows_.data(); }
    const std::vector<unsigned short>& cells() const { return cells_; }

    /// Smooth lines, with rectangles of any value in them.
    void fill(Input& input) {
        const double start = input.number() * 64, perColumn = input.real() / 4, perStep = input.number();
        for (size_t c = 0; c < rows_.size(); ++c)
            fillLine(rows_[c], size_, start + perColumn * double(c), perStep);
        for (int edits = input.below(12); edits > 0; --edits)
            edit(input);
    }

private:
    KVMATH_UNCHECKED static void fillLine(unsigned short* cells, size_t count, double start, double perStep) {
        for (size_t s = 0; s < count; ++s) {
            const double value = start + perStep * double(int(s));
            const bool fits = (value > 0) & (value < 65536);
            cells[s] = static_cast<unsigned short>(static_cast<int>(fits ? value : 0));
        }
    }
    void edit(Input& input) {
        const size_t firstColumn = input.raw<uint16_t>() % rows_.size();
        const size_t firstCell = input.raw<uint16_t>() % size_;
        const size_t columns = size_t(input.byte()), cells = size_t(input.byte()) * 4;
        const unsigned short value = input.flag() ? input.raw<uint16_t>() : 0;
        const size_t count = std::min(cells + 1, size_ - firstCell);
        for (size_t c = firstColumn; c < rows_.size() && c <= firstColumn + columns; ++c)
            setCells(rows_[c] + firstCell, count, value);
    }
    KVMATH_UNCHECKED static void setCells(unsigned short* cells, size_t count, unsigned short value) {
        for (size_t i = 0; i < count; ++i)
            cells[i] = value;
    }

    size_t size_;
    std::vector<unsigned short> cells_;
    std::vector<unsigned short*> rows_;
};

}  // namespace Fuzz
