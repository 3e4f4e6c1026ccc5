// Simulation as for the wheels of a pass, with noise square to the surface: gauges follow it. Cost: 100 times
// that of the values.

#include <kvmeasure/wheels/section_uncertainty.h>

#include <kvmeasure/wheels/section_surface_p.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace KvMeasure {

namespace {

using Measure = std::function<std::vector<SectionValue>(const std::vector<Vector>&)>;

std::vector<double> numbersOf(const std::vector<SectionValue>& values) {
    std::vector<double> numbers;
    numbers.reserve(values.size());
    for (const SectionValue& value : values)
        numbers.push_back(value.value);
    return numbers;
}

/// `measure` gives the values in their order, or further ones behind them.
void simulate(const std::vector<Vector>& points, const Measure& measure, std::vector<SectionValue>& values) {
    SectionSurface surface(points, SectionSurface::Square);
    const QString reason = surface.startNoise(surface.residuals().model(), 1);
    if (!reason.isEmpty()) {
        for (SectionValue& value : values)
            value.uncertainty = {std::nan(""), value.isKnown()
                                                   ? "the noise of the section is not known: " + reason
                                                   : kMissingValue};
        return;
    }
    SimulatedScatter scatter(numbersOf(measure(surface.dense())));
    for (int run = 0; run < SimulatedScatter::kRuns; ++run)
        scatter.add(numbersOf(measure(surface.drawn())));
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i].uncertainty = scatter.of(i, values[i].value);
}

int highest(const std::vector<Vector>& points) {
    const auto top = std::max_element(points.begin(), points.end(),
                                      [](const Vector& a, const Vector& b) { return a.y < b.y; });
    return static_cast<int>(top - points.begin());
}

}  // namespace

void addUncertainties(const WheelSection& section, const WheelSection* nominal, WearAlignment alignment,
                      const GaugePlaces& places, std::vector<SectionValue>& values) {
    const auto drawnSection = [&section](const std::vector<Vector>& points) {
        if (section.source == BackSource::Seen) {
            constexpr double kElsewhere = 10;  // mm: no place that stands for the flange back by itself
            GaugeProfile file;
            for (const Vector& p : points)
                file.points.emplace_back(p.x + kElsewhere, p.y);
            return wheelSection(file);
        }
        WheelSection drawn = section;
        drawn.points = points;
        drawn.tip = highest(points);
        return drawn;
    };
    simulate(
        section.points,
        [&](const std::vector<Vector>& points) {
            const WheelSection drawn = drawnSection(points);
            std::vector<SectionValue> all = gaugeValues(drawn, places).values;
            if (nominal != nullptr) {
                const std::vector<SectionValue> wear = wheelWear(drawn, *nominal, alignment, places).values;
                all.insert(all.end(), wear.begin(), wear.end());
            }
            return all;
        },
        values);
}

void addUncertainties(const RailSection& rail, const RailSection* nominal, const RailPlaces& places,
                      RailValues& values) {
    RailPlaces same = places;
    same.side = values.side;
    simulate(
        rail.points,
        [&](const std::vector<Vector>& points) {
            RailSection drawn = rail;
            drawn.points = points;
            drawn.top = highest(points);
            return railValues(drawn, nominal, same).values;
        },
        values.values);
}

}  // namespace KvMeasure
