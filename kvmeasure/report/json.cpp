// Members of values and segments are named once, and become values of Qt or text, so that both say the same.

#include <kvmeasure/report/json.h>

#include <kvmeasure/report/json_text_p.h>

#include <cmath>

namespace KvMeasure {

QJsonValue jsonNumber(double value) { return std::isfinite(value) ? QJsonValue(value) : QJsonValue(); }

QJsonArray jsonPoint(const Vector& point) { return {jsonNumber(point.x), jsonNumber(point.y)}; }

namespace {

/// The same members as values of Qt.
class JsonMembers {
public:
    template <class Any>
    void add(const char* name, const Any& value) {
        object_[QLatin1String(name)] = value;
    }
    void add(const char* name, double value) { object_[QLatin1String(name)] = jsonNumber(value); }
    void add(const char* name, const Vector& value) { object_[QLatin1String(name)] = jsonPoint(value); }
    const QJsonObject& object() const { return object_; }

private:
    QJsonObject object_;
};

// Below members stand in the order of their names, as JsonText needs them.

template <class Members>
void addMembers(Members& members, const KvMath::LinePP& segment) {
    members.add("length", length(segment.p1, segment.p2));
    members.add("p1", segment.p1);
    members.add("p2", segment.p2);
}

template <class Members>
void addMembers(Members& members, const Value& value) {
    const Tolerance& tolerance = value.tolerance;
    const bool hasTolerance = value.hasTolerance, hasNominal = hasTolerance && tolerance.hasNominal;
    const auto number = [](bool isKnown, double known) { return isKnown ? known : std::nan(""); };
    members.add("U", number(value.isValid, value.expandedU()));
    if (hasTolerance && value.decision != Decision::Simple)
        members.add("decision", decisionWords().value(static_cast<int>(value.decision)));
    if (hasTolerance)
        members.add("deviation", number(value.isValid && hasNominal, value.deviation()));
    if (value.freeEdges != 0)
        members.add("freeEdges", value.freeEdges);
    if (hasTolerance) {
        members.add("lower", number(hasNominal, tolerance.lower));
        members.add("max", tolerance.greatest());
        members.add("min", tolerance.least());
    }
    members.add("name", value.name);
    if (hasTolerance)
        members.add("nominal", number(hasNominal, tolerance.nominal));
    if (!value.note.isEmpty())
        members.add("note", value.note);
    members.add("reason", value.reason);
    members.add("u", number(value.isValid, value.u));
    if (value.isValid && std::isfinite(value.propagatedU))
        members.add("uPropagated", value.propagatedU);
    if (value.statedU > 0)
        members.add("uStated", value.statedU);
    members.add("unit", value.unit);
    if (hasTolerance)
        members.add("upper", number(hasNominal, tolerance.upper));
    members.add("valid", value.isValid);
    members.add("value", number(value.isValid, value.value));
    if (hasTolerance)
        members.add("verdict", value.verdict());
    if (!value.warning.isEmpty())
        members.add("warning", value.warning);
    if (hasTolerance)
        members.add("withinTolerance", value.isGood());
}

template <class All>
QJsonArray membersOfAll(const All& all) {
    QJsonArray array;
    for (const auto& one : all) {
        JsonMembers members;
        addMembers(members, one);
        array.append(members.object());
    }
    return array;
}

template <class All>
void writeAll(JsonText& json, const char* name, const All& all) {
    json.key(name);
    json.beginArray();
    for (const auto& one : all) {
        json.beginObject();
        addMembers(json, one);
        json.endObject();
    }
    json.endArray();
}

}  // namespace

QJsonArray jsonSegments(const Segments& segments) { return membersOfAll(segments); }
QJsonArray jsonValues(const QList<Value>& values) { return membersOfAll(values); }

void writeSegments(JsonText& json, const char* name, const Segments& segments) {
    writeAll(json, name, segments);
}
void writeValues(JsonText& json, const char* name, const QList<Value>& values) {
    writeAll(json, name, values);
}

QJsonObject jsonSearch(const KvMath::TSFindTemplateParams& search) {
    return {{"contourGap", search.contourGap},       {"splitTolerance", search.splitTolerance},
            {"minLineLength", search.minLineLength}, {"cornerTolerance", search.cornerTolerance},
            {"allowReversed", search.allowReversed}, {"refineIterations", search.refineIterations}};
}

}  // namespace KvMeasure
