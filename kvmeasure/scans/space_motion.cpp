#include <kvmeasure/scans/scan_registration.h>

#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

SpaceVector turned(const std::array<SpaceVector, 3>& rows, const SpaceVector& v) {
    return {dot(rows[0], v), dot(rows[1], v), dot(rows[2], v)};
}

std::array<SpaceVector, 3> columns(const std::array<SpaceVector, 3>& rows) {
    return {SpaceVector{rows[0].x, rows[1].x, rows[2].x}, SpaceVector{rows[0].y, rows[1].y, rows[2].y},
            SpaceVector{rows[0].z, rows[1].z, rows[2].z}};
}

}  // namespace

SpaceVector SpaceMotion::apply(const SpaceVector& point) const {
    return centre + turned(rows, point - centre) + shift;
}

SpaceMotion SpaceMotion::followedBy(const SpaceMotion& next) const {
    const std::array<SpaceVector, 3> mine = columns(rows);
    SpaceMotion both;
    both.centre = centre;
    both.shift = next.apply(apply(centre)) - centre;
    both.rows = columns({turned(next.rows, mine[0]), turned(next.rows, mine[1]), turned(next.rows, mine[2])});
    return both;
}

/// The skew part of the matrix is the axis times the sine, its trace 1 + 2 cosines. At half a turn, where the
/// sine is 0, the symmetric part has the axis.
SpaceVector SpaceMotion::turn() const {
    constexpr double kAlmostNone = 1e-9;
    constexpr double kPi = 3.141592653589793;
    const SpaceVector sines{(rows[2].y - rows[1].z) / 2, (rows[0].z - rows[2].x) / 2,
                            (rows[1].x - rows[0].y) / 2};
    const double sine = length(sines);
    const double cosine = (rows[0].x + rows[1].y + rows[2].z - 1) / 2;
    if (sine > kAlmostNone)
        return (std::atan2(sine, cosine) / sine) * sines;
    if (cosine > 0)
        return sines;
    const SpaceVector squares{rows[0].x + 1, rows[1].y + 1, rows[2].z + 1};
    const SpaceVector axis = squares.x >= std::max(squares.y, squares.z)
                                 ? SpaceVector{squares.x, rows[0].y, rows[0].z}
                             : squares.y >= squares.z ? SpaceVector{rows[1].x, squares.y, rows[1].z}
                                                      : SpaceVector{rows[2].x, rows[2].y, squares.z};
    return kPi * unit(axis, {0, 1, 0});
}

/// Rodrigues' formula: a vector v goes to cos v + sin (axis x v) + (1 - cos) (axis . v) axis.
SpaceMotion SpaceMotion::of(const SpaceVector& centre, const SpaceVector& turn, const SpaceVector& shift) {
    const double angle = length(turn);
    const SpaceVector axis = unit(turn, {0, 1, 0});
    const auto goes = [&](const SpaceVector& v) {
        return std::cos(angle) * v + std::sin(angle) * cross(axis, v) +
               ((1 - std::cos(angle)) * dot(axis, v)) * axis;
    };
    SpaceMotion motion;
    motion.centre = centre;
    motion.rows = columns({goes({1, 0, 0}), goes({0, 1, 0}), goes({0, 0, 1})});
    motion.shift = shift;
    return motion;
}

QString SpaceMotionPart::text() const {
    const auto triple = [](const SpaceVector& v) {
        constexpr double kThousandths = 1000;
        const auto number = [&](double value) {  // no "-0.000"
            return QString::number(std::round(value * kThousandths) / kThousandths + 0.0, 'f', 3);
        };
        return filledIn("(%1, %2, %3)", number(v.x), number(v.y), number(v.z));
    };
    return isTurn ? filledIn("turn about the axis along %1 through %2", triple(direction), triple(pole))
                  : filledIn("shift along %1", triple(direction));
}

bool ScanRegistration::isFixed() const {
    return std::none_of(parts.begin(), parts.end(), [](const SpaceMotionPart& part) { return part.isFree; });
}

}  // namespace KvMeasure
