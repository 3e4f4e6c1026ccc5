#include <kvmeasure/inspection/plan_reader_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <QtCore/QMetaType>

namespace KvMeasure::Internal {

bool isNumber(const QVariant& value) {
    return value.userType() == QMetaType::Double || value.userType() == QMetaType::LongLong ||
           value.userType() == QMetaType::ULongLong || value.userType() == QMetaType::Int;
}

void PlanReader::fail(const QString& where, const QString& text) const {
    throw Error(filledIn("%1: %2: %3", path_, where, text)).inFile(path_);
}

double PlanReader::number(const QVariantMap& map, const QString& key, const QString& where) const {
    const QVariant value = map.value(key);
    if (!isNumber(value))
        fail(where, filledIn("expected a number under \"%1\"", key));
    return value.toDouble();
}

QString PlanReader::text(const QVariantMap& map, const QString& key, const QString& where) const {
    const QVariant value = map.value(key);
    if (value.userType() != QMetaType::QString)
        fail(where, filledIn("expected a text under \"%1\"", key));
    return value.toString();
}

QVariantMap PlanReader::map(const QVariant& value, const QString& where) const {
    if (value.userType() != QMetaType::QVariantMap)
        fail(where, "expected an object { ... }");
    return value.toMap();
}

QVariantList PlanReader::list(const QVariant& value, const QString& where) const {
    if (value.userType() != QMetaType::QVariantList)
        fail(where, "expected a list [ ... ]");
    return value.toList();
}

void PlanReader::refuseOthers(const QVariantMap& map, const QStringList& known, const QString& where) const {
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (!known.contains(it.key()))
            fail(where, filledIn("unknown key \"%1\"%2", it.key(), suggestion(it.key(), known)));
    }
}

}  // namespace KvMeasure::Internal
