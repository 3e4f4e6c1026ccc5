// Damped Gauss-Newton (Levenberg-Marquardt) steps on the circle A (x^2 + y^2) + E (x cos t + y sin t) + D = 0
// with E^2 = 1 + 4 A D. A is half the curvature with a sign, so that the way from an arc that bends to one
// side over the straight line to the other is smooth; centre and radius run off to infinity on it. The signed
// distance d of a point is the root of A d^2 + d = P, where P is the left side at the point, hence
// dd = (dP - d^2 dA) / Q with Q = 1 + 2 A d = sqrt(1 + 4 A P).
// N. Chernov, C. Lesort: Least squares fitting of circles, J. Math. Imaging Vis. 23 (2005) 239-252.

#include <kvmeasure/profiles/circle_fit.h>

#include <kvmeasure/base/double_quad_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr double kFarRadius = 1e9;  // times the extent of the points: a straight line
constexpr double kLeastQ = 1e-9;    // Q is 0 at the centre, where the distance has no derivative

/// In units of the points' extent, with the origin at one of the points: near it D is small and E is not.
struct Arc {
    double a = 0, d = 0, t = 0;  // A, D and the angle t

    double eSquared() const { return 1 + 4 * a * d; }
};

/// Sums of one pass over the points.
struct Sums {
    double cost = 0;
    std::array<std::array<double, 3>, 3> normal{};  // of D, t, A
    std::array<double, 3> right{};
};

class Polisher {
public:
    Polisher(const std::vector<Vector>& points, bool knowsRadius) : knowsRadius_(knowsRadius) {
        origin_ = points[points.size() / 2];
        double most = 0;
        for (const Vector& point : points) {
            const double x = point.x - origin_.x;
            const double y = point.y - origin_.y;
            most = std::max(most, x * x + y * y);
        }
        extent_ = std::sqrt(most);
        x_.reserve(points.size());
        y_.reserve(points.size());
        for (const Vector& point : points) {
            x_.push_back((point.x - origin_.x) / extent_);
            y_.push_back((point.y - origin_.y) / extent_);
        }
    }

    double extent() const { return extent_; }
    Arc arcOf(const FittedCircle& circle) const;
    Arc straight() const;
    bool descend(Arc& arc, double leastGain) const;
    double cost(const Arc& arc) const { return sums(arc).cost * extent_ * extent_; }  ///< mm^2
    FittedCircle circleOf(const Arc& arc) const;

private:
    Sums sums(const Arc& arc) const;
    Arc stepped(const Arc& arc, const Sums& sums, double damping) const;

    bool knowsRadius_;
    Vector origin_;
    double extent_ = 0;
    std::vector<double> x_, y_;
};

Arc Polisher::arcOf(const FittedCircle& circle) const {
    const double x = (circle.centre.x - origin_.x) / extent_;
    const double y = (circle.centre.y - origin_.y) / extent_;
    const double radius = circle.radius / extent_;
    const double distance = std::hypot(x, y);
    return {0.5 / radius, (distance - radius) * (distance + radius) / (2 * radius), std::atan2(-y, -x)};
}

/// The line of least distances through the points.
Arc Polisher::straight() const {
    const double n = double(x_.size());
    double x = 0;
    double y = 0;
    for (std::size_t i = 0; i < x_.size(); ++i) {
        x += x_[i];
        y += y_[i];
    }
    x /= n;
    y /= n;
    double xx = 0;
    double xy = 0;
    double yy = 0;
    for (std::size_t i = 0; i < x_.size(); ++i) {
        xx += (x_[i] - x) * (x_[i] - x);
        xy += (x_[i] - x) * (y_[i] - y);
        yy += (y_[i] - y) * (y_[i] - y);
    }
    constexpr double kRightAngle = 1.5707963267948966;
    const double t = std::atan2(2 * xy, xx - yy) / 2 + kRightAngle;
    return {0, -(x * std::cos(t) + y * std::sin(t)), t};
}

FittedCircle Polisher::circleOf(const Arc& arc) const {
    const double reach = -std::sqrt(std::max(arc.eSquared(), 0.0)) / (2 * arc.a) * extent_;
    return {{origin_.x + reach * std::cos(arc.t), origin_.y + reach * std::sin(arc.t)},
            extent_ / (2 * std::fabs(arc.a))};
}

/// What a pass over the points needs of the circle.
struct Slopes {
    double a, d, e, cosine, sine, ofD, ofA;

    explicit Slopes(const Arc& arc)
        : a(arc.a), d(arc.d), e(std::sqrt(arc.eSquared())), cosine(std::cos(arc.t)), sine(std::sin(arc.t)),
          ofD(2 * arc.a / e), ofA(2 * arc.d / e) {}
};

/// Sums over four points at a time; of the last ones that are fewer, lanes without a point weigh nothing.
KVMEASURE_INLINE_KERNEL void addUp(const std::vector<double>& xs, const std::vector<double>& ys,
                                   const Slopes& of, Sums& sums) {
    constexpr DoubleQuad kNone{0, 0, 0, 0};
    DoubleQuad cost = kNone, right0 = kNone, right1 = kNone, right2 = kNone;
    DoubleQuad n00 = kNone, n10 = kNone, n11 = kNone, n20 = kNone, n21 = kNone, n22 = kNone;
    const std::size_t count = xs.size();
    for (std::size_t i = 0; i < count; i += kFour) {
        DoubleQuad x = kNone, y = kNone, weight{1, 1, 1, 1};
        if (i + kFour <= count) {
            takeFour(xs.data() + i, x);
            takeFour(ys.data() + i, y);
        } else {
            for (std::size_t k = 0; k < kFour; ++k) {
                weight[k] = i + k < count ? 1 : 0;
                x[k] = i + k < count ? xs[i + k] : xs[i];
                y[k] = i + k < count ? ys[i + k] : ys[i];
            }
        }
        const DoubleQuad square = x * x + y * y;
        const DoubleQuad along = x * of.cosine + y * of.sine;
        const DoubleQuad p = of.a * square + of.e * along + of.d;
        DoubleQuad q = 1 + 4 * of.a * p;
        q = q > 0 ? q : kNone;
        takeRoots(q);
        q = q > kLeastQ ? q : kLeastQ + kNone;
        const DoubleQuad distance = 2 * p / (1 + q) * weight;
        const DoubleQuad share = weight / q;
        const DoubleQuad slope0 = (of.ofD * along + 1) * share;
        const DoubleQuad slope1 = of.e * (y * of.cosine - x * of.sine) * share;
        const DoubleQuad slope2 = (square + of.ofA * along - distance * distance) * share;
        cost += distance * distance;
        right0 -= slope0 * distance;
        right1 -= slope1 * distance;
        right2 -= slope2 * distance;
        n00 += slope0 * slope0;
        n10 += slope1 * slope0;
        n11 += slope1 * slope1;
        n20 += slope2 * slope0;
        n21 += slope2 * slope1;
        n22 += slope2 * slope2;
    }
    sums.cost = sumOf(cost);
    sums.right = {sumOf(right0), sumOf(right1), sumOf(right2)};
    sums.normal = {{{sumOf(n00), sumOf(n10), sumOf(n20)},
                    {sumOf(n10), sumOf(n11), sumOf(n21)},
                    {sumOf(n20), sumOf(n21), sumOf(n22)}}};
}

KVMEASURE_FOR_AVX2 void addUpForAvx2(const std::vector<double>& xs, const std::vector<double>& ys,
                                     const Slopes& of, Sums& sums) {
    addUp(xs, ys, of, sums);
}

Sums Polisher::sums(const Arc& arc) const {
    Sums sums;
    const Slopes of(arc);
    Internal::ofThisMachine(addUpForAvx2, addUp)(x_, y_, of, sums);
    return sums;
}

/// One step; where the equations have no solution, NaN.
Arc Polisher::stepped(const Arc& arc, const Sums& sums, double damping) const {
    const std::size_t count = knowsRadius_ ? 2 : 3;
    auto m = sums.normal;
    auto step = sums.right;
    for (std::size_t i = 0; i < count; ++i)
        m[i][i] *= 1 + damping;
    for (std::size_t i = 0; i < count; ++i) {  // elimination; the matrix is positive definite
        for (std::size_t row = i + 1; row < count; ++row) {
            const double share = m[row][i] / m[i][i];
            for (std::size_t k = i; k < count; ++k)
                m[row][k] -= share * m[i][k];
            step[row] -= share * step[i];
        }
    }
    for (std::size_t i = count; i-- > 0;) {
        for (std::size_t k = i + 1; k < count; ++k)
            step[i] -= m[i][k] * step[k];
        step[i] /= m[i][i];
    }
    return {arc.a + (knowsRadius_ ? 0 : step[2]), arc.d + step[0], arc.t + step[1]};
}

/// Down to the minimum. A step that does not lower the cost is tried again shorter and more downhill.
bool Polisher::descend(Arc& arc, double leastGain) const {
    constexpr std::size_t kManyPoints = 100'000;
    const int mostSteps = x_.size() < kManyPoints ? 1000 : 200;  // of seconds at most
    constexpr double kFirstDamping = 1e-3;
    constexpr double kMostDamping = 1e12;
    if (!(arc.eSquared() > 0) || !std::isfinite(arc.a + arc.d + arc.t))
        return false;
    double damping = kFirstDamping;
    Sums now = sums(arc);
    for (int steps = 0; steps < mostSteps; ++steps) {
        const Arc next = stepped(arc, now, damping);
        // What the full step lowers the cost by, were the distances linear.
        const double gain = now.right[0] * (next.d - arc.d) + now.right[1] * (next.t - arc.t) +
                            now.right[2] * (next.a - arc.a);
        if (damping <= kFirstDamping && gain <= leastGain * now.cost)
            return true;
        const Sums then = next.eSquared() > 0 ? sums(next) : Sums{std::nan(""), {}, {}};
        if (then.cost <= now.cost) {
            const bool isDone = now.cost - then.cost <= leastGain * now.cost;
            arc = next;
            now = then;
            if (isDone)
                return true;
            damping = damping / 10;
        } else if (damping > kMostDamping) {
            return std::isfinite(now.cost);  // no way down, however short the step
        } else {
            damping = std::max(damping, 1e-12) * 10;
        }
    }
    return false;
}

}  // namespace

double circleCost(const std::vector<Vector>& points, const FittedCircle& circle) {
    double sum = 0;
    for (const Vector& point : points) {
        const double x = point.x - circle.centre.x;
        const double y = point.y - circle.centre.y;
        const double residual = std::sqrt(x * x + y * y) - circle.radius;
        sum += residual * residual;
    }
    return sum;
}

bool polishCircle(const std::vector<Vector>& points, bool knowsRadius, FittedCircle& circle,
                  double leastGain) {
    const std::size_t least = knowsRadius ? 2 : 3;
    if (points.size() < least)
        return false;
    const Polisher polisher(points, knowsRadius);
    if (!(polisher.extent() > 0))
        return false;
    const double curvature = knowsRadius ? polisher.extent() / circle.radius : 0;
    const Arc line = polisher.straight();
    std::array<Arc, 3> starts{polisher.arcOf(circle), line, line};
    starts[1].a = curvature / 2;
    starts[2].a = -curvature / 2;
    double best = circleCost(points, circle);
    double settled = std::numeric_limits<double>::infinity();  // the least cost where descent came to an end
    const double ofLine = polisher.cost(line);
    constexpr double kClear = 1e-2;  // of the cost of the line: no other circle is as near
    for (std::size_t i = 0; i < (knowsRadius ? starts.size() : 2); ++i) {
        Arc arc = starts[i];
        if (settled < kClear * ofLine)
            break;
        const bool isSettled = polisher.descend(arc, leastGain);
        FittedCircle polished = polisher.circleOf(arc);
        if (knowsRadius)
            polished.radius = circle.radius;
        const double cost = circleCost(points, polished);
        if (isSettled)
            settled = std::fmin(settled, cost);
        if (std::isnan(cost) || cost >= best)
            continue;
        best = cost;
        circle = polished;
    }
    const double rounding = 1e-13 * (polisher.extent() + circle.radius);  // of a distance, mm
    const double same = best * (1 + 1e-9) + double(points.size()) * rounding * rounding;
    const bool isStraight = !knowsRadius && ofLine <= same;
    return settled <= same && !isStraight && circle.radius < kFarRadius * polisher.extent();
}

namespace {

/// The arc of points that lie on one side of the centre, by the tangents of their directions from that of the
/// middle point; false where they do not.
bool spanOnOneSide(const std::vector<Vector>& points, const Vector& centre, ArcSpan& arc) {
    const Vector& middle = points[points.size() / 2];
    const Vector towards(middle.x - centre.x, middle.y - centre.y);
    double least = 0;
    double greatest = 0;
    Vector first = towards;
    Vector last = towards;
    for (const Vector& point : points) {
        const Vector way(point.x - centre.x, point.y - centre.y);
        const double along = towards.x * way.x + towards.y * way.y;
        if (!(along > 0))
            return false;
        const double tangent = (towards.x * way.y - towards.y * way.x) / along;
        if (tangent < least) {
            least = tangent;
            first = way;
        }
        if (tangent > greatest) {
            greatest = tangent;
            last = way;
        }
    }
    arc.start = std::atan2(first.y, first.x);
    arc.span = std::atan(greatest) - std::atan(least);
    return true;
}

}  // namespace

ArcSpan arcSpan(const std::vector<Vector>& points, const Vector& centre) {
    ArcSpan near;
    if (spanOnOneSide(points, centre, near))
        return near;
    constexpr double kTurn = 6.283185307179586;
    std::vector<double> angles;
    angles.reserve(points.size());
    for (const Vector& point : points)
        angles.push_back(std::atan2(point.y - centre.y, point.x - centre.x));
    const auto [first, last] = std::minmax_element(angles.begin(), angles.end());
    ArcSpan arc{*first, 0};
    double widest = kTurn - (*last - *first);  // stretch without points
    if (widest > kTurn / 2) {                  // no other is as wide
        arc.span = kTurn - widest;
        return arc;
    }
    std::sort(angles.begin(), angles.end());
    for (std::size_t i = 1; i < angles.size(); ++i) {
        if (angles[i] - angles[i - 1] > widest) {
            widest = angles[i] - angles[i - 1];
            arc.start = angles[i];
        }
    }
    arc.span = kTurn - widest;
    return arc;
}

double sagitta(double radius, double span) {
    const double sine = std::sin(span / 4);
    return 2 * radius * sine * sine;
}

}  // namespace KvMeasure
