// The tree is a pyramid of boxes over runs of eight pieces: pieces follow each other in space, so that runs
// are compact without any sorting. Normals for a registration must not carry the noise of the master: a flat
// line would seem to fix a shift along it. So the direction at a point is that of the least-squares line
// through its neighbours, over the widest window that is straight within the noise.

#include <kvmeasure/inspection/master_curve_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kFanOut = 8;
constexpr std::size_t kWidestWindow = 12;  // points on either side
constexpr double kStraightness = 2;        // standard deviations of the noise

Vector difference(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y}; }
Vector turnedLeft(const Vector& v) { return {-v.y, v.x}; }

Vector unit(const Vector& v, const Vector& otherwise) {
    const double size = std::hypot(v.x, v.y);
    return size > 0 ? Vector(v.x / size, v.y / size) : otherwise;
}

/// Direction and straightness of a run of points.
struct LocalLine {
    Vector tangent;
    double deviation = 0;  // mm
    double spread = 0;     // mm^2, sum of squared places along it
    std::size_t count = 0;
};

LocalLine localLine(const std::vector<Vector>& points, std::size_t from, std::size_t to) {
    LocalLine line;
    line.count = to - from + 1;
    const auto n = static_cast<double>(line.count);
    double mx = 0;
    double my = 0;
    for (std::size_t i = from; i <= to; ++i) {
        mx += points[i].x / n;
        my += points[i].y / n;
    }
    double xx = 0;
    double xy = 0;
    double yy = 0;
    for (std::size_t i = from; i <= to; ++i) {
        const double dx = points[i].x - mx;
        const double dy = points[i].y - my;
        xx += dx * dx;
        xy += dx * dy;
        yy += dy * dy;
    }
    const double angle = 0.5 * std::atan2(2 * xy, xx - yy);
    Vector tangent(std::cos(angle), std::sin(angle));
    const Vector along = difference(points[to], points[from]);
    if (along.x * tangent.x + along.y * tangent.y < 0)
        tangent = Vector(-tangent.x, -tangent.y);
    line.tangent = tangent;
    const double squares = std::max(0.0, xx * tangent.y * tangent.y - 2 * xy * tangent.x * tangent.y +
                                             yy * tangent.x * tangent.x);
    line.spread = std::max(0.0, xx + yy - squares);
    line.deviation = std::sqrt(squares / n);
    return line;
}

/// Standard deviation of the noise, mm, from the distances of points to the middle of their neighbours.
double noiseOf(const std::vector<Vector>& points) {
    constexpr double kNormalMedian = 0.6745;       // of the size of a normal value
    constexpr double kSecondDifference = 1.22474;  // deviation of p - (a + b)/2 over that of p
    std::vector<double> sizes;
    sizes.reserve(points.size());
    for (std::size_t i = 1; i + 1 < points.size(); ++i) {
        const Vector chord = difference(points[i + 1], points[i - 1]);
        const Vector to = difference(points[i], points[i - 1]);
        const double size = std::hypot(chord.x, chord.y);
        if (size > 0)
            sizes.push_back(std::fabs(chord.x * to.y - chord.y * to.x) / size);
    }
    if (sizes.empty())
        return 0;
    const auto at = sizes.begin() + static_cast<std::ptrdiff_t>(sizes.size() / 2);
    std::nth_element(sizes.begin(), at, sizes.end());
    return *at / kNormalMedian / kSecondDifference;
}

}  // namespace

double MasterCurve::Box::squaredDistance(const Vector& p) const {
    const double dx = std::max({left - p.x, 0.0, p.x - right});
    const double dy = std::max({bottom - p.y, 0.0, p.y - top});
    return dx * dx + dy * dy;
}

MasterCurve::MasterCurve(const std::vector<std::vector<Vector>>& contours) {
    double rise = 0;
    for (const std::vector<Vector>& contour : contours)
        rise += contour.empty() ? 0 : contour.back().x - contour.front().x;
    if (rise < 0) {
        for (auto contour = contours.rbegin(); contour != contours.rend(); ++contour)
            addContour({contour->rbegin(), contour->rend()});
    } else {
        for (const std::vector<Vector>& contour : contours)
            addContour(contour);
    }
    buildTree();
}

void MasterCurve::addContour(const std::vector<Vector>& contour) {
    std::vector<Vector> distinct;
    for (const Vector& point : contour) {
        if (distinct.empty() || point.x != distinct.back().x || point.y != distinct.back().y)
            distinct.push_back(point);
    }
    if (distinct.size() < 2)
        return;
    const std::size_t from = points_.size();
    points_.insert(points_.end(), distinct.begin(), distinct.end());
    const std::size_t first = pieces_.size();
    const std::size_t last = first + distinct.size() - 2;
    for (std::size_t i = from; i + 1 < points_.size(); ++i)
        pieces_.push_back({i, first, last});
    smoothTangents(from, points_.size() - 1, noiseOf(distinct));
}

void MasterCurve::smoothTangents(std::size_t from, std::size_t to, double noise) {
    for (std::size_t i = from; i <= to; ++i) {
        LocalLine line;
        for (std::size_t half = kWidestWindow; half > 0; half /= 2) {
            line = localLine(points_, std::max(from + half, i) - half, std::min(to, i + half));
            if (line.count > 3 && line.deviation <= kStraightness * noise)
                break;
        }
        tangents_.push_back(line.tangent);
        slopeNoises_.push_back(line.spread > 0 ? noise * noise / line.spread : 0);
    }
}

void MasterCurve::buildTree() {
    if (pieces_.empty())
        return;
    const auto joined = [](const Box& a, const Box& b) {
        return Box{std::min(a.left, b.left), std::min(a.bottom, b.bottom), std::max(a.right, b.right),
                   std::max(a.top, b.top)};
    };
    std::vector<Box> below;
    for (const Piece& piece : pieces_) {
        const Vector& a = points_[piece.from];
        const Vector& b = points_[piece.from + 1];
        below.push_back({std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)});
    }
    while (levels_.empty() || levels_.back().size() > 1) {
        std::vector<Box> boxes;
        for (std::size_t i = 0; i < below.size(); ++i) {
            if (i % kFanOut == 0)
                boxes.push_back(below[i]);
            else
                boxes.back() = joined(boxes.back(), below[i]);
        }
        levels_.push_back(boxes);
        below = boxes;
    }
}

MasterCurve::Foot MasterCurve::footOn(std::size_t piece, const Vector& point) const {
    const Vector& a = points_[pieces_[piece].from];
    const Vector along = difference(points_[pieces_[piece].from + 1], a);
    const Vector to = difference(point, a);
    const double share = (to.x * along.x + to.y * along.y) / (along.x * along.x + along.y * along.y);
    const double within = std::min(std::max(share, 0.0), 1.0);
    const double dx = to.x - within * along.x;
    const double dy = to.y - within * along.y;
    return {dx * dx + dy * dy, share};
}

/// Of pieces as near the preferred one counts, otherwise the first, so that the order of the search does not.
void MasterCurve::take(std::size_t piece, const Foot& here, Nearest& nearest) {
    if (here.squared < nearest.foot.squared ||
        (here.squared == nearest.foot.squared && nearest.piece != nearest.preferred &&
         (piece == nearest.preferred || piece < nearest.piece)))
        nearest = {piece, nearest.preferred, here};
}

/// The nearest boxes come first: what is found there spares the others.
void MasterCurve::search(std::size_t level, std::size_t box, const Vector& point, Nearest& nearest) const {
    const std::size_t first = box * kFanOut;
    if (level == 0) {
        for (std::size_t piece = first; piece < std::min(first + kFanOut, pieces_.size()); ++piece)
            take(piece, footOn(piece, point), nearest);
        return;
    }
    std::array<std::pair<double, std::size_t>, kFanOut> children;
    std::size_t count = 0;
    for (std::size_t child = first; child < std::min(first + kFanOut, levels_[level - 1].size()); ++child) {
        const double squared = levels_[level - 1][child].squaredDistance(point);
        if (squared > nearest.foot.squared)
            continue;
        std::size_t at = count++;
        for (; at > 0 && children[at - 1].first > squared; --at)
            children[at] = children[at - 1];
        children[at] = {squared, child};
    }
    for (std::size_t i = 0; i < count && children[i].first <= nearest.foot.squared; ++i)
        search(level - 1, children[i].second, point, nearest);
}

bool MasterCurve::isBeyond(std::size_t piece, const Foot& foot) const {
    constexpr std::size_t kFewPieces = 3;  // from the end
    constexpr double kFewLengths = 3;      // of a piece
    const Piece& here = pieces_[piece];
    const bool isAtStart = piece == here.first;
    const bool isAtEnd = piece == here.last;
    if ((foot.share < 0 && isAtStart) || (foot.share > 1 && isAtEnd))
        return true;
    const bool isNearEnd = piece < here.first + kFewPieces || piece + kFewPieces > here.last;
    return isNearEnd &&
           std::sqrt(foot.squared) > kFewLengths * length(points_[here.from], points_[here.from + 1]);
}

Vector MasterCurve::acrossOf(std::size_t piece) const {
    const std::size_t from = pieces_[piece].from;
    return turnedLeft(unit(difference(points_[from + 1], points_[from]), {1, 0}));
}

NearestPlace MasterCurve::nearest(const Vector& point, std::size_t near, std::size_t likely) const {
    const std::size_t preferred = std::min(near, pieces_.size() - 1);
    Nearest result{preferred, preferred, footOn(preferred, point)};
    if (likely < pieces_.size())
        take(likely, footOn(likely, point), result);
    search(levels_.size() - 1, 0, point, result);
    const std::size_t best = result.piece;
    const Foot& foot = result.foot;
    const Piece& piece = pieces_[best];
    const double within = std::min(std::max(foot.share, 0.0), 1.0);
    const Vector& a = points_[piece.from];
    const Vector& b = points_[piece.from + 1];
    NearestPlace found;
    found.piece = best;
    found.place = Vector(a.x + within * (b.x - a.x), a.y + within * (b.y - a.y));
    found.isBeyond = isBeyond(best, foot);
    found.across = acrossOf(best);
    const bool atStart = foot.share <= 0 && best > piece.first;
    const bool atEnd = foot.share >= 1 && best < piece.last;
    if (atStart || atEnd) {
        const Vector other = acrossOf(atStart ? best - 1 : best + 1);
        found.across = unit({found.across.x + other.x, found.across.y + other.y}, found.across);
    }
    const Vector& t0 = tangents_[piece.from];
    const Vector& t1 = tangents_[piece.from + 1];
    const Vector tangent =
        unit({t0.x + within * (t1.x - t0.x), t0.y + within * (t1.y - t0.y)}, turnedLeft(found.across));
    found.normal = turnedLeft(tangent);
    found.slopeNoise = std::max(slopeNoises_[piece.from], slopeNoises_[piece.from + 1]);
    const Vector away = difference(point, found.place);
    const bool isLeft = away.x * found.across.x + away.y * found.across.y >= 0;
    found.distance = isLeft ? std::sqrt(foot.squared) : -std::sqrt(foot.squared);
    return found;
}

}  // namespace KvMeasure::Internal
