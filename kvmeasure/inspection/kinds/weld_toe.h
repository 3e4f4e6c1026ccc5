#pragma once
// Toes of welds: where the face of a weld leaves a plate.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <vector>

namespace KvMeasure {

/// A toe. Nothing but the reason means anything where there is one.
struct WeldToe {
    QString reason;               ///< why there is no toe; empty: there is one
    Vector at;                    ///< on the line of the plate, mm
    double u = 0;                 ///< standard uncertainty along the plate, mm
    double degreesOfFreedom = 0;  ///< of u
    std::size_t face = 0;         ///< number of the first point of the face, seen from the plate
};

/// The toe of a plate in points that lead from the plate to the weld: the first of three points in a row
/// (three correlation times of them) that lie more than three standard deviations (of a point and of the line
/// there) off the line, on the side where `side` (1 or -1) times the distance from the line is positive, and
/// behind which no three lie on it before the highest ones: spatter is no face. The toe is where the line of
/// the face after it meets the plate; where this has fewer than eight points, is nearer to the plate than 10
/// degrees or would meet it with a u of more than half its own length, half way between that point and the
/// one before. No toe, with a reason: a plate that is no line, no such points, or the first point is one. A
/// correlation time below 1 counts as 1.
KVMEASURE_EXPORT WeldToe findToe(const LineFit& plate, const std::vector<Vector>& points, double side,
                                 const NoiseModel& noise);

/// The deepest point on the other side of the plate before the face of a toe, mm, positive; 0 where none lies
/// more than three standard deviations below.
KVMEASURE_EXPORT double undercutOf(const LineFit& plate, const std::vector<Vector>& points, double side,
                                   const WeldToe& toe);

}  // namespace KvMeasure
