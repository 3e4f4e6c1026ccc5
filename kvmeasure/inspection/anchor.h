#pragma once
// Anchors: features of a profile that regions move with.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace KvMeasure {

/// A place with a direction: where an anchor was taught, or where a profile has it.
struct Frame {
    Vector place;     ///< mm
    double turn = 0;  ///< radians, counter-clockwise from the x axis; 0 where the feature has no direction

    /// A point of the taught frame in the frame that was found.
    static Vector moved(const Vector& point, const Frame& taught, const Frame& found);
};

/// A feature that is found in every profile anew. A region at it is moved by the found place minus the taught
/// one; where the feature has a direction, it is turned about that place as well.
struct KVMEASURE_EXPORT Anchor {
    /// What the feature is.
    enum Kind {
        Highest,       ///< highest point of a region, the first of equals
        Lowest,        ///< lowest point of a region
        Leftmost,      ///< point of least x of a region
        Rightmost,     ///< point of greatest x of a region
        Centroid,      ///< mean of the points of a region
        Line,          ///< line fitted to a region: its point nearest to the taught place, and its direction
        TemplateLine,  ///< middle and direction of a line of the matched template
    };

    QString name;         ///< as regions name it
    Kind kind = Highest;  ///< of the feature
    QString source;       ///< name of the region, or of the template line
    Frame taught;  ///< where the regions at it were drawn; at the origin unless given: they count from it
    QString text() const;   ///< in words. (1) parseAnchor(text()).text() == text()
    QString fault() const;  ///< why it is no anchor: no name, a place that is not finite; empty: none
};

/// The words of the kinds, in their order: "max", "min", "left", "right", "centroid", "line", "template".
KVMEASURE_EXPORT const QStringList& anchorKinds();

/// Reads "A = max in R from 1.5 20", "A = line in R from 0 0 2.5deg" and "A = template floor". The numbers
/// after "from" are x, z and the direction in degrees of the taught place; all 0 unless given. Throws Error
/// with parameter() "anchor" for anything else.
KVMEASURE_EXPORT Anchor parseAnchor(const QString& text);

}  // namespace KvMeasure
