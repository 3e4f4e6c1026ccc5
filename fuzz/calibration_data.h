#pragma once
// Storage of calibration targets: a raw record with its row pointers, look-ups and tables, made once.

#include "fuzz/fuzz_input.h"

#include <kvmath/calibration/table_layout.h>

#include <vector>

namespace Fuzz {

/// Columns of 16-bit cells as the calibration functions take them.
class Columns {
public:
    explicit Columns(int cells) : size_(size_t(cells)), cells_(size_ * KvMath::kSensorColumns) {
        for (size_t c = 0; c < size_t(KvMath::kSensorColumns); ++c)
            rows_.push_back(cells_.data() + c * size_);
    }
    unsigned short** rows() { return rows_.data(); }

    /// Smooth lines, with rectangles of any value in them.
    void fill(Input& input) {
        const double start = input.number() * 64, perColumn = input.real() / 4, perStep = input.number();
        for (size_t c = 0; c < rows_.size(); ++c)
            for (size_t s = 0; s < size_; ++s)
                rows_[c][s] = cell(start + perColumn * double(c) + perStep * double(s));
        for (int edits = input.below(12); edits > 0; --edits)
            edit(input);
    }

private:
    static unsigned short cell(double value) {
        return static_cast<unsigned short>(value > 0 && value < 65536 ? value : 0);
    }
    void edit(Input& input) {
        const size_t firstColumn = input.raw<uint16_t>() % rows_.size();
        const size_t firstCell = input.raw<uint16_t>() % size_;
        const size_t columns = size_t(input.byte()), cells = size_t(input.byte()) * 4;
        const unsigned short value = input.flag() ? input.raw<uint16_t>() : 0;
        for (size_t c = firstColumn; c < rows_.size() && c <= firstColumn + columns; ++c)
            for (size_t s = firstCell; s < size_ && s <= firstCell + cells; ++s)
                rows_[c][s] = value;
    }

    size_t size_;
    std::vector<unsigned short> cells_;
    std::vector<unsigned short*> rows_;
};

}  // namespace Fuzz
