// The head is a polyline. Places on its sides are found from the top downwards, so that the web and the foot
// never count; W3 is where the normal of the nominal head meets the worn polyline. The crown is fitted with
// the geometric circle through points at equal steps. The area lost is the difference of two polygons.

#include <kvmeasure/wheels/rail_values.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/profiles/robust_arc.h>
#include <kvmeasure/wheels/rail_head_p.h>
#include <kvmeasure/wheels/section_value_p.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kMostEven = 100'000;

SectionValue valueOf(const char* key, const char* name, const char* unit, double value,
                     const QString& reason) {
    return sectionValue(key, name, unit, value, reason, "cannot be worked out");
}

class Measuring {
public:
    Measuring(const RailHead& rail, const RailPlaces& places) : rail_(rail), places_(places) {}

    /// Without a nominal head the wear has this reason.
    RailValues measure(const RailHead* nominal, const QString& without) {
        if (nominal == nullptr)
            addNoWear(without);
        else
            addWear(*nominal);
        addHead();
        addInclination();
        result_.worn = rail_.points;
        return result_;
    }

private:
    void add(const char* key, const char* name, const char* unit, double value, const QString& reason) {
        result_.values.push_back(valueOf(key, name, unit, value, reason));
    }

    void addNoWear(const QString& reason) {
        add("W1", "height wear", "mm", kNaN, reason);
        add("W2", "side wear", "mm", kNaN, reason);
        add("W3", "corner wear", "mm", kNaN, reason);
        add("areaLost", "area lost", "mm2", kNaN, reason);
    }

    void addHead() {
        const RailSides sides(rail_, rail_.height() - places_.sideDepth);
        add("headWidth", "head width", "mm", sides.right.at.x - sides.left.at.x, sides.reason());
        QString reason = sides.reason();
        double radius = kNaN;
        if (reason.isEmpty()) {
            std::size_t from = rail_.points.size(), to = 0;
            for (std::size_t i = 0; i < rail_.points.size(); ++i) {
                const Vector& p = rail_.points[i];
                const bool isCrown = std::fabs(p.x - sides.middle()) <= places_.crownWidth / 2 &&
                                     p.y > rail_.height() - places_.sideDepth;
                from = isCrown ? std::min(from, i) : from;
                to = isCrown ? i : to;
            }
            constexpr double kStep = 0.1;
            const ArcFit arc = fitArc(evenPoints(rail_.points, from, to, kStep, kMostEven));
            reason = arc.reason;
            radius = arc.circle.radius;
            if (reason.isEmpty() && arc.isNearlyStraight)
                reason = "the crown is straight within its noise: no radius; a wider part of the head may "
                         "show one";
            if (reason.isEmpty() && arc.circle.centre.y > rail_.height())
                reason = "the crown is hollow: no radius";
        }
        add("crownRadius", "crown radius", "mm", radius, reason);
    }

    /// The lean of a side 16 to 26 mm below the top along the axis of the head, which leans by `axis`,
    /// radians from upright, to the right positive.
    double leanOf(int direction, double axis, QString& reason) const {
        constexpr double kFrom = 16, kTo = 26, kLeastHeight = 6, kBent = 0.1;
        constexpr std::size_t kFewest = 5;
        const auto heightOf = [&](const Vector& p) { return p.y * std::cos(axis) + p.x * std::sin(axis); };
        double top = heightOf(rail_.points[rail_.top]);
        for (const Vector& p : rail_.points)
            top = std::max(top, heightOf(p));
        std::vector<Vector> side;
        for (std::size_t i = 0; i < rail_.points.size(); ++i) {
            const Vector& p = rail_.points[i];
            const double depth = top - heightOf(p);
            if (depth >= kFrom && depth <= kTo && (direction < 0 ? i < rail_.top : i > rail_.top))
                side.push_back(p);
        }
        const QString name = direction < 0 ? "left" : "right";
        const LineFit line = fitLine(side, {/*isRobust=*/false});
        if (side.size() < kFewest || !line.isFound() ||
            (line.to - line.from) * std::fabs(line.along.y) < kLeastHeight)
            reason = filledIn("the %1 side is not seen 16 to 26 mm below the top", name);
        else if (line.deviation > kBent)
            reason = filledIn("the %1 side is not straight 16 to 26 mm below the top", name);
        return line.along.y < 0 ? std::atan2(-line.along.x, -line.along.y)
                                : std::atan2(line.along.x, line.along.y);
    }

    void addInclination() {
        constexpr int kRounds = 3;  // the sides are looked for along the axis that they give
        QString left, right;
        double lean = 0;
        for (int round = 0; round < kRounds && left.isEmpty() && right.isEmpty(); ++round)
            lean = (leanOf(-1, lean, left) + leanOf(1, lean, right)) / 2;
        add("inclination", "inclination", "deg", lean * kDegreesPerRadian, left.isEmpty() ? right : left);
    }

    /// Takes the hand that fits the nominal rail.
    void takeHand(const RailHead& nominal) {
        const RailHead other(mirrored(rail_.points));
        if (!fitsMirrored(rail_, other, nominal, places_.sideDepth))
            return;
        rail_ = other;
        result_.isMirrored = true;
        result_.notes.append("the rail is mirrored in x to fit the nominal one");
    }

    /// No wear of a head, and no other kind of rail, moves its top or its sides so far.
    bool liesApart(const RailHead& nominal) const {
        constexpr double kApart = 40;  // mm
        const double level = nominal.height() - places_.sideDepth;
        const RailSides sides(nominal, level), own(rail_, rail_.height() - places_.sideDepth);
        return rail_.height() <= level || rail_.height() - nominal.height() > kApart ||
               std::fabs(own.left.at.x - sides.left.at.x) > kApart ||
               std::fabs(own.right.at.x - sides.right.at.x) > kApart;
    }

    struct SideWear {
        RailPlace nominal, worn;
        double wear = kNaN;
        QString reason() const { return nominal.reason.isEmpty() ? worn.reason : nominal.reason; }
    };

    SideWear sideWear(const RailHead& nominal, GaugeSide side) const {
        const int direction = side == GaugeSide::Left ? -1 : 1;
        const double y = nominal.height() - places_.sideDepth;
        SideWear result{nominal.side(direction, y), rail_.side(direction, y)};
        if (result.reason().isEmpty())
            result.wear = direction * (result.nominal.at.x - result.worn.at.x);
        return result;
    }

    void addWear(const RailHead& nominal) {
        takeHand(nominal);
        const double level = nominal.height() - places_.sideDepth;
        const RailSides sides(nominal, level);
        const bool areApart = liesApart(nominal);
        if ((!sides.left.reason.isEmpty() && !sides.right.reason.isEmpty()) || areApart) {
            addNoWear(areApart ? QString("the rails lie apart: they are not in one frame, or not of one kind")
                               : "the nominal rail: " + sides.reason());
            return;
        }
        const bool isOneSided = !sides.reason().isEmpty();
        const double axis = isOneSided ? nominal.points[nominal.top].x : sides.middle();
        if (isOneSided)
            result_.notes.append("the nominal head is seen on one side only: W1 is taken at its top");
        const RailPlace top = nominal.above(axis), worn = rail_.above(axis);
        const QString reason = top.reason.isEmpty() ? worn.reason : top.reason;
        add("W1", "height wear", "mm", top.at.y - worn.at.y, reason);
        if (reason.isEmpty())
            result_.w1 = {top.at, worn.at};
        SideWear left = sideWear(nominal, GaugeSide::Left), right = sideWear(nominal, GaugeSide::Right);
        result_.side = places_.side;
        if (result_.side == GaugeSide::Unknown) {
            constexpr double kSame = 0.02;  // mm
            const bool isLeft = left.wear > right.wear + kSame || std::isnan(right.wear);
            const bool isRight = right.wear > left.wear + kSame || std::isnan(left.wear);
            result_.side = isLeft && !isRight ? GaugeSide::Left : GaugeSide::Right;
            result_.notes.append(isLeft == isRight
                                     ? QString("no side is worn more: W2 and W3 are of the right one")
                                     : QString("W2 and W3 are of the %1 side, which is worn more")
                                           .arg(isLeft ? "left" : "right"));
        }
        const SideWear& side = result_.side == GaugeSide::Left ? left : right;
        add("W2", "side wear", "mm", side.wear, side.reason());
        if (side.reason().isEmpty())
            result_.w2 = {side.nominal.at, side.worn.at};
        addCorner(nominal, level);
        addArea(nominal, sides);
    }

    /// Where the nominal head falls by the angle on the gauge side, with its direction outwards.
    RailPlace cornerOf(const RailHead& nominal, double level, int direction) const {
        constexpr double kStep = 0.05;
        RailPlace place;
        const auto count = static_cast<int>(nominal.points.size());
        int end = static_cast<int>(nominal.top);
        while (end + direction >= 0 && end + direction < count &&
               nominal.points[static_cast<std::size_t>(end)].y > level)
            end += direction;
        const auto from = static_cast<std::size_t>(std::min(end, static_cast<int>(nominal.top)));
        const auto to = static_cast<std::size_t>(std::max(end, static_cast<int>(nominal.top)));
        std::vector<Vector> even = evenPoints(nominal.points, from, to, kStep, kMostEven);
        if (direction < 0)
            std::reverse(even.begin(), even.end());
        constexpr std::size_t kHalf = 5;  // the direction is that of a chord of 0.5 mm
        double before = 0;
        for (std::size_t i = kHalf; i + kHalf < even.size(); ++i) {
            const Vector &a = even[i - kHalf], &b = even[i + kHalf];
            const double fall = std::atan2(a.y - b.y, direction * (b.x - a.x)) * kDegreesPerRadian;
            if (fall >= places_.cornerAngle) {
                const double share = i > kHalf ? (fall - places_.cornerAngle) / (fall - before) : 0;
                const Vector& last = even[i - 1];
                place.at = Vector(even[i].x + share * (last.x - even[i].x),
                                  even[i].y + share * (last.y - even[i].y));
                return place;
            }
            before = fall;
        }
        place.reason = filledIn("the nominal head does not fall by %1 degrees", places_.cornerAngle);
        return place;
    }

    /// The nearest crossing of a polyline with a straight line, as a place along that from its origin.
    static double crossing(const std::vector<Vector>& points, const Vector& origin, const Vector& along,
                           QString& reason) {
        constexpr double kReach = 30;  // mm on either side
        double nearest = kNaN;
        reason = "the section is not seen at the corner";
        for (std::size_t i = 1; i < points.size(); ++i) {
            const Vector a(points[i - 1].x - origin.x, points[i - 1].y - origin.y);
            const Vector b(points[i].x - origin.x, points[i].y - origin.y);
            const double offA = a.x * along.y - a.y * along.x, offB = b.x * along.y - b.y * along.x;
            if (offA == offB || offA * offB > 0)
                continue;
            const double share = offA / (offA - offB);
            const double place =
                (1 - share) * (a.x * along.x + a.y * along.y) + share * (b.x * along.x + b.y * along.y);
            if (std::fabs(place) > kReach || std::fabs(place) >= std::fabs(nearest))
                continue;
            nearest = place;
            reason = length(a, b) > kLargestRailGap
                         ? filledIn("the corner lies in a gap of %1", shortMm(length(a, b)))
                         : QString();
        }
        return nearest;
    }

    /// Along the normal of the nominal head, inwards positive.
    void addCorner(const RailHead& nominal, double level) {
        const int direction = result_.side == GaugeSide::Left ? -1 : 1;
        const RailPlace corner = cornerOf(nominal, level, direction);
        if (!corner.reason.isEmpty()) {
            add("W3", "corner wear", "mm", kNaN, corner.reason);
            return;
        }
        const double angle = places_.cornerAngle * kRadiansPerDegree;
        const Vector inward(-direction * std::sin(angle), -std::cos(angle));
        const auto at = [&](double place) {
            return Vector(corner.at.x + place * inward.x, corner.at.y + place * inward.y);
        };
        QString ofNominal, reason;
        const double from = crossing(nominal.points, corner.at, inward, ofNominal);
        const double to = crossing(rail_.points, corner.at, inward, reason);
        if (reason.isEmpty())
            reason = ofNominal;
        add("W3", "corner wear", "mm", to - from, reason);
        if (reason.isEmpty())
            result_.w3 = {at(from), at(to)};
    }

    /// Between both heads above the level.
    void addArea(const RailHead& nominal, const RailSides& sides) {
        const double level = nominal.height() - places_.sideDepth;
        const RailSides worn(rail_, level);
        if (!worn.reason().isEmpty() || !sides.reason().isEmpty()) {
            add("areaLost", "area lost", "mm2", kNaN,
                worn.reason().isEmpty() ? "the nominal rail: " + sides.reason() : worn.reason());
            return;
        }
        const double lost = area(nominal, level, sides.left.at.x, sides.right.at.x) -
                            area(rail_, level, worn.left.at.x, worn.right.at.x);
        add("areaLost", "area lost", "mm2", lost, QString());
    }

    /// The area of a head above a level between two of its points at that level.
    static double area(const RailHead& head, double level, double left, double right) {
        double sum = 0;
        Vector before(left, 0);
        std::size_t i = head.top;
        while (i > 0 && head.points[i - 1].y >= level)
            --i;
        for (; i < head.points.size() && head.points[i].y >= level; ++i) {
            const Vector p(head.points[i].x, head.points[i].y - level);
            sum += (p.x - before.x) * (p.y + before.y) / 2;
            before = p;
        }
        return sum + (right - before.x) * before.y / 2;
    }

    RailHead rail_;
    const RailPlaces& places_;
    RailValues result_;
};

}  // namespace

RailValues railValues(const RailSection& rail, const RailSection* nominal, const RailPlaces& places) {
    if (rail.points.empty()) {
        RailValues result;
        for (const auto& [key, name, unit] :
             {std::tuple("W1", "height wear", "mm"), std::tuple("W2", "side wear", "mm"),
              std::tuple("W3", "corner wear", "mm"), std::tuple("areaLost", "area lost", "mm2"),
              std::tuple("headWidth", "head width", "mm"), std::tuple("crownRadius", "crown radius", "mm"),
              std::tuple("inclination", "inclination", "deg")})
            result.values.push_back(valueOf(key, name, unit, kNaN, rail.reason));
        return result;
    }
    const RailHead head(rail.points);
    if (nominal == nullptr)
        return Measuring(head, places)
            .measure(nullptr, "wear is measured against a nominal rail: --reference names its file");
    if (nominal->points.empty())
        return Measuring(head, places).measure(nullptr, "the nominal rail: " + nominal->reason);
    const RailHead other(nominal->points);
    return Measuring(head, places).measure(&other, {});
}

}  // namespace KvMeasure
