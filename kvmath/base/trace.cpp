#include <kvmath/base/trace.h>
#include <kvmath/base/trace_p.h>

#include <QtCore/QFile>
#include <QtCore/QString>

namespace KvMath {
namespace {

int traceLevel = 0;

}  // namespace

void SetTrace(int level) { traceLevel = level; }

bool Internal::traceEnabled(int level) { return traceLevel >= level; }

void Internal::trace(int level, const QString& message) {
    if (!traceEnabled(level))
        return;
    QFile file(QStringLiteral("kvmath_trace.txt"));
    // No text mode: the line end is the same on every platform.
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write((message + QLatin1String("\r\n")).toLatin1());
}

QString Internal::filledIn(const char* pattern, const QStringList& values) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    QString text;
    for (const char* at = pattern; *at != '\0';) {
        if (*at != '%' || !isDigit(at[1])) {
            text += QLatin1Char(*at++);
            continue;
        }
        int number = *++at - '0';
        while (isDigit(*++at))
            number = 10 * number + (*at - '0');
        text += values.value(number - 1);
    }
    return text;
}

}  // namespace KvMath
