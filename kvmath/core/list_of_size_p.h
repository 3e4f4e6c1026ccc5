#pragma once
// QList 5 has no resize, and an append per element is a call into the library per element.

#include <QtCore/QList>

namespace KvMath::Internal {

/// A list of n copies of `value`, made with one allocation and log n block copies: doubled and, per binary
/// digit, lengthened by one. Empty for n < 1.
template <class T>
QList<T> listOfSize(int n, const T& value) {
    QList<T> list;
    if (n < 1)
        return list;
    list.reserve(n);
    list.append(value);
    int digit = 0;
    while ((n >> digit) > 1)
        ++digit;
    while (--digit >= 0) {
        list.append(list);
        if (((n >> digit) & 1) != 0)
            list.append(value);
    }
    return list;
}

}  // namespace KvMath::Internal
