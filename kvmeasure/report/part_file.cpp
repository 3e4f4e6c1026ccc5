// PATH.partial: a line "# partial {...}" with the digests of plan and list, a line "# id ..." with random
// digits, the rows, and behind those of each file "# file ..." with the totals and a check sum of all rows so
// far and of them (FNV-1a: G. Fowler, L. C. Noll, K. P. Vo). Rows never begin with '#'. Going on costs one
// reading of what is there; memory holds a piece of a line.

#include <kvmeasure/report/part_file.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>

#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QUuid>

#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>

namespace KvMeasure {

namespace {

const char* const kMark = "# file ";
const char* const kStart = "# partial ";
const char* const kId = "# id ";
constexpr quint64 kEmptySum = 14695981039346656037ULL;
constexpr qint64 kPiece = 1 << 16;  // bytes that are read at once

void addTo(quint64& sum, const QByteArray& bytes) {
    constexpr quint64 kPrime = 1099511628211ULL;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<unsigned char>(byte)) * kPrime;
}

/// Six numbers; as text they are faster to write than JSON is, for a million files.
QByteArray markOf(const PartTotals& totals, quint64 sum) {
    constexpr int kHexadecimal = 16;
    QByteArray mark = kMark;
    for (const qint64 count : {totals.files, totals.rows, totals.missed, totals.failed, totals.bytes})
        mark += QByteArray::number(count) + ' ';
    addTo(sum, mark);
    return mark + QByteArray::number(sum, kHexadecimal) + '\n';
}

/// The same file is open and at this place.
bool isStillAt(const QFile& file) {
    struct stat open {
    }, named{};
    return ::fstat(file.handle(), &open) == 0 &&
           ::stat(QFile::encodeName(file.fileName()).constData(), &named) == 0 &&
           open.st_ino == named.st_ino && open.st_dev == named.st_dev;
}

}  // namespace

PartFile::PartFile(const QString& path, const PartHead& head, const FileList& list)
    : path_(path), partial_(path + ".partial"), sum_(kEmptySum) {
    summary_.head = head;
    summary_.list = list.digest();
    if (!QFileInfo::exists(path))
        OutputFile probe(path);  // refuses what could not be written at the end
    openPartial();
    if (QFileInfo::exists(path)) {
        takeUp();
        return;
    }
    const qint64 end = readMarks();
    errno = 0;
    if (!partial_.resize(end) || !partial_.seek(end))
        fail();
    doneBefore_ = totals_.files;
    if (doneBefore_ > 0)
        notice_ = filledIn("%1: goes on behind %2 of %3 files, which an earlier run has done", path,
                           doneBefore_, summary_.list.count());
    if (end > 0)
        return;
    id_ = QUuid::createUuid().toString(QUuid::Id128);
    write(startLine() + kId + id_.toLatin1() + '\n');
    if (!partial_.flush())
        fail();
}

/// Opened and held. A run that has just ended may have taken the file away meanwhile.
void PartFile::openPartial() {
    const QString name = partial_.fileName();
    if (QFileInfo::exists(name) && !QFileInfo(name).isFile())
        throw Error(filledIn("%1: is no partial result; move it away", name)).inFile(name);
    do {
        errno = 0;
        partial_.close();
        if (QFileInfo::exists(path_) && !QFileInfo::exists(name))
            return;  // a complete part, in a folder that may be read only
        if (!partial_.open(QIODevice::ReadWrite))
            fail();
        if (::flock(partial_.handle(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
            throw Error(
                filledIn("%1: another run of kvmeasure writes this part; wait for it, or name another "
                         "one",
                         path_))
                .inFile(path_);
    } while (!isStillAt(partial_));
}

/// What is there must be the result of this head and list.
void PartFile::takeUp() {
    QFile file(path_);
    PartSummary there;
    try {
        if (!QFileInfo(path_).isFile() || !file.open(QIODevice::ReadOnly))
            throw Error("is no file that can be read");
        there = readPartSummary(file, path_);
    } catch (const Error&) {
        throw Error(filledIn("%1: is there and is no complete part; name another file, or remove it", path_))
            .inFile(path_);
    }
    QString difference = summary_.head.difference(there.head);
    if (difference.isEmpty() && there.list != summary_.list)
        difference = filledIn("another list, of %1 files", there.list.count());
    if (!difference.isEmpty())
        throw Error(
            filledIn("%1: is there and was made with %2; name another file, or remove it", path_, difference))
            .inFile(path_);
    isComplete_ = true;
    totals_ = there.totals;
    notice_ = filledIn("%1: is complete; nothing was done", path_);
    const bool isLeft = partial_.isOpen() && partial_.seek(0) && partial_.readLine(kPiece).startsWith(kStart);
    if (isLeft)  // a run was killed between the last two of its steps
        partial_.remove();
}

QByteArray PartFile::startLine() const {
    const QJsonObject json{{"command", summary_.head.command},
                           {"version", summary_.head.version},
                           {"columns", QString::fromUtf8(summary_.head.columns)},
                           {"plan", QString::fromLatin1(summary_.head.plan)},
                           {"list", QString::fromLatin1(summary_.list.text())},
                           {"files", static_cast<double>(summary_.list.count())}};
    return kStart + QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
}

/// Both first lines are those of this head and list. A file of another form is refused.
bool PartFile::readStart() {
    constexpr qint64 kLongestStart = 1 << 20;
    const QByteArray start = partial_.readLine(kLongestStart);
    if (start == startLine()) {
        constexpr int kDigits = 32;
        const QByteArray line = partial_.readLine(kPiece);
        const QByteArray id = line.startsWith(kId) ? line.mid(static_cast<int>(qstrlen(kId))).trimmed() : "";
        if (line.endsWith('\n') && id.size() == kDigits)
            id_ = QString::fromLatin1(id);
        return !id_.isEmpty();
    }
    const bool isPartial = start.startsWith(kStart) || startLine().startsWith(start);
    if (!isPartial)
        throw Error(filledIn("%1: is no partial result; move it away", partial_.fileName()))
            .inFile(partial_.fileName());
    if (start.endsWith('\n'))
        notice_ = filledIn("%1: a partial result of another plan, list or version is left; it is begun anew",
                           partial_.fileName());
    return false;
}

/// The end of the last file that was done, in bytes of the partial result; 0: it begins anew.
qint64 PartFile::readMarks() {
    if (!readStart())
        return 0;
    qint64 end = partial_.pos();
    quint64 sum = kEmptySum;
    bool isLineStart = true;
    for (QByteArray piece; !(piece = partial_.readLine(kPiece)).isEmpty();) {
        if (!isLineStart || !piece.startsWith('#')) {
            addTo(sum, piece);
        } else {
            const quint64 before = sum_;
            sum_ = sum;
            if (!takeMark(piece)) {
                sum_ = before;
                break;
            }
            end = partial_.pos();
        }
        isLineStart = piece.endsWith('\n');
    }
    return end;
}

/// False for a line that is not the mark of what was read.
bool PartFile::takeMark(const QByteArray& line) {
    constexpr int kNumbers = 5;
    const QList<QByteArray> words = line.trimmed().split(' ');
    if (words.size() != kNumbers + 3)
        return false;
    PartTotals totals;
    qint64* const counts[] = {&totals.files, &totals.rows, &totals.missed, &totals.failed, &totals.bytes};
    for (int i = 0; i < kNumbers; ++i)
        *counts[i] = words[i + 2].toLongLong();
    if (line != markOf(totals, sum_) || totals.files > summary_.list.count())
        return false;
    totals_ = totals;
    return true;
}

void PartFile::write(const QByteArray& bytes) {
    errno = 0;
    if (partial_.write(bytes) != bytes.size())
        fail();
}

void PartFile::add(const QByteArray& row, PartRow kind) {
    write(row);
    addTo(sum_, row);
    totals_.rows += row.count('\n');
    totals_.bytes += row.size();
    totals_.missed += kind == PartRow::Missed ? 1 : 0;
    totals_.failed += kind == PartRow::Failed ? 1 : 0;
}

void PartFile::endFile() {
    ++totals_.files;
    write(markOf(totals_, sum_));
    errno = 0;
    if (!partial_.flush())
        fail();
}

void PartFile::commit() {
    if (isComplete_)
        return;
    summary_.totals = totals_;
    if (!partial_.seek(0))
        fail();
    OutputFile out(path_);
    out.write(summary_.head.columns);
    bool isLineStart = true;
    bool isMark = false;
    for (QByteArray piece; !(piece = partial_.readLine(kPiece)).isEmpty();) {
        if (isLineStart)
            isMark = piece.startsWith('#');
        if (!isMark)
            out.write(piece);
        isLineStart = piece.endsWith('\n');
    }
    out.write(summary_.line());
    out.commit();
    isComplete_ = true;
    partial_.remove();
}

void PartFile::fail() const {
    const QString reason = errno != 0 ? qt_error_string(errno) : partial_.errorString();
    throw Error(filledIn("%1: cannot be written: %2", partial_.fileName(), reason)).inFile(path_);
}

}  // namespace KvMeasure
