#pragma once
// Runs of a profile that hold together along y, and what they cover.

#include <kvmath/profile/profile.h>

#include <QtCore/QList>

#include <vector>

namespace KvMath::Internal {

/// Splits the profile into runs, in point order, where y rises by Lmax or more from one point to the next.
/// The difference is signed: a fall never splits. A NaN difference does. Pairs (start, end), both inclusive,
/// of the runs whose ends differ in y by more than Lmin; mm. Differences are taken in single precision. A
/// last point that stands alone is no run; with Lmin < 0 other lone points are runs of one. Traces at
/// level 1.
QList<int> getSegments(const KvProfile& profile, double Lmax, double Lmin);

/// The values strictly between the y of start and end of a run, for all runs. Falling runs cover nothing.
class Coverage {
public:
    Coverage() = default;  ///< covers nothing
    Coverage(const KvProfile& profile, const QList<int>& segments);
    bool contains(float v) const;

private:
    struct Interval {
        float from, to;  ///< open at both ends
    };
    std::vector<Interval> intervals_;  ///< ascending, disjoint; two may share an end, which neither covers
};

}  // namespace KvMath::Internal
