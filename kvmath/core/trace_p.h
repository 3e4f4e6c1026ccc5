#pragma once
// The trace log from inside. Ask traceEnabled before a message is put together: formatting costs nothing
// while traces are off.

class QString;

namespace KvMath::Internal {

bool traceEnabled(int level);                   ///< whether messages of this level are written
void trace(int level, const QString& message);  ///< appends the message and "\r\n", see SetTrace

}  // namespace KvMath::Internal
