#include "cli/wheels/pass_limits.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/table.h>

#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

SectionValue valueOf(const char* key, const char* name, double value, const QString& reason) {
    SectionValue result{key, name, "mm", value, {}, {}};
    if (!std::isfinite(value))
        result.reason = reason.isEmpty() ? QString("not measured") : reason;
    return result;
}

/// Back to back, and front to front of the flanges: the backs and both thicknesses.
std::vector<SectionValue> valuesOfWheelset(const WheelsetResult& wheelset, const GaugeValues& left,
                                           const GaugeValues& right) {
    const QString reason = wheelset.notes.join("; ");
    const SectionValue *a = findValue(left.values, "Sd"), *b = findValue(right.values, "Sd");
    const double front =
        a != nullptr && b != nullptr ? wheelset.backToBack + a->value + b->value : std::nan("");
    const QString why = !std::isfinite(wheelset.backToBack) ? reason
                        : a != nullptr && !a->isKnown()     ? a->reason
                        : b != nullptr                      ? b->reason
                                                            : QString();
    return {valueOf("backToBack", "back to back", wheelset.backToBack, reason),
            valueOf("frontToFront", "front to front of the flanges", front, why)};
}

double runningDiameter(const WheelResult& wheel) {
    return 2 * (static_cast<double>(wheel.circle.radius) - wheel.values.value[0]);
}

/// Largest less smallest running diameter of all wheels.
SectionValue vehicleDifference(const QList<WheelsetResult>& wheelsets, int first, int last) {
    double least = std::numeric_limits<double>::infinity(), greatest = -least;
    QStringList missing;
    for (int number = first; number <= last; ++number) {
        for (const int side : {Left, Right}) {
            const double diameter = runningDiameter(wheelsets.at(number - 1).wheels[side]);
            if (!std::isfinite(diameter))
                missing.append(QString::number(number) + ' ' + sideName(side));
            least = std::fmin(least, diameter);
            greatest = std::fmax(greatest, diameter);
        }
    }
    return valueOf("vehicleDiameterDifference", "difference of diameters in the vehicle",
                   missing.isEmpty() ? greatest - least : std::nan(""),
                   "no diameter of " + missing.join(", "));
}

/// Of both running diameters, without sign.
SectionValue diameterDifference(const WheelsetResult& wheelset) {
    QStringList reasons;
    for (const int side : {Left, Right}) {
        const WheelResult& wheel = wheelset.wheels[side];
        if (!std::isfinite(runningDiameter(wheel)))
            reasons.append("no diameter of the " + sideName(side) + " wheel" +
                           (wheel.notes.isEmpty() ? QString() : ": " + wheel.notes.join("; ")));
    }
    const double left = runningDiameter(wheelset.wheels[Left]),
                 right = runningDiameter(wheelset.wheels[Right]);
    return valueOf("diameterDifference", "difference of diameters", std::fabs(left - right),
                   reasons.join("; "));
}

}  // namespace

QString PassLimits::take(const MeasuredSection& section, const WheelResult& wheel) {
    GaugeValues& taken = taken_[2 * section.wheelset + section.side];
    taken = gaugeValues(wheelSection(section, wheel));
    return overallVerdict(judge(limits_, taken.values, runningDiameter(wheel)));
}

void PassLimits::judgeAll(const QList<WheelsetResult>& wheelsets, bool hasDistances) {
    for (int number = 1; number <= wheelsets.size(); ++number) {
        const WheelsetResult& wheelset = wheelsets.at(number - 1);
        double diameter = std::nan("");
        for (const int side : {Left, Right}) {
            const WheelResult& wheel = wheelset.wheels[side];
            auto found = taken_.find(2 * number + side);
            if (found == taken_.end()) {
                WheelSection none;
                none.reason = wheel.notes.isEmpty() ? QString("not measured") : wheel.notes.join("; ");
                found = taken_.emplace(2 * number + side, gaugeValues(none)).first;
            }
            const double own = runningDiameter(wheel);
            diameter = std::isnan(diameter) ? own : diameter;
            judged_.push_back({QString::number(number) + ' ' + sideName(side), found->second.values,
                               judge(limits_, found->second.values, own)});
        }
        std::vector<SectionValue> both;
        if (hasDistances)
            both = valuesOfWheelset(wheelset, taken_[2 * number + Left], taken_[2 * number + Right]);
        both.push_back(diameterDifference(wheelset));
        judged_.push_back({QString::number(number), both, judge(limits_, both, diameter)});
    }
    judgeVehicles(wheelsets);
}

void PassLimits::judgeVehicles(const QList<WheelsetResult>& wheelsets) {
    const int count = static_cast<int>(wheelsets.size());
    for (int first = 1, i = 0; !axles_.isEmpty() && first <= count; ++i) {
        Vehicle vehicle;
        const int axles = i < static_cast<int>(axles_.size()) ? axles_.at(i) : axles_.last();
        vehicle.first = first;
        vehicle.isCutShort = axles > count - first + 1;
        vehicle.last = vehicle.isCutShort ? count : first + axles - 1;
        const WheelsetResult& leading = wheelsets.at(first - 1);
        vehicle.judged.name = "vehicle " + QString::number(i + 1);
        vehicle.judged.values = {vehicleDifference(wheelsets, first, vehicle.last)};
        vehicle.judged.verdicts =
            judge(limits_, vehicle.judged.values, runningDiameter(leading.wheels[Left]));
        std::vector<LimitVerdict> all(vehicle.judged.verdicts);
        for (int k = 3 * (first - 1); k < 3 * vehicle.last; ++k) {
            const std::vector<LimitVerdict>& own = judged_[static_cast<std::size_t>(k)].verdicts;
            all.insert(all.end(), own.begin(), own.end());
        }
        vehicle.verdict = overallVerdict(all);
        first = vehicle.last + 1;
        vehicles_.push_back(vehicle);
    }
}

void PassLimits::addTo(QJsonObject& json) const {
    QJsonArray wheelsets = json["wheelsets"].toArray();
    const auto add = [](QJsonObject& to, const Judged& judged) {
        const QJsonObject values = sectionValuesJson(judged.values);
        for (auto value = values.begin(); value != values.end(); ++value)
            to[value.key()] = value.value();
        to["limits"] = verdictsJson(judged.verdicts);
        to["verdict"] = overallVerdict(judged.verdicts);
    };
    for (int i = 0; i < static_cast<int>(wheelsets.size()); ++i) {
        QJsonObject wheelset = wheelsets[i].toObject();
        const auto first = static_cast<std::size_t>(3) * static_cast<std::size_t>(i);
        for (const int side : {Left, Right}) {
            QJsonObject wheel = wheelset[sideName(side)].toObject();
            add(wheel, judged_[first + static_cast<std::size_t>(side)]);
            wheelset[sideName(side)] = wheel;
        }
        add(wheelset, judged_[first + 2]);
        wheelsets[i] = wheelset;
    }
    json["wheelsets"] = wheelsets;
    QJsonArray vehicles;
    for (const Vehicle& vehicle : vehicles_) {
        QJsonObject object{{"vehicle", static_cast<int>(vehicles.size()) + 1},
                           {"firstWheelset", vehicle.first},
                           {"lastWheelset", vehicle.last},
                           {"cutShort", vehicle.isCutShort}};
        add(object, vehicle.judged);
        object["verdict"] = vehicle.verdict;
        vehicles.append(object);
    }
    if (!vehicles_.empty())
        json["vehicles"] = vehicles;
    json["verdict"] = verdict();
}

QString PassLimits::verdict() const {
    std::vector<LimitVerdict> all;
    for (const Judged& judged : judged_)
        all.insert(all.end(), judged.verdicts.begin(), judged.verdicts.end());
    for (const Vehicle& vehicle : vehicles_)
        all.insert(all.end(), vehicle.judged.verdicts.begin(), vehicle.judged.verdicts.end());
    return overallVerdict(all);
}

QString PassLimits::text() const {
    QStringList head = verdictHead();
    head[0] = "wheel";
    Table table(head);
    for (const Judged& judged : judged_) {
        for (const LimitVerdict& each : judged.verdicts)
            table.add(verdictRow(judged.name, each));
    }
    QString vehicles;
    for (const Vehicle& vehicle : vehicles_) {
        for (const LimitVerdict& each : vehicle.judged.verdicts)
            table.add(verdictRow(vehicle.judged.name, each));
        vehicles += filledIn("%1, wheelsets %2 to %3%4: %5\n", vehicle.judged.name, vehicle.first,
                             vehicle.last, vehicle.isCutShort ? " (cut short)" : "",
                             vehicle.verdict.isEmpty() ? QString("no value has limits") : vehicle.verdict);
    }
    const QString word = verdict();
    return table.text() + vehicles + "train: " + (word.isEmpty() ? QString("no value has limits") : word) +
           '\n';
}

bool PassLimits::isGood() const { return verdict() == "good"; }

}  // namespace KvMeasure
