#pragma once
// Results of a list of files in one table, written so that a run that was killed goes on where it was.
//
//     FileList list("files.txt");
//     PartFile part("part.csv", head, list);
//     for (ListedFile file; !part.isComplete() && list.next(file);) {
//         if (part.wasDone())   // by an earlier run
//             continue;
//         part.add(row, PartRow::Good);
//         part.endFile();
//     }
//     part.commit();

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/part_summary.h>

#include <QtCore/QFile>

namespace KvMeasure {

/// What a row of a part says.
enum class PartRow {
    Good,    ///< the profile was measured, and is good
    Missed,  ///< it was measured, and is not: nothing found, a value missing or out of tolerance
    Failed   ///< it was not measured: the file cannot be read, or the search was given up
};

/// A part file in the making. Rows are collected in PATH.partial, which is held for this run, with a line
/// after the rows of each file; PATH appears when all are there. A run that ends before, however it does,
/// leaves PATH.partial: the next one drops what stands after the last file that was done, and goes on.
class KVMEASURE_EXPORT PartFile {
public:
    /// Throws Error with file(): where `path` holds something else than the part of this head and list, where
    /// it cannot be written, where another run writes it, and where PATH.partial is something else. A partial
    /// result of another head or list is begun anew.
    PartFile(const QString& path, const PartHead& head, const FileList& list);

    bool isComplete() const { return isComplete_; }       ///< the part was there: nothing is to be done
    const QString& notice() const { return notice_; }     ///< what was there, for the user; empty: nothing
    const PartTotals& totals() const { return totals_; }  ///< of what is done
    /// Random digits that stay the same when a run goes on, and change when it is begun anew. Empty where
    /// isComplete().
    const QString& id() const { return id_; }
    /// True once for each file that an earlier run has done.
    bool wasDone() { return skipped_ < doneBefore_ && ++skipped_ > 0; }

    void add(const QByteArray& row, PartRow kind);  ///< appends lines; throws Error where the disk is full
    void endFile();                                 ///< the file's rows are all there; throws as add() does
    /// Gives the part its name. Nothing where isComplete(). Once, as the last call. Throws Error; what was
    /// done then stays in PATH.partial.
    void commit();

private:
    void openPartial();
    void takeUp();
    qint64 readMarks();
    bool readStart();
    bool takeMark(const QByteArray& line);
    void write(const QByteArray& bytes);
    QByteArray startLine() const;
    [[noreturn]] void fail() const;

    QString path_, notice_, id_;
    PartSummary summary_;
    PartTotals totals_;
    QFile partial_;
    quint64 sum_;  ///< of all rows
    bool isComplete_ = false;
    qint64 doneBefore_ = 0, skipped_ = 0;
};

}  // namespace KvMeasure
