// What a plan delivers, and the plan as a document.

#include <kvmeasure/base/error.h>
#include <kvmeasure/inspection/master_values_p.h>
#include <kvmeasure/inspection/plan_settings_p.h>
#include <kvmeasure/inspection/plan_tools_p.h>
#include <kvmeasure/inspection/result_order_p.h>

#include <kvmath/tsearch/template_document.h>

#include <QtCore/QJsonDocument>

#include <cmath>

namespace KvMeasure {

namespace {

QVariantMap toleranceMap(const Tolerance& tolerance) {
    if (tolerance.hasNominal)
        return {{"nominal", tolerance.nominal}, {"lower", tolerance.lower}, {"upper", tolerance.upper}};
    QVariantMap map;
    if (std::isfinite(tolerance.lower))
        map["min"] = tolerance.lower;
    if (std::isfinite(tolerance.upper))
        map["max"] = tolerance.upper;
    return map;
}

QVariantList meansList(const QList<Mean>& means) {
    QVariantList list;
    for (const Mean& mean : means)
        list.append(QVariantMap{{"name", mean.name}, {"first", mean.first}, {"second", mean.second}});
    return list;
}

/// What belongs to the template alone.
QVariantMap templateMap(const InspectionPlan& plan) {
    QVariant document;
    if (!KvMath::saveTemplate(document, plan.lines, plan.measurements, "1.0", Internal::kOwnVersion,
                              plan.name))
        throw Error("the template cannot be saved");
    QVariantMap map = document.toMap();
    QVariantMap search{{"refineIterations", plan.search.refineIterations},
                       {"allowReversed", plan.search.allowReversed}};
    for (const Internal::SearchKey& entry : Internal::kSearchKeys)
        search[entry.key] = plan.search.*entry.field;
    map["search"] = search;
    map["lineNames"] = plan.lineNames;
    map["means"] = meansList(plan.means);
    QVariantList ends;
    for (const QStringList& pair : plan.ends)
        ends.append(QVariant(pair));
    if (!ends.isEmpty())
        map["ends"] = ends;
    return map;
}

}  // namespace

QList<ValueName> measurementNames(const InspectionPlan& plan) {
    QList<ValueName> names;
    for (KvMath::TSMeasurement* measurement : plan.measurements.getAllMeasurements())
        names += valueNames(*measurement);
    Internal::toShownOrder(
        plan,
        [](const Mean& mean) {
            return ValueName{mean.name, "mm"};
        },
        names);
    return names;
}

QList<ValueName> valueNames(const InspectionPlan& plan) {
    QList<ValueName> names = measurementNames(plan);
    for (const Tool& tool : plan.tools) {
        for (const ToolValue& value : tool.kind->values)
            names.append({tool.valueName(value), value.unit});
    }
    return names + Internal::masterNames(plan);
}

QByteArray planText(const InspectionPlan& plan, const QString& path) {
    QVariantMap map{{"name", plan.name}, {"userVersion", Internal::kOwnVersion}};
    const bool isPlain = plan.filter.isEmpty() && plan.regions.isEmpty() && !plan.hasTools();
    if (plan.hasTemplate() || isPlain)
        map = templateMap(plan);
    const bool isDefault = !plan.fitting.isRaw && plan.fitting.compensatesEdges;
    if (map.contains("template") || !isDefault)
        map["evaluation"] =
            QVariantMap{{"raw", plan.fitting.isRaw}, {"edgeCompensation", plan.fitting.compensatesEdges}};
    Internal::writeTools(plan, map);
    Internal::writeSettings(plan, path, map);
    QVariantMap tolerances;
    for (auto it = plan.tolerances.begin(); it != plan.tolerances.end(); ++it)
        tolerances[it.key()] = toleranceMap(*it);
    map["tolerances"] = tolerances;
    return QJsonDocument::fromVariant(map).toJson();
}

}  // namespace KvMeasure
