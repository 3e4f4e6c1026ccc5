#pragma once
// Segments of a profile in one go, without the arrays of arrays that the public steps hand over.

#include <kvmath/tsearch/find_params.h>
#include <kvmath/tsearch/line_types.h>

#include <QtCore/QList>

namespace KvMath::Internal {

/// Appends to `segments` what profile2contours, contour2lines on every contour, and the test for a length
/// strictly greater than minLineLength give, in this order. n < 1 or null points: nothing.
void extractSegments(const KvVector2D<double>* pts, int n, const TSFindTemplateParams& params,
                     QList<LinePP>& segments);

}  // namespace KvMath::Internal
