#include "kvmeasure/profile_writer.h"

#include "kvmeasure/failure.h"

#include <QtCore/QtEndian>

#include <cmath>
#include <cstring>
#include <limits>

namespace KvMeasure {

using KvMath::KvPointXY;

namespace {

QByteArray number(float value) {
    constexpr int digits = 9;  // as many as tell any two floats apart
    return std::isfinite(value) ? QByteArray::number(double(value), 'g', digits) : QByteArray("nan");
}

QByteArray rows(const KvMath::KvProfile& profile, FileForm form) {
    QByteArray text = form == FileForm::Csv ? "x_mm,y_mm\n" : "";
    for (const KvPointXY& point : profile.points) {
        QByteArray row = number(point.x) + ';' + number(point.y) + '\n';
        if (form == FileForm::Csv)
            row.replace(';', ',');
        else
            row.replace('.', ',');
        text += row;
    }
    return text;
}

void append(QByteArray& bytes, float value) {
    if (!std::isfinite(value))
        value = std::numeric_limits<float>::quiet_NaN();
    quint32 bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    bits = qToLittleEndian(bits);
    bytes.append(reinterpret_cast<const char*>(&bits), sizeof(bits));
}

}  // namespace

FileForm parseForm(const QString& text, FileForm absent) {
    if (text.isEmpty())
        return absent;
    if (text == "csv")
        return FileForm::Csv;
    if (text == "kv-csv")
        return FileForm::LibraryCsv;
    if (text == "record")
        return FileForm::Records;
    throw Failure{QString("--format must be csv, kv-csv or record, not \"%1\"").arg(text)};
}

QByteArray ProfileWriter::record(const LoadedProfile& loaded) const {
    constexpr char xy = 0x02;
    constexpr char xyz = 0x03;
    QByteArray bytes = loaded.head.bytes.isEmpty() ? QByteArray(3, '\0') : loaded.head.bytes;
    if (loaded.head.bytes.isEmpty())
        bytes[0] = xy;
    const bool hasZ = recordHasZ(static_cast<unsigned char>(bytes[0]));
    if (hasZ)
        bytes[0] = xyz;
    const int points = loaded.profile.points.size();
    const int most = largestRecord(static_cast<unsigned char>(bytes[0]));
    if (points > most)
        throw Failure{QString("%1: %2 points do not fit the record of \"%3\", which holds at most %4; take "
                              "--format csv")
                          .arg(path_)
                          .arg(points)
                          .arg(loaded.name)
                          .arg(most)};
    for (int i = 0; i < (hasZ ? 4 : 2); ++i)
        bytes[i + 1] = static_cast<char>((static_cast<unsigned>(points) >> (8 * i)) & 0xFF);
    for (const KvPointXY& point : loaded.profile.points) {
        append(bytes, point.x);
        append(bytes, point.y);
        if (hasZ)
            append(bytes, loaded.z);
    }
    return bytes;
}

void ProfileWriter::add(const LoadedProfile& loaded) {
    if (form_ != FileForm::Records && hasProfile_)
        throw Failure{QString("%1: a CSV file holds one profile, the input has several; take --format record "
                              "or choose one with --record")
                          .arg(path_)};
    hasProfile_ = true;
    file_.write(form_ == FileForm::Records ? record(loaded) : rows(loaded.profile, form_));
}

}  // namespace KvMeasure
