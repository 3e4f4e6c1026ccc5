#pragma once
// Steps of the line extraction on one contour: breaks first, then refined vertices, then cut corners.

#include <kvmath/segments/line_fit_p.h>

#include <cstddef>
#include <vector>

namespace KvMath::Internal {

/// Breaks and vertices of one contour, with the scratch of making them; reuse it for the next contour.
struct ContourPieces {
    std::vector<int> breaks;                   ///< point indices, ascending
    std::vector<KvVector2D<double>> vertices;  ///< one per break

    /// A piece covers the points from .. to, both included; nothing is fitted while from is -1.
    struct Fit {
        int from = -1, to = -1;
        MomentSums sums;
        LineABC line;
    };
    std::vector<Fit> fits;
    std::vector<int> otherBreaks;
    std::vector<KvVector2D<double>> otherVertices;

    /// Room for a contour of a few pieces, so that its lists need not grow.
    void reserve() {
        constexpr std::size_t kFewVertices = 32;
        for (std::vector<int>* indices : {&breaks, &otherBreaks})
            indices->reserve(kFewVertices);
        for (std::vector<KvVector2D<double>>* places : {&vertices, &otherVertices})
            places->reserve(kFewVertices);
        fits.reserve(kFewVertices);
    }
};

/// Recursive split into pieces that deviate from their chord by less than `tolerance`. n >= 2.
void splitAtDeviations(const KvVector2D<double>* pts, int n, double tolerance, ContourPieces& pieces);

/// `iterations` > 0 passes of fitting, intersecting, dropping overrun corners and moving breaks.
void refineCorners(const KvVector2D<double>* pts, int n, int iterations, ContourPieces& pieces);

/// Replaces each vertex that lies too far from its measured point by two.
void cutSharpCorners(const KvVector2D<double>* pts, double cornerTolerance, ContourPieces& pieces);

/// All steps, as contour2lines documents them. n >= 2.
void extractPieces(const KvVector2D<double>* pts, int n, double tolerance, int iterations,
                   double cornerTolerance, ContourPieces& pieces);

}  // namespace KvMath::Internal
