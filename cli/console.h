#pragma once
// Results on standard output, complaints on standard error.

#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

namespace KvMeasure {

/// Writes the lines, each printable, to standard output. Names in them must be printable before, for they may
/// hold line ends. Throws Error when it cannot take it (a full disk).
void print(const QString& text);
void printJson(const QJsonObject& object);

/// One line on standard error, behind the name of the program.
void complain(const QString& text);

/// Does the work for one file after another; what keeps it from one is said, and the others follow. Refused
/// when that occurred.
int forEachFile(const QStringList& paths, const std::function<void(const QString& path)>& work);

}  // namespace KvMeasure
