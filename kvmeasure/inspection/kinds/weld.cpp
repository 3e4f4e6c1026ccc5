// Welds from their toes. Plates are lines, given; the face is what lies between both toes. Legs and root
// follow from the lines and toes, convexity from a parabola through the points around the furthest place of
// the face, undercut is an extreme of points.

#include <kvmeasure/inspection/kinds/weld.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/order_noise.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

using Points = std::vector<Vector>;

double sineBetween(const LineFit& a, const LineFit& b) {
    return a.along.x * b.along.y - a.along.y * b.along.x;
}

/// The points from the first plate to the second.
Points fromFirst(const LineFit& first, const LineFit& second, Points points) {
    const double there = length(points.front(), first.centre) + length(points.back(), second.centre);
    const double back = length(points.front(), second.centre) + length(points.back(), first.centre);
    if (back < there)
        std::reverse(points.begin(), points.end());
    return points;
}

/// The parabola of least squares, as polynomials that are orthogonal over its points.
class Parabola {
public:
    /// Points [from, to).
    Parabola(const std::vector<double>& places, const std::vector<double>& heights, std::size_t from,
             std::size_t to) {
        const double count = double(to - from);
        for (std::size_t i = from; i < to; ++i)
            mean_ += places[i] / count;
        double square = 0, cube = 0;
        for (std::size_t i = from; i < to; ++i) {
            square += std::pow(places[i] - mean_, 2);
            cube += std::pow(places[i] - mean_, 3);
        }
        slope_ = square > 0 ? cube / square : 0;
        offset_ = square / count;
        std::array<double, 3> sums{};
        for (std::size_t i = from; i < to; ++i) {
            const std::array<double, 3> values = polynomials(places[i]);
            for (std::size_t k = 0; k < 3; ++k) {
                sums[k] += values[k] * heights[i];
                squares_[k] += values[k] * values[k];
            }
        }
        for (std::size_t k = 0; k < 3; ++k)
            factors_[k] = squares_[k] > 0 ? sums[k] / squares_[k] : 0;
    }
    bool isConvex() const { return factors_[2] < 0; }
    double top() const {
        return mean_ + (slope_ - factors_[1] / factors_[2]) / 2;
    }  ///< not finite for a line
    /// The height at a place, and its variance over that of a point.
    std::pair<double, double> at(double place) const {
        const std::array<double, 3> values = polynomials(place);
        double height = 0, variance = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            height += factors_[k] * values[k];
            variance += squares_[k] > 0 ? values[k] * values[k] / squares_[k] : 0;
        }
        return {height, variance};
    }

private:
    std::array<double, 3> polynomials(double place) const {
        const double t = place - mean_;
        return {1, t, t * t - slope_ * t - offset_};
    }

    double mean_ = 0, slope_ = 0, offset_ = 0;
    std::array<double, 3> squares_{}, factors_{};
};

class Weld {
public:
    Weld(const LineFit& first, const LineFit& second, const Points& points, const NoiseModel& noise)
        : plates_{&first, &second}, noise_(noise) {
        ways_[0] = fromFirst(first, second, points);
        ways_[1] = Points(ways_[0].rbegin(), ways_[0].rend());
    }
    /// Finds the toes on these sides of the plates and the face between them.
    void findFace(const std::array<double, 2>& sides, WeldResult& result);
    void convexity(const Vector& outwards, WeldResult& result);
    void legsAndThroat(const Vector& outwards, WeldResult& result) const;
    void widthAndMisalignment(WeldResult& result) const;

private:
    /// The furthest place of the face from the line of both toes.
    struct Summit {
        double place = 0;   ///< along that line from the first toe, mm
        double height = 0;  ///< over it, mm, negative where the face is concave
        double u = 0;       ///< standard uncertainty of the height without that of the toes, mm
        bool isConvex = true;
    };
    void findSummit(const Vector& outwards, const WeldResult& weld);
    double uOfPlate(int i, const Vector& at) const {
        return lineUncertainty(*plates_[i], noise_).at(plates_[i]->placeOf(at));
    }

    const LineFit* plates_[2];
    const NoiseModel& noise_;
    Points ways_[2];  ///< the points, seen from each plate
    Points face_;
    Summit summit_;
};

void Weld::findFace(const std::array<double, 2>& sides, WeldResult& result) {
    std::array<double, 2> undercuts{};
    std::array<std::size_t, 2> fronts{};
    for (std::size_t i = 0; i < 2; ++i)
        fronts[i] = findToe(*plates_[i], ways_[i], sides[i], noise_).face;
    for (std::size_t i = 0; i < 2; ++i) {
        WeldToe& toe = result.toes[i];
        // Without the other plate, which is no face.
        const std::size_t end = ways_[i].size() - std::min(fronts[1 - i], ways_[i].size());
        toe = findToe(*plates_[i], Points(ways_[i].begin(), ways_[i].begin() + std::ptrdiff_t(end)), sides[i],
                      noise_);
        result.isShort = result.isShort || lineUncertainty(*plates_[i], noise_).isShort;
        if (!toe.reason.isEmpty()) {
            result.reason = toe.reason;
            return;
        }
        undercuts[i] = undercutOf(*plates_[i], ways_[i], sides[i], toe);
    }
    const std::size_t from = result.toes[0].face;
    const std::size_t to = ways_[0].size() - result.toes[1].face;
    if (from + 2 > to) {
        result.reason = "the weld has no face between its toes";
        return;
    }
    face_.assign(ways_[0].begin() + std::ptrdiff_t(from), ways_[0].begin() + std::ptrdiff_t(to));
    const std::size_t deeper = undercuts[0] >= undercuts[1] ? 0 : 1;
    const LineUncertainty plate = lineUncertainty(*plates_[deeper], noise_);
    UncertaintySum u;
    u.add(noise_.deviation, noise_.points);
    u.add(plate.at(plates_[deeper]->placeOf(result.toes[deeper].at)), plate.degreesOfFreedom);
    result.undercut = {undercuts[deeper], u.u(), u.degreesOfFreedom(), {}};
}

/// The parabola through the points around the furthest place of the face from the line of both toes, and its
/// furthest place: the furthest of noisy points lies beyond the face.
void Weld::findSummit(const Vector& outwards, const WeldResult& weld) {
    constexpr double kShare = 1.0 / 6;  // of the face, to each side
    constexpr std::size_t kFewest = 4;  // points to each side
    const Vector& toe = weld.toes[0].at;
    const Vector along(outwards.y, -outwards.x);
    std::vector<double> heights, places;
    for (const Vector& p : face_) {
        heights.push_back((p.x - toe.x) * outwards.x + (p.y - toe.y) * outwards.y);
        places.push_back((p.x - toe.x) * along.x + (p.y - toe.y) * along.y);
    }
    const std::vector<double> smooth = smoothHeights(heights, noise_.correlationTime);
    const auto [low, high] = std::minmax_element(smooth.begin(), smooth.end());
    summit_.isConvex = *high >= -*low;  // as the face is on the whole
    const auto at = std::size_t((summit_.isConvex ? high : low) - smooth.begin());
    const double reach = kShare * length(weld.toes[0].at, weld.toes[1].at);
    std::size_t from = at, to = at + 1;
    while (from > 0 && (at - from < kFewest || std::fabs(places[from - 1] - places[at]) <= reach))
        --from;
    while (to < places.size() && (to - at <= kFewest || std::fabs(places[to] - places[at]) <= reach))
        ++to;
    const Parabola parabola(places, heights, from, to);
    const double top = parabola.top();
    const bool hasTop = parabola.isConvex() == summit_.isConvex && std::fabs(top - places[at]) <= reach;
    summit_.place = hasTop ? top : places[at];
    const auto [height, variance] = parabola.at(summit_.place);
    summit_.height = height;
    summit_.u = noise_.deviation * std::fabs(outwards.y) * std::sqrt(noise_.correlationTime * variance);
}

/// The furthest place of the face from the line of both toes; `outwards` is square to it, unit.
void Weld::convexity(const Vector& outwards, WeldResult& result) {
    findSummit(outwards, result);
    const Vector& toe = result.toes[0].at;
    result.highest = Vector(toe.x + summit_.place * outwards.y + summit_.height * outwards.x,
                            toe.y - summit_.place * outwards.x + summit_.height * outwards.y);
    UncertaintySum u;
    u.add(summit_.u, noise_.points);
    for (std::size_t i = 0; i < 2; ++i) {
        const Vector& along = plates_[i]->along;
        const double across = std::fabs(along.x * outwards.x + along.y * outwards.y);
        u.add(std::hypot(result.toes[i].u * across, uOfPlate(int(i), result.toes[i].at)) / 2,
              result.toes[i].degreesOfFreedom);
    }
    result.convexity = {summit_.height, u.u(), u.degreesOfFreedom(), {}};
}

void Weld::legsAndThroat(const Vector& outwards, WeldResult& result) const {
    const double sine = std::fabs(sineBetween(*plates_[0], *plates_[1]));
    UncertaintySum x;
    UncertaintySum z;
    for (int i = 0; i < 2; ++i) {
        const LineUncertainty u = lineUncertainty(*plates_[i], noise_);
        const LineFit& other = *plates_[1 - i];
        const double move = uOfPlate(i, result.root) / sine;  // along the other plate
        x.add(move * other.along.x, u.degreesOfFreedom);
        z.add(move * other.along.y, u.degreesOfFreedom);
        // The root moves along this plate by the other one's own, and by this one's over the tangent.
        UncertaintySum leg;
        const double cosine = std::sqrt(std::max(0.0, 1 - sine * sine));
        leg.add(result.toes[std::size_t(i)].u, result.toes[std::size_t(i)].degreesOfFreedom);
        leg.add(uOfPlate(1 - i, result.root) / sine, u.degreesOfFreedom);
        leg.add(uOfPlate(i, result.root) / sine * cosine, u.degreesOfFreedom);
        result.legs[std::size_t(i)] = {
            length(result.root, result.toes[std::size_t(i)].at), leg.u(), leg.degreesOfFreedom(), {}};
    }
    result.x = {result.root.x, x.u(), x.degreesOfFreedom(), {}};
    result.z = {result.root.y, z.u(), z.degreesOfFreedom(), {}};
    const auto height = [&](const Vector& p) {
        return (p.x - result.root.x) * outwards.x + (p.y - result.root.y) * outwards.y;
    };
    // A side parallel to the line of both toes, as high as the face lets it be.
    const double ofToes = height(result.toes[0].at);
    constexpr double kDeviations = 3;
    const bool isConcave = result.convexity.value < -kDeviations * noise_.deviation * std::fabs(outwards.y);
    UncertaintySum u;
    if (isConcave) {
        u.add(summit_.u, noise_.points);
    } else {
        // The line of both toes over the root: each toe counts by the share of the foot of the throat on it.
        const double side = length(result.toes[0].at, result.toes[1].at);
        for (std::size_t i = 0; i < 2; ++i) {
            const LineFit& plate = *plates_[i];
            const LineFit& other = *plates_[1 - i];
            const LineUncertainty line = lineUncertainty(plate, noise_);
            const auto across = [&](const Vector& along) {
                return std::fabs(along.x * outwards.x + along.y * outwards.y);
            };
            const double way = std::pow(length(result.root, result.toes[1 - i].at), 2);
            const double share = std::sqrt(std::max(0.0, way - ofToes * ofToes)) / side;
            u.add(result.toes[i].u * across(plate.along) * share, result.toes[i].degreesOfFreedom);
            u.add(uOfPlate(int(i), result.root) / sine * across(other.along), line.degreesOfFreedom);
        }
    }
    const double throat = isConcave ? ofToes + summit_.height : ofToes;
    result.throatFoot = Vector(result.root.x + throat * outwards.x, result.root.y + throat * outwards.y);
    result.throat = {throat, u.u(), u.degreesOfFreedom(), {}};
}

void Weld::widthAndMisalignment(WeldResult& result) const {
    UncertaintySum width;
    for (const WeldToe& toe : result.toes)
        width.add(toe.u, toe.degreesOfFreedom);
    result.width = {length(result.toes[0].at, result.toes[1].at), width.u(), width.degreesOfFreedom(), {}};
    const Vector centre = middle(result.toes[0].at, result.toes[1].at);
    // The second plate's line, square to the first one's at this place.
    const double way =
        plates_[1]->distanceOf(centre) /
        std::max(1e-9, plates_[0]->along.x * plates_[1]->along.x + plates_[0]->along.y * plates_[1]->along.y);
    UncertaintySum u;
    for (int i = 0; i < 2; ++i)
        u.add(uOfPlate(i, centre), lineUncertainty(*plates_[i], noise_).degreesOfFreedom);
    result.misalignment = {plates_[0]->distanceOf(centre) - way, u.u(), u.degreesOfFreedom(), {}};
}

QString platesFault(const LineFit& first, const LineFit& second, const Points& points) {
    constexpr std::size_t kFewest = 8;
    if (!first.isFound() || !second.isFound())
        return first.isFound() ? second.reason : first.reason;
    return points.size() < kFewest ? QString("fewer than eight points for a weld") : QString();
}

/// Unit, square to the way from toe to toe, away from a point or, for none, upwards.
Vector outwardsOf(const WeldResult& weld, const Vector* root) {
    const Vector& a = weld.toes[0].at;
    const Vector& b = weld.toes[1].at;
    const double size = length(a, b);
    Vector square(-(b.y - a.y) / size, (b.x - a.x) / size);
    const double side = root == nullptr ? square.y : (a.x - root->x) * square.x + (a.y - root->y) * square.y;
    return side < 0 ? Vector(-square.x, -square.y) : square;
}

void refuseNotFinite(WeldResult& result) {
    const double sum =
        result.convexity.value + result.toes[0].at.x + result.toes[1].at.x + result.toes[0].at.y;
    if (result.reason.isEmpty() && !std::isfinite(sum))
        result.reason = "the points give no finite weld";
}

}  // namespace

WeldResult measureFilletWeld(const LineFit& first, const LineFit& second, const Points& points,
                             const NoiseModel& noise) {
    WeldResult result;
    result.reason = platesFault(first, second, points);
    constexpr double kLeastSine = 0.17;  // 10 degrees
    if (result.reason.isEmpty() && !(std::fabs(sineBetween(first, second)) > kLeastSine))
        result.reason = "the plates are parallel";
    if (!result.reason.isEmpty())
        return result;
    result.root = meetingPoint(first, second);
    Weld weld(first, second, points, noise);
    weld.findFace(
        {first.distanceOf(second.centre) < 0 ? -1.0 : 1.0, second.distanceOf(first.centre) < 0 ? -1.0 : 1.0},
        result);
    if (!result.reason.isEmpty())
        return result;
    const Vector outwards = outwardsOf(result, &result.root);
    weld.convexity(outwards, result);
    weld.legsAndThroat(outwards, result);
    refuseNotFinite(result);
    return result;
}

WeldResult measureButtWeld(const LineFit& first, const LineFit& second, const Points& points,
                           const NoiseModel& noise) {
    WeldResult result;
    result.reason = platesFault(first, second, points);
    constexpr double kMostSine = 0.5;  // 30 degrees
    if (result.reason.isEmpty() && !(std::fabs(sineBetween(first, second)) < kMostSine))
        result.reason = "the plates are inclined to each other by more than 30 degrees";
    if (!result.reason.isEmpty())
        return result;
    Weld weld(first, second, points, noise);
    weld.findFace({1, 1}, result);
    if (!result.reason.isEmpty())
        return result;
    weld.convexity(outwardsOf(result, nullptr), result);
    weld.widthAndMisalignment(result);
    refuseNotFinite(result);
    return result;
}

}  // namespace KvMeasure
