#include "kvmeasure/arguments.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/print.h"
#include "kvmeasure/wheel_picture.h"
#include "kvmeasure/wheel_report.h"
#include "kvmeasure/wheels.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace KvMeasure {

namespace {

const Option sharedOptions[] = {
    {"--settings", "FILE", "settings of the post (settings.ini beside the recordings)"},
    {"--work", "DIR", "directory of the wheel files (\"wheels/work\" beside the recordings; OUT/work)"},
    {"--mode", "N", "of the detection; 3 takes straight runs of points away first (0)"},
    {"--join", "N", "runs at most N records apart are one wheel with lost profiles (3)"},
};
const Option kindOption = {"--kind", "NAME", "basic, tram or loko (basic)", wheelKinds()};

Usage usageOf(const QString& action) {
    Usage usage{"wheels " + action, "FOLDER|RECORDING...", "", {}, ""};
    usage.options.assign(std::begin(sharedOptions), std::end(sharedOptions));
    if (action == "detect") {
        usage.summary = "Splits recordings into wheel files WORK/RECORDING/WW_PP.bin.";
        usage.details = "Examples\n  kvmeasure wheels detect train\n"
                        "  kvmeasure wheels detect train/pass_1004.bin --work files --join 0\n";
    } else if (action == "parameters") {
        usage.operands = "FOLDER|RECORDING...|SECTION.csv...";
        usage.summary = "Measures the circle and the section of each wheel, or the sections of text files.";
        usage.options.push_back(kindOption);
        usage.options.push_back({"--diameter", "MM", "sections: of the wheel at height 0 (920)"});
        usage.options.push_back({"--radii", "", "sections: the second column holds radii, not heights"});
        usage.options.push_back(
            {"--columns", "X,Y", "sections: columns of lateral position and height (1,2)"});
        usage.options.push_back({"--svg", "FILE", "sections: draw the section, or each into FILE-NAME"});
        usage.details =
            "Heights grow towards the flange tip. A section may run from either side: the flange tip "
            "tells.\n\nExamples\n"
            "  kvmeasure wheels parameters train --kind loko\n"
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
        usage.options.push_back({"--out", "DIR",
                                 "wheels.csv, wheels.json, values.bin, pictures (\"wheels\" beside "
                                 "the recordings)"});
        usage.options.push_back({"--no-pictures", "", "no picture of each wheel"});
        usage.details = "Examples\n  kvmeasure wheels pass train --out results\n";
    }
    return usage;
}

struct Plan {
    WheelColumns columns;
    Splitting splitting;
    QString out;  ///< of pass
    int kind = 0;
    bool hasPictures = false;
};

QString beside(const QStringList& operands) {
    const QFileInfo first(operands.first());
    return first.isDir() ? operands.first() : first.path();
}

Plan readPlan(const QString& action, const Arguments& arguments) {
    constexpr int anyCount = 1'000'000;
    Plan plan;
    const bool isPass = action == "pass";
    plan.columns = {isPass || action == "parameters", isPass || action == "distances",
                    isPass || action == "defects"};
    plan.out = arguments.has("--out") ? arguments.text("--out") : beside(arguments.operands()) + "/wheels";
    plan.splitting.work = arguments.has("--work") ? arguments.text("--work") : plan.out + "/work";
    plan.splitting.mode = arguments.integer("--mode", 0, 0, anyCount);
    plan.splitting.join = arguments.integer("--join", plan.splitting.join, 0, anyCount);
    plan.hasPictures = isPass && !arguments.has("--no-pictures");
    plan.kind = arguments.choice("--kind");
    return plan;
}

void say(const QString& text) { std::fprintf(stderr, "kvmeasure: %s\n", text.toUtf8().constData()); }

void sayWhatIsThere(const QList<Recording>& recordings, const Plan& plan, bool isPass) {
    const int files = filesOfEarlierPass(recordings, plan.splitting.work);
    if (files > 0)
        say(QString("%1: holds %2 wheel files of an earlier pass, which are replaced")
                .arg(plan.splitting.work)
                .arg(files));
    if (isPass && QFileInfo::exists(plan.out + "/wheels.csv"))
        say(plan.out + ": holds the results of an earlier pass, which are overwritten");
}

void draw(const MeasuredSection& section, const WheelsetResult& wheelset, const QString& folder) {
    const WheelResult& wheel = wheelset.wheels[section.side];
    WheelPicture picture;
    picture.title = QString("Wheelset %1, %2 wheel").arg(section.wheelset).arg(sideName(section.side));
    picture.subtitle = QString("record %1").arg(wheel.record);
    if (!std::isnan(wheelset.z))
        picture.subtitle +=
            QString(", %1 m of travel").arg(static_cast<double>(wheelset.z) / 1000, 0, 'f', 2);
    if (wheel.defect > 0)
        picture.subtitle += "; a scanner saw a DEFECT of the tread";
    picture.profile = section.profile;
    picture.places = section.places;
    picture.values = wheel.values;
    picture.radius = wheel.circle.radius;
    writeOutputFile(folder + QString::asprintf("/wheel_%02d_%s.svg", section.wheelset,
                                               sideName(section.side).toUtf8().constData()),
                    drawWheel(picture));
}

void makeFolder(const QString& path) {
    if (!QDir().mkpath(path))
        throw Failure{QString("%1: cannot be made or is no directory; name another one").arg(path)};
}

void measure(WheelPass& pass, const Plan& plan) {
    const QString pictures = plan.out + "/pictures";
    if (plan.hasPictures) {
        makeFolder(pictures);
        QDir folder(pictures);
        for (const QString& old : folder.entryList({"wheel_*.svg"}, QDir::Files))
            folder.remove(old);
    }
    if (plan.columns.hasDistances)
        pass.measureDistances();
    if (plan.columns.hasDefects)
        pass.searchDefects();
    if (plan.columns.hasSections)
        pass.measureSections(plan.kind, [&](const MeasuredSection& section) {
            if (plan.hasPictures)
                draw(section, pass.wheelsets().at(section.wheelset - 1), pictures);
        });
}

void writeResults(const WheelPass& pass, const Plan& plan) {
    writeOutputFile(plan.out + "/wheels.csv", wheelCsv(pass.wheelsets(), plan.columns));
    writeOutputFile(plan.out + "/values.bin", wheelRecords(pass.wheelsets()));
    writeOutputFile(plan.out + "/wheels.json", QJsonDocument(wheelJson(pass, plan.columns)).toJson());
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
    int complete = 0, defective = 0, distances = 0;
    for (const WheelsetResult& wheelset : pass.wheelsets()) {
        distances += std::isfinite(wheelset.backToBack) ? 1 : 0;
        for (const WheelResult& wheel : wheelset.wheels) {
            complete += wheel.isComplete() ? 1 : 0;
            defective += wheel.defect > 0 ? 1 : 0;
        }
    }
    QString text = QString("%1 wheelset(s)").arg(pass.wheelsets().size());
    if (plan.columns.hasSections)
        text += QString(", %1 wheel(s) measured completely").arg(complete);
    if (plan.columns.hasDistances)
        text += QString(", %1 distance(s)").arg(distances);
    if (plan.columns.hasDefects)
        text += QString(", %1 defective wheel(s)").arg(defective);
    text += '\n';
    for (const QString& note : pass.notes() + skipped)
        text += "  " + note + '\n';
    return text;
}

bool isAllGood(const WheelPass& pass, const WheelColumns& columns) {
    for (const WheelsetResult& wheelset : pass.wheelsets()) {
        if (columns.hasDistances && !std::isfinite(wheelset.backToBack))
            return false;
        for (const WheelResult& wheel : wheelset.wheels) {
            if ((columns.hasSections && !wheel.isComplete()) || (columns.hasDefects && wheel.defect != 0))
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
            faults.append(QString("%1 is damaged at byte %2").arg(recording.path).arg(recording.damagedAt));
    }
    if (!missing.isEmpty())
        faults.append("there is no recording of " + missing.join(", "));
    if (!faults.isEmpty())
        throw Failure{"wheels: " + faults.join("; ") + "; what the others tell is measured and written"};
}

int measureFiles(const Arguments& arguments) {
    constexpr double anyDiameter = 100'000;
    SectionOptions options;
    options.diameter = arguments.number("--diameter", 920, 1, anyDiameter);
    options.areRadii = arguments.has("--radii");
    options.columns = arguments.text("--columns");
    options.picture = arguments.text("--svg");
    options.kind = arguments.choice("--kind");
    options.isJson = arguments.has("--json");
    return measureSections(arguments.operands(), options);
}

}  // namespace

int runWheelsOnPass(const QString& action, const QStringList& words) {
    const Arguments arguments(usageOf(action), words);
    arguments.requireOperands(100'000);
    for (const QString& operand : arguments.operands()) {
        if (!QFileInfo::exists(operand))
            throw Failure{operand + ": no such file or directory"};
    }
    const Plan plan = readPlan(action, arguments);
    const QString first = arguments.operands().first();
    if (action == "parameters" && !QFileInfo(first).isDir() && !first.endsWith(".bin"))
        return measureFiles(arguments);
    PostSettings settings(arguments.has("--settings") ? arguments.text("--settings")
                                                      : beside(arguments.operands()) + "/settings.ini");
    QStringList skipped;
    const QList<Recording> recordings = findRecordings(arguments.operands(), settings, skipped);
    sayWhatIsThere(recordings, plan, action == "pass");
    WheelPass pass(recordings, settings);
    pass.split(plan.splitting);
    measure(pass, plan);
    if (action == "pass")
        writeResults(pass, plan);
    if (arguments.has("--json")) {
        QJsonObject json = wheelJson(pass, plan.columns);
        json["skipped"] = QJsonArray::fromStringList(skipped);
        printJson(json);
    } else {
        print((action == "detect" ? runTable(pass) : wheelTable(pass.wheelsets(), plan.columns)) + '\n' +
              summary(pass, plan, skipped));
    }
    complain(pass, missingScanners(pass, plan.columns));
    return isAllGood(pass, plan.columns) ? Done : NotMet;
}

}  // namespace KvMeasure
