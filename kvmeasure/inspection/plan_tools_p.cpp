// The part of a plan document that tools need: filter, regions, anchors, tools. What a tool's entry may hold
// is read from the fields of its kind, so that a new kind needs nothing here. Each fault names its place.

#include <kvmeasure/inspection/plan_tools_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

/// Work of a profile grows with each.
constexpr int kMostEntries = 1000;

constexpr int kDigits = 17;  // a number as text and back

/// The entries of a list with their places; none where the document has no such key.
template <class Read>
void forEachEntry(const PlanReader& reader, const QVariantMap& document, const char* key, const Read& read) {
    if (!document.contains(key))
        return;
    const QVariantList entries = reader.list(document[key], key);
    if (entries.size() > kMostEntries)
        reader.fail(key, filledIn("has %1 entries; a plan has at most %2", entries.size(), kMostEntries));
    for (int i = 0; i < static_cast<int>(entries.size()); ++i) {
        const QString where = filledIn("%1[%2]", QString(key), i);
        read(reader.map(entries[i], where), where);
    }
}

void readFilter(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan) {
    if (!document.contains("filter"))
        return;
    QStringList steps;
    for (const QVariant& step : reader.list(document["filter"], "filter")) {
        steps.append(step.toString());
        if (step.userType() != QMetaType::QString || step.toString().trimmed().isEmpty() ||
            step.toString().contains(';'))
            reader.fail("filter", "expected a text with one step each, e.g. \"median 5\"");
    }
    try {
        if (!steps.isEmpty())
            plan.filter = parseSteps(steps.join("; "));
    } catch (const Error& error) {
        reader.fail("filter", error.text([](const QString& name) { return name; }));
    }
}

/// "profile": true for "second", false for "first".
bool readProfile(const PlanReader& reader, const QVariantMap& entry, const QString& where) {
    const QStringList words{"first", "second"};
    const QString word = reader.text(entry, "profile", where);
    if (!words.contains(word))
        reader.fail(where, filledIn("expected %1 under \"profile\", found \"%2\"%3", alternatives(words),
                                    word, suggestion(word, words)));
    return word == words.last();
}

void readRegions(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan) {
    forEachEntry(reader, document, "regions", [&](const QVariantMap& entry, const QString& where) {
        reader.refuseOthers(entry, {"name", "x", "z", "at", "profile"}, where);
        Region region;
        region.name = reader.text(entry, "name", where);
        readSides(reader, entry, "x", where, region.minX, region.maxX);
        readSides(reader, entry, "z", where, region.minZ, region.maxZ);
        if (entry.contains("at"))
            region.anchor = reader.text(entry, "at", where);
        if (entry.contains("profile"))
            region.isOfSecond = readProfile(reader, entry, where);
        if (!region.fault().isEmpty())
            reader.fail(where, region.fault());
        plan.regions.append(region);
    });
}

void readAnchors(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan) {
    forEachEntry(reader, document, "anchors", [&](const QVariantMap& entry, const QString& where) {
        Anchor anchor;
        anchor.name = reader.text(entry, "name", where);
        const QString kind = reader.text(entry, "kind", where);
        const auto number = anchorKinds().indexOf(kind);
        if (number < 0)
            reader.fail(where, filledIn("\"%1\" is no kind of anchor (%2)%3", kind, anchorKinds().join(", "),
                                        suggestion(kind, anchorKinds())));
        anchor.kind = static_cast<Anchor::Kind>(number);
        const QString source = anchor.kind == Anchor::TemplateLine ? "line" : "region";
        reader.refuseOthers(entry, {"name", "kind", source, "from"}, where);
        anchor.source = reader.text(entry, source, where);
        if (entry.contains("from")) {
            const QVariantList from = reader.list(entry["from"], where + ".from");
            QList<double> numbers;
            if (from.size() != 2 && from.size() != 3)
                reader.fail(where, "expected [X, Z] or [X, Z, DEGREES] under \"from\"");
            for (const QVariant& part : from) {
                if (!isNumber(part))
                    reader.fail(where, "expected numbers under \"from\"");
                numbers.append(part.toDouble());
            }
            anchor.taught = {Vector(numbers[0], numbers[1]), numbers.value(2) / kDegreesPerRadian};
        }
        if (!anchor.fault().isEmpty())
            reader.fail(where, anchor.fault());
        plan.anchors.append(anchor);
    });
}

void readSetting(const PlanReader& reader, const QVariantMap& entry, const QString& where, Tool& tool,
                 const ToolField& field) {
    if (!entry.contains(field.key))
        return;
    const QVariant value = entry[field.key];
    const bool isNumberField = field.type == ToolField::Number;
    const bool mayBeNumber = isNumberField || field.type == ToolField::RegionOrNumber;
    if (isNumberField && !isNumber(value))
        reader.fail(where, filledIn("expected a number under \"%1\"", QString(field.key)));
    if (!isNumber(value) && value.userType() != QMetaType::QString)
        reader.fail(where, filledIn("expected a text%1 under \"%2\"",
                                    QString(mayBeNumber ? " or a number" : ""), QString(field.key)));
    const QString fault = tool.set(
        field.key, isNumber(value) ? QString::number(value.toDouble(), 'g', kDigits) : value.toString());
    if (!fault.isEmpty())
        reader.fail(where, filledIn("\"%1\": %2", QString(field.key), fault));
}

void readToolList(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan) {
    forEachEntry(reader, document, "tools", [&](const QVariantMap& entry, const QString& where) {
        const QString word = reader.text(entry, "kind", where);
        const ToolKind* kind = findToolKind(word);
        if (kind == nullptr) {
            QStringList known;
            for (const ToolKind* one : toolKinds())
                known.append(one->word);
            reader.fail(where, filledIn("\"%1\" is no kind of tool (%2)%3", word, known.join(", "),
                                        suggestion(word, known)));
        }
        Tool tool(reader.text(entry, "name", where), *kind);
        if (!isPlanName(tool.name))
            reader.fail(where,
                        filledIn("\"%1\" is no name: letters, digits, - and _, and not a number", tool.name));
        QStringList known{"name", "kind"};
        for (const ToolField& field : kind->fields)
            known.append(field.key);
        reader.refuseOthers(entry, known, where);
        for (const ToolField& field : kind->fields)
            readSetting(reader, entry, where, tool, field);
        if (!tool.fault().isEmpty())
            reader.fail(where, tool.fault());
        plan.tools.append(tool);
    });
}

QVariantMap regionMap(const Region& region) {
    QVariantMap map{{"name", region.name}};
    if (!std::isinf(region.minX) || !std::isinf(region.maxX))
        map["x"] = sidesList(region.minX, region.maxX);
    if (!std::isinf(region.minZ) || !std::isinf(region.maxZ))
        map["z"] = sidesList(region.minZ, region.maxZ);
    if (!region.anchor.isEmpty())
        map["at"] = region.anchor;
    if (region.isOfSecond)
        map["profile"] = QString("second");
    return map;
}

QVariantMap anchorMap(const Anchor& anchor) {
    return {{"name", anchor.name},
            {"kind", anchorKinds().value(anchor.kind)},
            {anchor.kind == Anchor::TemplateLine ? "line" : "region", anchor.source},
            {"from", QVariantList{anchor.taught.place.x, anchor.taught.place.y,
                                  anchor.taught.turn * kDegreesPerRadian}}};
}

QVariantMap toolMap(const Tool& tool) {
    QVariantMap map{{"name", tool.name}, {"kind", QString(tool.kind->word)}};
    for (std::size_t i = 0; i < tool.settings.size(); ++i) {
        const Tool::Setting& setting = tool.settings[i];
        if (!setting.text.isEmpty())
            map[tool.kind->fields[i].key] = setting.text;
        else if (!std::isnan(setting.number))
            map[tool.kind->fields[i].key] = setting.number;
    }
    return map;
}

template <class Entry, class Map>
void writeList(const QList<Entry>& entries, const char* key, QVariantMap& document, const Map& map) {
    QVariantList list;
    for (const Entry& entry : entries)
        list.append(map(entry));
    if (!list.isEmpty())
        document[key] = list;
}

}  // namespace

void readSides(const PlanReader& reader, const QVariantMap& entry, const char* key, const QString& where,
               double& from, double& to) {
    if (!entry.contains(key))
        return;
    const QVariantList sides = reader.list(entry[key], where + '.' + key);
    if (sides.size() != 2)
        reader.fail(where, filledIn("expected [FROM, TO] under \"%1\", null for an open side", QString(key)));
    double* const numbers[] = {&from, &to};
    for (int i = 0; i < 2; ++i) {
        if (isNumber(sides[i]))
            *numbers[i] = sides[i].toDouble();
        else if (!sides[i].isNull())
            reader.fail(where, filledIn("expected numbers or null under \"%1\"", QString(key)));
    }
}

QVariantList sidesList(double from, double to) {
    const auto side = [](double value) { return std::isinf(value) ? QVariant() : QVariant(value); };
    return {side(from), side(to)};
}

const QStringList& toolKeys() {
    static const QStringList keys{"units", "filter", "regions", "anchors", "tools"};
    return keys;
}

void readTools(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan) {
    if (document.contains("units") && document["units"] != QVariant("mm"))
        reader.fail("units", "a plan is written in mm and degrees; expected \"mm\"");
    readFilter(reader, document, plan);
    readRegions(reader, document, plan);
    readAnchors(reader, document, plan);
    readToolList(reader, document, plan);
    const QString fault = planFault(plan);
    if (!fault.isEmpty())
        reader.fail(fault.section(": ", 0, 0), fault.section(": ", 1));
}

void writeTools(const InspectionPlan& plan, QVariantMap& document) {
    QVariantList steps;
    for (const FilterStep& step : plan.filter)
        steps.append(step.text);
    if (!steps.isEmpty())
        document["filter"] = steps;
    writeList(plan.regions, "regions", document, regionMap);
    writeList(plan.anchors, "anchors", document, anchorMap);
    writeList(plan.tools, "tools", document, toolMap);
    for (const QString& key : {QString("regions"), QString("tools")}) {
        if (document.contains(key))
            document["units"] = "mm";
    }
}

}  // namespace KvMeasure::Internal
