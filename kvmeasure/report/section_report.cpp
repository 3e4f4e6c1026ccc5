#include <kvmeasure/report/section_report.h>

#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>

#include <cmath>

namespace KvMeasure {

namespace {

constexpr int kDecimals = 4;

QString cell(double value) { return std::isfinite(value) ? fixed(value, kDecimals) : QString("-"); }

/// "Sh, Sd: reason; ..." with each reason once, in the order of the values.
QString reasonsOf(const std::vector<SectionValue>& values) {
    QStringList reasons, keys;
    for (const SectionValue& value : values) {
        const QString text = value.isKnown() ? value.note : value.reason;
        if (text.isEmpty())
            continue;
        const auto at = reasons.indexOf(text);
        if (at < 0) {
            reasons.append(text);
            keys.append(value.key);
        } else {
            keys[at] += ", " + value.key;
        }
    }
    for (int i = 0; i < static_cast<int>(reasons.size()); ++i)
        reasons[i] = keys[i] + ": " + reasons[i];
    return reasons.join("; ");
}

}  // namespace

QJsonObject uncertaintyJson(const StandardUncertainty& uncertainty) {
    return {{"u", jsonNumber(uncertainty.u)},
            {"U", jsonNumber(uncertainty.expanded())},
            {"reason", uncertainty.reason.isEmpty() ? QJsonValue() : QJsonValue(uncertainty.reason)}};
}

QJsonObject sectionValuesJson(const std::vector<SectionValue>& values) {
    QJsonObject json, reasons, notes, uncertainties;
    for (const SectionValue& value : values) {
        json[value.key] = jsonNumber(value.value);
        if (!value.isKnown())
            reasons[value.key] = value.reason;
        if (!value.note.isEmpty())
            notes[value.key] = value.note;
        if (value.uncertainty.isKnown() || !value.uncertainty.reason.isEmpty())
            uncertainties[value.key] = uncertaintyJson(value.uncertainty);
    }
    json["reasons"] = reasons;
    if (!notes.isEmpty())
        json["valueNotes"] = notes;
    if (!uncertainties.isEmpty())
        json["uncertainties"] = uncertainties;
    return json;
}

QStringList sectionHead(const std::vector<SectionValue>& values) {
    QStringList head{"section"};
    for (const SectionValue& value : values)
        head.append(value.unit.isEmpty() || value.unit == "mm" ? value.key : value.key + ' ' + value.unit);
    return head << "reasons";
}

QStringList sectionRow(const QString& name, const std::vector<SectionValue>& values) {
    QStringList row{name};
    for (const SectionValue& value : values)
        row.append(cell(value.value));
    return row << reasonsOf(values);
}

QJsonArray verdictsJson(const std::vector<LimitVerdict>& verdicts) {
    QJsonArray array;
    for (const LimitVerdict& verdict : verdicts)
        array.append(QJsonObject{{"symbol", verdict.symbol},
                                 {"quantity", verdict.quantity},
                                 {"value", jsonNumber(verdict.value)},
                                 {"U", jsonNumber(verdict.expanded)},
                                 {"minimum", jsonNumber(verdict.minimum)},
                                 {"maximum", jsonNumber(verdict.maximum)},
                                 {"verdict", verdict.word()},
                                 {"reason", verdict.reason},
                                 {"note", verdict.note}});
    return array;
}

QStringList verdictHead() {
    return {"section", "value", "measured", "U", "minimum", "maximum", "verdict", "reason"};
}

QStringList verdictRow(const QString& name, const LimitVerdict& verdict) {
    const auto limit = [](double value) {
        return std::isfinite(value) ? QString::number(value, 'g', 7) : QString("-");
    };
    const QString note = verdict.note.isEmpty() ? QString() : "note: " + verdict.note;
    return {name,
            verdict.symbol,
            cell(verdict.value),
            cell(verdict.expanded),
            limit(verdict.minimum),
            limit(verdict.maximum),
            verdict.word(),
            verdict.reason.isEmpty() || note.isEmpty() ? verdict.reason + note
                                                       : verdict.reason + "; " + note};
}

}  // namespace KvMeasure
