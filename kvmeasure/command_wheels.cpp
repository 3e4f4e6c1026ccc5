#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"
#include "kvmeasure/wheels.h"

namespace KvMeasure {

namespace {

struct Action {
    const char* name;
    const char* summary;
};

constexpr Action actions[] = {
    {"detect", "splits recordings into wheel files"},
    {"parameters", "flange height, thickness, position and circle of each wheel"},
    {"distances", "distance from back to back of each wheelset"},
    {"defects", "wheels whose tread has breakouts"},
    {"pass", "all of them, with tables and a picture of each wheel"},
};

QString overview() {
    QString text =
        "kvmeasure wheels ACTION FOLDER|RECORDING... [options]\n"
        "Wheels of a train that passed a measuring post; docs/wheels.md says what the values mean.\n\n"
        "Actions\n";
    for (const Action& action : actions)
        text += QString("  %1  %2\n").arg(action.name, -10).arg(action.summary);
    return text + "\nEvery action has --help and --json.\n\nExamples\n"
                  "  kvmeasure simulate pass --wheelsets 8 --out train\n"
                  "  kvmeasure wheels pass train --out train/results\n"
                  "  kvmeasure wheels parameters section.csv --diameter 920 --svg section.svg\n";
}

}  // namespace

int runWheels(const QStringList& words) {
    if (words.isEmpty())
        throw Failure{"wheels: which action? See \"kvmeasure wheels --help\""};
    const QString& name = words.first();
    if (name == "--help") {
        print(overview());
        return Done;
    }
    QStringList names;
    for (const Action& action : actions) {
        names.append(action.name);
        if (name == action.name)
            return runWheelsOnPass(name, words.mid(1));
    }
    throw Failure{QString("wheels: unknown action \"%1\"%2 (see \"kvmeasure wheels --help\")")
                      .arg(name, suggestion(name, names))};
}

}  // namespace KvMeasure
