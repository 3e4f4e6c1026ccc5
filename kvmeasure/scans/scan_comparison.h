#pragma once
// A measured scan against a master scan or a plane: how far each point lies off the surface that it should
// have.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/comparison.h>
#include <kvmeasure/scans/height_plane.h>
#include <kvmeasure/scans/scan_file.h>
#include <kvmeasure/scans/scan_registration.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// How a scan is compared.
struct ScanComparisonSettings {
    Alignment alignment = Alignment::Registration;            ///< None or Registration
    RegistrationSettings registration;                        ///< for Alignment::Registration
    bool leavesStraysOut = true;                              ///< strays do not count, see compareScans
    double lower = -std::numeric_limits<double>::infinity();  ///< mm, least deviation that is allowed
    double upper = std::numeric_limits<double>::infinity();   ///< mm, greatest one
    Progress progress;                                        ///< told in points

    bool hasBand() const { return std::isfinite(lower) || std::isfinite(upper); }  ///< a limit is given
};

/// One point of a scan with its deviation.
struct ScanDeviation {
    qint64 number = -1;  ///< of the point, in the order of Scan::forEachPoint; -1: none
    SpaceVector point;   ///< where it came to lie on the master, mm
    double value = std::numeric_limits<double>::quiet_NaN();  ///< mm, square to the master; positive above
};

/// What the comparison of a scan gave.
struct KVMEASURE_EXPORT ScanComparison {
    QString reason;                 ///< why there is none; empty where there is one
    ScanRegistration registration;  ///< how the scan was laid on the master
    std::vector<float>
        deviations;          ///< mm, in the order of Scan::forEachPoint; NaN for points that do not count
    qint64 compared = 0;     ///< points that count
    qint64 beyond = 0;       ///< points beyond the border of the master and in its gaps
    qint64 strays = 0;       ///< points left out as strays
    ScanDeviation largest;   ///< the greatest deviation
    ScanDeviation smallest;  ///< the least one
    double mean = 0;         ///< mm
    double rms = 0;          ///< mm
    double bandValue = 0;    ///< mm, twice the greatest size of a deviation
    double shareOutside = std::numeric_limits<double>::quiet_NaN();  ///< of the points that count, beyond the
                                                                     ///< limits; NaN without limits

    bool isValid() const { return reason.isEmpty(); }                 ///< there are deviations
    const ScanDeviation& worst() const;                               ///< the one of greatest size
    bool isGood() const { return isValid() && !(shareOutside > 0); }  ///< none is beyond the limits
};

/// Compares the points of a scan with the surface that joins the points of another, as in comparison.md:
/// square to it, positive above. Neighbouring points of the master up to five steps apart are joined, unless
/// one is above the other more steeply than 80 degrees. A point that lies more than half a step beyond the
/// border of that surface is not compared, nor one near to the border that is off by more than three steps. A
/// stray is a point that deviates more, or less, than all of its neighbours but one (of four in its profile
/// and three in each of the next ones): by more than six standard deviations of the noise and than these
/// differ among each other; or a point with fewer than two neighbours.
///
/// A scan of fewer than three points, a master without a triangle, a scan that lies beyond it everywhere: no
/// deviations, with a reason. Throws Error for limits that are none ("band"), for Alignment::Template
/// ("alignment"), and where `progress` cancels. Points must be finite, as loadScan gives them. Time is that
/// of sorting, with one core: about 9 seconds for a million points. Memory: about 30 bytes per point, and 150
/// per point of the master.
KVMEASURE_EXPORT ScanComparison compareScans(const Scan& part, const Scan& master,
                                             const ScanComparisonSettings& settings = {});

/// The same with a plane as the master, which has no border. Its slopes must be finite.
KVMEASURE_EXPORT ScanComparison compareWithPlane(const Scan& part, const HeightPlane& plane,
                                                 const ScanComparisonSettings& settings = {});

}  // namespace KvMeasure
