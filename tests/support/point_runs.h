#pragma once
// Point runs for the line extraction: noise, grids, straight and closed runs, with hostile values in between.

#include <kvmath/base/vector2d.h>

#include <tests/support/random_data.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace TestSupport {

using PointRun = std::vector<KvMath::KvVector2D<double>>;

inline KvMath::KvVector2D<double> drawnPoint(Draws& draws, int kind, int i, int n) {
    switch (kind) {
    case 0:
        return {0.5 * draws.integer(-9, 9), 0.5 * draws.integer(-9, 9)};
    case 1:
        return {0.25 * i, 0.25 * draws.integer(0, 3)};
    case 2:
        return {0.1 * i, std::fabs(std::fmod(0.1 * i, 6) - 3) + draws.normal(0.02)};
    case 3:
        return {10 * std::cos(6.4 * i / n), 10 * std::sin(6.4 * i / n)};
    case 4:
        return {draws.real(-1, 1), draws.real(-1, 1)};
    case 5:
        return {0.03 * i, 2 * (i / 20 % 2) + draws.normal(0.02)};
    default:
        return {1.0 * i, 0};
    }
}

/// 0 to 700 points; about half of the runs hold NaN, infinities, huge or tiny values, duplicates, or are
/// closed.
inline PointRun drawnRun(Draws& draws) {
    const int n = draws.chance(0.1) ? draws.integer(0, 3) : draws.integer(2, draws.chance(0.1) ? 700 : 60);
    const int kind = draws.integer(0, 6);
    const double away = draws.chance(0.2) ? std::pow(10, draws.real(0, 9)) : 0;
    const double scale = draws.chance(0.1) ? 1e-170 : 1;
    PointRun run;
    for (int i = 0; i < n; ++i) {
        const auto p = drawnPoint(draws, kind, i, n);
        run.emplace_back((p.x + away) * scale, (p.y - away) * scale);
    }
    if (n == 0)
        return run;
    const auto any = [&]() -> KvMath::KvVector2D<double>& {
        return run[static_cast<size_t>(draws.integer(0, n - 1))];
    };
    const double hostile[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e308, -1e160};
    if (draws.chance(0.3))
        any().x = hostile[draws.integer(0, 4)];
    if (draws.chance(0.2))
        any().y = hostile[draws.integer(0, 4)];
    for (int k = draws.chance(0.2) ? n / 3 : 0; k > 0; --k)
        any() = any();
    if (draws.chance(0.15))
        run.back() = run.front();
    return run;
}

/// Equal bit for bit; any NaN equals any other.
inline bool sameBits(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool sameBits(const PointRun& a, const PointRun& b) {
    for (size_t k = 0; k < a.size() && k < b.size(); ++k)
        if (!sameBits(a[k].x, b[k].x) || !sameBits(a[k].y, b[k].y))
            return false;
    return a.size() == b.size();
}

}  // namespace TestSupport
