#include "kvmeasure/profile_file.h"

#include "kvmeasure/failure.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <QtCore/QtEndian>

#include <cmath>
#include <cstring>
#include <limits>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::KvPointXYZ;

namespace {

constexpr int longestLine = 4096;                // bytes; no row of a profile comes near
constexpr int largestProfile = 1'000'000;        // points
constexpr quint32 largestRecordRead = 1U << 26;  // points, as in the library
constexpr float unset = std::numeric_limits<float>::quiet_NaN();

/// Layout of one kind of record: marker, count, further head, points.
struct Layout {
    const char* name;
    int marker;
    int countBytes;
    int headBytes;  // with marker and count
    int pointBytes;
};

constexpr Layout layouts[] = {
    {"XY cloud", 0x02, 2, 3, 8},           {"XYZ cloud", 0x03, 4, 5, 12},
    {"XYZRGB cloud", 0x04, 4, 5, 16},      {"profile with z", 0x05, 2, 7, 8},
    {"profile with tags", 0x85, 2, 27, 8},
};

const Layout* findLayout(unsigned char marker) {
    for (const Layout& layout : layouts) {
        if (layout.marker == marker)
            return &layout;
    }
    return nullptr;
}

float floatAt(const char* bytes) {
    const auto bits = qFromLittleEndian<quint32>(bytes);
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

}  // namespace

QString shown(const QByteArray& bytes) {
    constexpr int longest = 40, bytesOfOne = 4;
    const QString whole = QString::fromUtf8(bytes.left(bytesOfOne * longest));
    QString text;
    for (const QChar letter : whole.left(longest))
        text += letter.isPrint() ? letter : QChar('?');
    return whole.size() > longest ? text + "..." : text;
}

double textNumber(const QByteArray& text, bool& isNumber) {
    const double value = text.toDouble(&isNumber);
    if (isNumber || (qstricmp(text.constData(), "nan") != 0 && qstricmp(text.constData(), "-nan") != 0))
        return value;
    isNumber = true;
    return std::numeric_limits<double>::quiet_NaN();
}

QString formName(FileForm form) {
    switch (form) {
    case FileForm::LibraryCsv:
        return "CSV with semicolons";
    case FileForm::Csv:
        return "CSV";
    default:
        return "binary records";
    }
}

QString recordName(unsigned char marker) {
    const Layout* layout = findLayout(marker);
    return layout == nullptr ? QString() : QString(layout->name);
}

int largestRecord(unsigned char marker) {
    const Layout* layout = findLayout(marker);
    return layout != nullptr && layout->countBytes == 2 ? 0xFFFF : std::numeric_limits<int>::max();
}

bool recordHasZ(unsigned char marker) { return marker == 0x03 || marker == 0x04; }

void openRegularFile(QFile& file) {
    const QString path = file.fileName();
    const QFileInfo info(path);
    if (!info.exists())
        throw Failure{QString("%1: no such file").arg(path)};
    if (info.isDir())
        throw Failure{QString("%1: is a directory; name the files in it").arg(path)};
    if (!info.isFile())
        throw Failure{QString("%1: is not a regular file; copy its content to one").arg(path)};
    if (!file.open(QIODevice::ReadOnly))
        throw Failure{QString("%1: cannot be read: %2").arg(path, file.errorString())};
}

PointFile::PointFile(const QString& path) : path_(path), file_(path) {
    openRegularFile(file_);
    size_ = file_.size();
    sniff();
}

void PointFile::failAtOffset(qint64 offset, const QString& text) const {
    throw Failure{QString("%1: offset %2: %3").arg(path_).arg(offset).arg(text)};
}

void PointFile::failAtLine(const QString& text) const {
    throw Failure{QString("%1: line %2: %3").arg(path_).arg(line_).arg(text)};
}

void PointFile::sniff() {
    const QByteArray start = file_.peek(longestLine);
    if (start.isEmpty())
        throw Failure{QString("%1: is empty; expected CSV text or binary records").arg(path_)};
    if (findLayout(static_cast<unsigned char>(start[0])) != nullptr) {
        form_ = FileForm::Records;
        return;
    }
    for (int i = 0; i < start.size(); ++i) {
        const auto byte = static_cast<unsigned char>(start[i]);
        if (byte >= 0x20 || byte == '\t' || byte == '\r' || byte == '\n')
            continue;
        failAtOffset(
            i, QString("byte 0x%1; expected CSV text, or a record that begins with 0x02 (XY), 0x03 (XYZ), "
                       "0x04 (XYZRGB), 0x05 or 0x85 (profiles)")
                   .arg(byte, 2, 16, QChar('0')));
    }
    if (start.startsWith("\xEF\xBB\xBF"))
        file_.seek(3);
    for (const QByteArray& line : start.split('\n')) {
        const QByteArray text = line.trimmed();
        if (!text.isEmpty() && !text.startsWith('#') && !text.startsWith("\xEF\xBB\xBF#")) {
            chooseSeparator(text);
            break;
        }
    }
}

void PointFile::chooseSeparator(const QByteArray& line) {
    for (const char candidate : {';', '\t', ','}) {
        if (line.contains(candidate)) {
            separator_ = candidate;
            form_ = candidate == ';' ? FileForm::LibraryCsv : FileForm::Csv;
            return;
        }
    }
    separator_ = ' ';
}

bool PointFile::nextHead(RecordHead& head) {
    const qint64 offset = file_.pos();
    char bytes[27] = {};
    if (!file_.getChar(bytes))
        return false;
    const auto marker = static_cast<unsigned char>(bytes[0]);
    const Layout* layout = findLayout(marker);
    if (layout == nullptr)
        failAtOffset(offset,
                     QString("byte 0x%1; expected the marker of a record: 0x02, 0x03, 0x04, 0x05 or 0x85")
                         .arg(marker, 2, 16, QChar('0')));
    const qint64 got = file_.read(bytes + 1, layout->headBytes - 1);
    if (got != layout->headBytes - 1)
        failAtOffset(offset, QString("%1 record: its head needs %2 bytes, the file ends after %3")
                                 .arg(layout->name)
                                 .arg(layout->headBytes)
                                 .arg(got + 1));
    head = RecordHead();
    head.marker = marker;
    head.bytes = QByteArray(bytes, layout->headBytes);
    head.offset = offset;
    head.count = layout->countBytes == 2 ? qFromLittleEndian<quint16>(bytes + 1)
                                         : qFromLittleEndian<quint32>(bytes + 1);
    if (head.count > largestRecordRead &&
        size_ - offset > qint64{largestRecordRead} * layout->pointBytes)  // and is not merely damaged
        failAtOffset(offset, QString("%1 record: has more than %2 points; divide it")
                                 .arg(layout->name)
                                 .arg(largestRecordRead));
    if (marker == 0x05)
        head.z = floatAt(bytes + 3);
    if (marker == 0x85) {
        head.tagA = qFromLittleEndian<qint32>(bytes + 3);
        head.tagB = qFromLittleEndian<qint32>(bytes + 15);
    }
    head_ = head;
    pointsLeft_ = head.count;
    position_ = file_.pos();
    return true;
}

const QList<KvPointXYZ>& PointFile::nextPoints(int most) {
    chunk_.clear();
    const Layout& layout = *findLayout(head_.marker);
    const auto wanted = static_cast<int>(qMin(pointsLeft_, static_cast<quint32>(most)));
    const QByteArray bytes = file_.read(qint64(wanted) * layout.pointBytes);
    const int complete = static_cast<int>(bytes.size()) / layout.pointBytes;
    if (complete < wanted) {
        const qint64 there = qint64(head_.count - pointsLeft_) + complete;
        failAtOffset(head_.offset,
                     QString("%1 record: announces %2 points, the file ends after %3; it is cut or damaged")
                         .arg(layout.name)
                         .arg(head_.count)
                         .arg(there));
    }
    for (int i = 0; i < complete; ++i) {
        const char* at = bytes.constData() + qint64(i) * layout.pointBytes;
        const float third = recordHasZ(head_.marker) ? floatAt(at + 8) : unset;
        chunk_.append(KvPointXYZ(floatAt(at), floatAt(at + 4), third));
    }
    pointsLeft_ -= static_cast<quint32>(complete);
    position_ = file_.pos();
    return chunk_;
}

void PointFile::setColumns(const QString& columns) {
    if (columns.isEmpty())
        return;
    const QStringList parts = columns.split(',');
    bool isX = false;
    bool isY = false;
    const int x = parts[0].toInt(&isX);
    const int y = parts.size() == 2 ? parts[1].toInt(&isY) : 0;
    constexpr int lastColumn = 1000;
    if (!isX || !isY || x < 1 || y < 1 || x > lastColumn || y > lastColumn)
        throw Failure{QString("--columns needs two column numbers counted from 1, e.g. \"1,3\", not \"%1\"")
                          .arg(columns)};
    xColumn_ = x - 1;
    yColumn_ = y - 1;
    areColumnsKnown_ = true;
}

bool PointFile::nextLine(QByteArray& line) {
    while (true) {
        line = file_.readLine(longestLine + 1);
        if (line.isEmpty())
            return false;
        ++line_;
        if (line.size() >= longestLine && !line.endsWith('\n'))
            failAtLine(QString("is longer than %1 bytes; expected one point per line").arg(longestLine));
        if (line.contains('\0'))
            failAtLine("holds a zero byte; expected text");
        position_ = file_.pos();
        if (!line.trimmed().isEmpty() && !line.trimmed().startsWith('#'))
            return true;
    }
}

float PointFile::field(const QList<QByteArray>& fields, int column, bool& isNumber) const {
    QByteArray text = fields[column].trimmed();
    isNumber = true;
    if (text.isEmpty())
        return unset;
    if (separator_ != ',')
        text.replace(',', '.');
    const double value = textNumber(text, isNumber);
    if (!isNumber || std::isnan(value))
        return unset;
    if (!(std::fabs(value) <= double(std::numeric_limits<float>::max())))
        failAtLine(QString("column %1: %2 is too large for a coordinate").arg(column + 1).arg(shown(text)));
    return static_cast<float>(value);
}

/// "-1,0,0,02" are four columns, or -1.0 and 0.02. A row that can only be four settles it for the file.
void PointFile::refuseDecimalCommas(const QByteArray& line, int fields) {
    constexpr int fieldsOfTwoNumbers = 4;
    if (areColumnsKnown_ || separator_ != ',' || fields != fieldsOfTwoNumbers)
        return;
    static const QRegularExpression twoNumbers(
        R"(^\s*[+-]?\d+,\d+(e[+-]?\d+)?\s*,\s*[+-]?\d+,\d+(e[+-]?\d+)?\s*$)",
        QRegularExpression::CaseInsensitiveOption);
    if (twoNumbers.match(QString::fromLatin1(line)).hasMatch())
        failAtLine(
            QString("\"%1\" may be two numbers with decimal commas; separate numbers by semicolons, or "
                    "give --columns 1,2 if these are four columns")
                .arg(shown(line.trimmed())));
    areColumnsKnown_ = true;
}

bool PointFile::nextRow(KvPointXY& point) {
    QByteArray line;
    while (nextLine(line)) {
        const QList<QByteArray> fields =
            separator_ == ' ' ? line.simplified().split(' ') : line.split(separator_);
        const int needed = qMax(xColumn_, yColumn_) + 1;
        if (fields.size() < needed)
            failAtLine(
                QString("has %1 column(s), expected at least %2 in \"%3\"; a row is \"x,y\" or \"x;y\"")
                    .arg(fields.size())
                    .arg(needed)
                    .arg(shown(line.trimmed())));
        refuseDecimalCommas(line, static_cast<int>(fields.size()));
        bool isX = false;
        bool isY = false;
        point.x = field(fields, xColumn_, isX);
        point.y = field(fields, yColumn_, isY);
        const bool isHeader = !hasRows_ && !isX && !isY;
        hasRows_ = true;
        if (isX && isY)
            return true;
        if (!isHeader) {
            const int column = isX ? yColumn_ : xColumn_;
            failAtLine(QString("column %1: expected a number, found \"%2\"")
                           .arg(column + 1)
                           .arg(shown(fields[column].trimmed())));
        }
    }
    return false;
}

ProfileSource::ProfileSource(const QString& path, const QString& columns) : file_(path) {
    file_.setColumns(columns);
}

void ProfileSource::add(LoadedProfile& loaded, float x, float y) const {
    if (!std::isfinite(x) || !std::isfinite(y)) {
        ++loaded.unset;
        return;
    }
    if (loaded.profile.points.size() == largestProfile)
        throw Failure{QString("%1: has more than %2 points; that is no single profile")
                          .arg(file_.path())
                          .arg(largestProfile)};
    loaded.profile.points.append(KvPointXY(x, y));
}

void ProfileSource::readRecord(const RecordHead& head, LoadedProfile& loaded) {
    float z = unset;
    file_.forEachPoint([&](const KvPointXYZ& point) {
        if (std::isnan(z))
            z = point.z;
        if (point.z != z && !std::isnan(point.z))
            throw Failure{
                QString("%1: offset %2: %3 record: its points lie at different z; expected one profile")
                    .arg(file_.path())
                    .arg(head.offset)
                    .arg(recordName(head.marker))};
        add(loaded, point.x, point.y);
    });
    if (recordHasZ(head.marker) && head.count > 0)
        loaded.z = z;
}

bool ProfileSource::next(LoadedProfile& loaded) {
    if (isDone_)
        return false;
    loaded = LoadedProfile();
    loaded.name = file_.path();
    loaded.stem = QFileInfo(file_.path()).completeBaseName();
    if (file_.form() != FileForm::Records) {
        isDone_ = true;
        KvPointXY point;
        while (file_.nextRow(point))
            add(loaded, point.x, point.y);
        if (loaded.profile.points.isEmpty())
            throw Failure{
                QString("%1: holds no point; expected rows of \"x,y\" or \"x;y\"").arg(file_.path())};
        return true;
    }
    RecordHead head;
    if (!file_.nextHead(head))
        return false;
    loaded.head = head;
    loaded.z = head.z;
    readRecord(head, loaded);
    if (index_ > 0 || file_.position() < file_.size()) {
        loaded.name += QString("#%1").arg(index_);
        loaded.stem += QString("-%1").arg(index_);
    }
    ++index_;
    return true;
}

LoadedProfile loadProfile(const QString& path, const QString& columns, int record) {
    ProfileSource source(path, columns);
    LoadedProfile loaded;
    for (int i = 0; i <= record; ++i) {
        if (!source.next(loaded))
            throw Failure{
                QString("%1: has %2 profile(s); there is no --record %3").arg(path).arg(i).arg(record)};
    }
    return loaded;
}

}  // namespace KvMeasure
