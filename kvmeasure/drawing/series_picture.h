#pragma once
// The picture of a series of values: run chart and histogram.

#include <kvmeasure/base/global.h>
#include <kvmeasure/statistics/capability.h>
#include <kvmeasure/statistics/control_chart.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

namespace KvMeasure {

/// What a picture of a series shows.
struct SeriesPicture {
    QString title;               ///< first line
    QString subtitle;            ///< second line
    QString upward = "value";    ///< name and unit of the values
    std::vector<double> values;  ///< in the order of their making, finite
    Limits limits;               ///< of the characteristic; infinite ones are not drawn
    ControlChart chart;          ///< control limits and signals; NaN are not drawn
};

/// An SVG document: the values in their order with control limits and what breaks the rules, and beside them
/// the histogram with the limits. Without values: axes alone.
KVMEASURE_EXPORT QByteArray drawSeries(const SeriesPicture& picture);

}  // namespace KvMeasure
