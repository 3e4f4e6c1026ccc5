#include "kvmeasure/search_defaults.h"

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;

namespace {

double median(std::vector<double>& values) {
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Spacing and noise of a scanner line, mm.
struct ProfileScale {
    double spacing = 0;  // median distance of neighbouring points
    double noise = 0;    // standard deviation of the heights about straight pieces
    double extent = 0;   // diagonal of the bounding box
};

ProfileScale measureScale(const KvMath::KvProfile& profile) {
    const QList<KvPointXY>& points = profile.points;
    std::vector<double> steps;
    std::vector<double> bends;
    for (int i = 1; i < points.size(); ++i) {
        steps.push_back(
            std::hypot(double(points[i].x) - points[i - 1].x, double(points[i].y) - points[i - 1].y));
        if (i > 1)
            bends.push_back(std::fabs(double(points[i].y) - 2.0 * points[i - 1].y + points[i - 2].y));
    }
    // On a straight piece y(i+1) - 2 y(i) + y(i-1) is noise alone, sqrt(1 + 4 + 1) times its deviation; the
    // median of |normal| is 0.6745 deviations. Corners and jumps are few and do not move a median.
    constexpr double medianOfBend = 0.6745 * 2.449489742783178;
    ProfileScale scale;
    scale.spacing = median(steps);
    scale.noise = median(bends) / medianOfBend;
    float minX = 0;
    float minY = 0;
    float maxX = 0;
    float maxY = 0;
    if (!points.isEmpty() && profile.calcRange(&minX, &minY, &maxX, &maxY, nullptr))
        scale.extent = std::hypot(double(maxX) - minX, double(maxY) - minY);
    return scale;
}

}  // namespace

KvMath::TSFindTemplateParams estimateSearch(const KvMath::KvProfile& profile) {
    const ProfileScale scale = measureScale(profile);
    KvMath::TSFindTemplateParams search{};
    // A gap keeps small dropouts together and parts surfaces at different heights. A split below six
    // deviations of the noise would cut straight pieces; a fraction of the spacing is what noise-free corners
    // can resolve.
    // Real surfaces are wavy: below half a percent of the line their pieces would change from part to part.
    constexpr double flatness = 5e-3;
    search.contourGap = std::max(20 * scale.spacing, 12 * scale.noise);
    search.splitTolerance = std::max({6 * scale.noise, scale.spacing, flatness * scale.extent});
    search.refineIterations = 3;
    search.minLineLength = std::min(std::max(10 * scale.spacing, 0.02 * scale.extent), 0.25 * scale.extent);
    search.allowReversed = false;
    search.cornerTolerance = 0.5;
    return search;
}

std::vector<Option> searchOptions() {
    return {{"--gap", "MM", "point distance that parts contours (estimated)"},
            {"--split", "MM", "deviation that splits a contour into segments (estimated)"},
            {"--passes", "N", "refinement passes, 0 leaves corners on points (3)"},
            {"--min-length", "MM", "shorter segments are dropped (estimated)"},
            {"--corner", "RATIO", "corners farther off than this part of a segment are cut (0.5)"}};
}

void applySearchOptions(const Arguments& arguments, KvMath::TSFindTemplateParams& search) {
    constexpr double mostMm = 1e6;
    search.contourGap = arguments.number("--gap", search.contourGap, 0, mostMm);
    search.splitTolerance = arguments.number("--split", search.splitTolerance, 0, mostMm);
    search.refineIterations = arguments.integer("--passes", search.refineIterations, 0, 1000);
    search.minLineLength = arguments.number("--min-length", search.minLineLength, 0, mostMm);
    search.cornerTolerance = arguments.number("--corner", search.cornerTolerance, 0, 1e300);
}

}  // namespace KvMeasure
