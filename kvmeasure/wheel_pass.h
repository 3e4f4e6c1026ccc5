#pragma once
// From the wheel files of a pass to the values of each wheel.

#include "kvmeasure/wheel_recording.h"

#include <kvmath/core/circle.h>
#include <kvmath/wheel/wheel_parameters.h>

#include <functional>

namespace KvMeasure {

/// One wheel of a wheelset.
struct WheelResult {
    KvMath::KvCircle circle;  ///< of the flange tip, X and Z; unset when not found
    KvMath::_WheelProfileValues values;
    int record = -1;    ///< of the moment that was measured
    int defect = -1;    ///< 1 found, 0 searched for and not found, -1 not searched for
    QStringList notes;  ///< why something is missing

    WheelResult();
    bool isComplete() const;  ///< circle, flange height, thickness and position are known
};

struct WheelsetResult {
    int firstRecord = 0, lastRecord = 0;  ///< in which any scanner sees it
    float z = 0;                          ///< travel in its middle, mm; NaN for recordings without
    QMap<int, int> seenBy;                ///< scanner index -> passage in its recording
    double backToBack = 0;                ///< NaN: not known
    QStringList notes;
    WheelResult wheels[2];
};

/// A section as it was measured, for a picture.
struct MeasuredSection {
    int wheelset = 0, side = 0;  ///< wheelset from 1
    KvMath::KvProfile profile, places;
};

class WheelPass {
public:
    WheelPass(QList<Recording> recordings, PostSettings& settings)
        : recordings_(std::move(recordings)), settings_(settings) {}

    const QList<Recording>& recordings() const { return recordings_; }
    const QList<WheelsetResult>& wheelsets() const { return wheelsets_; }
    const QStringList& notes() const { return notes_; }

    /// Splits the recordings; finds which of the runs belong to one wheelset, and numbers the wheel files by
    /// wheelsets.
    void split(const Splitting& splitting);
    /// `seen` gets every measured section. Memory holds one wheel.
    void measureSections(int kind, const std::function<void(const MeasuredSection&)>& seen);
    void measureDistances();
    void searchDefects();

private:
    struct Run {
        int index, passage, first, last;
    };
    void group();
    void addRun(WheelsetResult& wheelset, const Run& run);
    void dropStrays();
    float travelOf(const WheelsetResult& wheelset) const;
    const Recording* recordingOf(int index) const;
    bool measure(WheelsetResult& wheelset, int number, int side, int kind, MeasuredSection& section);

    QList<Recording> recordings_;
    PostSettings& settings_;
    QList<WheelsetResult> wheelsets_;
    QStringList notes_;
};

/// The values of a kind of wheel: 0 basic, 1 tram, 2 locomotive.
void calcWheelValues(int kind, const KvMath::KvPointCloud<KvMath::KvPointXYZ>& points,
                     const KvMath::KvCircle& circle, KvMath::_WheelProfileValues& values,
                     MeasuredSection& section);

}  // namespace KvMeasure
