#include <kvmeasure/profiles/search_estimate.h>

#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;

namespace {

double median(std::vector<double>& values) {
    return values.empty() ? 0 : Internal::ofRank(values, values.size() / 2);
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
    steps.reserve(static_cast<std::size_t>(points.size()));
    bends.reserve(static_cast<std::size_t>(points.size()));
    for (int i = 1; i < static_cast<int>(points.size()); ++i) {
        const KvPointXY& point = points[i];
        const KvPointXY& before = points[i - 1];
        const double x = double(point.x) - before.x;
        const double y = double(point.y) - before.y;
        steps.push_back(x * x + y * y);
        if (i > 1)
            bends.push_back(std::fabs(double(point.y) - 2.0 * before.y + points[i - 2].y));
    }
    // On a straight piece y(i+1) - 2 y(i) + y(i-1) is noise alone, sqrt(1 + 4 + 1) times its deviation; the
    // median of |normal| is 0.6745 deviations. Corners and jumps are few and do not move a median.
    constexpr double kMedianOfBend = 0.6745 * 2.449489742783178;
    ProfileScale scale;
    scale.spacing = std::sqrt(median(steps));
    scale.noise = median(bends) / kMedianOfBend;
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
    // A gap keeps small dropouts together and parts surfaces at different heights. The chord from the first
    // to the last point of a piece carries the noise of both, so that a split at six deviations of the noise
    // loses or cuts one good groove in 650, at nine none of 40,000; a fraction of the spacing is what
    // noise-free corners can resolve.
    // Real surfaces are wavy: below half a percent of the line their pieces would change from part to part.
    constexpr double kFlatness = 5e-3;
    constexpr double kSplitDeviations = 9;
    search.contourGap = std::max(20 * scale.spacing, 12 * scale.noise);
    search.splitTolerance =
        std::max({kSplitDeviations * scale.noise, scale.spacing, kFlatness * scale.extent});
    search.refineIterations = 3;
    search.minLineLength = std::min(std::max(10 * scale.spacing, 0.02 * scale.extent), 0.25 * scale.extent);
    search.allowReversed = false;
    search.cornerTolerance = 0.5;
    return search;
}

}  // namespace KvMeasure
