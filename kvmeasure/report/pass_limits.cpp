// Verdicts on the values of a pass. Values of a section are taken when it comes, so that no section is kept;
// a wheel without one gets missing values with their reason. judged_ holds three entries a wheelset: left,
// right, both. Vehicles and bogies are runs of wheelsets, judged over all their entries.
#include <kvmeasure/report/pass_limits.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/table.h>

#include <cmath>

namespace KvMeasure {

namespace {

SectionValue valueOf(const char* key, const char* name, double value, const QString& reason) {
    SectionValue result{key, name, "mm", value, {}, {}};
    if (!std::isfinite(value))
        result.reason = reason.isEmpty() ? QString("not measured") : reason;
    return result;
}

/// Of a sum or difference of independent values; not known where one of them is not.
StandardUncertainty together(const std::vector<StandardUncertainty>& parts) {
    StandardUncertainty result;
    double squares = 0;
    for (const StandardUncertainty& part : parts) {
        squares += part.u * part.u;
        result.reason = result.reason.isEmpty() ? part.reason : result.reason;
    }
    result.u = std::sqrt(squares);
    return result;
}

/// Back to back, and front to front of the flanges: the backs and both thicknesses, which gaugeValues()
/// always has, with a reason where they are not known.
std::vector<SectionValue> valuesOfWheelset(const WheelsetResult& wheelset, const GaugeValues& left,
                                           const GaugeValues& right) {
    const QString reason = wheelset.notes.join("; ");
    const SectionValue &a = *findValue(left.values, "Sd"), &b = *findValue(right.values, "Sd");
    const double front = wheelset.backToBack + a.value + b.value;
    const QString why = !std::isfinite(wheelset.backToBack) ? reason : a.isKnown() ? b.reason : a.reason;
    SectionValue backs = valueOf("backToBack", "back to back", wheelset.backToBack, reason);
    backs.uncertainty = wheelset.backToBackUncertainty;
    SectionValue fronts = valueOf("frontToFront", "front to front of the flanges", front, why);
    fronts.uncertainty = together({backs.uncertainty, a.uncertainty, b.uncertainty});
    return {backs, fronts};
}

double runningDiameter(const WheelResult& wheel) {
    return 2 * (static_cast<double>(wheel.circle.radius) - wheel.values.value[0]);
}

/// Largest less smallest running diameter of all wheels of these wheelsets.
SectionValue groupDifference(const QList<WheelsetResult>& wheelsets, int first, int last, const char* key,
                             const QString& group) {
    const WheelResult *least = nullptr, *greatest = nullptr;
    QStringList missing;
    for (int number = first; number <= last; ++number) {
        for (const int side : {Left, Right}) {
            const WheelResult& wheel = wheelsets.at(number - 1).wheels[side];
            if (!std::isfinite(runningDiameter(wheel))) {
                missing.append(QString::number(number) + ' ' + sideName(side));
                continue;
            }
            if (least == nullptr || runningDiameter(wheel) < runningDiameter(*least))
                least = &wheel;
            if (greatest == nullptr || runningDiameter(wheel) > runningDiameter(*greatest))
                greatest = &wheel;
        }
    }
    const bool isKnown = missing.isEmpty() && least != nullptr;
    SectionValue value =
        valueOf(key, "", isKnown ? runningDiameter(*greatest) - runningDiameter(*least) : std::nan(""),
                "no diameter of " + missing.join(", "));
    value.name = "difference of diameters in the " + group;
    if (isKnown)
        value.uncertainty = together({least->uncertainties.value("runningDiameter"),
                                      greatest->uncertainties.value("runningDiameter")});
    return value;
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
    const WheelResult &left = wheelset.wheels[Left], &right = wheelset.wheels[Right];
    SectionValue value =
        valueOf("diameterDifference", "difference of diameters",
                std::fabs(runningDiameter(left) - runningDiameter(right)), reasons.join("; "));
    value.uncertainty =
        together({left.uncertainties.value("runningDiameter"), right.uncertainties.value("runningDiameter")});
    return value;
}

/// The verdicts on values with limits, and that a tread with a breakout is not good.
std::vector<LimitVerdict> judgeWheel(const WheelLimits& limits, const std::vector<SectionValue>& values,
                                     const WheelResult& wheel) {
    std::vector<LimitVerdict> verdicts = judge(limits, values, runningDiameter(wheel));
    if (wheel.defect > 0) {
        LimitVerdict broken;
        broken.symbol = "defect";
        broken.quantity = "breakout of the tread";
        broken.kind = LimitVerdict::Out;
        broken.reason = "the tread has a breakout";
        verdicts.push_back(broken);
    }
    return verdicts;
}

}  // namespace

std::vector<LimitVerdict> PassLimits::take(const MeasuredSection& section, const WheelResult& wheel) {
    GaugeValues& taken = taken_[2 * section.wheelset + section.side];
    taken = gaugeValues(wheelSection(section, wheel));
    for (SectionValue& value : taken.values)
        value.uncertainty = wheel.uncertainties.value(value.key);
    return judgeWheel(limits_, taken.values, wheel);
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
                               judgeWheel(limits_, found->second.values, wheel)});
        }
        std::vector<SectionValue> both;
        if (hasDistances)
            both = valuesOfWheelset(wheelset, taken_[2 * number + Left], taken_[2 * number + Right]);
        both.push_back(diameterDifference(wheelset));
        judged_.push_back({QString::number(number), both, judge(limits_, both, diameter)});
    }
    for (Grouping& grouping : groupings_)
        judgeGroups(wheelsets, grouping);
}

void PassLimits::judgeGroups(const QList<WheelsetResult>& wheelsets, Grouping& grouping) {
    const int count = static_cast<int>(wheelsets.size());
    const QList<int>& axles = grouping.axles;
    for (int first = 1, i = 0; !axles.isEmpty() && first <= count; ++i) {
        Group group;
        const int own = i < static_cast<int>(axles.size()) ? axles.at(i) : axles.last();
        group.first = first;
        group.isCutShort = own > count - first + 1;
        group.last = group.isCutShort ? count : first + own - 1;
        const WheelsetResult& leading = wheelsets.at(first - 1);
        group.judged.name = QString(grouping.words.one) + ' ' + QString::number(i + 1);
        group.judged.values = {
            groupDifference(wheelsets, first, group.last, grouping.words.key, grouping.words.one)};
        group.judged.verdicts = judge(limits_, group.judged.values, runningDiameter(leading.wheels[Left]));
        std::vector<LimitVerdict> all(group.judged.verdicts);
        for (int k = 3 * (first - 1); k < 3 * group.last; ++k) {
            const std::vector<LimitVerdict>& verdicts = judged_[static_cast<std::size_t>(k)].verdicts;
            all.insert(all.end(), verdicts.begin(), verdicts.end());
        }
        group.verdict = overallVerdict(all);
        first = group.last + 1;
        grouping.groups.push_back(group);
    }
}

void PassLimits::addTo(QJsonObject& json) const {
    QJsonArray wheelsets = json["wheelsets"].toArray();
    const auto add = [](QJsonObject& to, const JudgedWheels& judged) {
        const QJsonObject values = sectionValuesJson(judged.values);
        QJsonObject uncertainties = to["uncertainties"].toObject();
        const QJsonObject further = values["uncertainties"].toObject();
        for (auto value = values.begin(); value != values.end(); ++value)
            to[value.key()] = value.value();
        for (auto each = further.begin(); each != further.end(); ++each)
            uncertainties[each.key()] = each.value();
        to["uncertainties"] = uncertainties;
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
    for (const Grouping& grouping : groupings_) {
        QJsonArray groups;
        for (const Group& group : grouping.groups) {
            QJsonObject object{{grouping.words.one, static_cast<int>(groups.size()) + 1},
                               {"firstWheelset", group.first},
                               {"lastWheelset", group.last},
                               {"cutShort", group.isCutShort}};
            add(object, group.judged);
            object["verdict"] = group.verdict;
            groups.append(object);
        }
        if (!groups.isEmpty())
            json[grouping.words.many] = groups;
    }
    json["verdict"] = verdict();
}

QString PassLimits::verdict() const {
    std::vector<LimitVerdict> all;
    for (const JudgedWheels& judged : judged_)
        all.insert(all.end(), judged.verdicts.begin(), judged.verdicts.end());
    for (const Grouping& grouping : groupings_) {
        for (const Group& group : grouping.groups)
            all.insert(all.end(), group.judged.verdicts.begin(), group.judged.verdicts.end());
    }
    return overallVerdict(all);
}

QString PassLimits::text() const {
    const auto said = [](const QString& verdict) {
        return verdict.isEmpty() ? QString("no value has limits") : verdict;
    };
    QStringList head = verdictHead();
    head[0] = "wheel";
    Table table(head);
    for (const JudgedWheels& judged : judged_) {
        for (const LimitVerdict& each : judged.verdicts)
            table.add(verdictRow(judged.name, each));
    }
    QString lines;
    for (const Grouping& grouping : groupings_) {
        for (const Group& group : grouping.groups) {
            for (const LimitVerdict& each : group.judged.verdicts)
                table.add(verdictRow(group.judged.name, each));
            lines += filledIn("%1, wheelsets %2 to %3%4: %5\n", group.judged.name, group.first, group.last,
                              group.isCutShort ? " (cut short)" : "", said(group.verdict));
        }
    }
    return table.text() + lines + "train: " + said(verdict()) + '\n';
}

std::vector<JudgedWheels> PassLimits::groups() const {
    std::vector<JudgedWheels> all;
    for (const Grouping& grouping : groupings_) {
        for (const Group& group : grouping.groups)
            all.push_back(group.judged);
    }
    return all;
}

bool PassLimits::isGood() const { return verdict() == "good"; }

}  // namespace KvMeasure
