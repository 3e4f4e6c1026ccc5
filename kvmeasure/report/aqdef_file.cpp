// AQDEF, the ASCII transfer format for quality data. Fields and their lengths: the format's published list of
// K-fields. K0xxx are of values, K1xxx of the part, K2xxx of characteristics; behind a slash stands the
// number of the characteristic, from 1. Values are written as fields, not in the short form with control
// characters, so that every reader takes the same from them.

#include <kvmeasure/report/aqdef_file.h>
#include <kvmeasure/report/hand_over_p.h>

#include <cmath>

namespace KvMeasure {

namespace {

const QString dateForm = "dd.MM.yyyy/HH:mm:ss";  // local time, which the format means

/// A line; nothing for an empty text. `length`: of the field. `number`: of the characteristic, 0: of none.
QByteArray field(const char* key, int number, const QString& text, int length) {
    const QString line = Internal::lineOf(text, length);
    if (line.isEmpty())
        return {};
    return QByteArray(key) + (number > 0 ? '/' + QByteArray::number(number) : QByteArray()) + ' ' +
           line.toUtf8() + "\r\n";
}

QByteArray field(const char* key, int number, int value) {
    return field(key, number, QString::number(value), 0);
}

/// Fifteen digits: with sign and exponent they fill the 22 characters of a field.
QByteArray field(const char* key, int number, double value) {
    constexpr int kDigits = 15;
    return field(key, number, QString::number(value, 'G', kDigits), 0);
}

/// A text that is the number of a catalogue; fields of numbers take no other.
bool isCatalogueNumber(const QString& text) {
    constexpr int kMostDigits = 9;  // such a number fits 32 bits
    if (text.isEmpty() || text.size() > kMostDigits)
        return false;
    for (const QChar c : text) {
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

/// The part, which is what all profiles are measured as.
QByteArray partFields(const HandedRun& run) {
    return field("K1001", 1, run.plan.isEmpty() ? QString("kvmeasure") : run.plan, 30) +
           field("K1002", 1, run.plan, 80) + field("K1204", 1, run.started.toString(dateForm), 20) +
           field("K1206", 1, run.station, 40) + field("K1222", 1, run.operatorName, 40) +
           field("K1231", 1, run.planDigest, 20) + field("K1900", 1, run.program, 255);
}

QByteArray characteristicFields(const Value& value, int number) {
    constexpr int kDecimals = 4;       // a tenth of a micrometre, as tables have it
    constexpr int kRatioDecimals = 6;  // of values without a unit
    const Tolerance& tolerance = value.tolerance;
    const bool hasLower = value.hasTolerance && std::isfinite(tolerance.least());
    const bool hasUpper = value.hasTolerance && std::isfinite(tolerance.greatest());
    QByteArray fields = field("K2001", number, number) + field("K2002", number, value.name, 80) +
                        field("K2004", number, 0) +  // a variable
                        field("K2022", number, value.unit.isEmpty() ? kRatioDecimals : kDecimals);
    if (value.hasTolerance && tolerance.hasNominal)
        fields += field("K2101", number, tolerance.nominal);
    if (hasLower)
        fields += field("K2110", number, tolerance.least());
    if (hasUpper)
        fields += field("K2111", number, tolerance.greatest());
    fields += field("K2120", number, hasLower ? 1 : 0) + field("K2121", number, hasUpper ? 1 : 0) +
              field("K2142", number, value.unit, 20);
    constexpr int kNameLength = 80;
    if (Internal::lineOf(value.name).size() > kNameLength)
        fields += field("K2900", number, value.name, 255);
    return fields;
}

/// Serial number, else the end of the name: paths of one folder begin alike.
QString identityOf(const StoredPart& part) {
    constexpr int kLength = 40;
    return part.serial.isEmpty() ? Internal::lineOf(part.name).right(kLength) : part.serial;
}

/// What else is to be said of a value: of which profile, why it is missing, what may mislead in it.
QString textOf(const StoredPart& part, const Value& value) {
    QStringList said;
    if (identityOf(part) != part.name)
        said.append(part.name);
    said << value.reason << value.warning;
    said.removeAll(QString());
    return said.join("; ");
}

}  // namespace

struct AqdefFile::Content {
    Content(const QString& path, const HandedRun& about) : file(path), run(about) {
        text.add(field("K0100", 0, static_cast<int>(run.characteristics.size())) + partFields(run));
        for (int i = 0; i < static_cast<int>(run.characteristics.size()); ++i)
            text.add(characteristicFields(run.characteristics[i], i + 1));
        if (isCatalogueNumber(run.operatorName))
            who = run.operatorName;
        if (isCatalogueNumber(run.station))
            where = run.station;
    }

    OutputFile file;
    HandedRun run;
    QString who, where;  ///< numbers of catalogues; empty: these are names
    Internal::CollectedText text;
};

AqdefFile::AqdefFile(const QString& path, const HandedRun& run)
    : content_(std::make_unique<Content>(path, run)) {}

AqdefFile::~AqdefFile() = default;

void AqdefFile::add(const StoredPart& part, const QDateTime& measured) {
    constexpr int kValid = 0, kEmpty = 255;
    const QString time = measured.toLocalTime().toString(dateForm);
    QByteArray fields;
    for (int i = 0; i < static_cast<int>(content_->run.characteristics.size()); ++i) {
        const Value value = Internal::valueOf(content_->run, part, i);
        const int number = i + 1;
        fields += field("K0001", number, value.isValid ? value.value : 0.0) +
                  field("K0002", number, value.isValid ? kValid : kEmpty) + field("K0004", number, time, 0) +
                  field("K0008", number, content_->who, 0) +
                  field("K0009", number, textOf(part, value), 255) +
                  field("K0010", number, content_->where, 0) + field("K0014", number, identityOf(part), 40);
    }
    content_->text.add(fields);
}

void AqdefFile::commit() {
    if (!content_->text.isAscii())
        content_->file.write("\xef\xbb\xbf");
    content_->text.copyTo(content_->file);
    content_->file.commit();
}

}  // namespace KvMeasure
