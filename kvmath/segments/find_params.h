#pragma once
// Parameters of findTemplate.

namespace KvMath {

/// How a profile becomes segments and how segments may be assigned. The library sets no defaults: fill every
/// field.
struct TSFindTemplateParams {
    double contourGap;  ///< mm; a step of at least this length goes to the nearest contour that ends within
                        ///< it, or to a new one
    double splitTolerance;  ///< mm; a contour is split where it deviates from its chord by at least this
    int refineIterations;  ///< passes that fit lines and move corners; 0 or less: corners are measured points
    double minLineLength;  ///< mm; only segments strictly longer than this are used
    bool allowReversed;    ///< each segment may also be used from its end to its start
    double cornerTolerance;  ///< >= 0, a ratio to the shorter neighbouring piece, not a distance; 1e300 never
                             ///< cuts
};

}  // namespace KvMath
