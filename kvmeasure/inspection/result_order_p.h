#pragma once
// The order in which results are shown: that of the measurements.

#include <kvmeasure/inspection/plan.h>

namespace KvMeasure::Internal {

/// The results of all measurements, named `name`, with each mean, as `take` gives it, in the place of its
/// first part, and without parts of means.
template <class Result, class Take>
QList<Result> inShownOrder(const InspectionPlan& plan, const QList<Result>& results, const Take& take) {
    QList<Result> shown;
    for (const Result& result : results) {
        bool isPart = false;
        for (const Mean& mean : plan.means) {
            isPart = isPart || result.name == mean.first || result.name == mean.second;
            if (result.name == mean.first)
                shown.append(take(mean));
        }
        if (!isPart)
            shown.append(result);
    }
    return shown;
}

}  // namespace KvMeasure::Internal
