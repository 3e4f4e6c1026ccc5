#include <kvmath/core/trace.h>
#include <kvmath/core/trace_p.h>

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

}  // namespace KvMath
