// "kvmeasure results".

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/stored_series.h>

#include <limits>
#include <utility>

namespace KvMeasure {

namespace {

const Usage usage{
    "results",
    "STORE",
    "Asks a results store that a command with --store filled: match, measure, wheels, rails.",
    {{"--part", "NAME", "of this part alone: its serial number, or the name of its profile"},
     {"--station", "NAME", "of this station alone"},
     {"--name", "NAME", "this value alone"},
     {"--run", "N", "this run alone"},
     {"--last", "N", "newest values of each trend in JSON (1000)"},
     {"--csv", "", "print CSV, a row per stored value; parts without values have a row, too"}},
    "Prints the runs, the statistics of each value over all its parts, and the ten values that are nearest "
    "to a "
    "limit or\n"
    "farthest beyond it. --json adds the newest values of each as a trend. Values of another tolerance are a "
    "series of\n"
    "their own. Statistics are those of \"kvmeasure stats\".\n\n"
    "Examples\n"
    "  kvmeasure match part.csv --template groove.json --store results.db --station 2 --serial A17\n"
    "  kvmeasure results results.db\n"
    "  kvmeasure results results.db --part A17\n"
    "  kvmeasure results results.db --name depth --station 2 --json\n"
    "  kvmeasure results results.db --csv > all.csv\n"
    "  kvmeasure results postgresql://ann@server/quality --station 2\n"};

QJsonObject jsonOf(const RunRecord& run) {
    return {{"run", static_cast<double>(run.id)},
            {"started", run.started},
            {"ended", run.ended.isEmpty() ? QJsonValue() : QJsonValue(run.ended)},
            {"command", run.command},
            {"version", run.version},
            {"plan", run.plan},
            {"planName", run.planName},
            {"station", run.station},
            {"operator", run.operatorName},
            {"parts", static_cast<double>(run.parts)},
            {"good", static_cast<double>(run.good)},
            {"missed", static_cast<double>(run.parts - run.good - run.unread)},
            {"unread", static_cast<double>(run.unread)}};
}

/// The newest runs, below the sums over all.
QString runsText(const QList<RunRecord>& runs) {
    constexpr int kShown = 20, kDigest = 12;
    qint64 parts = 0, good = 0, unread = 0;
    for (const RunRecord& run : runs) {
        parts += run.parts;
        good += run.good;
        unread += run.unread;
    }
    const int count = static_cast<int>(runs.size());
    QString text = filledIn(": %1, %2, %3 good, %4 not good, %5 not read\n", counted(count, "run"),
                            counted(parts, "part"), good, parts - good - unread, unread);
    if (count > kShown)
        text += filledIn("The last %1 runs:\n", kShown);
    Table table({"run", "started", "command", "plan", "station", "operator", "parts", "good", "not good",
                 "not read", "complete"});
    for (const RunRecord& run : runs.mid(qMax(0, count - kShown)))
        table.add({QString::number(run.id), run.started, run.command,
                   (run.planName.isEmpty() ? QString() : run.planName + ' ') + run.plan.left(kDigest),
                   run.station, run.operatorName, QString::number(run.parts), QString::number(run.good),
                   QString::number(run.parts - run.good - run.unread), QString::number(run.unread),
                   run.ended.isEmpty() ? "no" : "yes"});
    return text + table.text();
}

ResultsQuery queryOf(const Arguments& arguments) {
    ResultsQuery query;
    query.part = arguments.text("--part");
    query.station = arguments.text("--station");
    query.name = arguments.text("--name");
    query.run = arguments.integer("--run", 0, 1, std::numeric_limits<int>::max());
    for (const char* option : {"--part", "--station", "--name"}) {
        if (arguments.has(option) && arguments.text(option).isEmpty())
            throw Error(filledIn("results: %1 needs a name", option));
    }
    return query;
}

}  // namespace

int runResults(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    if (arguments.isJson() && arguments.has("--csv"))
        throw Error("--json and --csv are two forms of one output; give one of them");
    constexpr int kLongestTrend = 1'000'000;
    const int trend = arguments.integer("--last", StoredSeries::kUsualTrend, 0, kLongestTrend);
    const ResultsQuery query = queryOf(arguments);
    const QString name = storeName(arguments.operand(0));
    ResultsStore store(arguments.operand(0), ResultsStore::Access::Read);
    store.requireKnown(query);
    if (arguments.has("--csv")) {
        constexpr int kAtOnce = 1 << 16;
        QString rows = storedValueHead();
        store.forEachValue(query, [&rows](const StoredValue& value) {
            rows += storedValueRow(value);
            if (rows.size() > kAtOnce)
                print(std::exchange(rows, QString()));
        });
        print(rows);
        return Done;
    }
    StoredSeries series(arguments.isJson() ? trend : 0);
    const QList<RunRecord> runs = store.runs(query);
    store.forEachValue(query, [&series](const StoredValue& value) { series.take(value); });
    if (!arguments.isJson()) {
        print(printable(name) + runsText(runs) + '\n' + series.text());
        return Done;
    }
    QJsonArray list;
    for (const RunRecord& run : runs)
        list.append(jsonOf(run));
    printJson({{"file", name}, {"runs", list}, {"values", series.json()}});
    return Done;
}

}  // namespace KvMeasure
