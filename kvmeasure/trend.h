#pragma once
// Results of a measurement over many profiles: their statistics, and their picture along the scan.

#include "kvmeasure/template_file.h"

#include <QtCore/QByteArray>

#include <cmath>
#include <limits>
#include <vector>

namespace KvMeasure {

/// Mean and deviation by the recurrence of B. P. Welford (Technometrics 4 (1962) 419-420): one pass, no
/// difference of large sums.
struct Statistics {
    int count = 0;    ///< values
    int outside = 0;  ///< of these, out of tolerance
    double mean = 0, squares = 0;
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();

    void add(double value, bool isGood);
    /// With n - 1; NaN below two values.
    double deviation() const { return count > 1 ? std::sqrt(squares / (count - 1)) : std::nan(""); }
};

/// One measurement over all profiles.
struct Series {
    QString name, unit;
    bool hasTolerance = false;
    Tolerance tolerance;
    Statistics statistics;
    std::vector<double> values;  ///< one per profile, NaN where there is none; empty when not collected

    bool isGood(double value) const {
        const double deviation = value - tolerance.nominal;
        return !hasTolerance || (deviation >= tolerance.lower && deviation <= tolerance.upper);
    }
};

struct Trend {
    QString title, subtitle;
    std::vector<double> z;  ///< scan position per profile, mm; NaN where there is none
    QList<Series> series;
};

/// An SVG with one panel per measurement, at most 40: values along the scan, tolerance band, mean, and grey
/// where there is no value. The axis is z where the profiles have one that never turns back, otherwise their
/// number. Values far outside all others are drawn at the edge of the panel, as triangles.
QByteArray drawTrend(const Trend& trend);

}  // namespace KvMeasure
