// The groups of commands, made of the one table in command_rows.inc. What a group or command says of itself
// is thrown as its help: so manual page and completion get it by asking each command for help.
#include "cli/commands.h"
#include "cli/exit_code.h"

#include "cli/arguments.h"
#include "cli/description.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <QtCore/QFileInfo>

#include <algorithm>

namespace KvMeasure {

namespace {

struct Command {
    const char* name;
    const char* operands;
    const char* summary;
    int (*run)(const QStringList& words);
};

/// The commands of a group, in their order.
std::vector<Command> rowsOf(const QString& group) {
    static const struct {
        const char* group;
        Command command;
    } rows[] = {
#define KVMEASURE_COMMAND(group, name, operands, summary, run) {group, {name, operands, summary, run}},
#include "cli/command_rows.inc"
#undef KVMEASURE_COMMAND
    };
    std::vector<Command> commands;
    for (const auto& row : rows) {
        if (group == row.group)
            commands.push_back(row.command);
    }
    return commands;
}

/// Commands that share their first words; those of the program itself share none.
struct Group {
    const char* name;
    const char* summary;
    std::vector<Command> commands;
    QString details;
};

/// Thrown where a group is asked for its help.
struct GroupHelp : Help {
    const Group* group;
};

QString overview(const Group& group) {
    const QString first = QStringList{"kvmeasure", group.name}.join(' ').trimmed();
    QString text = QString("%1\n\n  %2 COMMAND ... [options]\n\nCommands\n").arg(group.summary, first);
    int widest = 0;
    int longest = 11;
    for (const Command& command : group.commands) {
        widest = qMax(widest, static_cast<int>(QString(command.operands).size()));
        longest = qMax(longest, static_cast<int>(QString(command.name).size()));
    }
    for (const Command& command : group.commands)
        text +=
            filledIn("  %1  %2%3\n", QString(command.name).leftJustified(longest),
                     QString(command.operands).leftJustified(widest > 0 ? widest + 2 : 0), command.summary);
    return text + '\n' + group.details +
           QString("\n\"%1 COMMAND --help\" lists the options of a command; every command has --json.\n")
               .arg(first);
}

int runGroup(const Group& group, const QStringList& words) {
    const QString place = *group.name == '\0' ? QString() : QString(group.name) + ": ";
    const QString help = QStringList{"kvmeasure", group.name, "--help"}.join(' ').simplified();
    const QString name = words.value(0);
    if (name.isEmpty())
        throw Error(QString("%1which command? See \"%2\"").arg(place, help));
    if (name == "--help" || name == "-h")
        throw GroupHelp{{overview(group)}, &group};
    QStringList names{"--help"};
    for (const Command& command : group.commands) {
        names.append(command.name);
        if (name == command.name)
            return command.run(words.mid(1));
    }
    static const QMap<QString, QString> others{
        {"distance", "teach"}, {"length", "teach"},         {"angle", "teach"},       {"template", "teach"},
        {"find", "match"},     {"smooth", "filter"},        {"median", "filter"},     {"circle", "fit"},
        {"line", "lines"},     {"segments", "lines"},       {"generate", "simulate"}, {"wheel", "wheels"},
        {"outline", "scan"},   {"calibration", "calibrate"}};
    const bool isProgram = *group.name == '\0';
    throw Error(
        QString("%1unknown command \"%2\"%3 (see \"%4\")")
            .arg(place, name, suggestion(name, names, isProgram ? others : QMap<QString, QString>()), help));
}

Description describe(const Group& group) {
    Description description{{group.name, "COMMAND", group.summary, {}, group.details}, "", {}};
    for (const Command& command : group.commands) {
        Description part;
        try {
            command.run({"--help"});
        } catch (const CommandHelp& help) {
            part.usage = help.usage;
        } catch (const GroupHelp& help) {
            part = describe(*help.group);
        }
        part.brief = command.summary;
        description.commands.push_back(part);
    }
    return description;
}

QString exitCodes() {
    QStringList codes;
    for (const ExitCode code : {Done, NotMet, Refused})
        codes << filledIn("%1 %2", int(code), meaning(code));
    return "Exit codes: " + codes.join(", ") + ".\n\n";
}

int runHelp(const Group& program, const QStringList& words) {
    const struct {
        const char* option;
        QString (*make)(const Description& program);
    } texts[] = {{"--man", manualPage}, {"--bash", bashCompletion}};
    for (const auto& text : texts) {
        if (words == QStringList{text.option})
            throw Help{text.make(describe(program))};
    }
    return runGroup(program, words + QStringList{"--help"});
}

}  // namespace

int runScan(const QStringList& words) {
    static const Group group{
        "scan", "3D scans: stacks of profiles, and clouds of points.", rowsOf("scan"),
        "Scans are told apart by their content: records (0x05 and 0x85 profiles, 0x02 lines with "
        "--scan-step,\n"
        "0x03 and 0x04 clouds), PLY (ascii and binary), XYZ text, CSV grids, and raw 16-bit height maps "
        "with a\n"
        "description (see --map). Axes, mm: x along the laser line, height, and scan, the position along "
        "the\n"
        "scan.\n\n"
        "Examples\n"
        "  kvmeasure scan info plate.kvs\n"
        "  kvmeasure scan outline plate.kvs --svg outline.svg\n"
        "  kvmeasure scan convert plate.kvs plate.ply\n"};
    return runGroup(group, words);
}

int runPlan(const QStringList& words) {
    static const Group group{
        "plan", "Plans: what is done with a profile before it is measured, and what is measured.",
        rowsOf("plan"),
        "\"kvmeasure teach\" and \"kvmeasure measure --out\" write plans.\n\n"
        "Examples\n"
        "  kvmeasure plan show plan.json\n"
        "  kvmeasure plan check plan.json part.csv\n"
        "  kvmeasure plan schema > plan.schema.json\n"};
    return runGroup(group, words);
}

int runForm(const QStringList& words) {
    static const Group group{
        "form", "Form of a profile or a surface, as an inspection report states it.", rowsOf("form"),
        "Text is read in doubles: columns by name or in their order, mm unless the heading names a unit.\n\n"
        "Examples\n"
        "  kvmeasure form straightness edge.csv --svg zone.svg\n"
        "  kvmeasure form flatness plate.kvs --json\n"};
    return runGroup(group, words);
}

int runStats(const QStringList& words) {
    static const Group group{
        "stats", "Statistics of values in a table: capability, gauge studies, analysis of variance.",
        rowsOf("stats"),
        "Tables are text with a heading; columns are named, or numbered from 1.\n\n"
        "Examples\n"
        "  kvmeasure stats depths.csv --column depth --limits 4.9..5.1\n"
        "  kvmeasure stats study study.csv --part part --appraiser appraiser --value value --method range\n"};
    // A file, or an option, where a command could stand: the series.
    const QString first = words.value(0);
    const bool isHelp = first.isEmpty() || first == "--help" || first == "-h";
    const bool isCommand =
        std::any_of(group.commands.begin(), group.commands.end(),
                    [&first](const Command& command) { return first == QLatin1String(command.name); });
    if (!isHelp && !isCommand && (first.startsWith('-') || first.contains('.') || QFileInfo::exists(first)))
        return runStatsSeries(words);
    return runGroup(group, words);
}

int runSimulate(const QStringList& words) {
    static const Group group{
        "simulate", "Measurements of objects with known dimensions, with the true values beside them.",
        rowsOf("simulate"),
        "Records of calibration targets: \"kvmeasure calibrate simulate\".\n\n"
        "Examples\n"
        "  kvmeasure simulate profile --shape v-groove --noise 0.02 --out part.csv\n"
        "  kvmeasure simulate scan --noise 0.02 --rotate 2 --out plate.kvs\n"
        "  kvmeasure simulate pass --wheelsets 8 --out train\n"};
    return runGroup(group, words);
}

int runCalibrate(const QStringList& words) {
    static const Group group{
        "calibrate", "Tables that turn sensor positions of a laser triangulation scanner into millimetres.",
        rowsOf("calibrate"),
        "Files are told apart by their sizes: raw records 1304000 bytes, full tables 2592000, compact "
        "tables 1327104.\n\n"
        "Examples\n"
        "  kvmeasure calibrate simulate flat.raw --noise 0.05\n"
        "  kvmeasure calibrate build flat.raw scanner.tbl --truth flat.raw.truth.json\n"
        "  kvmeasure calibrate check scanner.tbl --truth flat.raw.truth.json --svg errors.svg\n"};
    return runGroup(group, words);
}

int runWheels(const QStringList& words) {
    static const Group group{
        "wheels", "Wheels of a train that passed a measuring post.", rowsOf("wheels"),
        "PASS is a folder of recordings, or the recordings; parameters takes sections, too: files of gauges, "
        "CSV.\n"
        "wheels.md in share/doc/kvmeasure/docs (docs of the sources) says what the values mean.\n\n"
        "Examples\n"
        "  kvmeasure simulate pass --wheelsets 8 --out train\n"
        "  kvmeasure wheels pass train --out train/results\n"
        "  kvmeasure wheels parameters section.csv --diameter 920 --svg section.svg\n"};
    return runGroup(group, words);
}

int runRails(const QStringList& words) {
    static const Group group{
        "rails", "Cross-sections of rails, from gauges and scanners.", rowsOf("rails"),
        "wheels.md in share/doc/kvmeasure/docs (docs of the sources) says what the values "
        "mean.\n\n"
        "Examples\n"
        "  kvmeasure rails parameters rail.ban --reference nominal.prr\n"};
    return runGroup(group, words);
}

int runCommand(const QStringList& words) {
    static const Group program{
        "",
        "kvmeasure: measures laser scanner profiles, 3D scans and passing trains, and calibrates scanners",
        rowsOf(""),
        QString("Examples\n"
                "  kvmeasure simulate profile --shape square-groove --noise 0.02 --out part.csv\n"
                "  kvmeasure teach part.csv --longest 3 --measure \"depth = distance 1 2\" --out part.json\n"
                "  kvmeasure match part.csv --template part.json --svg part.svg\n\n") +
            exitCodes() + "Profiles, scans and templates named - are read from standard input.\n" +
            "\"kvmeasure help --man\" writes the manual page, \"kvmeasure help --bash\" the completion for "
            "bash.\n"
            "Guides and file formats are in share/doc/kvmeasure, beside the bin folder.\n"};
    if (words.value(0) == "help")
        return runHelp(program, words.mid(1));
    return runGroup(program, words);
}

}  // namespace KvMeasure
