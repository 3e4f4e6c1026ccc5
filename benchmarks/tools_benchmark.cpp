// Tools on regions: a plan of ten on one profile, and each alone on a profile of its own part, all points in
// its region. Every round has other noise. The yardstick is a sum over the heights of the same points.

#include <benchmarks/inputs.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <tests/support/random_data.h>

#include <cmath>
#include <functional>
#include <vector>

namespace {

using Inputs::Pool;
using KvMath::KvProfile;
using Height = std::function<double(double)>;

constexpr double kNoise = 0.02;  // mm

/// Columns from -24 to 24 mm.
KvProfile scanned(const Height& height, int points, unsigned seed) {
    TestSupport::Draws draws(seed);
    KvProfile profile;
    for (int i = 0; i < points; ++i) {
        const double x = -24 + 48 * (i + 0.5) / points;
        profile.points.append({float(x), float(height(x) + draws.normal(kNoise))});
    }
    return profile;
}

double groove(double x) { return std::min(0.0, std::fabs(x) - 3); }

double slot(double x) { return std::fabs(x) < 2 ? 0.0 : 1.5; }

double bead(double x) { return std::fabs(x) < 4 ? std::sqrt(25 - x * x) - 3 : 0; }

double rib(double x) { return std::fabs(x) < 4 ? 1.5 : 0.0; }

double roof(double x) { return -std::fabs(x) / 3; }

/// A V groove, a slotted bar and a bead beside each other, 16 mm each, slightly inclined.
double threeParts(double x) {
    const double part = x < -8 ? groove(x + 16) : x < 8 ? slot(x) - 1.5 : bead(x - 16);
    return part + 0.03 * x;
}

/// The V groove over three times the range.
Height wide(double (*part)(double)) {
    return [part](double x) { return 3 * part(x / 3); };
}

KvMeasure::InspectionPlan planOf(const QStringList& regions, const QStringList& tools) {
    KvMeasure::InspectionPlan plan;
    for (const QString& region : regions)
        plan.regions.append(KvMeasure::parseRegion(region));
    for (const QString& tool : tools)
        plan.tools.append(KvMeasure::parseTool(tool).tool);
    return plan;
}

KvMeasure::InspectionPlan tenTools() {
    return planOf({"L = x -24..-19.4", "R = x -12.6..-8", "G = x -24..-8", "B = x -7.8..-3", "C = x 3..7.8",
                   "S = x -8..8", "A = x 12.6..19.4", "K = x 8..11.9", "O = x 11..21", "Q = x 9.5..14.4",
                   "H = x -1.4..1.4"},
                  {"l = line in L", "s = step L R", "g = groove in G", "m = max in B", "n = mean in C",
                   "b = box in H", "a = area in O above K", "r = arc in A", "c = corner in Q",
                   "t = strip in S on H"});
}

void BM_TenTools(benchmark::State& state) {
    KvMeasure::PartMeasurement part(tenTools());
    const Pool profiles(static_cast<int>(state.range(0)),
                        [](int size, unsigned seed) { return scanned(threeParts, size, seed); });
    Inputs::measure(state, profiles, [&](const KvProfile& profile) {
        const KvMeasure::MeasuredPart measured = part.measure(profile);
        for (const KvMeasure::Value& value : measured.best.values) {
            if (!value.isValid && value.name != "c.radius")
                state.SkipWithError(qPrintable(value.name + ": " + value.reason));
        }
    });
}

/// Name of the tool, its words and the part it is for.
struct Case {
    const char* name;
    const char* words;
    Height height;
    bool hasLine = true;  ///< or an arc: the noise is known; else the whole profile is asked for it
};

double slope(double x) { return 0.03 * x; }

const std::vector<Case>& cases() {
    constexpr bool kWithoutLine = false;
    static const std::vector<Case> all{
        {"line", "line in M", slope},
        {"step", "step L R", [](double x) { return x < 0 ? 0.0 : 1.0; }},
        {"arc", "arc in M", [](double x) { return std::sqrt(3000 - x * x); }},
        {"corner", "corner in M", roof},
        {"groove", "groove in M", wide(groove)},
        {"area", "area in M above L", wide(bead)},
        {"strip", "strip in M on L", wide(rib)},
        {"max", "max in M", slope, kWithoutLine},
        {"max_of_bead", "max in M", wide(bead), kWithoutLine},
        {"mean", "mean in M", slope, kWithoutLine},
        {"median", "median in M", wide(bead), kWithoutLine},
        {"box", "box in M", slope, kWithoutLine},
        {"box_of_bead", "box in M", wide(bead), kWithoutLine},
    };
    return all;
}

/// One tool; with `addsLine` a line of the region L, which gives the noise, as in most plans.
void measureOne(benchmark::State& state, const Case& tool, bool addsLine) {
    QStringList tools{QString("v = ") + tool.words};
    if (addsLine)
        tools.append("l = line in L");
    KvMeasure::PartMeasurement part(planOf({"M = all", "L = x -24..-13", "R = x 13..24"}, tools));
    const Pool profiles(static_cast<int>(state.range(0)),
                        [&](int size, unsigned seed) { return scanned(tool.height, size, seed); });
    Inputs::measure(state, profiles, [&](const KvProfile& profile) {
        const KvMeasure::MeasuredPart measured = part.measure(profile);
        if (!measured.best.values.first().isValid)
            state.SkipWithError(qPrintable(measured.best.values.first().reason));
    });
}

void BM_Plain(benchmark::State& state) {
    const Pool profiles(static_cast<int>(state.range(0)), [](int size, unsigned seed) {
        std::vector<KvMeasure::Vector> points;
        for (const KvMath::KvPointXY& p : scanned(threeParts, size, seed).points)
            points.emplace_back(double(p.x), double(p.y));
        return points;
    });
    Inputs::measure(state, profiles, [&](const std::vector<KvMeasure::Vector>& points) {
        double sum = 0;
        for (const KvMeasure::Vector& p : points)
            sum += p.y;
        benchmark::DoNotOptimize(sum);
    });
}

void sizes(benchmark::internal::Benchmark* one) { one->Arg(800)->Arg(3200)->Arg(12800); }

[[maybe_unused]] const bool isRegistered = [] {
    for (const Case& tool : cases()) {
        for (const bool addsLine : {false, true}) {
            if (addsLine && tool.hasLine)
                continue;
            const std::string name = std::string("BM_Tool/") + tool.name + (addsLine ? "+line" : "");
            sizes(benchmark::RegisterBenchmark(
                name.c_str(), [&tool, addsLine](benchmark::State& s) { measureOne(s, tool, addsLine); }));
        }
    }
    return true;
}();

BENCHMARK(BM_TenTools)->Apply(sizes);
BENCHMARK(BM_Plain)->Apply(sizes);

}  // namespace
