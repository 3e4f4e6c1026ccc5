// compare of scans: reads part and master, compares, and writes text or JSON, the map and the PLY.

#include "cli/scan/comparison.h"

#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/scan/options.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/deviation_map.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/profile_sequence.h>
#include <kvmeasure/scans/scan_comparison.h>

#include <cmath>

namespace KvMeasure {

namespace {

const QString planeWord = "plane";

/// What the scan is compared with.
struct Master {
    QString name;
    Scan scan;
    HeightPlane plane;
    bool isPlane = false;
};

bool namesPlane(const QString& master) { return master == planeWord || master.startsWith(planeWord + ' '); }

bool isScan(const QString& path) {
    if (isWholeScan(path))
        return true;
    if (!looksLikeScan(path))
        return false;
    ProfileSequence profiles(path);
    LoadedProfile profile;
    return profiles.next(profile) && profiles.next(profile);
}

Scan takeScanOf(const QString& path, const ScanOptions& options) {
    Scan scan = loadScan(path, options);
    if (!scan.doubt.isEmpty())
        throw Error(scan.doubt);
    return scan;
}

/// "plane A,B,C".
HeightPlane givenPlane(const QString& text) {
    const QStringList words = text.mid(planeWord.size()).split(',');
    double numbers[3] = {};
    bool isGiven = words.size() == 3;
    for (int i = 0; isGiven && i < 3; ++i) {
        numbers[i] = words[i].trimmed().toDouble(&isGiven);
        isGiven = isGiven && std::fabs(numbers[i]) <= kFarthest;
    }
    if (!isGiven)
        throw Error(
            filledIn("compare: --master \"plane A,B,C\" needs three numbers (height = A*x + B*scan + C, "
                     "mm), not \"%1\"",
                     text));
    HeightPlane plane;
    plane.a = numbers[0];
    plane.b = numbers[1];
    plane.c = numbers[2];
    return plane;
}

Master takeMaster(const Arguments& arguments, const Scan& part, const ScanOptions& options) {
    Master master;
    master.name = arguments.text("--master");
    master.isPlane = namesPlane(master.name);
    if (!master.isPlane)
        master.scan = takeScanOf(master.name, options);
    else if (master.name != planeWord)
        master.plane = givenPlane(master.name);
    else if (!fitHeightsRobustly(part, master.plane))
        throw Error(filledIn("%1: no plane through %2 point(s) that lie on one line or at one place",
                             arguments.operand(0), part.points));
    return master;
}

ScanComparisonSettings readSettings(const Arguments& arguments) {
    for (const char* option : {"--plan", "--record", "--columns", "--pitch"}) {
        if (arguments.has(option))
            throw Error(QString("compare: %1 is of profiles; these are scans, leave it out").arg(option));
    }
    constexpr Alignment kAlignments[] = {Alignment::Template, Alignment::Registration, Alignment::None};
    ScanComparisonSettings settings;
    if (arguments.has("--align"))
        settings.alignment = kAlignments[arguments.choice("--align")];
    else if (namesPlane(arguments.text("--master")))
        settings.alignment = Alignment::None;
    if (settings.alignment == Alignment::Template)
        throw Error("compare: --align template is of profiles; scans take registration or none");
    settings.leavesStraysOut = settings.registration.isRobust = !arguments.has("--keep-all");
    arguments.pair("--band", settings.lower, settings.upper);
    if (!(settings.lower <= settings.upper))
        throw Error("compare: --band needs the least deviation first, e.g. -0.05,0.1");
    settings.progress = terminalProgress();
    return settings;
}

QJsonArray jsonOf(const SpaceVector& v) { return {jsonNumber(v.x), jsonNumber(v.y), jsonNumber(v.z)}; }

QJsonArray motionsOf(const ScanRegistration& registration, bool onlyFree) {
    QJsonArray list;
    for (const SpaceMotionPart& part : registration.parts) {
        if (onlyFree && !part.isFree)
            continue;
        QJsonObject object{{"text", part.text()},
                           {"kind", part.isTurn ? "turn" : "shift"},
                           {"information", jsonNumber(part.information)},
                           {"direction", jsonOf(part.direction)}};
        if (part.isTurn)
            object["pole"] = jsonOf(part.pole);
        if (!onlyFree) {
            object["u"] = jsonNumber(part.uncertainty);
            object["unit"] = part.isTurn ? "deg" : "mm";
        }
        list.append(object);
    }
    return list;
}

void addExtreme(const ScanDeviation& extreme, const char* key, const QString& what, Facts& facts) {
    facts.add(key, what,
              filledIn("%1 at x %2, height %3, scan %4", mm(extreme.value), mm(extreme.point.x),
                       mm(extreme.point.y), mm(extreme.point.z)),
              jsonNumber(extreme.value));
    facts.json[QString(key) + "At"] = jsonOf(extreme.point);
}

void addDeviations(const ScanComparison& result, Facts& facts) {
    addExtreme(result.largest, "largest", "largest deviation, mm", facts);
    addExtreme(result.smallest, "smallest", "smallest deviation, mm", facts);
    facts.json["at"] = jsonOf(result.worst().point);
    facts.add("mean", "mean, mm", mm(result.mean), jsonNumber(result.mean));
    facts.add("rms", "rms, mm", mm(result.rms), jsonNumber(result.rms));
    facts.add("bandValue", "twice the largest size, mm", mm(result.bandValue), jsonNumber(result.bandValue));
    facts.json["shareOutside"] = jsonNumber(result.shareOutside);
    if (!std::isnan(result.shareOutside))
        facts.add("", "outside the band", percent(result.shareOutside, 1), QJsonValue());
    const auto addCount = [&facts](const char* key, const char* what, qint64 count) {
        facts.add(key, what, QString::number(count), count);
    };
    addCount("compared", "points compared", result.compared);
    addCount("beyond", "beyond the master", result.beyond);
    addCount("strays", "strays, left out", result.strays);
}

void addRegistration(const ScanRegistration& registration, Facts& facts) {
    const SpaceMotion& motion = registration.motion;
    const SpaceVector turn = kDegreesPerRadian * motion.turn();
    const auto text = [](const SpaceVector& v, int decimals) {
        return filledIn("x %1, height %2, scan %3", fixed(v.x, decimals), fixed(v.y, decimals),
                        fixed(v.z, decimals));
    };
    facts.add("", "moved by, mm", text(motion.shift, 4), QJsonValue());
    facts.add("", "turned about, deg", text(turn, 4), QJsonValue());
    facts.json["motion"] = QJsonObject{
        {"shift", jsonOf(motion.shift)}, {"turn", jsonOf(turn)}, {"centre", jsonOf(motion.centre)}};
    facts.add("rejected", "left out of it", registration.rejected);
    facts.json["motions"] = motionsOf(registration, /*onlyFree=*/false);
    if (registration.isFixed())
        facts.add("", "not determined", "nothing", QJsonValue());
    for (const SpaceMotionPart& part : registration.parts) {
        if (part.isFree)
            facts.add("", "not determined", part.text(), QJsonValue());
    }
}

void report(const Arguments& arguments, const Master& master, const ScanComparison& result) {
    const QString part = arguments.operand(0);
    Facts facts;
    if (result.isValid()) {
        addDeviations(result, facts);
        if (!result.registration.parts.empty())
            addRegistration(result.registration, facts);
    } else {
        for (const char* key : {"largest", "smallest", "at", "shareOutside"})
            facts.json[key] = QJsonValue();
        facts.json["reason"] = result.reason;
    }
    if (master.isPlane) {
        facts.add("", "plane, height = a*x + b*scan + c",
                  filledIn("%1, %2, %3", master.plane.a, master.plane.b, master.plane.c), QJsonValue());
        facts.json["plane"] = QJsonArray{master.plane.a, master.plane.b, master.plane.c};
    }
    facts.json["file"] = part;
    facts.json["master"] = master.name;
    facts.json["valid"] = result.isValid();
    facts.json["good"] = result.isGood();
    facts.json["freeMotions"] = motionsOf(result.registration, /*onlyFree=*/true);
    if (arguments.isJson())
        printJson(facts.json);
    else if (!result.isValid())
        print(printable(part) + ": NOT COMPARED with " + printable(master.name) + ": " + result.reason +
              '\n');
    else
        print(printable(part) + ": compared with " + printable(master.name) +
              (result.isGood() ? "" : " (OUT OF BAND)") + '\n' + facts.table.text());
}

}  // namespace

bool areScans(const Arguments& arguments) {
    const QString master = arguments.text("--master");
    if (namesPlane(master))
        return true;
    if (arguments.has("--record"))
        return false;
    if (arguments.has("--map") || arguments.has("--axes"))
        return true;
    return isScan(arguments.operand(0)) && isScan(master);
}

int runScanComparison(const Arguments& arguments) {
    const ScanComparisonSettings settings = readSettings(arguments);
    const ScanOptions options = readScanOptions(arguments);
    const QString path = arguments.operand(0);
    const Scan part = takeScanOf(path, options);
    const Master master = takeMaster(arguments, part, options);
    const ScanComparison result = master.isPlane ? compareWithPlane(part, master.plane, settings)
                                                 : compareScans(part, master.scan, settings);
    DeviationMap map;
    map.title = stemOf(path) + " compared with " +
                (master.isPlane ? (master.name == planeWord ? "its plane" : "a plane") : stemOf(master.name));
    map.scan = &part;
    map.comparison = &result;
    map.lower = settings.lower;
    map.upper = settings.upper;
    if (arguments.has("--svg") && result.isValid())
        writePicture(arguments.text("--svg"), [&] { return drawDeviationMap(map); });
    if (arguments.has("--ply") && result.isValid())
        writeDeviationCloud(arguments.text("--ply"), map, options.heightLast, terminalProgress());
    report(arguments, master, result);
    return result.isGood() ? int(Done) : int(NotMet);
}

}  // namespace KvMeasure
