// scan plane: fits the chosen part of a scan, and changes the whole scan by the plane. Hence the copy: limits
// choose points for the fit alone.
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/scan/options.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/height_plane.h>
#include <kvmeasure/scans/scan_writer.h>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage usage = withScanOptions(withLimits(
    {"scan plane",
     "SCAN",
     "Fits height = a*x + b*scan + c to a scan or to what lies within limits.",
     {{"--remove",
       "SIDE",
       "above or below: removes these points of the whole scan, needs --out",
       {"above", "below"}},
      {"--shift", "MM", "for --remove: moves the threshold through the plane, which removes more (0)"},
      {"--level", "", "lowers every point of the whole scan by the plane's height, needs --out"},
      {"--out", "FILE", "scan to write after --remove or --level"},
      {"--format", "NAME", "of --out, see \"kvmeasure scan convert --help\"", scanFormNames()}},
     "--remove above takes away what is higher than plane - shift, --remove below what is lower than plane + "
     "shift;\n"
     "a negative shift leaves room for noise. The normal is that of the plane nearest to the points square "
     "to it.\n\n"
     "Examples\n"
     "  kvmeasure scan plane plate.kvs --x 7.5,12.5 --scan 6,52 --height 61,64.5\n"
     "  kvmeasure scan plane plate.kvs --remove below --shift -0.5 --out parts.kvs\n"
     "  kvmeasure scan plane plate.kvs --scan 6,52 --level --out level.ply\n"}));

/// Points beyond the threshold go; returns their number.
qint64 removeSide(Scan& scan, const HeightPlane& plane, bool above, double shift) {
    const qint64 before = scan.points;
    scan.keep([&](float x, float place, float height) {
        const double surface = plane.height(double(x), double(place));
        return !(above ? double(height) > surface - shift : double(height) < surface + shift);
    });
    return before - scan.points;
}

void makeLevel(Scan& scan, const HeightPlane& plane) {
    Scan::forEachPoint(scan, [&plane](float x, float place, float& height) {
        height = static_cast<float>(double(height) - plane.height(double(x), double(place)));
    });
}

void report(const QString& path, const HeightPlane& plane, qint64 removed, const Arguments& arguments) {
    Facts facts;
    facts.add("a", "a, mm per mm of x", plane.a);
    facts.add("b", "b, mm per mm of scan", plane.b);
    facts.add("c", "c, mm", plane.c);
    facts.add("points", "points", plane.count);
    facts.add("rms", "rms residual, mm", plane.rms());
    facts.add("lowestResidual", "lowest residual, mm", plane.lowest);
    facts.add("highestResidual", "highest residual, mm", plane.highest);
    facts.add("", "normal x", plane.normal[0]);
    facts.add("", "normal scan", plane.normal[1]);
    facts.add("", "normal height", plane.normal[2]);
    facts.add("d", "normal d, mm", plane.normal[3]);
    facts.add("tilt", "tilt, deg", std::atan(std::hypot(plane.a, plane.b)) * kDegreesPerRadian);
    if (arguments.has("--remove"))
        facts.add("removed", "points removed", double(removed));
    facts.json["file"] = path;
    facts.json["normal"] = QJsonArray{plane.normal[0], plane.normal[1], plane.normal[2]};
    if (arguments.isJson())
        printJson(facts.json);
    else
        print(QString("%1: height = a*x + b*scan + c\n%2").arg(printable(path), facts.table.text()));
}

void checkOptions(const Arguments& arguments) {
    arguments.choice("--remove");
    if (arguments.has("--remove") && arguments.has("--level"))
        throw Error("scan plane: --remove and --level exclude each other; run it twice");
    const bool changes = arguments.has("--remove") || arguments.has("--level");
    if (changes != arguments.has("--out"))
        throw Error("scan plane: --remove and --level need --out FILE, and --out needs one of them");
    arguments.requireWith({"--shift"}, "--remove");
    arguments.requireWith({"--format"}, "--out");
    parseScanForm(arguments.text("--format"), QString());
    refuseOverwritingScans(arguments, {arguments.text("--out")}, arguments.operands());
}

}  // namespace

int runScanPlane(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    checkOptions(arguments);
    const QString path = arguments.operand(0);
    const double shift = arguments.number("--shift", 0, -kFarthest, kFarthest);
    const ScanOptions options = readScanOptions(arguments);
    Scan scan = loadScan(path, options);
    requireSetHeights(arguments, scan);
    Scan chosen = scan;
    applyLimits(arguments, chosen);
    HeightPlane plane;
    if (!fitHeights(chosen, plane))
        throw Error(filledIn("%1: no plane through %2 point(s) that lie on one line or at one place", path,
                             chosen.points));
    qint64 removed = 0;
    if (arguments.has("--remove"))
        removed = removeSide(scan, plane, arguments.text("--remove") == "above", shift);
    if (arguments.has("--level"))
        makeLevel(scan, plane);
    if (arguments.has("--out")) {
        const QString out = arguments.text("--out");
        writeScan(out, parseScanForm(arguments.text("--format"), out), options.heightLast, scan,
                  terminalProgress());
    }
    report(path, plane, removed, arguments);
    return Done;
}

}  // namespace KvMeasure
