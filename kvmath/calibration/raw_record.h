#pragma once
// What a scanner records while a calibration target moves through its range.

#include <kvmath/calibration/table_layout.h>

#include <array>
#include <cstddef>
#include <vector>

namespace KvMath {

/// A raw calibration record. Nothing is checked here: 648 * 1000 positions and 1000 parameters are legal, and
/// columns() needs as many positions.
struct CalibrationRecord {
    std::vector<unsigned short> positions;  ///< 648 columns of 1000 steps, 1/32 pixel; 0: none
    std::vector<double> parameters;         ///< recorded z of each step, mm

    /// One pointer for each column, as tables are built from. Valid while `positions` is not resized.
    std::array<unsigned short*, kSensorColumns> columns() {
        std::array<unsigned short*, kSensorColumns> pointers{};
        for (std::size_t i = 0; i < pointers.size(); ++i)
            pointers[i] = positions.data() + i * kCalibrationSteps;
        return pointers;
    }
};

}  // namespace KvMath
