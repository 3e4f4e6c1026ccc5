#pragma once
// Values on a grid as colours: height maps, error maps.

#include "kvmeasure/plot_canvas.h"

namespace KvMeasure {

/// Colours from `from` to `to`; values beyond take the end colours. `to` must be above `from`.
struct ColourScale {
    enum class Kind {
        Sequential,  ///< dark to bright, for heights
        Diverging    ///< blue over white to red, for deviations; give equal ranges on both sides of 0
    };
    Kind kind = Kind::Sequential;
    double from = 0, to = 1;
    QString unit;
    bool isCut = false;  ///< there are values beyond, as the numbers at the ends then say
};

/// A grid of values; row 0 is drawn on top. Values that are not finite take the colour of empty cells.
struct Raster {
    int columns = 0, rows = 0;
    std::vector<float> values;  ///< row by row
    std::vector<bool> outside;  ///< cells left white, which are neither filled nor empty; may be empty

    std::size_t cell(int column, int row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
               static_cast<std::size_t>(column);
    }
    float at(int column, int row) const { return values[cell(column, row)]; }
};

/// Means of the finite values in blocks, so that the grid has at most `mostCells` cells. A block is outside
/// when all of its cells are.
Raster thinned(const Raster& raster, int mostCells);

/// Fills the area with the grid, as one embedded image of 256 colours, and frames it.
void drawRaster(Canvas& canvas, const Rect& area, const Raster& raster, const ColourScale& scale);

/// The bar of colours with its numbers to the right; the area is that of the bar.
void drawColourScale(Canvas& canvas, const Rect& area, const ColourScale& scale);

}  // namespace KvMeasure
