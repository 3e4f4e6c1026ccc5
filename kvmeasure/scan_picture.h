#pragma once
// Pictures of scans: the view from above, coloured by height, and what was found in it.

#include "kvmeasure/matcher.h"

#include <kvmath/core/matrix_cloud.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

/// A text at a place, mm.
struct PlacedText {
    Vector at;       ///< (x, scan)
    Vector towards;  ///< where the text is to stand seen from there, not a unit vector
    QString text;
};

/// What a picture shows. Places are (x, scan), mm.
struct ScanPicture {
    QString title;
    QString subtitle;
    KvMath::KvMatrixCloud grid;
    QList<Vector> edgePoints;
    QList<Vector> hull;  ///< in walking order
    Segments lines;
    QList<PlacedText> lengths, angles;
};

/// An SVG: x to the right, the scan upwards, equal scale, heights as an embedded raster with its scale.
QByteArray drawScan(const ScanPicture& picture);

}  // namespace KvMeasure
