// Gauss-Newton on point-to-line distances, three unknowns about the centroid of the points, a turn counted in
// mm at their mean radius so that all three compare. The normal matrix is taken apart into its eigenvectors:
// those whose eigenvalue the noise of the master alone explains are not moved along.
// Points far off lose their say gradually first (Tukey's weights), with a wide cut that narrows, since a
// narrow one may drop the walls that alone fix a shift, and with a narrow one, since a wide one lets a large
// defect turn the part; the better of both is taken. Then points beyond 3.5 deviations are left out, all
// others count alike.

#include <kvmeasure/inspection/registration.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/master_curve_p.h>
#include <kvmeasure/inspection/registration_start_p.h>
#include <kvmeasure/inspection/registration_weights_p.h>

#include <kvmath/numerics/svd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace KvMeasure {

using Internal::cutOf;
using Internal::kCut;
using Internal::Loss;
using Internal::MasterCurve;
using Internal::NearestPlace;
using Internal::rmsOf;
using Internal::weigh;

namespace {

using Three = std::array<double, 3>;  // turn (mm at the mean radius), shift in x, shift in y

constexpr double kLeastInformation = 1e-6;  // per point; below it is rounding
constexpr double kNoiseFactor = 4;          // of the information that the noise of the master feigns

/// One point with its place on the master.
struct Pair {
    Vector point;  // after the motion so far
    Vector normal;
    double distance = 0;    // along the normal
    double slopeNoise = 0;  // radians^2
    double weight = 1;
};

/// The normal equations of pairs, per pair.
struct Equations {
    std::array<Three, 3> matrix{};
    std::array<Three, 3> noise{};
    std::array<Three, 3> scatter{};  // with the squared distances, for uncertainties
    Three side{};
    double squares = 0;
    int count = 0;
    Vector centre;
    double radius = 1;
};

Equations equationsOf(const std::vector<Pair>& pairs) {
    Equations e;
    e.count = static_cast<int>(pairs.size());
    double n = 0;
    for (const Pair& pair : pairs)
        n += pair.weight;
    for (const Pair& pair : pairs)
        e.centre =
            Vector(e.centre.x + pair.weight * pair.point.x / n, e.centre.y + pair.weight * pair.point.y / n);
    double squares = 0;
    for (const Pair& pair : pairs)
        squares += pair.weight * std::pow(length(e.centre, pair.point), 2) / n;
    if (squares > 0)
        e.radius = std::sqrt(squares);
    for (const Pair& pair : pairs) {
        const Vector arm((pair.point.x - e.centre.x) / e.radius, (pair.point.y - e.centre.y) / e.radius);
        const Vector& normal = pair.normal;
        const Three row{normal.y * arm.x - normal.x * arm.y, normal.x, normal.y};
        const Three turned{normal.x * arm.x + normal.y * arm.y, -normal.y, normal.x};
        const double share = pair.weight / n;
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                e.matrix[i][k] += share * row[i] * row[k];
                e.noise[i][k] += share * pair.slopeNoise * turned[i] * turned[k];
                e.scatter[i][k] += share * pair.distance * pair.distance * row[i] * row[k];
            }
            e.side[i] -= share * row[i] * pair.distance;
        }
        e.squares += pair.distance * pair.distance;
    }
    return e;
}

/// An eigenvector of the normal matrix.
struct Direction {
    Three vector{};
    double value = 0;
    bool isFree = false;
};

double form(const std::array<Three, 3>& matrix, const Three& v) {
    double sum = 0;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t k = 0; k < 3; ++k)
            sum += v[i] * matrix[i][k] * v[k];
    return sum;
}

/// The least determined first. None where the decomposition fails.
std::vector<Direction> directionsOf(const Equations& e) {
    constexpr std::size_t kN = 4;  // svdcmp counts from 1
    double a[kN][kN] = {};
    double v[kN][kN] = {};
    double w[kN] = {};
    double* rowsOfA[kN] = {a[0], a[1], a[2], a[3]};
    double* rowsOfV[kN] = {v[0], v[1], v[2], v[3]};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t k = 0; k < 3; ++k)
            a[i + 1][k + 1] = e.matrix[i][k];
    std::vector<Direction> directions;
    if (!KvMath::svdcmp(rowsOfA, 3, 3, w, rowsOfV))
        return directions;
    for (std::size_t k = 1; k < kN; ++k) {
        Direction direction;
        direction.vector = {v[1][k], v[2][k], v[3][k]};
        direction.value = w[k];
        direction.isFree = w[k] < std::max(kLeastInformation, kNoiseFactor * form(e.noise, direction.vector));
        directions.push_back(direction);
    }
    std::sort(directions.begin(), directions.end(),
              [](const Direction& x, const Direction& y) { return x.value < y.value; });
    return directions;
}

/// The step that lessens the distances most, without free motions.
RigidMotion stepOf(const Equations& e, const std::vector<Direction>& directions) {
    Three step{};
    for (const Direction& d : directions) {
        if (d.isFree)
            continue;
        double along = 0;
        for (std::size_t i = 0; i < 3; ++i)
            along += d.vector[i] * e.side[i];
        for (std::size_t i = 0; i < 3; ++i)
            step[i] += d.vector[i] * along / d.value;
    }
    constexpr double kLargestTurn = 0.5;  // radians: a step is good for small ones
    const double turn = std::min(std::max(step[0] / e.radius, -kLargestTurn), kLargestTurn);
    return {e.centre, turn, {step[1], step[2]}};
}

/// Its uncertainty is that of points which scatter each in its own way: heights hardly shift a steep wall.
MotionPart partOf(const Direction& direction, const Equations& e) {
    MotionPart part;
    part.information = direction.value;
    part.isFree = direction.isFree;
    const double turn = direction.vector[0] / e.radius;  // radians for a motion of 1
    const Vector shift(direction.vector[1], direction.vector[2]);
    const double size = std::hypot(shift.x, shift.y);
    constexpr double kMostlyTurn = 0.1;  // a pole within ten mean radii is one
    part.isTurn = std::fabs(direction.vector[0]) > kMostlyTurn * size;
    if (part.isTurn)
        part.pole = Vector(e.centre.x - shift.y / turn, e.centre.y + shift.x / turn);
    else
        part.direction =
            shift.x < 0 ? Vector(-shift.x / size, -shift.y / size) : Vector(shift.x / size, shift.y / size);
    const double motion = direction.isFree
                              ? std::numeric_limits<double>::infinity()
                              : std::sqrt(form(e.scatter, direction.vector) / e.count) / direction.value;
    part.uncertainty = part.isTurn ? motion * std::fabs(turn) * kDegreesPerRadian : motion;
    return part;
}

/// `pieces` hold, for each point, the piece that was the nearest before; empty in the first step.
std::vector<Pair> pairsOf(const std::vector<Vector>& points, const RigidMotion& motion,
                          const MasterCurve& master, std::vector<std::size_t>& pieces) {
    std::vector<Pair> pairs;
    pairs.reserve(points.size());
    pieces.resize(points.size());
    std::size_t near = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Vector moved = motion.apply(points[i]);
        const NearestPlace place = master.nearest(moved, near, pieces[i]);
        near = pieces[i] = place.piece;
        if (place.isBeyond)
            continue;
        const double distance =
            (moved.x - place.place.x) * place.normal.x + (moved.y - place.place.y) * place.normal.y;
        pairs.push_back({moved, place.normal, distance, place.slopeNoise});
    }
    return pairs;
}

/// Moves on by one step of the pairs and says what they determine; the way, mm. NaN: the pairs give no step.
double stepOn(const std::vector<Pair>& pairs, Registration& result) {
    const Equations e = equationsOf(pairs);
    const std::vector<Direction> directions = directionsOf(e);
    if (pairs.empty() || directions.empty())
        return std::nan("");
    result.used = e.count;
    result.deviation = std::sqrt(e.squares / e.count);
    result.parts.clear();
    for (const Direction& direction : directions)
        result.parts.push_back(partOf(direction, e));
    const RigidMotion change = stepOf(e, directions);
    result.motion = result.motion.followedBy(change);
    return std::hypot(change.shift.x, change.shift.y) + std::fabs(change.angle) * e.radius;
}

/// Steps until they are below what a profile can show.
Registration converge(const std::vector<Vector>& points, const MasterCurve& master, const RigidMotion& start,
                      Loss loss, int mostSteps) {
    constexpr double kFinest = 1e-7;  // mm
    constexpr double kNarrowing = 0.7;
    Registration result;
    result.motion = start;
    double widest = 0;  // of the cut
    std::vector<std::size_t> pieces;
    for (int step = 0; step < mostSteps; ++step) {
        std::vector<Pair> pairs = pairsOf(points, result.motion, master, pieces);
        if (pairs.size() < 2)
            return result;
        const double cut = cutOf(pairs);
        widest = step > 0 ? kNarrowing * widest : loss == Loss::Wide ? kCut * rmsOf(pairs) : 0;
        result.rejected = weigh(pairs, loss, std::max(cut, widest));
        const double way = pairs.size() < 2 ? std::nan("") : stepOn(pairs, result);
        if (std::isnan(way))
            return result;
        if (way < kFinest && widest <= cut)
            break;
    }
    return result;
}

/// The size of distances from the master, beyond its ends too, that this share of the points does not exceed.
double quantile(const std::vector<Vector>& points, const RigidMotion& motion, const MasterCurve& master,
                double share) {
    std::vector<double> sizes;
    std::size_t near = 0;
    for (const Vector& point : points) {
        const NearestPlace place = master.nearest(motion.apply(point), near);
        near = place.piece;
        sizes.push_back(std::fabs(place.distance));
    }
    const auto at = sizes.begin() + static_cast<std::ptrdiff_t>(share * double(sizes.size() - 1));
    std::nth_element(sizes.begin(), at, sizes.end());
    return *at;
}

/// Whether most points lie clearly nearer to the master, or as near and more of them belong to it.
bool isBetter(const Registration& one, const Registration& other, const std::vector<Vector>& points,
              const MasterCurve& master) {
    constexpr double kClearly = 1.5;
    const double here = quantile(points, one.motion, master, 0.5);
    const double there = quantile(points, other.motion, master, 0.5);
    if (here * kClearly < there || there * kClearly < here)
        return here < there;
    return one.used > other.used;
}

std::vector<Vector> thinned(const std::vector<Vector>& points, std::size_t most) {
    std::vector<Vector> some;
    const std::size_t every = (points.size() + most - 1) / most;
    for (std::size_t i = 0; i < points.size(); i += std::max<std::size_t>(every, 1))
        some.push_back(points[i]);
    return some;
}

RigidMotion bestStart(const std::vector<Vector>& points, const MasterCurve& master, Loss loss) {
    constexpr std::size_t kEnough = 400;
    constexpr int kSteps = 20;
    constexpr double kMost = 0.75;  // of the points should fit
    constexpr double kClearlyBetter = 0.9;
    const std::vector<Vector> some = thinned(points, kEnough);
    RigidMotion best;
    double least = std::numeric_limits<double>::infinity();
    for (const RigidMotion& start :
         Internal::registrationStarts(some, thinned(master.points(), 4 * kEnough))) {
        const RigidMotion reached = converge(some, master, start, loss, kSteps).motion;
        const double here = quantile(some, reached, master, kMost);
        if (here < kClearlyBetter * least) {
            least = here;
            best = reached;
        }
    }
    return best;
}

}  // namespace

QString MotionPart::text() const {
    const auto number = [](double value) { return QString::number(value + 0.0, 'f', 3); };
    return isTurn ? filledIn("turn about (%1, %2)", number(pole.x), number(pole.y))
                  : filledIn("shift along (%1, %2)", number(direction.x), number(direction.y));
}

bool Registration::isFixed() const {
    return std::none_of(parts.begin(), parts.end(), [](const MotionPart& part) { return part.isFree; });
}

Registration registerPoints(const std::vector<Vector>& points, const std::vector<std::vector<Vector>>& master,
                            const RegistrationSettings& settings) {
    constexpr int kMostSteps = 100;
    constexpr std::size_t kMostPoints = 20'000;
    std::vector<Vector> finite;
    for (const Vector& point : points) {
        if (isFinite(point))
            finite.push_back(point);
    }
    finite = thinned(finite, kMostPoints);
    const MasterCurve curve(master);
    if (finite.size() < 2 || curve.isEmpty())
        return {};
    const auto reached = [&](Loss loss) {
        const RigidMotion start = settings.findsStart ? bestStart(finite, curve, loss) : RigidMotion();
        return converge(finite, curve, start, loss, kMostSteps);
    };
    if (!settings.isRobust)
        return reached(Loss::None);
    Registration best;
    for (const Loss loss : {Loss::Wide, Loss::Gradual}) {
        const Registration here = converge(finite, curve, reached(loss).motion, Loss::Sudden, kMostSteps);
        if (best.parts.empty() || isBetter(here, best, finite, curve))
            best = here;
    }
    return best;
}

Registration registerLines(const Segments& lines, const Segments& master) {
    constexpr int kMostSteps = 50;
    constexpr double kFinest = 1e-9;  // mm
    Registration result;
    for (int step = 0; step < kMostSteps; ++step) {
        std::vector<Pair> pairs;
        for (int i = 0; i < std::min(lines.size(), master.size()); ++i) {
            const KvMath::LinePP& wanted = master[i];
            const double size = length(wanted.p1, wanted.p2);
            if (!(size > 0))
                continue;
            const Vector normal(-(wanted.p2.y - wanted.p1.y) / size, (wanted.p2.x - wanted.p1.x) / size);
            for (const Vector& end : {lines[i].p1, middle(lines[i].p1, lines[i].p2), lines[i].p2}) {
                const Vector moved = result.motion.apply(end);
                const double distance =
                    (moved.x - wanted.p1.x) * normal.x + (moved.y - wanted.p1.y) * normal.y;
                pairs.push_back({moved, normal, distance, 0});
            }
        }
        const double way = stepOn(pairs, result);
        if (std::isnan(way))
            return {};
        if (way < kFinest)
            break;
    }
    return result;
}

}  // namespace KvMeasure
