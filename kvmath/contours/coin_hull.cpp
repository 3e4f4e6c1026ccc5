// A coin rolled around points. Its place is given by the point it lies against and the direction from there
// to its centre. Turning about point P it meets point Q, at distance d, in the direction of the chord PQ
// turned clockwise by alpha = acos(d / 2R); it then turns about Q, to which its centre lies in the direction
// of the chord QP turned counter-clockwise by alpha.
//
// The next point is the least of a total order (turn, distance, index), so the way of looking does not
// matter. A box is refused when no point in it can be met within the turn of the best one so far. While the
// coin turns by theta <= pi about P it covers Q = P + q only if q . u >= |q|^2 / 2R for a direction u on the
// way; directions on the way differ from the middle one by at most 2 sin(theta / 4).
//
// A coin so large that its edge is a straight line walks around the convex hull. Points well inside a polygon
// of eight outermost ones are left out first (S. G. Akl, G. T. Toussaint 1978): seen from a point of the hull
// they lie behind one of the eight by an angle that rounding does not reach. Where rounding makes the coin
// pass over one of the eight, the walk begins anew with all points.

#include <kvmath/base/count_p.h>
#include <kvmath/contours/hull.h>
#include <kvmath/contours/plane_tree_p.h>

namespace KvMath {
namespace {

using Internal::BoxView;
using Internal::PlanePoint;
using Internal::PlaneTree;
using Internal::SlabView;

constexpr double kFullTurn = 4;      // turns are counted in quarters
constexpr double kSameTurn = 1e-12;  // radians about no turn at all that rounding makes
constexpr double kLoose = 4e-12;     // radians by which the tests of boxes stand back,
constexpr double kLooseFar = 1e-6;   // and where d is nearly 2R: rounding moves directions by 3e-8 there
constexpr double kFar = 0.999999;    // of the square of 2R, from which that holds
constexpr double kNotFarther = 1 + 1e-14;  // of squares whose roots may be equal
constexpr double kTiny = 1e-140;           // mm; squares of shorter lengths lose digits
constexpr double kUnitError = 1e-13;       // of the squared length of a direction
constexpr double kRingError = 2e-14;       // of the squares of what a distance from a ring is made of
constexpr double kUnset = std::numeric_limits<double>::quiet_NaN();
constexpr double kStraight = 1e8;     // extents of the points in the radius of a coin with a straight edge
constexpr double kWellInside = 1e-6;  // extents of the points from the edge of a polygon
constexpr double kBehind = 1e-7;      // sine of an angle below what kWellInside is seen under
constexpr double kLeastExtent = 1e-100, kMostExtent = 1e100;  // mm; products stay in range

double dot(const PlanePoint& a, const PlanePoint& b) { return a.x * b.x + a.y * b.y; }
double cross(const PlanePoint& a, const PlanePoint& b) { return a.x * b.y - a.y * b.x; }

/// `v` turned counter-clockwise.
PlanePoint turned(const PlanePoint& v, double cosine, double sine) {
    return {v.x * cosine - v.y * sine, v.x * sine + v.y * cosine};
}

/// Grows from 0 to 4 with the angle from 0 to 2 pi.
double turnOf(double cosine, double sine) {
    const double sum = std::fabs(cosine) + std::fabs(sine);
    if (sine >= 0)
        return cosine >= 0 ? sine / sum : 1 - cosine / sum;
    return cosine < 0 ? 2 - sine / sum : 3 + cosine / sum;
}

/// Least of x^2 / 2R - x * k for x from `low` to `high`.
double leastHeight(double low, double high, double k, double radius, double inverse) {
    const double x = std::min(std::max(low, radius * k), high);
    return x * (x * inverse - k);
}

struct Contact {
    PlanePoint p;
    int index = -1;
    double turn = 0, distance = 0;
    PlanePoint direction;  ///< from p to the centre of the coin that touches it

    bool isBefore(const Contact& other) const {
        if (turn != other.turn)
            return turn < other.turn;
        return distance != other.distance ? distance < other.distance : index < other.index;
    }
};

/// What the coin can have covered on its way to the best contact so far.
struct Sweep {
    bool isKnown = false;
    PlanePoint middle;         ///< unit vector
    double squaredSpread = 0;  ///< no direction on the way differs more from the middle
    double squaredSpreadFar = 0;
    double squaredFar = 0;  ///< of lengths from which the second one counts

    /// Whether q with |q|^2 / 2R - q . middle >= shortfall and |q|^2 <= squared cannot have been covered. A
    /// NaN, from values beyond range, says no.
    bool isBehind(double shortfall, double squared) const {
        return shortfall > 0 &&
               shortfall * shortfall > squared * (squared > squaredFar ? squaredSpreadFar : squaredSpread);
    }

    void narrow(const PlanePoint& from, double cosine, double sine) {
        // Half angles, each from the sum that does not cancel.
        const double c2 = cosine >= 0 ? std::sqrt((1 + cosine) / 2) : sine / std::sqrt(2 * (1 - cosine));
        const double s2 = cosine >= 0 ? sine / std::sqrt(2 * (1 + cosine)) : std::sqrt((1 - cosine) / 2);
        isKnown = true;
        middle = turned(from, c2, s2);
        const double spread = s2 / std::sqrt((1 + c2) / 2);
        squaredSpread = (spread + kLoose) * (spread + kLoose);
        squaredSpreadFar = (spread + kLooseFar) * (spread + kLooseFar);
    }
};

class Coin {
public:
    Coin(const PlaneTree& tree, double radius, const PlanePoint& start)
        : tree_(tree), diameter_(2 * radius), squaredReach_(diameter_ * diameter_ * kNotFarther),
          inverse_(1 / diameter_), at_(start), left_(kUnset, kUnset), direction_(0, -1) {}

    const PlanePoint& place() const { return at_; }

    /// True when one of the `corners` around the places would be met last, after a full turn, though it is
    /// not the place just left: the coin then turns through the inside.
    bool passesOver(const std::vector<PlanePoint>& corners) const {
        return std::any_of(corners.begin(), corners.end(), [this](const PlanePoint& corner) {
            const PlanePoint way(corner.x - at_.x, corner.y - at_.y);
            const double squared = dot(way, way);
            if (squared == 0)
                return false;
            const Touch touch = touchOf(way, squared);
            return touch.sine < (touch.cosine > 0 ? -kSameTurn : -kBehind);
        });
    }

    /// Turns to the next point; its index, or -1 when no other point is in reach.
    int roll() {
        best_ = Contact();
        sweep_ = Sweep();
        sweep_.squaredFar = kFar * squaredReach_;
        squaredLimit_ = squaredReach_;
        mayRefuse_ = diameter_ >= kTiny && std::fabs(dot(direction_, direction_) - 1) < kUnitError;
        tree_.search(
            at_, [this](int node) { return isOutOfReach(node); },
            [this](int place) { meet(tree_.place(place)); });
        if (best_.index >= 0) {
            left_ = at_;
            at_ = best_.p;
            direction_ = best_.direction;
        }
        return best_.index;
    }

private:
    /// How the coin lies against here and another place.
    struct Touch {
        double d, cosAlpha, sinAlpha;
        PlanePoint chord;
        double cosine, sine;  ///< of the turn to there
    };

    Touch touchOf(const PlanePoint& way, double squared) const {
        Touch touch;
        touch.d = std::sqrt(squared);
        touch.chord = {way.x / touch.d, way.y / touch.d};
        touch.cosAlpha = touch.d / diameter_;
        touch.sinAlpha = std::sqrt(std::max(0.0, 1 - touch.cosAlpha * touch.cosAlpha));
        const PlanePoint centre = turned(touch.chord, touch.cosAlpha, -touch.sinAlpha);
        touch.cosine = dot(direction_, centre);
        touch.sine = cross(direction_, centre);
        return touch;
    }

    // Squares in place of lengths throughout: they are what costs the time on dense outlines.
    bool isOutOfReach(int node) const {
        const BoxView box = tree_.view(node, at_);
        const double nearest = box.squaredNearest();
        const double farthest = box.squaredFarthest();
        if (nearest > squaredLimit_ || farthest == 0)
            return true;
        if (!sweep_.isKnown)
            return false;
        const PlanePoint& u = sweep_.middle;
        return sweep_.isBehind(height(box.left, box.right, u.x) + height(box.below, box.above, u.y),
                               farthest) ||
               (!tree_.isLeaf(node) &&
                (isBehind(tree_.slab(node, at_), farthest) || isBehindRing(node, farthest)));
    }

    /// As for the slab. |q|^2 / 2R - q . u is, with the centre of the coin at o, (|q - o|^2 - |o|^2) / 2R.
    bool isBehindRing(int node, double farthest) const {
        const double radius = diameter_ / 2;
        const PlanePoint o(radius * sweep_.middle.x, radius * sweep_.middle.y);
        Internal::RingView ring;
        if (!tree_.ring(node, at_, o, ring))
            return false;
        const double squared = dot(o, o);
        const double rounding =
            kRingError * (squared + dot(ring.toward, ring.toward) + ring.outerRadius * ring.outerRadius);
        return sweep_.isBehind((ring.squaredNearest() - squared - rounding) * inverse_, farthest);
    }

    bool isBehind(const SlabView& slab, double farthest) const {
        const PlanePoint u = slab.inAxes(sweep_.middle);
        return sweep_.isBehind(height(slab.start, slab.end, u.x) + height(slab.right, slab.left, u.y),
                               farthest);
    }

    /// |q|^2 / 2R - q . u is the sum of one such height for each axis.
    double height(double low, double high, double k) const {
        return leastHeight(low, high, k, diameter_ / 2, inverse_);
    }

    void meet(const PlaneTree::Place& other) {
        const PlanePoint way(other.p.x - at_.x, other.p.y - at_.y);
        const double squared = dot(way, way);
        if (sweep_.isKnown && sweep_.isBehind(squared * inverse_ - dot(way, sweep_.middle), squared))
            return;
        const Touch touch = touchOf(way, squared);
        if (!(touch.d > 0 && touch.d <= diameter_))
            return;
        Contact contact{other.p, other.index, turnOf(touch.cosine, touch.sine), touch.d, {}};
        // The same coin touches both: met at once. The point just left can only be met by going around.
        if (touch.cosine > 0 && std::fabs(touch.sine) < kSameTurn)
            contact.turn = Internal::isSamePlace(other.p, left_) ? kFullTurn : 0;
        if (std::isnan(contact.turn) || (best_.index >= 0 && !contact.isBefore(best_)))
            return;
        contact.direction = turned({-touch.chord.x, -touch.chord.y}, touch.cosAlpha, touch.sinAlpha);
        best_ = contact;
        if (best_.turn == 0)
            squaredLimit_ = squared * kNotFarther;
        if (mayRefuse_ && best_.turn <= kFullTurn / 2)
            sweep_.narrow(direction_, std::min(touch.cosine, 1.0), std::max(touch.sine, 0.0));
    }

    const PlaneTree& tree_;
    double diameter_, squaredReach_, inverse_;
    double squaredLimit_ = 0;  ///< of the distance of what may still be met
    PlanePoint at_, left_;
    PlanePoint direction_;
    Contact best_;
    Sweep sweep_;
    bool mayRefuse_ = false;
};

using Places = std::vector<PlaneTree::Place>;

/// The outermost places in eight directions, counter-clockwise from the right.
std::array<PlanePoint, 8> outermost(const Places& places) {
    std::array<PlanePoint, 8> corners;
    corners.fill(places.front().p);
    for (const PlaneTree::Place& place : places) {
        const double x = place.p.x, y = place.p.y;
        const auto widen = [&place](PlanePoint& corner, bool isFarther) {
            if (isFarther)
                corner = place.p;
        };
        widen(corners[0], x > corners[0].x);
        widen(corners[1], x + y > corners[1].x + corners[1].y);
        widen(corners[2], y > corners[2].y);
        widen(corners[3], y - x > corners[3].y - corners[3].x);
        widen(corners[4], x < corners[4].x);
        widen(corners[5], x + y < corners[5].x + corners[5].y);
        widen(corners[6], y < corners[6].y);
        widen(corners[7], x - y > corners[7].x - corners[7].y);
    }
    return corners;
}

/// Leaves out what a coin of radius `R` around all places cannot touch unless it passes over a corner, if its
/// edge is straight. Returns the corners of the polygon around what was left out, if anything was.
std::vector<PlanePoint> dropInside(Places& places, double R) {
    if (places.empty())
        return {};
    const std::array<PlanePoint, 8> corners = outermost(places);
    const double extent = std::max(corners[0].x - corners[4].x, corners[2].y - corners[6].y);
    if (!(R >= kStraight * extent && extent > kLeastExtent && extent < kMostExtent))
        return {};
    struct Edge {
        PlanePoint from, way;
        double least;  ///< product with the way to a place that is well inside
    };
    std::vector<Edge> edges;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const PlanePoint& to = corners[(i + 1) % corners.size()];
        const PlanePoint way(to.x - corners[i].x, to.y - corners[i].y);
        const double length = std::sqrt(dot(way, way));
        if (length > 0)
            edges.push_back({corners[i], way, kWellInside * extent * length});
    }
    const auto isWellInside = [&edges](const PlaneTree::Place& place) {
        return std::all_of(edges.begin(), edges.end(), [&place](const Edge& edge) {
            return cross(edge.way, {place.p.x - edge.from.x, place.p.y - edge.from.y}) > edge.least;
        });
    };
    const auto rest = std::remove_if(places.begin(), places.end(), isWellInside);
    if (rest == places.end())
        return {};
    places.erase(rest, places.end());
    return {corners.begin(), corners.end()};
}

enum class Walk { Closed, Endless, PassesOver };

/// Appends to `indices`, which hold the first point, those that the coin meets until it is back. Gives up
/// where it passes over one of the `corners`.
Walk walk(const QList<PlanePoint>& points, double R, Places places, const std::vector<PlanePoint>& corners,
          QList<int>& indices) {
    const int n = Internal::countOf(points);
    const int first = indices.first();
    const PlaneTree tree(std::move(places));
    Coin coin(tree, R, points.at(first));
    PlanePoint second;
    while (true) {
        if (coin.passesOver(corners))
            return Walk::PassesOver;
        const PlanePoint previous = coin.place();
        const int next = coin.roll();
        if (next < 0) {
            indices.append(first);
            return Walk::Closed;
        }
        indices.append(next);
        if (indices.size() == 2)
            second = coin.place();
        else if (Internal::isSamePlace(coin.place(), second) &&
                 Internal::isSamePlace(previous, points.at(first))) {
            indices.removeLast();
            return Walk::Closed;
        }
        if (indices.size() / 2 > n || (indices.size() / 2 == n && indices.size() % 2 != 0))
            return Walk::Endless;
    }
}

}  // namespace

bool getCoinHull(const QList<KvVector2D<double>>& points, double R, QList<int>& indices) {
    indices.clear();
    const int n = Internal::countOf(points);
    if (n == 0)
        return true;
    const int first = std::max(0, Internal::lowestPoint(points));
    indices.append(first);
    if (n == 1)
        return true;
    Places places = PlaneTree::finitePlaces(points);
    const std::vector<PlanePoint> corners = dropInside(places, R);
    Walk result = walk(points, R, std::move(places), corners, indices);
    if (result == Walk::PassesOver) {
        indices = {first};
        result = walk(points, R, PlaneTree::finitePlaces(points), {}, indices);
    }
    return result == Walk::Closed;
}

}  // namespace KvMath
