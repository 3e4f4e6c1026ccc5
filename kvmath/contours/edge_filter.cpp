// Two template lines, three constraints between them, a point measured at one end. The pairs are asked in the
// order in which findTemplate would list them, but only those whose ends are near enough in x, and only until
// a line is known to be matched: no list of all matches is kept.

#include <kvmath/contours/edge_filter.h>

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/template.h>

#include <QtCore/QPointF>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace KvMath {
namespace {

constexpr double kNoBound = -1e100;
constexpr double kQuarterTurn = 3.14159265358979323846 / 2;
constexpr int kMostSegments = 16384;  // pairs grow as the square
constexpr double kLoose = 1e-9;       // share by which the window in x is wider than the gap

QList<LinePP> segmentsOf(const Profile3D& profile, const TSFindTemplateParams& params) {
    KvProfile plane;
    for (int i = 0; i < profile.size(); ++i) {
        const Vector3D* p = profile[i];
        if (p != nullptr && std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(p->z))
            plane.points.append(KvPointXY(p->x, p->z));
    }
    QList<LinePP> lines;
    QList<TSLinesIndecies> results;
    findTemplate(plane, nullptr, params, lines, results);
    if (lines.size() > kMostSegments)
        lines.clear();
    return lines;
}

/// Which segments are the first, and which the second, of a pair that meets the template.
struct Matched {
    std::vector<char> first, second;
};

class PairSearch {
public:
    PairSearch(const QList<LinePP>& lines, double maxGap, double maxAngle)
        : lines_(lines.begin(), lines.end()), maxGap_(maxGap), maxAngle_(maxAngle) {
        for (int i = 0; i < lines.size(); ++i)
            byEnd_.push_back(i);
        std::sort(byEnd_.begin(), byEnd_.end(), [this](int a, int b) { return end(a) < end(b); });
    }

    /// Pairs with the height of the start of the second over the first in the interval.
    Matched find(double lower, double upper) {
        TSTemplate pair(2);
        pair.addConstraint(new TSCRotationAngle(0, 1, 0, maxAngle_, TSCRotationAngle::AnyDirection));
        pair.addConstraint(new TSCEndPointDistanceWithCheck(0, 1, kNoBound, maxGap_));
        pair.addConstraint(new TSCEndPointShiftInDirection(0, 1, lower, upper, kQuarterTurn, true));
        Matched matched{std::vector<char>(lines_.size(), 0), std::vector<char>(lines_.size(), 0)};
        for (int second = 0; second < static_cast<int>(lines_.size()); ++second)
            matchSecond(pair, second, matched);
        return matched;
    }

private:
    double end(int i) const { return lines_[static_cast<size_t>(i)].p2.x; }

    void matchSecond(const TSTemplate& pair, int second, Matched& matched) {
        const double x = lines_[static_cast<size_t>(second)].p1.x;
        const double reach = maxGap_ + kLoose * (maxGap_ + std::fabs(x));
        auto from = std::lower_bound(byEnd_.begin(), byEnd_.end(), x - reach,
                                     [this](int i, double value) { return end(i) < value; });
        for (; from != byEnd_.end() && !(end(*from) > x + reach); ++from) {
            const int first = *from;
            char& isFirst = matched.first[static_cast<size_t>(first)];
            char& isSecond = matched.second[static_cast<size_t>(second)];
            if (first == second || (isFirst != 0 && isSecond != 0))
                continue;
            std::array<int, 2> codes{2 * first, 2 * second};
            if (pair.check(lines_.data(), codes.data(), 1))
                isFirst = isSecond = 1;
        }
    }

    std::vector<LinePP> lines_;
    std::vector<int> byEnd_;  ///< segments by the x of their ends
    double maxGap_, maxAngle_;
};

void appendEnd(QList<LinePP>& lines, int segment, double position, QList<QVariant>& points) {
    const int code = 2 * segment;
    TSLinesIndecies match(&code, 1);
    TSUMLinePoint edge(0, position, QStringLiteral("edge"));
    if (edge.measure(lines, match))
        points.append(QPointF(edge.getPoint().x, edge.getPoint().y));
}

/// The starts and ends of the segments for which `starts` and `ends` hold `wanted`.
int store(QList<LinePP>& lines, const std::vector<char>& starts, const std::vector<char>& ends, char wanted,
          QMap<QString, QVariant>& result) {
    QList<QVariant> points;
    for (int i = 0; i < lines.size(); ++i) {
        if (starts[static_cast<size_t>(i)] == wanted)
            appendEnd(lines, i, 0.0, points);
        if (ends[static_cast<size_t>(i)] == wanted)
            appendEnd(lines, i, 1.0, points);
    }
    result.insert(QStringLiteral("fltEdgePoints"), points);
    return Internal::countOf(points);
}

}  // namespace

int fltEdgePoints(const Profile3D& profile, const TSFindTemplateParams& params, double minHeight,
                  double maxHeight, double maxGap, double maxAngle, QMap<QString, QVariant>& result) {
    QList<LinePP> lines;
    if (minHeight > 0 && maxHeight >= minHeight && maxGap >= 0 && maxAngle >= 0)
        lines = segmentsOf(profile, params);
    PairSearch pairs(lines, maxGap, maxAngle);
    const Matched up = pairs.find(minHeight, maxHeight);
    const Matched down = pairs.find(-maxHeight, -minHeight);
    return store(lines, up.second, down.first, 1, result);
}

int fltEdgePointsWithoutTable(const Profile3D& profile, const TSFindTemplateParams& params,
                              double heightTolerance, double maxGap, double maxAngle,
                              QMap<QString, QVariant>& result) {
    QList<LinePP> lines;
    if (heightTolerance >= 0 && maxGap >= 0 && maxAngle >= 0)
        lines = segmentsOf(profile, params);
    const Matched level = PairSearch(lines, maxGap, maxAngle).find(-heightTolerance, heightTolerance);
    return store(lines, level.second, level.first, 0, result);
}

}  // namespace KvMath
