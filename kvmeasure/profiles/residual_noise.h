#pragma once
// How much the points of a scanner line scatter about fitted lines and arcs, and over how many neighbours
// their scatter is correlated. What the standard uncertainty of a fitted value rests on.

#include <kvmeasure/base/global.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// The noise of the points that a ResidualNoise has collected.
struct KVMEASURE_EXPORT NoiseModel {
    /// Standard deviation of a point, mm; NaN: not known.
    double deviation = std::numeric_limits<double>::quiet_NaN();
    /// Integrated autocorrelation time: the variance of a mean of n points is that of n / correlationTime
    /// independent ones. Points, at least 1, which is white noise; NaN: not known.
    double correlationTime = std::numeric_limits<double>::quiet_NaN();
    double squaredCorrelation = 1;  ///< sum of the squared autocorrelations over all lags, at least 1
    int lags = 0;                   ///< the greatest lag that was found to be correlated; 0: white noise
    bool isSmooth = false;          ///< the autocorrelation of neighbours is above 0.7
    double points = 0;              ///< number of residuals that it was taken from
    int pieces = 0;                 ///< number of fits that these come from
    QString reason;                 ///< why the correlation time is not known; empty: it is

    /// Number of independent points that `count` points are worth; NaN where it is not known.
    double lengths(double count) const { return count / correlationTime; }
    /// True where a fit of that many points holds too few correlation lengths for its uncertainty to be
    /// trusted: fewer than 30, or fewer than 10 where at least 30 are pooled over several fits.
    bool isShort(double count) const;
    /// What an uncertainty is multiplied with because this model rests on few points itself: about 1.01 for
    /// 100 correlation lengths, 1.03 for 30, 1.1 for 10 and 1.6 for 5. For fewer than 75 points of smooth
    /// noise (75 / points)^1.5 times as much.
    double widening() const;
};

/// Standard deviation of a weighted mean over a fit, see deviationOf.
struct FitDeviation {
    /// Standard deviation of a point times the root of the correlation time, mm: the standard uncertainty of
    /// a mean of n points is this divided by the root of n. NaN: not known.
    double deviation = std::numeric_limits<double>::quiet_NaN();
    double degreesOfFreedom = 0;  ///< of the deviation; 0 where it is not known
    bool isShort = false;         ///< see NoiseModel::isShort
    QString reason;               ///< why it is not known; empty: it is
};

/// Collects the residuals of fits. The correlation is the scanner's, and one line of few points shows it
/// badly: collect the residuals of all lines and arcs of a profile, or of the profiles of a run, in one.
///
///     ResidualNoise noise;
///     noise.add(left.residuals, 2);
///     noise.add(right.residuals, 2);
///     const LineUncertainty u = lineUncertainty(left, noise.model());
class KVMEASURE_EXPORT ResidualNoise {
public:
    /// Adds the residuals of a fit with that many parameters, in scan order, mm. No more than twice as many
    /// residuals as parameters, or one that is not finite: nothing is added. Residuals that are all 0 only
    /// count where all are. Beyond 200,000 residuals in all nothing is added either: the correlation is known
    /// then.
    void add(const std::vector<double>& residuals, int parameters);
    /// The same of residuals that are not needed any more: they are not copied.
    void add(std::vector<double>&& residuals, int parameters);
    bool isEmpty() const { return pieces_.empty() && zeroCount_ == 0; }  ///< nothing was added
    /// Adds all that another one has collected.
    void add(const ResidualNoise& other);

    /// The noise. The autocorrelation is summed over pairs of lags as long as these are positive and greater
    /// than their own scatter (initial positive sequence, C. J. Geyer, Statistical Science 7 (1992) 473-483),
    /// at most 128 lags. What a fit takes out of the residuals is put back: a line of n points with the
    /// correlation time t lowers every autocovariance by 2 t / n variances. Without residuals the deviation
    /// is not known either; of residuals that are all 0 it is 0. The correlation time is not known for fewer
    /// than 24 residuals, and where so much has to be put back that the residuals say little (fewer than
    /// about 5 correlation lengths).
    NoiseModel model() const;

private:
    struct Piece {
        std::vector<double> residuals;  ///< mm
        int parameters = 0;
        double squares = 0;  ///< their sum, mm^2
    };
    class Correlogram;

    std::vector<Piece> pieces_;
    std::size_t count_ = 0;      ///< residuals of all pieces
    std::size_t zeroCount_ = 0;  ///< residuals of fits without any deviation
};

/// What the means over a fit scatter by: `squares` is the sum of the squared residuals, mm^2, of `count`
/// points and a fit of that many parameters. The deviation is the fit's own; that of the model takes its
/// place where the fit holds fewer than 30 correlation lengths and its own is within a factor of 2 of the
/// pooled one. Not known where the model's correlation time is not.
KVMEASURE_EXPORT FitDeviation deviationOf(double squares, double count, int parameters,
                                          const NoiseModel& noise);

}  // namespace KvMeasure
