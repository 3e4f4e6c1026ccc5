// Filters, fits and queries of a profile of any points, one after another on what the last one left.

#include "fuzz/fuzz_input.h"

#include <kvmath/core/circle.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

using Fuzz::Input;
using KvMath::KvProfile;

void resample(KvProfile& p, Input& in) {
    constexpr double kMostSamples = 2000;
    const float step = in.real(), from = in.real(), to = in.real();
    p.calcRange();
    if (double(p.size_x()) / double(step) < kMostSamples)
        p.interpolate(step, from, to, KvMath::KvInterpolantAkima);
}

/// Runs a filter that writes to a second profile, and goes on with that.
template <class Filter>
void through(KvProfile& p, const Filter& filter) {
    KvProfile dest(p);
    filter(dest);
    p = dest;
}

void (*const operations[])(KvProfile&, Input&) = {
    [](KvProfile& p, Input& in) { through(p, [&](KvProfile& d) { p.medFilt(d, in.integer()); }); },
    [](KvProfile& p, Input& in) { p.wndFilter(in.integer()); },
    [](KvProfile& p, Input& in) { through(p, [&](KvProfile& d) { p.diffFilt(d, in.integer()); }); },
    [](KvProfile& p, Input& in) { p.zebFilter20(in.real()); },
    [](KvProfile& p, Input& in) {
        p.removeHighLevel({in.real(), in.real()});
    },
    [](KvProfile& p, Input& in) {
        p.removeLowLevel({in.real(), in.real()});
    },
    [](KvProfile& p, Input& in) { p.removePointsByYMedian(in.number()); },
    [](KvProfile& p, Input& in) { p.removeNoise(in.integer(), in.integer(), in.real(), 0); },
    [](KvProfile& p, Input& in) { p.removeLineParts(in.integer(), in.real(), in.real(), in.integer()); },
    [](KvProfile& p, Input& in) { p.wndFilterPolar(p, in.real(), in.integer(), in.below(10)); },
    [](KvProfile& p, Input& in) { p.splashFilter(p, in.real(), in.real()); },
    [](KvProfile& p, Input& in) { p.splashFilterPolar(p, in.real(), in.real(), in.real()); },
    [](KvProfile& p, Input& in) { p.removeNoisyPoints(in.real(), in.integer()); },
    [](KvProfile& p, Input& in) { p.sort(KvMath::KvSortOrder(in.below(3)), KvMath::KvSortNone); },
    [](KvProfile& p, Input& in) { p.sortByY(KvMath::KvSortOrder(in.below(3))); },
    [](KvProfile& p, Input& in) { p.trim(in.real(), in.real(), in.real(), in.real()); },
    [](KvProfile& p, Input&) { p.removeDuplicates(); },
    [](KvProfile& p, Input&) { p = p.derivative(); },
    [](KvProfile& p, Input&) { p.toPolar(); },
    [](KvProfile& p, Input&) { p.toEvklid(); },
    [](KvProfile& p, Input& in) {
        p.rotateFixed(in.real(), {in.real(), in.real()});
    },
    [](KvProfile& p, Input& in) { p.polynomFit(in.integer()); },
    resample,
};

void ask(KvProfile& p, Input& in) {
    KvMath::KvPointCloud<KvMath::KvPointXY> corners;
    KvMath::KvCircle circle;
    KvMath::KvLine line;
    KvMath::LineABC fitted;
    KvMath::KvPointXY cut;
    KvProfile dest;
    QList<KvMath::LinePP> segments;
    float value = 0;
    double coefficients[31];
    int index = 0;
    p.calcRect(corners, &value, in.real());
    p.calcRect(corners, &value, NAN);
    p.calcPolynomCoeffs(in.integer(), coefficients);
    p.calcLine(line);
    p.calcCutPoint(line, cut, in.flag());
    p.calcCircle(circle, &value);
    p.fitByLine(fitted);
    p.integral(in.real(), in.real());
    p.calcY(in.real(), in.real(), &index);
    std::vector<float> zeros(size_t(p.points.size()) + 1);
    Fuzz::require(p.findZeros(zeros.data()) <= p.points.size(), "a zero lies between two points");
    p.addLineSegments(segments, in.byte(), in.integer(), in.number());
    p.addParallelLine(dest, in.integer(), in.integer(), in.real());
    p.calcDistance(dest, p, in.integer(), in.integer(), in.flag());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size), tail(data, size - std::min(size, size_t(128)));
    KvProfile profile;
    profile.points = tail.points<KvMath::KvPointXY>(input.byte() < 240 ? 100 : 300);  // fits take their time
    for (int steps = 1 + input.below(6); steps > 0; --steps)
        operations[size_t(input.below(std::size(operations)))](profile, input);
    ask(profile, input);
    return 0;
}
