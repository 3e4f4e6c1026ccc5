#pragma once
// Pictures of a measured profile.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

#include <QtCore/QByteArray>

#include <limits>

namespace KvMeasure {

/// A template line in its place.
struct PlacedLine {
    KvMath::LinePP line;  ///< from start to end, mm
    QString label;        ///< its name or number
};

/// Residuals of a fit and where they are.
struct Residuals {
    bool isOverAngle = false;  ///< places are degrees; otherwise mm on the x axis of the picture above
    QList<Vector> points;      ///< place; residual, mm; all finite. Empty: no panel.
    double standardError = std::numeric_limits<double>::quiet_NaN();  ///< mm; NaN: none, no band is drawn
};

/// What a picture shows; all in mm. Points that are too many for the picture are thinned out, never moved;
/// those that are not finite are left out. What is empty is not drawn.
struct Picture {
    QString title;                       ///< first line, large
    QString subtitle;                    ///< second line
    QString along = "x";                 ///< what the profile runs along, for the axis
    QString upward = "height";           ///< what stands upright
    QString points = "measured points";  ///< what the profile consists of, for the legend
    KvMath::KvProfile profile;           ///< the points; they and `before` give the range
    QList<KvMath::KvPointXY> before;     ///< of a filter, drawn below the profile
    Segments segments;                   ///< all that were found
    bool numberSegments = false;         ///< show their numbers, for choosing
    QList<PlacedLine> lines;             ///< those that matched
    QList<Vector> curve;                 ///< a fitted curve
    Residuals residuals;                 ///< of the fitted curve, drawn below
    Evaluation evaluation;               ///< values for the list beside, and marks where they were measured
    bool isMissing = false;              ///< the template; "lines" are then those that come nearest, dashed
    QString missingLines;                ///< what these are, for the legend
    QStringList reasons;                 ///< why it is missing, a paragraph each
};

/// An SVG document with axes in mm at equal scale; a profile too flat for that is stretched in height, and
/// the axis says by how much. Without points: axes about the origin.
KVMEASURE_EXPORT QByteArray drawPicture(const Picture& picture);

}  // namespace KvMeasure
