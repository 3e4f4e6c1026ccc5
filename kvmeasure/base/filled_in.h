#pragma once
// Text with values in it.

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <kvmeasure/base/global.h>

#include <type_traits>

namespace KvMeasure {

/// The pattern, UTF-8, with each %1 .. %99 replaced by the value of that number, from 1, all in one go: a
/// file named "a%1.csv" is a value like any other. A chain of QString::arg() would fill the name's own %1
/// with the next value. A number without a value stays as it is written.
KVMEASURE_EXPORT QString filledInFrom(const char* pattern, const QStringList& values);

inline QString valueText(const QString& value) { return value; }  ///< a text stands for itself

/// A number in its shortest form: whole numbers in full, others with six digits at most, "nan", "inf".
template <typename Number>
std::enable_if_t<std::is_arithmetic_v<Number>, QString> valueText(Number value) {
    return QString::number(value);
}

/// The pattern of filledInFrom with texts and numbers, each as valueText gives it:
/// filledIn("line %1: %2", 7, text).
template <typename... Values>
QString filledIn(const char* pattern, const Values&... values) {
    return filledInFrom(pattern, {valueText(values)...});
}

}  // namespace KvMeasure
