#include <kvmeasure/report/json.h>

#include <cmath>

namespace KvMeasure {

QJsonValue jsonNumber(double value) { return std::isfinite(value) ? QJsonValue(value) : QJsonValue(); }

QJsonArray jsonPoint(const Vector& point) { return {jsonNumber(point.x), jsonNumber(point.y)}; }

QJsonArray jsonSegments(const Segments& segments) {
    QJsonArray array;
    for (const KvMath::LinePP& segment : segments)
        array.append(QJsonObject{{"p1", jsonPoint(segment.p1)},
                                 {"p2", jsonPoint(segment.p2)},
                                 {"length", jsonNumber(length(segment.p1, segment.p2))}});
    return array;
}

QJsonArray jsonValues(const QList<Value>& values) {
    QJsonArray array;
    for (const Value& value : values) {
        QJsonObject entry{{"name", value.name},
                          {"value", value.isValid ? jsonNumber(value.value) : QJsonValue()},
                          {"unit", value.unit},
                          {"valid", value.isValid},
                          {"reason", value.reason},
                          {"u", value.isValid ? jsonNumber(value.u) : QJsonValue()},
                          {"U", value.isValid ? jsonNumber(value.expandedU()) : QJsonValue()}};
        if (!value.note.isEmpty())
            entry["note"] = value.note;
        if (!value.warning.isEmpty())
            entry["warning"] = value.warning;
        if (value.isValid && std::isfinite(value.propagatedU))
            entry["uPropagated"] = value.propagatedU;
        if (value.statedU > 0)
            entry["uStated"] = value.statedU;
        if (value.freeEdges != 0)
            entry["freeEdges"] = jsonNumber(value.freeEdges);
        if (value.hasTolerance) {
            const Tolerance& tolerance = value.tolerance;
            const bool hasNominal = tolerance.hasNominal;
            entry["min"] = jsonNumber(tolerance.least());
            entry["max"] = jsonNumber(tolerance.greatest());
            entry["nominal"] = hasNominal ? jsonNumber(tolerance.nominal) : QJsonValue();
            entry["lower"] = hasNominal ? jsonNumber(tolerance.lower) : QJsonValue();
            entry["upper"] = hasNominal ? jsonNumber(tolerance.upper) : QJsonValue();
            entry["deviation"] = value.isValid && hasNominal ? jsonNumber(value.deviation()) : QJsonValue();
            entry["withinTolerance"] = value.isGood();
            entry["verdict"] = value.verdict();
            if (value.decision != Decision::Simple)
                entry["decision"] = decisionWords().value(static_cast<int>(value.decision));
        }
        array.append(entry);
    }
    return array;
}

QJsonObject jsonSearch(const KvMath::TSFindTemplateParams& search) {
    return {{"contourGap", search.contourGap},       {"splitTolerance", search.splitTolerance},
            {"minLineLength", search.minLineLength}, {"cornerTolerance", search.cornerTolerance},
            {"allowReversed", search.allowReversed}, {"refineIterations", search.refineIterations}};
}

}  // namespace KvMeasure
