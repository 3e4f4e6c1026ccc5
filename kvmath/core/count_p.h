#pragma once
// Lengths of lists, which Qt 5 counts in int and Qt 6 in 64 bits.

#include <QtCore/QtGlobal>

#include <algorithm>
#include <limits>

namespace KvMath::Internal {

/// The length in int, as the public functions count. A longer list, of 16 GB at least, is used up to the
/// largest int.
template <class List>
int countOf(const List& list) {
    return static_cast<int>(std::min<qsizetype>(list.size(), std::numeric_limits<int>::max()));
}

}  // namespace KvMath::Internal
