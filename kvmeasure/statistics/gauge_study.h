#pragma once
// Repeatability and reproducibility of a gauge from a study of parts, appraisers and trials.

#include <kvmeasure/base/global.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// One reading of a study.
struct StudyReading {
    QString part;       ///< which part was read
    QString appraiser;  ///< who read it
    double value = 0;   ///< what was read
};

/// How a study is evaluated: by average and range, or by analysis of variance.
enum class StudyMethod { Range, Anova };

/// A line of the analysis of variance.
struct StudySource {
    double squares = std::numeric_limits<double>::quiet_NaN();      ///< sum of squares
    int freedom = 0;                                                ///< degrees of freedom
    double f = std::numeric_limits<double>::quiet_NaN();            ///< NaN: none
    double probability = std::numeric_limits<double>::quiet_NaN();  ///< of a greater f without that source
    double variance = 0;  ///< component; 0 where it would be negative
};

/// A study: deviations in the unit of the readings; NaN where they do not exist.
struct KVMEASURE_EXPORT GaugeStudy {
    int parts = 0;                                                  ///< different parts
    int appraisers = 0;                                             ///< different appraisers
    int trials = 0;                                                 ///< readings of a part by an appraiser
    double ev = std::numeric_limits<double>::quiet_NaN();           ///< repeatability
    double av = std::numeric_limits<double>::quiet_NaN();           ///< reproducibility, 0 at least
    double interaction = std::numeric_limits<double>::quiet_NaN();  ///< of appraiser and part, by ANOVA
    double grr = std::numeric_limits<double>::quiet_NaN();          ///< of both
    double pv = std::numeric_limits<double>::quiet_NaN();           ///< of the parts
    double tv = std::numeric_limits<double>::quiet_NaN();           ///< of all
    int ndc = -1;                   ///< distinct categories, floor(1.41 PV / GRR); -1: not determined
    QString reason;                 ///< why there is no result; empty where there is one
    QString note;                   ///< what was taken how; empty for nothing
    StudySource partSource;         ///< by ANOVA
    StudySource appraiserSource;    ///< likewise
    StudySource interactionSource;  ///< of part and appraiser
    StudySource repeatSource;       ///< with the interaction where that is pooled
    bool isPooled = false;          ///< the interaction counts as repeatability
};

/// Evaluates a study in which each appraiser reads each part equally often; otherwise there is no result, and
/// the reason names the cell. Range: from 2 trials on, constants of AIAG's manual where it has them, else 1 /
/// d2 and 1 / sqrt(d2^2 + d3^2). ANOVA: parts and appraisers are random; the interaction is pooled with the
/// repeatability where its probability is above `poolingProbability`. One appraiser: AV is 0, and that is
/// noted.
KVMEASURE_EXPORT GaugeStudy gaugeStudy(const std::vector<StudyReading>& readings, StudyMethod method,
                                       double poolingProbability = 0.25);

}  // namespace KvMeasure
