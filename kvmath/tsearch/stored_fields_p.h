#pragma once
// Stored forms of parameters: a class lists its fields once, and this writes and reads them as a map or as
// raw little-endian bytes. Reading assigns nothing unless every field could be read.

#include <QtCore/QDataStream>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QtEndian>

#include <array>

namespace KvMath::Internal {

/// One parameter. The key and what `value` points to outlive the call.
struct StoredField {
    enum Kind {
        Index,          ///< int; in a map a number of any type that fits an int, rounded
        OptionalIndex,  ///< int; not in the map when 0
        Bound,          ///< double; in a map the string "undefined" when -1e100, and only a double is a bound
        Number,         ///< double; in a map a number of any type
        Flag            ///< bool; in a map also a number; one byte in a record
    };
    const char* key;
    Kind kind;
    void* value;
};

constexpr size_t kMaxStoredFields = 8;

inline StoredField storedIndex(const char* key, int& value) { return {key, StoredField::Index, &value}; }
inline StoredField storedBound(const char* key, double& value) { return {key, StoredField::Bound, &value}; }
inline StoredField storedNumber(const char* key, double& value) { return {key, StoredField::Number, &value}; }
inline StoredField storedFlag(const char* key, bool& value) { return {key, StoredField::Flag, &value}; }

void saveFields(QMap<QString, QVariant>& map, const StoredField* fields, size_t count);
bool saveFields(QDataStream& stream, const StoredField* fields, size_t count);
bool loadFields(const QMap<QString, QVariant>& map, const StoredField* fields, size_t count);
bool loadFields(QDataStream& stream, const StoredField* fields, size_t count);

template <size_t N>
bool saveFields(QMap<QString, QVariant>& map, const std::array<StoredField, N>& fields) {
    static_assert(N <= kMaxStoredFields);
    saveFields(map, fields.data(), N);
    return true;
}

template <size_t N>
bool saveFields(QDataStream& stream, const std::array<StoredField, N>& fields) {
    return saveFields(stream, fields.data(), N);
}

template <class Source, size_t N>
bool loadFields(Source& source, const std::array<StoredField, N>& fields) {
    return loadFields(source, fields.data(), N);
}

/// A number of any numeric type (no bool, no text) whose rounded value fits an int; else false, `index`
/// untouched.
bool readIndex(const QVariant& value, int& index);
/// A number of any numeric type; else false, `number` untouched.
bool readNumber(const QVariant& value, double& number);
/// A bool, or a number (true when not 0); else false, `flag` untouched.
bool readFlag(const QVariant& value, bool& flag);

/// Integers as raw little-endian bytes, whatever the stream is set to. False unless all bytes went through.
template <class T>
bool writeRaw(QDataStream& stream, T value) {
    const T bytes = qToLittleEndian(value);
    return stream.writeRawData(reinterpret_cast<const char*>(&bytes), sizeof bytes) == sizeof bytes;
}

template <class T>
bool readRaw(QDataStream& stream, T& value) {
    T bytes;
    if (stream.readRawData(reinterpret_cast<char*>(&bytes), sizeof bytes) != sizeof bytes)
        return false;
    value = qFromLittleEndian(bytes);
    return true;
}

}  // namespace KvMath::Internal

/// Both saving members of a class from its fields(), under the name that its base gives them.
#define KVMATH_SAVE_FIELDS(CLASS, SAVE)                                                                      \
    bool CLASS::SAVE(QMap<QString, QVariant>& map) { return Internal::saveFields(map, fields()); }           \
    bool CLASS::SAVE(QDataStream& stream) { return Internal::saveFields(stream, fields()); }

/// Both loading members, likewise.
#define KVMATH_LOAD_FIELDS(CLASS, LOAD)                                                                      \
    bool CLASS::LOAD(QMap<QString, QVariant>& map) { return Internal::loadFields(map, fields()); }           \
    bool CLASS::LOAD(QDataStream& stream) { return Internal::loadFields(stream, fields()); }
