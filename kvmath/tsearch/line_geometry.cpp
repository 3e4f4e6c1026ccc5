#include <kvmath/tsearch/line_geometry.h>

#include <cmath>
#include <limits>

namespace KvMath {

namespace {

constexpr double kHalfPi = 1.5707963705062866;  // single-precision value, kept deliberately

}  // namespace

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
    double sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
    for (int i = 0; i < n; ++i) {
        sx += pts[i].x;
        sy += pts[i].y;
        sxx += pts[i].x * pts[i].x;
        sxy += pts[i].x * pts[i].y;
        syy += pts[i].y * pts[i].y;
    }
    const double mx = sx / n;
    const double my = sy / n;
    const double vxx = sxx / n - mx * mx;
    const double vxy = sxy / n - mx * my;
    const double vyy = syy / n - my * my;
    const double theta1 = 0.5 * std::atan(2 * vxy / (vxx - vyy));
    LineABC candidates[2];
    double residuals[2] = {0, 0};
    for (int k = 0; k < 2; ++k) {
        const double theta = k == 0 ? theta1 : theta1 + kHalfPi;
        LineABC& l = candidates[k];
        l.a = std::cos(theta);
        l.b = std::sin(theta);
        l.c = -(l.a * mx + l.b * my);
        for (int i = 0; i < n; ++i) {
            const double r = l.a * pts[i].x + l.b * pts[i].y + l.c;
            residuals[k] += r * r;
        }
    }
    line = residuals[1] > residuals[0] ? candidates[0] : candidates[1];
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
