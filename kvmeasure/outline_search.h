#pragma once
// The outline of an object in a scan, and the parameters for it that the scan itself suggests.

#include "kvmeasure/outline_fit.h"

namespace KvMeasure {

/// How an outline is found; all in mm. NaN: to be derived from the scan.
struct OutlineParameters {
    double step;    ///< distance of the profiles
    double level;   ///< points not above it are no part of the object
    double coin;    ///< radius of the coin that rolls around the edge points; gaps up to twice it are bridged
    double gap;     ///< a rise of x that divides a profile
    double minRun;  ///< shorter pieces of a profile are left out
    double split;   ///< deviation from a straight line at which it is divided
    double join;    ///< distance of hull points that interrupts a line
    double minLength;        ///< of a line
    int passes = 3;          ///< of the line search
    double merge = 5;        ///< degrees; lines that turn by less are joined to one
    bool raw = false;        ///< lines as they come from the hull: neither joined nor fitted
    bool allPoints = false;  ///< all points of the object enter, not those of its edge

    OutlineParameters();  ///< all NaN
};

/// Fills what is NaN. Level: in the middle of the widest band of heights that hardly occur, as there is one
/// in a scan of an object on a support or with a lower middle; below everything when there is none. Throws
/// Failure when nothing is above the level.
void deriveParameters(const KvMath::KvProfileZSet& stack, const QString& path, OutlineParameters& parameters);

Outline findOutline(const KvMath::KvProfileZSet& stack, const OutlineParameters& parameters);

}  // namespace KvMeasure
