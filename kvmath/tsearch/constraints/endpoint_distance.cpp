#include <kvmath/tsearch/constraints/endpoint_distance.h>

#include <kvmath/tsearch/comparison_p.h>
#include <kvmath/tsearch/constraint_definition_p.h>

#include <algorithm>

namespace KvMath {

using namespace Internal;

static inline Comparison compared(const LinePP* lines, int codeFrom, int codeTo, double lower, double upper) {
    return squared(squareOf(between(endOf(lines, codeFrom), startOf(lines, codeTo))), lower, upper);
}

static bool takeReading(const TSCEndPointDistance& constraint, const LinePP* lines, const int* assignment,
                        TSConstraintReading& reading) {
    int from = 0;
    int to = 0;
    double lower = 0;
    double upper = 0;
    constraint.getContraint(from, to, lower, upper);
    if (!areAssigned(lines, assignment, from, to))
        return false;
    reading = readingOf(compared(lines, assignment[from], assignment[to], lower, upper),
                        QStringLiteral("endpoint distance"), TSConstraintReading::Millimetre, from, to);
    return true;
}

KVMATH_CONSTRAINT(TSCEndPointDistance, "Endpoint distance")
KVMATH_SAVE_FIELDS(TSCEndPointDistance, save)
KVMATH_LOAD_FIELDS(TSCEndPointDistance, load)

std::array<StoredField, 4> TSCEndPointDistance::fields() {
    return {storedIndex("lineFromIndex", from_), storedIndex("lineToIndex", to_),
            storedBound("lowerBound", lower_), storedBound("upperBound", upper_)};
}

TSCEndPointDistance::TSCEndPointDistance() : TSCEndPointDistance(0, 0, kNoBound, kNoBound) {}
TSCEndPointDistance::TSCEndPointDistance(int from, int to, double lower, double upper)
    : from_(from), to_(to), lower_(lower), upper_(upper) {}

int TSCEndPointDistance::getMaximumLineIndex() { return std::max(from_, to_); }
int TSCEndPointDistance::getMinimumLineIndex() { return std::min(from_, to_); }

bool TSCEndPointDistance::check(LinePP* lines, int* assignment) {
    return areAssigned(lines, assignment, from_, to_) &&
           isSatisfied(compared(lines, assignment[from_], assignment[to_], lower_, upper_));
}

bool TSCEndPointDistance::setBounds(double lower, double upper) {
    if (!areBounds(lower, upper, 0, kInfinity))
        return false;
    lower_ = lower;
    upper_ = upper;
    return true;
}

void TSCEndPointDistance::getContraint(int& from, int& to, double& lower, double& upper) const {
    from = from_;
    to = to_;
    lower = lower_;
    upper = upper_;
}

}  // namespace KvMath
