#include <kvmath/contours/scan_grouping_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {
namespace {

constexpr double kMostSteps = 9007199254740992.0;  // 2^53: beyond, steps cannot be told apart

struct Reading {
    ScanGrouping::Point point;
    double y;
    size_t number;
};

std::vector<Reading> finitePoints(const PointCloud& cloud) {
    std::vector<Reading> readings;
    for (const Profile3D& profile : cloud.profiles()) {
        for (int i = 0; i < profile.size(); ++i) {
            const Vector3D* p = profile[i];
            if (p != nullptr && std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(p->z))
                readings.push_back({{0, p->x, p->z}, static_cast<double>(p->y), readings.size()});
        }
    }
    return readings;
}

/// Counts how many numbers below a given one have been entered (Fenwick 1994).
class EnteredBelow {
public:
    explicit EnteredBelow(size_t size) : sums_(size + 1, 0) {}
    void enter(size_t number) {
        for (size_t i = number + 1; i < sums_.size(); i += i & (~i + 1))
            ++sums_[i];
    }
    size_t count(size_t number) const {
        size_t sum = 0;
        for (size_t i = number; i > 0; i &= i - 1)
            sum += sums_[i];
        return sum;
    }

private:
    std::vector<size_t> sums_;
};

}  // namespace

ScanGrouping::ScanGrouping(const PointCloud& cloud, double zStep) {
    std::vector<Reading> readings = finitePoints(cloud);
    if (readings.empty() || !(std::isfinite(zStep) && zStep > 0))
        return;
    const auto byY = [](const Reading& a, const Reading& b) { return a.y < b.y; };
    const auto [lowest, highest] = std::minmax_element(readings.begin(), readings.end(), byY);
    start = lowest->y;
    if (!((highest->y - start) / zStep + 1 < kMostSteps))
        return;
    for (Reading& r : readings)
        r.point.step = std::floor((r.y - start) / zStep + 0.5);
    std::sort(readings.begin(), readings.end(), [](const Reading& a, const Reading& b) {
        if (a.point.step != b.point.step)
            return a.point.step < b.point.step;
        return a.point.x != b.point.x ? a.point.x < b.point.x : a.number < b.number;
    });

    // `place` holds the group's number in order of steps until the order of the cloud is known.
    std::vector<size_t> firstNumbers;
    points.reserve(readings.size());
    for (const Reading& r : readings) {
        if (groups.empty() || groups.back().step != r.point.step) {
            groups.push_back({r.point.step, points.size(), points.size(), groups.size()});
            firstNumbers.push_back(r.number);
        }
        firstNumbers.back() = std::min(firstNumbers.back(), r.number);
        points.push_back(r.point);
        groups.back().last = points.size();
    }
    std::sort(groups.begin(), groups.end(), [&firstNumbers](const Group& a, const Group& b) {
        return firstNumbers[a.place] < firstNumbers[b.place];
    });
    EnteredBelow entered(groups.size());
    for (Group& group : groups) {
        const size_t number = group.place;
        group.place = entered.count(number);
        entered.enter(number);
    }
}

std::vector<ScanGrouping::Group> ScanGrouping::ascending() const {
    std::vector<Group> sorted = groups;
    std::sort(sorted.begin(), sorted.end(), [](const Group& a, const Group& b) { return a.step < b.step; });
    return sorted;
}

double ScanGrouping::span() const { return points.back().step - points.front().step + 1; }

}  // namespace KvMath::Internal
