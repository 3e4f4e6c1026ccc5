// The table of constraint kinds: a new kind is a file in constraints/ and a row here.

#include <kvmath/tsearch/constraint_kinds_p.h>

#include <algorithm>

namespace KvMath {

using Internal::ConstraintKind;
using Internal::constraintKind;

// `class` declares the name, so that the table needs no header of a kind; in an unnamed namespace it would
// declare another class.
static constexpr ConstraintKind (*kRows[])() = {
    constraintKind<class TSCLength>,           constraintKind<class TSCInclinationAngle>,
    constraintKind<class TSCEndPointDistance>, constraintKind<class TSCEndPointDistanceWithCheck>,
    constraintKind<class TSCRotationAngle>,    constraintKind<class TSCEndPointShiftInDirection>,
};

/// Made on first use and never destroyed, so that hosts may load until the end.
const std::vector<ConstraintKind>& Internal::constraintKinds() {
    static const auto* const kinds = [] {
        auto* made = new std::vector<ConstraintKind>;
        for (const auto row : kRows)
            made->push_back(row());
        return made;
    }();
    return *kinds;
}

QStringList constraintTypes() {
    QStringList types;
    for (const ConstraintKind& kind : Internal::constraintKinds())
        types.append(kind.type);
    return types;
}

TSConstraint* newConstraint(const QString& type) {
    for (const ConstraintKind& kind : Internal::constraintKinds()) {
        if (kind.type == type)
            return kind.make();
    }
    return nullptr;
}

bool readConstraint(const TSConstraint& constraint, const LinePP* lines, const int* assignment,
                    TSConstraintReading& reading) {
    // The very class: one that a host derives from a kind may check something else.
    for (const ConstraintKind& kind : Internal::constraintKinds()) {
        if (*kind.typeInfo == typeid(constraint))
            return kind.read(constraint, lines, assignment, reading);
    }
    return false;
}

}  // namespace KvMath
