#pragma once
// Profiles for the tests: from lists, from seeded draws, and compared bit for bit.

#include <kvmath/profile/profile.h>
#include <tests/support/literal_clouds.h>
#include <tests/support/prelude.h>

namespace TestSupport {

using Literal::bubbleSort;

inline KvMath::KvProfile profileOf(std::initializer_list<std::pair<float, float>> points) {
    KvMath::KvProfile profile;
    for (const auto& [x, y] : points)
        profile.points.append(KvMath::KvPointXY(x, y));
    return profile;
}

/// Points on a coarse grid, so that ties occur; `run` is the chance that x goes on ascending from the point
/// before.
inline KvMath::KvProfile randomProfile(Draws& draws, int size, double unset, double run = 0.0) {
    KvMath::KvProfile profile;
    for (int i = 0; i < size; ++i) {
        const float x = i > 0 && draws.chance(run) ? profile.points.last().x + 0.25F
                                                   : draws.coordinate(4.0F, 0.25F, unset);
        profile.points.append(KvMath::KvPointXY(x, draws.coordinate(4.0F, 0.25F, unset)));
    }
    return profile;
}

inline float xOf(const KvMath::KvPointXY& p) { return p.x; }
inline float yOf(const KvMath::KvPointXY& p) { return p.y; }

/// Same points in the same order; all NaN are one value, the zeros are not.
MATCHER_P(HasPointsOf, expected, "") {
    const auto same = [](float a, float b) {
        return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
    };
    const auto& a = arg.points;
    const auto& b = expected.points;
    int i = 0;
    while (i < std::min(a.size(), b.size()) && same(a[i].x, b[i].x) && same(a[i].y, b[i].y))
        ++i;
    *result_listener << "sizes " << a.size() << ", " << b.size() << ", equal before point " << i;
    return i == a.size() && i == b.size();
}

/// HasPointsOf a profile of these points.
inline auto PointsAre(std::initializer_list<std::pair<float, float>> points) {
    return HasPointsOf(profileOf(points));
}

}  // namespace TestSupport
