#pragma once
// The outline of an object in a scan, and the parameters for it that the scan itself suggests.
//
//     OutlineParameters parameters;                // all NaN
//     parameters.coin = 6;                         // what is known
//     deriveParameters(stack, path, parameters);   // fills the others
//     const Outline outline = findOutline(stack, parameters);

#include <kvmath/profile/profile_zset.h>
#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QString>

namespace KvMeasure {

/// One side of an outline. Places are (x, scan), mm.
struct OutlineLine {
    KvMath::LinePP line;  ///< in walking order, the object on its right
    int points = 0;       ///< that it was fitted to; 0: not fitted
    double rms = 0;       ///< root mean square of their distances, mm; NaN: not fitted
    double freeEdge = 0;  ///< mm that it was moved outwards, since no point lies on the edge itself
};

/// The outline of one object. Places are (x, scan), mm.
struct Outline {
    QList<OutlineLine> lines;  ///< in walking order, clockwise seen with x to the right and the scan upwards
    QList<Vector> edgePoints;  ///< points that the coin rolled around
    QList<Vector> hull;        ///< points that it touched, in walking order
    int objectPoints = 0;      ///< points above the level
};

/// How an outline is found. NaN: deriveParameters takes it from the scan, by what the last words of each
/// comment say: of the usual distances between points along x and between profiles, mm, the larger is a
/// spacing; the side is the smaller one of what lies above the level.
struct KVMEASURE_EXPORT OutlineParameters {
    double step;       ///< distance of the profiles, mm, > 0; the usual one
    double level;      ///< height, mm; points not above it are no part of the object
    QString reason;    ///< why this level, where it was derived; otherwise empty
    double coin;       ///< radius of the coin that rolls around the edge points, mm, > 0; gaps up to twice it
                       ///< are bridged; an eighth of the side, at least 5 spacings
    double gap;        ///< a larger rise of x divides a profile, mm, >= 0; 5 distances along x
    double minRun;     ///< shorter pieces of a profile are left out, mm, >= 0; 10 distances along x
    double split;      ///< deviation from a straight line at which it is divided, mm, > 0; 4 spacings
    double join;       ///< distance of hull points that interrupts a line, mm, > 0; 2.02 times the coin
    double minLength;  ///< shorter lines are left out, mm, >= 0; a tenth of the side, at least 5 spacings
    int passes = 3;    ///< of the line search, >= 0
    double merge = 5;  ///< degrees, >= 0; neighbouring lines that turn by less are joined to one
    bool raw = false;  ///< lines as they come from the hull: neither joined nor fitted
    bool compensatesEdges = true;  ///< sides lie half a point distance beyond the outermost points
    bool allPoints = false;        ///< all points of the object enter, not those of its edge alone

    OutlineParameters();  ///< all lengths NaN
};

/// Fills what is NaN and leaves the rest. The level lies in the middle of the one gap between two kinds of
/// heights, as of a part and its support: a band of heights that hardly occur, with at least 3 % of the
/// points on either side.
///
/// `path` names the scan in messages. Throws Error where there is no such level (also in an empty stack
/// and one of fewer than 160 points) and where no point is above the level; some parameters may then be set.
KVMEASURE_EXPORT void deriveParameters(const KvMath::KvProfileZSet& stack, const QString& path,
                                       OutlineParameters& parameters);

/// The outline of the object with the lowest x, without NaN in the parameters: edge points, a coin rolled
/// around them, straight lines of what it touches (KvMath::convertProfilesZ2Lines); then, unless `raw`,
/// neighbours joined, lines fitted to the outermost points of the edge, corners moved to where they meet.
/// A coin touches what sticks out; the fitted lines do not lie outside the edge by its roughness.
///
/// No line: no point above the level, no outline that closes, or no line of `minLength`. `hull` and
/// `edgePoints` then hold what was found so far.
KVMEASURE_EXPORT Outline findOutline(const KvMath::KvProfileZSet& stack, const OutlineParameters& parameters);

/// Angle inside the outline where line i meets the next one (the first follows the last), degrees in
/// [0, 360]; 0 <= i < lines.size(), not checked. NaN for the only line and where one has no length.
KVMEASURE_EXPORT double innerAngle(const QList<OutlineLine>& lines, int i);

}  // namespace KvMeasure
