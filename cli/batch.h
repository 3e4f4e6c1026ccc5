#pragma once
// Commands over a list of files, whose results go to one part file: the options, what is measured and what
// was measured before, rows of failures, the last words.

#include "cli/arguments.h"

#include <kvmeasure/report/part_file.h>

#include <memory>

namespace KvMeasure {

class TerminalProgress;

/// --files-from, for the usage of a command.
std::vector<Option> batchOptions();
/// --out of such a command, where it has no other meaning.
std::vector<Option> batchOutOptions();

/// The command works on a list. Throws Error where files and list are both given or both missing, where one
/// of the two options is missing, and for options that have no effect on a list: `without`.
bool isBatch(const Arguments& arguments, const QStringList& without);

/// Digest of a plan, of the options of the usage that may change results, and of further bytes. `passedOver`:
/// options whose files are part of these bytes.
QByteArray planDigest(const Usage& usage, const Arguments& arguments, const QStringList& passedOver,
                      const QByteArray& plan);

/// The run over a list.
///
///     Batch batch(arguments, head);
///     for (ListedFile file; batch.next(file);) {
///         batch.part().add(...);
///         batch.part().endFile();
///     }
///     return batch.finish();
class Batch {
public:
    /// Takes columns, values and plan of the head. Says on standard error what was done before. Throws Error.
    Batch(const Arguments& arguments, PartHead head);
    ~Batch();

    bool next(ListedFile& file);  ///< the next one that is to be done; false behind the last
    PartFile& part() { return part_; }
    /// The row of what was not measured, with the reason in the last column.
    QByteArray failure(const QString& name, const QString& reason) const;
    /// Shows the progress: this many files of the list are done.
    void show();
    /// Commits the part, prints what is in it, with --stats its statistics, and says what went wrong. Returns
    /// the exit code. Throws Error.
    int finish();

private:
    const Arguments& arguments_;
    FileList list_;
    int columns_;
    PartFile part_;
    std::unique_ptr<TerminalProgress> progress_;
};

/// Prints what the part --out holds, with --stats the statistics of its values, as text or JSON. Throws
/// Error.
void printPart(const Arguments& arguments, const PartTotals& totals);

/// Version of the library, without the date of the build.
QString libraryVersion();

}  // namespace KvMeasure
