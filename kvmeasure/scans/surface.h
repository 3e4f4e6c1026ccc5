#pragma once
// Heights between the points of a scan, and profiles along straight lines through it.

#include <kvmath/profile/profile_zset.h>
#include <kvmeasure/base/global.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// A place in a scan seen from above, mm.
struct ScanPlace {
    double x = 0;     ///< along the laser line
    double scan = 0;  ///< position along the scan
};

/// The profiles of a stack in order of their positions, those at one position as one, each in order of x.
/// Between neighbouring points, and between neighbouring profiles, heights run straight; they need not be
/// equally spaced. Where neighbours are farther apart than a limit, nothing is known in between.
class KVMEASURE_EXPORT ScanSurface {
public:
    /// Copies the points, which must be finite, as the positions must. Profiles without points are left out.
    /// Limits in mm; NaN and what is not > 0: nothing is known between points, or between profiles.
    ScanSurface(const KvMath::KvProfileZSet& stack, double mostBetweenPoints, double mostBetweenProfiles);

    /// A height of the surface.
    struct Height {
        double value = std::numeric_limits<double>::quiet_NaN();  ///< mm; NaN: not known
        bool isMeasured = false;                                  ///< a point of the scan lies there
    };

    /// The height at a place: on a profile from its points alone (see rowAt), else straight between the
    /// heights of the two profiles beside it. NaN outside the scan, in a gap, and for a NaN place.
    Height at(const ScanPlace& place) const;

    /// The points at one position.
    struct Row {
        double scan = 0;                        ///< position, mm
        std::vector<KvMath::KvPointXY> points;  ///< in order of x; at least one

        /// The height of the point nearest to x where it lies within shownRounding of it, otherwise straight
        /// between the neighbours of x. NaN beyond the outermost points, for a NaN x, and between neighbours
        /// more than `mostBetween` mm apart.
        Height at(double x, double mostBetween) const;
    };

    /// The profiles in order of their positions; empty without points.
    const std::vector<Row>& rows() const { return rows_; }
    /// The index of the profile at a position as it is shown (see shownRounding), the nearer of two;
    /// rows().size() when there is none.
    std::size_t rowAt(double scan) const;
    /// The index of the first profile after a position; rows().size() when there is none.
    std::size_t rowBehind(double scan) const;

    /// The limit in each profile, as given, mm.
    double mostBetweenPoints() const { return mostBetweenPoints_; }
    double firstX() const { return firstX_; }  ///< least x of all points, mm; NaN without points
    double lastX() const { return lastX_; }    ///< greatest x of all points, mm; NaN without points

private:
    std::vector<Row> rows_;
    double mostBetweenPoints_, mostBetweenProfiles_;
    double firstX_ = std::numeric_limits<double>::quiet_NaN(), lastX_ = firstX_;
};

/// A profile through a scan.
struct KVMEASURE_EXPORT Section {
    ScanPlace from;             ///< where the section begins
    ScanPlace to;               ///< where it ends
    KvMath::KvProfile profile;  ///< points (place along the section, height), mm, where a height is known
    int measured = 0;           ///< points of the scan
    int interpolated = 0;       ///< points between those of the scan

    /// Appends a point and counts it; nothing for a height that is not known.
    void add(double along, const ScanSurface::Height& height);
};

constexpr int kMostSectionPoints = 1'000'000;  ///< places of a section with a spacing, at most

/// A section along x, from the first to the last x of the scan; places are x. With a NaN spacing: the points
/// of the profile at this position, or heights between its two neighbours at each x of the nearer one. With a
/// spacing, mm: at equal distances from the first x on. Without points: an empty surface, a position outside
/// the profiles or NaN, a gap. Throws Error of the parameter "spacing" for one that is not > 0 or that makes
/// kMostSectionPoints or more.
KVMEASURE_EXPORT Section sectionAtScan(const ScanSurface& surface, double scan, double spacing);

/// A section along the scan at this x, from the first to the last profile; places are positions. With a NaN
/// spacing: a height for each profile that has one. Otherwise, and where there are no points, as
/// sectionAtScan.
KVMEASURE_EXPORT Section sectionAtX(const ScanSurface& surface, double x, double spacing);

/// A section along a straight line; places are distances from `from`. The spacing must be a number; a line of
/// no length has one place. Otherwise as sectionAtScan.
KVMEASURE_EXPORT Section sectionBetween(const ScanSurface& surface, const ScanPlace& from,
                                        const ScanPlace& to, double spacing);

/// Largest difference between a stored coordinate and the number that is shown for it, or typed, mm: half a
/// unit of the fourth decimal, or the rounding of a float. NaN for NaN.
KVMEASURE_EXPORT double shownRounding(double value);

}  // namespace KvMeasure
