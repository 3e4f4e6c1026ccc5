#pragma once
// Pictures of scans: the view from above, coloured by height, and what was found in it.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

#include <kvmath/core/matrix_cloud.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

/// A text at a place, mm.
struct PlacedText {
    Vector at;       ///< (x, scan), mm
    Vector towards;  ///< where the text is to stand seen from there, not a unit vector
    QString text;    ///< one line
};

/// What a picture shows. Places are (x, scan), mm. What is empty is not drawn.
struct ScanPicture {
    QString title;               ///< first line, large
    QString subtitle;            ///< second line
    KvMath::KvMatrixCloud grid;  ///< heights, as makeGrid gives them; they give the range
    QList<Vector> edgePoints;    ///< of an outline, as dots
    QList<Vector> hull;          ///< of an outline, in walking order
    Segments lines;              ///< sides of an outline
    QList<PlacedText> lengths;   ///< in the colour of the lines
    QList<PlacedText> angles;    ///< in another colour
};

/// An SVG document: x to the right, the scan upwards, equal scale, heights as an embedded raster with its
/// scale of colours. A grid without cells, or whose origin or steps are not set, is drawn as one empty cell
/// of 1 mm at the origin.
KVMEASURE_EXPORT QByteArray drawScan(const ScanPicture& picture);

}  // namespace KvMeasure
