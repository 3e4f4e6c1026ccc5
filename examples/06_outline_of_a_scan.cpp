// From a scan to the corners of the part that lies on the belt: a plate of 60 x 40 mm, turned by 16.26
// degrees.

#include <kvmath/kvmath>

#include <cmath>
#include <cstdio>

using namespace KvMath;

constexpr double kStep = 0.25;  // mm between profiles

// What a scanner delivers: one profile per step, 5 mm high where the plate is.
static PointCloud scanOfAPlate() {
    PointCloud scan;
    for (int i = 0; i < 320; ++i) {
        Profile3D profile;
        for (int j = 0; j < 400; ++j) {
            const double along = i * kStep - 16;  // along the motion
            const double across = -15 + 0.2 * j;
            const double u = along * 0.96 + across * 0.28;  // in the directions of the plate
            const double v = across * 0.96 - along * 0.28;
            const bool isOnPlate = u >= 0 && u <= 60 && v >= 0 && v <= 40;
            profile.append(new Vector3D(static_cast<float>(across), static_cast<float>(i * kStep),
                                        isOnPlate ? 5.0F : 0.0F));
        }
        scan.profiles().append(profile);
    }
    return scan;
}

int main() {
    const double level = 2.5;        // mm; the belt is at 0, the plate at 5
    const double coinRadius = 1.5;   // closes gaps up to 3 mm, enters notches wider than that
    const double deviation = 0.4;    // mm that a straight side may deviate: more than a step
    const double gapInLine = 1.0;    // mm; five points missing end a run
    const double shortestRun = 0.1;  // mm; keeps all but single points
    const double gapOnHull = 4.0;    // mm; above the diameter of the coin, so that the outline is one contour
    const double shortestSide = 5.0;
    const QList<LinePP> sides = convertProfilesZ2Lines(scanOfAPlate(), kStep, level, coinRadius, deviation,
                                                       gapInLine, shortestRun, 0, gapOnHull, shortestSide,
                                                       /*simplification=*/true, /*refineIterations=*/3);

    double longest = 0;
    double angle = 0;
    for (const LinePP& side : sides) {
        const double dx = side.p2.x - side.p1.x;
        const double dy = side.p2.y - side.p1.y;
        std::printf("side of %.0f mm\n", std::hypot(dx, dy));
        if (std::hypot(dx, dy) > longest) {
            longest = std::hypot(dx, dy);
            angle = std::atan(dy / dx) * 180 / 3.14159265358979;
        }
    }
    std::printf("turned by %.0f degrees\n", angle);
    return sides.size() == 4 ? 0 : 1;
}
