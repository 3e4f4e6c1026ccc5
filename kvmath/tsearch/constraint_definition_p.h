#pragma once
// What the definition of a constraint kind does not have to write.

#include <kvmath/tsearch/constraint_kinds_p.h>
#include <kvmath/tsearch/stored_fields_p.h>
#include <kvmath/tsearch/type_tag_p.h>

namespace KvMath::Internal {

/// Calls the kind's own takeReading, which stands in namespace KvMath before KVMATH_CONSTRAINT.
template <class C>
ConstraintKind constraintKind() {
    const QString type = C().getType();
    return {type, typeTag(type), &typeid(C), []() -> TSConstraint* { return new C; },
            [](const TSConstraint& constraint, const LinePP* lines, const int* assignment,
               TSConstraintReading& reading) {
                return takeReading(static_cast<const C&>(constraint), lines, assignment, reading);
            }};
}

}  // namespace KvMath::Internal

/// Type name, clone and row of a kind.
#define KVMATH_CONSTRAINT(CLASS, TYPE)                                                                       \
    QString CLASS::getType() { return QStringLiteral(TYPE); }                                                \
    TSConstraint* CLASS::clone() { return new CLASS(*this); }                                                \
    template Internal::ConstraintKind Internal::constraintKind<CLASS>();
