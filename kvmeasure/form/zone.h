#pragma once
// What every zone of form says: its width, the points that touch it, and what proves that none is narrower.

#include <kvmeasure/base/global.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// Why no zone is narrower: those of the points `points` alone are no narrower than `lowerBound`.
struct ZoneCertificate {
    double lowerBound = std::numeric_limits<double>::quiet_NaN();  ///< mm; NaN: there is no zone
    bool isValid = false;     ///< the zone is no wider than the bound, but for rounding
    std::vector<int> points;  ///< indices from 0, ascending; empty where every edge of the hull was tried
};

/// The width of a zone of form.
struct KVMEASURE_EXPORT FormZone {
    double width = std::numeric_limits<double>::quiet_NaN();  ///< mm, >= 0; NaN: there is none
    std::vector<int> contacts;    ///< points on its bounds, indices from 0, ascending
    ZoneCertificate certificate;  ///< of a minimum zone
    QString reason;               ///< why there is none; empty where there is one

    bool isValid() const { return reason.isEmpty(); }  ///< there is a zone
    /// A zone that there is not.
    static FormZone none(const QString& reason) {
        FormZone zone;
        zone.reason = reason;
        return zone;
    }
};

}  // namespace KvMeasure
