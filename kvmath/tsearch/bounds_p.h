#pragma once
// Markers of bounds that are not set, each compared by exact equality: any other value is a live bound.

#include <QtCore/QString>
#include <QtCore/QVariant>

namespace KvMath::Internal {

constexpr double kNoTableBound = -1.0;  ///< in the tables of the default check
constexpr double kNoBound = -1e100;     ///< in constraints; also a measurement without a result

inline bool isTableBound(double bound) { return bound != kNoTableBound; }
inline bool isBound(double bound) { return bound != kNoBound; }

/// A bound in a document: a double, or the string "undefined".
inline QVariant boundToVariant(double bound) {
    return isBound(bound) ? QVariant(bound) : QVariant(QStringLiteral("undefined"));
}

/// By design only the variant type double is a bound: 3, 2.5f, "2.5" and true read as unset.
inline double boundFromVariant(const QVariant& value) {
    return value.userType() == QMetaType::Double ? value.toDouble() : kNoBound;
}

}  // namespace KvMath::Internal
