// As the registration of profiles: points far off lose their say gradually, once with a wide cut that narrows
// and once with a narrow one; the better of both is taken, and ends with a sudden cut at 3.5 deviations. A
// step costs a search per chosen point.

#include <kvmeasure/scans/registration_in_space_p.h>

#include <kvmeasure/inspection/registration_weights_p.h>
#include <kvmeasure/scans/space_equations_p.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kFewestPairs = 6;

SpaceVector vectorOf(const KvMath::KvPointXYZ& p) { return {double(p.x), double(p.y), double(p.z)}; }

/// A master with the points that are laid on it.
class Laying {
public:
    Laying(const MasterSurface& master, const std::vector<KvMath::KvPointXYZ>& points) : master_(master) {
        points_.reserve(points.size());
        for (const KvMath::KvPointXYZ& point : points)
            points_.push_back(vectorOf(point));
        triangles_.resize(points.size());
    }

    ScanRegistration converge(const SpaceMotion& start, Loss loss, int mostSteps);
    double quantile(const SpaceMotion& motion, double share);
    bool isBetter(const ScanRegistration& one, const ScanRegistration& other);

private:
    std::vector<SpacePair> pairsOf(const SpaceMotion& motion);
    const SmoothedNormal& normalAt(std::uint32_t vertex);
    SmoothedNormal normalOf(const SurfacePlace& place);

    const MasterSurface& master_;
    std::vector<SpaceVector> points_;
    std::vector<std::uint32_t> triangles_;  // of each point, the nearest of the step before
    std::unordered_map<std::uint32_t, SmoothedNormal> normals_;
};

const SmoothedNormal& Laying::normalAt(std::uint32_t vertex) {
    const auto known = normals_.find(vertex);
    return known != normals_.end() ? known->second
                                   : normals_.emplace(vertex, master_.smoothedAt(vertex)).first->second;
}

/// Between the corners of a triangle, whose windows are nearly the same.
SmoothedNormal Laying::normalOf(const SurfacePlace& place) {
    SmoothedNormal mean;
    for (std::size_t i = 0; i < 3; ++i) {
        const double weight = place.weights[i];
        if (weight == 0)
            continue;
        const SmoothedNormal& corner = normalAt(place.vertices[i]);
        mean.normal = mean.normal + weight * corner.normal;
        mean.alongX = mean.alongX + weight * corner.alongX;
        mean.alongScan = mean.alongScan + weight * corner.alongScan;
        mean.varianceX += weight * corner.varianceX;
        mean.varianceScan += weight * corner.varianceScan;
        mean.covariance += weight * corner.covariance;
    }
    mean.normal = unit(mean.normal, place.normal);
    return mean;
}

std::vector<SpacePair> Laying::pairsOf(const SpaceMotion& motion) {
    std::vector<SpacePair> pairs;
    pairs.reserve(points_.size());
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const SpaceVector moved = motion.apply(points_[i]);
        const SurfacePlace place = master_.nearest(moved, triangles_[i]);
        triangles_[i] = place.triangle;
        if (place.isBeyond)
            continue;
        const SmoothedNormal normal = normalOf(place);
        pairs.push_back({moved, normal, dot(moved - place.place, normal.normal), 1});
    }
    return pairs;
}

/// Steps until they are below what a scan can show.
ScanRegistration Laying::converge(const SpaceMotion& start, Loss loss, int mostSteps) {
    constexpr double kFinest = 1e-7;      // mm
    constexpr double kNegligible = 0.01;  // of the uncertainty of a shift
    constexpr double kNarrowing = 0.7;
    ScanRegistration result;
    result.motion = start;
    double widest = 0;  // of the cut
    for (int step = 0; step < mostSteps; ++step) {
        std::vector<SpacePair> pairs = pairsOf(result.motion);
        if (pairs.size() < kFewestPairs)
            return result;
        const double cut = cutOf(pairs);
        widest = step > 0 ? kNarrowing * widest : loss == Loss::Wide ? kCut * rmsOf(pairs) : 0;
        const int rejected = weigh(pairs, loss, std::max(cut, widest));
        const SpaceEquations equations(pairs);
        if (pairs.size() < kFewestPairs || !equations.isSolved())
            return result;
        const SpaceMotion change = equations.step();
        result.rejected = rejected;
        result.used = static_cast<int>(pairs.size());
        result.deviation = rmsOf(pairs);
        result.parts = equations.parts();
        result.motion = result.motion.followedBy(change);
        const double visible = kNegligible * result.deviation / std::sqrt(static_cast<double>(pairs.size()));
        if (equations.way(change) < std::max(kFinest, visible) && widest <= cut)
            break;
    }
    return result;
}

/// The size of distances from the master, beyond its border too, that this share of the points does not
/// exceed.
double Laying::quantile(const SpaceMotion& motion, double share) {
    std::vector<double> sizes;
    sizes.reserve(points_.size());
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const SpaceVector moved = motion.apply(points_[i]);
        const SurfacePlace place = master_.nearest(moved, triangles_[i]);
        sizes.push_back(length(moved - place.place));
    }
    const auto at = sizes.begin() + static_cast<std::ptrdiff_t>(share * double(sizes.size() - 1));
    std::nth_element(sizes.begin(), at, sizes.end());
    return *at;
}

/// Whether most points lie clearly nearer to the master, or as near and more of them belong to it.
bool Laying::isBetter(const ScanRegistration& one, const ScanRegistration& other) {
    constexpr double kClearly = 1.5;
    const double here = quantile(one.motion, 0.5);
    const double there = quantile(other.motion, 0.5);
    if (here * kClearly < there || there * kClearly < here)
        return here < there;
    return one.used > other.used;
}

SpaceMotion bestStart(const std::vector<KvMath::KvPointXYZ>& points, const MasterSurface& master, Loss loss) {
    constexpr std::size_t kEnough = 600;
    constexpr std::size_t kEnoughForHeights = 100'000;
    constexpr int kSteps = 20;
    constexpr double kMost = 0.75;  // of the points should fit
    constexpr double kClearlyBetter = 0.9;
    Laying some(master, evenlyChosen(points, kEnough));
    SpaceMotion best;
    double least = std::numeric_limits<double>::infinity();
    for (const SpaceMotion& start :
         registrationStarts(points, evenlyChosen(master.points(), kEnoughForHeights))) {
        const SpaceMotion reached = some.converge(start, loss, kSteps).motion;
        const double here = some.quantile(reached, kMost);
        if (here < kClearlyBetter * least) {
            least = here;
            best = reached;
        }
    }
    return best;
}

}  // namespace

std::vector<KvMath::KvPointXYZ> evenlyChosen(const std::vector<KvMath::KvPointXYZ>& points,
                                             std::size_t most) {
    const std::size_t every = std::max<std::size_t>((points.size() + most - 1) / most, 1);
    std::vector<KvMath::KvPointXYZ> some;
    some.reserve(points.size() / every + 1);
    for (std::size_t i = 0; i < points.size(); i += every)
        some.push_back(points[i]);
    return some;
}

ScanRegistration registerScan(const std::vector<KvMath::KvPointXYZ>& points, const MasterSurface& master,
                              const RegistrationSettings& settings) {
    constexpr int kMostSteps = 100;
    constexpr std::size_t kMostPoints = 10'000;
    constexpr std::size_t kMostForStarts = 100'000;
    const std::vector<KvMath::KvPointXYZ> forStarts = evenlyChosen(points, kMostForStarts);
    Laying laying(master, evenlyChosen(points, kMostPoints));
    const auto reached = [&](Loss loss) {
        const SpaceMotion start = settings.findsStart ? bestStart(forStarts, master, loss) : SpaceMotion();
        return laying.converge(start, loss, kMostSteps);
    };
    if (!settings.isRobust)
        return reached(Loss::None);
    ScanRegistration best;
    for (const Loss loss : {Loss::Wide, Loss::Gradual}) {
        const ScanRegistration here = laying.converge(reached(loss).motion, Loss::Sudden, kMostSteps);
        if (best.parts.empty() || (!here.parts.empty() && laying.isBetter(here, best)))
            best = here;
    }
    return best;
}

}  // namespace KvMeasure::Internal
