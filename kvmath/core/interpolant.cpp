// Akima spline: linear in the number of knots, one array of secants and one of slopes as scratch.
#include <kvmath/core/interpolant.h>

#include <kvmath/base/count_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();
constexpr double kMaxResampled = 16777216.0;  // 2^24 points
constexpr int kPadding = 2;                   // extrapolated secants at either end

bool isFinite(const KvPointXY& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

QVector<KvPointXY> finitePoints(const QList<KvPointXY>& points) {
    QVector<KvPointXY> knots;
    knots.reserve(points.size());
    std::copy_if(points.begin(), points.end(), std::back_inserter(knots), isFinite);
    return knots;
}

bool ascendsStrictly(const QVector<KvPointXY>& knots) {
    const auto notAscending = [](const KvPointXY& a, const KvPointXY& b) { return a.x >= b.x; };
    return std::adjacent_find(knots.begin(), knots.end(), notAscending) == knots.end();
}

double widthOf(const QVector<KvPointXY>& knots, int i) {
    return static_cast<double>(knots[i + 1].x) - static_cast<double>(knots[i].x);
}

// Secant i stands at index i + kPadding.
QVector<double> paddedSecants(const QVector<KvPointXY>& knots) {
    const int intervals = Internal::countOf(knots) - 1;
    QVector<double> m(intervals + 2 * kPadding);
    for (int i = 0; i < intervals; ++i)
        m[i + kPadding] =
            (static_cast<double>(knots[i + 1].y) - static_cast<double>(knots[i].y)) / widthOf(knots, i);
    if (intervals == 1) {
        m.fill(m[kPadding]);
        return m;
    }
    m[1] = 2.0 * m[2] - m[3];
    m[0] = 2.0 * m[1] - m[2];
    const int behind = intervals + kPadding;
    m[behind] = 2.0 * m[behind - 1] - m[behind - 2];
    m[behind + 1] = 2.0 * m[behind] - m[behind - 1];
    return m;
}

QVector<double> akimaSlopes(const QVector<double>& m) {
    QVector<double> slopes(m.size() - 2 * kPadding + 1);
    for (int i = 0; i < slopes.size(); ++i) {
        const double ahead = std::fabs(m[i + 3] - m[i + 2]);
        const double behind = std::fabs(m[i + 1] - m[i]);
        const double weights = ahead + behind;
        slopes[i] =
            weights == 0.0 ? 0.5 * (m[i + 1] + m[i + 2]) : (ahead * m[i + 1] + behind * m[i + 2]) / weights;
    }
    return slopes;
}

// Coefficients of one interval of width h, from y0 with secant m and the slopes t0 and t1 at its ends. The
// cubic term is taken last, from what the rounded others leave of the rise: the knot at the far end is met
// although the coefficients are floats. In exact arithmetic it is (t0 + t1 - 2m) / h^2.
bool storeCubic(float* c, double h, double y0, double y1, double m, double t0, double t1) {
    c[0] = static_cast<float>(y0);
    c[1] = static_cast<float>(t0);
    c[2] = static_cast<float>((3.0 * m - 2.0 * t0 - t1) / h);
    const double left = y1 - y0 - (static_cast<double>(c[2]) * h + static_cast<double>(c[1])) * h;
    c[3] = static_cast<float>(left / (h * h * h));
    return std::isfinite(c[1]) && std::isfinite(c[2]) && std::isfinite(c[3]);
}

// The interval whose half-open range (knotX[lo], knotX[lo + 1]] holds x; 0 for the first knot and for a
// single one.
int intervalOf(const float* knotX, int knotCount, float x) {
    int lo = 0;
    int hi = knotCount;
    while (lo != hi - 1) {
        const int mid = lo + (hi - lo) / 2;
        if (knotX[mid] >= x)
            hi = mid;
        else
            lo = mid;
    }
    return lo;
}

float evaluate(const KvInterpolant& spline, int interval, float x) {
    if (x == spline.knotX.at(spline.knotCount - 1) && !std::isnan(spline.lastY))
        return spline.lastY;  // which rounded coefficients may miss
    const float* c = spline.coefficients.constData() + qptrdiff(4) * interval;
    const double t = static_cast<double>(x) - static_cast<double>(spline.knotX.at(interval));
    const double slope =
        (static_cast<double>(c[3]) * t + static_cast<double>(c[2])) * t + static_cast<double>(c[1]);
    return static_cast<float>(slope * t + static_cast<double>(c[0]));
}

int lastCubic(const KvInterpolant& spline) {
    return static_cast<int>(
        std::min<qint64>(spline.coefficients.size() / 4 - 1, std::numeric_limits<int>::max()));
}

// False when nothing is built, or when the host took the public members apart.
bool isBuilt(const KvInterpolant& spline) {
    const int n = spline.knotCount;
    return spline.type == KvInterpolantAkima && n > 0 && n <= spline.knotX.size() &&
           std::max(n - 1, 1) <= spline.coefficients.size() / 4;
}

}  // namespace

KvInterpolant::KvInterpolant() : knotCount(0), type(KvInterpolantNone), lastY(kUnset) {}

KvInterpolant::KvInterpolant(const KvPointCloud<KvPointXY>& cloud, _KvInterpolantType_ kind)
    : KvInterpolant() {
    buildFromPointCloud(cloud, kind);
}

int KvInterpolant::buildFromPointCloud(const KvPointCloud<KvPointXY>& cloud, _KvInterpolantType_ kind) {
    if (kind == KvInterpolantNone)
        return 0;
    *this = KvInterpolant();
    if (kind != KvInterpolantAkima)
        return 0;
    // Unset points go before sorting, which would not move points across them.
    KvPointCloud<KvPointXY> sorted;
    sorted.points.reserve(cloud.points.size());
    std::copy_if(cloud.points.begin(), cloud.points.end(), std::back_inserter(sorted.points), isFinite);
    sorted.sort(KvSortAscending, KvSortNone);
    return buildAkimaSpline(&sorted);
}

int KvInterpolant::buildAkimaSpline(const KvPointCloud<KvPointXY>* cloud) {
    *this = KvInterpolant();
    if (!cloud)
        return 0;
    const QVector<KvPointXY> knots = finitePoints(cloud->points);
    if (knots.size() < 2 || !ascendsStrictly(knots))
        return 0;
    const QVector<double> secants = paddedSecants(knots);
    const QVector<double> slopes = akimaSlopes(secants);
    const int intervals = Internal::countOf(knots) - 1;
    QVector<float> cubics(4 * (knots.size() - 1));
    for (int i = 0; i < intervals; ++i) {
        if (!storeCubic(cubics.data() + qptrdiff(4) * i, widthOf(knots, i), static_cast<double>(knots[i].y),
                        static_cast<double>(knots[i + 1].y), secants[i + kPadding], slopes[i], slopes[i + 1]))
            return 0;
    }
    knotX.resize(knots.size());
    std::transform(knots.begin(), knots.end(), knotX.begin(), [](const KvPointXY& p) { return p.x; });
    coefficients = cubics;
    lastY = knots.last().y;
    knotCount = Internal::countOf(knots);
    type = KvInterpolantAkima;
    return knotCount;
}

float KvInterpolant::calcY(float x) const {
    if (std::isnan(x) || !isBuilt(*this) || x < knotX.at(0) || !(x <= knotX.at(knotCount - 1)))
        return kUnset;
    const int interval = intervalOf(knotX.constData(), knotCount, x);
    return evaluate(*this, std::min(interval, lastCubic(*this)), x);
}

int KvInterpolant::generatePointCloud(KvPointCloud<KvPointXY>& out, float step, float xFrom,
                                      float xTo) const {
    if (step <= 0.0F || !isBuilt(*this))
        return 0;
    const float first = knotX.at(0);
    const float last = knotX.at(knotCount - 1);
    const float start = xFrom > first ? xFrom : first;  // also for NaN
    const float end = xTo < last ? xTo : last;
    double asked = (static_cast<double>(end) - static_cast<double>(start)) / static_cast<double>(step);
    if (start + step == start)
        asked = 1.0;  // the step is lost in rounding at once
    if (asked > kMaxResampled)
        return 0;
    if (!out.isEmpty())  // the range of an empty cloud stays, by design
        out.clear();
    if (asked > 0.0)
        out.points.reserve(static_cast<int>(asked) + 1);
    // x only grows, so the interval only moves on: the one that calcY finds, without its search.
    const int lastInterval = std::min(std::max(knotCount - 2, 0), lastCubic(*this));
    int interval = std::min(intervalOf(knotX.constData(), knotCount, start), lastInterval);
    float x = start;
    for (;;) {
        while (interval < lastInterval && knotX.at(interval + 1) < x)
            ++interval;
        const float y = x <= last ? evaluate(*this, interval, x) : kUnset;
        if (!std::isnan(y))
            out.points.append(KvPointXY(x, y));
        const float next = x + step;
        if (!(next < end) || next == x)
            break;
        x = next;
    }
    return Internal::countOf(out.points);
}

float KvInterpolant::diff3p(float x, float x0, float x1, float x2, float y0, float y1, float y2) const {
    const auto at = static_cast<double>(x);
    const auto a = static_cast<double>(x0);
    const auto b = static_cast<double>(x1);
    const auto c = static_cast<double>(x2);
    return static_cast<float>(static_cast<double>(y0) * (2.0 * at - b - c) / ((a - b) * (a - c)) +
                              static_cast<double>(y1) * (2.0 * at - a - c) / ((b - a) * (b - c)) +
                              static_cast<double>(y2) * (2.0 * at - a - b) / ((c - a) * (c - b)));
}

}  // namespace KvMath
