#pragma once
// Type field of stream records: eight bytes that identify a type name, whoever defined the type.

#include <QtCore/QDataStream>
#include <QtCore/QString>

namespace KvMath::Internal {

/// 64-bit FNV-1a hash of the name in UTF-8.
quint64 typeTag(const QString& name);

bool writeTypeTag(QDataStream& stream, const QString& name);  ///< raw, little-endian
bool readTypeTag(QDataStream& stream, quint64& tag);          ///< false, and `tag` untouched, on a short read

}  // namespace KvMath::Internal
