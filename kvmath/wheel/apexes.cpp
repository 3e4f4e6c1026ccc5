#include <kvmath/wheel/apexes.h>

#include <kvmath/base/count_p.h>
#include <kvmath/wheel/wheel_lines_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath {

namespace {

bool isUnset(const KvPointXY& p) { return !std::isfinite(p.x) || !std::isfinite(p.y); }

/// The line through the points first ... last; its slope is not finite where they have none.
KvLine fittedLine(const QList<KvPointXY>& points, int first, int last) {
    KvPointCloud<KvPointXY> piece;
    piece.points = points.mid(first, last - first + 1);
    KvLine line;
    line.calcFromPointCloud(piece);  // of two points at least
    return line;
}

}  // namespace

int ORBIS_detectApexes(KvProfile profile, KvProfile& apexes, QList<KvLine>& lines, float tolerance) {
    apexes.clear();
    lines.clear();
    QList<KvPointXY>& points = profile.points;
    points.erase(std::remove_if(points.begin(), points.end(), isUnset), points.end());
    std::stable_sort(points.begin(), points.end(),
                     [](const KvPointXY& a, const KvPointXY& b) { return a.x < b.x; });
    const std::vector<int> breaks =
        Internal::straightPieces(Internal::widened(points), static_cast<double>(tolerance), 0).breaks;

    KvLine before;
    for (std::size_t k = 0; k + 1 < breaks.size(); ++k) {
        const KvLine behind = fittedLine(points, breaks[k], breaks[k + 1]);
        KvPointXY apex;
        if (before.k > 0 && behind.k < 0) {
            KvLine::calcIntersection(before, behind, apex);  // slopes of either sign differ
            apexes.points.append(apex);
            lines.append(before);
            lines.append(behind);
        }
        before = behind;
    }
    return Internal::countOf(apexes.points);
}

}  // namespace KvMath
