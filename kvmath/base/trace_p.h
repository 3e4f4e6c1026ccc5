#pragma once
// The trace log from inside. A message with values is put together only where it is written.

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace KvMath::Internal {

bool traceEnabled(int level);                   ///< whether messages of this level are written
void trace(int level, const QString& message);  ///< appends the message and "\r\n", see SetTrace

/// The pattern with %1 .. %99 replaced by the values of these numbers, all in one go.
QString filledIn(const char* pattern, const QStringList& values);

inline QString traceText(const QString& text) { return text; }

/// Six digits at most.
template <typename Number>
QString traceText(Number value) {
    return QString::number(value);
}

/// Writes the pattern with the values in it.
template <typename... Values>
void trace(int level, const char* pattern, const Values&... values) {
    if (traceEnabled(level))
        trace(level, filledIn(pattern, {traceText(values)...}));
}

}  // namespace KvMath::Internal
