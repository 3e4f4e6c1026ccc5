#pragma once
// Several part files in one.

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/part_summary.h>

#include <QtCore/QStringList>

namespace KvMeasure {

/// What was merged.
struct MergedParts {
    PartTotals totals;      ///< of all parts
    qint64 duplicates = 0;  ///< profiles whose file stands in the parts before, counted once for each time
    QString duplicate;      ///< the first such profile; empty: none
};

/// Writes the rows of the parts, in this order, as the part that one run over the lists one after another
/// gives, byte by byte. Throws Error with file(): for what is no complete part, for a part that was made with
/// another command, plan, version or other columns than the first, for one that is named twice or is `out`,
/// and where `out` cannot be written. Memory holds 32 bytes for each file at most.
KVMEASURE_EXPORT MergedParts mergeParts(const QStringList& paths, const QString& out);

}  // namespace KvMeasure
