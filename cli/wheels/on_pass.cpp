// Commands on the recordings of a pass share one course: find the recordings, split them, measure what the
// command asks for, write, report. Faults of single recordings are said at the end, when all that could be
// measured is written.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/profile/text_options.h"
#include "cli/publishing.h"
#include "cli/terminal_progress.h"
#include "cli/wheels/pass_report.h"
#include "cli/wheels/section_list.h"
#include "cli/wheels/sections.h"
#include "cli/wheels/stored_pass.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/own_folder.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/rendering.h>
#include <kvmeasure/report/pass_limits.h>
#include <kvmeasure/report/wheel_report.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include <QtCore/QJsonArray>

namespace KvMeasure {

namespace {

const Option sharedOptions[] = {
    {"--settings", "FILE", "settings of the post (settings.ini beside the recordings)"},
    {"--work", "DIR", "directory of the wheel files (\"wheels/work\" beside the recordings; OUT/work)"},
    {"--mode",
     "N",
     "of the detection: 0, or 3, which takes straight runs of points away first (0)",
     {"0", "3"}},
    {"--join", "N", "runs at most N records apart are one wheel with lost profiles (3)"},
};
const Option kindOption = {"--kind", "NAME", "basic, tram or loko (basic)", wheelKinds()};
const Option nominalOption = {"--nominal", "MM",
                              "flange height that the deviation counts from (basic: 30 for heights from 29 "
                              "on, else 28; tram 24, loko 30)"};

const QStringList pictureForms{"svg", "pdf", "png"};

Usage usageOf(const QString& action) {
    Usage usage{"wheels " + action, "FOLDER|RECORDING...", "", {}, ""};
    usage.options.assign(std::begin(sharedOptions), std::end(sharedOptions));
    if (action == "detect") {
        usage.summary = "Splits recordings into wheel files WORK/RECORDING/WW_PP.bin.";
        usage.details = "Examples\n  kvmeasure wheels detect train\n"
                        "  kvmeasure wheels detect train/pass_1004.bin --work files --join 0\n";
    } else if (action == "parameters") {
        usage.operands = "FOLDER|RECORDING...|SECTION...";
        usage.summary = "Measures the circle and the section of each wheel, or sections from files.";
        usage.options.push_back(kindOption);
        usage.options.push_back(nominalOption);
        usage.options.push_back(
            {"--back", "MM",
             "sections: lateral position of the flange back (where the section is upright, else its end)"});
        usage.options.push_back(
            {"--diameter", "MM", "sections: of the wheel at height 0; it or --radii give the radius"});
        usage.options.push_back({"--radii", "", "sections: the second column holds radii, not heights"});
        usage.options.push_back(
            {"--svg", "PICTURE", "sections: draw the section, or each into PICTURE-NAME"});
        usage =
            with(with(withTextOptions(with(usage, gaugeOptions())), storeOptions()), sectionListOptions());
        usage.details =
            "A section is the file of a gauge (.whl, .ban, .prw and the like), CSV, or a profile record. It "
            "may be\nmirrored, upside down or on its side: its shape tells. Sh, Sd and qR are those of "
            "gauges; "
            "the flange\nsteepness ends 13 mm above the tread, qR 10 mm.\n\nExamples\n"
            "  kvmeasure wheels parameters train --kind loko\n"
            "  kvmeasure wheels parameters left.whl right.whl --limits limits.csv\n"
            "  kvmeasure wheels parameters section.csv --diameter 920 --svg section.svg\n";
    } else if (action == "distances") {
        usage.summary = "Measures the distance from back to back of each wheelset.";
        usage.details = "Examples\n  kvmeasure wheels distances train\n";
    } else if (action == "defects") {
        usage.summary = "Looks for wheels whose tread has breakouts.";
        usage.details = "Examples\n  kvmeasure wheels defects train\n";
    } else {
        usage.summary = "Detects, measures and searches all wheels of a pass.";
        usage.options.push_back(kindOption);
        usage.options.push_back(nominalOption);
        usage.options.push_back({"--out", "DIR",
                                 "wheels.csv, wheels.json, values.bin, pictures (\"wheels\" beside "
                                 "the recordings)"});
        usage.options.push_back({"--pictures", "FORM", "of each wheel: svg, pdf or png (svg)", pictureForms});
        usage.options.push_back({"--no-pictures", "", "no picture of each wheel"});
        usage.options.push_back(
            {"--limits", "FILE", "table of limits; the exit code is 1 where a value is out of them"});
        usage.options.push_back(passReportOption());
        usage.options.push_back(mqttOption("publish each wheelset as a JSON line to an MQTT broker"));
        usage.options.push_back(
            {"--vehicles", "LIST",
             "with --limits: wheelsets of each vehicle, e.g. 4,4,6; the last number for all "
             "that follow"});
        usage.options.push_back({"--bogies", "LIST", "with --limits: wheelsets of each bogie, likewise"});
        usage = with(usage, storeOptions());
        usage.details =
            "U (k = 2) beside a value is what the noise and the steps of the points make of it; "
            "the calibration of\nthe post is not in it. The flange steepness ends 13 mm above "
            "the tread, the qR of gauges 10 mm.\n\nExamples\n  kvmeasure wheels pass train --out results\n"
            "  kvmeasure wheels pass train --limits limits.csv --report train.html\n";
    }
    return usage;
}

struct Plan {
    WheelColumns columns;
    Splitting splitting;
    QString out;  ///< of pass
    ValueOptions values;
    bool hasPictures = false;
    QString pictureForm;  ///< the ending of their names
    std::optional<PassLimits> limits;
};

QString beside(const QStringList& operands) {
    const QFileInfo first(operands.first());
    return first.isDir() ? operands.first() : first.path();
}

Plan readPlan(const QString& action, const Arguments& arguments) {
    constexpr int kAnyCount = 1'000'000;
    Plan plan;
    const bool isPass = action == "pass";
    plan.columns = {isPass || action == "parameters", isPass || action == "distances",
                    isPass || action == "defects"};
    plan.out = arguments.has("--out") ? arguments.text("--out") : beside(arguments.operands()) + "/wheels";
    plan.splitting.work = arguments.has("--work") ? arguments.text("--work") : plan.out + "/work";
    plan.splitting.mode = arguments.choice("--mode") == 1 ? 3 : 0;
    plan.splitting.join = arguments.integer("--join", plan.splitting.join, 0, kAnyCount);
    plan.hasPictures = isPass && !arguments.has("--no-pictures");
    if (!plan.hasPictures && arguments.has("--pictures"))
        throw Error("wheels pass: --pictures and --no-pictures exclude each other; give one of them");
    plan.pictureForm = pictureForms.at(arguments.choice("--pictures"));
    requireFormat(pictureFormatOf("." + plan.pictureForm));
    plan.values = readValueOptions(arguments);
    return plan;
}

void sayWhatIsThere(const QList<Recording>& recordings, const Plan& plan, bool isPass) {
    const int files = filesOfEarlierPass(recordings, plan.splitting.work);
    if (files > 0)
        complain(filledIn("%1: holds %2 wheel files of an earlier pass, which are replaced",
                          plan.splitting.work, files));
    if (isPass && QFileInfo::exists(plan.out + "/wheels.csv"))
        complain(plan.out + ": holds the results of an earlier pass, which are overwritten");
}

QString pictureName(int wheelset, int side, const QString& form) {
    return QString::asprintf("wheel_%02d_", wheelset) + sideName(side) + '.' + form;
}

void draw(const MeasuredSection& section, const WheelsetResult& wheelset,
          const std::vector<LimitVerdict>& verdicts, const QString& folder, const QString& form) {
    writePicture(folder + '/' + pictureName(section.wheelset, section.side, form),
                 [&] { return drawWheel(wheelPictureOf(section, wheelset, verdicts)); });
}

void makeFolder(const QString& path) {
    if (!QDir().mkpath(path))
        throw Error(QString("%1: cannot be made or is no directory; name another one").arg(path));
}

void measure(WheelPass& pass, Plan& plan, PassReport& report) {
    const QString pictures = plan.out + "/pictures";
    if (plan.hasPictures) {
        makeFolder(pictures);
        QStringList names;
        for (int wheelset = 1; wheelset <= pass.wheelsets().size(); ++wheelset) {
            for (const int side : {Left, Right})
                names << pictureName(wheelset, side, plan.pictureForm);
        }
        OwnFiles(pictures).replace(names);
    }
    if (plan.columns.hasDistances)
        pass.measureDistances();
    if (plan.columns.hasDefects)
        pass.searchDefects();
    if (plan.columns.hasSections)
        pass.measureSections(plan.values, [&](const MeasuredSection& section) {
            const WheelsetResult& wheelset = pass.wheelsets().at(section.wheelset - 1);
            std::vector<LimitVerdict> verdicts;
            if (plan.limits)
                verdicts = plan.limits->take(section, wheelset.wheels[section.side]);
            report.add(section, wheelset, verdicts);
            if (plan.hasPictures)
                draw(section, wheelset, verdicts, pictures, plan.pictureForm);
        });
    if (plan.limits)
        plan.limits->judgeAll(pass.wheelsets(), plan.columns.hasDistances);
}

/// The files of the results belong to this run from here on.
void claimResults(const Plan& plan, FolderLock& lock) {
    if (!isSameFile(plan.out, plan.splitting.work))  // held already
        lock.take(plan.out);
    OwnFiles(plan.out).claim({"wheels.csv", "values.bin", "wheels.json"});
}

QJsonObject jsonOf(const WheelPass& pass, const Plan& plan) {
    QJsonObject json = wheelJson(pass, plan.columns);
    if (plan.limits)
        plan.limits->addTo(json);
    return json;
}

void writeResults(const WheelPass& pass, const Plan& plan) {
    writeOutputFile(plan.out + "/wheels.csv", wheelCsv(pass.wheelsets(), plan.columns));
    writeOutputFile(plan.out + "/values.bin", wheelRecords(pass.wheelsets()));
    writeOutputFile(plan.out + "/wheels.json", QJsonDocument(jsonOf(pass, plan)).toJson());
}

/// Recordings that the columns need and nobody gave.
QStringList missingScanners(const WheelPass& pass, const WheelColumns& columns) {
    QStringList missing;
    for (const int index : {1, 2, 3, 4, 5, 11, 12, 13}) {
        const bool isNeeded =
            seesSections(index) ? columns.hasSections || columns.hasDefects : columns.hasDistances;
        const auto isIt = [&](const Recording& recording) { return recording.index == index; };
        if (isNeeded && std::none_of(pass.recordings().begin(), pass.recordings().end(), isIt))
            missing.append(sensorName(index));
    }
    return missing;
}

QString summary(const WheelPass& pass, const Plan& plan, const QStringList& skipped) {
    int complete = 0, noted = 0, defective = 0, distances = 0;
    for (const WheelsetResult& wheelset : pass.wheelsets()) {
        distances += std::isfinite(wheelset.backToBack) ? 1 : 0;
        for (const WheelResult& wheel : wheelset.wheels) {
            complete += wheel.isComplete() && wheel.notes.isEmpty() ? 1 : 0;
            noted += wheel.notes.isEmpty() ? 0 : 1;
            defective += wheel.defect > 0 ? 1 : 0;
        }
    }
    QString text = QString("%1 wheelset(s)").arg(pass.wheelsets().size());
    if (plan.columns.hasSections)
        text += QString(", %1 wheel(s) measured completely").arg(complete);
    if (plan.columns.hasSections && noted > 0)
        text += QString(", %1 with notes").arg(noted);
    if (plan.columns.hasDistances)
        text += QString(", %1 distance(s)").arg(distances);
    if (plan.columns.hasDefects)
        text += QString(", %1 defective wheel(s)").arg(defective);
    text += '\n';
    for (const QString& note : pass.notes() + skipped)
        text += "  " + printable(note) + '\n';
    return text;
}

bool isAllGood(const WheelPass& pass, const WheelColumns& columns) {
    for (const WheelsetResult& wheelset : pass.wheelsets()) {
        if ((columns.hasDistances && !std::isfinite(wheelset.backToBack)) || !wheelset.notes.isEmpty())
            return false;
        for (const WheelResult& wheel : wheelset.wheels) {
            if (!wheel.notes.isEmpty() || (columns.hasSections && !wheel.isComplete()) ||
                (columns.hasDefects && wheel.defect != 0))
                return false;
        }
    }
    return !pass.wheelsets().isEmpty();
}

/// Damaged and missing recordings end the program with 2 when all that could be measured is written.
void complain(const WheelPass& pass, const QStringList& missing) {
    QStringList faults;
    for (const Recording& recording : pass.recordings()) {
        if (recording.damagedAt >= 0)
            faults.append(filledIn("%1 is damaged at byte %2", recording.path, recording.damagedAt));
    }
    if (!missing.isEmpty())
        faults.append("there is no recording of " + missing.join(", "));
    if (!faults.isEmpty())
        throw Error("wheels: " + faults.join("; ") + "; what the others tell is measured and written");
}

/// Everything that works on the recordings of a pass.
int runOnPass(const QString& action, const QStringList& words) {
    const Usage usage = usageOf(action);
    const Arguments arguments(usage, words);
    if (action == "parameters") {
        if (arguments.has("--files-from"))
            return measureSections(usage, arguments);
        arguments.requireWith({"--out", "--jobs", "--stats"}, "--files-from");
    }
    arguments.requireOperands(100'000);
    Plan plan = readPlan(action, arguments);
    const QString first = arguments.operands().first();
    if (action == "parameters" && !QFileInfo(first).isDir() && !first.endsWith(".bin"))
        return measureSections(usage, arguments);
    arguments.requireWith({"--vehicles", "--bogies"}, "--limits");
    if (arguments.has("--limits")) {
        plan.limits.emplace(readWheelLimits(arguments.text("--limits")), readAxles(arguments, "--vehicles"),
                            readAxles(arguments, "--bogies"));
        plan.values.hasGaugeValues = true;
    }
    if (arguments.has("--back"))
        throw Error("wheels parameters: --back is for sections; in recordings the flange back is looked for");
    for (const QString& operand : arguments.operands()) {
        if (!QFileInfo::exists(operand))
            throw Error(operand + ": no such file or directory");
    }
    for (const char* option : {"--diameter", "--radii", "--svg", "--columns", "--unit", "--pitch", "--unset",
                               "--l1", "--l2", "--l3", "--widths", "--reference", "--align"}) {
        if (arguments.has(option))
            throw Error(QString("wheels parameters: %1 is of sections; these are recordings").arg(option));
    }
    const QString settingsFile = arguments.has("--settings") ? arguments.text("--settings")
                                                             : beside(arguments.operands()) + "/settings.ini";
    PostSettings settings(settingsFile);
    const std::optional<MqttPlace> broker = brokerOf(arguments);
    QStringList skipped;
    const QList<Recording> recordings = findRecordings(arguments.operands(), settings, skipped);
    PassReport report(arguments);
    StoredParts store(arguments);
    sayWhatIsThere(recordings, plan, action == "pass");
    WheelPass pass(recordings, settings, terminalProgress());
    pass.split(plan.splitting);
    FolderLock results;
    if (action == "pass")
        claimResults(plan, results);
    store.beginWithOptions(settingsFile);
    measure(pass, plan, report);
    if (action == "pass")
        writeResults(pass, plan);
    QJsonObject json = jsonOf(pass, plan);
    json["skipped"] = QJsonArray::fromStringList(skipped);
    if (arguments.isJson()) {
        printJson(json);
    } else {
        print((action == "detect" ? runTable(pass) : wheelTable(pass.wheelsets(), plan.columns)) + '\n' +
              (plan.limits ? plan.limits->text() + '\n' : QString()) + summary(pass, plan, skipped));
    }
    report.write(json);
    addPass(store, pass, plan.columns, plan.limits ? &*plan.limits : nullptr);
    const bool isGood = isAllGood(pass, plan.columns) && (!plan.limits || plan.limits->isGood());
    const int code = publish(broker, json["wheelsets"].toArray(), store.finishWith(isGood ? Done : NotMet));
    complain(pass, missingScanners(pass, plan.columns));
    return code;
}

}  // namespace

int runWheelsDetect(const QStringList& words) { return runOnPass("detect", words); }
int runWheelsParameters(const QStringList& words) { return runOnPass("parameters", words); }
int runWheelsDistances(const QStringList& words) { return runOnPass("distances", words); }
int runWheelsDefects(const QStringList& words) { return runOnPass("defects", words); }
int runWheelsPass(const QStringList& words) { return runOnPass("pass", words); }

}  // namespace KvMeasure
