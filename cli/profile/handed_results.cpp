// Results for other systems, profile by profile: AQDEF, QIF, a broker. What fails is said once and closed;
// the others and the measuring go on.
#include "cli/profile/handed_results.h"

#include "cli/batch.h"
#include "cli/console.h"
#include "cli/parameters.h"
#include "cli/stored_parts.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QJsonDocument>

namespace KvMeasure {

namespace {

HandedRun runOf(const Arguments& arguments, InspectionPlan plan) {
    HandedRun run;
    run.plan = plan.name;
    run.program = "kvmeasure " + libraryVersion();
    run.station = arguments.text("--station");
    run.operatorName = arguments.text("--operator");
    run.started = QDateTime::currentDateTime();
    run.characteristics = characteristicsOf(plan);
    if (plan.master)
        plan.master->file.clear();  // its points are stored in the plan then
    run.planDigest =
        QString::fromLatin1(QCryptographicHash::hash(planText(plan), QCryptographicHash::Sha256).toHex());
    return run;
}

}  // namespace

std::vector<Option> handOverOptions() {
    return {{"--jsonl", "", "print JSON lines: the result of each profile on a line, as it is measured"},
            {"--aqdef", "FILE.dfq", "write the values as AQDEF, for systems of quality management"},
            {"--qif", "FILE.qif", "write the values as QIF 3.0, an XML format of metrology"},
            mqttOption(
                "publish each result as a JSON line; mqtts: TLS; USER:PASSWORD@ before, :PORT behind HOST")};
}

HandedResults::HandedResults(const Arguments& arguments, const InspectionPlan& plan,
                             MatchReport::Form jsonForm, Fault fault)
    : arguments_(arguments), plan_(plan), fault_(std::move(fault)),
      lines_(jsonForm, plan, arguments.has("--all"), /*keepValues=*/false, [](const QString&) {}) {
    lines_.setWritesLines(true);
    broker_ = brokerOf(arguments);
    const QString aqdef = arguments.text("--aqdef"), qif = arguments.text("--qif");
    QStringList others = arguments.operands();
    for (const char* option :
         {"--template", "--plan", "--master", "--second", "--svg", "--trend", "--report", "--out", "--store"})
        others += arguments.texts(option);
    refuseOverwriting({aqdef, qif}, others);
    if (arguments.has("--aqdef"))
        aqdef_ = std::make_unique<AqdefFile>(aqdef, runOf(arguments, plan));
    if (arguments.has("--qif"))
        qif_ = std::make_unique<QifFile>(qif, runOf(arguments, plan));
}

template <typename Output>
void HandedResults::attempt(Output& output, const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        output.reset();
        fault_(error);
    }
}

void HandedResults::begin() {
    if (broker_)
        attempt(mqtt_, [this] { mqtt_ = std::make_unique<MqttPublisher>(*broker_); });
}

void HandedResults::add(const MatchedProfile& matched) {
    if (hasFiles())
        addToFiles(storedPart(matched, plan_));
    if (!mqtt_)
        return;
    QByteArray line = lines_.json(matched);
    attempt(mqtt_, [&] { mqtt_->publish(withParameters(QString::fromUtf8(line), optionOf).toUtf8()); });
}

void HandedResults::addUnread(const QString& name, const QString& reason) {
    if (hasFiles())
        addToFiles(unreadPart(name, reason));
}

void HandedResults::addToFiles(StoredPart part) {
    part.serial = arguments_.text("--serial");
    part.reason = withParameters(part.reason, optionOf);
    for (Value& value : part.values) {
        value.reason = withParameters(value.reason, optionOf);
        value.warning = withParameters(value.warning, optionOf);
    }
    if (aqdef_)
        attempt(aqdef_, [&] { aqdef_->add(part, QDateTime::currentDateTime()); });
    if (qif_)
        attempt(qif_, [&] { qif_->add(part, QDateTime::currentDateTime()); });
}

void HandedResults::finish() {
    if (aqdef_)
        attempt(aqdef_, [this] { aqdef_->commit(); });
    if (qif_)
        attempt(qif_, [this] {
            qif_->commit();
            if (qif_->leftOut() > 0)
                complain(filledIn("%1: %2 without a unit left out, for which QIF has no place",
                                  arguments_.text("--qif"), counted(qif_->leftOut(), "value")));
        });
    if (!mqtt_)
        return;
    attempt(mqtt_, [this] {
        mqtt_->finish();
        complain(filledIn("%1: %2 published", broker_->text(), counted(mqtt_->acknowledged(), "result")));
    });
}

}  // namespace KvMeasure
