// Measures a V groove: from the scanner's buffer to depth, opening angle and width.

#include <kvmath/kvmath>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace KvMath;

int main() {
    // Stands for the scanner: a groove 12 mm wide and 6 mm deep at x = 3 in a plate at 40 mm.
    std::vector<float> buffer;
    for (int i = 0; i < 800; ++i) {
        const float x = -20.0F + 0.05F * static_cast<float>(i);
        buffer.push_back(x);
        buffer.push_back(40.0F - std::max(0.0F, 6.0F - std::abs(x - 3.0F)));
    }

    KvProfile profile(buffer.data(), 800);
    profile.removeNoise(5, 1, 2.0F, 0.0F);  // blocks of 5 points with more than one jump above 2 mm go

    // Four lines in scanning order: land, falling flank, rising flank, land. Each is tied to the one before
    // it: the turn in radians and its sense, and how far its start may be from the end before, in mm.
    TSTemplate groove(4);
    groove.addConstraint(new TSCRotationAngle(0, 1, 0.4, 1.2, TSCRotationAngle::Clockwise));
    groove.addConstraint(new TSCEndPointDistance(0, 1, 0.0, 1.0));
    groove.addConstraint(new TSCRotationAngle(1, 2, 1.0, 2.2, TSCRotationAngle::CounterClockwise));
    groove.addConstraint(new TSCEndPointDistance(1, 2, 0.0, 1.0));
    groove.addConstraint(new TSCRotationAngle(2, 3, 0.4, 1.2, TSCRotationAngle::Clockwise));
    groove.addConstraint(new TSCEndPointDistance(2, 3, 0.0, 1.0));

    TSMeasurementList measurements;  // owns what is added
    auto* depth = new TSUMEndPointShiftInDirection(0, 1, false, false, 0, false, -M_PI / 2, "depth");
    auto* turn = new TSUMRotationAngle(1, 2, "turn at the root");
    auto* width = new TSUMEndPointShiftInDirection(0, 3, false, true, 0, false, 0.0, "width");
    for (TSMeasurement* measurement : std::initializer_list<TSMeasurement*>{depth, turn, width})
        measurements.addMeasurement(measurement);

    const TSFindTemplateParams params = {
        /*contourGap=*/2.0,    /*splitTolerance=*/0.3,  /*refineIterations=*/3,
        /*minLineLength=*/2.0, /*allowReversed=*/false, /*cornerTolerance=*/0.5};
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    findTemplate(profile, &groove, params, segments, matches);
    for (TSLinesIndecies& match : matches) {
        if (!evalLinesSet(segments, match, measurements))
            continue;
        std::printf("depth %.3f mm\n", depth->getShift());
        std::printf("opening angle %.2f degrees\n", 180.0 - turn->getAngle() * 180.0 / M_PI);
        std::printf("width %.3f mm\n", width->getShift());
    }
    return matches.isEmpty() ? 1 : 0;
}
