// A wheel is good or complete, or has in words what it is not. Cost: a few steps for each value of each
// wheel.

#include <kvmeasure/report/pass_axles_p.h>

#include <kvmeasure/base/text.h>

#include <QtCore/QMap>

#include <cmath>
#include <functional>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

double numberOf(const QJsonValue& value) { return value.toDouble(kNaN); }

QString rounded(double value) { return std::isfinite(value) ? fixed(value, 3) : QString("-"); }

QString joined(const QJsonValue& notes) {
    QStringList texts;
    for (const QJsonValue note : notes.toArray())
        texts.append(note.toString());
    return texts.join("; ");
}

double expandedOf(const QJsonObject& owner, const QString& key) {
    return numberOf(owner["uncertainties"].toObject()[key].toObject()["U"]);
}

QString withUncertainty(const QJsonObject& owner, const QString& key) {
    const double own = expandedOf(owner, key);
    return rounded(numberOf(owner[key])) +
           (std::isfinite(own) ? QString(" \u00b1 ") + rounded(own) : QString());
}

QString limitsText(const QJsonObject& limit) {
    const double least = numberOf(limit["minimum"]), most = numberOf(limit["maximum"]);
    const auto text = [](double value) { return QString::number(value, 'g', 7); };
    if (std::isfinite(least) && std::isfinite(most))
        return text(least) + " .. " + text(most);
    if (std::isfinite(least))
        return "at least " + text(least);
    return std::isfinite(most) ? "at most " + text(most) : QString("not known");
}

QString unitOf(const QJsonObject& limit) {
    const QString symbol = limit["symbol"].toString();
    return symbol == "flangeAngle" ? "deg" : symbol == "treadSlope" ? "" : "mm";
}

QString nameOf(const QJsonObject& limit) {
    const QString name = limit["quantity"].toString(), symbol = limit["symbol"].toString();
    return name.isEmpty() ? symbol : name + " (" + symbol + ')';
}

QString reasonOf(const QJsonObject& verdict) {
    const QString reason = verdict["reason"].toString(), note = verdict["note"].toString();
    return reason + (reason.isEmpty() || note.isEmpty() ? "" : "; ") +
           (note.isEmpty() ? note : "note: " + note);
}

namespace {

bool hasAll(const QJsonObject& wheel) {
    for (const char* key : {"radius", "flangeHeight", "thicknessFromBack", "flangeSteepness"}) {
        if (!wheel[key].isDouble())
            return false;
    }
    return true;
}

/// The verdict on a wheel, or on a wheelset without its wheels, with its defect, its gaps and its notes.
QString wordOf(const QJsonObject& owner, bool isWhole) {
    const QString verdict = owner["verdict"].toString();
    QStringList words;
    if (owner["defect"].toBool())
        words.append("DEFECT");
    if (verdict == "OUT")
        words.append(verdict);
    if (!isWhole || verdict == "NOT MEASURED")
        words.append("NOT MEASURED");
    else if (owner.contains("defect") && owner["defect"].isNull())
        words.append("NOT SEARCHED for defects");
    else if (words.isEmpty() && !owner["notes"].toArray().isEmpty())
        words.append("NOT SURE: see notes");
    if (words.isEmpty())
        words.append(verdict.isEmpty() ? "complete" : verdict);
    return words.join(", ");
}

bool isGoodWord(const QString& word) { return word == "good" || word == "complete"; }

/// The series of what is judged, of one side (2: of the wheelsets).
void addJudged(const QList<Axle>& axles, int side, QMap<QString, PlottedSeries>& judged) {
    for (int i = 0; i < static_cast<int>(axles.size()); ++i) {
        const QJsonObject& owner = side < 2 ? axles.at(i).wheels[side] : axles.at(i).json;
        for (const QJsonValue each : owner["limits"].toArray()) {
            const QJsonObject limit = each.toObject();
            const QString place = side < 2 ? QString(kWheelSides[side]) + ", " : QString();
            PlottedSeries& series = judged[place + limit["symbol"].toString()];
            const double least = numberOf(limit["minimum"]), most = numberOf(limit["maximum"]);
            const auto differs = [](double a, double b) {
                return !(a == b) && !(std::isnan(a) && std::isnan(b));
            };
            if (series.values.empty()) {
                series.values.resize(static_cast<std::size_t>(axles.size()), kNaN);
                series.name = place + nameOf(limit);
                series.unit = unitOf(limit);
                series.lower = least;
                series.upper = most;
            }
            series.values[static_cast<std::size_t>(i)] = numberOf(limit["value"]);
            if (differs(series.lower, least))
                series.lower = kNaN;
            if (differs(series.upper, most))
                series.upper = kNaN;
        }
    }
}

}  // namespace

Axle::Axle(const QJsonObject& wheelset)
    : json(wheelset), wheels{wheelset["left"].toObject(), wheelset["right"].toObject()},
      name(QString::number(wheelset["wheelset"].toInt())), words{wordOf(wheels[0], hasAll(wheels[0])),
                                                                 wordOf(wheels[1], hasAll(wheels[1]))},
      own(wordOf(wheelset, wheelset["backToBack"].isDouble())) {}

bool Axle::isGood() const { return isGoodWord(words[0]) && isGoodWord(words[1]) && isGoodWord(own); }

QString Axle::travel() const {
    const double travel = numberOf(json["travel"]);
    return std::isfinite(travel) ? fixed(travel / 1000, 2) : QString("-");
}

QList<PlottedSeries> seriesOf(const QList<Axle>& axles) {
    QMap<QString, PlottedSeries> judged;
    for (const int side : {0, 1, 2})
        addJudged(axles, side, judged);
    QList<PlottedSeries> all;
    for (const PlottedSeries& series : judged)
        all.append(series);
    const auto add = [&](const QString& name, const std::function<QJsonValue(const Axle&)>& of) {
        PlottedSeries series{name, "mm", {}};
        series.values.reserve(static_cast<std::size_t>(axles.size()));
        for (const Axle& axle : axles)
            series.values.push_back(numberOf(of(axle)));
        all.append(series);
    };
    for (const WheelQuantity& each : kWheelQuantities) {
        for (const int side : {0, 1})
            add(QString(kWheelSides[side]) + ", " + each.name,
                [&](const Axle& axle) { return axle.wheels[side][each.key]; });
    }
    add("back to back", [](const Axle& axle) { return axle.json["backToBack"]; });
    return all;
}

}  // namespace KvMeasure
