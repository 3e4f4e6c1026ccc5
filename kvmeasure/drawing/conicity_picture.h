#pragma once
// The picture of a wheelset's rolling radius difference and equivalent conicity.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What a picture of the conicity shows.
struct ConicityPicture {
    QString title;                   ///< first line
    QString subtitle;                ///< second line
    std::vector<Vector> difference;  ///< lateral shift; rolling radius difference, mm
    std::vector<double> leaps;       ///< shifts at which a contact leaps, mm
    double runningPosition = std::numeric_limits<double>::quiet_NaN();  ///< shift, mm; NaN is not drawn
    std::vector<Vector> conicity;    ///< amplitude, mm; tan gamma by integration
    std::vector<Vector> regression;  ///< amplitude, mm; tan gamma by regression
};

/// An SVG document: the difference over the shift beside the conicity over the amplitude. Points that are not
/// finite are left out; without points: axes alone.
KVMEASURE_EXPORT QByteArray drawConicity(const ConicityPicture& picture);

}  // namespace KvMeasure
