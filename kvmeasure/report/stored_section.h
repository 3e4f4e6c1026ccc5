#pragma once
// Wheels, rails and what consists of them as parts of a store of results.
//
//     StoredSection section;
//     section.name = "left.whl";
//     section.values = gaugeValues(wheelSection(readGaugeProfile("left.whl"))).values;
//     store.addParts(run, {storedPart(section)});

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/results_store.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/limits.h>
#include <kvmeasure/wheels/values.h>

#include <QtCore/QStringList>

namespace KvMeasure {

/// What is known of a wheel, a rail, a wheelset or the like.
struct StoredSection {
    QString name;                        ///< e.g. of its file, or "wheelset 2 left"
    std::vector<SectionValue> values;    ///< with their uncertainties, where these are known
    std::vector<LimitVerdict> verdicts;  ///< on those with limits
    QStringList notes;                   ///< what is to be said of it as a whole
    bool isComplete = true;              ///< nothing is missing that is expected
};

/// The part as it is stored: each value under its key, with U and the limits of its verdict. It is good where
/// it is complete and no verdict is anything else. Its verdict is "OUT" before "NOT MEASURED" before "good";
/// empty where it is complete and nothing has limits. Limits that depend on a diameter which is not known are
/// not stored with the value. Its reason is the notes.
KVMEASURE_EXPORT StoredPart storedPart(const StoredSection& section);

/// The values of a wheel as they are stored: flangeHeight, thicknessFromBack, flangeSteepness,
/// heightDeviation, radius and runningDiameter, mm, with their uncertainties. The reason of one that is
/// missing is the notes of the wheel.
KVMEASURE_EXPORT std::vector<SectionValue> wheelValues(const WheelResult& wheel);

}  // namespace KvMeasure
