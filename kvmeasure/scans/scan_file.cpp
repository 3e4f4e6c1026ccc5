// The form is told by the first bytes and, where they are ambiguous, by the description of a height map
// beside the file. A file is read as a whole or refused; what a height of -9999 is, is asked of every form.

#include <kvmeasure/scans/scan_file.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/scans/scan_form_p.h>

#include <QtCore/QHash>

#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::KvPointXYZ;
using KvMath::KvProfileZ;

namespace {

/// Stacks and clouds from records. One file holds either profiles or clouds.
class RecordReader {
public:
    RecordReader(const std::shared_ptr<QFile>& file, const ScanOptions& options, Scan& scan)
        : file_(file, file->fileName()), options_(options), scan_(scan), heights_(options.unset) {}
    void read();

private:
    [[noreturn]] void fail(const QString& text) const {
        throw Error(filledIn("%1: offset %2: %3", file_.path(), head_.offset, text))
            .inFile(file_.path())
            .atOffset(head_.offset);
    }
    void checkKind();
    void addPoints(const std::vector<KvPointXYZ>& points, KvProfileZ& profile);
    float height(float value) { return static_cast<float>(heights_.take(double(value), 0)); }
    float place(float value) const { return static_cast<float>(heights_.takePlace(double(value))); }

    PointFile file_;
    const ScanOptions& options_;
    Scan& scan_;
    HeightWatch heights_;
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
    if (head_.marker != KvMath::kProfileRecord)
        fail(QString("%1 record: has no position along the scan; say the distance of the profiles with "
                     "\1step\2 MM")
                 .arg(recordName(head_.marker)));
    if (!std::isfinite(head_.z))
        fail("profile with z: its position along the scan is not a number; say the distance of the profiles "
             "with \1step\2 MM");
}

void RecordReader::addPoints(const std::vector<KvPointXYZ>& points, KvProfileZ& profile) {
    for (const KvPointXYZ& p : points) {
        if (scan_.isStack)
            scan_.add(profile, place(p.x), height(p.y));
        else if (options_.heightLast)
            scan_.add(KvPointXYZ(place(p.x), height(p.z), place(p.y)));
        else
            scan_.add(KvPointXYZ(place(p.x), height(p.y), place(p.z)));
    }
}

void RecordReader::read() {
    constexpr int kPointsAtOnce = 65'536;
    ProgressReport report(options_.progress, file_.path(), file_.size());
    while (file_.nextHead(head_)) {
        checkKind();
        KvProfileZ profile(head_.z);
        while (true) {
            const std::vector<KvPointXYZ>& points = file_.nextPoints(kPointsAtOnce);
            if (points.empty())
                break;
            addPoints(points, profile);
            scan_.requireRoom(file_.path());
            report.show(file_.position());
        }
        if (scan_.isStack)
            scan_.add(profile);
        scan_.requireRoom(file_.path());
    }
    scan_.doubt = heights_.warning();
}

[[noreturn]] void failScattered(const QString& path) {
    throw Error(QString("%1: a cloud whose points do not lie in profiles; slice it first (\"kvmeasure scan "
                        "slice\")")
                    .arg(path))
        .inFile(path);
}

void readByContent(Internal::ScanForm& form, const ScanOptions& options, Scan& scan) {
    using Internal::StartForm;
    QFile& file = *form.file();
    const Internal::FileStart& start = form.start();
    const QString path = file.fileName();
    if (!options.map.isEmpty()) {
        readHeightMap(file, readMapDescription(options.map), options, scan);
    } else if (start.form == StartForm::Empty) {
        throw Error(QString("%1: is empty; expected a scan").arg(path)).inFile(path);
    } else if (start.form == StartForm::Ply) {
        file.seek(start.markBytes());
        readPly(file, options, scan);
    } else if (form.isMap() || (form.mayBeMap() && !form.isRecords() && form.map() != nullptr)) {
        readHeightMap(file, *form.map(), options,
                      scan);  // says what is wrong where only the size does not fit
    } else if (form.isRecords()) {
        RecordReader(form.file(), options, scan).read();
    } else if (start.form != StartForm::Bytes) {
        readScanText(file, options, scan);
    } else {
        throw Error(
            filledIn("%1: begins with the byte 0x%2; expected records (0x02 to 0x05, 0x85), PLY, XYZ, a CSV "
                     "grid, or a height map with its description (\1map\2)",
                     path, QString::number(start.marker(), 16).rightJustified(2, '0')))
            .inFile(path);
    }
}

}  // namespace

std::array<LengthUnit, 3> unitsOfPoints(const ScanOptions& options) {
    const QList<LengthUnit>& given = options.units;
    if (given.size() == 2)
        throw Error("\1units\2: points of a scan have x, y and z; give one unit or three");
    if (given.isEmpty())
        return {millimetre, millimetre, millimetre};
    return {given.first(), given[given.size() / 2], given.last()};
}

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
    if (points > kLargestScan)
        throw Error(filledIn("%1: has more than %2 points; divide it", path, kLargestScan)).inFile(path);
    if (stack.size() > kMostProfiles)
        throw Error(filledIn("%1: has more than %2 profiles; divide it", path, kMostProfiles)).inFile(path);
}

Scan loadScan(const QString& path, const ScanOptions& options) {
    return loadScan(openedFile(path), path, options);
}

Scan loadScan(const std::shared_ptr<QFile>& file, const QString& path, const ScanOptions& options) {
    Internal::ScanForm form(file);
    return Internal::loadScan(form, path, options);
}

Scan Internal::loadScan(ScanForm& form, const QString& path, const ScanOptions& options) {
    const std::shared_ptr<QFile>& file = form.file();
    Scan scan;
    try {
        file->seek(0);
        readByContent(form, options, scan);
    } catch (const Error& error) {
        throw error.renamed(file->fileName(), path);  // "-" has another one
    }
    if (!options.units.isEmpty() && !scan.hasUnits)
        throw Error(path + ": \1units\2 is of points in text and PLY; " + scan.form +
                    " are in mm, leave it out")
            .inFile(path);
    scan.doubt.replace(file->fileName(), path);
    if (!scan.doubt.isEmpty() && !scan.doubt.startsWith(path + ": "))
        scan.doubt = withoutMarks(path) + ": " + scan.doubt;
    if (scan.points == 0)
        throw Error(QString("%1: holds no point with numbers").arg(path)).inFile(path);
    if (options.heightLast && scan.isStack)
        throw Error(path +
                    ": \1heightLast\2 is of XYZ, PLY and cloud points; this holds profiles, leave it out")
            .inFile(path);
    if (!std::isnan(options.step) && !scan.isStack)
        throw Error(path + ": \1step\2 is of profiles; this holds points, leave it out").inFile(path);
    if (!std::isnan(options.step))
        scan.stack.setZ(coordinate(options.start), coordinate(options.step));
    return scan;
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
            if (place == kMostProfiles)
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
