// Both ends of the window only ever advance, so that every point enters and leaves two ordered sets once: the
// lower half of the heights with the median, and the upper half.

#include <kvmeasure/profiles/running_median_p.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>
#include <vector>

namespace KvMeasure::Internal {

namespace {

using Points = QList<KvMath::KvPointXY>;

/// The heights of a window, an odd number of them when the median is asked for.
class Heights {
public:
    void insert(float height, int index) {
        const Entry entry(height, index);
        if (lower_.empty() || entry < *lower_.rbegin())
            lower_.insert(entry);
        else
            upper_.insert(entry);
        balance();
    }

    void remove(float height, int index) {
        const Entry entry(height, index);
        if (lower_.erase(entry) == 0)
            upper_.erase(entry);
        balance();
    }

    float median() const { return lower_.rbegin()->first; }

private:
    using Entry = std::pair<float, int>;  // the index tells equal heights apart

    void balance() {
        if (lower_.size() > upper_.size() + 1)
            upper_.insert(lower_.extract(std::prev(lower_.end())));
        else if (lower_.size() < upper_.size())
            lower_.insert(upper_.extract(upper_.begin()));
    }

    std::set<Entry> lower_, upper_;
};

/// Indices of the points with both coordinates.
std::vector<int> setPoints(const Points& points) {
    std::vector<int> indices;
    for (int i = 0; i < static_cast<int>(points.size()); ++i) {
        if (!std::isnan(points[i].x) && !std::isnan(points[i].y))
            indices.push_back(i);
    }
    return indices;
}

double stepAt(const Points& points, const std::vector<int>& indices, std::size_t k) {
    return std::fabs(double(points[indices[k]].x) - double(points[indices[k - 1]].x));
}

/// The least distance in x that is a gap; infinite where all points have one x.
double leastGap(const Points& points, const std::vector<int>& indices) {
    std::vector<double> steps;
    for (std::size_t k = 1; k < indices.size(); ++k) {
        if (const double step = stepAt(points, indices, k); step > 0)
            steps.push_back(step);
    }
    if (steps.empty())
        return std::numeric_limits<double>::infinity();
    const auto middle = steps.begin() + std::ptrdiff_t(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return kMedianGapPitches * *middle;
}

/// The medians of the points from `first` to before `end` of the indices, among which there is no gap.
void medianOfRun(const Points& from, Points& to, const std::vector<int>& indices, std::size_t first,
                 std::size_t end, std::size_t half) {
    Heights heights;
    std::size_t left = first;  // the window holds [left, right)
    std::size_t right = first;
    for (std::size_t k = first; k < end; ++k) {
        const std::size_t reach = std::min({half, k - first, end - 1 - k});
        for (; right <= k + reach; ++right)
            heights.insert(from[indices[right]].y, indices[right]);
        for (; left < k - reach; ++left)
            heights.remove(from[indices[left]].y, indices[left]);
        to[indices[k]].y = heights.median();
    }
}

}  // namespace

void runningMedian(KvMath::KvProfile& profile, int window) {
    if (window < 1 || window > profile.points.size())
        return;
    const Points from = profile.points;
    const std::vector<int> indices = setPoints(from);
    const double gap = leastGap(from, indices);
    std::size_t first = 0;
    for (std::size_t k = 1; k <= indices.size(); ++k) {
        if (k < indices.size() && !(stepAt(from, indices, k) > gap))
            continue;
        medianOfRun(from, profile.points, indices, first, k, std::size_t(window) / 2);
        first = k;
    }
}

}  // namespace KvMeasure::Internal
