#pragma once
// The lines that are measured: fitted anew to the points that belong to one piece alone, with corners where
// the fitted lines meet and, where the surface ends, with the part of a step that no point can show.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/line_pieces.h>

#include <array>
#include <vector>

namespace KvMeasure {

/// How the segments become the lines that are measured.
struct LineFitting {
    bool isRaw = false;            ///< the segments of the search as they are
    bool compensatesEdges = true;  ///< free edges lie half a point distance beyond their last point

    /// Those whose segments are measured.
    Pieces pieces() const { return isRaw ? Pieces::AsFound : Pieces::Joined; }
};

/// One line per segment, in their order; none without segments. With isRaw they are the segments.
///
/// The search counts the point at a corner to both of its pieces, which turns both a little. Here each piece
/// is fitted without the points that it shares: by least squares of the heights where it rises by less than
/// 60 degrees, since heights carry the noise of a scanner line, else of the distances square to it; then
/// again with the shared point at the x where the fitted lines meet, for the search tells near points by
/// their noise; not so beside a line steeper than 88 degrees, nor where a surface folds back.
/// A piece with fewer than three points of its own keeps its line. Ends are where neighbouring lines meet, if
/// that is within half the shorter one of the corner found; else, and at the ends of contours, the last
/// points moved onto the line.
///
/// A free edge is the end of a contour: the edge lies anywhere between the last point and the next one that
/// is missing, so that half the point distance there, the median of eight, is added. A piece without
/// points of its own runs between the ends of its neighbours.
KVMEASURE_EXPORT Segments measuredLines(const ProfilePieces& found, const LineFitting& fitting);

/// The line fitted to a piece, with what its uncertainty rests on.
struct FittedPiece {
    Vector centre;            ///< mean of its points, mm
    Vector along;             ///< unit vector, from the start to the end of the piece
    bool isInHeight = false;  ///< heights were fitted; false: distances square to the line
    int from = 0;             ///< its first point, a number in the contour
    int to = 0;          ///< after its last point; as `from` where the piece keeps the line of the search
    double spread = 0;   ///< sum of the squared places of its points along the line, mm^2
    double squares = 0;  ///< sum of the squared residuals in height or square to the line, mm^2

    int points() const { return to - from; }  ///< that it was fitted to
};

/// What an end of a measured line rests on.
struct EndSupport {
    int piece = -1;  ///< on whose line it lies; -1: it is a vertex as the search left it
    int other = -1;  ///< whose line meets that one there; -1: none, it lies where the points end
};

/// The measured lines, and the same without what is added at free edges.
struct EdgeLines {
    Segments lines;                 ///< as measuredLines gives them
    Segments asSeen;                ///< as it gives them without the compensation of free edges
    bool isMoved = false;           ///< the compensation moved an end: the two differ
    std::vector<FittedPiece> fits;  ///< of each piece; none with isRaw
    std::vector<std::array<EndSupport, 2>>
        support;  ///< of the start and the end of each piece; none with isRaw
};

/// Both in one fit.
KVMEASURE_EXPORT EdgeLines edgeLines(const ProfilePieces& found, const LineFitting& fitting);

}  // namespace KvMeasure
