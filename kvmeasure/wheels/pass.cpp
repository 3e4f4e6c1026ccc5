// Runs that overlap in time are one wheelset: scanners see a wheel within half a metre, axes are farther
// apart. What one of several scanners sees alone is none. A distance is taken in the middle of both runs,
// where the backs are plane: the library's search takes the profile after the fullest, which may lie anywhere
// among equally full ones, with the rounding in view. Measuring holds the profiles of one moment.
#include <kvmeasure/wheels/pass.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/wheels/defect_p.h>
#include <kvmeasure/wheels/distance_p.h>
#include <kvmeasure/wheels/section_noise_p.h>
#include <kvmeasure/wheels/section_surface_p.h>

#include <kvmath/wheel/sensor_coord.h>
#include <kvmath/wheel/wheel_defects.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
using KvMath::WheelPassage;

constexpr int kScannersOfSide = 3;

/// Number of the profile (from 1) of this record; 0 if the scanner has none.
int profileOf(const WheelPassage& passage, int record) {
    const auto place = std::lower_bound(passage.records.begin(), passage.records.end(), record);
    const bool isThere = place != passage.records.end() && *place == record;
    return isThere ? static_cast<int>(place - passage.records.begin()) + 1 : 0;
}

int middleOf(const WheelPassage& passage) {
    return passage.records.first() + (passage.records.last() - passage.records.first()) / 2;
}

/// The record nearest to this one that all passages have; -1 if none.
int momentOf(const QList<const WheelPassage*>& passages, int wanted) {
    int best = -1;
    for (const int record : passages.first()->records) {
        const bool isBetter = best < 0 || std::abs(record - wanted) < std::abs(best - wanted);
        const auto hasIt = [&](const WheelPassage* passage) { return profileOf(*passage, record) > 0; };
        if (isBetter && std::all_of(passages.begin(), passages.end(), hasIt))
            best = record;
    }
    return best;
}

/// Travel in the middle of a run. A record there may have none, or there is no record: two neighbours tell,
/// the nearest two where it lies beyond all.
float travelInMiddle(const WheelPassage& run) {
    const int middle = static_cast<int>(run.z.size()) / 2;
    std::vector<int> known;
    for (int i = 0; i < run.z.size(); ++i) {
        if (!std::isnan(run.z.at(i)))
            known.push_back(i);
    }
    if (known.empty())
        return std::nanf("");
    const auto at = std::lower_bound(known.begin(), known.end(), middle);
    if (known.size() == 1 || (at != known.end() && *at == middle))
        return run.z.at(known.size() == 1 ? known.front() : middle);
    const auto behind = std::clamp(at, known.begin() + 1, known.end() - 1);
    const int before = *(behind - 1);
    const double from = run.records.at(before), to = run.records.at(*behind);
    const double share = (run.records.at(middle) - from) / (to - from);
    const auto a = static_cast<double>(run.z.at(before)), b = static_cast<double>(run.z.at(*behind));
    return static_cast<float>(a + share * (b - a));
}

KvMath::KvProfile profileIn(const Recording& recording, int wheel, int profile) {
    KvMath::KvProfile points;
    points.readFromFile(recording.file(wheel, profile));
    return points;
}

Cloud placed(const ScannedSection& section) {
    Cloud cloud;
    KvMath::ORBIS_XYtoXYZ(section.profile, cloud, section.rule);
    return cloud;
}

/// How far the flange tip with this index stands apart as a reflection, mm; 0 where it is none.
double tipReflection(const Cloud& cloud, int index) {
    std::vector<double> depths;
    for (const KvMath::KvPointXYZ& point : cloud.points)
        depths.push_back(static_cast<double>(point.z));
    return reflectionAt(depths, index);
}

/// Why the circle through the tips is none of a wheel: that of an outer scanner is a reflection, or lies
/// elsewhere across the track, on something else. The section in the middle tells its own.
QStringList doubtsOf(const Cloud (&clouds)[kScannersOfSide], const KvMath::debugWheelPosCalc& tips,
                     const QList<const Recording*>& recordings) {
    constexpr double kAskew = 10;  // mm; no wheelset stands so askew between the scanners
    const int indices[kScannersOfSide] = {tips.indexA, tips.indexB, tips.indexC};
    double across[kScannersOfSide];
    for (int i = 0; i < kScannersOfSide; ++i)
        across[i] = static_cast<double>(clouds[i].points.at(indices[i]).y);
    const double middle =
        std::clamp(across[1], std::min(across[0], across[2]), std::max(across[0], across[2]));
    QStringList notes;
    for (const int i : {0, 2}) {
        const double apart = tipReflection(clouds[i], indices[i]), beside = std::fabs(across[i] - middle);
        const QString what =
            apart > 0 ? filledIn("stands %1 mm apart: a reflection", QString::number(apart, 'f', 1))
                      : filledIn("lies %1 mm beside the others across the track: something else was seen",
                                 QString::number(beside, 'f', 1));
        if (apart > 0 || beside > kAskew)
            notes.append(filledIn("%1: the flange tip %2; the radius is left out",
                                  sensorName(recordings.at(i)->index), what));
    }
    return notes;
}

}  // namespace

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
    work_.take(splitting.work);
    ProgressReport report(progress_, "splitting recordings", recordings_.size());
    for (int i = 0; i < recordings_.size(); ++i) {
        report.show(i);
        Recording& recording = recordings_[i];
        splitRecording(recording, settings_, splitting);
        if (recording.joined > 0)
            notes_.append(filledIn("%1: %2 wheel(s) with lost profiles were joined",
                                   sensorName(recording.index), recording.joined));
        if (recording.damagedAt >= 0)
            notes_.append(filledIn("%1: damaged at byte %2 of %3; the %4 records before it count",
                                   recording.path, recording.damagedAt, recording.size, recording.records));
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
    return chosen == nullptr ? std::nanf("") : travelInMiddle(*chosen);
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
    notes_.append(filledIn("%1: records %2 to %3, a second run at one wheelset, are left out",
                           sensorName(run.index), left.records.first(), left.records.last()));
    if (isLonger)
        other.value() = run.passage;
}

void WheelPass::dropStrays() {
    constexpr int kScannersThatCanErr = 2;
    if (recordings_.size() <= kScannersThatCanErr)
        return;
    QList<WheelsetResult> kept;
    for (const WheelsetResult& wheelset : wheelsets_) {
        if (wheelset.seenBy.size() > 1)
            kept.append(wheelset);
        else
            notes_.append(filledIn("%1: records %2 to %3 are left out: no other scanner saw a wheel",
                                   sensorName(wheelset.seenBy.firstKey()), wheelset.firstRecord,
                                   wheelset.lastRecord));
    }
    wheelsets_ = kept;
}

bool WheelPass::measure(WheelsetResult& wheelset, int number, int side, const ValueOptions& options,
                        MeasuredSection& section) {
    WheelResult& wheel = wheelset.wheels[side];
    if (options.hasUncertainties)
        refuseUncertainties(kMissingValue, options, wheel);
    QList<const Recording*> recordings;
    QList<const WheelPassage*> passages;
    for (int i = 0; i < kScannersOfSide; ++i) {
        const int index = middleScanner(side) - 1 + i;
        const auto seen = wheelset.seenBy.find(index);
        recordings.append(recordingOf(index));
        if (recordings.last() == nullptr)
            wheel.notes.append(sensorName(index) + " has no recording");
        else if (seen == wheelset.seenBy.end())
            wheel.notes.append(sensorName(index) + " saw no wheel");
        else
            passages.append(&recordings.last()->wheels.at(seen.value()));
    }
    if (!wheel.notes.isEmpty())
        return false;
    wheel.record = momentOf(passages, middleOf(*passages.at(1)));
    if (wheel.record < 0) {
        wheel.notes.append("no moment at which three scanners saw it");
        return false;
    }
    ScannedSection scanned[kScannersOfSide];
    Cloud clouds[kScannersOfSide];
    for (int i = 0; i < kScannersOfSide; ++i) {
        scanned[i] = {profileIn(*recordings.at(i), number, profileOf(*passages.at(i), wheel.record)),
                      settings_.rule(recordings.at(i)->index)};
        clouds[i] = placed(scanned[i]);
    }
    KvMath::debugWheelPosCalc tips = {};
    if (!KvMath::ORBIS_calcWheel(clouds[0], clouds[1], clouds[2], wheel.circle, 0, &tips)) {
        wheel.notes.append("no circle through the three flange tips");
        return false;
    }
    if (!isWheelCircle(wheel))
        return false;
    const QStringList doubts = doubtsOf(clouds, tips, recordings);
    wheel.notes += doubts;
    section.wheelset = number;
    section.side = side;
    calcWheelValues(options, clouds[1], wheel, section);
    if (!doubts.isEmpty())
        wheel.circle = KvMath::KvCircle();
    if (options.hasUncertainties)
        addUncertainties(scanned, options, section, wheel);
    if (std::isnan(wheel.backY))
        return true;
    section.searchFrom =
        searchEdge(number, profileOf(*passages.at(1), wheel.record), middleScanner(side)) - wheel.backY;
    for (int i = 0; i < kScannersOfSide && wheel.defect > 0; ++i) {
        const DefectPlace place =
            findDefect(*recordings.at(i), number, *passages.at(i), settings_, wheel.backY, wheel.record);
        const bool isInSection = i == 1 && place.record == wheel.record;
        if (isInSection || place.points > section.defect.points)
            section.defect = place;
        if (isInSection)
            break;
    }
    return true;
}

/// Y of the first point of the tread that the defect search looks at; NaN if there is none.
double WheelPass::searchEdge(int wheel, int profile, int index) const {
    KvMath::KvProfile points = profileIn(*recordingOf(index), wheel, profile);
    points.removeHighLevel(settings_.line(index, "level", -0.4, 187));  // absent: as the search
    points.removeLowLevel(settings_.line(index, "lowLevel", -0.4, 67));
    Cloud cloud;
    KvMath::ORBIS_XYtoXYZ(points, cloud, settings_.rule(index));
    cloud.calcRange();
    return static_cast<double>(cloud.minY);
}

void WheelPass::measureSections(const ValueOptions& options,
                                const std::function<void(const MeasuredSection&)>& seen) {
    ProgressReport report(progress_, "measuring wheelsets", wheelsets_.size());
    for (int w = 0; w < wheelsets_.size(); ++w) {
        report.show(w);
        for (const int side : {Left, Right}) {
            MeasuredSection section;
            if (measure(wheelsets_[w], w + 1, side, options, section))
                seen(section);
        }
    }
}

void WheelPass::measureDistance(WheelsetResult& wheelset, int number) {
    wheelset.backToBackUncertainty.reason = kMissingValue;
    QStringList missing;
    QList<const Recording*> recordings;
    QList<const WheelPassage*> passages;
    for (const int side : {Left, Right}) {
        const int index = faceScanner(side);
        const auto seen = wheelset.seenBy.find(index);
        recordings.append(recordingOf(index));
        if (seen == wheelset.seenBy.end())
            missing.append(sensorName(index));
        else
            passages.append(&recordings.last()->wheels.at(seen.value()));
    }
    if (!missing.isEmpty()) {
        wheelset.notes.append("no distance: nothing from " + missing.join(" and "));
        return;
    }
    const int record = momentOf(passages, (middleOf(*passages.at(0)) + middleOf(*passages.at(1))) / 2);
    if (record < 0) {
        wheelset.notes.append("no distance: no moment at which both scanners saw it");
        return;
    }
    const auto viewOf = [&](int side) {
        const int index = faceScanner(side);
        return BackView{profileIn(*recordings.at(side), number, profileOf(*passages.at(side), record)),
                        settings_.reference(index), settings_.line(index, "level")};
    };
    const BackDistance found = backDistance(viewOf(Left), viewOf(Right), settings_.referenceDistance());
    wheelset.backToBack = static_cast<double>(found.distance);
    wheelset.backToBackUncertainty = found.uncertainty;
    if (!std::isfinite(wheelset.backToBack))
        wheelset.notes.append("no distance: a scanner has too few points on the flange back");
    for (const int side : {Left, Right}) {
        const WheelPassage& run = *passages.at(side);
        if (run.records.first() == 0 || run.records.last() + 1 >= recordings.at(side)->records)
            wheelset.notes.append(sensorName(faceScanner(side)) +
                                  " begins or ends in the wheel: its middle is not known");
        if (found.bends[side] > 0)
            wheelset.notes.append(filledIn("%1: the flange back is bent by %2 mm, and the distance wrong",
                                           sensorName(faceScanner(side)),
                                           QString::number(found.bends[side], 'f', 2)));
    }
}

void WheelPass::measureDistances() {
    ProgressReport report(progress_, "measuring distances", wheelsets_.size());
    for (int w = 0; w < wheelsets_.size(); ++w) {
        report.show(w);
        measureDistance(wheelsets_[w], w + 1);
    }
}

void WheelPass::searchDefects() {
    ProgressReport report(progress_, "searching defects, recording", recordings_.size());
    const auto count =
        static_cast<std::size_t>(wheelsets_.size()) + 1;  // flags count from wheel 0, wheels from 1
    std::vector<unsigned char> flags[2] = {std::vector<unsigned char>(count, 1),
                                           std::vector<unsigned char>(count, 1)};
    for (int i = 0; i < recordings_.size(); ++i) {
        report.show(i);
        const Recording& recording = recordings_.at(i);
        if (!seesSections(recording.index))
            continue;
        const int side = recording.index > middleScanner(Left) + 1 ? Right : Left;
        KvMath::ORBIS_detectDefectsInTrain(recording.inWork, settings_.ini(), flags[Left].data(),
                                           flags[Right].data(), static_cast<int>(count));
        for (int w = 0; w < wheelsets_.size(); ++w) {
            if (wheelsets_.at(w).seenBy.contains(recording.index))
                wheelsets_[w].wheels[side].defect = flags[side][static_cast<std::size_t>(w) + 1] == 0 ? 1 : 0;
        }
    }
}

QList<ReferenceView> WheelPass::viewsOf(int wheelset, int index, QString& reason) const {
    const Recording* recording = recordingOf(index);
    const auto seen = wheelsets_.at(wheelset).seenBy.find(index);
    if (recording == nullptr || seen == wheelsets_.at(wheelset).seenBy.end()) {
        reason = recording == nullptr ? "has no recording" : "saw no wheel";
        return {};
    }
    const WheelPassage& run = recording->wheels.at(seen.value());
    QList<ReferenceView> views;
    for (int i = 0; i < run.records.size(); ++i) {
        const auto travel = static_cast<double>(run.z.at(i));
        ReferenceView view{travel,
                           placed({profileIn(*recording, wheelset + 1, i + 1), settings_.rule(index)})};
        if (std::isfinite(travel) && !view.points.points.isEmpty())
            views.append(view);
    }
    if (views.isEmpty())
        reason = "its records have no travel";
    return views;
}

}  // namespace KvMeasure
