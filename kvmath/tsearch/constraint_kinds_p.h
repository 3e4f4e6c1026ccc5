#pragma once
// A row of the table of constraint kinds.

#include <kvmath/tsearch/constraint_kinds.h>

#include <typeinfo>
#include <vector>

namespace KvMath::Internal {

struct ConstraintKind {
    QString type;
    quint64 tag;  ///< of the type in stream records
    const std::type_info* typeInfo;
    TSConstraint* (*make)();
    bool (*read)(const TSConstraint& constraint, const LinePP* lines, const int* assignment,
                 TSConstraintReading& reading);
};

/// The row of a class. Defined in constraint_definition_p.h and made where the class is defined, so that the
/// table needs no more than its name.
template <class C>
ConstraintKind constraintKind();

/// All rows.
const std::vector<ConstraintKind>& constraintKinds();

}  // namespace KvMath::Internal
