#pragma once
// What "kvmeasure match", "measure", "wheels" and "rails" wrote, read again: values by their names.

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/series_report.h>

#include <QtCore/QFile>
#include <QtCore/QStringList>

namespace KvMeasure {

/// The values of all profiles of a report.
struct MatchResults {
    QList<ValueSeries> series;  ///< in the order of their first appearance; limits where the file has them
    int profiles = 0;           ///< with and without values

    /// The series of that name. Throws Error that names those that there are.
    KVMEASURE_EXPORT const ValueSeries& named(const QString& name) const;
};

/// The file, open and at its start, begins with a brace, as JSON of a report does.
KVMEASURE_EXPORT bool holdsJson(QFile& file);

/// Reads a report written with --json (at most 256 MB) or --csv from its start; `path` is its name in errors.
/// Of several assignments the best one counts. Limits are those of JSON; CSV has none. JSON of sections of
/// wheels or rails, and of the wheels of a pass: the numbers by their keys, without units. Throws Error with
/// file() for anything else.
KVMEASURE_EXPORT MatchResults readMatchResults(QFile& file, const QString& path);

}  // namespace KvMeasure
