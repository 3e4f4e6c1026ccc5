#include <kvmath/contours/edge_points.h>

#include <kvmath/base/trace_p.h>
#include <kvmath/contours/segments_p.h>
#include <kvmath/profile/profile_zset.h>

#include <QtCore/QString>

namespace KvMath {
namespace {

using Internal::Coverage;

constexpr int kTraceLevel = 1;

KvVector2D<double> widened(const KvPointXY& p) {
    return {static_cast<double>(p.x), static_cast<double>(p.y)};
}

void appendEdges(const QList<KvPointXY>& profile, const QList<int>& segments, const Coverage& before,
                 const Coverage& behind, QList<KvVector2D<double>>& points) {
    for (int k = 0; k + 1 < segments.size(); k += 2) {
        const int start = segments.at(k);
        const int end = segments.at(k + 1);
        points.append(widened(profile.at(start)));
        for (int j = start + 1; j < end; ++j) {
            const KvPointXY& p = profile.at(j);
            if (!before.contains(p.y) || !behind.contains(p.y))
                points.append(widened(p));
        }
        points.append(widened(profile.at(end)));
    }
}

}  // namespace

bool getEdgePoints(const KvProfileZSet& stack, double Lmax, double Lmin, QList<KvVector2D<double>>& points) {
    Internal::trace(kTraceLevel, "Contours::getEdgePoints(profSet(size=%1), Lmax=%2, Lmin=%3)", stack.size(),
                    Lmax, Lmin);
    // One profile ahead of the one whose points are judged; nothing covers before the first or behind the
    // last.
    Coverage before, own;
    QList<int> segments;
    for (int i = 0; i <= stack.size(); ++i) {
        QList<int> ahead;
        Coverage behind;
        if (i < stack.size()) {
            ahead = Internal::getSegments(stack.at(i), Lmax, Lmin);
            behind = Coverage(stack.at(i), ahead);
        }
        if (i > 0)
            appendEdges(stack.at(i - 1).points, segments, before, behind, points);
        before = std::move(own);
        own = std::move(behind);
        segments = ahead;
    }
    Internal::trace(kTraceLevel, "Contours::getEdgePoints: returning true <points.count=%1>", points.size());
    return true;
}

}  // namespace KvMath
