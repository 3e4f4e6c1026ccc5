#pragma once
// A grid of values.

#include <cstddef>
#include <vector>

namespace KvMeasure {

/// A grid of values; row 0 is drawn on top. Values that are not finite take the colour of empty cells.
struct Raster {
    int columns = 0;            ///< >= 0
    int rows = 0;               ///< >= 0
    std::vector<float> values;  ///< row by row, columns * rows of them
    std::vector<bool> outside;  ///< as many: cells left white, which are neither filled nor empty; or none

    /// Place of a cell in `values`. Neither number is checked.
    std::size_t cell(int column, int row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
               static_cast<std::size_t>(column);
    }
    /// The value of a cell, which must be in the grid.
    float at(int column, int row) const { return values[cell(column, row)]; }
};

}  // namespace KvMeasure
