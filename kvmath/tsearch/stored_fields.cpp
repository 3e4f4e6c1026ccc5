// One list of fields gives both stored forms of a constraint or measurement: entries of a map, and a
// little-endian record of fixed size without padding. All fields are read before one is assigned, so that a
// damaged form changes none. The record is packed on the stack.
#include <kvmath/tsearch/stored_fields_p.h>

#include <kvmath/tsearch/bounds_p.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace KvMath::Internal {
namespace {

constexpr size_t kMaxRecord = kMaxStoredFields * sizeof(double);

bool isNumber(const QVariant& value) {
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return true;
    default:
        return false;
    }
}

QString keyOf(const StoredField& field) { return QString::fromLatin1(field.key); }

/// A value of any kind, until all fields have been read.
struct Value {
    int index = 0;
    double number = 0;
    bool flag = false;
};

bool readValue(const QMap<QString, QVariant>& map, const StoredField& field, Value& value) {
    const auto entry = map.constFind(keyOf(field));
    if (entry == map.constEnd())
        return field.kind == StoredField::OptionalIndex;
    switch (field.kind) {
    case StoredField::Index:
    case StoredField::OptionalIndex:
        return readIndex(*entry, value.index);
    case StoredField::Bound:
        value.number = boundFromVariant(*entry);
        return true;
    case StoredField::Number:
        return readNumber(*entry, value.number);
    case StoredField::Flag:
        return readFlag(*entry, value.flag);
    }
    return false;
}

void assign(const StoredField& field, const Value& value) {
    switch (field.kind) {
    case StoredField::Index:
    case StoredField::OptionalIndex:
        *static_cast<int*>(field.value) = value.index;
        break;
    case StoredField::Bound:
    case StoredField::Number:
        *static_cast<double*>(field.value) = value.number;
        break;
    case StoredField::Flag:
        *static_cast<bool*>(field.value) = value.flag;
        break;
    }
}

size_t sizeOf(const StoredField& field) {
    switch (field.kind) {
    case StoredField::Index:
    case StoredField::OptionalIndex:
        return sizeof(qint32);
    case StoredField::Bound:
    case StoredField::Number:
        return sizeof(double);
    case StoredField::Flag:
        return 1;
    }
    return 0;
}

void pack(const StoredField& field, uchar* bytes) {
    switch (field.kind) {
    case StoredField::Index:
    case StoredField::OptionalIndex:
        qToLittleEndian(static_cast<qint32>(*static_cast<const int*>(field.value)), bytes);
        break;
    case StoredField::Bound:
    case StoredField::Number: {
        quint64 bits;
        std::memcpy(&bits, field.value, sizeof bits);
        qToLittleEndian(bits, bytes);
        break;
    }
    case StoredField::Flag:
        *bytes = *static_cast<const bool*>(field.value) ? 1 : 0;
        break;
    }
}

void unpack(const StoredField& field, const uchar* bytes) {
    Value value;
    if (field.kind == StoredField::Flag) {
        value.flag = *bytes != 0;
    } else if (sizeOf(field) == sizeof(qint32)) {
        value.index = qFromLittleEndian<qint32>(bytes);
    } else {
        const auto bits = qFromLittleEndian<quint64>(bytes);
        std::memcpy(&value.number, &bits, sizeof bits);
    }
    assign(field, value);
}

size_t recordSize(const StoredField* fields, size_t count) {
    size_t size = 0;
    for (size_t k = 0; k < count; ++k)
        size += sizeOf(fields[k]);
    return size;
}

}  // namespace

bool readIndex(const QVariant& value, int& index) {
    double number = 0;
    if (!readNumber(value, number))
        return false;
    number = std::round(number);
    if (!(number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()))
        return false;
    index = static_cast<int>(number);
    return true;
}

bool readNumber(const QVariant& value, double& number) {
    if (!isNumber(value))
        return false;
    number = value.toDouble();
    return true;
}

bool readFlag(const QVariant& value, bool& flag) {
    if (value.userType() == QMetaType::Bool) {
        flag = value.toBool();
        return true;
    }
    double number = 0;
    if (!readNumber(value, number))
        return false;
    flag = number != 0;
    return true;
}

void saveFields(QMap<QString, QVariant>& map, const StoredField* fields, size_t count) {
    for (size_t k = 0; k < count; ++k) {
        const StoredField& field = fields[k];
        const QString key = keyOf(field);
        if (field.kind == StoredField::OptionalIndex && *static_cast<const int*>(field.value) == 0)
            map.remove(key);
        else if (field.kind == StoredField::Bound)
            map.insert(key, boundToVariant(*static_cast<const double*>(field.value)));
        else if (field.kind == StoredField::Number)
            map.insert(key, *static_cast<const double*>(field.value));
        else if (field.kind == StoredField::Flag)
            map.insert(key, *static_cast<const bool*>(field.value));
        else
            map.insert(key, *static_cast<const int*>(field.value));
    }
}

bool loadFields(const QMap<QString, QVariant>& map, const StoredField* fields, size_t count) {
    std::array<Value, kMaxStoredFields> values;
    for (size_t k = 0; k < count; ++k) {
        if (!readValue(map, fields[k], values[k]))
            return false;
    }
    for (size_t k = 0; k < count; ++k)
        assign(fields[k], values[k]);
    return true;
}

bool saveFields(QDataStream& stream, const StoredField* fields, size_t count) {
    std::array<uchar, kMaxRecord> record;
    const int size = static_cast<int>(recordSize(fields, count));
    uchar* at = record.data();
    for (size_t k = 0; k < count; at += sizeOf(fields[k]), ++k)
        pack(fields[k], at);
    return stream.writeRawData(reinterpret_cast<const char*>(record.data()), size) == size;
}

bool loadFields(QDataStream& stream, const StoredField* fields, size_t count) {
    std::array<uchar, kMaxRecord> record;
    const int size = static_cast<int>(recordSize(fields, count));
    if (stream.readRawData(reinterpret_cast<char*>(record.data()), size) != size)
        return false;
    const uchar* at = record.data();
    for (size_t k = 0; k < count; at += sizeOf(fields[k]), ++k)
        unpack(fields[k], at);
    return true;
}

}  // namespace KvMath::Internal
