#include "kvmeasure/wheel_recording.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/profile_file.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QtEndian>

namespace KvMeasure {

namespace {

const QString extension = ".bin";

QString directoryOf(const QString& link) { return link.left(link.size() - extension.size()); }

QStringList wheelFilesIn(const QString& directory) {
    static const QRegularExpression form("^\\d{2,}_\\d{2,}\\.bin$");
    return QDir(directory).entryList(QDir::Files).filter(form);
}

int serialOf(const QString& name) { return name.section('_', 1).remove(extension).toInt(); }

void makeDirectory(const QString& path) {
    if (!QDir().mkpath(path))
        throw Failure{QString("%1: cannot be made or is no directory; name another one").arg(path)};
}

void move(const QString& from, const QString& to) {
    if (!QFile::rename(from, to))
        throw Failure{QString("%1: cannot be renamed to %2").arg(from, to)};
}

/// The library does not tell why a file was not written: the same is tried again.
[[noreturn]] void failWriting(const QString& path) {
    constexpr int largestRecord = 3 + 8 * 0xFFFF;
    OutputFile(path).write(QByteArray(largestRecord, '\0'));
    throw Failure{path + ": was not written, though the disk takes a file of this name now; try again"};
}

/// Runs that only lost profiles part are one wheel. False when there are none.
bool joinRuns(Recording& recording, int join) {
    QList<KvMath::WheelPassage> whole;
    for (int i = 0; i < recording.wheels.size(); ++i) {
        const KvMath::WheelPassage& run = recording.wheels.at(i);
        const bool continues =
            !whole.isEmpty() && run.records.first() - whole.last().records.last() - 1 <= join;
        if (!continues) {
            whole.append(run);
            if (i + 1 == whole.size())
                continue;  // its files have their names already
        }
        const int before = continues ? static_cast<int>(whole.last().records.size()) : 0;
        for (int p = 1; p <= run.records.size(); ++p)
            move(recording.file(i + 1, p), recording.file(static_cast<int>(whole.size()), before + p));
        if (continues) {
            whole.last().records += run.records;
            whole.last().z += run.z;
        }
    }
    recording.joined = static_cast<int>(recording.wheels.size() - whole.size());
    recording.wheels = whole;
    return recording.joined > 0;
}

}  // namespace

QString Recording::directory() const { return directoryOf(link); }

QString Recording::file(int wheel, int profile) const {
    return directory() + QString::asprintf("/%02d_%02d.bin", wheel, profile);
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
            throw Failure{operand + ": the directory cannot be read"};
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
        throw Failure{operands.join(", ") +
                      ": there is no recording of a configured scanner (STEM_SERIAL.bin)"};
    for (auto it = found.begin(); it != found.end(); ++it)
        it->index = it.key();
    return found.values();
}

void lookThrough(Recording& recording) {
    constexpr char plane = 0x02, withZ = 0x05;
    constexpr int planeHead = 3, zHead = 7, pointSize = 8;
    QFile file(recording.path);
    openRegularFile(file);
    recording.size = file.size();
    qint64 place = 0;
    while (place < recording.size) {
        char head[planeHead] = {};
        const bool isRead = file.seek(place) && file.read(head, planeHead) == planeHead;
        if (!isRead || (head[0] != plane && head[0] != withZ))
            break;
        const qint64 end = place + (head[0] == withZ ? zHead : planeHead) +
                           pointSize * qint64(qFromLittleEndian<quint16>(head + 1));
        if (end > recording.size)
            break;
        place = end;
        ++recording.records;
    }
    recording.damagedAt = place < recording.size ? place : -1;
}

void splitRecording(Recording& recording, PostSettings& settings, const Splitting& splitting) {
    const QFileInfo file(recording.path);
    makeDirectory(splitting.work);
    const QString work = QDir(splitting.work).canonicalPath();
    if (work.contains(extension))
        throw Failure{QString("%1: a directory name with \".bin\" misleads the wheel files; name another one")
                          .arg(splitting.work)};
    recording.link = work + '/' + file.fileName();
    makeDirectory(recording.directory());
    for (const QString& name : wheelFilesIn(recording.directory()))
        QFile::remove(recording.directory() + '/' + name);
    // The library puts wheel files beside the recording's name: a link gives it a name in the work directory.
    const bool isElsewhere = QFileInfo(file.canonicalFilePath()).canonicalPath() != work;
    if (isElsewhere) {
        if (QFileInfo(recording.link).isSymLink())
            QFile::remove(recording.link);
        if (!QFile::link(file.canonicalFilePath(), recording.link))
            throw Failure{QString("%1: cannot be made; does the file exist already?").arg(recording.link)};
    }
    int count = 0;
    const bool isSplit =
        KvMath::ORBIS_detectWheels(recording.link, settings.ini(), splitting.mode, &count, recording.wheels);
    if (isElsewhere)
        QFile::remove(recording.link);
    if (!isSplit)
        throw Failure{recording.path + ": cannot be read"};
    // The library reports no write errors, but leaves no incomplete file.
    for (int wheel = 1; wheel <= count; ++wheel) {
        for (int p = 1; p <= recording.wheels.at(wheel - 1).records.size(); ++p) {
            if (QFileInfo(recording.file(wheel, p)).size() == 0)
                failWriting(recording.file(wheel, p));
        }
    }
    joinRuns(recording, splitting.join);
}

void renumber(Recording& recording, const QList<int>& numbers) {
    bool isAsItShould = true;
    for (int i = 0; i < numbers.size(); ++i)
        isAsItShould = isAsItShould && numbers.at(i) == i + 1;
    if (isAsItShould)
        return;
    const QString before = recording.directory() + ".parts";
    QDir(before).removeRecursively();
    move(recording.directory(), before);
    makeDirectory(recording.directory());
    for (int i = 0; i < numbers.size(); ++i) {
        for (int p = 1; numbers.at(i) > 0 && p <= recording.wheels.at(i).records.size(); ++p)
            move(before + QString::asprintf("/%02d_%02d.bin", i + 1, p), recording.file(numbers.at(i), p));
    }
    QDir(before).removeRecursively();
}

int filesOfEarlierPass(const QList<Recording>& recordings, const QString& work) {
    int files = 0;
    for (const Recording& recording : recordings)
        files += static_cast<int>(
            wheelFilesIn(directoryOf(work + '/' + QFileInfo(recording.path).fileName())).size());
    return files;
}

}  // namespace KvMeasure
