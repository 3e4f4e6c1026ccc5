// Recordings are first walked through from record to record, so that a damaged one is known before anything
// is written. The library splits them into wheel files; runs that only lost profiles part are joined
// afterwards by renaming files, in an order in which none is overwritten.
#include <kvmeasure/wheels/recording.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/own_folder.h>
#include <kvmeasure/base/regular_file.h>

#include <kvmath/core/record_layout.h>
#include <kvmath/wheel/wheel_files.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

namespace KvMeasure {

namespace {

const QString extension = ".bin";
const QString anyWheelFile =
    "[0-9][0-9]*_[0-9][0-9]*.bin";  // in the list of own files, while they are being written

QString directoryOf(const QString& recording) { return recording.left(recording.size() - extension.size()); }

QStringList wheelFilesIn(const QString& directory) {
    QStringList names;
    for (const QString& name : QDir(directory).entryList(QDir::Files)) {
        if (KvMath::isWheelFileName(name))
            names.append(name);
    }
    return names;
}

int serialOf(const QString& name) { return name.section('_', 1).remove(extension).toInt(); }

void makeDirectory(const QString& path) {
    if (!QDir().mkpath(path))
        throw Error(QString("%1: cannot be made or is no directory; name another one").arg(path))
            .inFile(path);
}

void move(const QString& from, const QString& to) {
    if (!QFile::rename(from, to))
        throw Error(QString("%1: cannot be renamed to %2").arg(from, to));
}

/// The library does not tell why a file was not written: the same is tried again.
[[noreturn]] void failWriting(const QString& path) {
    constexpr int kLargestRecord = 3 + 8 * 0xFFFF;
    OutputFile(path).write(QByteArray(kLargestRecord, '\0'));
    throw Error(path + ": was not written, though the disk takes a file of this name now; try again")
        .inFile(path);
}

/// Runs that only lost profiles part are one wheel. Short ones are undone as the library would have done, but
/// only now: the pieces of a wheel may be short.
void joinRuns(Recording& recording, int join, int minProfiles) {
    QList<QList<int>> wheels;  // numbers of their runs
    const auto& runs = recording.wheels;
    for (int i = 0; i < runs.size(); ++i) {
        if (i > 0 && runs.at(i).records.first() - runs.at(i - 1).records.last() - 1 <= join)
            wheels.last().append(i);
        else
            wheels.append(QList<int>{i});
    }
    QList<KvMath::WheelPassage> whole;
    for (const QList<int>& parts : wheels) {
        int profiles = 0;
        for (const int i : parts)
            profiles += static_cast<int>(runs.at(i).records.size());
        const bool isKept =
            profiles >= minProfiles || runs.at(parts.last()).records.last() + 1 == recording.records;
        if (isKept) {
            whole.append(KvMath::WheelPassage());
            recording.joined += parts.size() > 1 ? 1 : 0;
        }
        for (const int i : parts) {
            for (int p = 1; p <= runs.at(i).records.size(); ++p) {
                const QString file = recording.file(i + 1, p);
                if (!isKept) {
                    QFile::remove(file);
                    continue;
                }
                const QString wanted = recording.file(static_cast<int>(whole.size()),
                                                      static_cast<int>(whole.last().records.size()) + p);
                if (wanted != file)
                    move(file, wanted);
            }
            if (isKept) {
                whole.last().records += runs.at(i).records;
                whole.last().z += runs.at(i).z;
            }
        }
    }
    recording.wheels = whole;
}

}  // namespace

QString Recording::directory() const { return directoryOf(inWork); }

QString Recording::file(int wheel, int profile) const {
    return directory() + '/' + KvMath::wheelFileName(wheel, profile);
}

QList<Recording> findRecordings(const QStringList& operands, const PostSettings& settings,
                                QStringList& skipped) {
    QStringList paths;
    for (const QString& operand : operands) {
        const QFileInfo info(operand);
        if (!info.isDir()) {
            paths.append(operand);
            continue;
        }
        const QDir folder(operand);
        if (!folder.isReadable())
            throw Error(operand + ": the directory cannot be read");
        for (const QString& name : folder.entryList({"*.bin"}, QDir::Files, QDir::Name))
            paths.append(folder.filePath(name));
    }
    QMap<int, Recording> found;
    for (const QString& path : paths) {
        const QString name = QFileInfo(path).fileName();
        const int serial = serialOf(name);
        const int index = serial == 0 ? 0 : settings.indexOf(serial);
        if (!name.endsWith(extension) || index == 0)
            skipped.append(path +
                           ": its name holds no serial number of a configured scanner (STEM_SERIAL.bin)");
        else if (!hasRole(index))
            skipped.append(QString("%1: %2 has no part in the measurement").arg(path, sensorName(index)));
        else if (found.contains(index))
            skipped.append(
                QString("%1: %2 has the recording %3").arg(path, sensorName(index), found[index].path));
        else
            found[index].path = path;
    }
    if (found.isEmpty())
        throw Error(operands.join(", ") +
                    ": there is no recording of a configured scanner (STEM_SERIAL.bin)");
    for (auto it = found.begin(); it != found.end(); ++it)
        it->index = it.key();
    return found.values();
}

void lookThrough(Recording& recording) {
    constexpr int kCountEnd = 3;
    recording.opened = openedFile(recording.path);
    QFile& file = *recording.opened;
    recording.size = file.size();
    recording.records = 0;
    qint64 place = 0;
    while (place < recording.size) {
        char head[kCountEnd] = {};
        const bool isRead = file.seek(place) && file.read(head, kCountEnd) == kCountEnd;
        const auto* layout = KvMath::recordLayout(static_cast<unsigned char>(head[0]));
        if (!isRead || layout == nullptr ||
            (layout->marker != KvMath::kPlaneCloudRecord && layout->marker != KvMath::kProfileRecord))
            break;
        const qint64 end =
            place + layout->headBytes + layout->pointBytes * qint64(qFromLittleEndian<quint16>(head + 1));
        if (end > recording.size)
            break;
        place = end;
        ++recording.records;
    }
    recording.damagedAt = place < recording.size ? place : -1;
}

void splitRecording(Recording& recording, PostSettings& settings, const Splitting& splitting) {
    makeDirectory(splitting.work);
    const QString work = QDir(splitting.work).canonicalPath();
    if (work.contains(extension))
        throw Error(QString("%1: a directory name with \".bin\" misleads the wheel files; name another one")
                        .arg(splitting.work));
    recording.inWork = work + '/' + QFileInfo(recording.path).fileName();
    makeDirectory(recording.directory());
    OwnFiles wheelFiles(recording.directory());
    wheelFiles.requireOwn(wheelFilesIn(recording.directory()));
    wheelFiles.replace({anyWheelFile});
    constexpr int kAnyRun = 1;
    const std::shared_ptr<QFile> file = recording.opened ? recording.opened : openedFile(recording.path);
    recording.opened.reset();
    if (!file->seek(0))
        throw Error(QString("%1: cannot be read: %2").arg(recording.path, file->errorString()))
            .inFile(recording.path);
    recording.wheels = KvMath::splitWheels(*file, *settings.ini(), recording.index, splitting.mode, kAnyRun,
                                           recording.directory());
    // The library reports no write errors, but leaves no incomplete file.
    for (int wheel = 1; wheel <= recording.wheels.size(); ++wheel) {
        for (int p = 1; p <= recording.wheels.at(wheel - 1).records.size(); ++p) {
            if (QFileInfo(recording.file(wheel, p)).size() == 0)
                failWriting(recording.file(wheel, p));
        }
    }
    joinRuns(recording, splitting.join, settings.leastProfiles());
}

void renumber(Recording& recording, const QList<int>& numbers) {
    const auto passages = static_cast<int>(numbers.size());
    const auto forEachProfile = [&recording](int passage, const std::function<void(int profile)>& work) {
        for (int p = 1; p <= recording.wheels.at(passage).records.size(); ++p)
            work(p);
    };
    const auto moveAll = [&](int i) {
        forEachProfile(i, [&](int p) { move(recording.file(i + 1, p), recording.file(numbers.at(i), p)); });
    };
    for (int i = 0; i < passages; ++i) {
        if (numbers.at(i) == 0)
            forEachProfile(i, [&](int p) { QFile::remove(recording.file(i + 1, p)); });
    }
    // Numbers increase: lower ones from the front and higher ones from the back never meet a file.
    for (int i = 0; i < passages; ++i) {
        if (numbers.at(i) > 0 && numbers.at(i) < i + 1)
            moveAll(i);
    }
    for (int i = passages - 1; i >= 0; --i) {
        if (numbers.at(i) > i + 1)
            moveAll(i);
    }
    OwnFiles(recording.directory()).set(wheelFilesIn(recording.directory()));
}

int filesOfEarlierPass(const QList<Recording>& recordings, const QString& work) {
    int files = 0;
    for (const Recording& recording : recordings)
        files += static_cast<int>(
            wheelFilesIn(directoryOf(work + '/' + QFileInfo(recording.path).fileName())).size());
    return files;
}

}  // namespace KvMeasure
