#include "kvmeasure/commands.h"

#include "kvmeasure/arguments.h"
#include "kvmeasure/description.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/wheels.h"

namespace KvMeasure {

namespace {

struct Command {
    const char* name;
    const char* operands;
    const char* summary;
    int (*run)(const QStringList& words);
};

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
    for (const Command& command : group.commands)
        widest = qMax(widest, static_cast<int>(QString(command.operands).size()));
    for (const Command& command : group.commands)
        text +=
            QString("  %1  %2%3\n")
                .arg(command.name, -11)
                .arg(QString(command.operands).leftJustified(widest > 0 ? widest + 2 : 0), command.summary);
    return text + '\n' + group.details +
           QString("\n\"%1 COMMAND --help\" tells the options of a command; every command has --json.\n")
               .arg(first);
}

int runGroup(const Group& group, const QStringList& words) {
    const QString place = *group.name == '\0' ? QString() : QString(group.name) + ": ";
    const QString help = QStringList{"kvmeasure", group.name, "--help"}.join(' ').simplified();
    const QString name = words.value(0);
    if (name.isEmpty())
        throw Failure{QString("%1which command? See \"%2\"").arg(place, help)};
    if (name == "--help" || name == "-h")
        throw GroupHelp{{overview(group)}, &group};
    QStringList names{"--help"};
    for (const Command& command : group.commands) {
        names.append(command.name);
        if (name == command.name)
            return command.run(words.mid(1));
    }
    throw Failure{
        QString("%1unknown command \"%2\"%3 (see \"%4\")").arg(place, name, suggestion(name, names), help)};
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
        codes << QString("%1 %2").arg(code).arg(meaning(code));
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

int runScan(const QStringList& words) {
    static const Group group{
        "scan",
        "3D scans: stacks of profiles, and clouds of points.",
        {{"info", "SCAN...", "what a scan holds: form, counts, ranges, distances of points", runScanInfo},
         {"convert", "SCAN OUT", "between profile records, cloud records, PLY, XYZ and CSV grids",
          runScanConvert},
         {"slice", "SCAN OUT", "cuts a cloud into profiles at equal distances", runScanSlice},
         {"section", "SCAN", "a profile along x, along the scan, or between two points", runScanSection},
         {"grid", "SCAN", "heights in a regular grid, as CSV and as a picture", runScanGrid},
         {"plane", "SCAN", "fits a plane, removes what lies above or below it, levels the scan",
          runScanPlane},
         {"outline", "SCAN", "the outline of an object as straight lines, with angles and a picture",
          runScanOutline}},
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

int runSimulate(const QStringList& words) {
    static const Group group{
        "simulate",
        "Measurements of objects with known dimensions, with the true values beside them.",
        {{"profile", "", "the scanner line of a part, as CSV", runSimulateProfile},
         {"scan", "", "a 3D scan of an object with a known outline", runSimulateScan},
         {"pass", "", "the recordings of a train that passes a measuring post", runSimulatePass}},
        "Records of calibration targets: \"kvmeasure calibrate simulate\".\n\n"
        "Examples\n"
        "  kvmeasure simulate profile --shape v-groove --noise 0.02 --out part.csv\n"
        "  kvmeasure simulate scan --noise 0.02 --rotate 2 --out plate.kvs\n"
        "  kvmeasure simulate pass --wheelsets 8 --out train\n"};
    return runGroup(group, words);
}

int runCalibrate(const QStringList& words) {
    static const Group group{
        "calibrate",
        "Tables that turn sensor positions of a laser triangulation scanner into millimetres.",
        {{"simulate", "OUT", "makes the raw record of a scanner with a known mapping", runCalibrateSimulate},
         {"build", "RAW TABLE", "makes a table from a raw record", runCalibrateBuild},
         {"apply", "TABLE RAW OUT", "turns the positions of a record into profiles", runCalibrateApply},
         {"cut", "TABLE OUT", "empties margins and corners of a table", runCalibrateCut},
         {"mirror", "FILE OUT", "turns a record or the halves of a table upside down", runCalibrateMirror},
         {"info", "FILE...", "what a record or table holds", runCalibrateInfo},
         {"check", "TABLE", "error map against the truth or a second record", runCalibrateCheck}},
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
        "wheels",
        "Wheels of a train that passed a measuring post.",
        {{"detect", "PASS", "splits recordings into wheel files",
          [](const QStringList& rest) { return runWheelsOnPass("detect", rest); }},
         {"parameters", "PASS", "flange height, thickness, position and circle of each wheel",
          [](const QStringList& rest) { return runWheelsOnPass("parameters", rest); }},
         {"distances", "PASS", "distance from back to back of each wheelset",
          [](const QStringList& rest) { return runWheelsOnPass("distances", rest); }},
         {"defects", "PASS", "wheels whose tread has breakouts",
          [](const QStringList& rest) { return runWheelsOnPass("defects", rest); }},
         {"pass", "PASS", "all of them, with tables and a picture of each wheel",
          [](const QStringList& rest) { return runWheelsOnPass("pass", rest); }}},
        "PASS is a folder of recordings, or the recordings; parameters takes sections as CSV too.\n"
        "wheels.md in share/doc/kvmeasure/docs (docs of the sources) says what the values mean.\n\n"
        "Examples\n"
        "  kvmeasure simulate pass --wheelsets 8 --out train\n"
        "  kvmeasure wheels pass train --out train/results\n"
        "  kvmeasure wheels parameters section.csv --diameter 920 --svg section.svg\n"};
    return runGroup(group, words);
}

}  // namespace

int runCommand(const QStringList& words) {
    static const Group program{
        "",
        "kvmeasure: finds templates of straight lines in laser scanner profiles and measures them",
        {{"info", "", "what a file holds: records, counts, ranges", runInfo},
         {"filter", "", "smooths, cleans and trims profiles", runFilter},
         {"lines", "", "contours and straight segments of a profile", runLines},
         {"teach", "", "makes a template from a good part", runTeach},
         {"match", "", "finds a template in profiles and measures them", runMatch},
         {"fit", "", "fits a line, parabola, circle or plane, with residuals", runFit},
         {"scan", "", "3D scans: outlines, planes, grids, sections, conversion", runScan},
         {"simulate", "", "makes profiles, scans and train passes with known dimensions", runSimulate},
         {"wheels", "", "wheels of a train that passed a measuring post", runWheels},
         {"calibrate", "", "builds, applies and checks tables of a triangulation scanner", runCalibrate}},
        QString("Examples\n"
                "  kvmeasure simulate profile --shape square-groove --noise 0.02 --out part.csv\n"
                "  kvmeasure teach part.csv --longest 3 --measure \"depth = distance 1 2\" --out part.json\n"
                "  kvmeasure match part.csv --template part.json --svg part.svg\n\n") +
            exitCodes() +
            "\"kvmeasure help --man\" writes the manual page, \"kvmeasure help --bash\" the completion for "
            "bash.\n"
            "Guides and file formats are in share/doc/kvmeasure, beside the bin folder.\n"};
    if (words.value(0) == "help")
        return runHelp(program, words.mid(1));
    return runGroup(program, words);
}

}  // namespace KvMeasure
