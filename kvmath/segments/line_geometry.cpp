#include <kvmath/segments/line_geometry.h>

#include <kvmath/segments/line_fit_p.h>

#include <cmath>
#include <limits>

namespace KvMath {

void LinePP2LineABC(const LinePP& segment, LineABC& line) {
    const double dx = segment.p2.x - segment.p1.x;
    const double dy = segment.p2.y - segment.p1.y;
    const double length = std::sqrt(dx * dx + dy * dy);
    const double a = -dy / length;
    const double b = dx / length;
    line.c = -(a * segment.p1.x + b * segment.p1.y);
    line.a = a;
    line.b = b;
}

void lsd(const KvVector2D<double>* pts, int n, LineABC& line) {
    if (n < 1 || pts == nullptr) {
        line.a = line.b = line.c = std::numeric_limits<double>::quiet_NaN();
        return;
    }
    Internal::MomentSums sums;
    Internal::addPoints(sums, {pts, pts + n});
    line = Internal::fitLine(sums, {pts, pts + n});
}

void linesIntersection(const LineABC& l1, const LineABC& l2, KvVector2D<double>& p) {
    const double d = l1.a * l2.b - l2.a * l1.b;
    p.x = (l2.c * l1.b - l1.c * l2.b) / d;
    p.y = (l1.c * l2.a - l2.c * l1.a) / d;
}

void nearestLinePointToPoint(const LineABC& l, const KvVector2D<double>& q, KvVector2D<double>& p) {
    const double n = l.a * l.a + l.b * l.b;
    const double t = l.a * q.y - l.b * q.x;
    p.x = (-l.c * l.a - t * l.b) / n;
    p.y = (t * l.a - l.c * l.b) / n;
}

double dist(const LinePP& s, KvVector2D<double> q) { return distWithDir(s, q, nullptr); }

double distWithDir(const LinePP& s, KvVector2D<double> q, int* side) {
    const double dx = s.p2.x - s.p1.x;
    const double dy = s.p2.y - s.p1.y;
    const double length = std::sqrt(dx * dx + dy * dy);
    const double offset = -dy / length * (s.p1.x - q.x) + dx / length * (s.p1.y - q.y);
    if (side != nullptr)
        *side = offset > 0 ? 1 : (offset < 0 ? -1 : 0);
    return std::fabs(offset);
}

}  // namespace KvMath
