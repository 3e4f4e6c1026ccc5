// Commands over lists of files. What is done already stands in the part file. The digest of a plan holds its
// text and all options that may change a result, so that a killed run goes on with the same ones only.
#include "cli/batch.h"

#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/csv_row.h>
#include <kvmeasure/report/part_statistics.h>

#include <kvmath/base/version.h>

#include <QtCore/QCryptographicHash>

namespace KvMeasure {

namespace {

/// What the run of a command may do otherwise without another result.
const QStringList kWithoutEffect{"--files-from", "--out",     "--jobs",     "--stats", "--json",
                                 "--store",      "--station", "--operator", "--serial"};

PartHead withNames(PartHead head, const QString& command) {
    head.command = command;
    head.version = libraryVersion();
    return head;
}

/// The list and what else is read is not written over.
QString partPathOf(const Arguments& arguments) {
    QString out = arguments.text("--out");
    QStringList inputs;
    for (const char* option : {"--files-from", "--template", "--plan", "--master", "--reference", "--limits"})
        inputs += arguments.texts(option);
    refuseOverwriting({out, out + ".partial"}, inputs);
    if (out.endsWith(".json", Qt::CaseInsensitive))
        throw Error(filledIn("%1: --out: %2 gets rows of comma-separated values; name it .csv",
                             arguments.command(), out))
            .inFile(out);
    return out;
}

}  // namespace

QString libraryVersion() {
    char* name = nullptr;
    char* version = nullptr;
    KvMath::GetVersion(name, version);
    return QString::fromLatin1(version).section('.', 0, 2);
}

std::vector<Option> batchOptions() {
    return {{"--files-from", "LIST", "measure the files that LIST names, one a line (-: standard input)"}};
}

std::vector<Option> batchOutOptions() {
    return {{"--out", "PART", "with --files-from: CSV to write; run again it goes on where it was killed"}};
}

bool isBatch(const Arguments& arguments, const QStringList& without) {
    if (!arguments.has("--files-from"))
        return false;
    if (!arguments.operands().isEmpty())
        throw Error(filledIn("%1: \"%2\" is named beside --files-from; put it into the list",
                             arguments.command(), arguments.operand(0)));
    arguments.required("--out", "--files-from goes with it");
    for (const QString& option : without) {
        if (arguments.has(option))
            throw Error(
                filledIn("%1: %2 does not go with --files-from; leave it out", arguments.command(), option));
    }
    return true;
}

QByteArray planDigest(const Usage& usage, const Arguments& arguments, const QStringList& passedOver,
                      const QByteArray& plan) {
    constexpr int kBytes = 8;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(plan);
    for (const Option& option : usage.options) {
        const QString name = option.name;
        if (!arguments.has(name) || kWithoutEffect.contains(name) || passedOver.contains(name))
            continue;
        hash.addData((name + '\n' + arguments.texts(name).join('\n') + '\n').toUtf8());
    }
    return hash.result().left(kBytes).toHex();
}

Batch::Batch(const Arguments& arguments, PartHead head)
    : arguments_(arguments), list_(arguments.text("--files-from")),
      columns_(static_cast<int>(csvFields(head.columns).size())),
      part_(partPathOf(arguments), withNames(std::move(head), arguments.command()), list_) {
    if (list_.duplicates() > 0)
        complain(filledIn("%1: %2 line(s) name a file again, the first is \"%3\"; it is measured again",
                          list_.path(), list_.duplicates(), list_.duplicate()));
    if (!part_.notice().isEmpty())
        complain(part_.notice());
    progress_ = std::make_unique<TerminalProgress>("files", list_.digest().count());
}

Batch::~Batch() = default;

bool Batch::next(ListedFile& file) {
    if (part_.isComplete())
        return false;
    while (list_.next(file)) {
        if (!part_.wasDone())
            return true;
    }
    return false;
}

QByteArray Batch::failure(const QString& name, const QString& reason) const {
    QStringList cells{withoutMarks(name)};
    while (cells.size() < columns_ - 2)
        cells.append(QString());
    return csvRow(cells << "NOT READ" << withParameters(reason, optionOf)).toUtf8();
}

void Batch::show() { progress_->show(part_.totals().files); }

int Batch::finish() {
    part_.commit();
    progress_->clear();
    printPart(arguments_, part_.totals());
    const PartTotals& totals = part_.totals();
    if (totals.failed > 0) {
        complain(filledIn("%1: %2 row(s) say NOT READ, with the reason in the last column",
                          arguments_.text("--out"), totals.failed));
        return Refused;
    }
    return totals.missed > 0 ? NotMet : Done;
}

void printPart(const Arguments& arguments, const PartTotals& totals) {
    const QString out = arguments.text("--out");
    const bool hasStatistics = arguments.has("--stats");
    const QList<ValueSeries> series = hasStatistics ? readPartValues(out) : QList<ValueSeries>();
    if (!arguments.isJson()) {
        print(filledIn("%1: %2 files, %3 rows, %4 not good, %5 not read\n", printable(out), totals.files,
                       totals.rows, totals.missed, totals.failed) +
              (hasStatistics ? '\n' + partStatisticsText(series) : QString()));
        return;
    }
    QJsonObject json{{"out", out},
                     {"files", static_cast<double>(totals.files)},
                     {"rows", static_cast<double>(totals.rows)},
                     {"missed", static_cast<double>(totals.missed)},
                     {"failed", static_cast<double>(totals.failed)}};
    if (hasStatistics)
        json["statistics"] = partStatisticsJson(series);
    printJson(json);
}

}  // namespace KvMeasure
