#pragma once
// The picture of a gauge study: the components of the scatter, and the readings part by part.

#include <kvmeasure/base/global.h>
#include <kvmeasure/statistics/gauge_study.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What a picture of a study shows.
struct StudyPicture {
    QString title;                       ///< first line
    QString subtitle;                    ///< second line
    QString upward = "value";            ///< name and unit of the readings
    std::vector<StudyReading> readings;  ///< of all parts
    GaugeStudy study;                    ///< their evaluation; without a result the readings alone are drawn
    double tolerance = std::numeric_limits<double>::quiet_NaN();  ///< distance of the limits; NaN: none
};

/// An SVG document. Left: repeatability, reproducibility, interaction where there is one, gauge and parts as
/// shares of the scatter of all and, with a tolerance, six standard deviations as shares of it; lines at 10
/// and 30 %. Right: the readings of up to 200 parts, a colour for each of the first eight appraisers, whose
/// means are joined. Without readings: axes alone.
KVMEASURE_EXPORT QByteArray drawStudy(const StudyPicture& picture);

}  // namespace KvMeasure
