#pragma once
// The values of one wheel section, with a reason for each that is missing.

#include <kvmath/core/circle.h>
#include <kvmath/core/point_cloud.h>
#include <kvmath/profile/profile.h>
#include <kvmath/wheel/wheel_parameters.h>
#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/standard_uncertainty.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <cmath>
#include <limits>
#include <vector>

namespace KvMeasure {

/// How a section is measured. NaN: not given.
struct ValueOptions {
    int kind = 0;  ///< as _WheelProfileValues::wheelType: 0 basic, 1 tram, 2 locomotive
    double nominal = std::numeric_limits<double>::quiet_NaN();  ///< flange height, mm
    double back = std::numeric_limits<double>::quiet_NaN();     ///< Y of the flange back, mm
    bool isSection = false;        ///< points of a file, maybe few; otherwise those of a scanner, with noise
    bool hasUncertainties = true;  ///< of a pass: each value with its uncertainty
    bool hasGaugeValues = false;   ///< of a pass: uncertainties of gaugeValues by their keys, too
};

/// How the place of the flange back is known. Seen: the section is upright there. Assumed: it is the first
/// point. Given: by ValueOptions::back.
enum class FlangeBack { Seen, Assumed, Given };

/// One wheel of a wheelset.
struct KVMEASURE_EXPORT WheelResult {
    KvMath::KvCircle circle;             ///< of the flange tip, X and Z, mm; unset when not found
    KvMath::_WheelProfileValues values;  ///< mm; NaN where one is missing
    double nominal;  ///< flange height that the height deviation counts from, mm; NaN when not known
    FlangeBack back = FlangeBack::Assumed;  ///< how backY is known
    double backY;                           ///< Y of the flange back, mm; NaN when not known
    int record = -1;                        ///< of the moment that was measured; -1: none
    int defect = -1;                        ///< 1 found, 0 searched for and not found, -1 not searched for
    QStringList notes;                      ///< why something is missing, or not to be trusted
    /// Of a wheel of a pass, by the keys of the values in JSON, and "centreX", "centreZ"; empty: not asked
    /// for.
    QMap<QString, StandardUncertainty> uncertainties;

    WheelResult();  ///< nothing known: all values NaN, no notes
    /// Positions count from the flange back, not from the first point of the section.
    bool isBackKnown() const { return !std::isnan(backY) && back != FlangeBack::Assumed; }
    /// Circle, flange height, thickness from the back and steepness are known.
    bool isComplete() const;
};

/// A stretch of the tread that leaves the smooth curve. Default: none is known.
struct DefectPlace {
    double from = std::numeric_limits<double>::quiet_NaN();  ///< where it begins, mm from the flange back
    double to = std::numeric_limits<double>::quiet_NaN();    ///< where it ends, mm from the flange back
    double farthest = 0;                                     ///< mm off the curve, in the scanner's plane
    int scanner = 0;                                         ///< number of the one that saw it; 0: none
    int record = -1;                                         ///< in which it was seen
    int points = 0;                                          ///< beyond the limit of the search

    /// A place was found.
    bool isKnown() const { return scanner > 0; }
};

/// A section as it was measured, for a picture.
struct KVMEASURE_EXPORT MeasuredSection {
    int wheelset = 0;  ///< from 1; 0: of no pass
    int side = 0;      ///< Left or Right
    double searchFrom =
        std::numeric_limits<double>::quiet_NaN();  ///< lateral, inner edge of the defect search, mm
    KvMath::KvProfile profile;  ///< x lateral from the back, y depth below the flange tip, mm
    KvMath::KvProfile places;   ///< as KvMath::ORBIS_calcWheelParameters marks them; empty: none known
    DefectPlace defect;         ///< unset where none was found
};

/// Measures the section of a wheel. `wheel` comes new but for its circle, radius and centre of the flange
/// tip; `points` are those of one moment, X along the track, Y across it, Z up, mm. Positions count from the
/// flange back; points beyond it are left out. The values are those of KvMath::ORBIS_calcWheelParameters and
/// its forms for trams and locomotives.
///
/// Each value that is missing has its reason in wheel.notes. All are withheld, the circle too, where the tip
/// is a reflection and where a value cannot be that of a wheel; single ones across a gap of more than 5 mm
/// and on a reflection. Fewer than four finite points, or no circle: no values, with a note.
/// Throws Error with parameter() "kind" for a kind that is none.
KVMEASURE_EXPORT void calcWheelValues(const ValueOptions& options,
                                      KvMath::KvPointCloud<KvMath::KvPointXYZ> points, WheelResult& wheel,
                                      MeasuredSection& section);

/// How far a flange tip, the point with this index (not checked), stands out of a section with these depths,
/// mm: a reflection of up to three points, more than 0.5 mm. 0 where it is the top of a smooth curve, and
/// where fewer than three points lie on a side.
KVMEASURE_EXPORT double reflectionAt(const std::vector<double>& depths, int index);

/// True for a radius of 125 to 1,300 mm and for one that is not known. Otherwise false: circle and values are
/// withheld, and wheel.notes says why.
KVMEASURE_EXPORT bool isWheelCircle(WheelResult& wheel);

}  // namespace KvMeasure
