// What a section is worth beside the library's own values, which take the smallest Y as the flange back and
// the points as they are. The rules look at the section alone and pass over its points once each; the search
// of the back also sorts a window of 0.1 mm behind each point of the first 5 mm. The back is where the
// section is upright there, or, with few points, where its first four lie on an arc that is upright at the
// first. Lone points in front are no part of the section. A tip or flank that stands apart is a reflection;
// what rests on it or on a gap is withheld, and everything where a height or radius is none of a wheel. The
// limits are this project's own, tried on measured wheels and on simulated passes with noise, gaps and
// reflections; docs/wheels.md says what they let through.

#include <kvmeasure/wheels/values.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <kvmath/wheel/wheel_variants.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
using KvMath::KvProfile;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Where the library looks on the section of each kind of wheel, mm.
struct Levels {
    int tread, flank, aboveTread, thickness;
};
const Levels levelsOfKind[] = {{70, 2, 13, 18}, {60, 2, 10, 14}, {70, 2, 13, 18}};

double x(const KvProfile& profile, int i) { return static_cast<double>(profile.points.at(i).x); }
double depth(const KvProfile& profile, int i) { return static_cast<double>(profile.points.at(i).y); }

/// The points behind the first go on as the flank of a wheel does near its back: an arc of radius 20 mm that
/// began 1 mm before is as steep. A stray first point before a later part of the section has none such.
bool isSteepBehindFirst(const KvProfile& profile) {
    constexpr double kReach = 0.3, kSteep = 3;
    const int count = static_cast<int>(profile.points.size());
    int last = 2;
    while (last + 1 < count && x(profile, last) < kReach)
        ++last;
    return last < count &&
           depth(profile, 1) - depth(profile, last) >= kSteep * (x(profile, last) - x(profile, 1));
}

/// How many points at the beginning lie alone, far before the others.
int lonePoints(const KvProfile& profile) {
    constexpr double kFar = 1, kTimes = 4;
    constexpr int kAtMost = 3;
    const int count = static_cast<int>(profile.points.size());
    for (int i = std::min(kAtMost, count - 3); i > 0; --i) {
        const double before = x(profile, i) - x(profile, i - 1);
        if (before > kFar && before > kTimes * (x(profile, i + 2) - x(profile, i)) / 2)
            return i;
    }
    return 0;
}

/// The first four points, too few to show an upright part, lie on an arc that is upright within 0.03 mm of
/// the first one: so sections of few points begin at their backs, whatever the distance of the points.
bool beginsUprightOnArc(const KvProfile& profile) {
    constexpr double kDense = 0.1, kSmallest = 7, kLargest = 60, kOff = 0.02, kFarthest = 0.03;
    if (profile.points.size() < 4 || x(profile, 3) - x(profile, 0) <= kDense)
        return false;
    double across[4], down[4];  // of each from the first
    for (int i = 0; i < 4; ++i) {
        across[i] = x(profile, i) - x(profile, 0);
        down[i] = depth(profile, i) - depth(profile, 0);
    }
    const double first = across[1] * across[1] + down[1] * down[1],
                 second = across[2] * across[2] + down[2] * down[2],
                 area = 2 * (across[1] * down[2] - down[1] * across[2]),
                 centre = (down[2] * first - down[1] * second) / area,
                 centreDown = (across[1] * second - across[2] * first) / area,
                 radius = std::hypot(centre, centreDown);
    return down[1] < 0 && radius >= kSmallest && radius <= kLargest && radius - centre <= kFarthest &&
           std::fabs(std::hypot(across[3] - centre, down[3] - centreDown) - radius) <= kOff;
}

/// How much shallower the section becomes from this point to this position. Behind the first point, where a
/// stray one may be anywhere, the extremes of at least four count without the outermost.
double riseUpTo(const KvProfile& profile, int first, double end) {
    constexpr int kMany = 4;
    std::vector<double> depths;
    const int count = static_cast<int>(profile.points.size());
    int i = first;
    for (; i < count && x(profile, i) <= end; ++i)
        depths.push_back(depth(profile, i));
    double rise = 0;
    if (first == 0 && i < count && isSteepBehindFirst(profile)) {
        const double share = (end - x(profile, i - 1)) / (x(profile, i) - x(profile, i - 1));
        rise = depths.front() - (depths.back() + share * (depth(profile, i) - depths.back()));
    }
    if (static_cast<int>(depths.size()) >= kMany) {
        std::sort(depths.begin(), depths.end());
        rise = std::max(rise, depths[depths.size() - 2] - depths[1]);
    }
    return rise;
}

/// The lateral position at which the section is upright, within 5 mm of its first point: at least 1.2 mm of
/// depth in 0.1 mm. An arc of radius 20 mm that lacks its last 0.03 mm is not. NaN if nowhere.
double uprightPart(const KvProfile& profile) {
    constexpr double kWindow = 0.1, kUpright = 1.2, kFarthest = 5;
    for (int i = 0; i < profile.points.size() && x(profile, i) <= kFarthest; ++i) {
        if (i > 0 && x(profile, i) == x(profile, i - 1))
            continue;  // its window is part of the one before, which was not upright
        if (riseUpTo(profile, i, x(profile, i) + kWindow) >= kUpright)
            return x(profile, i);
    }
    return kNaN;
}

/// Cuts off what lies beyond the flange back, and lets the section begin there.
void beginAt(double back, Cloud& points) {
    const auto y = [](const KvMath::KvPointXYZ& p) { return static_cast<double>(p.y); };
    QList<KvMath::KvPointXYZ> kept;
    for (const KvMath::KvPointXYZ& p : points.points) {
        if (y(p) >= back)
            kept.append(p);
    }
    points.points = kept;
    const auto first =
        std::min_element(kept.begin(), kept.end(), [&](const auto& a, const auto& b) { return y(a) < y(b); });
    if (first == kept.end() || y(*first) <= back)
        return;
    KvMath::KvPointXYZ begin = *first;
    begin.y = static_cast<float>(back);
    points.points.append(begin);
}

/// Takes the first points away. The Y of the first of those that remain.
double leaveOut(int count, const KvProfile& profile, Cloud& points) {
    const double limit = static_cast<double>(points.minY) + (x(profile, count - 1) + x(profile, count)) / 2;
    QList<KvMath::KvPointXYZ> kept;
    for (const KvMath::KvPointXYZ& p : points.points) {
        if (static_cast<double>(p.y) > limit)
            kept.append(p);
    }
    points.points = kept;
    points.calcRange();
    return static_cast<double>(points.minY);
}

void calculate(int kind, const Cloud& points, WheelResult& wheel, MeasuredSection& section) {
    auto measure = KvMath::ORBIS_calcWheelParameters;
    if (kind == 1)
        measure = KvMath::ORBIS_calcWheelParameters_Tram;
    else if (kind == 2)
        measure = KvMath::ORBIS_calcWheelParameters_Loko;
    measure(points, wheel.circle, &wheel.values, &section.profile, &section.places);
    wheel.values.wheelType = static_cast<unsigned char>(kind);
}

/// Why a value is missing: the library marks what it found, in this order.
QString missing(int kind, const MeasuredSection& section) {
    const Levels& levels = levelsOfKind[kind];
    const int found = static_cast<int>(section.places.points.size()),
              count = static_cast<int>(section.profile.points.size());
    if (count < 4)
        return "the section has fewer than four points";
    switch (found) {
    case 0:
        return "no flange: the section is flat";
    case 1:
        return QString("no flank %1 mm below the flange tip").arg(levels.flank);
    case 2:
        return filledIn("no tread %1 mm from the flange back: the section ends at %2 mm", levels.tread,
                        QString::number(x(section.profile, count - 1), 'f', 1));
    case 3:
        return QString("no flank %1 mm above the tread").arg(levels.aboveTread);
    case 4:
        return QString("no flank %1 mm below the flange tip").arg(levels.thickness);
    default:
        return {};
    }
}

/// All but the flange back.
void withholdValues(WheelResult& wheel) {
    for (int i = 0; i < 11; ++i)
        wheel.values.value[i] = kNaN;
    wheel.nominal = kNaN;
    wheel.circle = KvMath::KvCircle();
}

void withhold(WheelResult& wheel) {
    withholdValues(wheel);
    wheel.backY = kNaN;
}

/// Depths count from the flange tip: where that is a reflection, nothing is known.
bool isTipReflection(WheelResult& wheel, MeasuredSection& section) {
    std::vector<double> depths;
    depths.reserve(static_cast<std::size_t>(section.profile.points.size()));
    for (int i = 0; i < section.profile.points.size(); ++i)
        depths.push_back(depth(section.profile, i));
    const auto tip = std::min_element(depths.begin(), depths.end()) - depths.begin();
    const double apart = reflectionAt(depths, static_cast<int>(tip));
    if (!(apart > 0))
        return false;
    withholdValues(wheel);
    section.places.clear();
    wheel.notes.append(filledIn("the flange tip stands %1 mm apart in the section: a reflection; radius, "
                                "heights, thickness and steepness are left out",
                                QString::number(apart, 'f', 1)));
    return true;
}

/// What a value of a wheel can be. Wide: from small trams to the largest locomotives, worn beyond all limits.
struct Bound {
    const char* name;
    double value, from, to;
};

bool holds(const Bound& bound, WheelResult& wheel) {
    if (std::isnan(bound.value) || (bound.value >= bound.from && bound.value <= bound.to))
        return true;
    withhold(wheel);
    wheel.notes.append(filledIn("no wheel: %1 is %2 mm; that of a wheel is %3 to %4", bound.name,
                                QString::number(bound.value, 'f', 1), bound.from, bound.to));
    return false;
}

/// Flange tip, height, thickness and steepness.
bool isWheelSection(WheelResult& wheel, const MeasuredSection& section) {
    const double tip = section.places.points.isEmpty() ? kNaN : x(section.places, 0);
    const Bound bounds[] = {{"the distance of the flange tip from the back", tip, 3, 30},
                            {"the flange height", wheel.values.value[0], 15, 50},
                            {"the thickness from back", wheel.values.value[1], 10, 60},
                            {"the flange steepness", wheel.values.value[9], 0, 30}};
    return std::all_of(std::begin(bounds), std::end(bounds),
                       [&](const Bound& bound) { return holds(bound, wheel); });
}

/// The distance of the two points between which the section reaches this place.
double gapAt(const KvProfile& profile, double position) {
    for (int i = 1; i < profile.points.size(); ++i) {
        if (x(profile, i) >= position)
            return std::hypot(x(profile, i) - x(profile, i - 1), depth(profile, i) - depth(profile, i - 1));
    }
    return 0;
}

/// Whether the flank passes this depth at other places too, near the one that the library took: a reflection
/// stands there. Points nearer than 0.3 mm may be out of order on an upright flank.
bool isPassedAgain(const MeasuredSection& section, int place) {
    constexpr double kNearest = 0.3, kFarthest = 5, kClear = 0.3;
    const double tip = x(section.places, 0), at = x(section.places, place),
                 level = depth(section.places, place);
    for (int i = 0; i < section.profile.points.size(); ++i) {
        const double beyond = x(section.profile, i) - at, below = depth(section.profile, i) - level;
        if (x(section.profile, i) > tip && std::fabs(beyond) > kNearest && std::fabs(beyond) < kFarthest &&
            (beyond > 0 ? below < -kClear : below > kClear))
            return true;
    }
    return false;
}

/// What the library took across a gap, where another part hides the surface, or on a reflection, is no value.
void withholdUnseen(WheelResult& wheel, const MeasuredSection& section) {
    constexpr double kLargest = 5;
    struct Place {
        int place;  ///< among those that the library marks
        const char* name;
        QList<int> values;
    };
    constexpr int kTread = 2;
    const Place places[] = {{1, "the flank of the steepness", {9}},
                            {kTread, "the tread", {0, 1, 8, 9}},
                            {3, "the flank of the steepness", {9}},
                            {4, "the flank of the thickness", {1}}};
    for (const auto& place : places) {
        if (place.place >= section.places.points.size())
            return;
        const double gap = gapAt(section.profile, x(section.places, place.place));
        const bool isReflection = place.place != kTread && isPassedAgain(section, place.place);
        if (gap <= kLargest && !isReflection)
            continue;
        for (const int value : place.values)
            wheel.values.value[value] = kNaN;
        wheel.notes.append(
            gap > kLargest ? filledIn("%1 lies in a gap of %2 mm", place.name, QString::number(gap, 'f', 1))
                           : filledIn("%1 is seen at several places: a reflection", place.name));
    }
}

/// The library takes the flank of the steepness in the middle between two points.
void noteWideSteepness(WheelResult& wheel, const MeasuredSection& section) {
    constexpr double kMost = 0.8;  // mm; wheels in a fan of rays have up to that without any loss
    if (std::isnan(wheel.values.value[9]))
        return;
    double doubt = 0;
    for (const int place : {1, 3}) {
        const double at = x(section.places, place);
        const auto& points = section.profile.points;
        const auto behind =
            std::lower_bound(points.begin(), points.end(), at,
                             [](const auto& p, double value) { return static_cast<double>(p.x) < value; });
        if (behind != points.begin() && behind != points.end())
            doubt += static_cast<double>(behind->x - (behind - 1)->x) / 2;
    }
    if (doubt > kMost)
        wheel.notes.append(filledIn("the flange steepness may be %1 mm off: its flank has gaps",
                                    QString::number(doubt, 'f', 1)));
}

void countFromNominal(double given, WheelResult& wheel) {
    constexpr double kDecimals = 1e6;
    const double height = wheel.values.value[0];
    double deviation = wheel.values.value[8];  // a copy: the record is packed, its members are not aligned
    if (!std::isnan(given) && !std::isnan(height))
        deviation = height - given;
    wheel.values.value[8] = deviation;
    wheel.nominal = std::isnan(given) ? std::round((height - deviation) * kDecimals) / kDecimals : given;
    if (std::isnan(deviation))
        wheel.nominal = kNaN;
}

}  // namespace

WheelResult::WheelResult() : values{}, nominal(kNaN), backY(kNaN) { withhold(*this); }

bool WheelResult::isComplete() const {
    return std::isfinite(circle.radius) && std::isfinite(values.value[0]) && std::isfinite(values.value[1]) &&
           std::isfinite(values.value[9]);
}

double reflectionAt(const std::vector<double>& depths, int index) {
    constexpr int kReach = 3, kWidest = 3;  // points on each side; of a reflection
    constexpr double kLeast = 0.5;          // mm
    std::vector<double> others;
    for (int i = std::max(index - kReach, 0); i <= index + kReach && i < static_cast<int>(depths.size());
         ++i) {
        if (i != index)
            others.push_back(depths[static_cast<std::size_t>(i)] - depths[static_cast<std::size_t>(index)]);
    }
    if (others.size() < 2 * kReach)
        return 0;
    std::sort(others.begin(), others.end());
    const double nearest = others[kWidest - 1], spread = others[others.size() - 2] - nearest;
    return nearest > kLeast && spread < nearest ? nearest : 0;
}

bool isWheelCircle(WheelResult& wheel) {
    return holds({"the radius of the flange tip", static_cast<double>(wheel.circle.radius), 125, 1300},
                 wheel);
}

void calcWheelValues(const ValueOptions& options, Cloud points, WheelResult& wheel,
                     MeasuredSection& section) {
    constexpr double kNothing = 0.02;  // mm: the noise of points on the back
    if (options.kind < 0 || options.kind > 2)
        throw Error(QString("\1kind\2: wheels are of kind 0, 1 or 2, not %1").arg(options.kind));
    points.calcRange();
    auto first = static_cast<double>(points.minY);
    if (std::isnan(options.back)) {
        calculate(options.kind, points, wheel, section);
        const int lone = lonePoints(section.profile);
        if (lone > 0) {
            first = leaveOut(lone, section.profile, points);
            calculate(options.kind, points, wheel, section);
            wheel.notes.append(filledIn("%1 lone point(s) before the section are left out", lone));
        }
        double upright = uprightPart(section.profile);
        if (std::isnan(upright) && options.isSection && beginsUprightOnArc(section.profile))
            upright = 0;
        wheel.back = std::isnan(upright) ? FlangeBack::Assumed : FlangeBack::Seen;
        wheel.backY = first + (upright > kNothing ? upright : 0);
        if (wheel.back == FlangeBack::Assumed)
            wheel.notes.append("the flange back is not seen: positions count from the first point");
        else if (upright > kNothing)
            wheel.notes.append(
                QString("points up to %1 mm beyond the flange back are left out").arg(upright, 0, 'f', 2));
    } else {
        wheel.back = FlangeBack::Given;
        wheel.backY = options.back;
    }
    if (wheel.backY != first) {
        beginAt(wheel.backY, points);
        calculate(options.kind, points, wheel, section);
    }
    if (isTipReflection(wheel, section))
        return;
    if (!isWheelSection(wheel, section))
        return section.places.clear();
    const QString reason = missing(options.kind, section);
    if (!reason.isEmpty())
        wheel.notes.append(reason);
    withholdUnseen(wheel, section);
    noteWideSteepness(wheel, section);
    countFromNominal(options.nominal, wheel);
}

}  // namespace KvMeasure
