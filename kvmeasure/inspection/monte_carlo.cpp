// Uncertainty by simulation (JCGM 101): noise is drawn onto the heights of the profile and all is measured
// anew; the standard deviation of the values is their uncertainty. The noise is a moving average of white
// Gaussian noise, its last weight a fraction, so that its integrated autocorrelation time is that of the
// profile. The profile has its own noise below the drawn one: an extreme, which the own noise has chosen,
// scatters somewhat more than that of a clean surface does. Cost: a measurement per run.

#include <kvmeasure/inspection/part_measurement.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/profiles/noise_source_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// The profile with noise on its heights.
KvMath::KvProfile withNoise(const KvMath::KvProfile& profile, NoiseSource& source) {
    KvMath::KvProfile noisy(profile);
    const std::vector<double>& noise = source.draw(std::size_t(profile.points.size()));
    for (std::size_t i = 0; i < noise.size(); ++i) {
        float& height = noisy.points[static_cast<int>(i)].y;
        height = float(double(height) + noise[i]);
    }
    return noisy;
}

/// How one value scatters about what was measured.
struct Scatter {
    int count = 0;
    double mean = 0, squares = 0;  ///< of the differences

    void add(double difference) {
        ++count;
        const double before = difference - mean;
        mean += before / count;
        squares += before * (difference - mean);
    }
};

/// Says it beside the value.
void setRemark(const QString& remark, Value& value) {
    value.aboutU = remark;
    value.warning += (value.warning.isEmpty() ? "" : "; ") + remark;
}

void setUncertainty(const Scatter& scatter, int runs, Value& value) {
    constexpr int kShare = 2;
    // Noise on heights says nothing of a value that only the places of the points decide.
    if (scatter.count == runs && scatter.squares == 0 && value.u > 0)
        return;
    value.propagatedU = value.u;
    if (!value.aboutU.isEmpty() && value.warning.endsWith(value.aboutU)) {
        value.warning.chop(value.aboutU.size());
        if (value.warning.endsWith("; "))
            value.warning.chop(2);
    }
    value.aboutU.clear();
    const bool isKnown = scatter.count > 1 && scatter.count * kShare >= runs;
    value.u = std::nan("");
    value.degreesOfFreedom = 0;
    if (isKnown) {
        value.degreesOfFreedom = scatter.count - 1;
        value.u = std::sqrt(scatter.squares / (scatter.count - 1));
    }
    if (scatter.count < runs)
        setRemark(filledIn("%1missing in %2 of %3 runs with simulated noise",
                           isKnown ? "" : "no uncertainty: ", runs - scatter.count, runs),
                  value);
}

/// Why no noise can be drawn.
void refuseNoise(const QString& reason, Evaluation& evaluation) {
    for (Value& value : evaluation.values) {
        if (value.isValid && std::isnan(value.u) && value.aboutU.isEmpty())
            setRemark("no uncertainty: " + reason, value);
    }
}

}  // namespace

void PartMeasurement::simulateNoise(const KvMath::KvProfile& profile, const KvMath::KvProfile& second,
                                    MeasuredPart& measured) {
    const int runs = std::min(settings_.monteCarloRuns, kMostMonteCarloRuns);
    if (!plan_.hasTools())
        input_.load(profile, {}, second);
    const NoiseModel noise = input_.pointNoise();
    if (!std::isfinite(noise.correlationTime) || !std::isfinite(noise.deviation))
        return refuseNoise(noise.reason, measured.best);
    PartSettings quick = settings_;
    quick.takesAll = quick.givesMarks = quick.givesReason = false;
    PartMeasurement again(plan_, quick);
    NoiseSource source(noise, settings_.seed);
    QList<Value>& values = measured.best.values;
    std::vector<Scatter> scatter(std::size_t(values.size()));
    for (int run = 0; run < runs; ++run) {
        const KvMath::KvProfile noisySecond = withNoise(second, source);
        const KvMath::KvProfile noisy = withNoise(profile, source);
        const QList<Value> drawn = again.measureOnce(noisy, noisySecond).best.values;
        for (int i = 0; drawn.size() == values.size() && i < static_cast<int>(values.size()); ++i) {
            constexpr double kFullTurn = 360;
            const double difference = drawn[i].value - values[i].value;
            if (drawn[i].isValid && values[i].isValid)
                scatter[std::size_t(i)].add(values[i].unit == "deg" ? std::remainder(difference, kFullTurn)
                                                                    : difference);
        }
    }
    for (int i = 0; i < static_cast<int>(values.size()); ++i) {
        if (values[i].isValid)
            setUncertainty(scatter[std::size_t(i)], runs, values[i]);
    }
    for (Assignment& assignment : measured.assignments) {
        if (assignment.label.isEmpty() || assignment.label == "best")
            assignment.evaluation.values = values;
    }
}

}  // namespace KvMeasure
