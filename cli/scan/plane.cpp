#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/print.h"
#include "kvmeasure/scan_options.h"
#include "kvmeasure/scan_writer.h"

#include <kvmath/core/plane.h>
#include <kvmath/numerics/fitting.h>

#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXYZ;

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

struct Plane {
    double a = 0, b = 0, c = 0;      // height = a*x + b*scan + c
    double normal[4] = {};           // normal[0]*x + normal[1]*scan + normal[2]*height + normal[3] = 0
    double squares = 0;              // mm^2, of the residuals of height
    double lowest = 0, highest = 0;  // residuals, mm
    int count = 0;

    double height(double x, double scan) const { return a * x + b * scan + c; }
    double rms() const { return std::sqrt(squares / count); }
};

/// Points as the fits want them: x, scan, height.
Cloud heightsOver(Scan& scan) {
    Cloud cloud;
    takeCloud(scan, cloud);
    for (KvPointXYZ& point : cloud.points)
        std::swap(point.y, point.z);
    return cloud;
}

Plane fitPlane(const Cloud& cloud, const QString& path) {
    Plane plane;
    if (!KvMath::KvPlane::calcFromPointCloud(cloud, plane.a, plane.b, plane.c))
        throw Failure{QString("%1: no plane through %2 point(s) that lie on one line or at one place")
                          .arg(path)
                          .arg(cloud.points.size())};
    std::vector<double> xyz;
    xyz.reserve(3 * std::size_t(cloud.points.size()));
    plane.lowest = std::numeric_limits<double>::infinity();
    plane.highest = -plane.lowest;
    for (const KvPointXYZ& p : cloud.points) {
        xyz.insert(xyz.end(), {double(p.x), double(p.y), double(p.z)});
        const double residual = double(p.z) - plane.height(double(p.x), double(p.y));
        plane.squares += residual * residual;
        plane.lowest = std::min(plane.lowest, residual);
        plane.highest = std::max(plane.highest, residual);
    }
    plane.count = static_cast<int>(cloud.points.size());
    KvMath::planeFitting(xyz.data(), plane.count, plane.normal);
    return plane;
}

/// Points beyond the threshold go; returns their number.
qint64 removeSide(Scan& scan, const Plane& plane, bool above, double shift) {
    const qint64 before = scan.points;
    scan.keep([&](float x, float place, float height) {
        const double surface = plane.height(double(x), double(place));
        return !(above ? double(height) > surface - shift : double(height) < surface + shift);
    });
    return before - scan.points;
}

void makeLevel(Scan& scan, const Plane& plane) {
    Scan::forEachPoint(scan, [&plane](float x, float place, float& height) {
        height = static_cast<float>(double(height) - plane.height(double(x), double(place)));
    });
}

void report(const QString& path, const Plane& plane, qint64 removed, const Arguments& arguments) {
    constexpr double degreesPerRadian = 57.29577951308232;
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
    facts.add("tilt", "tilt, deg", std::atan(std::hypot(plane.a, plane.b)) * degreesPerRadian);
    if (arguments.has("--remove"))
        facts.add("removed", "points removed", double(removed));
    facts.json["file"] = path;
    facts.json["normal"] = QJsonArray{plane.normal[0], plane.normal[1], plane.normal[2]};
    if (arguments.isJson())
        printJson(facts.json);
    else
        print(QString("%1: height = a*x + b*scan + c\n%2").arg(path, facts.table.text()));
}

void checkOptions(const Arguments& arguments) {
    arguments.choice("--remove");
    if (arguments.has("--remove") && arguments.has("--level"))
        throw Failure{"scan plane: --remove and --level exclude each other; run it twice"};
    const bool changes = arguments.has("--remove") || arguments.has("--level");
    if (changes != arguments.has("--out"))
        throw Failure{"scan plane: --remove and --level need --out FILE, and --out needs one of them"};
    if (arguments.has("--shift") && !arguments.has("--remove"))
        throw Failure{"scan plane: --shift goes with --remove"};
    parseScanForm(arguments.text("--format"), QString());
    refuseOverwriting({arguments.text("--out")}, scanInputs(arguments));
}

}  // namespace

int runScanPlane(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    checkOptions(arguments);
    const QString path = arguments.operand(0);
    const double shift = arguments.number("--shift", 0, -farthest, farthest);
    const ScanOptions options = readScanOptions(arguments);
    Scan scan = loadScan(path, options);
    Scan chosen = scan;
    applyLimits(arguments, chosen);
    const Plane plane = fitPlane(heightsOver(chosen), path);
    qint64 removed = 0;
    if (arguments.has("--remove"))
        removed = removeSide(scan, plane, arguments.text("--remove") == "above", shift);
    if (arguments.has("--level"))
        makeLevel(scan, plane);
    if (arguments.has("--out")) {
        const QString out = arguments.text("--out");
        writeScan(out, parseScanForm(arguments.text("--format"), out), options.heightLast, scan);
    }
    report(path, plane, removed, arguments);
    return Done;
}

}  // namespace KvMeasure
