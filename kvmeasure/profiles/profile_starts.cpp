// Where x jumps back, another profile begins. A jump is large beside the middle step and beside the range of
// all points, and the steps beside it are not: a stray point jumps twice. Points that go to and fro, as those
// of an outline do, are one profile: nine of ten steps must have one direction.

#include <kvmeasure/profiles/profile_text.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;

std::vector<int> profileStarts(const QList<KvPointXY>& points) {
    const int count = static_cast<int>(points.size());
    std::vector<float> sizes;
    float from = 0, to = 0;
    for (int i = 0; i < count; ++i) {
        from = i == 0 ? points[i].x : std::min(from, points[i].x);
        to = i == 0 ? points[i].x : std::max(to, points[i].x);
        if (i > 0)
            sizes.push_back(std::fabs(points[i].x - points[i - 1].x));
    }
    constexpr int kShortest = 3;  // points of a profile
    if (count < 2 * kShortest)
        return {};
    const auto middle = sizes.begin() + (count - 1) / 2;
    std::nth_element(sizes.begin(), middle, sizes.end());
    constexpr float kManySteps = 20, kShare = 0.05F;
    const float large = std::min((to - from) / 2, std::max(kManySteps * *middle, kShare * (to - from)));
    if (!(large > 0))
        return {};
    const auto step = [&points](int i) { return points[i].x - points[i - 1].x; };
    int forward = 0, backward = 0;  // small steps
    for (int i = 1; i < count; ++i) {
        forward += step(i) > 0 && step(i) <= large ? 1 : 0;
        backward += step(i) < 0 && step(i) >= -large ? 1 : 0;
    }
    constexpr int kOfTen = 9;  // steps of points in order
    if (10 * std::max(forward, backward) < kOfTen * (forward + backward))
        return {};
    std::vector<int> starts;
    for (int i = kShortest; i + kShortest <= count; ++i) {
        const float back = forward >= backward ? -step(i) : step(i);
        const bool isStray = std::fabs(step(i - 1)) > large || std::fabs(step(i + 1)) > large;
        if (back > large && !isStray)
            starts.push_back(i);
    }
    return starts;
}

void splitAtJumps(std::vector<TextProfile>& profiles) {
    std::vector<TextProfile> all;
    for (TextProfile& profile : profiles) {
        const std::vector<int> starts = profileStarts(profile.profile.points);
        if (starts.empty()) {
            all.push_back(std::move(profile));
            continue;
        }
        int from = 0;
        for (std::size_t i = 0; i <= starts.size(); ++i) {
            const int to = i < starts.size() ? starts[i] : int(profile.profile.points.size());
            TextProfile part;
            part.profile.points = profile.profile.points.mid(from, to - from);
            part.line = profile.line;
            part.unset = i == 0 ? profile.unset : 0;
            all.push_back(part);
            from = to;
        }
    }
    profiles.swap(all);
}

}  // namespace KvMeasure
