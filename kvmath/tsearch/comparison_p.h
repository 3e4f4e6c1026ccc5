#pragma once
// What a constraint compares, once for its check and for its reading.

#include <kvmath/base/constants_p.h>
#include <kvmath/tsearch/assignment_p.h>
#include <kvmath/tsearch/bounds_p.h>
#include <kvmath/tsearch/constraint_kinds.h>
#include <kvmath/tsearch/directions_p.h>

#include <cmath>
#include <limits>

namespace KvMath::Internal {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

inline bool isAssigned(const LinePP* lines, const int* assignment, int line) {
    return lines != nullptr && assignment != nullptr && line >= 0 && assignment[line] >= 0;
}

inline bool areAssigned(const LinePP* lines, const int* assignment, int from, int to) {
    return isAssigned(lines, assignment, from) && isAssigned(lines, assignment, to);
}

/// A value and its bounds. The value of a length is its square, which saves the root; it is compared with
/// the squares of the bounds, so that by design their sign is lost.
struct Comparison {
    double value = 0;
    double lower = kNoBound;
    double upper = kNoBound;
    bool isSquare = false;
    bool isDemandMet = true;  ///< a demand beside the bounds
};

/// Of a length.
inline Comparison squared(double square, double lower, double upper) {
    return {square, lower, upper, /*isSquare=*/true};
}

/// Unset bounds and NaN values pass.
inline bool isWithinBounds(const Comparison& c) {
    if (c.isSquare)
        return !(isBound(c.lower) && c.lower * c.lower > c.value) &&
               !(isBound(c.upper) && c.value > c.upper * c.upper);
    return !(isBound(c.lower) && c.lower > c.value) && !(isBound(c.upper) && c.value > c.upper);
}

inline bool isSatisfied(const Comparison& c) { return c.isDemandMet && isWithinBounds(c); }

inline TSConstraintReading readingOf(const Comparison& c, const QString& quantity,
                                     TSConstraintReading::Unit unit, int from, int to = -1) {
    const auto compared = [&c](double bound) {
        return c.isSquare && isBound(bound) ? std::fabs(bound) : bound;
    };
    TSConstraintReading reading;
    reading.quantity = quantity;
    reading.from = from;
    reading.to = to;
    reading.value = c.isSquare ? std::sqrt(c.value) : c.value;
    reading.lower = compared(c.lower);
    reading.upper = compared(c.upper);
    reading.unit = unit;
    reading.isSatisfied = isSatisfied(c);
    return reading;
}

inline bool isInRange(double bound, double min, double max) {
    return !isBound(bound) || (min <= bound && bound <= max);
}

/// Legal bounds: each set one in [min, max], in order, no NaN.
inline bool areBounds(double lower, double upper, double min, double max) {
    return isInRange(lower, min, max) && isInRange(upper, min, max) &&
           (!isBound(lower) || !isBound(upper) || upper >= lower);
}

}  // namespace KvMath::Internal
