// A section is turned in the eight ways that exchange and negate its axes, and the first way in which it has
// the shape of a wheel or a rail is taken. A wheel: the highest point lies 1 to 35 mm from one end, the
// section falls by 15 to 50 mm within 60 mm beside it, and goes on as a tread. A rail: from its highest point
// it falls by 14 mm on one side at least, and its top is 20 mm wide. Each try is linear in the points.

#include <kvmeasure/wheels/gauge_section.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/wheels/values.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kRunningCircle = 70;  // mm from the flange back
constexpr std::size_t kFewestPoints = 10;
constexpr double kLargestSection = 400;  // mm

QString shortMm(double value) { return QString::number(value, 'f', 1) + " mm"; }

struct Extent {
    double left = 0, right = 0, bottom = 0, top = 0;
};

Extent extentOf(const std::vector<Vector>& points) {
    Extent e{points[0].x, points[0].x, points[0].y, points[0].y};
    for (const Vector& p : points) {
        e.left = std::min(e.left, p.x);
        e.right = std::max(e.right, p.x);
        e.bottom = std::min(e.bottom, p.y);
        e.top = std::max(e.top, p.y);
    }
    return e;
}

/// All ways to turn a section; as it stands comes first.
std::vector<SectionTurn> allTurns() {
    std::vector<SectionTurn> turns;
    for (const bool areExchanged : {false, true}) {
        for (const auto& [isMirrored, isUpsideDown] :
             {std::pair(false, false), std::pair(true, false), std::pair(false, true), std::pair(true, true)})
            turns.push_back({areExchanged, isMirrored, isUpsideDown});
    }
    return turns;
}

std::vector<Vector> turned(const std::vector<Vector>& points, const SectionTurn& turn, double scale) {
    std::vector<Vector> result;
    result.reserve(points.size());
    for (const Vector& p : points) {
        const Vector q = turn.applied(p);
        result.emplace_back(scale * q.x, scale * q.y);
    }
    return result;
}

int highest(const std::vector<Vector>& points) {
    const auto top = std::max_element(points.begin(), points.end(),
                                      [](const Vector& a, const Vector& b) { return a.y < b.y; });
    return static_cast<int>(top - points.begin());
}

bool hasSizeOfSection(const Extent& e) {
    return e.right - e.left <= kLargestSection && e.top - e.bottom <= kLargestSection;
}

bool isWheelShape(const std::vector<Vector>& points) {
    constexpr double kNearestTip = 1, kFarthestTip = 35, kNearTread = 45, kFarTread = 60;
    constexpr double kLeastHeight = 15, kMostHeight = 50, kFlat = 12;
    const Extent e = extentOf(points);
    const Vector tip = points[static_cast<std::size_t>(highest(points))];
    if (!hasSizeOfSection(e) || tip.x - e.left < kNearestTip || tip.x - e.left > kFarthestTip ||
        e.right - tip.x < kNearTread)
        return false;
    double treadTop = -1e300, treadBottom = 1e300;
    for (const Vector& p : points) {
        if (p.x >= tip.x + kNearTread && p.x <= tip.x + kFarTread) {
            treadTop = std::max(treadTop, p.y);
            treadBottom = std::min(treadBottom, p.y);
        }
    }
    const double height = tip.y - treadTop;
    return height >= kLeastHeight && height <= kMostHeight && treadTop - treadBottom <= kFlat;
}

/// Width of a head 14 mm below its top, as far as it is seen; NaN where this is no head.
double headWidth(const std::vector<Vector>& points) {
    constexpr double kLevel = 14, kLeastTop = 20, kMostTop = 100;
    const Extent e = extentOf(points);
    const Vector top = points[static_cast<std::size_t>(highest(points))];
    if (!hasSizeOfSection(e))
        return kNaN;
    double left = kNaN, right = kNaN;  // nearest places below the level
    double from = top.x, to = top.x;   // of what lies above it
    for (const Vector& p : points) {
        if (p.y > top.y - kLevel) {
            from = std::min(from, p.x);
            to = std::max(to, p.x);
        } else if (p.x < top.x) {
            left = std::isnan(left) ? p.x : std::max(left, p.x);
        } else {
            right = std::isnan(right) ? p.x : std::min(right, p.x);
        }
    }
    constexpr double kOff = 1.5;  // mm: the sides of a canted head lean
    const bool isOpen = std::isnan(left) && std::isnan(right);
    const bool isHead = !isOpen && to - from >= kLeastTop && to - from <= kMostTop && !(left > from + kOff) &&
                        !(right < to - kOff);
    return isHead ? to - from : kNaN;
}

bool isRailShape(const std::vector<Vector>& points) { return headWidth(points) > 0; }

/// A head so wide that it is no flange.
bool isWholeHead(const std::vector<Vector>& points) {
    constexpr double kLeast = 50;
    return headWidth(points) >= kLeast;
}

/// A head as it stands that falls on both sides and is as wide as heads are. Its sides may lean, and hang as
/// the flange and the rim of a wheel upside down would; treads are wider.
bool isPlainHead(const std::vector<Vector>& points) {
    constexpr double kNarrowest = 50, kWidest = 80, kLevel = 14;
    const double width = headWidth(points);
    if (!(width >= kNarrowest && width <= kWidest))
        return false;
    const Vector top = points[static_cast<std::size_t>(highest(points))];
    const auto fallsOn = [&](double side) {
        return std::any_of(points.begin(), points.end(), [&](const Vector& p) {
            return side * (p.x - top.x) > 0 && p.y <= top.y - kLevel;
        });
    };
    return fallsOn(-1) && fallsOn(1);
}

/// A flange at one end, and an end before the tread.
bool isFlangeAlone(const std::vector<Vector>& points) {
    constexpr double kNearest = 1, kFarthest = 35, kTread = 45, kLeastFall = 10;
    const Extent e = extentOf(points);
    const Vector tip = points[static_cast<std::size_t>(highest(points))];
    double lowest = tip.y;
    for (const Vector& p : points)
        lowest = p.x > tip.x ? std::min(lowest, p.y) : lowest;
    return hasSizeOfSection(e) && tip.x - e.left >= kNearest && tip.x - e.left <= kFarthest &&
           e.right - tip.x > kLeastFall && e.right - tip.x < kTread && tip.y - lowest >= kLeastFall;
}

/// The unit that makes a section of these numbers, where mm do not; empty for none.
QString otherUnit(const std::vector<Vector>& points, bool (*isShape)(const std::vector<Vector>&)) {
    const struct {
        const char* name;
        double mm;
    } units[] = {{"cm", 10}, {"inch", 25.4}, {"m", 1000}, {"um", 0.001}, {"mil", 0.0254}};
    for (const auto& unit : units) {
        for (const SectionTurn& turn : allTurns()) {
            if (isShape(turned(points, turn, unit.mm)))
                return unit.name;
        }
    }
    return {};
}

bool findTurn(const std::vector<Vector>& points, bool (*isShape)(const std::vector<Vector>&),
              SectionTurn& turn) {
    for (const SectionTurn& candidate : allTurns()) {
        if (isShape(turned(points, candidate, 1))) {
            turn = candidate;
            return true;
        }
    }
    return false;
}

/// The points from left to right; those that run to and fro are sorted.
void order(std::vector<Vector>& points, QStringList& notes) {
    if (points.front().x > points.back().x)
        std::reverse(points.begin(), points.end());
    double way = 0;
    for (std::size_t i = 1; i < points.size(); ++i)
        way += std::fabs(points[i].x - points[i - 1].x);
    const Extent e = extentOf(points);
    if (!(way > 3 * (e.right - e.left)))
        return;
    std::stable_sort(points.begin(), points.end(),
                     [](const Vector& a, const Vector& b) { return a.x < b.x; });
    notes.append("the points run to and fro: they are sorted by their lateral positions");
}

/// What points of another object, or of none, look like.
QString noSection(const GaugeProfile& profile, GaugeObject wanted) {
    const bool isWheelWanted = wanted == GaugeObject::Wheel;
    const QString name = objectName(wanted);
    const auto shape = isWheelWanted ? isWheelShape : isRailShape;
    const auto other = isWheelWanted ? isWholeHead : isWheelShape;
    if (profile.points.size() < kFewestPoints)
        return filledIn("no %1: the section has %2, and %3 are needed", name,
                        counted(static_cast<qint64>(profile.points.size()), "point"), kFewestPoints);
    const Extent e = extentOf(profile.points);
    const QString unit = otherUnit(profile.points, shape);
    if (!unit.isEmpty())
        return filledIn("no %1 in mm: the section is %2 wide; as %3 it is one: give --unit %3", name,
                        shortMm(e.right - e.left), unit);
    SectionTurn turn;
    if (profile.object != wanted && findTurn(profile.points, other, turn))
        return filledIn("no %1: the section has the shape of a %2", name,
                        objectName(isWheelWanted ? GaugeObject::Rail : GaugeObject::Wheel));
    if (isWheelWanted && findTurn(profile.points, isFlangeAlone, turn))
        return "no wheel: the section ends beside the flange, before the tread";
    return filledIn(isWheelWanted
                        ? "no wheel: no flange of 15 to 50 mm at one end and no tread beside it, in a "
                          "section of %1 by %2"
                        : "no rail: no head that falls by 14 mm beside its top, in a section of %1 by %2",
                    shortMm(e.right - e.left), shortMm(e.top - e.bottom));
}

/// Leaves out points that repeat the one before.
void leaveOutRepeated(std::vector<Vector>& points, QStringList& notes) {
    const auto kept = std::unique(points.begin(), points.end(),
                                  [](const Vector& a, const Vector& b) { return a.x == b.x && a.y == b.y; });
    if (kept != points.end())
        notes.append("left out: " + counted(points.end() - kept, "point") + ", the same as the one before");
    points.erase(kept, points.end());
}

/// Leaves out up to three points before the section: farther from it than 1 mm and five times the pitch.
void leaveOutLone(std::vector<Vector>& points, QStringList& notes) {
    constexpr std::size_t kMost = 3;
    constexpr double kLeast = 1, kPitches = 5;
    const double pitch = (points.back().x - points.front().x) / static_cast<double>(points.size());
    for (std::size_t count = kMost; count > 0; --count) {
        if (points.size() < kFewestPoints + count ||
            !(points[count].x - points[count - 1].x > std::max(kLeast, kPitches * pitch)))
            continue;
        points.erase(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count));
        notes.append("left out: " + counted(static_cast<qint64>(count), "lone point") +
                     " before the section");
        return;
    }
}

/// True, and `turn` and `points` set, where the section has the wanted shape; else a reason.
bool putUpright(const GaugeProfile& profile, GaugeObject wanted, SectionTurn& turn,
                std::vector<Vector>& points, QString& reason, QStringList& notes) {
    const GaugeObject other = wanted == GaugeObject::Wheel ? GaugeObject::Rail : GaugeObject::Wheel;
    if (profile.object == other) {
        reason = filledIn("no %1: the file says that it is of a %2", objectName(wanted), objectName(other));
        return false;
    }
    if (profile.points.size() < kFewestPoints ||
        (wanted == GaugeObject::Rail && profile.object == GaugeObject::Unknown &&
         !isPlainHead(profile.points) && findTurn(profile.points, isWheelShape, turn)) ||
        !findTurn(profile.points, wanted == GaugeObject::Wheel ? isWheelShape : isRailShape, turn)) {
        reason = noSection(profile, wanted);
        return false;
    }
    points = turned(profile.points, turn, 1);
    leaveOutRepeated(points, notes);
    order(points, notes);
    leaveOutLone(points, notes);
    if (!turn.text().isEmpty())
        notes.append("the file is " + turn.text());
    return true;
}

/// The x of the inner end where the section is upright there: 1.2 mm of height in 0.1 mm, within 5 mm of the
/// innermost point. NaN where it is not.
double uprightBack(const std::vector<Vector>& points, double innermost) {
    constexpr double kWindow = 0.1001, kRise = 1.2, kReach = 5;
    double place = kNaN;
    for (std::size_t i = 0; i < points.size() && points[i].x <= innermost + kReach; ++i) {
        for (std::size_t j = i + 1; j < points.size() && j < i + 500; ++j) {
            if (std::fabs(points[j].x - points[i].x) <= kWindow && points[j].y - points[i].y >= kRise) {
                const double x = std::min(points[i].x, points[j].x);
                place = std::isnan(place) ? x : std::min(place, x);
                break;
            }
        }
    }
    return place;
}

void findBack(const GaugeProfile& profile, double given, WheelSection& section) {
    constexpr double kNear = 1, kSame = 0.3, kBefore = 5, kBehind = 30;
    const double innermost = extentOf(section.points).left;
    const double seen = uprightBack(section.points, innermost);
    const double byHeader = profile.zero == GaugeZero::FlangeBack
                                ? 0
                                : (profile.zero == GaugeZero::RunningCircle ? -kRunningCircle : kNaN);
    double byPlace = kNaN;
    for (const double place : {0.0, -kRunningCircle}) {
        if (std::fabs(innermost - place) <= kNear && !(std::fabs(seen - place) > kSame))
            byPlace = place;
    }
    if (std::isfinite(given)) {
        section.source = BackSource::Given;
        section.back = section.turn.isMirrored ? -given : given;
    } else if (innermost > byHeader - kBefore && innermost < byHeader + kBehind) {
        section.source = BackSource::File;
        section.back = byHeader;
    } else if (std::isfinite(byPlace)) {
        section.source = BackSource::File;
        section.back = byPlace;
        constexpr double kSmall = 0.001;
        if (std::fabs(innermost - byPlace) > kSmall)
            section.notes.append(
                filledIn("the flange back is taken at %1 of the file, beside its end at %2",
                         section.turn.isMirrored ? -byPlace : byPlace,
                         QString::number(section.turn.isMirrored ? -innermost : innermost, 'f', 3)));
    } else if (std::isfinite(seen)) {
        section.source = BackSource::Seen;
        section.back = seen;
    } else {
        section.back = innermost;
        section.backReason =
            "the flange back is not seen, and the file does not state its place: --back gives it";
    }
}

}  // namespace

QString SectionTurn::text() const {
    QStringList words;
    if (areExchanged)
        words.append("on its side");
    if (isMirrored)
        words.append("mirrored");
    if (isUpsideDown)
        words.append("upside down");
    return words.join(" and ");
}

WheelSection wheelSection(const GaugeProfile& profile, double back) {
    WheelSection section;
    if (!putUpright(profile, GaugeObject::Wheel, section.turn, section.points, section.reason, section.notes))
        return section;
    findBack(profile, back, section);
    for (Vector& p : section.points)
        p.x -= section.back;
    section.tip = highest(section.points);
    std::vector<double> depths;
    depths.reserve(section.points.size());
    for (const Vector& p : section.points)
        depths.push_back(-p.y);
    const double apart = reflectionAt(depths, section.tip);
    if (apart > 0)
        section.reason = "the flange tip stands " + shortMm(apart) + " apart: a reflection";
    if (!section.isWheel())
        section.points.clear();
    return section;
}

WheelSection wheelSection(const MeasuredSection& measured, const WheelResult& wheel) {
    WheelSection section;
    if (measured.places.points.isEmpty() ||
        measured.profile.points.size() < static_cast<int>(kFewestPoints)) {
        section.reason = wheel.notes.isEmpty() ? QString("the wheel has no section") : wheel.notes.join("; ");
        return section;
    }
    section.points.reserve(static_cast<std::size_t>(measured.profile.points.size()));
    for (const KvMath::KvPointXY& p : measured.profile.points)
        section.points.emplace_back(static_cast<double>(p.x), -static_cast<double>(p.y));
    section.tip = highest(section.points);
    section.back = 0;
    section.source = wheel.back == FlangeBack::Given ? BackSource::Given : BackSource::Seen;
    if (!wheel.isBackKnown()) {
        section.source = BackSource::Unknown;
        section.backReason = "the flange back is not seen";
    }
    return section;
}

RailSection railSection(const GaugeProfile& profile) {
    RailSection section;
    if (!putUpright(profile, GaugeObject::Rail, section.turn, section.points, section.reason, section.notes))
        return section;
    section.top = highest(section.points);
    return section;
}

}  // namespace KvMeasure
