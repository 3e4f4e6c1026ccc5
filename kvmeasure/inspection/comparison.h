#pragma once
// A measured profile against a master: how far each point lies off the surface that it should have.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/plan.h>
#include <kvmeasure/inspection/registration.h>

#include <kvmath/profile/profile.h>

#include <limits>

namespace KvMeasure {

/// How a part is compared.
struct ComparisonSettings {
    Alignment alignment = Alignment::Registration;  ///< how the part is laid on the master
    RegistrationSettings registration;              ///< for Alignment::Registration
    InspectionPlan plan;  ///< for Alignment::Template; without lines a template is taught from the longest
                          ///< lines of the master, five at the most
    double lower = -std::numeric_limits<double>::infinity();  ///< mm, least deviation that is allowed
    double upper = std::numeric_limits<double>::infinity();   ///< mm, greatest one

    bool hasBand() const { return std::isfinite(lower) || std::isfinite(upper); }  ///< a limit is given
};

/// One point of the part, laid on the master.
struct Deviation {
    Vector point;      ///< where it came to lie, mm
    Vector place;      ///< the nearest place of the master, mm
    Vector outward;    ///< unit, square to the master there, its noise smoothed; at a corner the mean
                       ///< of both sides
    double value = 0;  ///< mm, square to the master; positive outside the material: to the left of the scan
};

/// What a comparison gave.
struct KVMEASURE_EXPORT Comparison {
    QString reason;                     ///< why there is none; empty where there is one
    Registration registration;          ///< how the part was laid on the master
    std::vector<Deviation> deviations;  ///< in the order of the points, without those beyond the master
    int beyond = 0;        ///< points beyond the ends of the master and in its gaps; not compared
    int largest = -1;      ///< number of the greatest deviation; -1: none
    int smallest = -1;     ///< number of the least one
    double mean = 0;       ///< mm
    double rms = 0;        ///< mm
    double bandValue = 0;  ///< mm, twice the greatest size of a deviation: the width that the profile
                           ///< needs about the master, here
    double shareOutside = std::numeric_limits<double>::quiet_NaN();  ///< of the compared points, beyond the
                                                                     ///< limits; NaN without limits

    bool isValid() const { return reason.isEmpty(); }  ///< there are deviations
    /// Number of the deviation of greatest size; -1: none.
    int worst() const;
    bool isGood() const { return isValid() && !(shareOutside > 0); }  ///< none is beyond the limits
};

/// Compares the points of a part with the surface of a master; both in scan order, mm. The master runs from
/// point to point, with gaps as the search of lines sees them (estimateSearch); outside the material is above
/// it, and on a wall the side that is left of the scan. Limits are -infinity to infinity, lower <= upper.
///
/// No deviations, with a reason: no or one point on either side, a part that lies beyond the master
/// everywhere, a template that is not found. Points with an unset coordinate are left out. Throws Error where
/// the limits are none ("band"), and where the search of the template is given up.
KVMEASURE_EXPORT Comparison compare(const KvMath::KvProfile& part, const KvMath::KvProfile& master,
                                    const ComparisonSettings& settings = {});

}  // namespace KvMeasure
