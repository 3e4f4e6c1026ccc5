#pragma once
// How the fuzzing engine changes inputs that are JSON, a 0 byte, and numbers: one value of the tree, a part
// of another input, or the numbers. Bytes changed at random are hardly ever JSON again. Included by one
// source of a target.

#include "fuzz/fuzz_input.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <random>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace Fuzz {

/// Where the JSON text ends: at the first 0, or at the end.
inline size_t textSize(const uint8_t* data, size_t size) {
    return size_t(std::find(data, data + size, uint8_t(0)) - data);
}

class JsonMutator {
public:
    explicit JsonMutator(unsigned seed) : random_(seed) {}

    template <class Count>  // int, or a length of either Qt
    int below(Count count) {
        return count < 1 ? 0 : int(random_() % unsigned(count));
    }

    static QJsonValue parsed(const uint8_t* data, size_t size) {
        const LeaksIgnored brokenJson;
        const QByteArray text(reinterpret_cast<const char*>(data), int(textSize(data, size)));
        const QJsonDocument document = QJsonDocument::fromJson(text);
        return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
    }

    /// The value with one place of it changed, with parts taken from `other`.
    QJsonValue changed(const QJsonValue& value, const QJsonValue& other) {
        const bool isHere = below(6) == 0;
        if (value.isObject() && !isHere)
            return changedObject(value.toObject(), other);
        if (value.isArray() && !isHere)
            return changedArray(value.toArray(), other);
        return below(3) == 0 ? part(other) : scalar(value);
    }

    /// Writes the text and what followed the old text; 0 when there is no room.
    static size_t put(const QJsonValue& value, const QByteArray& numbers, uint8_t* data, size_t room) {
        QByteArray text = value.isArray() ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)
                                          : QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
        text += numbers;
        if (size_t(text.size()) > room)
            return 0;
        std::copy(text.begin(), text.end(), data);
        return size_t(text.size());
    }

private:
    QJsonValue changedObject(QJsonObject object, const QJsonValue& other) {
        const QStringList keys = object.keys();
        if (keys.isEmpty())
            return part(other);
        const QString& key = keys[below(keys.size())];
        const int kind = below(16);
        if (kind == 0)
            object.remove(key);
        else if (kind == 1)
            object.insert(word(other), object.value(key));
        else
            object.insert(key, changed(object.value(key), other));
        return object;
    }
    QJsonValue changedArray(QJsonArray array, const QJsonValue& other) {
        const int i = below(array.size()), kind = below(8);
        if (array.isEmpty() || kind == 0)
            array.insert(i, part(other));
        else if (kind == 1)
            array.removeAt(i);
        else if (kind == 2)
            array.append(array.at(i));
        else
            array.replace(i, changed(array.at(i), other));
        return array;
    }
    /// A value from anywhere in the tree.
    QJsonValue part(const QJsonValue& tree) {
        QJsonValue value = tree;
        while (below(4) != 0) {
            if (value.isArray() && !value.toArray().isEmpty()) {
                const QJsonArray array = value.toArray();
                value = array.at(below(array.size()));
            } else if (value.isObject() && !value.toObject().isEmpty()) {
                const QJsonObject object = value.toObject();
                value = *(object.begin() + below(object.size()));
            } else {
                break;
            }
        }
        return value;
    }
    QString word(const QJsonValue& tree) {
        const QJsonValue value = part(tree);
        const QStringList keys = value.toObject().keys();
        return keys.isEmpty() ? value.toVariant().toString() : keys[below(keys.size())];
    }
    QJsonValue scalar(const QJsonValue& old) {
        constexpr double kNumbers[] = {0,     1,           -1,          2147483647, 2147483648, -2147483649.0,
                                       65536, 1'000'000,   1e18,        1e300,      -1e300,     5e-324,
                                       0.5,   3.141592653, 1.570796327, -0.0};
        switch (below(8)) {
        case 0:
            return QJsonValue();
        case 1:
            return below(2) == 0;
        case 2:
            return QString::number(below(20));
        case 3:
            return kNumbers[below(int(std::size(kNumbers)))];
        case 4:
            return old.toDouble() * (below(400) - 200) / 100.0;
        case 5:
            return old.isBool() ? QJsonValue(!old.toBool()) : QJsonValue(old.toDouble() + below(5) - 2);
        default:
            return below(8);
        }
    }

    std::minstd_rand random_;
};

}  // namespace Fuzz

#ifdef KVMATH_FUZZER
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed);
extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* data, size_t size, const uint8_t* other,
                                            size_t otherSize, uint8_t* out, size_t room, unsigned seed);

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
    Fuzz::JsonMutator mutator(seed);
    const size_t text = Fuzz::textSize(data, size);
    if (mutator.below(3) == 0 && text + 1 < maxSize) {
        data[text] = 0;
        const size_t numbers = size > text ? size - text - 1 : 0;
        return text + 1 + LLVMFuzzerMutate(data + text + 1, numbers, maxSize - text - 1);
    }
    const QJsonValue value = Fuzz::JsonMutator::parsed(data, size);
    const QByteArray numbers(reinterpret_cast<const char*>(data) + text, int(size - text));
    const size_t made = Fuzz::JsonMutator::put(mutator.changed(value, value), numbers, data, maxSize);
    return made == 0 ? size : made;
}

size_t LLVMFuzzerCustomCrossOver(const uint8_t* data, size_t size, const uint8_t* other, size_t otherSize,
                                 uint8_t* out, size_t room, unsigned seed) {
    using Mutator = Fuzz::JsonMutator;
    const size_t text = Fuzz::textSize(data, size);
    const QByteArray numbers(reinterpret_cast<const char*>(data) + text, int(size - text));
    const QJsonValue value = Mutator::parsed(data, size);
    return Mutator::put(Mutator(seed).changed(value, Mutator::parsed(other, otherSize)), numbers, out, room);
}
#endif
