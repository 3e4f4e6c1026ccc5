#pragma once
// Sorting as an exchange of out-of-order neighbours does it, in n log n.

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

/// Sorts [first, last) by key(element), float, ascending or descending. Repeated exchange of neighbours in
/// strict inversion never moves or crosses a NaN key and keeps equal keys in order, so its result is each
/// maximal NaN-free stretch stably sorted. Already sorted stretches cost one pass and no memory.
template <class Iterator, class Key>
void sortStretches(Iterator first, Iterator last, Key key, bool ascending) {
    const auto less = [&key](const auto& a, const auto& b) { return key(a) < key(b); };
    const auto greater = [&key](const auto& a, const auto& b) { return key(a) > key(b); };
    const auto isUnset = [&key](const auto& element) { return std::isnan(key(element)); };
    const auto sortRange = [](Iterator from, Iterator to, auto before) {
        if (!std::is_sorted(from, to, before))
            std::stable_sort(from, to, before);
    };
    while (first != last) {
        const Iterator stop = std::find_if(first, last, isUnset);
        if (ascending)
            sortRange(first, stop, less);
        else
            sortRange(first, stop, greater);
        first = std::find_if_not(stop, last, isUnset);
    }
}

}  // namespace KvMath::Internal
