// Reading a store. Each question is one statement, which sees one state of the store, and whose rows are
// taken as they come.

#include <kvmeasure/report/results_store.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/store_session_p.h>

namespace KvMeasure {

using Internal::numberOf;

namespace {

/// "WHERE ..." with the values of its question marks; the tables are part and run, and value where it is
/// asked for a name.
struct Condition {
    QStringList terms;
    QVariantList values;

    explicit Condition(const ResultsQuery& query) {
        if (query.run != 0)
            add("run.id = ?", query.run);
        if (!query.station.isEmpty())
            add("run.station = ?", query.station);
        if (!query.part.isEmpty()) {
            add("(part.serial = ? OR part.name = ?)", query.part);
            values.append(query.part);
        }
    }
    void add(const char* term, const QVariant& value) {
        terms.append(term);
        values.append(value);
    }
    QString where() const { return terms.isEmpty() ? QString() : " WHERE " + terms.join(" AND "); }
};

StoredValue valueOf(const QVariantList& row, const QString& path) {
    const auto text = [&row](int i) { return row.value(i).toString(); };
    const auto number = [&](int i) { return numberOf(row.value(i), path); };
    const auto limit = [&](int i, double absent) { return row.value(i).isValid() ? number(i) : absent; };
    const Limits none;
    StoredValue value;
    value.run = row.value(0).toLongLong();
    value.part = row.value(1).toLongLong();
    value.stored = text(2);
    value.station = text(3);
    value.operatorName = text(4);
    value.profile = text(5);
    value.serial = text(6);
    value.z = number(7);
    const bool hasName = row.value(8).isValid();
    value.name = hasName ? text(8) : QString();
    value.unit = text(9);
    value.value = number(10);
    value.expandedU = number(11);
    value.nominal = number(12);
    value.limits = {limit(13, none.lower), limit(14, none.upper)};
    value.verdict = text(hasName ? 15 : 17);
    value.reason = text(hasName ? 16 : 18);
    return value;
}

}  // namespace

QList<RunRecord> ResultsStore::runs(const ResultsQuery& query) {
    Condition condition(query);
    const bool isNarrowed = !query.part.isEmpty() || !query.name.isEmpty();
    if (!query.name.isEmpty())
        condition.add("EXISTS (SELECT 1 FROM value WHERE value.part = part.id AND value.name = ?)",
                      query.name);
    session_->run(
        QString("SELECT run.id, run.started, run_end.ended, run.command, run.version, run.plan, plan.name, "
                "run.station, run.operator, count(part.id), count(*) FILTER (WHERE part.state = 'good'), "
                "count(*) FILTER (WHERE part.state = 'unread') FROM run JOIN plan ON plan.digest = run.plan "
                "LEFT JOIN run_end ON run_end.run = run.id %1JOIN part ON part.run = run.id")
                .arg(isNarrowed ? "" : "LEFT ") +
            condition.where() + " GROUP BY run.id, run_end.run, plan.digest ORDER BY run.id",
        condition.values);
    QList<RunRecord> runs;
    for (QVariantList row; session_->next(row);) {
        RunRecord run;
        run.id = row.value(0).toLongLong();
        QString* const texts[] = {&run.started, &run.ended,    &run.command, &run.version,
                                  &run.plan,    &run.planName, &run.station, &run.operatorName};
        int i = 1;
        for (QString* text : texts)
            *text = row.value(i++).toString();
        run.parts = row.value(9).toLongLong();
        run.good = row.value(10).toLongLong();
        run.unread = row.value(11).toLongLong();
        runs.append(run);
    }
    return runs;
}

void ResultsStore::forEachValue(const ResultsQuery& query,
                                const std::function<void(const StoredValue& value)>& take) {
    Condition condition(query);
    if (!query.name.isEmpty())
        condition.add("value.name = ?", query.name);
    session_->run("SELECT run.id, part.id, part.stored, run.station, run.operator, part.name, part.serial, "
                  "part.z_mm, value.name, value.unit, value.value, value.expanded_u, value.nominal, "
                  "value.lower, value.upper, value.verdict, value.reason, part.verdict, part.reason "
                  "FROM part JOIN run ON run.id = part.run LEFT JOIN value ON value.part = part.id" +
                      condition.where() + " ORDER BY part.id, value.position",
                  condition.values);
    for (QVariantList row; session_->next(row);)
        take(valueOf(row, session_->name()));
}

void ResultsStore::requireKnown(const ResultsQuery& query) {
    const struct {
        const char *what, *column, *table;
        QString word;
    } words[] = {{"run", "CAST(id AS TEXT)", "run", query.run == 0 ? QString() : QString::number(query.run)},
                 {"station", "station", "run", query.station},
                 {"value", "name", "value", query.name},
                 {"part", "CASE serial WHEN '' THEN name ELSE serial END", "part", query.part}};
    for (const auto& asked : words) {
        if (asked.word.isEmpty())
            continue;
        const bool isPart = QLatin1String(asked.what) == QLatin1String("part");
        const QString place = QString(" FROM %1 WHERE ").arg(asked.table);
        const QString term = isPart ? QString("? IN (serial, name)") : QString("%1 = ?").arg(asked.column);
        if (session_->cell("SELECT 1" + place + term + " LIMIT 1", {asked.word}).isValid())
            continue;
        QStringList known;
        session_->run(QString("SELECT DISTINCT %1%2%1 <> '' LIMIT 100").arg(asked.column, place));
        for (QVariantList row; session_->next(row);)
            known.append(printable(row.value(0).toString()));
        known.sort();
        const int shown = 10;
        throw Error(filledIn("%1: holds no %2 \"%3\"%4%5", session_->name(), asked.what, asked.word,
                             known.isEmpty() ? QString()
                                             : "; there are " + known.mid(0, shown).join(", ") +
                                                   (known.size() > shown ? ", ..." : ""),
                             suggestion(asked.word, known)))
            .inFile(session_->name());
    }
}

}  // namespace KvMeasure
