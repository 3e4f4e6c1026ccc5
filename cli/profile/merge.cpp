// kvmeasure merge: several part files in one.

#include "cli/batch.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/report/part_merge.h>

namespace KvMeasure {

namespace {

const Usage usage{
    "merge",
    "PART...",
    "Puts part files of \"kvmeasure match --files-from\" and the like into one.",
    {{"--out", "FILE", "the part file to write (required)"},
     {"--files-from", "LIST", "merge the parts that LIST names, one a line (-: standard input)"},
     {"--stats", "",
      "print count, mean, deviation, percentiles of each value, and capability where it has a "
      "tolerance"}},
    "Rows stand in the order of the parts. The result is, byte by byte, the part that one run "
    "over all lists\n"
    "behind one another gives. Parts that were made with another plan, other options or another "
    "version are\nrefused, and parts that are not complete.\n\n"
    "Examples\n"
    "  kvmeasure match --files-from list-0.txt --template groove.json --out part-0.csv\n"
    "  kvmeasure match --files-from list-1.txt --template groove.json --out part-1.csv\n"
    "  kvmeasure merge part-0.csv part-1.csv --out all.csv --stats\n"};

QStringList partsOf(const Arguments& arguments) {
    if (!arguments.has("--files-from")) {
        arguments.requireOperands(kAnyNumber);
        return arguments.operands();
    }
    isBatch(arguments, {});
    QStringList parts;
    FileList list(arguments.text("--files-from"));
    for (ListedFile file; list.next(file);) {
        if (!file.fault.isEmpty())
            throw Error(file.path + ": " + file.fault).inFile(file.path);
        parts.append(file.path);
    }
    return parts;
}

}  // namespace

int runMerge(const QStringList& words) {
    const Arguments arguments(usage, words);
    const QString out = arguments.required("--out", "name the file to write");
    refuseOverwriting({out}, {arguments.text("--files-from")});
    const QStringList parts = partsOf(arguments);
    const MergedParts merged = mergeParts(parts, out);
    if (merged.duplicates > 0)
        complain(filledIn("%1: %2 file(s) were measured before in these parts, the first is \"%3\"", out,
                          merged.duplicates, merged.duplicate));
    printPart(arguments, merged.totals);
    return Done;
}

}  // namespace KvMeasure
