#pragma once
// The least zone of many points by way of few of them.
//
// A zone is bounded by points in contact: by three and one, or by two and two, whatever its shape. Of a small
// set of points all candidates are kept, each with the least and the greatest value of the set. The best of
// them is no wider than the zone of all points. One pass over all points gives the zone that it needs there,
// and the two points that lie farthest out; they join the set. When they lie in the zone already, the bound
// and the zone are one, and the set proves that none is narrower. No order of the points and no hull is
// needed, and nothing decides by the sign of a rounded number.
//
// Cost: passes * n, and k^4 / 8 candidates for a set of k points, most of which end at the first points that
// lie outside the best zone so far. 8 to 20 points decide for measured surfaces, up to 60 for points without
// any form.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace KvMeasure::Internal {

/// Coordinates relative to a point near all: 64 bits of mantissa where the machine has them.
using Real = long double;

/// Values that are computed for candidates at most, so that no input takes minutes. Only points on a sphere,
/// where all directions are nearly alike, need more.
constexpr long long kMostValues = 50'000'000;

/// What bounds the zone of one candidate over the set.
template <class Candidate>
struct SupportedZone {
    Candidate candidate;
    int points[4] = {-1, -1, -1, -1};  ///< that make the candidate; the last may be -1
    Real from = std::numeric_limits<Real>::infinity();
    Real to = -std::numeric_limits<Real>::infinity();

    Real width() const { return to - from; }
    void take(Real value) {
        from = std::min(from, value);
        to = std::max(to, value);
    }
};

/// The outcome: the narrowest zone found, and the bound below which there is none.
template <class Candidate>
struct LeastZone {
    bool isFound = false;
    SupportedZone<Candidate> zone;  ///< over all points
    Real lowerBound = 0;
    bool isProven = false;  ///< the bound is the width
    int lowest = -1, highest = -1;
    std::vector<int> supports;  ///< the set that proves the bound
};

/// `Model` has: Candidate; Real value(const Candidate&, int point); and generate(int newest, const
/// std::vector<int>& supports, take), which calls take(candidate, a, b, c, d) for each candidate of `newest`
/// with points of `supports` (d = -1 for three).
template <class Model>
class ContactSearch {
public:
    using Candidate = typename Model::Candidate;

    /// Widths that differ by `tolerance` are equal.
    ContactSearch(const Model& model, int count, Real tolerance)
        : model_(model), count_(count), tolerance_(tolerance) {}

    /// Starts with these points, and with a candidate whose zone bounds the result from above.
    LeastZone<Candidate> run(const std::vector<int>& start, const Candidate& first) {
        measure(first);
        for (const int point : start)
            join(point);
        while (!result_.isProven) {
            const int best = leastSupported();
            if (best < 0) {
                prove(result_.zone.width());
                break;
            }
            const SupportedZone<Candidate> zone = zones_[static_cast<std::size_t>(best)];
            const auto [lowest, highest] = measure(zone.candidate, zone.points);
            if (result_.zone.width() - zone.width() <= tolerance_) {
                prove(std::min(zone.width(), result_.zone.width()));
                break;
            }
            const bool isNewLowest = join(lowest);
            const bool isNewHighest = join(highest);
            if (!isNewLowest && !isNewHighest)  // they differ by rounding alone
                prove(zone.width());
            else if (values_ > kMostValues) {
                result_.lowerBound = zone.width();
                break;
            }
        }
        return result_;
    }

private:
    void prove(Real bound) {
        result_.lowerBound = bound;
        result_.isProven = true;
    }

    int leastSupported() const {
        int best = -1;
        for (std::size_t i = 0; i < zones_.size(); ++i) {
            if (best < 0 || zones_[i].width() < zones_[static_cast<std::size_t>(best)].width())
                best = static_cast<int>(i);
        }
        return best;
    }

    /// The zone of all points about a candidate; the outermost points.
    std::pair<int, int> measure(const Candidate& candidate, const int* points = nullptr) {
        SupportedZone<Candidate> zone;
        zone.candidate = candidate;
        int lowest = -1;
        int highest = -1;
        for (int i = 0; i < count_; ++i) {
            const Real value = model_.value(candidate, i);
            if (value < zone.from || lowest < 0) {
                zone.from = value;
                lowest = i;
            }
            if (value > zone.to || highest < 0) {
                zone.to = value;
                highest = i;
            }
        }
        if (points != nullptr)
            std::copy(points, points + 4, zone.points);
        if (!result_.isFound || zone.width() < result_.zone.width() ||
            (result_.zone.points[0] < 0 && zone.width() <= result_.zone.width() + tolerance_)) {
            result_.zone = zone;
            result_.lowest = lowest;
            result_.highest = highest;
            result_.isFound = true;
        }
        return {lowest, highest};
    }

    /// False for a point that is in the set.
    bool join(int point) {
        std::vector<int>& supports = result_.supports;
        if (std::find(supports.begin(), supports.end(), point) != supports.end())
            return false;
        const Real most = result_.zone.width() + tolerance_;
        std::size_t kept = 0;
        values_ += static_cast<long long>(zones_.size());
        for (SupportedZone<Candidate>& zone : zones_) {
            zone.take(model_.value(zone.candidate, point));
            if (zone.width() <= most)
                zones_[kept++] = zone;
        }
        zones_.resize(kept);
        model_.generate(point, supports, [&](const Candidate& candidate, int a, int b, int c, int d) {
            SupportedZone<Candidate> zone;
            zone.candidate = candidate;
            zone.take(model_.value(candidate, point));
            for (const int other : supports) {
                ++values_;
                zone.take(model_.value(candidate, other));
                if (!(zone.width() <= most))
                    return;
            }
            const int points[4] = {a, b, c, d};
            std::copy(points, points + 4, zone.points);
            zones_.push_back(zone);
        });
        supports.push_back(point);
        return true;
    }

    const Model& model_;
    int count_;
    Real tolerance_;
    std::vector<SupportedZone<Candidate>> zones_;
    long long values_ = 0;
    LeastZone<Candidate> result_;
};

/// Calls visit(a, b, c, d) for the triples (newest, a, b), with d = -1 and c = newest, and for the pairs of
/// pairs (newest, a) and (b, c).
template <class Visit>
void forEachContactSet(int newest, const std::vector<int>& supports, const Visit& visit) {
    const std::size_t count = supports.size();
    for (std::size_t a = 0; a < count; ++a) {
        for (std::size_t b = 0; b < count; ++b) {
            if (b > a)
                visit(supports[a], supports[b], newest, -1);
            if (b == a)
                continue;
            for (std::size_t c = b + 1; c < count; ++c) {
                if (c != a)
                    visit(newest, supports[a], supports[b], supports[c]);
            }
        }
    }
}

}  // namespace KvMeasure::Internal
