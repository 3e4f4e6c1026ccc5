#pragma once
// Profiles for the tests: from lists, from seeded draws, and compared bit for bit.

#include <kvmath/profile/profile.h>
#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cstring>
#include <initializer_list>
#include <utility>

namespace TestSupport {

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

/// Exchange of out-of-order neighbours, from the end to the front, until a pass changes nothing.
template <class Key>
void bubbleSort(QList<KvMath::KvPointXY>& points, Key key, bool ascending) {
    for (bool changed = true; changed;) {
        changed = false;
        for (int i = points.size() - 2; i >= 0; --i) {
            const float a = key(points[i]);
            const float b = key(points[i + 1]);
            if (ascending ? a > b : a < b) {
                std::swap(points[i], points[i + 1]);
                changed = true;
            }
        }
    }
}

inline float xOf(const KvMath::KvPointXY& p) { return p.x; }
inline float yOf(const KvMath::KvPointXY& p) { return p.y; }

/// Same points in the same order; all NaN are one value, the zeros are not.
MATCHER_P(HasPointsOf, expected, "") {
    const auto same = [](float a, float b) {
        return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
    };
    for (int i = 0; i < std::min(arg.points.size(), expected.points.size()); ++i) {
        const KvMath::KvPointXY& a = arg.points[i];
        const KvMath::KvPointXY& b = expected.points[i];
        if (!same(a.x, b.x) || !same(a.y, b.y)) {
            *result_listener << "point " << i << " is (" << a.x << ", " << a.y << ")";
            return false;
        }
    }
    *result_listener << "sizes " << arg.points.size() << ", " << expected.points.size();
    return arg.points.size() == expected.points.size();
}

}  // namespace TestSupport
