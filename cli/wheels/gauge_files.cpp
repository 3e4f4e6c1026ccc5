// kvmeasure wheels info, wheels import: what files of gauges hold, and their points as CSV.

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/wheels/gauge_section.h>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage& infoUsage() {
    static const Usage all = withTextOptions({"wheels info",
                                              "FILE...",
                                              "Tells what files of gauges hold: wheel or rail, side, how the "
                                              "points lie, and all fields of the header.",
                                              {},
                                              "Examples\n  kvmeasure wheels info left.whl rail.ban\n"});
    return all;
}

const Usage& importUsage() {
    static const Usage all = withTextOptions(
        {"wheels import",
         "FILE OUT",
         "Writes the points of a gauge's file as CSV, upright: a wheel from its flange back to the field "
         "side.",
         {{"--back", "MM", "place of a wheel's flange back in the file (as the file states it)"}},
         "A wheel has x from the flange back (from its innermost point where the place of the back is not "
         "known)\nand z up to the flange tip; a rail x as in the file and z upwards.\n\nExamples\n"
         "  kvmeasure wheels import left.whl left.csv\n"});
    return all;
}

const char* formWord(GaugeForm form) {
    const char* const names[] = {"KEY=VALUE", "blocks", "table or records"};
    return names[static_cast<int>(form)];
}

QString zeroWord(GaugeZero zero) {
    const char* const names[] = {"not stated", "flange back", "running circle"};
    return names[static_cast<int>(zero)];
}

/// A section of either object.
struct Upright {
    GaugeObject object = GaugeObject::Unknown;
    std::vector<Vector> points;
    SectionTurn turn;
    QString reason;
    QStringList notes;
};

Upright uprightOf(const GaugeProfile& file, double back) {
    Upright result;
    const WheelSection wheel = wheelSection(file, back);
    if (wheel.isWheel()) {
        result = {GaugeObject::Wheel, wheel.points, wheel.turn, wheel.backReason, wheel.notes};
        return result;
    }
    const RailSection rail = railSection(file);
    if (rail.isRail())
        return {GaugeObject::Rail, rail.points, rail.turn, {}, rail.notes};
    result.reason = file.object == GaugeObject::Rail ? rail.reason : wheel.reason;
    return result;
}

QJsonObject headerJson(const GaugeProfile& file) {
    QJsonObject header;
    for (const GaugeField& field : file.header)
        header[field.name] = field.value;
    return header;
}

}  // namespace

int runWheelsInfo(const QStringList& words) {
    const Arguments arguments(infoUsage(), words);
    arguments.requireOperands(kAnyNumber);
    const TextOptions options = readTextOptions(arguments);
    QJsonArray array;
    bool areSections = true;
    const int code = forEachFile(arguments.operands(), [&](const QString& path) {
        const GaugeProfile file = readGaugeProfile(path, options);
        const Upright upright = uprightOf(file, std::nan(""));
        areSections = areSections && upright.object != GaugeObject::Unknown;
        const QStringList notes = file.notes + upright.notes;
        Span x, y;
        for (const Vector& p : file.points) {
            x.add(p.x);
            y.add(p.y);
        }
        Table table({"", "value"});
        const std::pair<const char*, QString> rows[] = {
            {"form", formWord(file.form)},
            {"of a", objectName(upright.object)},
            {"side", file.side.isEmpty() ? QString("-") : file.side},
            {"points", QString::number(file.points.size())},
            {"x", x.text()},
            {"y", y.text()},
            {"x counts from", zeroWord(file.zero)},
            {"notes", (upright.reason.isEmpty() ? notes : notes + QStringList{upright.reason}).join("; ")}};
        for (const auto& [what, value] : rows)
            table.add({what, value});
        for (const GaugeField& field : file.header) {
            if (!field.value.isEmpty())
                table.add({field.name, field.value});
        }
        array.append(QJsonObject{{"file", path},
                                 {"form", formWord(file.form)},
                                 {"object", objectName(upright.object)},
                                 {"side", file.side.isEmpty() ? QJsonValue() : QJsonValue(file.side)},
                                 {"points", static_cast<int>(file.points.size())},
                                 {"x", x.json()},
                                 {"y", y.json()},
                                 {"zero", zeroWord(file.zero)},
                                 {"turned", upright.turn.text()},
                                 {"reason", upright.reason},
                                 {"notes", QJsonArray::fromStringList(notes)},
                                 {"header", headerJson(file)}});
        if (!arguments.isJson())
            print(printable(path) + '\n' + table.text() + '\n');
    });
    if (arguments.isJson())
        printJson({{"files", array}});
    return code != Done ? code : (areSections ? Done : NotMet);
}

int runWheelsImport(const QStringList& words) {
    constexpr double kAnywhere = 1e6;
    const Arguments arguments(importUsage(), words, 2, 2);
    const QString path = arguments.operand(0), out = arguments.operand(1);
    refuseOverwriting({out}, {path});
    const double back = arguments.number("--back", std::nan(""), -kAnywhere, kAnywhere);
    const GaugeProfile file = readGaugeProfile(path, readTextOptions(arguments));
    const Upright upright = uprightOf(file, back);
    if (upright.object == GaugeObject::Unknown)
        throw Error(path + ": " + upright.reason).inFile(path);
    QByteArray text = "x_mm,z_mm\n";
    constexpr int kDecimals = 6;
    for (const Vector& p : upright.points)
        text +=
            QByteArray::number(p.x, 'f', kDecimals) + ',' + QByteArray::number(p.y, 'f', kDecimals) + '\n';
    writeOutputFile(out, text);
    QStringList notes = file.notes + upright.notes;
    if (!upright.reason.isEmpty())
        notes.append(upright.reason);
    const auto count = static_cast<qint64>(upright.points.size());
    if (arguments.isJson())
        printJson({{"file", path},
                   {"out", out},
                   {"object", objectName(upright.object)},
                   {"points", count},
                   {"notes", QJsonArray::fromStringList(notes)}});
    else
        print(printable(out) + ": " + objectName(upright.object) + " of " + counted(count, "point") +
              (notes.isEmpty() ? QString() : "; " + printable(notes.join("; "))) + '\n');
    return Done;
}

}  // namespace KvMeasure
