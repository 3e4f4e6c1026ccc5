// From raw doubles to contours and straight pieces, with any tolerance.

#include "fuzz/fuzz_input.h"

#include <kvmath/segments/line_extraction.h>

#include <memory>
#include <vector>

namespace {

using Place = KvMath::KvVector2D<double>;

void extract(const Place* points, int count, double tolerance, int iterations, double cornerTolerance) {
    int* breaks = nullptr;
    int breaksCount = 0;
    Place* vertices = nullptr;
    KvMath::contour2lines(points, count, tolerance, iterations, cornerTolerance, breaks, breaksCount,
                          vertices);
    const std::unique_ptr<int[]> ownsBreaks(breaks);
    const std::unique_ptr<Place[]> ownsVertices(vertices);
    Fuzz::require(count < 1 || breaksCount >= 1, "a contour has breaks");
    for (int i = 0; i < breaksCount; ++i)
        Fuzz::require(breaks[i] >= (i == 0 ? 0 : breaks[i - 1]) && breaks[i] < count,
                      "breaks are indices in ascending order");
    double sum = 0;
    for (int i = 0; i < breaksCount && vertices != nullptr; ++i)
        sum += vertices[i].x + vertices[i].y;  // every vertex is there
    volatile double sink = sum;
    static_cast<void>(sink);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const double gap = input.number(), tolerance = input.number(), cornerTolerance = input.number();
    // Passes beyond a few thousand are long, not different.
    const int iterations = input.integer() % 5000;
    const int most = input.byte() < 240 ? 100 : 1000;  // a long contour takes as long as a hundred short ones
    const QList<Place> list = input.places(most);
    const std::vector<Place> points(list.begin(), list.end());

    Place** contours = nullptr;
    int contoursCount = 0;
    int* sizes = nullptr;
    KvMath::profile2contours(points.data(), static_cast<int>(list.size()), gap, contours, contoursCount,
                             sizes);
    int total = 0;
    for (int k = 0; k < contoursCount; ++k) {
        const std::unique_ptr<Place[]> owns(contours[k]);
        total += sizes[k];
        extract(contours[k], sizes[k], tolerance, iterations, cornerTolerance);
    }
    Fuzz::require(total == list.size(), "every point is in one contour");
    delete[] contours;
    delete[] sizes;
    extract(points.data(), static_cast<int>(list.size()), tolerance, iterations, cornerTolerance);
    return 0;
}
