// A store is written in transactions: all parts of a call, then one wait for the disk, which is by far the
// most of its cost. Times are those of this machine's clock, in UTC.

#include <kvmeasure/report/results_store.h>

#include <kvmeasure/report/match_report_p.h>
#include <kvmeasure/report/store_session_p.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDateTime>
#include <QtCore/QMap>

#include <cmath>

namespace KvMeasure {

using Internal::StoreTransaction;

namespace {

QString now() { return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs); }

/// A text for a column that always has one: Qt takes a QString() for no value. PostgreSQL has no U+0000 in
/// texts.
QVariant textOf(QString text) {
    return text.isNull() ? QString("") : text.replace(QChar(u'\0'), QChar(QChar::ReplacementCharacter));
}

/// No value for NaN and infinities.
QVariant numberOrNull(double number) { return std::isfinite(number) ? QVariant(number) : QVariant(); }

const char* stateText(PartState state) {
    switch (state) {
    case PartState::Good:
        return "good";
    case PartState::Missed:
        return "missed";
    case PartState::Unread:
        return "unread";
    }
    return "unread";
}

/// The cells of a row of "value".
QVariantList rowOf(const Value& value, qint64 part, int position) {
    const bool hasNominal = value.hasTolerance && value.tolerance.hasNominal;
    const double none = std::nan("");
    return {part,
            position,
            textOf(value.name),
            textOf(value.unit),
            numberOrNull(value.isValid ? value.value : none),
            numberOrNull(value.isValid ? value.expandedU() : none),
            numberOrNull(hasNominal ? value.tolerance.nominal : none),
            numberOrNull(value.hasTolerance ? value.tolerance.least() : none),
            numberOrNull(value.hasTolerance ? value.tolerance.greatest() : none),
            textOf(value.verdict()),
            textOf(value.reason)};
}

/// Many rows by a statement, since each waits for the answer of a server.
void addValues(Internal::StoreSession& session, qint64 part, const QList<Value>& values) {
    constexpr int kRows = 50;
    const int count = static_cast<int>(values.size());
    for (int first = 0; first < count; first += kRows) {
        const int rows = qMin(kRows, count - first);
        QVariantList cells;
        for (int i = first; i < first + rows; ++i)
            cells += rowOf(values[i], part, i);
        const QString row = ", (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
        session.run("INSERT INTO value(part, position, name, unit, value, expanded_u, nominal, lower, upper, "
                    "verdict, reason) VALUES" +
                        row.repeated(rows).mid(1),
                    cells);
    }
}

/// What the plan names and the profile has not.
Value missingValue(const ValueName& name, const InspectionPlan& plan, const QString& reason) {
    Value value;
    value.name = name.name;
    value.unit = name.unit;
    value.reason = reason.isEmpty() ? QString("the template is not found") : reason;
    value.decision = plan.decision;
    value.hasTolerance = plan.tolerances.contains(name.name);
    value.tolerance = plan.tolerances.value(name.name);
    return value;
}

}  // namespace

StoredPart storedPart(const MatchedProfile& profile, const InspectionPlan& plan) {
    StoredPart part;
    part.name = profile.name;
    part.z = profile.z;
    part.state = profile.isGood() ? PartState::Good : PartState::Missed;
    part.verdict = verdictText(profile.best, profile.isFound());
    part.reason = profile.reason;
    QMap<QString, QList<Value>> measured;  // documents of other programs may give two results one name
    for (const Value& value : profile.best.values)
        measured[value.name].append(value);
    for (const ValueName& name : valueNames(plan)) {
        QList<Value>& values = measured[name.name];
        part.values.append(values.isEmpty() ? missingValue(name, plan, profile.reason) : values.takeFirst());
    }
    return part;
}

ResultsStore::ResultsStore(const QString& place, Access access, double waitSeconds)
    : session_(std::make_unique<Internal::StoreSession>(place, access == Access::Add, waitSeconds)) {}

ResultsStore::~ResultsStore() = default;

qint64 ResultsStore::beginRun(const NewRun& run) {
    const QString digest =
        QString::fromLatin1(QCryptographicHash::hash(run.plan, QCryptographicHash::Sha256).toHex());
    StoreTransaction transaction(*session_, true);
    session_->run("INSERT INTO plan(digest, name, text) VALUES(?, ?, ?) ON CONFLICT DO NOTHING",
                  {digest, textOf(run.planName), textOf(QString::fromUtf8(run.plan))});
    const qint64 id = session_
                          ->cell("INSERT INTO run(list, started, command, version, plan, station, operator) "
                                 "VALUES(?, ?, ?, ?, ?, ?, ?) RETURNING id",
                                 {textOf(run.list), now(), textOf(run.command), textOf(run.version), digest,
                                  textOf(run.station), textOf(run.operatorName)})
                          .toLongLong();
    transaction.commit();
    return id;
}

qint64 ResultsStore::findRun(const QString& list) {
    if (list.isEmpty())
        return 0;
    return session_->cell("SELECT max(id) FROM run WHERE list = ?", {list}).toLongLong();
}

qint64 ResultsStore::sourcesBefore(qint64 run, int source) {
    return session_
        ->cell("SELECT count(DISTINCT source) FROM part WHERE run = ? AND source < ?", {run, source})
        .toLongLong();
}

int ResultsStore::addParts(qint64 run, const std::vector<StoredPart>& parts) {
    int added = 0;
    StoreTransaction transaction(*session_, true);
    const QString time = now();
    for (const StoredPart& part : parts) {
        const QVariant id = session_->cell(
            "INSERT INTO part(run, source, record, name, serial, stored, z_mm, state, verdict, "
            "reason) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT DO NOTHING RETURNING id",
            {run, part.source, part.record, textOf(part.name), textOf(part.serial), time,
             numberOrNull(part.z), QString(stateText(part.state)), textOf(part.verdict),
             textOf(part.reason)});
        if (!id.isValid())
            continue;
        ++added;
        addValues(*session_, id.toLongLong(), part.values);
    }
    transaction.commit();
    return added;
}

void ResultsStore::endRun(qint64 run) {
    StoreTransaction transaction(*session_, true);
    session_->run("INSERT INTO run_end(run, ended) VALUES(?, ?) ON CONFLICT DO NOTHING", {run, now()});
    transaction.commit();
}

}  // namespace KvMeasure
