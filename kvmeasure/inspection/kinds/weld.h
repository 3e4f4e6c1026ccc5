#pragma once
// Welds between two plates: fillet welds in their corner, butt welds on their joint.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/weld_toe.h>

#include <array>

namespace KvMeasure {

/// What is measured of a weld, each with a reason where it cannot be had.
struct WeldResult {
    QString reason;                   ///< why there is no weld; empty: there is one
    std::array<WeldToe, 2> toes;      ///< on the first and the second plate
    FittedValue convexity;            ///< greatest height of the face over the line of both toes, by a
                                      ///< parabola through a third of the face, mm; negative: concave
    FittedValue undercut;             ///< greatest depth below a plate before its toe, mm; 0: none
    std::array<FittedValue, 2> legs;  ///< of a fillet weld: from the root to the toes, mm
    FittedValue throat;        ///< of a fillet weld: height over the root of the largest triangle under
                               ///< the face, with a side along the line of both toes, mm
    FittedValue x;             ///< of the root, where the plates meet: a fillet weld's, mm
    FittedValue z;             ///< of the root, mm
    FittedValue width;         ///< of a butt weld: distance of the toes, mm
    FittedValue misalignment;  ///< of a butt weld: height of the second plate over the line of the first,
                               ///< halfway between the toes, mm
    Vector root;               ///< where the plates meet
    Vector throatFoot;         ///< where the largest triangle touches the face's chord
    Vector highest;            ///< the place of the convexity on that parabola
    bool isShort = false;      ///< a plate holds too few correlation lengths, see NoiseModel::isShort
};

/// Measures a fillet weld between plates that meet in a corner. `points` lead from one plate over the face to
/// the other, in scan order; the face lies on the side of each plate where the other one is. No weld, with a
/// reason: a plate that is no line, plates nearer to parallel than 10 degrees, a toe that is not found.
///
/// Exchanging the plates exchanges the legs; reversing the points changes nothing.
KVMEASURE_EXPORT WeldResult measureFilletWeld(const LineFit& first, const LineFit& second,
                                              const std::vector<Vector>& points, const NoiseModel& noise);

/// Measures a butt weld between plates that lie beside each other, its cap above both. No weld, with a
/// reason: a plate that is no line, plates that are inclined to each other by more than 30 degrees, a toe
/// that is not found.
KVMEASURE_EXPORT WeldResult measureButtWeld(const LineFit& first, const LineFit& second,
                                            const std::vector<Vector>& points, const NoiseModel& noise);

}  // namespace KvMeasure
