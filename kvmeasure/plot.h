#pragma once
// Pictures of a measured profile.

#include "kvmeasure/matcher.h"

#include <QtCore/QByteArray>

namespace KvMeasure {

/// A template line in its place.
struct PlacedLine {
    KvMath::LinePP line;
    QString label;  ///< its name or number
};

/// What a picture shows. Points that are too many for the picture are thinned out, never moved.
struct Picture {
    QString title;
    QString subtitle;
    QString along = "x";        ///< what the profile runs along, for the axis
    QString upward = "height";  ///< what stands upright
    KvMath::KvProfile profile;
    QList<KvMath::KvPointXY> before;  ///< of a filter, drawn below the profile
    Segments segments;                ///< all that were found
    bool numberSegments = false;      ///< show their numbers, for choosing
    QList<PlacedLine> lines;          ///< those that matched
    QList<Vector> curve;              ///< a fitted curve, mm
    Evaluation evaluation;
};

/// An SVG with axes in mm at equal scale; a profile too flat for that is stretched in height, and the axis
/// says by how much.
QByteArray drawPicture(const Picture& picture);

}  // namespace KvMeasure
