#include <kvmeasure/profiles/profile_writer.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <kvmath/core/record_layout.h>

#include <cmath>
#include <limits>

namespace KvMeasure {

using KvMath::KvPointXY;

namespace {

QByteArray number(float value) {
    constexpr int kDigits = 9;  // as many as tell any two floats apart
    return std::isfinite(value) ? QByteArray::number(double(value), 'g', kDigits) : QByteArray("nan");
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
    appendLittleEndian(bytes, std::isfinite(value) ? value : std::numeric_limits<float>::quiet_NaN());
}

}  // namespace

QStringList formNames() { return {"csv", "kv-csv", "record"}; }

FileForm parseForm(const QString& text, FileForm absent) {
    constexpr FileForm kForms[] = {FileForm::Csv, FileForm::LibraryCsv, FileForm::Records};
    const int form = static_cast<int>(formNames().indexOf(text));
    if (form >= 0)
        return kForms[form];
    if (text.isEmpty())
        return absent;
    throw Error(QString("\1form\2 must be %1, not \"%2\"").arg(alternatives(formNames()), text));
}

QByteArray ProfileWriter::record(const LoadedProfile& loaded) const {
    QByteArray bytes = loaded.head.bytes.isEmpty() ? QByteArray(3, '\0') : loaded.head.bytes;
    if (loaded.head.bytes.isEmpty())
        bytes[0] = KvMath::kPlaneCloudRecord;
    const bool hasZ = recordHasZ(static_cast<unsigned char>(bytes[0]));
    if (hasZ)
        bytes[0] = KvMath::kSpaceCloudRecord;
    const int points = static_cast<int>(loaded.profile.points.size());
    const int most = largestRecord(static_cast<unsigned char>(bytes[0]));
    if (points > most)
        throw Error(
            filledIn(
                "%1: %2 points do not fit the record of \"%3\", which holds at most %4; take \1form\2 csv",
                path_, points, loaded.name, most))
            .inFile(path_);
    QByteArray count;
    appendLittleEndian(count, static_cast<quint32>(points), hasZ ? 4 : 2);
    bytes.replace(1, count.size(), count);
    for (const KvPointXY& point : loaded.profile.points) {
        append(bytes, point.x);
        append(bytes, point.y);
        if (hasZ)
            append(bytes, loaded.z);
    }
    return bytes;
}

void writeProfile(const QString& path, FileForm form, const LoadedProfile& loaded) {
    ProfileWriter writer(path, form);
    writer.add(loaded);
    writer.commit();
}

void ProfileWriter::add(const LoadedProfile& loaded) {
    if (form_ != FileForm::Records && hasProfile_)
        throw Error(QString("%1: a CSV file holds one profile, the input has several; take \1form\2 record "
                            "or choose one with \1record\2")
                        .arg(path_));
    hasProfile_ = true;
    file_.write(form_ == FileForm::Records ? record(loaded) : rows(loaded.profile, form_));
}

}  // namespace KvMeasure
