#pragma once
// Bytes of stream records, and checks of both stored forms that hold for everything that can be stored.

#include <kvmath/segments/line_types.h>

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QDataStream>
#include <QtCore/QMap>
#include <QtCore/QVariant>

namespace TestSupport {

constexpr double kPi = 3.1415927410125732;  ///< of single precision

inline KvMath::LinePP segment(double x1, double y1, double x2, double y2) { return {{x1, y1}, {x2, y2}}; }

/// What `object` writes to a stream set to big-endian single precision, which must not matter.
template <class T>
QByteArray recordOf(T& object) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::BigEndian);
    stream.setFloatingPointPrecision(QDataStream::SinglePrecision);
    EXPECT_TRUE(object.save(stream));
    return bytes;
}

template <class T>
bool loadRecord(T& object, const QByteArray& bytes) {
    QDataStream stream(bytes);
    return object.load(stream);
}

/// Takes so many bytes, then no more.
class Filling : public QIODevice {
public:
    explicit Filling(qint64 room) : room_(room) { open(WriteOnly | Unbuffered); }

protected:
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }
    qint64 writeData(const char* /*data*/, qint64 size) override {
        const qint64 taken = std::min(size, room_);
        room_ -= taken;
        return taken;
    }

private:
    qint64 room_;
};

/// The record is `hex` (blanks allowed), is read back from exactly these bytes, and from no fewer, and does
/// not fit into fewer. `fresh()` makes an object to load into.
template <class T, class Make>
void checkRecord(T& object, const QByteArray& hex, Make fresh) {
    const QByteArray bytes = recordOf(object);
    EXPECT_EQ(bytes.toHex(), QByteArray::fromHex(hex).toHex());
    for (int size = 0; size < bytes.size(); ++size) {
        auto cut = fresh();
        EXPECT_FALSE(loadRecord(*cut, bytes.left(size))) << "of " << bytes.size() << " bytes: " << size;
        Filling device(size);
        QDataStream full(&device);
        EXPECT_FALSE(object.save(full)) << "room for " << size;
    }
    auto copy = fresh();
    ASSERT_TRUE(loadRecord(*copy, bytes + "behind"));
    EXPECT_EQ(recordOf(*copy), bytes);
}

template <class T>
QVariantMap mapOf(T& object) {
    QVariantMap map;
    EXPECT_TRUE(object.save(map));
    return map;
}

/// Loading the map gives an object with the same map; without any one of its `required` keys, and with a
/// value of a nested type in the place of an index or flag, loading fails and changes nothing.
template <class T>
void checkMap(T& object, T& fresh, const QStringList& required) {
    const QVariantMap map = mapOf(object);
    const QVariantMap before = mapOf(fresh);
    for (const QString& key : required) {
        SCOPED_TRACE(key.toStdString());
        QVariantMap cut = map;
        EXPECT_EQ(cut.remove(key), 1);
        EXPECT_FALSE(fresh.load(cut));
        EXPECT_EQ(mapOf(fresh), before);
        if (key.endsWith("Bound"))
            continue;
        for (const QVariant& wrong :
             {QVariant(QVariantMap()), QVariant("1"), QVariant(), QVariant(QVariantList{1})}) {
            cut[key] = wrong;
            EXPECT_FALSE(fresh.load(cut));
        }
        EXPECT_EQ(mapOf(fresh), before);
    }
    QVariantMap whole = map;
    EXPECT_TRUE(fresh.load(whole));
    EXPECT_EQ(mapOf(fresh), map);
}

}  // namespace TestSupport
