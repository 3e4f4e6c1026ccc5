// The schema is made from what the reader uses itself: fields of tools, types of constraints and measurements
// with the keys that they store, keys of the search, words of choices. A key of a type is required where the
// type cannot be loaded without it, which is tried.

#include <kvmeasure/inspection/plan.h>
#include <kvmeasure/inspection/plan_reader_p.h>
#include <kvmeasure/inspection/plan_settings_p.h>
#include <kvmeasure/inspection/plan_tools_p.h>

#include <kvmath/tsearch/constraint_kinds.h>
#include <kvmath/tsearch/measurement_manager.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cmath>
#include <memory>

namespace KvMeasure {

using Internal::statedUnits;

namespace {

QJsonObject typed(const char* type) { return {{"type", type}}; }

QJsonObject ofWords(const QStringList& words) { return {{"enum", QJsonArray::fromStringList(words)}}; }

QJsonObject numbers(double least, double greatest) {
    return {{"type", "number"}, {"minimum", least}, {"maximum", greatest}};
}

QJsonObject listOf(const QJsonObject& entry, int fewest = 0, int most = -1) {
    QJsonObject list{{"type", "array"}, {"items", entry}};
    if (fewest > 0)
        list["minItems"] = fewest;
    if (most >= 0)
        list["maxItems"] = most;
    return list;
}

QJsonObject anyOf(const QJsonArray& schemas) { return {{"anyOf", schemas}}; }

/// An object that has no other keys.
QJsonObject closed(const QJsonObject& properties, const QStringList& required) {
    return {{"type", "object"},
            {"properties", properties},
            {"required", QJsonArray::fromStringList(required)},
            {"additionalProperties", false}};
}

QJsonObject has(const QString& key) { return {{"required", QJsonArray{key}}}; }

QJsonArray hasOneOf(const QStringList& keys) {
    QJsonArray schemas;
    for (const QString& key : keys)
        schemas.append(has(key));
    return schemas;
}

/// Letters, digits, - and _, and not a number. Regular expressions of JSON schemas know no classes of letters
/// beyond ASCII: all of these are taken.
QJsonObject planName() {
    return {{"type", "string"},
            {"minLength", 1},
            {"maxLength", 64},
            {"pattern", "^(?!-?[0-9]+([eE]-?[0-9]+)?$)[^\\u0000-,./:-@\\[-\\^`{-\\u007f]+$"}};
}

QJsonObject sides() { return listOf({{"type", QJsonArray{"number", "null"}}}, 2, 2); }

constexpr int kMostEntries = 1000;

/// Objects of several kinds: `key` holds the kind, whose object is that of the same place.
QJsonObject ofKinds(const QString& key, const QStringList& kinds, const QJsonArray& objects) {
    QJsonArray cases;
    for (int i = 0; i < static_cast<int>(kinds.size()); ++i)
        cases.append(QJsonObject{
            {"if", QJsonObject{{"properties", QJsonObject{{key, QJsonObject{{"const", kinds[i]}}}}}}},
            {"then", objects[i]}});
    return {{"type", "object"},
            {"required", QJsonArray{key}},
            {"properties", QJsonObject{{key, ofWords(kinds)}}},
            {"allOf", cases}};
}

QJsonObject fieldSchema(const ToolField& field) {
    QJsonObject schema;
    switch (field.type) {
    case ToolField::Region:
        schema = planName();
        break;
    case ToolField::Number:
        schema = numbers(field.least, field.greatest);
        break;
    case ToolField::RegionOrNumber:
        schema = anyOf({planName(), numbers(field.least, field.greatest)});
        break;
    case ToolField::Choice:
        schema = ofWords(field.choices);
        break;
    }
    QString help = field.help;
    if (field.type == ToolField::Number || field.type == ToolField::RegionOrNumber)
        help += *field.unit == '\0' ? QString() : QString(", ") + field.unit;
    schema["description"] = help;
    if (field.type == ToolField::Choice)
        schema["default"] = field.choices.value(0);
    else if (!std::isnan(field.absent))
        schema["default"] = field.absent;
    return schema;
}

QJsonObject toolSchema() {
    QStringList words;
    QJsonArray objects;
    for (const ToolKind* kind : toolKinds()) {
        QJsonObject properties{{"name", planName()}, {"kind", QJsonObject{{"const", kind->word}}}};
        QStringList required{"name"};
        for (const ToolField& field : kind->fields) {
            properties[field.key] = fieldSchema(field);
            if (field.isRequired)
                required.append(field.key);
        }
        QJsonObject object = closed(properties, required);
        object["description"] = kind->help;
        words.append(kind->word);
        objects.append(object);
    }
    return ofKinds("kind", words, objects);
}

QJsonObject regionSchema() {
    return closed({{"name", planName()},
                   {"x", sides()},
                   {"z", sides()},
                   {"at", typed("string")},
                   {"profile", ofWords({"first", "second"})}},
                  {"name"});
}

QJsonObject anchorSchema() {
    QJsonArray objects;
    for (int i = 0; i < static_cast<int>(anchorKinds().size()); ++i) {
        const char* const source = i == Anchor::TemplateLine ? "line" : "region";
        objects.append(closed({{"name", planName()},
                               {"kind", ofWords(anchorKinds())},
                               {source, typed("string")},
                               {"from", listOf(typed("number"), 2, 3)}},
                              {"name", source}));
    }
    return ofKinds("kind", anchorKinds(), objects);
}

/// A value as a constraint or a measurement stores it.
QJsonObject storedValue(const QVariant& example) {
    switch (example.userType()) {
    case QMetaType::Bool:
        return typed("boolean");
    case QMetaType::QVariantList:
        return typed("array");
    case QMetaType::QString:  // an unset bound
    case QMetaType::Double:
        return anyOf({typed("number"), QJsonObject{{"const", "undefined"}}});
    default:
        return typed("number");
    }
}

/// Objects of the library, which may have more keys than it reads.
template <class Make>
QJsonObject storedSchema(const QString& typeKey, const QStringList& types, const Make& make) {
    QJsonArray objects;
    for (const QString& type : types) {
        QVariantMap complete;
        make(type)->save(complete);
        QJsonObject properties;
        QStringList required;
        for (const QString& key : complete.keys()) {
            if (key == typeKey)
                continue;
            properties[key] = storedValue(complete[key]);
            QVariantMap without = complete;
            without.remove(key);
            if (!make(type)->load(without))
                required.append(key);
        }
        objects.append(
            QJsonObject{{"properties", properties}, {"required", QJsonArray::fromStringList(required)}});
    }
    return ofKinds(typeKey, types, objects);
}

QJsonObject templateSchema() {
    const QJsonObject constraint =
        storedSchema("constraintType", KvMath::constraintTypes(), [](const QString& type) {
            return std::unique_ptr<KvMath::TSConstraint>(KvMath::newConstraint(type));
        });
    return {{"type", "object"},
            {"required", QJsonArray{"numOfLines", "constraints"}},
            {"properties",
             QJsonObject{{"numOfLines",
                          QJsonObject{{"type", "integer"}, {"minimum", 0}, {"maximum", kMostTemplateLines}}},
                         {"constraints", listOf(constraint)}}}};
}

QJsonObject measurementSchema() {
    const auto& kinds = KvMath::TSManagerOfMeasurements::instance();
    return storedSchema("measurementType", kinds.getTypes(), [&](const QString& type) {
        return std::unique_ptr<KvMath::TSMeasurement>(kinds.getMeasurement(type));
    });
}

QJsonObject searchSchema() {
    QJsonObject properties{
        {"refineIterations", QJsonObject{{"type", "integer"}, {"minimum", 0}, {"maximum", 1000}}},
        {"allowReversed", typed("boolean")}};
    for (const Internal::SearchKey& entry : Internal::kSearchKeys)
        properties[entry.key] = QJsonObject{{"type", "number"}, {"minimum", 0}};
    return closed(properties, properties.keys());
}

QJsonObject toleranceSchema() {
    const QJsonObject number = typed("number");
    QJsonObject limits = closed({{"min", number}, {"max", number}}, {});
    limits["minProperties"] = 1;
    return anyOf(
        {closed({{"nominal", number}, {"lower", number}, {"upper", number}}, {"nominal", "lower", "upper"}),
         limits});
}

QJsonObject masterSchema() {
    QJsonObject schema = closed({{"name", planName()},
                                 {"file", QJsonObject{{"type", "string"}, {"minLength", 1}}},
                                 {"points", listOf(listOf(typed("number"), 2, 2), 2)},
                                 {"align", ofWords(alignmentWords())},
                                 {"keepAll", typed("boolean")},
                                 {"band", sides()}},
                                {});
    schema["oneOf"] = hasOneOf({"file", "points"});
    return schema;
}

QJsonObject calibrationSchema() {
    const QJsonObject u = numbers(0, 1e6);
    QJsonObject ofUnits;
    for (const QString& unit : statedUnits())
        ofUnits[unit] = u;
    return closed({{"u", closed(ofUnits, {})},
                   {"values", QJsonObject{{"type", "object"}, {"additionalProperties", u}}}},
                  {});
}

QJsonObject properties() {
    const QJsonObject text = typed("string");
    const QJsonObject flag = typed("boolean");
    const QJsonObject step{{"type", "string"}, {"pattern", "^[^;]*[^;\\s][^;]*$"}};
    const QJsonObject mean =
        closed({{"name", text}, {"first", text}, {"second", text}}, {"name", "first", "second"});
    return {{"fileVersion", text},
            {"userVersion", text},
            {"name", text},
            {"units", QJsonObject{{"const", "mm"}}},
            {"filter", listOf(step)},
            {"template", templateSchema()},
            {"measurements", listOf(measurementSchema())},
            {"search", searchSchema()},
            {"lineNames", listOf({{"type", QJsonArray{"string", "number"}}})},
            {"means", listOf(mean, 0, kMostEntries)},
            {"tolerances", QJsonObject{{"type", "object"}, {"additionalProperties", toleranceSchema()}}},
            {"evaluation", closed({{"raw", flag}, {"edgeCompensation", flag}}, {})},
            {"ends", listOf(listOf(text, 2, 2))},
            {"regions", listOf(regionSchema(), 0, kMostEntries)},
            {"anchors", listOf(anchorSchema(), 0, kMostEntries)},
            {"tools", listOf(toolSchema(), 0, kMostEntries)},
            {"master", masterSchema()},
            {"decision", ofWords(decisionWords())},
            {"calibration", calibrationSchema()}};
}

}  // namespace

QByteArray planSchema() {
    const QStringList ownKeys = Internal::toolKeys() + Internal::settingKeys();
    const QJsonObject isOwn{
        {"properties", QJsonObject{{"userVersion", QJsonObject{{"const", Internal::kOwnVersion}}}}},
        {"required", QJsonArray{"userVersion"}}};
    QJsonArray own = hasOneOf(ownKeys);
    own.append(isOwn);
    const QJsonObject foreign{{"required", QJsonArray{"template"}}, {"not", anyOf(own)}};
    const QJsonObject withTemplate{{"required", QJsonArray{"template", "measurements"}}};
    QJsonObject withoutTemplate = anyOf(hasOneOf(ownKeys));
    withoutTemplate["not"] = anyOf(hasOneOf({"template", "measurements"}));
    const QJsonObject known = properties();
    QJsonObject anyKey;
    for (const QString& key : known.keys())
        anyKey[key] = true;
    QJsonObject schema{{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                       {"title", "Inspection plan of kvmeasure"},
                       {"type", "object"},
                       {"properties", known},
                       {"anyOf", QJsonArray{withTemplate, withoutTemplate}},
                       // Template documents of other programs may have keys of their own.
                       {"if", foreign},
                       {"else", QJsonObject{{"properties", anyKey}, {"additionalProperties", false}}}};
    return QJsonDocument(schema).toJson();
}

}  // namespace KvMeasure
