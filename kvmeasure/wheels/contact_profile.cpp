// Sections as functions of the lateral position. The points are split where the section turns back; of all
// pieces what stands uppermost is kept. Between the points runs a cubic of continuous slope, whose slopes at
// the points are those of H. Akima (J. ACM 17 (1970) 589-602): they follow the smoother side, so that a
// straight line stays straight up to a corner, where a spline would swing. Cost: the number of points, times
// the number of pieces where there are several.

#include <kvmeasure/wheels/contact_profile.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Points = std::vector<Vector>;

double heightOn(const Points& piece, double lateral) {
    if (piece.size() < 2 || lateral < piece.front().x || lateral > piece.back().x)
        return kNaN;
    const auto behind = std::upper_bound(piece.begin() + 1, piece.end() - 1, lateral,
                                         [](double value, const Vector& p) { return value < p.x; });
    const Vector &a = *(behind - 1), &b = *behind;
    return a.y + (b.y - a.y) * (lateral - a.x) / (b.x - a.x);
}

/// Pieces of strictly ascending lateral positions. At a wall its upper end is kept.
std::vector<Points> piecesOf(const Points& points) {
    constexpr std::size_t kMostPieces = 101;
    std::vector<Points> pieces(1);
    pieces.front().reserve(points.size());
    int direction = 0;
    const auto finish = [](Points& piece, int way) {
        if (way < 0)
            std::reverse(piece.begin(), piece.end());
    };
    for (const Vector& p : points) {
        Points& piece = pieces.back();
        if (piece.empty()) {
            piece.push_back(p);
            continue;
        }
        const Vector last = piece.back();
        if (p.x == last.x) {
            piece.back().y = std::max(last.y, p.y);
            continue;
        }
        const int way = p.x > last.x ? 1 : -1;
        if (direction == 0 || way == direction) {
            direction = way;
            piece.push_back(p);
            continue;
        }
        finish(piece, direction);
        if (pieces.size() == kMostPieces)
            throw Error("the section turns back laterally more than 100 times: its points are out of order");
        direction = way;
        pieces.push_back({last, p});
    }
    finish(pieces.back(), direction);
    return pieces;
}

/// Of several pieces the points that no other piece stands above, by lateral position.
Points uppermost(std::vector<Points> pieces) {
    if (pieces.size() == 1)
        return std::move(pieces.front());
    Points kept;
    for (const Points& piece : pieces) {
        for (const Vector& p : piece) {
            const bool isHidden = std::any_of(pieces.begin(), pieces.end(), [&](const Points& other) {
                return &other != &piece && heightOn(other, p.x) > p.y;
            });
            if (!isHidden)
                kept.push_back(p);
        }
    }
    std::sort(kept.begin(), kept.end(), [](const Vector& a, const Vector& b) { return a.x < b.x; });
    Points unique;
    unique.reserve(kept.size());
    for (const Vector& p : kept) {
        if (!unique.empty() && unique.back().x == p.x)
            unique.back().y = std::max(unique.back().y, p.y);
        else
            unique.push_back(p);
    }
    return unique;
}

/// Secants between neighbouring points, two on either side beyond the ends, where they go on as they changed
/// last. The secant behind point i is at i + 2.
std::vector<double> secantsOf(const std::vector<double>& x, const std::vector<double>& y) {
    const std::size_t count = x.size();
    std::vector<double> secants(count + 3);
    for (std::size_t i = 0; i + 1 < count; ++i)
        secants[i + 2] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]);
    secants[1] = 2 * secants[2] - secants[3];
    secants[0] = 2 * secants[1] - secants[2];
    secants[count + 1] = 2 * secants[count] - secants[count - 1];
    secants[count + 2] = 2 * secants[count + 1] - secants[count];
    return secants;
}

/// The slope at a point from the two secants on either side.
double akimaSlope(const double* s) {
    const double behind = std::fabs(s[3] - s[2]), before = std::fabs(s[1] - s[0]);
    const double scale =
        std::max(std::max(std::fabs(s[0]), std::fabs(s[1])), std::max(std::fabs(s[2]), std::fabs(s[3])));
    // On a straight line both are rounding, and the secants on either side weigh the same.
    const double rounding = 32 * std::numeric_limits<double>::epsilon() * scale;
    return behind + before <= rounding ? (s[1] + s[2]) / 2
                                       : (behind * s[1] + before * s[2]) / (behind + before);
}

std::vector<ContactProfile::Cubic> cubicsThrough(const std::vector<double>& x, const std::vector<double>& y) {
    const std::vector<double> secants = secantsOf(x, y);
    std::vector<ContactProfile::Cubic> cubics;
    cubics.reserve(x.size());
    double slope = akimaSlope(secants.data());
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
        const double inverse = 1 / (x[i + 1] - x[i]), secant = secants[i + 2];
        const double next = akimaSlope(&secants[i + 1]);
        cubics.push_back({x[i], y[i], slope, (3 * secant - 2 * slope - next) * inverse,
                          (slope + next - 2 * secant) * inverse * inverse});
        slope = next;
    }
    return cubics;
}

/// Where the section leaves the 14 mm below its top: whether it falls that far on either side, and the width.
struct Top {
    double lateral = 0, width = 0;
    double before = 0, behind = 0;  ///< from the top to where it has fallen that far, or to the end
    bool fallsBefore = false, fallsBehind = false;
    bool isUpsideDown = false;  ///< both ends stand that far above the lowest point
};

Top topOf(const ContactProfile& profile) {
    constexpr double kDepth = 14;
    const std::vector<double>& laterals = profile.laterals();
    std::vector<double> heights;
    heights.reserve(laterals.size());
    for (const double lateral : laterals)
        heights.push_back(profile.height(lateral));
    const auto highest =
        static_cast<std::size_t>(std::max_element(heights.begin(), heights.end()) - heights.begin());
    std::size_t first = highest, last = highest;
    while (first > 0 && heights[first] > heights[highest] - kDepth)
        --first;
    while (last + 1 < heights.size() && heights[last] > heights[highest] - kDepth)
        ++last;
    const double lowest = *std::min_element(heights.begin(), heights.end());
    return {laterals[highest],
            laterals[last] - laterals[first],
            laterals[highest] - laterals[first],
            laterals[last] - laterals[highest],
            heights[first] <= heights[highest] - kDepth,
            heights[last] <= heights[highest] - kDepth,
            std::min(heights.front(), heights.back()) >= lowest + kDepth};
}

constexpr double kWidestFlange =
    45;  // mm, 14 mm below the tip: flanges have 25 to 35, heads of rails 60 to 75

}  // namespace

ContactProfile::ContactProfile(const std::vector<Vector>& points) {
    constexpr std::size_t kFewest = 4, kMost = 100'000;
    constexpr double kNarrowest = 20, kWidest = 400;
    Points finite;
    finite.reserve(points.size());
    for (const Vector& p : points) {
        if (isFinite(p))
            finite.push_back(p);
    }
    if (finite.size() > kMost)
        throw Error(filledIn("has %1 points; a section has at most 100000", finite.size()));
    if (finite.size() < kFewest)
        throw Error(filledIn("has %1 point(s); a section needs four", finite.size()));
    const Points kept = uppermost(piecesOf(finite));
    const double width = kept.back().x - kept.front().x;
    if (!(width >= kNarrowest && width <= kWidest))
        throw Error(
            filledIn("is %1 mm wide; a section of a wheel or rail is 20 to 400 mm wide: another unit, "
                     "or x and height are exchanged",
                     width));
    if (kept.size() < kFewest)
        throw Error(
            filledIn("has %1 point(s) at different lateral positions; a section needs four", kept.size()));
    std::vector<double> heights;
    laterals_.reserve(kept.size());
    heights.reserve(kept.size());
    for (const Vector& p : kept) {
        laterals_.push_back(p.x);
        heights.push_back(p.y);
    }
    cubics_ = cubicsThrough(laterals_, heights);
}

int ContactProfile::intervalAt(double lateral) const {
    const auto behind = std::upper_bound(laterals_.begin() + 1, laterals_.end() - 1, lateral);
    return static_cast<int>(behind - laterals_.begin()) - 1;
}

double ContactProfile::height(double lateral) const {
    if (laterals_.empty() || !(lateral >= from() && lateral <= to()))
        return kNaN;
    return cubics_[static_cast<std::size_t>(intervalAt(lateral))].heightAt(lateral);
}

double ContactProfile::slope(double lateral) const {
    if (laterals_.empty() || !(lateral >= from() && lateral <= to()))
        return kNaN;
    return cubics_[static_cast<std::size_t>(intervalAt(lateral))].slopeAt(lateral);
}

double ContactProfile::gapAt(double lateral) const {
    if (laterals_.empty() || !(lateral >= from() && lateral <= to()))
        return 0;
    const auto i = static_cast<std::size_t>(intervalAt(lateral));
    return laterals_[i + 1] - laterals_[i];
}

QString whyNoWheel(const ContactProfile& profile) {
    const Top top = topOf(profile);
    if (top.isUpsideDown)
        return "stands upside down: heights grow towards the flange tip";
    if (top.fallsBefore && top.width >= kWidestFlange)
        return filledIn("looks like a rail: 14 mm below its top it is %1 mm wide", top.width);
    if (top.lateral > 0 && (top.fallsBefore || top.fallsBehind))
        return "has its flange at positive x: x grows from the flange to the field side, with 0 at the "
               "running circle";
    return {};
}

QString whyNoRail(const ContactProfile& profile) {
    const Top top = topOf(profile);
    if (top.isUpsideDown)
        return "stands upside down: heights grow towards the top of the head";
    constexpr double kHalfFlange = 20;  // mm; half a head has 25 and more
    const bool isSteep =
        (top.fallsBefore && top.before < kHalfFlange) || (top.fallsBehind && top.behind < kHalfFlange);
    if (top.width < kWidestFlange && (isSteep || (top.fallsBefore && top.fallsBehind)))
        return filledIn("looks like a wheel: 14 mm below its top it is %1 mm wide, as a flange is",
                        top.width);
    return {};
}

}  // namespace KvMeasure
