#pragma once
// Lengths of lists, which Qt 5 counts in int and Qt 6 in 64 bits.

#include <QtCore/QtGlobal>

#include <algorithm>
#include <limits>

namespace KvMath::Internal {

/// The length in int, as the public functions count. Longer lists, of 16 GB at least, are out of range; this
/// gives the largest int for them.
template <class List>
int countOf(const List& list) {
    return static_cast<int>(std::min<qsizetype>(list.size(), std::numeric_limits<int>::max()));
}

}  // namespace KvMath::Internal
