#pragma once
// The values of a wheel's section as profile gauges define them, interpolated between points.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_section.h>
#include <kvmeasure/wheels/standard_uncertainty.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// A value of a cross-section.
struct SectionValue {
    QString key;   ///< its symbol, e.g. "Sh"
    QString name;  ///< e.g. "flange height"
    QString unit;  ///< "mm", "deg", "mm2", or empty for a plain number
    double value = std::numeric_limits<double>::quiet_NaN();  ///< NaN where there is a reason
    QString reason;                                           ///< why there is no value; empty where there is
    QString note;                                             ///< what is to be said of a value that there is
    StandardUncertainty uncertainty{};  ///< where it was asked for, see section_uncertainty.h

    bool isKnown() const { return reason.isEmpty(); }  ///< there is a value
};

/// The value with that key; null where there is none.
KVMEASURE_EXPORT const SectionValue* findValue(const std::vector<SectionValue>& values, const QString& key);

/// The places that a gauge's values are measured at, mm.
struct GaugePlaces {
    double belowTip = 2;               ///< L1 > 0: of the upper flank point, below the flange tip
    double tread = 70;                 ///< L2 > 0: of the tread point, from the flange back
    double aboveTread = 10;            ///< L3 > 0: of the lower flank point, above the tread point
    std::vector<double> widthHeights;  ///< further heights above the tread point to take the thickness at
};

/// Where the values of a section were measured.
struct GaugeMarks {
    Vector tip;         ///< the flange tip, mm in the frame of the section
    Vector tread;       ///< the tread point; NaN: not found, as of the others
    Vector upperFlank;  ///< L1 below the tip
    Vector lowerFlank;  ///< L3 above the tread point
};

/// The values of a wheel's section.
struct KVMEASURE_EXPORT GaugeValues {
    std::vector<SectionValue> values;  ///< in the order of gaugeValues
    GaugeMarks marks;                  ///< where they were measured
};

/// Measures a section, mm and degrees:
///   Sh  flange height: the flange tip above the tread point, L2 from the flange back
///   Sd  flange thickness: from the flange back to the flank L3 above the tread point
///   qR  flange gradient: along x from the flank L1 below the tip to the flank L3 above the tread point
///   flangeAngle  the steepest line through 3 mm of the flank between L1 below the tip and 5 mm above the
///       tread point, against the axle; beyond 90 degrees the flank is undercut
///   flangeRootRadius  circle through the root of the flange, 5 to 11 mm above the tread point
///   treadSlope  fall of the tread towards the field side over 20 mm about the tread point, a plain number
///   hollow  the highest point of the tread above one that lies nearer to the flange, from L2 - 20 mm on; 0:
///       the tread falls all the way
///   rimWidth  from the flange back to the field-side face of the rim
///   rollover  how far material stands out beyond that face
///   Sd at H  thickness at further heights H above the tread point
/// A value that needs a place which the section does not show has a reason: flange back or field-side face
/// not seen, a gap of more than 5 mm, a flank that passes the level at several places, a level above the tip.
/// No value is given where the section is no wheel; all have its reason then.
KVMEASURE_EXPORT GaugeValues gaugeValues(const WheelSection& section, const GaugePlaces& places = {});

/// The points of a polyline at equal steps along it, from one of its points to another (indices, both
/// included). At most `most` points, none where the way is too long for that or from is not below to.
KVMEASURE_EXPORT std::vector<Vector> evenPoints(const std::vector<Vector>& points, std::size_t from,
                                                std::size_t to, double step, std::size_t most);

}  // namespace KvMeasure
