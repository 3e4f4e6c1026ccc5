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

/// Second differences of heights `lag` places apart, mm.
double bendAt(const QList<KvPointXY>& points, int i, int lag) {
    return std::fabs(double(points[i].y) - 2.0 * points[i - lag].y + points[i - 2 * lag].y);
}

/// Standard deviation of the heights from their second differences. On a straight piece y(i+1) - 2 y(i) +
/// y(i-1) is noise alone, sqrt(1 + 4 + 1) times its deviation; the median of |normal| is 0.6745 deviations.
double noiseOf(std::vector<double>& bends) {
    constexpr double kMedianOfBend = 0.6745 * 2.449489742783178;
    return median(bends) / kMedianOfBend;
}

/// Corners and jumps are few and do not move a median of neighbours. Neighbours of a line that was smoothed
/// have noise in common, of which their differences show little. Points further apart show it, where no
/// corner lies between them.
double measureNoise(const QList<KvPointXY>& points, std::vector<double>& bends) {
    constexpr double kAlike = 1.3;  // between the noise seen at lags, where it is white
    constexpr double kCorner = 6;   // deviations of second differences
    constexpr std::size_t kFewest = 50;
    const auto count = static_cast<int>(points.size());
    bends.clear();
    for (int i = 2; i < count; ++i)
        bends.push_back(bendAt(points, i, 1));
    double noise = noiseOf(bends);
    const double corner = kCorner * 2.449489742783178 * noise;
    for (const int lag : {2, 4}) {
        bends.clear();
        int straight = 0;  // neighbours up to here without a corner
        for (int i = 2; i < count; ++i) {
            straight = bendAt(points, i, 1) <= corner ? straight + 1 : 0;
            if (straight >= 2 * lag - 1)
                bends.push_back(bendAt(points, i, lag));
        }
        if (bends.size() < std::max(kFewest, std::size_t(count) / 4))
            continue;
        const double further = noiseOf(bends);
        if (further > kAlike * noise)
            noise = further;
    }
    return noise;
}

ProfileScale measureScale(const KvMath::KvProfile& profile) {
    const QList<KvPointXY>& points = profile.points;
    std::vector<double> steps;
    steps.reserve(static_cast<std::size_t>(points.size()));
    for (int i = 1; i < static_cast<int>(points.size()); ++i) {
        const double x = double(points[i].x) - points[i - 1].x;
        const double y = double(points[i].y) - points[i - 1].y;
        steps.push_back(x * x + y * y);
    }
    ProfileScale scale;
    scale.spacing = std::sqrt(median(steps));
    scale.noise = measureNoise(points, steps);
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
