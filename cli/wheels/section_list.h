#pragma once
// The run over the sections of a list of files, of wheels or of rails.

#include "cli/arguments.h"

#include <kvmeasure/report/part_file.h>
#include <kvmeasure/report/stored_section.h>

#include <functional>

namespace KvMeasure {

/// What rows are made of.
struct SectionRows {
    std::vector<SectionValue> columns;  ///< keys and units of the values, and which have U
    QStringList inputs;                 ///< further files that change results
    std::function<StoredSection(const QString& path)> measure;  ///< called by several jobs; throws Error
};

/// Measures every file of --files-from and writes the part file --out: "section", the values, with U behind
/// those that have one, "verdict", "note". A file that cannot be read is a row, too. Returns the exit code.
/// Throws Error.
int measureSectionList(const Usage& usage, const Arguments& arguments, const SectionRows& rows);

/// The options of a list, for the usage of a command.
std::vector<Option> sectionListOptions();

}  // namespace KvMeasure
