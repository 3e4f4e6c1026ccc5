#pragma once
// Segments of a profile in one go, without the arrays of arrays that the public steps hand over.

#include <kvmath/segments/contour_group_p.h>
#include <kvmath/segments/contour_split_p.h>
#include <kvmath/segments/find_params.h>
#include <kvmath/segments/line_types.h>

#include <vector>

namespace KvMath::Internal {

/// Points of each contour, in order of arrival.
struct Contours {
    std::vector<ContourRun> runs;
    std::vector<int> begins;  ///< first point of each contour in `points`, and the end of the last
    std::vector<KvVector2D<double>> gathered;
    const KvVector2D<double>* points = nullptr;
    std::vector<ContourEnds::End> ends;  ///< work space
    std::vector<int> at;                 ///< likewise
};

/// Brings the runs of each contour together. Nothing is copied while every contour is one run. n >= 1.
void gatherContours(const KvVector2D<double>* pts, int n, double gap, Contours& contours);

/// Storage of one extraction after another.
struct SegmentScratch {
    Contours contours;
    ContourPieces pieces;
};

/// Replaces `segments` by what profile2contours, contour2lines on every contour, and the test for a length
/// strictly greater than minLineLength give, in this order. n < 1 or null points: nothing.
void extractSegments(const KvVector2D<double>* pts, int n, const TSFindTemplateParams& params,
                     SegmentScratch& scratch, std::vector<LinePP>& segments);

}  // namespace KvMath::Internal
