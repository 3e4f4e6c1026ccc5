#pragma once
// What a part file says of itself: the results of a list of files, or of a part of that list.

#include <kvmeasure/base/file_list.h>
#include <kvmeasure/base/global.h>
#include <kvmeasure/statistics/capability.h>

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QString>

namespace KvMeasure {

/// A value that rows of a part have, one column of numbers.
struct PartValue {
    QString name;    ///< as the plan has it
    QString unit;    ///< empty for none
    int column = 0;  ///< of a row, from 0
    Limits limits;   ///< its tolerance; both infinite: none
};

/// What all rows of a part have in common. Parts with equal heads can be merged.
struct KVMEASURE_EXPORT PartHead {
    QString command;          ///< that measured
    QString version;          ///< of the library
    QByteArray columns;       ///< the line with their names, with its end
    QByteArray plan;          ///< digest of the plan and of all options that change results
    QList<PartValue> values;  ///< in the order of their columns

    /// Where the other one differs, as the object of a sentence: "another plan or other options"; empty:
    /// nowhere.
    QString difference(const PartHead& other) const;
};

/// How many files and rows a part has, and what became of them.
struct PartTotals {
    qint64 files = 0;   ///< of the list
    qint64 rows = 0;    ///< below the names of the columns
    qint64 missed = 0;  ///< rows of profiles that were measured and are not good
    qint64 failed = 0;  ///< rows of files that could not be read, and of profiles that were given up
    qint64 bytes = 0;   ///< of the rows
    void add(const PartTotals& other);  ///< those of another part
};

/// The last line of a part file; without it the file is not complete.
struct KVMEASURE_EXPORT PartSummary {
    PartHead head;      ///< of all rows
    ListDigest list;    ///< of the list that was measured
    PartTotals totals;  ///< of the rows

    QByteArray line() const;  ///< "# part {...}" with its end
};

/// The summary of an open part file, which is left after the names of its columns. Throws Error with file()
/// for a file that is no part, or not a complete one.
KVMEASURE_EXPORT PartSummary readPartSummary(QFile& file, const QString& path);

}  // namespace KvMeasure
