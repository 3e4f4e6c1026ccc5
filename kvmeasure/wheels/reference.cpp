// Position and lean of a scanner by Gauss-Newton steps on the distances of its points to the known section;
// points far off are left out. The start is the place across the track with the least spread, on a grid of 1
// mm.

#include <kvmeasure/wheels/reference.h>

#include <kvmath/numerics/svd.h>

#include <algorithm>
#include <cmath>

// A point P of the scanner belongs to the place P - d - lean x (P - pivot) of the wheel, where d is the error
// and the pivot the running circle. Its distance from the surface, hypot(X - axis, Z - axis) - r(Y), square
// to the surface, is linear in the errors near the solution: Gauss-Newton over all points of all moments. Z
// comes from the tread, Y from the flank of the flange, X from the moments before and behind the middle.

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kUnknowns = 4;

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct Residual {
    double distance;             ///< from the surface
    double gradient[kUnknowns];  ///< towards x, y, z, lean
};

class Fit {
public:
    Fit(const QList<ReferenceView>& views, const ReferenceSection& section, double back)
        : views_(views), section_(section), back_(back) {}

    ScannerError solve() {
        constexpr int kSteps = 8, kFewest = 200;
        if (views_.isEmpty())
            return {};
        error_.x = error_.y = error_.z = error_.lean = 0;
        error_.y = startAcross();
        for (int i = 0; i < kSteps; ++i) {
            const std::vector<Residual> all = residuals(views_);
            if (static_cast<int>(all.size()) < kFewest || !step(all))
                return {};
        }
        return error_;
    }

private:
    /// The place across the track with the least spread of distances in the middle view, on a grid of 1 mm.
    double startAcross() {
        constexpr int kFarthest = 25;
        double best = 0, least = std::numeric_limits<double>::infinity();
        for (int y = -kFarthest; y <= kFarthest; ++y) {
            error_.y = y;
            std::vector<double> distances;
            for (const Residual& residual : residuals({views_.at(views_.size() / 2)}))
                distances.push_back(residual.distance);
            if (distances.empty())
                continue;
            const double middle = median(distances);
            for (double& distance : distances)
                distance = std::fabs(distance - middle);
            // What is not on the wheel counts as far away: a grid that looks beside it must not win.
            const double spread = median(distances) / static_cast<double>(distances.size());
            if (spread < least) {
                least = spread;
                best = y;
            }
        }
        return best;
    }

    std::vector<Residual> residuals(const QList<ReferenceView>& views) const {
        constexpr double kSteepest = 3;
        std::vector<Residual> all;
        const double axisZ = section_.runningRadius();
        const double pivotY = back_ + ReferenceSection::kRunningCircle;
        for (const ReferenceView& view : views) {
            for (const KvMath::KvPointXYZ& p : view.points.points) {
                const auto py = static_cast<double>(p.y), pz = static_cast<double>(p.z);
                const double y = py - error_.y + error_.lean * pz;
                const double z = pz - error_.z - error_.lean * (py - pivotY);
                const double dx = static_cast<double>(p.x) - error_.x - view.axisX, dz = z - axisZ;
                const double lateral = y - back_, slope = section_.slope(lateral);
                if (!(std::fabs(slope) <= kSteepest))
                    continue;
                const double radius = std::hypot(dx, dz), square = 1 / std::sqrt(1 + slope * slope);
                const double towardsY = slope * square, towardsZ = -dz / radius * square;
                all.push_back(
                    {(radius - section_.radius(lateral)) * square,
                     {-dx / radius * square, towardsY, towardsZ, towardsZ * (py - pivotY) - towardsY * pz}});
            }
        }
        return all;
    }

    /// One step of Gauss-Newton without what lies far off. False where the errors are not determined.
    bool step(const std::vector<Residual>& all) {
        constexpr double kPerDeviation = 0.6745, kCut = 3.5, kRank = 1e-12, kNothing = 1e-6;
        std::vector<double> distances;
        distances.reserve(all.size());
        for (const Residual& residual : all)
            distances.push_back(residual.distance);
        const double middle = median(distances);
        for (double& distance : distances)
            distance = std::fabs(distance - middle);
        const double limit = kCut * median(distances) / kPerDeviation + kNothing;
        double normal[kUnknowns * kUnknowns] = {}, right[kUnknowns] = {}, change[kUnknowns] = {};
        double squares = 0;
        error_.points = 0;
        for (const Residual& residual : all) {
            if (std::fabs(residual.distance - middle) > limit)
                continue;
            ++error_.points;
            squares += residual.distance * residual.distance;
            for (int i = 0; i < kUnknowns; ++i) {
                right[i] -= residual.gradient[i] * residual.distance;
                for (int k = 0; k < kUnknowns; ++k)
                    normal[i * kUnknowns + k] += residual.gradient[i] * residual.gradient[k];
            }
        }
        error_.deviation = std::sqrt(squares / error_.points);
        if (!KvMath::svdLeastSquares(normal, right, kUnknowns, kUnknowns, kRank, change))
            return false;
        error_.x += change[0];
        error_.y += change[1];
        error_.z += change[2];
        error_.lean += change[3];
        return std::isfinite(error_.x + error_.y + error_.z + error_.lean);
    }

    const QList<ReferenceView>& views_;
    const ReferenceSection& section_;
    double back_;
    ScannerError error_;
};

}  // namespace

ReferenceSection::ReferenceSection(std::vector<double> laterals, std::vector<double> radii)
    : laterals_(std::move(laterals)), radii_(std::move(radii)) {}

std::size_t ReferenceSection::behind(double lateral) const {
    if (!(lateral >= laterals_.front() && lateral <= laterals_.back()))
        return 0;
    const auto beyond = std::upper_bound(laterals_.begin(), laterals_.end(), lateral);
    return std::min(static_cast<std::size_t>(beyond - laterals_.begin()), laterals_.size() - 1);
}

double ReferenceSection::slope(double lateral) const {
    const std::size_t i = behind(lateral);
    return i == 0 ? kNaN : (radii_[i] - radii_[i - 1]) / (laterals_[i] - laterals_[i - 1]);
}

double ReferenceSection::radius(double lateral) const {
    const std::size_t i = behind(lateral);
    return i == 0 ? kNaN : radii_[i - 1] + slope(lateral) * (lateral - laterals_[i - 1]);
}

double ReferenceSection::tipRadius() const { return *std::max_element(radii_.begin(), radii_.end()); }

ScannerError errorOf(const QList<ReferenceView>& views, const ReferenceSection& section, double back) {
    return Fit(views, section, back).solve();
}

}  // namespace KvMeasure
