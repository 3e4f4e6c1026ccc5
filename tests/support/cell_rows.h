#pragma once
// Columns of cells over one block, as the calibration functions take a DTF or a look-up.

#include <kvmath/calibration/table_layout.h>

#include <vector>

namespace TestSupport {

using Cells = std::vector<unsigned short>;

struct CellRows {
    explicit CellRows(int length, unsigned short value = 0) : cells(648 * std::size_t(length), value) {
        for (int c = 0; c < KvMath::kSensorColumns; ++c)
            pointers.push_back(cells.data() + c * length);
    }
    unsigned short** rows() { return pointers.data(); }
    unsigned short* operator[](int column) { return pointers[std::size_t(column)]; }

    Cells cells;
    std::vector<unsigned short*> pointers;
};

}  // namespace TestSupport
