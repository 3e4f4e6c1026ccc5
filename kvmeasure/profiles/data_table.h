#pragma once
// Columns of a table in a text, by their names: numbers as doubles, and words.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/column_heading.h>

#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QStringList>

#include <functional>
#include <vector>

namespace KvMeasure {

/// The columns that are wanted of a table, from 0.
struct TableColumns {
    QList<int> numbers;  ///< read as numbers
    QList<int> words;    ///< read as they stand there, without blanks and quotes around them
};

/// Rows of the columns that were wanted.
struct DataTable {
    QList<Heading> headings;                   ///< of all columns; texts are empty where there are none
    std::vector<std::vector<double>> numbers;  ///< by column, in its unit; NaN for a cell that is empty or
                                               ///< says "nan"
    std::vector<QStringList> words;            ///< by column; empty for an empty cell
    std::vector<qint64> lines;                 ///< of each row, from 1
};

/// The number of a column, from 0: by its name, with or without unit, capital or not, or by its number from
/// 1. Throws Error, which names the columns that there are, for none and for a name that two have.
KVMEASURE_EXPORT int columnNamed(const QList<Heading>& headings, const QString& word);

/// Reads a table of cells between semicolons, tabs, commas or blanks. A first line with a cell that is
/// no number is the heading; comments and blank lines are passed over. `choose` names the wanted columns by
/// the headings. Throws Error with file() and line() for a cell that is no number where one is wanted, and
/// for a row that is too short; without line() for no row at all and for more than 20,000,000 cells wanted.
KVMEASURE_EXPORT DataTable readDataTable(const QString& path,
                                         const std::function<TableColumns(const QList<Heading>&)>& choose);

/// The same of a file that is open and at its start; `path` is its name in errors.
KVMEASURE_EXPORT DataTable readDataTable(QFile& file, const QString& path,
                                         const std::function<TableColumns(const QList<Heading>&)>& choose);

}  // namespace KvMeasure
