#pragma once
// The land and the flank on one side of a groove, and the rim where they meet.

#include <kvmeasure/inspection/kinds/groove_gaps_p.h>

#include <cmath>
#include <vector>

namespace KvMeasure::Internal {

constexpr int kFewestOfLine = 3;
constexpr double kLeastSine = 0.17;  // 10 degrees: lines that are nearer to each other are one
constexpr double kRounding = 1e-6;   // of the depth, where there is no noise

/// Of the angle between two lines, 0 to 1.
inline double absoluteSine(const LineFit& a, const LineFit& b) {
    return std::fabs(a.along.x * b.along.y - a.along.y * b.along.x);
}

/// One side of a groove, towards the left or the right.
struct GrooveSide {
    LineFit land, flank;
    std::size_t last = 0;  ///< last point of the land
    std::size_t wall = 0;  ///< without a flank: the last point before the wall, at the end of a round edge
    Vector rim;
    double uRim = 0;  ///< standard uncertainty of the rim along the lid without that of the lines, mm
    bool hasFlank = false;
    bool isOnArc = false;  ///< the rim is where the land meets the arc of the bottom
};

/// How far the middle third of the points of a line lies above the others, in standard deviations of that
/// difference by the noise of neighbours; 0 where that is not known.
double bendOf(const LineFit& line);

/// Finds the sides of a groove between two numbers of points, the land of its neighbours.
class GrooveSides {
public:
    GrooveSides(const std::vector<Vector>& points, const GrooveGap& gap, std::size_t first, std::size_t end)
        : points_(points), gap_(gap), first_(first), end_(end) {}

    /// Fits land and flank beside the gap; `step` leads from the bottom to the land, -1 or 1. A reason, or
    /// nothing.
    QString fit(GrooveSide& side, int step) const;

private:
    /// Sets the point before the greatest step of the side. True where that step is `least` deep, mm: then
    /// the wall has no points that a line could be fitted to.
    bool findWall(GrooveSide& side, const LineFit& land, int step, double least) const;
    void findRim(GrooveSide& side, int step) const;
    void straighten(GrooveSide& side, int step) const;
    void takeSteepest(GrooveSide& side, int step) const;

    const std::vector<Vector>& points_;
    const GrooveGap& gap_;
    const std::size_t first_, end_;
};

}  // namespace KvMeasure::Internal
