#include "cli/wheels/stored_pass.h"

#include <kvmeasure/report/stored_section.h>

#include <cmath>

namespace KvMeasure {

namespace {

/// Whether a breakout was found, as a value: 0 is good.
void addDefect(const WheelResult& wheel, StoredSection& section) {
    const bool isKnown = wheel.defect >= 0;
    SectionValue value{"defect", "breakout", "", isKnown ? wheel.defect : std::nan(""), {}, {}};
    if (!isKnown)
        value.reason = "not searched for";
    section.values.push_back(value);
    if (!isKnown)
        return;
    LimitVerdict verdict;
    verdict.symbol = value.key;
    verdict.value = value.value;
    verdict.maximum = 0;
    verdict.kind = wheel.defect > 0 ? LimitVerdict::Out : LimitVerdict::Good;
    section.verdicts.push_back(verdict);
}

StoredSection wheelOf(const WheelResult& wheel, const WheelColumns& columns) {
    StoredSection section;
    section.notes = wheel.notes;
    section.isComplete = wheel.notes.isEmpty() && (!columns.hasSections || wheel.isComplete()) &&
                         (!columns.hasDefects || wheel.defect >= 0);
    if (columns.hasSections)
        section.values = wheelValues(wheel);
    if (columns.hasDefects)
        addDefect(wheel, section);
    return section;
}

StoredSection distanceOf(const WheelsetResult& wheelset) {
    StoredSection section;
    const bool isKnown = std::isfinite(wheelset.backToBack);
    SectionValue value{
        "backToBack", "back to back", "mm", wheelset.backToBack, {}, {}, wheelset.backToBackUncertainty};
    if (!isKnown)
        value.reason = wheelset.notes.isEmpty() ? QString("not measured") : wheelset.notes.join("; ");
    section.values.push_back(value);
    section.notes = wheelset.notes;
    section.isComplete = isKnown && wheelset.notes.isEmpty();
    return section;
}

/// With the values and verdicts of gauges, those that it has already once.
void addJudged(const JudgedWheels& judged, StoredSection& section) {
    for (const SectionValue& value : judged.values) {
        if (findValue(section.values, value.key) == nullptr)
            section.values.push_back(value);
    }
    section.verdicts.insert(section.verdicts.end(), judged.verdicts.begin(), judged.verdicts.end());
}

void add(StoredParts& store, const StoredSection& section, int source, int record, double z) {
    StoredPart part = storedPart(section);
    part.source = source;
    part.record = record;
    part.z = z;
    store.add(std::move(part));
}

}  // namespace

void addPass(StoredParts& store, const WheelPass& pass, const WheelColumns& columns,
             const PassLimits* limits) {
    constexpr int kPlaces = 3;  // left, right, both
    if (!store.isOpen())
        return;
    const int count = static_cast<int>(pass.wheelsets().size());
    for (int i = 0; i < count; ++i) {
        const WheelsetResult& wheelset = pass.wheelsets().at(i);
        const QString name = "wheelset " + QString::number(i + 1);
        const auto judged = [&](int place, StoredSection& section) {
            if (limits != nullptr)
                addJudged(limits->wheels().at(std::size_t{kPlaces} * static_cast<std::size_t>(i) +
                                              static_cast<std::size_t>(place)),
                          section);
        };
        for (const int side : {Left, Right}) {
            StoredSection section = wheelOf(wheelset.wheels[side], columns);
            section.name = name + ' ' + sideName(side);
            judged(side, section);
            add(store, section, i, side, static_cast<double>(wheelset.z));
        }
        if (!columns.hasDistances && limits == nullptr)
            continue;
        StoredSection both = columns.hasDistances ? distanceOf(wheelset) : StoredSection();
        both.name = name;
        judged(kPlaces - 1, both);
        add(store, both, i, kPlaces - 1, static_cast<double>(wheelset.z));
    }
    int group = count;
    for (const JudgedWheels& judged : limits != nullptr ? limits->groups() : std::vector<JudgedWheels>()) {
        StoredSection section;
        section.name = judged.name;
        addJudged(judged, section);
        add(store, section, group++, 0, std::nan(""));
    }
}

}  // namespace KvMeasure
