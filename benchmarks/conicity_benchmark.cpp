// Equivalent conicity of a pair of wheels on a pair of rails on one core: from the points of the four
// sections to the values at 66 amplitudes, and its parts. Sections have 1001 points, as those of reference
// profiles.

#include <kvmeasure/wheels/conicity.h>
#include <kvmeasure/wheels/rolling_radius.h>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using namespace KvMeasure;

constexpr int kPoints = 1001;

/// A flange, a root and a hollow tread that nearly fits the head of the rail.
std::vector<Vector> wheelPoints(int variant) {
    std::vector<Vector> points;
    points.reserve(kPoints);
    for (int i = 0; i < kPoints; ++i) {
        const double x = -70 + 0.135 * i;
        const double tread = -0.05 * x + 0.0013 * (x - 20) * (x - 20) / (1 + 0.01 * variant);
        const double flange = 28 - 0.07 * (x + 55) * (x + 55);
        points.emplace_back(x, x < -42 ? std::max(flange, -10.0) : std::max(flange, tread));
    }
    return points;
}

std::vector<Vector> railPoints() {
    std::vector<Vector> points;
    points.reserve(kPoints);
    for (int i = 0; i < kPoints; ++i) {
        const double x = -35.75 + 0.0715 * i, shoulder = std::max(0.0, std::fabs(x) - 10);
        const double side = std::max(0.0, std::fabs(x) - 26);
        points.emplace_back(x, 0.05 * x - x * x / 600 - shoulder * shoulder / 220 - side * side / 12);
    }
    return points;
}

WheelsetOnTrack wheelset(int variant) {
    WheelsetOnTrack result;
    for (const int side : {Left, Right}) {
        result.wheels[side] = ContactProfile(wheelPoints(variant + side));
        result.rails[side] = ContactProfile(railPoints());
    }
    return result;
}

std::vector<double> amplitudes() {
    std::vector<double> all;
    for (int i = 10; i <= 75; ++i)
        all.push_back(i * 0.1);
    return all;
}

void BM_Pair(benchmark::State& state) {
    constexpr int kDifferent = 32;
    std::vector<std::vector<Vector>> wheels;
    for (int i = 0; i <= kDifferent; ++i)
        wheels.push_back(wheelPoints(i));
    const std::vector<Vector> rail = railPoints();
    const std::vector<double> wanted = amplitudes();
    std::size_t round = 0;
    for (auto _ : state) {
        WheelsetOnTrack pair;
        for (const int side : {Left, Right}) {
            pair.wheels[side] = ContactProfile(wheels[round % kDifferent + static_cast<std::size_t>(side)]);
            pair.rails[side] = ContactProfile(rail);
        }
        const RollingRadii radii = rollingRadii(pair, ShiftSettings());
        const ConicityCurve curve(radii.shifts, radii.differences, ConicitySettings());
        int valid = 0;
        for (const double amplitude : wanted)
            valid += curve.at(amplitude).isValid() ? 1 : 0;
        if (valid != static_cast<int>(wanted.size()))
            state.SkipWithError("a conicity is missing");
        ++round;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Pair);

void BM_Contact(benchmark::State& state) {
    const WheelsetOnTrack pair = wheelset(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(rollingRadii(pair, ShiftSettings()).differences.data());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Contact);

void BM_Amplitudes(benchmark::State& state) {
    const RollingRadii radii = rollingRadii(wheelset(1), ShiftSettings());
    const std::vector<double> wanted = amplitudes();
    for (auto _ : state) {
        const ConicityCurve curve(radii.shifts, radii.differences, ConicitySettings());
        for (const double amplitude : wanted)
            benchmark::DoNotOptimize(curve.at(amplitude).tanGamma);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Amplitudes);

}  // namespace
