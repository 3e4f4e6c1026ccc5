#pragma once
// Regions: the part of a profile that a tool reads.

#include <kvmeasure/base/global.h>

#include <QtCore/QList>
#include <QtCore/QString>

#include <limits>

namespace KvMeasure {

/// A box in x and z whose sides belong to it, mm. Where it is at an anchor its sides lie in the frame that
/// the anchor was taught in, and move and turn with the anchor.
struct KVMEASURE_EXPORT Region {
    static constexpr double kOpen = std::numeric_limits<double>::infinity();  ///< a side that is not there

    QString name;             ///< as tools and anchors name it
    double minX = -kOpen;     ///< left side; -infinite: open
    double maxX = kOpen;      ///< right side, >= minX
    double minZ = -kOpen;     ///< lower side
    double maxZ = kOpen;      ///< upper side, >= minZ
    QString anchor;           ///< name of an anchor or of a template line; empty: fixed in x and z
    bool isOfSecond = false;  ///< it holds points of the second profile, that of another scanner

    /// The point lies in the box or on a side. False with a coordinate that is NaN.
    bool contains(double x, double z) const { return x >= minX && x <= maxX && z >= minZ && z <= maxZ; }
    /// In words, numbers with ten digits. (1) parseRegion(text()).text() == text()
    QString text() const;
    QString fault() const;  ///< why it is no region: no name, a side that is NaN, upside down; empty: none
};

/// Reads "R = x -6..6", "R = x -6..6 z 0..10 at A", "R = z 0..", "R = all", "R = second x -6..6" for
/// points of the second profile. A side that is left out is open.
/// The words come in any order. Throws Error with parameter() "region" for anything else, for sides in the
/// wrong order, and for a name of other signs than letters, digits, - and _.
KVMEASURE_EXPORT Region parseRegion(const QString& text);

/// Letters, digits, - and _, one at least and 64 at most, and not a number: what a region, an anchor or a
/// tool may be called, so that words can name it.
KVMEASURE_EXPORT bool isPlanName(const QString& name);

}  // namespace KvMeasure
