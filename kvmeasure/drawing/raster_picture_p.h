#pragma once
// Values on a grid as colours: height maps, error maps.

#include <kvmeasure/base/raster.h>
#include <kvmeasure/drawing/canvas_p.h>

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

/// The colour of a value as 0xRRGGBB.
unsigned colourOf(const ColourScale& scale, double value);

/// Means of the finite values in blocks, so that the grid has at most `mostCells` cells. A block is outside
/// when all of its cells are.
Raster thinned(const Raster& raster, int mostCells);

/// Fills the area with the grid, as one embedded image of 256 colours, and frames it.
void drawRaster(Canvas& canvas, const Rect& area, const Raster& raster, const ColourScale& scale);

/// The bar of colours with its numbers to the right, its ends among them; the area is that of the bar.
void drawColourScale(Canvas& canvas, const Rect& area, const ColourScale& scale);

/// Pixels that the numbers to the right of the bar take.
double numbersWidth(const ColourScale& scale);

}  // namespace KvMeasure
