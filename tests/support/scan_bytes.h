#pragma once
// Scans as bytes: numbers of any type and order, PLY files.

#include <QtCore/QByteArray>
#include <QtCore/QtEndian>

#include <algorithm>
#include <initializer_list>

namespace TestSupport {

template <class T>
QByteArray bytesOf(std::initializer_list<double> values, bool bigEndian = false) {
    QByteArray bytes;
    for (const double value : values) {
        const T number = static_cast<T>(value);
        QByteArray raw(reinterpret_cast<const char*>(&number), sizeof(T));
        if (bigEndian != (Q_BYTE_ORDER == Q_BIG_ENDIAN))
            std::reverse(raw.begin(), raw.end());
        bytes += raw;
    }
    return bytes;
}

inline const QByteArray xyz = "property float x\nproperty float y\nproperty float z\n";

inline QByteArray ply(const QByteArray& format, const QByteArray& elements, const QByteArray& body) {
    return "ply\nformat " + format + " 1.0\ncomment a scan\n" + elements + "end_header\n" + body;
}

}  // namespace TestSupport
