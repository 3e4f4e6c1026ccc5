// Fits a line to a scanner line of a tilted plate: inclination, height over the middle, flatness.

#include <kvmath/kvmath>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace KvMath;

int main() {
    // A plate that rises by 5 mm over 100 mm, 0.03 mm rough: x, y, x, y ... as a scanner delivers it.
    std::vector<float> buffer;
    for (int i = 0; i < 500; ++i) {
        const float x = -50.0F + 0.2F * static_cast<float>(i);
        const float roughness = i % 2 == 0 ? 0.03F : -0.03F;
        buffer.push_back(x);
        buffer.push_back(20.0F + 0.05F * x + roughness);
    }
    const KvProfile profile(buffer.data(), 500);

    // Least squares of the perpendicular distances: a*x + b*y + c = 0 with (a, b) of unit length.
    LineABC line;
    profile.fitByLine(line);
    const double inclination = std::atan(-line.a / line.b) * 180.0 / M_PI;
    const double height = -line.c / line.b;

    double above = 0.0, below = 0.0;
    const double up = line.b > 0 ? 1.0 : -1.0;  // the normal may point either way
    for (const KvPointXY& p : profile.points) {
        const double distance = up * (line.a * double(p.x) + line.b * double(p.y) + line.c);
        above = std::max(above, distance);
        below = std::min(below, distance);
    }

    std::printf("inclination %.3f degrees\n", inclination);
    std::printf("height at x = 0 %.3f mm\n", height);
    std::printf("flatness %.3f mm\n", above - below);
    return 0;
}
