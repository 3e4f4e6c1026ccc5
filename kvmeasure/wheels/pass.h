#pragma once
// From the recordings of a pass to the values of each wheel.
//
//     PostSettings settings("train/settings.ini");
//     QStringList skipped;
//     WheelPass pass(findRecordings({"train"}, settings, skipped), settings);
//     Splitting splitting;
//     splitting.work = "work";
//     pass.split(splitting);
//     pass.measureDistances();
//     pass.searchDefects();  // before the sections, which show the defects
//     pass.measureSections(ValueOptions(), [](const MeasuredSection&) {});
//     for (const WheelsetResult& wheelset : pass.wheelsets())
//         use(wheelset.wheels[Left].values.value[0], wheelset.backToBack);

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/own_folder.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/wheels/recording.h>
#include <kvmeasure/wheels/reference.h>
#include <kvmeasure/wheels/values.h>

#include <functional>

namespace KvMeasure {

/// One wheelset of a pass, with what was measured of it so far.
struct WheelsetResult {
    int firstRecord = 0;                        ///< the first in which any scanner sees it
    int lastRecord = 0;                         ///< the last in which any scanner sees it
    float z = 0;                                ///< travel in its middle, mm; NaN for recordings without
    QMap<int, int> seenBy;                      ///< number of a scanner -> index of the run in its recording
    double backToBack = 0;                      ///< distance of the flange backs, mm; NaN: not known
    StandardUncertainty backToBackUncertainty;  ///< of the distance, mm; from measureDistances()
    QStringList notes;                          ///< why the distance is missing, or not to be trusted
    WheelResult wheels[2];                      ///< by Side
};

/// A train that passes a post: its wheelsets and what is measured of them. It holds the lock of its work
/// directory from split() until it is destroyed.
class KVMEASURE_EXPORT WheelPass {
public:
    /// Takes the recordings of findRecordings. The settings must outlive the pass.
    WheelPass(QList<Recording> recordings, PostSettings& settings, Progress progress = {})
        : recordings_(std::move(recordings)), settings_(settings), progress_(std::move(progress)) {}

    /// The recordings, after split() with their wheels.
    const QList<Recording>& recordings() const { return recordings_; }
    /// The wheelsets in order of time; empty before split() and where no wheel was seen.
    const QList<WheelsetResult>& wheelsets() const { return wheelsets_; }
    /// What was left out, joined or damaged, as sentences.
    const QStringList& notes() const { return notes_; }

    /// Splits the recordings into runs, joins those that overlap in time to wheelsets, and numbers the wheel
    /// files by wheelsets. To be called once, before all that follows. What one of three or more scanners
    /// sees alone is no wheelset.
    ///
    /// Throws Error as lookThrough, before anything is written, as splitRecording and renumber, when another
    /// run holds the work directory, and when cancelled, between recordings. There are then no wheelsets;
    /// wheel files written so far are removed by the next pass.
    void split(const Splitting& splitting);
    /// Measures both wheels of each wheelset at the record nearest to the middle in which all three scanners
    /// of the side saw it, with their uncertainties from the noise and steps of the points, by 100 simulated
    /// runs. `seen`, not empty, gets every measured section. Memory holds one wheel. To be
    /// called once; after searchDefects() the sections show the defects. A missing value has a note. Throws
    /// what `seen` throws, and Error when cancelled, between wheelsets; those measured so far keep their
    /// values.
    void measureSections(const ValueOptions& options,
                         const std::function<void(const MeasuredSection&)>& seen);
    /// Measures the distance of the flange backs of each wheelset at the record nearest to the middle of both
    /// runs, by KvMath::ORBIS_calcWheelsDist. To be called once. NaN, with a note, where a face scanner saw
    /// nothing or too little. Throws Error when cancelled, between wheelsets.
    void measureDistances();
    /// Looks for breakouts in the tread of each wheel (KvMath::ORBIS_detectDefectsInTrain) and sets
    /// WheelResult::defect of those that a scanner saw. Throws Error when cancelled, between recordings.
    void searchDefects();

    /// What a scanner for sections saw of a wheelset, 0 <= wheelset < wheelsets().size() (not checked), in
    /// the axes of the post, with the travel as axisX. Nothing, with a reason, where it saw none, or records
    /// have no travel.
    QList<ReferenceView> viewsOf(int wheelset, int index, QString& reason) const;

private:
    struct Run {
        int index, passage, first, last;
    };
    void group();
    void addRun(WheelsetResult& wheelset, const Run& run);
    void dropStrays();
    float travelOf(const WheelsetResult& wheelset) const;
    const Recording* recordingOf(int index) const;
    bool measure(WheelsetResult& wheelset, int number, int side, const ValueOptions& options,
                 MeasuredSection& section);
    double searchEdge(int wheel, int profile, int index) const;
    void measureDistance(WheelsetResult& wheelset, int number);

    QList<Recording> recordings_;
    PostSettings& settings_;
    Progress progress_;
    QList<WheelsetResult> wheelsets_;
    QStringList notes_;
    FolderLock work_;
};

}  // namespace KvMeasure
