#include <kvmeasure/report/part_merge.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/report/csv_row.h>

#include <QtCore/QSet>

namespace KvMeasure {

namespace {

constexpr qint64 kPiece = 1 << 16;  // bytes that are read at once

/// Says where a file begins that was there before.
class FileFinder {
public:
    explicit FileFinder(MergedParts& merged) : merged_(merged) {}

    /// The name of the next row, "path" or "path#n".
    void take(const QByteArray& name) {
        if (name == last_)
            return isAgain(name);
        last_ = name;
        const int hash = static_cast<int>(name.lastIndexOf('#'));
        bool isNumber = false;
        const qint64 number = name.mid(hash + 1).toLongLong(&isNumber);
        const QByteArray file = hash > 0 && isNumber ? name.left(hash) : name;
        const bool goesOn = file == file_ && (number_ < 0 || !isNumber || number > number_);
        file_ = file;
        number_ = isNumber && hash > 0 ? number : -1;
        if (!goesOn && !seen_.insert(name))
            say(name);
    }
    /// Rows of one profile with several assignments have one name.
    void setHasAssignments(bool has) { hasAssignments_ = has; }

private:
    void isAgain(const QByteArray& name) {
        if (!hasAssignments_)
            say(name);
    }
    void say(const QByteArray& name) {
        if (merged_.duplicates++ == 0)
            merged_.duplicate = QString::fromUtf8(name);
    }

    MergedParts& merged_;
    NameSet seen_;
    QByteArray last_, file_;
    qint64 number_ = -1;
    bool hasAssignments_ = false;
};

/// All summaries, put together. The parts go together.
PartSummary summaryOfAll(const QStringList& paths) {
    PartSummary all;
    QSet<QString> places;
    for (const QString& path : paths) {
        const std::shared_ptr<QFile> file = openedFile(path);
        const PartSummary one = readPartSummary(*file, path);
        if (places.contains(placeOf(path)))
            throw Error(filledIn("%1: is named twice; name each part once", path)).inFile(path);
        if (places.isEmpty())
            all.head = one.head;
        const QString difference = all.head.difference(one.head);
        if (!difference.isEmpty())
            throw Error(filledIn("%1: was made with %2 than %3; merge parts of one run", path, difference,
                                 paths.first()))
                .inFile(path);
        places.insert(placeOf(path));
        all.list.append(one.list);
        all.totals.add(one.totals);
    }
    return all;
}

void copyRows(const QString& path, FileFinder& finder, OutputFile& out) {
    const std::shared_ptr<QFile> file = openedFile(path);
    qint64 left = readPartSummary(*file, path).totals.bytes;
    bool isLineStart = true;
    while (left > 0) {
        const QByteArray piece = file->readLine(qMin(kPiece, left + 1));
        if (piece.isEmpty())
            throw Error(filledIn("%1: cannot be read: %2", path, file->errorString())).inFile(path);
        if (isLineStart)
            finder.take(csvFields(piece.left(static_cast<int>(piece.indexOf(',')) + 1)).first());
        isLineStart = piece.endsWith('\n');
        out.write(piece);
        left -= piece.size();
    }
}

}  // namespace

MergedParts mergeParts(const QStringList& paths, const QString& out) {
    refuseOverwriting({out}, paths);
    const PartSummary summary = summaryOfAll(paths);
    MergedParts merged;
    merged.totals = summary.totals;
    FileFinder finder(merged);
    finder.setHasAssignments(csvFields(summary.head.columns).contains("assignment"));
    OutputFile file(out);
    file.write(summary.head.columns);
    for (const QString& path : paths)
        copyRows(path, finder, file);
    file.write(summary.line());
    file.commit();
    return merged;
}

}  // namespace KvMeasure
