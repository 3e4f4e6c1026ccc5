#pragma once
// Template of a V groove (land, falling flank, rising flank, land) with six measurements, for whole-cycle
// tests and benchmarks.

#include <kvmath/segments/find_params.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/template.h>

#include <cmath>

namespace TestSupport {

struct GrooveTemplate {
    KvMath::TSTemplate lines{4};
    KvMath::TSMeasurementList measurements;
    KvMath::TSUMEndPointShiftInDirection* depth;
    KvMath::TSUMEndPointShiftInDirection* width;
    KvMath::TSUMRotationAngle* rootTurn;  ///< pi less the opening angle
    KvMath::TSUMInclinationAngle* inclination;
    KvMath::TSUMLinesIntersection* root;
    KvMath::TSUMLength* flank;
    KvMath::TSFindTemplateParams params = {2.0, 0.3, 3, 2.0, false, 0.5};

    GrooveTemplate() {
        using namespace KvMath;
        depth = add(new TSUMEndPointShiftInDirection(0, 1, false, false, 0, false, -M_PI / 2, "depth"));
        width = add(new TSUMEndPointShiftInDirection(0, 3, false, true, 0, false, 0.0, "width"));
        rootTurn = add(new TSUMRotationAngle(1, 2, "turn at the root"));
        inclination = add(new TSUMInclinationAngle(0, "inclination"));
        root = add(new TSUMLinesIntersection(1, 2, "root"));
        flank = add(new TSUMLength(1, "flank"));
        const TSCRotationAngle::Direction senses[] = {
            TSCRotationAngle::Clockwise, TSCRotationAngle::CounterClockwise, TSCRotationAngle::Clockwise};
        for (int i = 0; i < 3; ++i) {
            lines.addConstraint(new TSCRotationAngle(i, i + 1, 0.3, 2.4, senses[i]));
            lines.addConstraint(new TSCEndPointDistance(i, i + 1, 0.0, 1.0));
        }
    }

private:
    template <class Measurement>
    Measurement* add(Measurement* measurement) {
        measurements.addMeasurement(measurement);
        return measurement;
    }
};

}  // namespace TestSupport
