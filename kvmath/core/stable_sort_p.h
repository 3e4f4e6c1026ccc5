#pragma once
// Sorting as an exchange of out-of-order neighbours does it, in time linear in the number.

#include <QtCore/QtGlobal>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <vector>

namespace KvMath::Internal {

/// Sorts by the upper halves; equal ones stay in order. Small numbers by comparison of the whole, so the
/// lower halves must ascend; larger ones by distribution, digit by digit from the lowest (Seward 1954).
void sortByUpperHalf(std::vector<quint64>& entries);

/// Unsigned number that orders as the key does, -0 as 0; not for NaN.
inline quint32 rankOfKey(float key, bool ascending) {
    constexpr quint32 kSign = 0x80000000U;
    const float value = key + 0.0F;  // the sum of both zeros is +0
    quint32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits = (bits & kSign) != 0 ? ~bits : bits | kSign;
    return ascending ? bits : ~bits;
}

/// Sorts [first, last), without NaN keys, by key(element); equal keys stay in order.
template <class Iterator, class Key>
void sortStretch(Iterator first, Iterator last, Key key, bool ascending) {
    using Element = typename std::iterator_traits<Iterator>::value_type;
    const auto isInOrder = [&] {
        if (ascending)
            return std::is_sorted(first, last, [&](const auto& a, const auto& b) { return key(a) < key(b); });
        return std::is_sorted(first, last, [&](const auto& a, const auto& b) { return key(a) > key(b); });
    };
    if (isInOrder())
        return;
    const std::vector<Element> elements(first, last);
    std::vector<quint64> entries;  // rank of the key above, index below
    entries.reserve(elements.size());
    for (const Element& element : elements)
        entries.push_back(quint64(rankOfKey(key(element), ascending)) << 32 | entries.size());
    sortByUpperHalf(entries);
    for (const quint64 entry : entries)
        *first++ = elements[static_cast<std::size_t>(entry & 0xFFFFFFFFU)];
}

/// Sorts [first, last) by key(element), float, ascending or descending. Repeated exchange of neighbours in
/// strict inversion never moves or crosses a NaN key and keeps equal keys in order, so its result is each
/// maximal NaN-free stretch stably sorted. Already sorted stretches cost one pass and no memory.
template <class Iterator, class Key>
void sortStretches(Iterator first, Iterator last, Key key, bool ascending) {
    const auto isUnset = [&key](const auto& element) { return std::isnan(key(element)); };
    while (first != last) {
        const Iterator stop = std::find_if(first, last, isUnset);
        sortStretch(first, stop, key, ascending);
        first = std::find_if_not(stop, last, isUnset);
    }
}

}  // namespace KvMath::Internal
