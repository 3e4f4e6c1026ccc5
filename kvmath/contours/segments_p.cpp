#include <kvmath/base/count_p.h>
#include <kvmath/base/trace_p.h>
#include <kvmath/contours/segments_p.h>

#include <QtCore/QString>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {
namespace {

constexpr int kTraceLevel = 1;

double rise(const QList<KvPointXY>& points, int from, int to) {
    return static_cast<double>(points.at(to).y - points.at(from).y);
}

QList<int> runs(const QList<KvPointXY>& points, double Lmax, double Lmin) {
    QList<int> segments;
    const int size = countOf(points);
    for (int start = 0; start + 1 < size;) {
        int end = start;
        // By design signed: only a rise splits. False for a NaN, which splits too.
        while (end + 1 < size && Lmax > rise(points, end, end + 1))
            ++end;
        if (std::fabs(rise(points, start, end)) > Lmin) {
            segments.append(start);
            segments.append(end);
        }
        start = end + 1;
    }
    return segments;
}

}  // namespace

QList<int> getSegments(const KvProfile& profile, double Lmax, double Lmin) {
    trace(kTraceLevel, "Contours::getSegments(prof(size=%1), Lmax=%2, Lmin=%3)", profile.points.size(), Lmax,
          Lmin);
    if (profile.points.size() < 2)
        return {};
    QList<int> segments = runs(profile.points, Lmax, Lmin);
    trace(kTraceLevel, "Contours::getSegments returning res(count=%1) <ok>", segments.size());
    return segments;
}

Coverage::Coverage(const KvProfile& profile, const QList<int>& segments) {
    for (int k = 0; k + 1 < segments.size(); k += 2) {
        const Interval run{profile.points.at(segments.at(k)).y, profile.points.at(segments.at(k + 1)).y};
        if (run.from < run.to)
            intervals_.push_back(run);
    }
    std::sort(intervals_.begin(), intervals_.end(),
              [](const Interval& a, const Interval& b) { return a.from < b.from; });
    size_t count = 0;
    for (const Interval& run : intervals_) {
        if (count > 0 && run.from < intervals_[count - 1].to)
            intervals_[count - 1].to = std::max(intervals_[count - 1].to, run.to);
        else
            intervals_[count++] = run;
    }
    intervals_.resize(count);
}

bool Coverage::contains(float v) const {
    const auto behind = std::lower_bound(intervals_.begin(), intervals_.end(), v,
                                         [](const Interval& run, float value) { return run.from < value; });
    return behind != intervals_.begin() && std::prev(behind)->to > v;
}

}  // namespace KvMath::Internal
