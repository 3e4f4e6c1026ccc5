#pragma once
// Results of a measurement over many profiles: their statistics, and their picture along the scan.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/plan.h>

#include <QtCore/QByteArray>

#include <cmath>
#include <limits>
#include <vector>

namespace KvMeasure {

/// Mean and deviation by the recurrence of B. P. Welford (Technometrics 4 (1962) 419-420): one pass, no
/// difference of large sums.
struct KVMEASURE_EXPORT Statistics {
    int count = 0;       ///< values
    int outside = 0;     ///< of these, out of tolerance
    double mean = 0;     ///< of the values; 0 without any
    double squares = 0;  ///< sum of the squared deviations from the mean
    double minimum = std::numeric_limits<double>::infinity();   ///< least value; infinite without any
    double maximum = -std::numeric_limits<double>::infinity();  ///< greatest value; -infinite without any

    /// Takes a value; it must not be NaN, which would make the mean NaN for good.
    void add(double value, bool isGood);
    /// With n - 1; NaN below two values.
    double deviation() const { return count > 1 ? std::sqrt(squares / (count - 1)) : std::nan(""); }
};

/// One measurement over all profiles.
struct Series {
    QString name;                ///< of the value
    QString unit;                ///< "mm" or "deg"
    bool hasTolerance = false;   ///< otherwise every value is good
    Tolerance tolerance;         ///< where there is one
    Statistics statistics;       ///< of the values
    Statistics freeEdges;        ///< of what the compensation of free edges added to the values
    std::vector<double> values;  ///< one per profile, NaN where there is none; empty when not collected

    /// Within the tolerance, its limits included.
    bool isGood(double value) const {
        const double deviation = value - tolerance.nominal;
        return !hasTolerance || (deviation >= tolerance.lower && deviation <= tolerance.upper);
    }
};

/// Measurements over the profiles of a scan.
struct Trend {
    QString title;          ///< first line, large
    QString subtitle;       ///< second line
    std::vector<double> z;  ///< scan position per profile, mm; NaN where there is none
    QList<Series> series;   ///< each with a value per element of z
};

/// An SVG document with one panel per measurement, at most 40: values along the scan, tolerance band, mean,
/// and grey where there is no value. The axis is z where the profiles have one that never turns back,
/// otherwise their number. Values far outside all others are drawn at the edge of the panel, as triangles.
/// Without series or values: the axes alone.
KVMEASURE_EXPORT QByteArray drawTrend(const Trend& trend);

}  // namespace KvMeasure
