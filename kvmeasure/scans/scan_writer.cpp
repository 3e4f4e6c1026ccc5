// Scans are written in pieces of a megabyte, so that a point costs no write. Texts have nine digits, as many
// as bring every float back. Stacks and grids need the scan as profiles; the other forms take it point by
// point.
#include <kvmeasure/scans/scan_writer.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/scans/height_grid.h>

#include <kvmath/core/record_layout.h>

#include <QtCore/QFileInfo>

namespace KvMeasure {

using KvMath::KvPointXYZ;
using KvMath::KvProfileZ;

namespace {

constexpr int kDigits = 9;  // as many as tell any two floats apart

/// Collects bytes so that a point costs no write, and shows how far it is.
class Writer {
public:
    Writer(const QString& path, qint64 points, const Progress& progress)
        : path_(path), file_(path), progress_(progress, path, points) {}

    QByteArray& bytes() { return bytes_; }
    const QString& path() const { return path_; }
    void countPoint() {
        constexpr int kEnough = 1 << 20;
        ++written_;
        if (bytes_.size() < kEnough)
            return;
        flush();
        progress_.show(written_);
    }
    void commit() {
        flush();
        progress_.show(written_);  // the last moment to cancel, also for a file below that size
        file_.commit();
    }

private:
    void flush() {
        file_.write(bytes_);
        bytes_.clear();
    }

    QString path_;
    OutputFile file_;
    ProgressReport progress_;
    QByteArray bytes_;
    qint64 written_ = 0;
};

void writeStack(Writer& writer, const KvMath::KvProfileZSet& stack) {
    constexpr int kMostPoints = 0xFFFF;
    for (const KvProfileZ& profile : stack.profiles) {
        if (profile.points.size() > kMostPoints)
            throw Error(filledIn("%1: the profile at %2 mm has %3 points, a record holds at most %4; take "
                                 "\1form\2 cloud or ply",
                                 writer.path(), double(profile.z), profile.points.size(), kMostPoints))
                .inFile(writer.path());
        writer.bytes().append(char(KvMath::kProfileRecord));
        appendLittleEndian(writer.bytes(), quint32(profile.points.size()), 2);
        appendLittleEndian(writer.bytes(), profile.z);
        for (const KvMath::KvPointXY& p : profile.points) {
            appendLittleEndian(writer.bytes(), p.x);
            appendLittleEndian(writer.bytes(), p.y);
            writer.countPoint();
        }
    }
}

template <class Write>
void forEachPoint(const Scan& scan, bool heightLast, const Write& write) {
    Scan::forEachPoint(scan, [&](float x, float place, float height) {
        write(heightLast ? KvPointXYZ(x, place, height) : KvPointXYZ(x, height, place));
    });
}

void appendBinary(QByteArray& bytes, const KvPointXYZ& p) {
    appendLittleEndian(bytes, p.x);
    appendLittleEndian(bytes, p.y);
    appendLittleEndian(bytes, p.z);
}

void appendText(QByteArray& bytes, const KvPointXYZ& p) {
    bytes += QByteArray::number(double(p.x), 'g', kDigits) + ' ' +
             QByteArray::number(double(p.y), 'g', kDigits) + ' ' +
             QByteArray::number(double(p.z), 'g', kDigits) + '\n';
}

QByteArray plyHeader(qint64 points, bool isText, bool heightLast) {
    return filledIn("ply\nformat %1 1.0\ncomment mm; x along the laser line, %2\nelement vertex %3\n"
                    "property float x\nproperty float y\nproperty float z\nend_header\n",
                    isText ? "ascii" : "binary_little_endian",
                    heightLast ? "y along the scan, z height" : "y height, z along the scan", points)
        .toUtf8();
}

constexpr struct {
    const char* name;
    const char* suffixes;
    ScanForm form;
} kForms[] = {{"stack", "", ScanForm::Stack},    {"cloud", "", ScanForm::CloudRecord},
              {"xyz", "xyz txt", ScanForm::Xyz}, {"grid", "csv", ScanForm::Grid},
              {"ply", "ply", ScanForm::Ply},     {"ply-ascii", "", ScanForm::PlyText}};

}  // namespace

QStringList scanFormNames() {
    QStringList names;
    for (const auto& form : kForms)
        names.append(form.name);
    return names;
}

ScanForm parseScanForm(const QString& text, const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    for (const auto& form : kForms) {
        if (text.isEmpty() ? !suffix.isEmpty() && QString(form.suffixes).split(' ').contains(suffix)
                           : text == form.name)
            return form.form;
    }
    if (text.isEmpty())
        return ScanForm::Stack;
    const QStringList names = scanFormNames();
    throw Error(
        QString("\1form\2 must be %1, not \"%2\"%3").arg(alternatives(names), text, suggestion(text, names)));
}

void writeScan(const QString& path, ScanForm form, bool heightLast, Scan& scan, const Progress& progress) {
    Writer writer(path, scan.points, progress);
    const bool isText = form == ScanForm::Xyz || form == ScanForm::PlyText;
    if (form == ScanForm::Stack) {
        writeStack(writer, takeStack(scan, path));
        writer.commit();
        return;
    }
    if (form == ScanForm::Grid) {
        const KvMath::KvProfileZSet stack = takeStack(scan, path);
        const Steps steps = estimateSteps(stack);
        writer.bytes() = gridCsv(makeGrid(stack, steps, path));
        writer.commit();
        return;
    }
    if (form == ScanForm::CloudRecord) {
        writer.bytes().append(char(KvMath::kSpaceCloudRecord));
        appendLittleEndian(writer.bytes(), quint32(scan.points), 4);
    } else if (form != ScanForm::Xyz) {
        writer.bytes() += plyHeader(scan.points, isText, heightLast);
    }
    forEachPoint(scan, heightLast, [&](const KvPointXYZ& p) {
        if (isText)
            appendText(writer.bytes(), p);
        else
            appendBinary(writer.bytes(), p);
        writer.countPoint();
    });
    writer.commit();
}

}  // namespace KvMeasure
