#pragma once
// The picture of a zone of form, with the points that touch it.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

namespace KvMeasure {

/// What a picture of a zone shows.
struct ZonePicture {
    QString title;               ///< first line
    QString subtitle;            ///< second line
    QString along;               ///< what the points run along, for the axis; empty: "x, mm"
    QString upward;              ///< what stands upright; empty: "distance, mm"
    std::vector<Vector> points;  ///< place; distance from the middle of the zone, mm
    bool isJoined = false;       ///< the points are a line in their order
    double from = 0;             ///< lower bound of the zone, mm
    double to = 0;               ///< upper bound, mm
    std::vector<int> contacts;   ///< points that are marked, with their numbers
    std::vector<int> numbers;    ///< of the points, for the marks; empty: they count from 0
};

/// An SVG document: distances square to the zone, magnified against the length, its bounds, and the contacts.
/// Points that are not finite are left out; without points: axes alone.
KVMEASURE_EXPORT QByteArray drawZone(const ZonePicture& picture);

}  // namespace KvMeasure
