#pragma once
// Where on a wheel's tread the defect search met a defect.

#include <kvmeasure/wheels/recording.h>
#include <kvmeasure/wheels/values.h>

namespace KvMeasure {

/// The place of a defect in the profiles of one scanner, by the test that the library's search puts to each
/// of them. Among the defective profiles `record` is taken if it is one, else that with the most points
/// beyond the limit. Where none is defective, the place is unset. `backY`: Y of the flange back, which
/// positions count from. `wheel`: number of the wheel files, from 1.
DefectPlace findDefect(const Recording& recording, int wheel, const KvMath::WheelPassage& run,
                       const PostSettings& settings, double backY, int record);

}  // namespace KvMeasure
