#pragma once
// The normal equations of a registration in space, the step that they give, and what they do not determine.

#include <kvmeasure/scans/master_surface_p.h>
#include <kvmeasure/scans/scan_registration.h>

#include <array>
#include <vector>

namespace KvMeasure::Internal {

/// One point with its place on the master.
struct SpacePair {
    SpaceVector point;      ///< after the motion so far
    SmoothedNormal normal;  ///< of the master there
    double distance = 0;    ///< along the normal, mm
    double weight = 1;
};

/// A turn (mm at the mean radius of the points) about x, height, scan, and a shift along them.
using Six = std::array<double, 6>;

/// The normal equations of pairs, per pair, about their middle, and their eigenvectors.
class SpaceEquations {
public:
    explicit SpaceEquations(const std::vector<SpacePair>& pairs);

    bool isSolved() const { return !directions_.empty(); }  ///< there are pairs, and eigenvectors
    SpaceMotion step() const;                   ///< lessens the distances most; without free motions
    double way(const SpaceMotion& step) const;  ///< its size, mm at the mean radius
    /// Six, the free ones first: of a plane two shifts and a turn about its normal, not mixtures of these.
    std::vector<SpaceMotionPart> parts() const;

private:
    using Matrix = std::array<Six, 6>;
    struct Direction {
        Six vector{};
        double value = 0;
        bool isFree = false;
    };

    void add(const SpacePair& pair, double share);
    void decompose();
    std::vector<Six> freeMotions() const;
    SpaceMotionPart partOf(const Six& motion, bool isFree) const;

    Matrix matrix_{}, noise_{}, scatter_{};
    Six side_{};
    SpaceVector centre_;
    double radius_ = 1;
    double count_ = 0;
    std::vector<Direction> directions_;  // the least determined first
};

}  // namespace KvMeasure::Internal
