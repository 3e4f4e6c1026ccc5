#pragma once
// The surface that noisy points of a section lie on, and further points as another measurement would give
// them.

#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/profiles/noise_source_p.h>
#include <kvmeasure/wheels/standard_uncertainty.h>

#include <optional>
#include <vector>

namespace KvMeasure {

/// A section without its noise, and that noise. Points are mm, in scan order, and finite.
class SectionSurface {
public:
    /// What moves a point off the surface, and by what its step is counted.
    enum Direction {
        Upright,  ///< along y, steps in x: a scanner's heights
        Square    ///< square to the surface, steps along it: gauges that follow the surface
    };

    SectionSurface(const std::vector<Vector>& points, Direction direction);

    const ResidualNoise& residuals() const { return residuals_; }
    /// To be called before drawn(): the deviation is its own, the correlation that of `pooled`. Why the noise
    /// is not known; empty where it is.
    QString startNoise(const NoiseModel& pooled, quint64 seed);

    /// Ten points in place of one, without noise; gaps stay.
    std::vector<Vector> dense() const;
    /// The points elsewhere on the surface, with noise.
    std::vector<Vector> drawn();

private:
    double way(std::size_t i) const;  ///< of the piece after point i
    Vector between(std::size_t i, double share) const;
    Vector normal(std::size_t i) const;

    Direction direction_;
    ResidualNoise residuals_;
    std::vector<Vector> smooth_;
    double step_ = 0;  ///< usual distance of two points
    std::optional<NoiseSource> source_;
};

/// The reason where there is no value.
const QString kMissingValue = QStringLiteral("the value is missing");

/// How far values on simulated points lie from those on the surface itself (JCGM 101).
class SimulatedScatter {
public:
    static constexpr int kRuns = 100;

    /// Values on dense(); NaN: missing.
    explicit SimulatedScatter(std::vector<double> smooth)
        : smooth_(std::move(smooth)), counts_(smooth_.size(), 0), squares_(smooth_.size(), 0) {}

    /// The same values of a run, on drawn().
    void add(const std::vector<double>& values);
    /// The root of the mean square, mean error included, of a value that was measured as `own`. Not known
    /// where that is missing, or where the value is missing in more than half of the runs.
    StandardUncertainty of(std::size_t i, double own) const;

private:
    std::vector<double> smooth_;
    std::vector<int> counts_;
    std::vector<double> squares_;
    int runs_ = 0;
};

}  // namespace KvMeasure
