#include <kvmeasure/inspection/plan_fault_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <kvmath/tsearch/constraint_kinds.h>
#include <kvmath/tsearch/measurement_manager.h>

#include <memory>

namespace KvMeasure::Internal {

using namespace KvMath;

namespace {

/// The example, of the entry's type, takes the keys one by one: the one that it does not take is the cause.
/// Empty where it takes them all. It is null for an unknown type; `types` are the known ones.
template <class Base>
QString faultOf(Base* example, const QStringList& types, const QVariantMap& entry, const char* typeKey) {
    const std::unique_ptr<Base> owner(example);
    if (!entry.contains(typeKey))
        return QString("lacks \"%1\"").arg(typeKey);
    const QString type = entry.value(typeKey).toString();
    if (example == nullptr)
        return filledIn("has an unknown \"%1\", \"%2\"%3; expected %4", typeKey, type,
                        suggestion(type, types), alternatives(types));
    QVariantMap complete;
    example->save(complete);
    const QStringList keys = complete.keys() + entry.keys();
    for (const QString& key : keys) {
        QVariantMap changed = complete;
        changed.remove(key);
        if (entry.contains(key))
            changed[key] = entry.value(key);
        if (!example->load(changed))
            return (entry.contains(key) ? "has an unusable value under \"" : "lacks \"") + key + '"';
    }
    return QString();
}

/// As the keys of all kinds do: "lineFromIndex", "measureLineIndex".
bool namesLine(const QString& key) {
    return key.contains("line", Qt::CaseInsensitive) && key.endsWith("Index");
}

}  // namespace

QString foreignLine(const QVariantMap& entry, int lines) {
    for (const QString& key : entry.keys()) {
        const double line = entry.value(key).toDouble();
        if (namesLine(key) && !(line >= 0 && line < lines))
            return filledIn("\"%1\" names line %2; the template has %3 lines, from 0", key,
                            entry.value(key).toString(), lines);
    }
    return QString();
}

namespace {

QString orUnknown(const QString& fault) { return fault.isEmpty() ? QString("cannot be loaded") : fault; }

}  // namespace

QString constraintFault(const QVariantMap& entry, int lines) {
    const char* const typeKey = "constraintType";
    QString fault =
        faultOf(newConstraint(entry.value(typeKey).toString()), constraintTypes(), entry, typeKey);
    if (!fault.isEmpty())
        return fault;
    return orUnknown(foreignLine(entry, lines));
}

QString measurementFault(const QVariantMap& entry) {
    const char* const typeKey = "measurementType";
    const auto& kinds = TSManagerOfMeasurements::instance();
    return orUnknown(
        faultOf(kinds.getMeasurement(entry.value(typeKey).toString()), kinds.getTypes(), entry, typeKey));
}

}  // namespace KvMeasure::Internal
