#include <kvmath/tsearch/constraints/inclination_angle.h>

#include <kvmath/tsearch/comparison_p.h>
#include <kvmath/tsearch/constraint_definition_p.h>

namespace KvMath {

using namespace Internal;

static inline Comparison compared(const LinePP* lines, int code, double lower, double upper) {
    return Comparison{inclinationOf(directionOf(lines, code)), lower, upper};
}

static bool takeReading(const TSCInclinationAngle& constraint, const LinePP* lines, const int* assignment,
                        TSConstraintReading& reading) {
    int line = 0;
    double lower = 0;
    double upper = 0;
    constraint.getContraint(line, lower, upper);
    if (!isAssigned(lines, assignment, line))
        return false;
    reading = readingOf(compared(lines, assignment[line], lower, upper), QStringLiteral("inclination angle"),
                        TSConstraintReading::Radian, line);
    return true;
}

KVMATH_CONSTRAINT(TSCInclinationAngle, "Inclination angle")
KVMATH_SAVE_FIELDS(TSCInclinationAngle, save)
KVMATH_LOAD_FIELDS(TSCInclinationAngle, load)

std::array<StoredField, 3> TSCInclinationAngle::fields() {
    return {storedIndex("lineIndex", line_), storedBound("lowerBound", lower_),
            storedBound("upperBound", upper_)};
}

TSCInclinationAngle::TSCInclinationAngle() : TSCInclinationAngle(0, kNoBound, kNoBound) {}
TSCInclinationAngle::TSCInclinationAngle(int line, double lower, double upper)
    : line_(line), lower_(lower), upper_(upper) {}

int TSCInclinationAngle::getMaximumLineIndex() { return line_; }

bool TSCInclinationAngle::check(LinePP* lines, int* assignment) {
    return isAssigned(lines, assignment, line_) &&
           isSatisfied(compared(lines, assignment[line_], lower_, upper_));
}

bool TSCInclinationAngle::setBounds(double lower, double upper) {
    if (!areBounds(lower, upper, -kPi, kPi))
        return false;
    lower_ = lower;
    upper_ = upper;
    return true;
}

void TSCInclinationAngle::getContraint(int& line, double& lower, double& upper) const {
    line = line_;
    lower = lower_;
    upper = upper_;
}

}  // namespace KvMath
