// Records are read head by head and their points in chunks, so that memory does not follow the size of a file
// or a damaged count. Every failure names the offset.

#include <kvmeasure/profiles/profile_file.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/profiles/file_start_p.h>
#include <kvmeasure/profiles/text_taken.h>

#include <kvmath/core/record_layout.h>

#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace KvMeasure {

using KvMath::KvPointXYZ;

namespace {

constexpr quint32 kLargestRecordRead = 1U << 26;  // points, as in the library
constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();

float floatAt(const char* bytes) {
    const auto bits = qFromLittleEndian<quint32>(bytes);
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

/// No NaN and no infinity among them; written so that the compiler looks at several at a time.
bool areFinite(const std::vector<float>& values) {
    constexpr quint32 kExponent = 0x7F800000;
    quint32 others = 0;
    for (const float value : values) {
        quint32 bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        others |= (bits & kExponent) == kExponent ? 1U : 0U;
    }
    return others == 0;
}

/// Replaces the points of a profile; in their place where there are about as many.
void takePoints(const float* coordinates, int count, KvMath::KvProfile& profile) {
    constexpr int kMostAppended = 64;  // one by one
    QList<KvMath::KvPointXY>& points = profile.points;
    const int there = points.isDetached() ? static_cast<int>(points.size()) : 0;
    if (there == 0 || count - there > kMostAppended) {
        points.clear();
        profile.copyFromXYPointsBuffer(coordinates, static_cast<unsigned short>(count));
        return;
    }
    if (there > count)
        points.erase(points.begin() + count, points.end());
    const auto to = points.begin();
    const int kept = std::min(there, count);
    for (int i = 0; i < kept; ++i) {  // by index, so that several are copied at a time
        to[i].x = coordinates[2 * i];
        to[i].y = coordinates[2 * i + 1];
    }
    for (int i = there; i < count; ++i)
        points.append(KvMath::KvPointXY(coordinates[2 * i], coordinates[2 * i + 1]));
}

}  // namespace

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
    switch (marker) {
    case KvMath::kPlaneCloudRecord:
        return "XY cloud";
    case KvMath::kSpaceCloudRecord:
        return "XYZ cloud";
    case KvMath::kColourCloudRecord:
        return "XYZRGB cloud";
    case KvMath::kProfileRecord:
        return "profile with z";
    case KvMath::kTaggedProfileRecord:
        return "profile with tags";
    default:
        return QString();
    }
}

int largestRecord(unsigned char marker) {
    const KvMath::RecordLayout* layout = KvMath::recordLayout(marker);
    return layout != nullptr && layout->countBytes == 2 ? 0xFFFF : std::numeric_limits<int>::max();
}

bool recordHasZ(unsigned char marker) {
    const KvMath::RecordLayout* layout = KvMath::recordLayout(marker);
    return layout != nullptr && layout->isInSpace();
}

bool holdsRecords(QFile& file) {
    file.seek(0);
    return Internal::FileStart(file).form == Internal::StartForm::Records;
}

PointFile::PointFile(const QString& path) : PointFile(openedFile(path), path) {}

PointFile::PointFile(std::shared_ptr<QFile> file, const QString& path) : path_(path), file_(std::move(file)) {
    file_->seek(0);
    size_ = file_->size();
    tellForm();
}

void PointFile::failAtOffset(qint64 offset, const QString& text) const {
    throw Error(filledIn("%1: offset %2: %3", path_, offset, text)).inFile(path_).atOffset(offset);
}

void PointFile::tellForm() {
    const Internal::FileStart start(*file_);
    if (start.form == Internal::StartForm::Empty)
        throw Error(path_ + ": is empty; expected CSV text or binary records").inFile(path_);
    if (start.form == Internal::StartForm::Records) {
        form_ = FileForm::Records;
        return;
    }
    if (start.bytes.startsWith("PK\x03\x04"))
        throw Error(path_ + ": is a spreadsheet or another archive; save the sheet as CSV").inFile(path_);
    if (start.encoding == TextEncoding::NoText)
        failAtOffset(
            start.badByte,
            QString("byte 0x%1; expected CSV text, or a record that begins with 0x02 (XY), 0x03 (XYZ), "
                    "0x04 (XYZRGB), 0x05 or 0x85 (profiles)")
                .arg(static_cast<unsigned char>(start.bytes[start.badByte]), 2, 16, QChar('0')));
}

TextProfiles PointFile::readText(const TextOptions& options) {
    TextProfiles text = readProfileText(*file_, path_, options);
    form_ = text.head.separator == ';' ? FileForm::LibraryCsv : FileForm::Csv;
    position_ = size_;
    return text;
}

bool PointFile::nextHead(RecordHead& head) {
    const qint64 offset = file_->pos();
    char bytes[27] = {};
    if (!file_->getChar(bytes))
        return false;
    const auto marker = static_cast<unsigned char>(bytes[0]);
    const KvMath::RecordLayout* layout = KvMath::recordLayout(marker);
    if (layout == nullptr)
        failAtOffset(offset,
                     QString("byte 0x%1; expected the marker of a record: 0x02, 0x03, 0x04, 0x05 or 0x85")
                         .arg(marker, 2, 16, QChar('0')));
    const qint64 got = file_->read(bytes + 1, layout->headBytes - 1);
    if (got != layout->headBytes - 1)
        failAtOffset(offset, filledIn("%1 record: its head needs %2 bytes, the file ends after %3",
                                      recordName(marker), layout->headBytes, got + 1));
    head = RecordHead();
    head.marker = marker;
    head.bytes = QByteArray(bytes, layout->headBytes);
    head.offset = offset;
    head.count = layout->countBytes == 2 ? qFromLittleEndian<quint16>(bytes + 1)
                                         : qFromLittleEndian<quint32>(bytes + 1);
    if (head.count > kLargestRecordRead &&
        size_ - offset > qint64{kLargestRecordRead} * layout->pointBytes)  // and is not merely damaged
        failAtOffset(offset, filledIn("%1 record: has more than %2 points; divide it", recordName(marker),
                                      kLargestRecordRead));
    if (marker == KvMath::kProfileRecord)
        head.z = floatAt(bytes + 3);
    if (marker == KvMath::kTaggedProfileRecord) {
        head.tagA = qFromLittleEndian<qint32>(bytes + 3);
        head.tagB = qFromLittleEndian<qint32>(bytes + 15);
    }
    head_ = head;
    pointsLeft_ = head.count;
    position_ = file_->pos();
    return true;
}

/// Reads points of the present record, which has so many left, as they stand in the file.
void PointFile::readPoints(char* bytes, int count) {
    const KvMath::RecordLayout& layout = *KvMath::recordLayout(head_.marker);
    const qint64 got = file_->read(bytes, qint64(count) * layout.pointBytes);
    const int complete = static_cast<int>(got) / layout.pointBytes;
    if (complete < count) {
        const qint64 there = qint64(head_.count - pointsLeft_) + complete;
        failAtOffset(head_.offset,
                     filledIn("%1 record: announces %2 points, the file ends after %3; it is cut or damaged",
                              recordName(head_.marker), head_.count, there));
    }
    pointsLeft_ -= static_cast<quint32>(count);
    position_ = file_->pos();
}

const std::vector<KvPointXYZ>& PointFile::nextPoints(int most) {
    chunk_.clear();
    if (pointsLeft_ == 0 || most <= 0) {
        position_ = file_->pos();
        return chunk_;
    }
    const int pointBytes = KvMath::recordLayout(head_.marker)->pointBytes;
    const auto wanted = static_cast<int>(qMin(pointsLeft_, static_cast<quint32>(most)));
    bytes_.resize(wanted * pointBytes);
    readPoints(bytes_.data(), wanted);
    const bool hasZ = recordHasZ(head_.marker);
    chunk_.resize(std::size_t(wanted));
    const char* at = bytes_.constData();
    for (KvPointXYZ& point : chunk_) {
        point.x = floatAt(at);
        point.y = floatAt(at + 4);
        point.z = hasZ ? floatAt(at + 8) : kUnset;
        at += pointBytes;
    }
    return chunk_;
}

std::vector<float>& PointFile::nextCoordinates() {
    const auto wanted = recordHasZ(head_.marker) ? 0 : static_cast<int>(pointsLeft_);
    coordinates_.resize(2 * std::size_t(wanted));
    if (wanted > 0) {
        auto* const bytes = reinterpret_cast<char*>(coordinates_.data());
        readPoints(bytes, wanted);
        qFromLittleEndian<quint32>(bytes, 2 * qint64(wanted), bytes);
    }
    return coordinates_;
}

void refuseTextOptions(const TextOptions& options, const QString& path, const char* what) {
    if (!options.given.isEmpty())
        throw Error(path + ": " + what + ", no text of profiles; leave " + options.given + " out")
            .inFile(path);
}

ProfileSource::ProfileSource(const QString& path, const TextOptions& options)
    : ProfileSource(openedFile(path), path, options) {}

ProfileSource::ProfileSource(const std::shared_ptr<QFile>& file, const QString& path,
                             const TextOptions& options)
    : file_(file, path), stem_(stemOf(path)) {
    if (file_.form() == FileForm::Records) {
        refuseTextOptions(options, path, "holds binary records");
        return;
    }
    TextProfiles text = file_.readText(options);
    const QString hint = countHint(text, options);
    if (!hint.isEmpty())
        warning_ = withoutMarks(path) + ": " + hint;
    text_.swap(text.profiles);
}

/// Points with both coordinates finite stay.
void ProfileSource::readPlane(LoadedProfile& loaded) {
    std::vector<float>& coordinates = file_.nextCoordinates();
    float* const points = coordinates.data();
    const std::size_t count = coordinates.size() / 2;
    std::size_t kept = 0;
    if (areFinite(coordinates))
        kept = count;
    for (std::size_t i = kept; i < count; ++i) {
        const float x = points[2 * i];
        const float y = points[2 * i + 1];
        points[2 * kept] = x;
        points[2 * kept + 1] = y;
        kept += std::isfinite(x) && std::isfinite(y) ? 1 : 0;
    }
    loaded.unset = static_cast<int>(count - kept);
    takePoints(points, static_cast<int>(kept), loaded.profile);
}

void ProfileSource::readSpace(const RecordHead& head, LoadedProfile& loaded) {
    constexpr int kPointsAtOnce = 0xFFFF;  // as many as copyFromXYPointsBuffer takes
    float z = kUnset;
    const auto take = [&](const KvPointXYZ& point) {
        if (std::isnan(z))
            z = point.z;
        if (point.z != z && !std::isnan(point.z))
            throw Error(
                filledIn("%1: offset %2: %3 record: its points lie at different z; expected one profile",
                         file_.path(), head.offset, recordName(head.marker)))
                .inFile(file_.path())
                .atOffset(head.offset);
        if (!isFinite(point)) {
            ++loaded.unset;
            return;
        }
        if (std::size_t(loaded.profile.points.size()) + kept_.size() / 2 == kLargestProfile)
            throw Error(filledIn("%1: has more than %2 points; that is no single profile", file_.path(),
                                 kLargestProfile))
                .inFile(file_.path());
        kept_.push_back(point.x);
        kept_.push_back(point.y);
    };
    while (true) {
        const std::vector<KvPointXYZ>& points = file_.nextPoints(kPointsAtOnce);
        if (points.empty())
            break;
        kept_.clear();
        for (const KvPointXYZ& point : points)
            take(point);
        loaded.profile.copyFromXYPointsBuffer(kept_.data(), static_cast<unsigned short>(kept_.size() / 2));
    }
    if (head.count > 0)
        loaded.z = z;
}

bool ProfileSource::isAtEnd() const {
    return file_.form() == FileForm::Records ? file_.position() == file_.size()
                                             : std::size_t(index_) == text_.size();
}

void ProfileSource::number(LoadedProfile& loaded, bool isOnly) {
    loaded.name = file_.path();
    loaded.stem = stem_;
    if (!isOnly) {
        const QString number = QString::number(index_);
        loaded.name.reserve(loaded.name.size() + 1 + number.size());
        loaded.name += '#';
        loaded.name += number;
        loaded.stem += '-';
        loaded.stem += number;
    }
    ++index_;
}

bool ProfileSource::next(LoadedProfile& loaded) {
    if (file_.form() != FileForm::Records) {
        if (isAtEnd())
            return false;
        loaded = LoadedProfile();
        TextProfile& profile = text_[std::size_t(index_)];
        loaded.profile.points.swap(profile.profile.points);
        loaded.unset = profile.unset;
        loaded.warning.swap(warning_);
        number(loaded, text_.size() == 1);
        if (text_.size() == 1 && loaded.profile.points.isEmpty())
            throw Error(file_.path() + ": holds no point; expected rows of \"x,y\" or \"x;y\"")
                .inFile(file_.path());
        return true;
    }
    QList<KvMath::KvPointXY> points;  // their place is used again
    points.swap(loaded.profile.points);
    loaded = LoadedProfile();
    RecordHead head;
    if (!file_.nextHead(head))
        return false;
    if (!recordHasZ(head.marker))
        loaded.profile.points.swap(points);
    loaded.head = head;
    loaded.z = head.z;
    if (recordHasZ(head.marker))
        readSpace(head, loaded);
    else
        readPlane(loaded);
    number(loaded, index_ == 0 && file_.position() == file_.size());
    return true;
}

LoadedProfile loadOnlyProfile(const QString& path, const TextOptions& options) {
    ProfileSource source(path, options);
    LoadedProfile loaded;
    if (!source.next(loaded))
        throw Error(path + ": holds no profile").inFile(path);
    if (!source.isAtEnd())
        throw Error(path + ": holds several profiles, expected one; make a file of each").inFile(path);
    return loaded;
}

}  // namespace KvMeasure
