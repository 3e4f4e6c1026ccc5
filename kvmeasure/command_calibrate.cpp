#include "kvmeasure/calibrate.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"

namespace KvMeasure {

namespace {

struct Action {
    const char* name;
    const char* operands;
    const char* summary;
    int (*run)(const QStringList& words);
};

constexpr Action actions[] = {
    {"simulate", "OUT", "makes the raw record of a scanner with a known mapping", runCalibrateSimulate},
    {"build", "RAW TABLE", "makes a table from a raw record", runCalibrateBuild},
    {"apply", "TABLE RAW OUT", "turns the positions of a record into profiles", runCalibrateApply},
    {"cut", "TABLE OUT", "empties margins and corners of a table", runCalibrateCut},
    {"mirror", "FILE OUT", "turns a record or the halves of a table upside down", runCalibrateMirror},
    {"info", "FILE...", "what a record or table holds", runCalibrateInfo},
    {"check", "TABLE", "error map against the truth or a second record", runCalibrateCheck},
};

QString overview() {
    QString text =
        "kvmeasure calibrate ACTION ... [options]\n"
        "Tables that turn sensor positions of a laser triangulation scanner into millimetres.\n\nActions\n";
    for (const Action& action : actions)
        text += QString("  %1  %2  %3\n").arg(action.name, -8).arg(action.operands, -13).arg(action.summary);
    return text + "\nFiles are told apart by their sizes: raw records 1304000 bytes, full tables 2592000, "
                  "compact tables "
                  "1327104.\nEvery action has --help and --json.\n\nExamples\n"
                  "  kvmeasure calibrate simulate flat.raw --noise 0.05\n"
                  "  kvmeasure calibrate build flat.raw scanner.tbl --truth flat.raw.truth.json\n"
                  "  kvmeasure calibrate check scanner.tbl --truth flat.raw.truth.json --svg errors.svg\n";
}

}  // namespace

std::optional<Arguments> readAction(const Usage& usage, const QStringList& words, int count) {
    if (words.contains("--help")) {
        print(helpText(usage));
        return std::nullopt;
    }
    Arguments arguments(usage, words);
    arguments.requireOperands(count);
    if (arguments.operands().size() < count)
        throw Failure{
            QString("%1: name %2 (see \"kvmeasure %1 --help\")").arg(usage.command, usage.operands)};
    return arguments;
}

QString percent(double part, double whole) {
    constexpr double hundred = 100;
    return whole > 0 ? QString::number(hundred * part / whole, 'f', 2) + " %" : QString("-");
}

int runCalibrate(const QStringList& words) {
    if (words.isEmpty())
        throw Failure{"calibrate: which action? See \"kvmeasure calibrate --help\""};
    const QString& name = words.first();
    if (name == "--help") {
        print(overview());
        return Done;
    }
    QStringList names;
    for (const Action& action : actions) {
        names.append(action.name);
        if (name == action.name)
            return action.run(words.mid(1));
    }
    throw Failure{QString("calibrate: unknown action \"%1\"%2 (see \"kvmeasure calibrate --help\")")
                      .arg(name, suggestion(name, names))};
}

}  // namespace KvMeasure
