#pragma once
// The master of a plan: the surface that a part should have, with which it is compared.

#include <kvmeasure/base/global.h>

#include <kvmath/profile/profile.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cmath>
#include <limits>

namespace KvMeasure {

/// How the part is laid on the master before it is compared.
enum class Alignment {
    None,          ///< as it lies
    Registration,  ///< all points, see registerPoints
    Template       ///< the lines of a template that is found in both
};

/// The words of the alignments, in their order: "none", "registration", "template".
KVMEASURE_EXPORT const QStringList& alignmentWords();

/// A master with what is done with it. Its values are NAME.largest and NAME.smallest (deviations, mm) and,
/// with a band, NAME.shareOutside (0 to 1).
struct KVMEASURE_EXPORT PlanMaster {
    QString name = "master";    ///< of the values
    QString file;               ///< absolute path that the points were read from; empty: they are of the plan
    KvMath::KvProfile profile;  ///< points of the surface in scan order, mm
    Alignment alignment = Alignment::Registration;  ///< how the part is laid on it
    bool keepsAll = false;                          ///< of a registration: points that lie far off take part
    double lower = -std::numeric_limits<double>::infinity();  ///< mm, least deviation that is allowed
    double upper = std::numeric_limits<double>::infinity();   ///< mm, greatest one; >= lower

    bool hasBand() const { return std::isfinite(lower) || std::isfinite(upper); }  ///< a limit is given
    QString text() const;                                                          ///< in words, for tables
    QString
    fault() const;  ///< why it is none: no name, fewer than two points, limits upside down; empty: none
};

}  // namespace KvMeasure
