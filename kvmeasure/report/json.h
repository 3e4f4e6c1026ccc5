#pragma once
// Values as JSON. Lengths are mm, angles degrees; what JSON cannot hold (NaN, infinities) becomes null.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace KvMeasure {

/// A number; null for NaN and infinities.
KVMEASURE_EXPORT QJsonValue jsonNumber(double value);

/// A point as [x, y].
KVMEASURE_EXPORT QJsonArray jsonPoint(const Vector& point);

/// Segments in their order, each with "p1", "p2" and "length". No segments: an empty array.
KVMEASURE_EXPORT QJsonArray jsonSegments(const Segments& segments);

/// Measured values in their order, each with "name", "value" (null when not valid), "unit", "valid", "reason"
/// (empty when valid), "u" and "U" = 2u (null when not known); where there is one, also "note", "warning",
/// "freeEdges" and what its tolerance says.
KVMEASURE_EXPORT QJsonArray jsonValues(const QList<Value>& values);

/// The parameters of a template search under the names of their members.
KVMEASURE_EXPORT QJsonObject jsonSearch(const KvMath::TSFindTemplateParams& search);

}  // namespace KvMeasure
