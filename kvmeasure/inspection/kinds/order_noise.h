#pragma once
// How far order statistics of noisy heights scatter: extremes, percentiles and means of bands.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/point_spacing.h>
#include <kvmeasure/profiles/robust_line.h>

#include <vector>

namespace KvMeasure {

/// Standard deviations of what is read from the sorted heights of points, each the height of a surface plus
/// Gaussian noise of the model. All are NaN where the noise is not known.
class KVMEASURE_EXPORT OrderNoise {
public:
    /// Of `count` points evenly over a line that rises by `rise` mm over their whole length.
    OrderNoise(double count, double rise, const NoiseModel& noise);
    /// Of points where the surface has these heights, mm, all finite; see smoothHeights().
    OrderNoise(const std::vector<double>& heights, const NoiseModel& noise);

    /// `share` as missingShare() gives it: points that are missing by chance, too.
    void setMissing(double share) { missing_ = share; }

    /// Of the greatest height, or the least: half of the distance between the 84 % and the 16 % quantile of
    /// its distribution, the product of those of all points. Correlated points count as fewer, by the
    /// correlation time. 0 without noise; the noise of one point where the heights lie farther apart than
    /// 1e12 times it.
    double extreme(bool isGreatest = true) const;
    /// Of a percentile, 0 < percent < 100, else NaN: by Bahadur, the sum of p (1 - p) over the square of the
    /// density there, p being the share of each point's noise below it.
    double percentile(double percent) const;
    /// The height, mm over the middle of the surface heights, below which that share of the extremes lies, 0
    /// to 1; of the least heights with the sign turned.
    double extremeQuantile(double share, bool isGreatest = true) const;
    /// Several of them.
    std::vector<double> extremeQuantiles(const std::vector<double>& shares, bool isGreatest) const;
    /// Of the mean of the heights between the highest `skip` and `window` percent, 0 <= skip < window <= 100,
    /// else NaN: of the heights clipped to both limits, which is that mean's influence function.
    double bandMean(double skip, double window) const;

private:
    /// Points of about one height.
    struct Bin {
        double height;  ///< in standard deviations of the noise, from the middle of the surface heights
        double share;   ///< of the points
    };
    using Bins = std::vector<Bin>;

    bool isUnknown() const;
    Bins between(double low, double high) const;
    Bins extremeBins(bool isGreatest) const;
    double quantileOfExtreme(double share, bool isGreatest, const Bins& bins) const;
    double quantile(double share) const;
    double scattered(double ofNoise, double linear, double ofMissing) const;

    std::vector<double> heights_;  ///< as `height`, of all points; empty: evenly over a line
    double range_ = 0;             ///< of the heights, in standard deviations
    NoiseModel noise_;
    double count_;
    double missing_ = 0;
};

/// The heights of the surface under noisy points in scan order: at each the line through the points around
/// it, as many to each side as three correlation times, five at least.
KVMEASURE_EXPORT std::vector<double> smoothHeights(const std::vector<double>& heights,
                                                   double correlationTime);

/// Standard deviation of the place of the greatest height, or the least, mm: each point counts by the density
/// that its height is the extreme one. `heights` are those of the surface at the places, in the same order.
KVMEASURE_EXPORT double deviationOfExtremePlace(const std::vector<double>& places,
                                                const std::vector<double>& heights, bool isGreatest,
                                                const NoiseModel& noise);

}  // namespace KvMeasure
