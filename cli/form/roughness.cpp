// "kvmeasure form roughness".

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/form/points.h"
#include "cli/pictures.h"
#include "cli/scan/course.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/zone_picture.h>
#include <kvmeasure/form/roughness.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage& usage() {
    static const Usage all = with(
        {"form roughness",
         "PROFILE",
         "Roughness and waviness of a profile by the Gaussian filter (ISO 16610-21).",
         {{"--cutoff", "MM", "lambda c, which parts waviness and roughness; the sampling length"},
          {"--short-cutoff", "MM", "lambda s: shorter waves are taken away first (none)"},
          {"--norm",
           "21920|4287",
           "over the evaluation length, or means of sampling lengths (21920)",
           {"21920", "4287"}},
          {"--robust", "", "the mean line does not follow stray points (ISO 16610-31)"},
          {"--keep-ends", "", "half a cut-off at each end counts, though the filter is one-sided there"},
          {"--svg", "PICTURE", "draw the roughness profile"}},
         "The least-squares line is taken away first. Half a cut-off at each end is left out, then as many "
         "whole sampling\n"
         "lengths are taken as there are. ISO 21920-2 takes Ra, Rq, Rsk, Rku over all of them, ISO 4287 "
         "their "
         "means over\n"
         "each; Rz, Rp, Rv are means in both, Rt is of all. Missing points weigh nothing. A laser line sees "
         "no "
         "waves\n"
         "shorter than twice its pitch: its roughness is below that of a stylus. JSON is in mm. Exit code 1: "
         "no values.\n\n"
         "Examples\n"
         "  kvmeasure form roughness line.csv --cutoff 0.8\n"
         "  kvmeasure form roughness line.csv --cutoff 0.8 --norm 4287 --robust --json\n"
         "  kvmeasure form roughness plate.kvs --at-x 12 --cutoff 2.5\n"},
        profileOptions());
    return all;
}

RoughnessSettings readSettings(const Arguments& arguments) {
    constexpr double kLeast = 1e-6, kMost = 1e6;
    RoughnessSettings settings;
    arguments.required("--cutoff", "it is lambda c, e.g. 0.8");
    settings.cutoff = arguments.number("--cutoff", settings.cutoff, kLeast, kMost);
    settings.shortCutoff = arguments.number("--short-cutoff", 0, kLeast, kMost);
    if (settings.shortCutoff >= settings.cutoff)
        throw Error("form roughness: --short-cutoff must be below --cutoff");
    settings.norm = arguments.choice("--norm") == 1 ? RoughnessNorm::Iso4287 : RoughnessNorm::Iso21920;
    settings.isRobust = arguments.has("--robust");
    settings.keepsEnds = arguments.has("--keep-ends");
    return settings;
}

void addValues(const RoughnessValues& values, bool isValid, Facts& facts) {
    constexpr double kMicrometres = 1000;
    const struct {
        const char* key;
        double value;
        bool isLength;
    } rows[] = {{"Ra", values.ra, true},    {"Rq", values.rq, true},    {"Rz", values.rz, true},
                {"Rp", values.rp, true},    {"Rv", values.rv, true},    {"Rt", values.rt, true},
                {"Rsk", values.rsk, false}, {"Rku", values.rku, false}, {"RSm", values.rsm, true},
                {"Wa", values.wa, true},    {"Wz", values.wz, true}};
    for (const auto& row : rows) {
        if (isValid)
            facts.add(row.key, QString(row.key) + (row.isLength ? ", um" : ""),
                      std::isnan(row.value)
                          ? QString("-")
                          : QString::number(row.value * (row.isLength ? kMicrometres : 1), 'g', 6),
                      jsonNumber(row.value));
        else
            facts.json[row.key] = QJsonValue();
    }
}

void draw(const Arguments& arguments, const Roughness& result, const QString& what) {
    if (!arguments.has("--svg") || !result.reason.isEmpty())
        return;
    ZonePicture picture;
    picture.title = QFileInfo(arguments.operand(0)).completeBaseName();
    picture.subtitle = what + filledIn(": Ra %1 um, Rz %2 um; the band is of height Rz",
                                       QString::number(result.values.ra * 1000, 'g', 5),
                                       QString::number(result.values.rz * 1000, 'g', 5));
    picture.upward = "roughness, mm";
    picture.isJoined = true;
    picture.from = -result.values.rv;
    picture.to = result.values.rp;
    for (std::size_t i = 0; i < result.x.size(); ++i) {
        if (result.x[i] >= result.from && result.x[i] <= result.to)
            picture.points.emplace_back(result.x[i], result.heights[i]);
    }
    writePicture(arguments.text("--svg"), [&] { return drawZone(picture); });
}

}  // namespace

int runFormRoughness(const QStringList& words) {
    const Arguments arguments(usage(), words, 1, 1);
    refuseOverwriting({arguments.text("--svg")}, arguments.operands());
    const RoughnessSettings settings = readSettings(arguments);
    const FormPoints<Vector> taken = takePlanePoints(arguments);
    Roughness result = roughness(taken.points, settings);
    if (taken.interpolated > 0)
        result.notes +=
            filledIn("%1 of %2 heights lie between measured ones, which smooths them: the roughness is "
                     "stated too small",
                     taken.interpolated, taken.points.size());
    const bool isValid = result.reason.isEmpty();
    const QString norm = settings.norm == RoughnessNorm::Iso4287 ? "ISO 4287" : "ISO 21920-2";
    Facts facts;
    addValues(result.values, isValid, facts);
    facts.add("sections", "sampling lengths", result.sections);
    facts.add("evaluationLength", "evaluation length, mm", isValid ? result.to - result.from : 0);
    facts.add("pitch", "pitch, mm", result.pitch);
    facts.add("points", "points", static_cast<double>(taken.points.size()));
    facts.add("unset", "unset", taken.unset);
    if (hasCourse(arguments))
        facts.add("interpolated", "interpolated", taken.interpolated);
    facts.json["norm"] = norm;
    facts.json["cutoff"] = settings.cutoff;
    facts.json["file"] = arguments.operand(0);
    facts.json["notes"] = QJsonArray::fromStringList(result.notes);
    if (!isValid)
        facts.json["reason"] = result.reason;
    draw(arguments, result, norm);
    if (arguments.isJson())
        printJson(facts.json);
    else if (!isValid)
        print(printable(arguments.operand(0)) + ": NO ROUGHNESS: " + result.reason + '\n');
    else
        print(printable(arguments.operand(0)) + ": roughness by " + norm + '\n' + facts.table.text() +
              result.notes.join('\n') + '\n');
    return isValid ? int(Done) : int(NotMet);
}

}  // namespace KvMeasure
