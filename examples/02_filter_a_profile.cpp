// Cleans a scanner line: reflections go, noise is smoothed, the edge of the part stays where it is.

#include <kvmath/kvmath>

#include <cstdio>
#include <random>
#include <vector>

using namespace KvMath;

static void print(const char* what, KvProfile& profile) {
    profile.calcRange();
    std::printf("%-10s %4d points, heights %.2f to %.2f mm\n", what, int(profile.points.size()),
                double(profile.minY), double(profile.maxY));
}

int main() {
    // A step of 10 mm at x = 0 with noise, three reflections, and a stray cluster below the part.
    std::mt19937 engine(5);
    std::vector<float> buffer;
    for (int i = 0; i < 400; ++i) {
        const float x = -20.0F + 0.1F * static_cast<float>(i);
        const float noise = 0.02F * (static_cast<float>(engine() % 2001U) / 1000.0F - 1.0F);
        float y = (x < 0.0F ? 0.0F : 10.0F) + noise;
        if (i == 60 || i == 61 || i == 333)
            y += 25.0F;
        if (i >= 380)
            y -= 40.0F;
        buffer.push_back(x);
        buffer.push_back(y);
    }
    KvProfile profile(buffer.data(), 400);
    print("raw", profile);

    // What a machine may contain at all: heights from -5 to 60 mm, any x.
    profile.trimY(-5.0F, 60.0F);
    print("trimmed", profile);

    // A spike rises and falls by more than 5 mm and is at most 0.5 mm wide. The step only rises: it stays.
    KvProfile clean;
    profile.splashFilter(clean, 5.0F, 0.5F);
    print("no spikes", clean);

    // A low-pass against the noise. It lags by ten points, so the levels are taken away from the edge.
    clean.zebFilter20(1.0F);
    KvProfile left = clean, right = clean;
    left.trimX(-15.0F, -3.0F);
    right.trimX(3.0F, 15.0F);
    std::printf("step %.2f mm\n", double(right.calcAverageY() - left.calcAverageY()));
    return 0;
}
