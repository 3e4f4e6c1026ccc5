// Files are measured by several jobs and their rows written in order, as for lists of profiles.

#include "cli/wheels/section_list.h"

#include "cli/batch.h"
#include "cli/ordered_jobs.h"
#include "cli/parameters.h"
#include "cli/profile/measuring_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/csv_row.h>

#include <cmath>
#include <thread>

namespace KvMeasure {

namespace {

QString columnOf(const SectionValue& value) {
    return value.unit.isEmpty() ? value.key : value.key + '_' + value.unit;
}

/// The values of the library have none in sections of files.
bool hasUncertainty(const SectionValue& value) {
    return value.uncertainty.isKnown() || !value.uncertainty.reason.isEmpty();
}

PartHead headOf(const Usage& usage, const Arguments& arguments, const SectionRows& rows) {
    PartHead head;
    QStringList names{"section"};
    for (const SectionValue& value : rows.columns) {
        PartValue part;
        part.name = value.key;
        part.unit = value.unit;
        part.column = static_cast<int>(names.size());
        head.values.append(part);
        names << columnOf(value);
        if (hasUncertainty(value))
            names << "U_" + columnOf(value);
    }
    head.columns = csvRow(names << "verdict"
                                << "note")
                       .toUtf8();
    QByteArray inputs;
    for (const QString& path : rows.inputs) {
        const QByteArray content = openedFile(path)->readAll();
        inputs += QByteArray::number(content.size()) + '\n' + content;
    }
    head.plan = planDigest(usage, arguments, {"--reference", "--limits"}, inputs);
    return head;
}

QString cell(double value) {
    return std::isfinite(value) ? QString::number(value, 'g', QLocale::FloatingPointShortest) : QString();
}

struct Row {
    QByteArray text;
    PartRow kind = PartRow::Good;
};

Row rowOf(const QString& path, const StoredSection& measured, const std::vector<SectionValue>& columns) {
    QStringList cells{withoutMarks(path)}, notes;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const SectionValue& value = measured.values.at(i);
        cells << cell(value.value);
        if (hasUncertainty(columns[i]))
            cells << cell(value.uncertainty.expanded());
        if (!value.isKnown())
            notes.append(value.key + ": " + value.reason);
    }
    for (const LimitVerdict& each : measured.verdicts) {
        if (each.kind != LimitVerdict::Good && !each.reason.isEmpty())
            notes.append(each.symbol + ": " + each.reason);
    }
    notes += measured.notes;
    notes.removeDuplicates();
    const QString verdict = !measured.verdicts.empty() ? overallVerdict(measured.verdicts)
                            : measured.isComplete      ? QString("good")
                                                       : QString("NOT MEASURED");
    cells << verdict << withParameters(notes.join("; "), optionOf);
    return {csvRow(cells).toUtf8(), verdict == "good" ? PartRow::Good : PartRow::Missed};
}

Row measured(const ListedFile& file, const Batch& batch, const SectionRows& rows) {
    if (!file.fault.isEmpty())
        return {batch.failure(file.path, file.fault), PartRow::Failed};
    try {
        return rowOf(file.path, rows.measure(file.path), rows.columns);
    } catch (const Error& error) {
        return {batch.failure(file.path, error.text(optionOf)), PartRow::Failed};
    }
}

}  // namespace

std::vector<Option> sectionListOptions() {
    std::vector<Option> options = batchOptions();
    for (const Option& option : batchOutOptions())
        options.push_back(option);
    options.push_back({"--jobs", "N", "with --files-from: files measured at a time (all cores)"});
    options.push_back({"--stats", "", "with --files-from: statistics of each value"});
    return options;
}

int measureSectionList(const Usage& usage, const Arguments& arguments, const SectionRows& rows) {
    Batch batch(arguments, headOf(usage, arguments, rows));
    const auto work = [&](ListedFile& file) { return measured(file, batch, rows); };
    OrderedJobs<ListedFile, Row> jobs(work);
    const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const int count = arguments.integer("--jobs", std::min(cores, kMostJobs), 1, kMostJobs);
    for (int i = 1; i < count && jobs.addThread(work); ++i) {
    }
    const auto takeOne = [&] {
        const auto result = jobs.take();
        if (result.error)
            std::rethrow_exception(result.error);
        batch.part().add(result.output->text, result.output->kind);
        batch.part().endFile();
        batch.show();
    };
    for (ListedFile file; batch.next(file);) {
        constexpr std::size_t kUsualPoints = 1000;
        jobs.put(file, kUsualPoints);
        while (jobs.isFull())
            takeOne();
    }
    while (!jobs.isEmpty())
        takeOne();
    return batch.finish();
}

}  // namespace KvMeasure
