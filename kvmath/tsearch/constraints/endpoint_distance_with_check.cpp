#include <kvmath/tsearch/constraints/endpoint_distance_with_check.h>

#include <kvmath/tsearch/comparison_p.h>
#include <kvmath/tsearch/constraint_definition_p.h>

namespace KvMath {

using namespace Internal;

static double outerSquare(const LinePP* lines, int codeFrom, int codeTo) {
    return squareOf(between(startOf(lines, codeFrom), endOf(lines, codeTo)));
}

static inline Comparison compared(const LinePP* lines, int codeFrom, int codeTo, double lower, double upper) {
    const double facing = squareOf(between(endOf(lines, codeFrom), startOf(lines, codeTo)));
    Comparison c = squared(facing, lower, upper);
    c.isDemandMet = !(facing > outerSquare(lines, codeFrom, codeTo));
    return c;
}

static bool takeReading(const TSCEndPointDistanceWithCheck& constraint, const LinePP* lines,
                        const int* assignment, TSConstraintReading& reading) {
    int from = 0;
    int to = 0;
    double lower = 0;
    double upper = 0;
    constraint.getContraint(from, to, lower, upper);
    if (!areAssigned(lines, assignment, from, to))
        return false;
    const Comparison c = compared(lines, assignment[from], assignment[to], lower, upper);
    reading = readingOf(c, QStringLiteral("endpoint distance"), TSConstraintReading::Millimetre, from, to);
    if (c.isDemandMet)
        return true;
    reading.missedBy = reading.value - std::sqrt(outerSquare(lines, assignment[from], assignment[to]));
    if (isWithinBounds(c))
        reading.fault = QStringLiteral("more than between their other ends");
    return true;
}

KVMATH_CONSTRAINT(TSCEndPointDistanceWithCheck, "Endpoint distance w/c")

TSCEndPointDistanceWithCheck::TSCEndPointDistanceWithCheck() = default;
TSCEndPointDistanceWithCheck::TSCEndPointDistanceWithCheck(int from, int to, double lower, double upper)
    : TSCEndPointDistance(from, to, lower, upper) {}

bool TSCEndPointDistanceWithCheck::check(LinePP* lines, int* assignment) {
    int from = 0;
    int to = 0;
    double lower = 0;
    double upper = 0;
    getContraint(from, to, lower, upper);
    return areAssigned(lines, assignment, from, to) &&
           isSatisfied(compared(lines, assignment[from], assignment[to], lower, upper));
}

}  // namespace KvMath
