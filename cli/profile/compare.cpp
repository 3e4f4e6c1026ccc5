// compare: a profile against a master. What the plan says holds where no option does. Files that hold scans
// go on to cli/scan/comparison.cpp.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/profile/options.h"
#include "cli/profile/text_options.h"
#include "cli/scan/comparison.h"
#include "cli/scan/options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/comparison_picture.h>
#include <kvmeasure/inspection/comparison.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage usage = withScanForms(withTextOptions(
    {"compare",
     "FILE",
     "Compares a profile or a scan with a master: how far each point lies off the surface that it should "
     "have.",
     {{"--master", "FILE",
       "profile or scan of a good part, or of the nominal shape; \"plane\": for scans, the plane that most "
       "of "
       "the points lie on; \"plane A,B,C\": height = A*x + B*scan + C"},
      {"--align",
       "template|registration|none",
       "how the part is laid on the master first: by the lines of a template (profiles), by all points, or "
       "not "
       "at all (registration; with a plane none)",
       {"template", "registration", "none"}},
      {"--plan", "FILE",
       "a plan: its master, alignment and band, unless given here, its filter steps, and the template for "
       "--align template (without one the five longest lines of the master)"},
      {"--band", "A,B", "deviations that are allowed, mm, e.g. -0.05,0.1"},
      {"--keep-all", "",
       "points that lie far off take part in the registration too, and strays of scans count"},
      {"--svg", "PICTURE", "draw both, and the deviations magnified; of a scan a coloured map"},
      {"--ply", "FILE", "scan to write, laid on the master, with a deviation and a colour per point"},
      {"--record", "N", "compare profiles, also of scans: which one of a file with several, from 0 (0)"}},
     "A deviation is square to the master, in mm, positive outside the material: above the master, on a wall "
     "to the\n"
     "left of the scan. Points beyond the ends of the master are not compared. The registration leaves "
     "points out that\n"
     "lie farther off than 3.5 deviations. A motion that the master does not determine, as a shift along a "
     "straight\n"
     "line, is not made, and is said. Exit code 1: a point is outside the band, or nothing can be "
     "compared.\n\n"
     "Two files with scans of several profiles are compared as scans; text is a scan where --axes is given. "
     "Places of scans\n"
     "are x, height, scan.\n\n"
     "Examples\n"
     "  kvmeasure compare part.csv --master good.csv --svg compared.svg\n"
     "  kvmeasure compare part.csv --master nominal.csv --align none --band -0.1,0.1 --json\n"
     "  kvmeasure compare part.kvs --master good.kvs --band -0.1,0.1 --svg map.png --ply deviations.ply\n"
     "  kvmeasure compare plate.ply --master plane\n"}));

/// The plan of --plan; an empty one where it is not given.
InspectionPlan takePlan(const Arguments& arguments) {
    if (!arguments.has("--plan"))
        return {};
    InspectionPlan plan = readPlan(arguments.text("--plan"));
    if (!plan.master && !arguments.has("--master"))
        throw Error("compare: the plan has no master: give one with --master");
    if (!plan.master && arguments.text("--align") != "template")
        throw Error("compare: --plan goes with --align template, or holds a master");
    return plan;
}

/// Its template: the part has gone through the filter steps, and the master does not.
InspectionPlan templateAlone(InspectionPlan plan) {
    plan.master.reset();
    plan.filter.clear();
    plan.tools.clear();
    return plan;
}

ComparisonSettings readSettings(const Arguments& arguments, const InspectionPlan& plan) {
    constexpr Alignment kAlignments[] = {Alignment::Template, Alignment::Registration, Alignment::None};
    ComparisonSettings settings;
    if (plan.master) {
        settings.alignment = plan.master->alignment;
        settings.registration.isRobust = !plan.master->keepsAll;
        settings.lower = plan.master->lower;
        settings.upper = plan.master->upper;
    }
    if (arguments.has("--align"))
        settings.alignment = kAlignments[arguments.choice("--align")];
    if (settings.alignment == Alignment::Template)
        settings.plan = templateAlone(plan);
    if (arguments.has("--keep-all") && settings.alignment != Alignment::Registration)
        throw Error("compare: --keep-all goes with --align registration");
    if (arguments.has("--keep-all"))
        settings.registration.isRobust = false;
    arguments.pair("--band", settings.lower, settings.upper);
    if (!(settings.lower <= settings.upper))
        throw Error("compare: --band needs the least deviation first, e.g. -0.05,0.1");
    return settings;
}

LoadedProfile takeMaster(const Arguments& arguments, const InspectionPlan& plan) {
    if (!arguments.has("--master")) {
        LoadedProfile master;
        master.profile = plan.master->profile;
        master.name = plan.master->file.isEmpty() ? arguments.text("--plan") : plan.master->file;
        master.stem = plan.master->name;
        return master;
    }
    const QString path = arguments.text("--master");
    ProfileSequence sequence(path, readTextOptions(arguments), ScanOptions());
    LoadedProfile master;
    if (!sequence.next(master))
        throw Error(path + ": holds no profile");
    complainOf(master);
    return master;
}

QJsonArray freeMotions(const Registration& registration, bool onlyFree) {
    QJsonArray list;
    for (const MotionPart& part : registration.parts) {
        if (onlyFree && !part.isFree)
            continue;
        QJsonObject object{{"text", part.text()},
                           {"kind", part.isTurn ? "turn" : "shift"},
                           {"information", jsonNumber(part.information)}};
        object[part.isTurn ? "pole" : "direction"] = jsonPoint(part.isTurn ? part.pole : part.direction);
        if (!onlyFree) {
            object["u"] = jsonNumber(part.uncertainty);
            object["unit"] = part.isTurn ? "deg" : "mm";
        }
        list.append(object);
    }
    return list;
}

QString freeText(const Registration& registration) {
    QStringList texts;
    for (const MotionPart& part : registration.parts) {
        if (part.isFree)
            texts.append(part.text());
    }
    return texts.join("; ");
}

/// One deviation with its place on the master.
void addExtreme(const Comparison& result, const char* key, const QString& what, int number, Facts& facts) {
    const Deviation& deviation = result.deviations[std::size_t(number)];
    facts.add(key, what,
              filledIn("%1 at x %2, z %3", mm(deviation.value), mm(deviation.place.x), mm(deviation.place.y)),
              jsonNumber(deviation.value));
    facts.json[QString(key) + "At"] = jsonPoint(deviation.place);
}

void addDeviations(const Comparison& result, Facts& facts) {
    addExtreme(result, "largest", "largest deviation, mm", result.largest, facts);
    addExtreme(result, "smallest", "smallest deviation, mm", result.smallest, facts);
    facts.json["at"] = jsonPoint(result.deviations[std::size_t(result.worst())].place);
    facts.add("mean", "mean, mm", mm(result.mean), jsonNumber(result.mean));
    facts.add("rms", "rms, mm", mm(result.rms), jsonNumber(result.rms));
    facts.add("bandValue", "twice the largest size, mm", mm(result.bandValue), jsonNumber(result.bandValue));
    facts.json["shareOutside"] = jsonNumber(result.shareOutside);
    if (!std::isnan(result.shareOutside))
        facts.add("", "outside the band", percent(result.shareOutside, 1), QJsonValue());
    facts.add("compared", "points compared", double(result.deviations.size()));
}

void addRegistration(const Registration& registration, Facts& facts) {
    const RigidMotion& motion = registration.motion;
    facts.add("", "moved by, mm", filledIn("%1, %2", mm(motion.shift.x), mm(motion.shift.y)), QJsonValue());
    facts.add("", "turned, deg", fixed(motion.angle * kDegreesPerRadian, 4), QJsonValue());
    facts.json["motion"] = QJsonObject{{"shift", jsonPoint(motion.shift)},
                                       {"angle", jsonNumber(motion.angle * kDegreesPerRadian)},
                                       {"centre", jsonPoint(motion.centre)}};
    facts.add("rejected", "left out of it", registration.rejected);
    facts.json["motions"] = freeMotions(registration, /*onlyFree=*/false);
    const QString texts = freeText(registration);
    facts.add("", "not determined", texts.isEmpty() ? QString("nothing") : texts, QJsonValue());
}

void report(const Arguments& arguments, const LoadedProfile& part, const LoadedProfile& master,
            const Comparison& result) {
    Facts facts;
    if (result.isValid()) {
        addDeviations(result, facts);
        facts.add("beyond", "beyond the master", result.beyond);
        if (!result.registration.parts.empty())
            addRegistration(result.registration, facts);
    } else {
        for (const char* key : {"largest", "smallest", "at", "shareOutside"})
            facts.json[key] = QJsonValue();
        facts.json["reason"] = result.reason;
    }
    facts.json["file"] = part.name;
    facts.json["master"] = master.name;
    facts.json["valid"] = result.isValid();
    facts.json["good"] = result.isGood();
    facts.json["freeMotions"] = freeMotions(result.registration, /*onlyFree=*/true);
    if (arguments.isJson())
        printJson(facts.json);
    else if (!result.isValid())
        print(printable(part.name) + ": NOT COMPARED with " + printable(master.name) + ": " + result.reason +
              '\n');
    else
        print(printable(part.name) + ": compared with " + printable(master.name) +
              (result.isGood() ? "" : " (OUT OF BAND)") + '\n' + facts.table.text());
}

}  // namespace

int runCompare(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    if (!arguments.has("--plan"))
        arguments.required("--master", "it names the profile or scan to compare with");
    refuseOverwritingScans(arguments, {arguments.text("--svg"), arguments.text("--ply")},
                           arguments.operands() +
                               QStringList{arguments.text("--master"), arguments.text("--plan")});
    if (arguments.has("--master") && areScans(arguments))
        return runScanComparison(arguments);
    for (const char* option : {"--ply", "--scan-step", "--scan-start"}) {
        if (arguments.has(option))
            throw Error(QString("compare: %1 is of scans; these are profiles, leave it out").arg(option));
    }
    const InspectionPlan plan = takePlan(arguments);
    const ComparisonSettings settings = readSettings(arguments, plan);
    const LoadedProfile master = takeMaster(arguments, plan);
    LoadedProfile part = takeProfile(arguments);
    PartMeasurement(plan).prepare(part.profile);
    const Comparison result = compare(part.profile, master.profile, settings);
    if (arguments.has("--svg") && result.isValid()) {
        ComparisonPicture picture;
        picture.title = part.stem + " compared with " + master.stem;
        picture.master = master.profile;
        picture.comparison = &result;
        picture.lower = settings.lower;
        picture.upper = settings.upper;
        writePicture(arguments.text("--svg"), [&] { return drawComparison(picture); });
    }
    report(arguments, part, master, result);
    return result.isGood() ? int(Done) : int(NotMet);
}

}  // namespace KvMeasure
