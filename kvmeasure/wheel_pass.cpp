#include "kvmeasure/wheel_pass.h"

#include "kvmeasure/progress.h"

#include <kvmath/wheel/sensor_coord.h>
#include <kvmath/wheel/wheel_defects.h>
#include <kvmath/wheel/wheel_variants.h>
#include <kvmath/wheel/wheelset_distance.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
using KvMath::WheelPassage;

constexpr int scannersOfSide = 3;

/// Number of the profile (from 1) of this record; 0 if the scanner has none.
int profileOf(const WheelPassage& passage, int record) {
    const auto place = std::lower_bound(passage.records.begin(), passage.records.end(), record);
    const bool isThere = place != passage.records.end() && *place == record;
    return isThere ? static_cast<int>(place - passage.records.begin()) + 1 : 0;
}

/// The record nearest to the middle of the second passage that all three have; -1 if none.
int momentOf(const std::array<const WheelPassage*, scannersOfSide>& passages) {
    const WheelPassage& middle = *passages[1];
    const int wanted = middle.records.first() + (middle.records.last() - middle.records.first()) / 2;
    int best = -1;
    for (const int record : middle.records) {
        const bool isBetter = best < 0 || std::abs(record - wanted) < std::abs(best - wanted);
        if (isBetter && profileOf(*passages[0], record) > 0 && profileOf(*passages[2], record) > 0)
            best = record;
    }
    return best;
}

Cloud placed(const Recording& recording, int wheel, int profile,
             const KvMath::_KvORBIS_SensorCoordROT_& rule) {
    KvMath::KvProfile points;
    points.readFromFile(recording.file(wheel, profile));
    Cloud cloud;
    KvMath::ORBIS_XYtoXYZ(points, cloud, rule);
    return cloud;
}

}  // namespace

WheelResult::WheelResult() : values{} {
    for (int i = 0; i < 11; ++i)
        values.value[i] = std::numeric_limits<double>::quiet_NaN();
}

bool WheelResult::isComplete() const {
    return std::isfinite(circle.radius) && std::isfinite(values.value[0]) && std::isfinite(values.value[1]) &&
           std::isfinite(values.value[9]);
}

void calcWheelValues(int kind, const Cloud& points, const KvMath::KvCircle& circle,
                     KvMath::_WheelProfileValues& values, MeasuredSection& section) {
    values.wheelType = static_cast<unsigned char>(kind);
    if (kind == 1)
        KvMath::ORBIS_calcWheelParameters_Tram(points, circle, &values, &section.profile, &section.places);
    else if (kind == 2)
        KvMath::ORBIS_calcWheelParameters_Loko(points, circle, &values, &section.profile, &section.places);
    else
        KvMath::ORBIS_calcWheelParameters(points, circle, &values, &section.profile, &section.places);
}

const Recording* WheelPass::recordingOf(int index) const {
    for (const Recording& recording : recordings_) {
        if (recording.index == index)
            return &recording;
    }
    return nullptr;
}

void WheelPass::split(const Splitting& splitting) {
    for (Recording& recording : recordings_)
        lookThrough(recording);  // whatever cannot be read ends the work before anything is written
    Progress progress("splitting recordings", recordings_.size());
    for (int i = 0; i < recordings_.size(); ++i) {
        progress.show(i);
        Recording& recording = recordings_[i];
        splitRecording(recording, settings_, splitting);
        if (recording.joined > 0)
            notes_.append(QString("%1: %2 wheel(s) with lost profiles were joined")
                              .arg(sensorName(recording.index))
                              .arg(recording.joined));
        if (recording.damagedAt >= 0)
            notes_.append(QString("%1: damaged at byte %2 of %3; the %4 records before it count")
                              .arg(recording.path)
                              .arg(recording.damagedAt)
                              .arg(recording.size)
                              .arg(recording.records));
    }
    group();
    for (Recording& recording : recordings_) {
        QList<int> numbers;
        for (int i = 0; i < recording.wheels.size(); ++i)
            numbers.append(0);
        for (int w = 0; w < wheelsets_.size(); ++w) {
            const auto seen = wheelsets_.at(w).seenBy.find(recording.index);
            if (seen != wheelsets_.at(w).seenBy.end())
                numbers[seen.value()] = w + 1;
        }
        renumber(recording, numbers);
    }
}

/// Runs that overlap in time belong to one wheelset: the scanners see one wheel within half a metre of
/// travel, and the axes of a train are farther apart.
void WheelPass::group() {
    QList<Run> runs;
    for (const Recording& recording : recordings_) {
        for (int i = 0; i < recording.wheels.size(); ++i) {
            const QVector<int>& records = recording.wheels.at(i).records;
            runs.append({recording.index, i, records.first(), records.last()});
        }
    }
    std::stable_sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.first < b.first; });
    for (const Run& run : runs) {
        if (wheelsets_.isEmpty() || run.first > wheelsets_.last().lastRecord) {
            wheelsets_.append(WheelsetResult());
            wheelsets_.last().firstRecord = run.first;
            wheelsets_.last().lastRecord = run.last;
            wheelsets_.last().backToBack = std::nan("");
        }
        addRun(wheelsets_.last(), run);
    }
    dropStrays();
    for (WheelsetResult& wheelset : wheelsets_)
        wheelset.z = travelOf(wheelset);
}

/// Travel in the middle of the longest run of the two scanners in the middle of the post: one that is cut
/// short ends before the wheel is in the middle. Without them, of the scanner that saw the wheelset first.
float WheelPass::travelOf(const WheelsetResult& wheelset) const {
    const WheelPassage* chosen = nullptr;
    bool isInMiddle = false;
    for (auto seen = wheelset.seenBy.begin(); seen != wheelset.seenBy.end(); ++seen) {
        const WheelPassage& run = recordingOf(seen.key())->wheels.at(seen.value());
        const auto extent = [](const WheelPassage& of) { return of.records.last() - of.records.first(); };
        const bool isMiddle = seen.key() == middleScanner(Left) || seen.key() == middleScanner(Right);
        const bool isBetter = chosen == nullptr || (isMiddle && !isInMiddle) ||
                              (isMiddle ? extent(run) > extent(*chosen)
                                        : !isInMiddle && run.records.first() < chosen->records.first());
        if (isBetter) {
            chosen = &run;
            isInMiddle = isMiddle;
        }
    }
    return chosen == nullptr ? std::nanf("") : chosen->z.at(chosen->z.size() / 2);
}

void WheelPass::addRun(WheelsetResult& wheelset, const Run& run) {
    const QList<WheelPassage>& wheels = recordingOf(run.index)->wheels;
    const WheelPassage& passage = wheels.at(run.passage);
    wheelset.lastRecord = std::max(wheelset.lastRecord, run.last);
    const auto other = wheelset.seenBy.find(run.index);
    if (other == wheelset.seenBy.end()) {
        wheelset.seenBy[run.index] = run.passage;
        return;
    }
    const WheelPassage& before = wheels.at(other.value());
    const bool isLonger = passage.records.size() > before.records.size();
    const WheelPassage& left = isLonger ? before : passage;
    notes_.append(QString("%1: records %2 to %3, a second run at one wheelset, are left out")
                      .arg(sensorName(run.index))
                      .arg(left.records.first())
                      .arg(left.records.last()));
    if (isLonger)
        other.value() = run.passage;
}

/// What one of several scanners sees alone is no wheelset.
void WheelPass::dropStrays() {
    constexpr int scannersThatCanErr = 2;
    if (recordings_.size() <= scannersThatCanErr)
        return;
    QList<WheelsetResult> kept;
    for (const WheelsetResult& wheelset : wheelsets_) {
        if (wheelset.seenBy.size() > 1)
            kept.append(wheelset);
        else
            notes_.append(QString("%1: records %2 to %3 are left out: no other scanner saw a wheel")
                              .arg(sensorName(wheelset.seenBy.firstKey()))
                              .arg(wheelset.firstRecord)
                              .arg(wheelset.lastRecord));
    }
    wheelsets_ = kept;
}

bool WheelPass::measure(WheelsetResult& wheelset, int number, int side, int kind, MeasuredSection& section) {
    WheelResult& wheel = wheelset.wheels[side];
    std::array<const Recording*, scannersOfSide> recordings = {};
    std::array<const WheelPassage*, scannersOfSide> passages = {};
    for (int i = 0; i < scannersOfSide; ++i) {
        const int index = middleScanner(side) - 1 + i;
        const auto place = static_cast<std::size_t>(i);
        const auto seen = wheelset.seenBy.find(index);
        recordings[place] = recordingOf(index);
        if (recordings[place] == nullptr)
            wheel.notes.append(sensorName(index) + " has no recording");
        else if (seen == wheelset.seenBy.end())
            wheel.notes.append(sensorName(index) + " saw no wheel");
        else
            passages[place] = &recordings[place]->wheels.at(seen.value());
    }
    if (!wheel.notes.isEmpty())
        return false;
    wheel.record = momentOf(passages);
    if (wheel.record < 0) {
        wheel.notes.append("no moment at which three scanners saw it");
        return false;
    }
    Cloud clouds[scannersOfSide];
    for (std::size_t i = 0; i < scannersOfSide; ++i)
        clouds[i] = placed(*recordings[i], number, profileOf(*passages[i], wheel.record),
                           settings_.rule(recordings[i]->index));
    if (!KvMath::ORBIS_calcWheel(clouds[0], clouds[1], clouds[2], wheel.circle, 0, nullptr)) {
        wheel.notes.append("no circle through the three flange tips");
        return false;
    }
    section.wheelset = number;
    section.side = side;
    calcWheelValues(kind, clouds[1], wheel.circle, wheel.values, section);
    if (!wheel.isComplete())
        wheel.notes.append("the section is incomplete");
    return true;
}

void WheelPass::measureSections(int kind, const std::function<void(const MeasuredSection&)>& seen) {
    Progress progress("measuring wheelsets", wheelsets_.size());
    for (int w = 0; w < wheelsets_.size(); ++w) {
        progress.show(w);
        for (const int side : {Left, Right}) {
            MeasuredSection section;
            if (measure(wheelsets_[w], w + 1, side, kind, section))
                seen(section);
        }
    }
}

void WheelPass::measureDistances() {
    Progress progress("measuring distances", wheelsets_.size());
    const Recording *left = recordingOf(faceScanner(Left)), *right = recordingOf(faceScanner(Right));
    for (int w = 0; w < wheelsets_.size(); ++w) {
        progress.show(w);
        WheelsetResult& wheelset = wheelsets_[w];
        QStringList missing;
        for (const int side : {Left, Right}) {
            if (!wheelset.seenBy.contains(faceScanner(side)))
                missing.append(sensorName(faceScanner(side)));
        }
        float distance = std::nanf("");
        if (missing.isEmpty())
            KvMath::ORBIS_calcWheelsDistInTrain(left->link, right->link, w + 1, 1, settings_.ini(),
                                                &distance);
        wheelset.backToBack = static_cast<double>(distance);
        if (!missing.isEmpty())
            wheelset.notes.append("no distance: nothing from " + missing.join(" and "));
        else if (std::isnan(distance))
            wheelset.notes.append("no distance: a fullest profile is the last of its wheel");
    }
}

void WheelPass::searchDefects() {
    Progress progress("searching defects, recording", recordings_.size());
    const auto count =
        static_cast<std::size_t>(wheelsets_.size()) + 1;  // flags count from wheel 0, wheels from 1
    std::vector<unsigned char> flags[2] = {std::vector<unsigned char>(count, 1),
                                           std::vector<unsigned char>(count, 1)};
    for (int i = 0; i < recordings_.size(); ++i) {
        progress.show(i);
        const Recording& recording = recordings_.at(i);
        if (!seesSections(recording.index))
            continue;
        const int side = recording.index > middleScanner(Left) + 1 ? Right : Left;
        KvMath::ORBIS_detectDefectsInTrain(recording.link, settings_.ini(), flags[Left].data(),
                                           flags[Right].data(), static_cast<int>(count));
        for (int w = 0; w < wheelsets_.size(); ++w) {
            if (wheelsets_.at(w).seenBy.contains(recording.index))
                wheelsets_[w].wheels[side].defect = flags[side][static_cast<std::size_t>(w) + 1] == 0 ? 1 : 0;
        }
    }
}

}  // namespace KvMeasure
