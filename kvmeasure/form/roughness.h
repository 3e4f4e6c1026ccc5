#pragma once
// Roughness and waviness of a profile (ISO 4287, ISO 21920-2).

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// ISO 4287 gives the mean of the values of all sampling lengths; ISO 21920-2 takes Ra, Rq, Rsk and Rku over
/// the whole evaluation length, and Rz, Rp and Rv as means of its sections.
enum class RoughnessNorm { Iso21920, Iso4287 };

/// How a profile is evaluated.
struct RoughnessSettings {
    double cutoff = 0.8;     ///< lambda c, mm, > 0: parts waviness and roughness; the sampling length
    double shortCutoff = 0;  ///< lambda s, mm, below the cut-off: waves that are no roughness; 0: none
    RoughnessNorm norm = RoughnessNorm::Iso21920;  ///< what is a mean of sections
    bool isRobust = false;                         ///< the mean line does not follow stray points
    bool keepsEnds = false;  ///< half a cut-off at each end counts, though the filter is one-sided there
};

/// Values in mm; NaN where there is none. RSm needs two elements.
struct KVMEASURE_EXPORT RoughnessValues {
    double ra = std::numeric_limits<double>::quiet_NaN();   ///< mean of the sizes of the heights
    double rq = std::numeric_limits<double>::quiet_NaN();   ///< root mean square of the heights
    double rz = std::numeric_limits<double>::quiet_NaN();   ///< highest peak to lowest valley of a section
    double rp = std::numeric_limits<double>::quiet_NaN();   ///< highest peak of a section
    double rv = std::numeric_limits<double>::quiet_NaN();   ///< lowest valley of a section, > 0
    double rt = std::numeric_limits<double>::quiet_NaN();   ///< the same over the evaluation length
    double rsk = std::numeric_limits<double>::quiet_NaN();  ///< skewness; no unit
    double rku = std::numeric_limits<double>::quiet_NaN();  ///< kurtosis, 3 of normal noise; no unit
    double rsm = std::numeric_limits<double>::quiet_NaN();  ///< mean length of a peak with its valley; peaks
                                                            ///< and valleys below 10 % of Rz, or shorter than
                                                            ///< 1 % of the cut-off, are none
    double wa = std::numeric_limits<double>::quiet_NaN();   ///< mean size of the waviness
    double wz = std::numeric_limits<double>::quiet_NaN();   ///< its peak to valley
};

/// An evaluated profile.
struct KVMEASURE_EXPORT Roughness {
    RoughnessValues values;        ///< by the norm of the settings
    int sections = 0;              ///< sampling lengths evaluated
    double from = 0;               ///< where the evaluation length begins, mm
    double to = 0;                 ///< where it ends
    double pitch = 0;              ///< median point distance along x, mm
    std::vector<double> waviness;  ///< mean line less the straight line, of each point in ascending x
    std::vector<double> heights;   ///< roughness likewise
    std::vector<double> x;         ///< their places
    QStringList notes;             ///< what a reader must know of the values
    QString reason;                ///< why there are none; empty where there are
};

/// Evaluates finite points in any order: takes the least-squares line away, filters, leaves half a cut-off at
/// each end out, and takes as many whole sampling lengths as there are. No values: fewer than three points or
/// a line without length, less than one sampling length, a pitch above a fifth of the cut-off. Throws Error
/// as gaussianMeanLine() does and for a short cut-off that is not below the cut-off.
KVMEASURE_EXPORT Roughness roughness(const std::vector<Vector>& points, const RoughnessSettings& settings);

}  // namespace KvMeasure
