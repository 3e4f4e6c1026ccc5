#pragma once
// Values of cross-sections of wheels and rails, and verdicts on them, as tables and JSON.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/limits.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

namespace KvMeasure {

/// {"u", "U", "reason"}: numbers, or null with a reason.
KVMEASURE_EXPORT QJsonObject uncertaintyJson(const StandardUncertainty& uncertainty);

/// Each value under its key, null where it is missing; "reasons": an object with the reason of each missing
/// value under its key; "valueNotes": likewise what is to be said of values, where there is something;
/// "uncertainties": likewise uncertaintyJson, where uncertainties were asked for.
KVMEASURE_EXPORT QJsonObject sectionValuesJson(const std::vector<SectionValue>& values);

/// Heading of a table of sections: "section", the names of the values with their units, and "reasons".
KVMEASURE_EXPORT QStringList sectionHead(const std::vector<SectionValue>& values);

/// A row of that table: the name, the values with four decimals ("-" where one is missing), and the reasons,
/// those that are the same for several values once.
KVMEASURE_EXPORT QStringList sectionRow(const QString& name, const std::vector<SectionValue>& values);

/// The verdicts in their order: "symbol", "quantity", "value", "U", "minimum", "maximum", "verdict",
/// "reason", "note".
KVMEASURE_EXPORT QJsonArray verdictsJson(const std::vector<LimitVerdict>& verdicts);

/// Heading of a table of verdicts.
KVMEASURE_EXPORT QStringList verdictHead();

/// A row of that table for a verdict on what is called `name`.
KVMEASURE_EXPORT QStringList verdictRow(const QString& name, const LimitVerdict& verdict);

}  // namespace KvMeasure
