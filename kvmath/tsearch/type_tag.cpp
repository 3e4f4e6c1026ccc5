#include <kvmath/tsearch/type_tag_p.h>

#include <kvmath/tsearch/stored_fields_p.h>

namespace KvMath::Internal {

quint64 typeTag(const QString& name) {
    constexpr quint64 kOffsetBasis = 0xcbf29ce484222325ULL;
    constexpr quint64 kPrime = 0x100000001b3ULL;
    quint64 hash = kOffsetBasis;
    const QByteArray bytes = name.toUtf8();
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * kPrime;
    return hash;
}

bool writeTypeTag(QDataStream& stream, const QString& name) { return writeRaw(stream, typeTag(name)); }

bool readTypeTag(QDataStream& stream, quint64& tag) { return readRaw(stream, tag); }

}  // namespace KvMath::Internal
