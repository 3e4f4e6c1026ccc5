// The smallest host: a groove 5 mm deep, a template of left land and floor, one measurement.
#include <kvmath/kvmath>

#include <cstdio>

using namespace KvMath;

int main() {
    KvProfile profile;
    for (int i = 0; i < 400; ++i) {
        const float x = 0.1F * static_cast<float>(i);
        profile.append(KvPointXY(x, x >= 15.0F && x < 25.0F ? 0.0F : 5.0F), false);
    }
    TSTemplate groove(2);
    groove.addConstraint(new TSCLength(0, 14.0, 15.5));
    groove.addConstraint(new TSCLength(1, 9.0, 10.5));
    groove.addConstraint(new TSCEndPointShiftInDirection(0, 1, -6.0, -4.0, 1.5707963, true));
    auto* depth = new TSUMEndPointShiftInDirection(1, 0, true, false, 0, false, 1.5707963, "depth");
    TSMeasurementList measurements;
    measurements.addMeasurement(depth);

    const TSFindTemplateParams params{2.0, 0.05, 3, 2.0, false, 1e300};
    QList<LinePP> lines;
    QList<TSLinesIndecies> found;
    findTemplate(profile, &groove, params, lines, found);
    if (found.isEmpty() || !evalLinesSet(lines, found[0], measurements))
        return 1;
    std::printf("depth %.2f mm\n", depth->getShift());
    return 0;
}
