#pragma once
// How points far off lose their say in a registration. A pair has a `distance` from the master, mm, and a
// `weight`.

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure::Internal {

constexpr double kCut = 3.5;              // deviations
constexpr double kNormalMedian = 0.6745;  // of the size of a normal value

/// Where points begin to lie too far off, mm.
template <class Pair>
double cutOf(const std::vector<Pair>& pairs) {
    constexpr double kRounding = 1e-9;  // mm
    std::vector<double> sizes;
    sizes.reserve(pairs.size());
    for (const Pair& pair : pairs)
        sizes.push_back(std::fabs(pair.distance));
    const auto at = sizes.begin() + static_cast<std::ptrdiff_t>(sizes.size() / 2);
    std::nth_element(sizes.begin(), at, sizes.end());
    return std::max(kRounding, kCut * *at / kNormalMedian);
}

/// How the points far off lose their say.
enum class Loss {
    None,     // they count as all others
    Wide,     // gradually, by a cut that narrows from what all points scatter
    Gradual,  // gradually
    Sudden    // at once
};

/// Weights of the points, or without those farther off than `most`; how many these are.
template <class Pair>
int weigh(std::vector<Pair>& pairs, Loss loss, double most) {
    if (loss == Loss::None)
        return 0;
    int far = 0;
    for (Pair& pair : pairs) {
        const double share = std::min(1.0, std::fabs(pair.distance) / most);
        pair.weight = loss != Loss::Sudden ? (1 - share * share) * (1 - share * share) : share < 1 ? 1 : 0;
        far += pair.weight > 0 ? 0 : 1;
    }
    pairs.erase(
        std::remove_if(pairs.begin(), pairs.end(), [](const Pair& pair) { return !(pair.weight > 0); }),
        pairs.end());
    return far;
}

/// Root mean square of the distances, mm.
template <class Pair>
double rmsOf(const std::vector<Pair>& pairs) {
    double squares = 0;
    for (const Pair& pair : pairs)
        squares += pair.distance * pair.distance;
    return std::sqrt(squares / static_cast<double>(pairs.size()));
}

}  // namespace KvMeasure::Internal
