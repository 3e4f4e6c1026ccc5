// Least squares: the circle of Kasa as a start, polished, then Newton steps in long double. Circumscribed and
// inscribed: few points decide them. The circle of the few is made, the point that contradicts it most joins
// them, until none does. Each round is one pass over all points.

#include <kvmeasure/form/circles_p.h>

#include <kvmeasure/profiles/circle_fit.h>

namespace KvMeasure::Internal {

std::vector<Place> placesAbout(const std::vector<Vector>& points, const Vector& origin) {
    std::vector<Place> places;
    places.reserve(points.size());
    for (const Vector& p : points)
        places.push_back({Real(p.x) - Real(origin.x), Real(p.y) - Real(origin.y)});
    return places;
}

bool bisectorCrossing(const Place& a, const Place& b, const Place& c, const Place& d, Place& crossing) {
    // Relative to a: p . (b - a) = |b - a|^2 / 2 and p . (d - c) = (|d|^2 - |c|^2) / 2.
    const Place u{b.x - a.x, b.y - a.y};
    const Place v{d.x - c.x, d.y - c.y};
    const Real ub = (u.x * u.x + u.y * u.y) / 2;
    const Real vd = (v.x * (c.x + d.x - 2 * a.x) + v.y * (c.y + d.y - 2 * a.y)) / 2;
    const Real determinant = u.x * v.y - u.y * v.x;
    const Place found{a.x + (ub * v.y - vd * u.y) / determinant, a.y + (vd * u.x - ub * v.x) / determinant};
    if (!isFinite(found))
        return false;
    crossing = found;
    return true;
}

namespace {

constexpr Real kNoStep = std::numeric_limits<Real>::infinity();

/// One Newton step of centre and radius: the size of the move of the centre. Without a minimum: kNoStep.
Real improve(const std::vector<Place>& places, Place& centre, Real& radius) {
    const auto count = static_cast<Real>(places.size());
    Real sx = 0, sy = 0, sr = 0, xx = 0, xy = 0, yy = 0, gx = 0, gy = 0;
    for (const Place& p : places) {
        const Real d = distance(p, centre);
        if (!(d > 0))
            return kNoStep;
        const Real ux = (centre.x - p.x) / d, uy = (centre.y - p.y) / d;
        const Real residual = d - radius, curved = residual / d;
        sx += ux;
        sy += uy;
        sr += residual;
        gx += residual * ux;
        gy += residual * uy;
        xx += ux * ux + curved * uy * uy;
        xy += ux * uy * (1 - curved);
        yy += uy * uy + curved * ux * ux;
    }
    // The radius is eliminated: dr = (sr + sx dx + sy dy) / count.
    xx -= sx * sx / count;
    xy -= sx * sy / count;
    yy -= sy * sy / count;
    gx -= sx * sr / count;
    gy -= sy * sr / count;
    const Real determinant = xx * yy - xy * xy;
    const Place move{(xy * gy - yy * gx) / determinant, (xy * gx - xx * gy) / determinant};
    if (!(determinant > 0) || !isFinite(move))
        return kNoStep;
    centre.x += move.x;
    centre.y += move.y;
    radius += (sr + sx * move.x + sy * move.y) / count;
    return std::hypot(move.x, move.y);
}

/// Newton steps until they are rounding; false where they do not come to a minimum.
bool descend(const std::vector<Place>& places, Place& centre, Real& radius) {
    constexpr int kMostSteps = 30;
    constexpr Real kStill = 1e-12L;  // of the radius
    Real before = kNoStep;
    for (int i = 0; i < kMostSteps && before > 0; ++i) {
        const Place from = centre;
        const Real fromRadius = radius;
        const Real move = improve(places, centre, radius);
        if (move >= before) {
            centre = from;
            radius = fromRadius;
            break;
        }
        before = move;
    }
    return before <= kStill * radius;
}

/// Sums of the squares of the points about their mean.
struct Moments {
    explicit Moments(const std::vector<Place>& places) {
        for (const Place& p : places) {
            mean.x += p.x / static_cast<Real>(places.size());
            mean.y += p.y / static_cast<Real>(places.size());
        }
        for (const Place& p : places) {
            const Real x = p.x - mean.x, y = p.y - mean.y;
            xx += x * x;
            xy += x * y;
            yy += y * y;
            extent = std::max({extent, std::fabs(x), std::fabs(y)});
        }
    }
    Real squaresAboutLine() const { return ((xx + yy) - std::hypot(xx - yy, 2 * xy)) / 2; }

    Place mean;
    Real xx = 0, xy = 0, yy = 0, extent = 0;
};

/// The circle of I. Kasa (IEEE Trans. Instrum. Meas. 25 (1976) 8-14): the least sum of (d^2 - r^2)^2. Its
/// centre is the mean where the points lie on a line.
void startCircle(const std::vector<Place>& places, const Moments& moments, Place& centre, Real& radius) {
    Real sx = 0, sy = 0;
    for (const Place& p : places) {
        const Real x = p.x - moments.mean.x, y = p.y - moments.mean.y;
        sx += x * (x * x + y * y) / 2;
        sy += y * (x * x + y * y) / 2;
    }
    const Real determinant = moments.xx * moments.yy - moments.xy * moments.xy;
    Place off{(sx * moments.yy - sy * moments.xy) / determinant,
              (sy * moments.xx - sx * moments.xy) / determinant};
    if (!isFinite(off))
        off = {};
    const auto count = static_cast<Real>(places.size());
    centre = {moments.mean.x + off.x, moments.mean.y + off.y};
    radius = std::sqrt(off.x * off.x + off.y * off.y + (moments.xx + moments.yy) / count);
}

Place halfway(const Place& a, const Place& b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

/// The first of the points farthest from the centre, or nearest to it with the sign -1. Roots are taken of
/// those only that may be it.
int outermost(const std::vector<Place>& points, const Place& centre, Real sign) {
    int found = 0;
    Real size = -std::numeric_limits<Real>::infinity(), square = size;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Real dx = points[i].x - centre.x, dy = points[i].y - centre.y;
        const Real own = sign * (dx * dx + dy * dy);
        if (!(own > square))
            continue;
        square = own;
        const Real root = sign * distance(points[i], centre);
        if (root > size) {
            size = root;
            found = static_cast<int>(i);
        }
    }
    return found;
}

/// The smallest circle about few points, by trying the circles on two and on three of them.
TouchingCircle smallestAboutFew(const std::vector<Place>& points, const std::vector<int>& few) {
    TouchingCircle best;
    best.radius = std::numeric_limits<Real>::infinity();
    const auto at = [&](int i) -> const Place& { return points[static_cast<std::size_t>(i)]; };
    const auto attempt = [&](const Place& centre, const std::vector<int>& contacts) {
        const Real radius = distance(at(contacts[0]), centre);
        for (const int i : few) {
            if (distance(at(i), centre) > radius * (1 + 1e-17L))
                return;
        }
        if (radius < best.radius)
            best = {centre, radius, contacts};
    };
    for (std::size_t a = 0; a < few.size(); ++a) {
        for (std::size_t b = a + 1; b < few.size(); ++b) {
            attempt(halfway(at(few[a]), at(few[b])), {few[a], few[b]});
            for (std::size_t c = b + 1; c < few.size(); ++c) {
                Place centre;
                if (bisectorCrossing(at(few[a]), at(few[b]), at(few[a]), at(few[c]), centre))
                    attempt(centre, {few[a], few[b], few[c]});
            }
        }
    }
    return best;
}

/// The places lie on all sides of the centre: no half turn is free of them.
bool isHeldBy(const Place& a, const Place& b, const Place& c, const Place& centre) {
    const auto side = [&](const Place& p, const Place& q) {
        return (p.x - centre.x) * (q.y - centre.y) - (p.y - centre.y) * (q.x - centre.x);
    };
    const Real ab = side(a, b), bc = side(b, c), ca = side(c, a);
    // Two points opposite to each other hold a circle too, with the centre between them but for rounding.
    const Real rounding =
        1e-12L * ((a.x - centre.x) * (a.x - centre.x) + (a.y - centre.y) * (a.y - centre.y));
    return std::min({ab, bc, ca}) >= -rounding || std::max({ab, bc, ca}) <= rounding;
}

/// The empty circles that three of few points hold; points join one by one.
class EmptyCircles {
public:
    explicit EmptyCircles(const std::vector<Place>& points) : points_(points) {}
    const std::vector<int>& few() const { return few_; }
    void join(int point);
    /// Without contacts where there is none.
    TouchingCircle largest() const {
        TouchingCircle best;
        for (const TouchingCircle& circle : circles_) {
            if (circle.radius > best.radius)
                best = circle;
        }
        std::sort(best.contacts.begin(), best.contacts.end());
        return best;
    }

private:
    const Place& at(int i) const { return points_[static_cast<std::size_t>(i)]; }
    bool leavesEmpty(const TouchingCircle& circle, int point) const {
        return distance(at(point), circle.centre) >= circle.radius * (1 - 1e-16L);
    }

    const std::vector<Place>& points_;
    std::vector<int> few_;
    std::vector<TouchingCircle> circles_;
};

void EmptyCircles::join(int point) {
    circles_.erase(std::remove_if(circles_.begin(), circles_.end(),
                                  [&](const TouchingCircle& circle) { return !leavesEmpty(circle, point); }),
                   circles_.end());
    for (std::size_t a = 0; a < few_.size(); ++a) {
        for (std::size_t b = a + 1; b < few_.size(); ++b) {
            TouchingCircle circle;
            if (!bisectorCrossing(at(few_[a]), at(few_[b]), at(few_[a]), at(point), circle.centre) ||
                !isHeldBy(at(few_[a]), at(few_[b]), at(point), circle.centre))
                continue;
            circle.radius = distance(at(point), circle.centre);
            if (std::all_of(few_.begin(), few_.end(), [&](int i) { return leavesEmpty(circle, i); })) {
                circle.contacts = {few_[a], few_[b], point};
                circles_.push_back(circle);
            }
        }
    }
    few_.push_back(point);
}

}  // namespace

bool fitCircle(const std::vector<Place>& places, Place& centre, Real& radius) {
    constexpr std::size_t kEnough = 5000;  // points for the start
    const std::size_t stride = places.size() / kEnough + 1;
    std::vector<Vector> near;  // about the first point, where doubles are at their finest
    near.reserve(places.size() / stride + 1);
    for (std::size_t i = 0; i < places.size(); i += stride)
        near.emplace_back(double(places[i].x), double(places[i].y));
    const Moments moments(places);
    startCircle(places, moments, centre, radius);
    FittedCircle circle{{double(centre.x), double(centre.y)}, double(radius)};
    if (polishCircle(near, /*knowsRadius=*/false, circle)) {
        centre = {circle.centre.x, circle.centre.y};
        radius = circle.radius;
        descend(places, centre, radius);
        return true;
    }
    // Points on a circle but for rounding leave nothing to polish.
    constexpr Real kFarthest = 1e4L;
    if (!descend(places, centre, radius) || radius > kFarthest * moments.extent)
        return false;
    Real squares = 0;
    for (const Place& p : places)
        squares += (distance(p, centre) - radius) * (distance(p, centre) - radius);
    return squares < moments.squaresAboutLine();
}

TouchingCircle smallestAbout(const std::vector<Place>& points) {
    TouchingCircle circle{points[0], 0, {0}};
    for (;;) {
        const int far = outermost(points, circle.centre, 1);
        std::vector<int> few = circle.contacts;
        if (distance(points[static_cast<std::size_t>(far)], circle.centre) <= circle.radius * (1 + 1e-17L) ||
            std::find(few.begin(), few.end(), far) != few.end())
            break;
        few.push_back(far);
        const TouchingCircle next = smallestAboutFew(points, few);
        if (!(next.radius > circle.radius) || !std::isfinite(next.radius))
            break;
        circle = next;
    }
    std::sort(circle.contacts.begin(), circle.contacts.end());
    return circle;
}

TouchingCircle largestBetween(const std::vector<Place>& points, const Place& start) {
    constexpr std::size_t kSectors = 16;
    constexpr std::size_t kMostFew = 500;
    int nearest[kSectors];
    std::fill(nearest, nearest + kSectors, -1);
    const auto from = [&](int i, const Place& centre) {
        return distance(points[static_cast<std::size_t>(i)], centre);
    };
    const auto count = static_cast<int>(points.size());
    for (int i = 0; i < count; ++i) {
        const Place& p = points[static_cast<std::size_t>(i)];
        const double angle = std::atan2(double(p.y - start.y), double(p.x - start.x));
        constexpr double kHalfTurn = 3.1415926535897932;
        const auto sector =
            static_cast<std::size_t>((angle + kHalfTurn) / (2 * kHalfTurn) * kSectors) % kSectors;
        if (nearest[sector] < 0 || from(i, start) < from(nearest[sector], start))
            nearest[sector] = i;
    }
    EmptyCircles circles(points);
    for (const int i : nearest) {
        if (i >= 0)
            circles.join(i);
    }
    while (circles.few().size() < kMostFew) {
        TouchingCircle circle = circles.largest();
        if (circle.contacts.empty())
            return circle;
        const int next = outermost(points, circle.centre, -1);
        if (from(next, circle.centre) >= circle.radius * (1 - 1e-16L) ||
            std::find(circles.few().begin(), circles.few().end(), next) != circles.few().end())
            return circle;
        circles.join(next);
    }
    return {};
}

}  // namespace KvMeasure::Internal
