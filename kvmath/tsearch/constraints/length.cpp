#include <kvmath/tsearch/constraints/length.h>

#include <kvmath/tsearch/comparison_p.h>
#include <kvmath/tsearch/constraint_definition_p.h>

namespace KvMath {

using namespace Internal;

static inline Comparison compared(const LinePP* lines, int code, double lower, double upper) {
    return squared(squareOf(directionOf(lines, code)), lower, upper);
}

static bool takeReading(const TSCLength& constraint, const LinePP* lines, const int* assignment,
                        TSConstraintReading& reading) {
    int line = 0;
    double lower = 0;
    double upper = 0;
    constraint.getContraint(line, lower, upper);
    if (!isAssigned(lines, assignment, line))
        return false;
    reading = readingOf(compared(lines, assignment[line], lower, upper), QStringLiteral("length"),
                        TSConstraintReading::Millimetre, line);
    return true;
}

KVMATH_CONSTRAINT(TSCLength, "Length")
KVMATH_SAVE_FIELDS(TSCLength, save)
KVMATH_LOAD_FIELDS(TSCLength, load)

std::array<StoredField, 3> TSCLength::fields() {
    return {storedIndex("lineIndex", line_), storedBound("lowerBound", lower_),
            storedBound("upperBound", upper_)};
}

TSCLength::TSCLength() : TSCLength(0, kNoBound, kNoBound) {}
TSCLength::TSCLength(int line, double lower, double upper) : line_(line), lower_(lower), upper_(upper) {}

int TSCLength::getMaximumLineIndex() { return line_; }

bool TSCLength::check(LinePP* lines, int* assignment) {
    return isAssigned(lines, assignment, line_) &&
           isSatisfied(compared(lines, assignment[line_], lower_, upper_));
}

bool TSCLength::setBounds(double lower, double upper) {
    if (!areBounds(lower, upper, 0, kInfinity))
        return false;
    lower_ = lower;
    upper_ = upper;
    return true;
}

void TSCLength::getContraint(int& line, double& lower, double& upper) const {
    line = line_;
    lower = lower_;
    upper = upper_;
}

}  // namespace KvMath
