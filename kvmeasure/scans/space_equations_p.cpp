// Gauss-Newton on distances along the normals (Y. Chen, G. Medioni, Image and Vision Computing 10 (1992)
// 145-155), six unknowns, turns in mm at the mean radius of the points so that all six compare. The normal
// matrix is taken apart into eigenvectors; those whose eigenvalue the noise of the master alone explains are
// not moved along. Free eigenvectors of one eigenvalue are any mixtures of shifts and turns: these are sorted
// apart by how much each turns.

#include <kvmeasure/scans/space_equations_p.h>

#include <kvmeasure/base/plane_geometry.h>

#include <kvmath/numerics/svd.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure::Internal {

namespace {

constexpr double kLeastInformation = 1e-6;  // per point; below it is rounding
constexpr double kNoiseFactor = 4;          // of the information that the noise of the master feigns
constexpr double kMostlyShift = 0.1;        // mm of turn per mm of motion, below which it is a shift

SpaceVector turnOf(const Six& motion) { return {motion[0], motion[1], motion[2]}; }
SpaceVector shiftOf(const Six& motion) { return {motion[3], motion[4], motion[5]}; }
Six sixOf(const SpaceVector& turn, const SpaceVector& shift) {
    return {turn.x, turn.y, turn.z, shift.x, shift.y, shift.z};
}

double form(const std::array<Six, 6>& matrix, const Six& v) {
    double sum = 0;
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t k = 0; k < 6; ++k)
            sum += v[i] * matrix[i][k] * v[k];
    return sum;
}

/// Eigenvalue and eigenvector of a symmetric matrix of n <= 6 rows, the least first; none where that fails.
std::vector<std::pair<double, Six>> eigenvectors(const std::array<Six, 6>& matrix, std::size_t n) {
    constexpr std::size_t kMost = 7;  // svdcmp counts from 1
    double a[kMost][kMost] = {};
    double v[kMost][kMost] = {};
    double w[kMost] = {};
    double* rowsOfA[kMost] = {};
    double* rowsOfV[kMost] = {};
    for (std::size_t i = 0; i < kMost; ++i) {
        rowsOfA[i] = a[i];
        rowsOfV[i] = v[i];
    }
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = 0; k < n; ++k)
            a[i + 1][k + 1] = matrix[i][k];
    std::vector<std::pair<double, Six>> found;
    const auto count = static_cast<int>(n);
    if (!KvMath::svdcmp(rowsOfA, count, count, w, rowsOfV))
        return found;
    for (std::size_t k = 1; k <= n; ++k) {
        Six vector{};
        for (std::size_t i = 0; i < n; ++i)
            vector[i] = v[i + 1][k];
        found.emplace_back(w[k], vector);
    }
    std::sort(found.begin(), found.end(), [](const auto& x, const auto& y) { return x.first < y.first; });
    return found;
}

/// Shifts that span the same, the first as near to x as they allow, then to the scan.
std::vector<SpaceVector> alongAxes(const std::vector<SpaceVector>& shifts) {
    std::vector<SpaceVector> result;
    for (const SpaceVector& axis : {SpaceVector{1, 0, 0}, SpaceVector{0, 0, 1}, SpaceVector{0, 1, 0}}) {
        constexpr double kClearly = 0.2;
        SpaceVector along;
        for (const SpaceVector& shift : shifts)
            along = along + dot(axis, shift) * shift;
        for (const SpaceVector& taken : result)
            along = along - dot(along, taken) * taken;
        if (result.size() < shifts.size() && length(along) > kClearly)
            result.push_back(unit(along, axis));
    }
    return result.size() == shifts.size() ? result : shifts;
}

}  // namespace

SpaceEquations::SpaceEquations(const std::vector<SpacePair>& pairs)
    : count_(static_cast<double>(pairs.size())) {
    double n = 0;
    for (const SpacePair& pair : pairs) {
        n += pair.weight;
        centre_ = centre_ + pair.weight * pair.point;
    }
    if (!(n > 0))
        return;
    centre_ = (1 / n) * centre_;
    double squares = 0;
    for (const SpacePair& pair : pairs)
        squares += pair.weight * dot(pair.point - centre_, pair.point - centre_) / n;
    if (squares > 0)
        radius_ = std::sqrt(squares);
    for (const SpacePair& pair : pairs)
        add(pair, pair.weight / n);
    decompose();
}

void SpaceEquations::add(const SpacePair& pair, double share) {
    const SpaceVector arm = (1 / radius_) * (pair.point - centre_);
    const auto rowFor = [&arm](const SpaceVector& direction) {
        return sixOf(cross(arm, direction), direction);
    };
    const SmoothedNormal& normal = pair.normal;
    const Six row = rowFor(normal.normal);
    const Six forX = rowFor(normal.alongX);
    const Six forScan = rowFor(normal.alongScan);
    const double squared = pair.distance * pair.distance;
    for (std::size_t i = 0; i < 6; ++i) {
        for (std::size_t k = 0; k < 6; ++k) {
            matrix_[i][k] += share * row[i] * row[k];
            scatter_[i][k] += share * squared * row[i] * row[k];
            noise_[i][k] += share * (normal.varianceX * forX[i] * forX[k] +
                                     normal.varianceScan * forScan[i] * forScan[k] +
                                     normal.covariance * (forX[i] * forScan[k] + forScan[i] * forX[k]));
        }
        side_[i] -= share * row[i] * pair.distance;
    }
}

void SpaceEquations::decompose() {
    for (const auto& [value, vector] : eigenvectors(matrix_, 6)) {
        const double feigned = kNoiseFactor * form(noise_, vector);
        directions_.push_back({vector, value, value < std::max(kLeastInformation, feigned)});
    }
}

SpaceMotion SpaceEquations::step() const {
    Six step{};
    for (const Direction& direction : directions_) {
        if (direction.isFree)
            continue;
        double along = 0;
        for (std::size_t i = 0; i < 6; ++i)
            along += direction.vector[i] * side_[i];
        for (std::size_t i = 0; i < 6; ++i)
            step[i] += direction.vector[i] * along / direction.value;
    }
    constexpr double kLargestTurn = 0.5;  // radians: a step is good for small ones
    SpaceVector turn = (1 / radius_) * turnOf(step);
    const double angle = length(turn);
    if (angle > kLargestTurn)
        turn = (kLargestTurn / angle) * turn;
    return SpaceMotion::of(centre_, turn, shiftOf(step));
}

double SpaceEquations::way(const SpaceMotion& step) const {
    return length(step.shift) + radius_ * length(step.turn());
}

/// The matrix of how much any mixture of the free motions turns has the pure shifts as eigenvectors of value
/// 0.
std::vector<Six> SpaceEquations::freeMotions() const {
    std::vector<Six> free;
    for (const Direction& direction : directions_) {
        if (direction.isFree)
            free.push_back(direction.vector);
    }
    Matrix turning{};
    for (std::size_t i = 0; i < free.size(); ++i)
        for (std::size_t k = 0; k < free.size(); ++k)
            turning[i][k] = dot(turnOf(free[i]), turnOf(free[k]));
    std::vector<SpaceVector> shifts;
    std::vector<Six> turns;
    for (const auto& [value, mixture] : eigenvectors(turning, free.size())) {
        Six motion{};
        for (std::size_t i = 0; i < free.size(); ++i)
            for (std::size_t k = 0; k < 6; ++k)
                motion[k] += mixture[i] * free[i][k];
        if (value < kMostlyShift * kMostlyShift)
            shifts.push_back(unit(shiftOf(motion), {1, 0, 0}));
        else
            turns.push_back(motion);
    }
    shifts = alongAxes(shifts);
    std::vector<Six> motions;
    motions.reserve(free.size());
    for (const SpaceVector& shift : shifts)
        motions.push_back(sixOf({}, shift));
    for (const Six& turn : turns) {
        SpaceVector rest = shiftOf(turn);
        for (const SpaceVector& shift : shifts)
            rest = rest - dot(rest, shift) * shift;
        motions.push_back(sixOf(turnOf(turn), rest));
    }
    return motions;
}

/// The uncertainty is that of points which scatter each in its own way.
SpaceMotionPart SpaceEquations::partOf(const Six& motion, bool isFree) const {
    SpaceMotionPart part;
    double squares = 0;
    for (const double value : motion)
        squares += value * value;
    part.information = form(matrix_, motion) / squares;
    part.isFree = isFree;
    const SpaceVector turn = (1 / radius_) * turnOf(motion);  // radians for a motion of 1
    const SpaceVector shift = shiftOf(motion);
    part.isTurn = length(turnOf(motion)) > kMostlyShift * length(shift);
    part.direction = unit(part.isTurn ? turn : shift, {0, 1, 0});
    const double sign = part.direction.x + part.direction.y + part.direction.z < 0 ? -1 : 1;
    part.direction = sign * part.direction;
    if (part.isTurn)
        part.pole = centre_ + (1 / dot(turn, turn)) * cross(turn, shift);
    const double size = isFree ? std::numeric_limits<double>::infinity()
                               : std::sqrt(form(scatter_, motion) / count_) / part.information;
    part.uncertainty = part.isTurn ? size * length(turn) * kDegreesPerRadian : size;
    return part;
}

std::vector<SpaceMotionPart> SpaceEquations::parts() const {
    std::vector<SpaceMotionPart> parts;
    for (const Six& motion : freeMotions())
        parts.push_back(partOf(motion, /*isFree=*/true));
    for (const Direction& direction : directions_) {
        if (!direction.isFree)
            parts.push_back(partOf(direction.vector, /*isFree=*/false));
    }
    return parts;
}

}  // namespace KvMeasure::Internal
