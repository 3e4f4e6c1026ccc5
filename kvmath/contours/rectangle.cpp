// One pass finds the line that comes in and the one that leaves; a line that only passes through is found by
// clipping. What lies between these two is then replaced by the corner where they meet, or by a Bezier path
// through the ends inside. Nothing is written before all tests have passed. Linear in the lines, and in the
// points of the path.
#include <kvmath/contours/rectangle.h>

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/profile/trajectories.h>
#include <kvmath/segments/line_geometry.h>

#include <algorithm>
#include <cmath>

namespace KvMath {
namespace {

using Point = KvVector2D<double>;

constexpr double kParallel = 1e-6;  // sine of the angle between two lines

class Rectangle {
public:
    Rectangle(const Point& a, const Point& b)
        : minX_(std::min(a.x, b.x)), maxX_(std::max(a.x, b.x)), minY_(std::min(a.y, b.y)),
          maxY_(std::max(a.y, b.y)), isValid_(a.x - b.x == a.x - b.x && a.y - b.y == a.y - b.y) {}

    /// False for a NaN, on either side.
    bool contains(const Point& p) const {
        return isValid_ && p.x >= minX_ && p.x <= maxX_ && p.y >= minY_ && p.y <= maxY_;
    }

    /// Shares of the way from p1 to p2 that lie inside (Liang, Barsky 1984); false when none do.
    bool clip(const LinePP& line, double& from, double& to) const {
        from = 0;
        to = 1;
        return isValid_ && clipAxis(line.p1.x, line.p2.x, minX_, maxX_, from, to) &&
               clipAxis(line.p1.y, line.p2.y, minY_, maxY_, from, to);
    }

    Point at(const LinePP& line, double share) const {
        return {std::min(std::max(line.p1.x + share * (line.p2.x - line.p1.x), minX_), maxX_),
                std::min(std::max(line.p1.y + share * (line.p2.y - line.p1.y), minY_), maxY_)};
    }

private:
    static bool clipAxis(double p1, double p2, double low, double high, double& from, double& to) {
        const double way = p2 - p1;
        if (way == 0)
            return p1 >= low && p1 <= high;
        const double a = (low - p1) / way;
        const double b = (high - p1) / way;
        from = std::max(from, std::min(a, b));
        to = std::min(to, std::max(a, b));
        return from <= to;
    }

    double minX_, maxX_, minY_, maxY_;
    bool isValid_;
};

struct Passage {
    int in = -1, out = -1;  ///< the line that comes in and the one that leaves
};

bool findPassage(const QList<LinePP>& lines, const Rectangle& rectangle, Passage& passage) {
    for (int i = 0; i < lines.size(); ++i) {
        const bool startsInside = rectangle.contains(lines.at(i).p1);
        const bool endsInside = rectangle.contains(lines.at(i).p2);
        double from = 0;
        double to = 0;
        if (!startsInside && !endsInside && rectangle.clip(lines.at(i), from, to))
            return false;
        if (startsInside == endsInside)
            continue;
        int& found = endsInside ? passage.in : passage.out;
        if (found >= 0)
            return false;
        found = i;
    }
    if (passage.in < 0 || passage.out < 0)
        return false;
    const int n = Internal::countOf(lines);
    for (int i = (passage.in + 1) % n; i != passage.out; i = (i + 1) % n)
        if (!rectangle.contains(lines.at(i).p1))  // then so is its end: no other line crosses the border
            return false;
    return true;
}

/// The lines with those between the two replaced by `between`; they begin with the line that leaves when the
/// end of the list lies between the two.
QList<LinePP> replaced(const QList<LinePP>& lines, const Passage& passage, const QList<LinePP>& between) {
    if (passage.in < passage.out)
        return lines.mid(0, passage.in + 1) + between + lines.mid(passage.out);
    return lines.mid(passage.out, passage.in - passage.out + 1) + between;
}

void appendNew(QList<Point>& way, const Point& p) {
    if (way.last().x != p.x || way.last().y != p.y)
        way.append(p);
}

/// From the border along the ends of the lines inside to the border.
QList<Point> wayInside(const QList<LinePP>& lines, const Passage& passage, const Point& first,
                       const Point& last) {
    QList<Point> way;
    way.append(first);
    for (int i = passage.in;; i = (i + 1) % Internal::countOf(lines)) {
        if (i != passage.in)
            appendNew(way, lines.at(i).p1);
        if (i == passage.out)
            break;
        appendNew(way, lines.at(i).p2);
    }
    appendNew(way, last);
    return way;
}

}  // namespace

bool makeOneIntersectionInRectangle(QList<LinePP>& lines, KvVector2D<double> corner1,
                                    KvVector2D<double> corner2) {
    const Rectangle rectangle(corner1, corner2);
    Passage passage;
    if (!findPassage(lines, rectangle, passage))
        return false;
    LineABC in, out;
    LinePP2LineABC(lines.at(passage.in), in);
    LinePP2LineABC(lines.at(passage.out), out);
    if (!(std::fabs(in.a * out.b - out.a * in.b) > kParallel))
        return false;
    Point corner;
    linesIntersection(in, out, corner);
    if (!rectangle.contains(corner))
        return false;
    lines[passage.in].p2 = corner;
    lines[passage.out].p1 = corner;
    lines = replaced(lines, passage, {});
    return true;
}

bool makePolynomInRectangle(QList<LinePP>& lines, KvVector2D<double> corner1, KvVector2D<double> corner2,
                            int pointsPerPiece) {
    const Rectangle rectangle(corner1, corner2);
    Passage passage;
    if (!findPassage(lines, rectangle, passage))
        return false;
    double from = 0;
    double to = 0;
    rectangle.clip(lines.at(passage.in), from, to);  // true, as on the way out: one end is inside
    const Point first = rectangle.at(lines.at(passage.in), from);
    rectangle.clip(lines.at(passage.out), from, to);
    const Point last = rectangle.at(lines.at(passage.out), to);

    QList<CubicBezierCurve> curves;
    KvProfile path;
    if (!interpolateTrajectory(wayInside(lines, passage, first, last), curves) ||
        cubicBezierSpline2KvProfile(curves, std::max(1, pointsPerPiece), path) < 2)
        return false;
    QList<LinePP> smooth;
    Point start = first;
    for (int i = 1; i < path.points.size(); ++i) {
        const KvPointXY& p = path.points.at(i);
        const Point end =
            i + 1 < path.points.size() ? Point(static_cast<double>(p.x), static_cast<double>(p.y)) : last;
        smooth.append(LinePP(start, end));
        start = end;
    }
    lines[passage.in].p2 = first;
    lines[passage.out].p1 = last;
    lines = replaced(lines, passage, smooth);
    return true;
}

}  // namespace KvMath
