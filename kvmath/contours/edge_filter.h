#pragma once
// Edges in one scanner line: where a straight piece stands higher than its neighbour, or has none.

#include <kvmath/base/global.h>
#include <kvmath/segments/find_params.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <tarn/tarn.h>

namespace KvMath {

/// Finds the upper edges of the steps of a scanner line. Its finite points are taken as a profile (x, z) and
/// cut into straight segments with `params` (allowReversed has no effect). Two segments form a step when the
/// angle between them is at most maxAngle, radians, the end of one and the start of the other face each other
/// at most maxGap apart, mm, and the way between these is minHeight ... maxHeight mm to the left (step up;
/// the edge is the start of the second) or to the right (step down; the edge is the end of the first).
///
/// The edge points, each once, in the order of their segments, replace the key "fltEdgePoints" of `result`: a
/// QList<QVariant> of QPointF(x, z). Other keys stay. Returns their number. None: minHeight not > 0,
/// maxHeight not >= minHeight, maxGap or maxAngle not >= 0, more than 16,384 segments.
KVMATH_EXPORT int fltEdgePoints(const Profile3D& profile, const TSFindTemplateParams& params,
                                double minHeight, double maxHeight, double maxGap, double maxAngle,
                                QMap<QString, QVariant>& result);

/// Finds the ends of segments that no other segment continues, the table being what is not known: another
/// segment continues a segment when it lies as in fltEdgePoints, but at most heightTolerance, mm, to either
/// side. The ends of the line are edge points too. They replace the same key of `result`; returns their
/// number. None: heightTolerance, maxGap or maxAngle not >= 0, more than 16,384 segments.
KVMATH_EXPORT int fltEdgePointsWithoutTable(const Profile3D& profile, const TSFindTemplateParams& params,
                                            double heightTolerance, double maxGap, double maxAngle,
                                            QMap<QString, QVariant>& result);

}  // namespace KvMath
