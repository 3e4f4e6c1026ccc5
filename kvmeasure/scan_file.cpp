#include "kvmeasure/scan_file.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/profile_file.h"
#include "kvmeasure/progress.h"
#include "kvmeasure/scan_forms.h"

#include <QtCore/QHash>

#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::KvPointXYZ;
using KvMath::KvProfileZ;

namespace {

constexpr qint64 startBytes = 4096;  // looked at to tell the form

bool isRecord(const QByteArray& start) {
    return !start.isEmpty() && !recordName(static_cast<unsigned char>(start[0])).isEmpty();
}

/// Bytes of the mark that some editors put in front of UTF-8.
int markBytes(const QByteArray& start) { return start.startsWith("\xEF\xBB\xBF") ? 3 : 0; }

bool isPly(const QByteArray& start) {
    const QByteArray first = start.mid(markBytes(start), 4);
    return first == "ply\n" || first == "ply\r";
}

bool isText(const QByteArray& start) {
    for (const char letter : start) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte < 0x20 && byte != '\t' && byte != '\r' && byte != '\n')
            return false;
    }
    return true;
}

/// The first line of a text that says something.
QByteArray firstLine(const QByteArray& start) {
    for (const QByteArray& line : start.mid(markBytes(start)).split('\n')) {
        if (!line.trimmed().isEmpty() && !line.trimmed().startsWith('#'))
            return line.trimmed();
    }
    return QByteArray();
}

/// The raw map's description, when there is one and the file's size is what it says.
bool findMap(const QFile& file, HeightMap& map, QString& described) {
    described = findMapDescription(file.fileName());
    if (described.isEmpty())
        return false;
    map = readMapDescription(described);
    return map.bytes() == file.size();
}

/// Stacks and clouds from records. One file holds either profiles or clouds.
class RecordReader {
public:
    RecordReader(const QString& path, const ScanOptions& options, Scan& scan)
        : file_(path), options_(options), scan_(scan) {}
    void read();

private:
    [[noreturn]] void fail(const QString& text) const {
        throw Failure{QString("%1: offset %2: %3").arg(file_.path()).arg(head_.offset).arg(text)};
    }
    void checkKind();
    void addPoints(const QList<KvPointXYZ>& points, KvProfileZ& profile);

    PointFile file_;
    const ScanOptions& options_;
    Scan& scan_;
    RecordHead head_;
    bool isFirst_ = true;
};

void RecordReader::checkKind() {
    const bool isCloud = recordHasZ(head_.marker);
    if (isFirst_) {
        scan_.isStack = !isCloud;
        scan_.form = QString("records \"%1\"").arg(recordName(head_.marker));
    } else if (scan_.isStack == isCloud) {
        fail(QString("%1 record behind %2; a scan is made of profiles or of clouds, not both")
                 .arg(recordName(head_.marker), scan_.form));
    }
    isFirst_ = false;
    if (isCloud || !std::isnan(options_.step))
        return;
    if (head_.marker != 0x05)
        fail(QString("%1 record: has no position along the scan; say the distance of the profiles with "
                     "--scan-step MM")
                 .arg(recordName(head_.marker)));
    if (!std::isfinite(head_.z))
        fail("profile with z: its position along the scan is not a number; say the distance of the profiles "
             "with --scan-step MM");
}

void RecordReader::addPoints(const QList<KvPointXYZ>& points, KvProfileZ& profile) {
    for (const KvPointXYZ& p : points) {
        if (scan_.isStack)
            scan_.add(profile, p.x, p.y);
        else
            scan_.add(options_.heightLast ? KvPointXYZ(p.x, p.z, p.y) : p);
    }
}

void RecordReader::read() {
    constexpr int pointsAtOnce = 65'536;
    Progress progress(file_.path(), file_.size());
    while (file_.nextHead(head_)) {
        checkKind();
        KvProfileZ profile(head_.z);
        while (true) {
            const QList<KvPointXYZ>& points = file_.nextPoints(pointsAtOnce);
            if (points.isEmpty())
                break;
            addPoints(points, profile);
            scan_.requireRoom(file_.path());
        }
        if (scan_.isStack)
            scan_.add(profile);
        scan_.requireRoom(file_.path());
        progress.show(file_.position());
    }
}

[[noreturn]] void failScattered(const QString& path) {
    throw Failure{QString("%1: a cloud whose points do not lie in profiles; slice it first (\"kvmeasure scan "
                          "slice\")")
                      .arg(path)};
}

void readByContent(QFile& file, const ScanOptions& options, Scan& scan) {
    const QByteArray start = file.peek(startBytes);
    const QString path = file.fileName();
    HeightMap map;
    QString described;
    if (!options.map.isEmpty()) {
        readHeightMap(file, readMapDescription(options.map), scan);
    } else if (start.isEmpty()) {
        throw Failure{QString("%1: is empty; expected a scan").arg(path)};
    } else if (isPly(start)) {
        file.seek(markBytes(start));
        readPly(file, options.heightLast, scan);
    } else if (isText(start)) {
        readScanText(file, options.heightLast, scan);
    } else if (findMap(file, map, described) || (!isRecord(start) && !described.isEmpty())) {
        readHeightMap(file, map, scan);  // says what is wrong where only the size does not fit
    } else if (isRecord(start)) {
        file.close();
        RecordReader(path, options, scan).read();
    } else {
        throw Failure{
            QString("%1: begins with the byte 0x%2; expected records (0x02 to 0x05, 0x85), PLY, XYZ, "
                    "a CSV grid, or a height map with its description (--map)")
                .arg(path)
                .arg(static_cast<unsigned char>(start[0]), 2, 16, QChar('0'))};
    }
}

}  // namespace

float coordinate(double value) {
    const bool fits = std::fabs(value) <= double(std::numeric_limits<float>::max());
    return fits ? static_cast<float>(value) : std::numeric_limits<float>::quiet_NaN();
}

void Scan::add(const KvPointXYZ& point) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) {
        ++unset;
        return;
    }
    cloud.points.append(point);
    ++points;
}

void Scan::add(KvProfileZ& profile, float x, float y) {
    if (!std::isfinite(x) || !std::isfinite(y)) {
        ++unset;
        return;
    }
    profile.points.append(KvPointXY(x, y));
    ++points;
}

void Scan::countPoints() {
    points = cloud.points.size();
    for (const KvProfileZ& profile : stack.profiles)
        points += profile.points.size();
}

void Scan::requireRoom(const QString& path) const {
    if (points > largestScan)
        throw Failure{QString("%1: has more than %2 points; divide it").arg(path).arg(largestScan)};
    if (stack.size() > mostProfiles)
        throw Failure{QString("%1: has more than %2 profiles; divide it").arg(path).arg(mostProfiles)};
}

Scan loadScan(const QString& path, const ScanOptions& options) {
    QFile file(path);
    openRegularFile(file);
    Scan scan;
    readByContent(file, options, scan);
    if (scan.points == 0)
        throw Failure{QString("%1: holds no point with numbers").arg(path)};
    if (!std::isnan(options.step) && scan.isStack)
        scan.stack.setZ(coordinate(options.start), coordinate(options.step));
    return scan;
}

bool looksLikeScan(const QString& path) {
    QFile file(path);
    openRegularFile(file);
    const QByteArray start = file.peek(startBytes);
    if (start.isEmpty())
        return false;
    if (isPly(start))
        return true;
    if (isText(start))
        return isGridHead(firstLine(start));
    const auto marker = static_cast<unsigned char>(start[0]);
    HeightMap map;
    QString described;
    return marker == 0x05 || recordHasZ(marker) || findMap(file, map, described);
}

bool isRecordFile(const QString& path) {
    QFile file(path);
    openRegularFile(file);
    return isRecord(file.peek(1));
}

KvMath::KvProfileZSet takeStack(Scan& scan, const QString& path) {
    if (scan.isStack)
        return scan.stack;
    QHash<float, int> places;
    KvMath::KvProfileZSet stack;
    for (const KvPointXYZ& point : scan.cloud.points) {
        const float z = point.z + 0.0F;  // -0 and 0 are one place
        const int place = places.value(z, stack.size());
        if (place == stack.size()) {
            if (place == mostProfiles)
                failScattered(path);
            places.insert(z, place);
            stack.append(KvProfileZ(z));
        }
        stack[place].points.append(KvPointXY(point.x, point.y));
    }
    if (2 * qint64(stack.size()) > scan.points)
        failScattered(path);
    return stack;
}

void takeCloud(Scan& scan, Cloud& cloud) {
    if (scan.isStack)
        scan.stack.toPointCloud(cloud);
    else
        cloud = scan.cloud;
}

}  // namespace KvMeasure
