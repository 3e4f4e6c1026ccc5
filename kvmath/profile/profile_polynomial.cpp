// Polynomials fitted to a profile, and the area under it.
//
// G. E. Forsythe, Generation and use of orthogonal polynomials for data-fitting, J. SIAM 5 (1957): over the
// points, with x mapped to t in [-1, 1], p0 = 1, p1 = t - a0, p(k+1) = (t - a(k))·p(k) - b(k)·p(k-1), a(k) =
// <t·p(k), p(k)> / |p(k)|², b(k) = |p(k)|² / |p(k-1)|² are orthogonal, so that each coefficient follows
// alone: c(k) = <y, p(k)> / |p(k)|². No system of equations, nothing to be ill-conditioned. Fitting what is
// left once more takes back the orthogonality that rounding costs at high degrees.

#include <kvmath/core/stable_sort_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile.h>

#include <array>
#include <vector>

namespace KvMath {
namespace {

constexpr int kHighestDegree = 30;
using Powers = std::array<double, kHighestDegree + 1>;

/// Fit in t = (x - centre) / halfWidth.
struct OrthogonalFit {
    int degree = -1;  ///< -1: no usable point
    double centre = 0;
    double halfWidth = 1;
    Powers a{}, b{}, c{};

    double toUnit(float x) const { return (static_cast<double>(x) - centre) / halfWidth; }

    double value(double t) const {
        double before = 0;
        double current = 1;
        double sum = c[0];
        for (size_t k = 0; k < static_cast<size_t>(degree); ++k) {
            const double next = (t - a[k]) * current - b[k] * before;
            before = current;
            current = next;
            sum += c[k + 1] * current;
        }
        return sum;
    }
};

/// Number of distinct values, counted up to `limit`.
int countDistinct(const std::vector<double>& values, int limit) {
    std::vector<double> seen;
    for (const double v : values) {
        const auto place = std::lower_bound(seen.begin(), seen.end(), v);
        if (place != seen.end() && *place == v)
            continue;
        seen.insert(place, v);
        if (static_cast<int>(seen.size()) == limit)
            break;
    }
    return static_cast<int>(seen.size());
}

/// One round: adds to fit.c the coefficients of `rest` and takes their part from it.
void fitRest(OrthogonalFit& fit, const std::vector<double>& t, std::vector<double>& rest) {
    const size_t n = t.size();
    std::vector<double> before(n, 0.0);
    std::vector<double> current(n, 1.0);
    double normBefore = 0;
    for (int degree = 0; degree <= fit.degree; ++degree) {
        const size_t k = static_cast<size_t>(degree);
        double norm = 0;
        double moment = 0;
        double product = 0;
        for (size_t i = 0; i < n; ++i) {
            norm += current[i] * current[i];
            moment += t[i] * current[i] * current[i];
            product += rest[i] * current[i];
        }
        if (!(norm > 0.0)) {  // points too close to be told apart
            fit.degree = degree - 1;
            return;
        }
        const double coefficient = product / norm;
        fit.a[k] = moment / norm;
        fit.b[k] = degree > 0 ? norm / normBefore : 0.0;
        fit.c[k] += coefficient;
        for (size_t i = 0; i < n; ++i) {
            rest[i] -= coefficient * current[i];
            const double next = (t[i] - fit.a[k]) * current[i] - fit.b[k] * before[i];
            before[i] = current[i];
            current[i] = next;
        }
        normBefore = norm;
    }
}

OrthogonalFit fitPolynomial(const QList<KvPointXY>& points, int degree) {
    OrthogonalFit fit;
    std::vector<double> t;
    std::vector<double> rest;
    t.reserve(static_cast<size_t>(points.size()));
    rest.reserve(static_cast<size_t>(points.size()));
    for (const KvPointXY& p : points) {
        if (!Internal::isFinite(p))
            continue;
        t.push_back(static_cast<double>(p.x));
        rest.push_back(static_cast<double>(p.y));
    }
    if (t.empty() || degree < 0)
        return fit;
    const auto [low, high] = std::minmax_element(t.begin(), t.end());
    fit.centre = (*low + *high) / 2.0;
    fit.halfWidth = *high > *low ? (*high - *low) / 2.0 : 1.0;
    for (double& x : t)
        x = (x - fit.centre) / fit.halfWidth;
    fit.degree = countDistinct(t, std::min(degree, kHighestDegree) + 1) - 1;
    for (int round = 0; round < 2; ++round)
        fitRest(fit, t, rest);
    return fit;
}

/// Coefficients of the powers of t.
Powers powersOf(const OrthogonalFit& fit) {
    Powers sum{};
    Powers before{};
    Powers current{};
    current[0] = 1.0;
    for (size_t k = 0; k <= static_cast<size_t>(fit.degree); ++k) {
        Powers next{};
        for (size_t i = 0; i <= k; ++i) {
            sum[i] += fit.c[k] * current[i];
            next[i] -= fit.a[k] * current[i] + fit.b[k] * before[i];
            if (i < static_cast<size_t>(kHighestDegree))
                next[i + 1] += current[i];
        }
        before = current;
        current = next;
    }
    return sum;
}

/// Area under the chord from a to b between the bounds, a.x <= b.x.
double areaOfPiece(const KvPointXY& a, const KvPointXY& b, double low, double high) {
    const double x0 = static_cast<double>(a.x);
    const double x1 = static_cast<double>(b.x);
    const double y0 = static_cast<double>(a.y);
    const double y1 = static_cast<double>(b.y);
    const double from = std::max(x0, low);
    const double to = std::min(x1, high);
    if (!(from < to))
        return 0.0;
    const auto height = [=](double x) { return x == x1 ? y1 : y0 + (y1 - y0) * ((x - x0) / (x1 - x0)); };
    return (to - from) * (height(from) + height(to)) / 2.0;
}

}  // namespace

bool KvProfile::polynomFit(int degree) {
    const OrthogonalFit fit = fitPolynomial(points, degree);
    if (fit.degree < 0)
        return false;
    for (KvPointXY& p : points) {
        if (Internal::isFinite(p))
            p.y = static_cast<float>(fit.value(fit.toUnit(p.x)));
    }
    return true;
}

bool KvProfile::calcPolynomCoeffs(int degree, double* coeffs) const {
    const OrthogonalFit fit = fitPolynomial(points, degree);
    if (coeffs == nullptr || fit.degree < 0)
        return false;
    const int count = std::min(degree, kHighestDegree) + 1;
    const Powers unit = powersOf(fit);
    std::fill(coeffs, coeffs + count, 0.0);
    for (int k = fit.degree; k >= 0;
         --k) {  // Horner: multiply by (x - centre) / halfWidth, add the next coefficient
        for (int i = count - 1; i >= 0; --i) {
            const double lower = i > 0 ? coeffs[i - 1] : 0.0;
            coeffs[i] = (lower - coeffs[i] * fit.centre) / fit.halfWidth;
        }
        coeffs[0] += unit[static_cast<size_t>(k)];
    }
    return true;
}

double KvProfile::integral(float xFrom, float xTo) const {
    QList<KvPointXY> usable = points;
    Internal::keepIf(usable, Internal::isFinite);
    if (usable.size() < 2)
        return 0.0;
    Internal::sortStretches(
        usable.begin(), usable.end(), [](const KvPointXY& p) { return p.x; }, true);
    double low = static_cast<double>(std::isnan(xFrom) ? usable.constFirst().x : xFrom);
    double high = static_cast<double>(std::isnan(xTo) ? usable.constLast().x : xTo);
    const bool reversed = low > high;
    if (reversed)
        std::swap(low, high);
    double area = 0;
    const auto p = usable.constBegin();
    for (int i = 1; i < usable.size(); ++i)
        area += areaOfPiece(p[i - 1], p[i], low, high);
    return reversed ? -area : area;
}

}  // namespace KvMath
