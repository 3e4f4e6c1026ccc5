#pragma once
// Analysis of variance of one factor.

#include <kvmeasure/base/global.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// The table of a one-way analysis of variance; NaN where a value does not exist.
struct KVMEASURE_EXPORT OneWayAnova {
    int count = 0;                                                ///< values
    int groups = 0;                                               ///< of them
    double betweenSS = std::numeric_limits<double>::quiet_NaN();  ///< sum of squares between groups
    double withinSS = std::numeric_limits<double>::quiet_NaN();   ///< within groups
    int betweenFreedom = 0;                                       ///< groups - 1
    int withinFreedom = 0;                                        ///< count - groups
    double f = std::numeric_limits<double>::quiet_NaN();          ///< ratio of the mean squares
    double probability =
        std::numeric_limits<double>::quiet_NaN();                ///< of a greater one where groups are alike
    double rSquared = std::numeric_limits<double>::quiet_NaN();  ///< share between groups
    double residualStandardDeviation = std::numeric_limits<double>::quiet_NaN();  ///< within groups
    /// Components where groups are drawn at random, as parts are: the variance of values of one group, and
    /// that of the true means of groups, (mean square between - within) / n0 with n0 = (count - sum of
    /// squared sizes / count) / (groups - 1); 0 where it would be negative.
    double varianceWithin = std::numeric_limits<double>::quiet_NaN();
    double varianceBetween = std::numeric_limits<double>::quiet_NaN();  ///< see varianceWithin
    QString reason;  ///< why there is no table, or no f; empty where there is
};

/// The groups are named value by value; they may be of different sizes. No table: fewer than two groups, or a
/// value in each alone. No f: all values of each group are equal.
KVMEASURE_EXPORT OneWayAnova oneWayAnova(const std::vector<double>& values, const QStringList& groups);

}  // namespace KvMeasure
