#pragma once
// The order in which results are shown: that of the measurements.

#include <kvmeasure/inspection/plan.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace KvMeasure::Internal {

/// The result of that name stands for nothing alone.
inline bool isPartOfMean(const InspectionPlan& plan, const QString& name) {
    return std::any_of(plan.means.begin(), plan.means.end(),
                       [&](const Mean& mean) { return name == mean.first || name == mean.second; });
}

/// Results of all measurements, named `name`: each mean, as `take` gives it, in the place of its first part,
/// and none of the parts of means. `take` is called while `results` are as they were.
template <class Result, class Take>
void toShownOrder(const InspectionPlan& plan, const Take& take, QList<Result>& results) {
    if (plan.means.isEmpty())
        return;
    std::vector<std::pair<int, Result>> means;  // with their places
    const auto all = static_cast<int>(results.size());
    for (int i = 0; i < all; ++i) {
        for (const Mean& mean : plan.means) {
            if (results.at(i).name == mean.first)
                means.emplace_back(i, take(mean));
        }
    }
    for (int i = all - 1; i >= 0; --i) {
        if (!isPartOfMean(plan, results.at(i).name))
            continue;
        results.removeAt(i);
        for (; !means.empty() && means.back().first == i; means.pop_back())
            results.insert(i, means.back().second);
    }
}

}  // namespace KvMeasure::Internal
