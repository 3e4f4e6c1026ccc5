#pragma once
// Assignment codes: 2 * segment, plus 1 when the segment is used from its second point to its first.
// A negative code is a template line that is not assigned yet.

#include <kvmath/segments/line_types.h>

namespace KvMath::Internal {

inline int segmentOf(int code) { return code / 2; }
inline bool isReversed(int code) { return (code & 1) != 0; }

/// A segment in the direction of use.
inline LinePP directed(const LinePP& segment, int code) {
    return isReversed(code) ? LinePP(segment.p2, segment.p1) : segment;
}

/// Start and end of the segment that a code >= 0 names, in the direction of use.
inline const KvVector2D<double>& startOf(const LinePP* lines, int code) {
    const LinePP& segment = lines[segmentOf(code)];
    return isReversed(code) ? segment.p2 : segment.p1;
}

inline const KvVector2D<double>& endOf(const LinePP* lines, int code) {
    const LinePP& segment = lines[segmentOf(code)];
    return isReversed(code) ? segment.p1 : segment.p2;
}

/// End minus start, in the direction of use.
inline KvVector2D<double> directionOf(const LinePP* lines, int code) {
    const KvVector2D<double>& start = startOf(lines, code);
    const KvVector2D<double>& end = endOf(lines, code);
    return {end.x - start.x, end.y - start.y};
}

}  // namespace KvMath::Internal
