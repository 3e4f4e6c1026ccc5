#pragma once
// The tables that the commands on statistics read, and the names of files that say what a value belongs to.

#include "cli/arguments.h"

#include <kvmeasure/report/series_report.h>

#include <vector>

namespace KvMeasure {

/// Values of a column with the words beside them; rows without a value are left out and counted.
struct NamedValues : ValueSeries {
    QList<QStringList> words;  ///< a list per column of words
};

/// --group-by, --group-table and --names, which takeValues() reads, for the usage of a command.
std::vector<Option> groupingOptions();

/// Reads the operand: a table, or results of "kvmeasure match" as JSON. `value` and `words` are names of
/// columns, or their numbers from 1; a word may be a field of --group-by or --group-table, too, which comes
/// first. Throws Error for columns that are not there, cells that are no numbers, an empty word beside a
/// value, a file name that says no field, and rows of different units in a column "unit".
NamedValues takeValues(const Arguments& arguments, const QString& value, const QStringList& words);

/// The series parted by their words, in alphabetical order; each is called as its word.
QList<ValueSeries> partedByWord(const NamedValues& values);

}  // namespace KvMeasure
