#pragma once
// A worn section of a wheel or a rail on its nominal one.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

namespace KvMeasure {

/// A distance from a nominal place to a worn one, with its name and value.
struct WearPictureMark {
    Vector from;   ///< a place on the nominal section, mm
    Vector to;     ///< the place on the worn one, mm
    QString text;  ///< e.g. "W1 2.50"
};

/// What the picture shows: heights upwards, mm. Without nominal points the worn section alone.
struct WearPicture {
    QString title;                       ///< first line, large
    QString subtitle;                    ///< second line
    std::vector<Vector> nominal;         ///< drawn as a line, filled where material is missing
    std::vector<Vector> worn;            ///< drawn as a filled section
    std::vector<WearPictureMark> marks;  ///< with a label each
};

/// The picture as SVG. Sections without points leave the area empty.
KVMEASURE_EXPORT QByteArray drawWear(const WearPicture& picture);

}  // namespace KvMeasure
