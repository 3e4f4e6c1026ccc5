#pragma once
// Straight pieces of a contour that are one surface become one piece.

#include <kvmeasure/profiles/line_pieces.h>

#include <vector>

namespace KvMeasure::Internal {

struct JoinLimits {
    double tolerance = 0;  ///< mm, splitTolerance of the search
    double corner = 0;     ///< cornerTolerance of the search
};

/// Joins neighbouring pieces of a contour for as long as all points of both are nearer than the tolerance to
/// the chord over both: what the search would leave whole if it began there. Of two pairs beside each other
/// the one comes first whose shorter piece lies nearer to the line of the longer one. Pieces that fold back
/// are not joined, nor any that share no point. A joined piece runs along the line of least squares of its
/// points, from corner to corner with its neighbours.
void joinPieces(const std::vector<ContourPoints>& contours, const JoinLimits& limits,
                std::vector<Piece>& pieces);

}  // namespace KvMeasure::Internal
