// A section is a polyline from the flange back to the field side. Places on it are crossings of a level or of
// a lateral position, interpolated along the piece that crosses. Angle, slope and radius are fitted to points
// at equal steps along the polyline, so that they do not depend on how densely a gauge recorded it.

#include <kvmeasure/wheels/gauge_values.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/robust_arc.h>
#include <kvmeasure/wheels/section_value_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargestGap = 5;  // mm
constexpr double kStep = 0.1;      // mm along the polyline
constexpr std::size_t kMostEven = 100'000;

QString shortMm(double value) { return QString::number(value, 'g', 6) + " mm"; }

/// A crossing of the section, or why there is none.
struct Place {
    Vector at = Vector(kNaN, kNaN);
    std::size_t behind = 0;  ///< index of the point behind it
    QString reason;
};

class Measuring {
public:
    Measuring(const WheelSection& section, const GaugePlaces& places)
        : section_(section), points_(section.points), places_(places) {}

    GaugeValues measure() {
        tip_ = static_cast<std::size_t>(section_.tip);
        findPlaces();
        addGaugeValues();
        addFlank();
        addTread();
        addRim();
        addWidths();
        result_.marks = {points_[tip_], tread_.at, upper_.at, lower_.at};
        return result_;
    }

private:
    void add(const char* key, const char* name, const char* unit, double value, const QString& reason,
             const QString& note = {}) {
        result_.values.push_back(Internal::sectionValue(key, name, unit, value, reason,
                                                        "cannot be worked out from these points", note));
    }

    /// The piece that ends at a point must be no gap.
    static void checkGap(const Vector& a, const Vector& b, const char* what, Place& place) {
        const double gap = length(a, b);
        if (gap > kLargestGap)
            place.reason = filledIn("%1 lies in a gap of %2", what, shortMm(gap));
    }

    /// Where the section passes a lateral position beyond the tip.
    Place atLateral(double x, const char* what) const {
        Place place;
        for (std::size_t i = tip_ + 1; i < points_.size(); ++i) {
            const Vector &a = points_[i - 1], &b = points_[i];
            if (!(a.x < x && b.x >= x))
                continue;
            place.at = Vector(x, a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x));
            place.behind = i;
            checkGap(a, b, what, place);
            return place;
        }
        place.reason = filledIn("no %1 %2 from the flange back: the section ends at %3", what, shortMm(x),
                                QString::number(points_.back().x, 'f', 1) + " mm");
        return place;
    }

    /// Where the flank first falls below a level, seen from the tip.
    Place atLevel(double y, const char* what) const {
        constexpr double kClear = 0.3, kFarthest = 60;
        Place place;
        std::size_t i = tip_ + 1;
        while (i < points_.size() && points_[i].y >= y)
            ++i;
        if (i == points_.size()) {
            place.reason = filledIn("the section does not reach %1", what);
            return place;
        }
        const Vector &a = points_[i - 1], &b = points_[i];
        if (!(a.y >= y)) {
            place.reason = filledIn("%1 lies above the flange tip", what);
            return place;
        }
        const double share = (a.y - y) / (a.y - b.y);
        place.at = Vector(a.x + (b.x - a.x) * share, y);
        place.behind = i;
        checkGap(a, b, what, place);
        for (std::size_t j = i; place.reason.isEmpty() && j < points_.size(); ++j) {
            if (points_[j].y > y + kClear && points_[j].x < place.at.x + kFarthest)
                place.reason = filledIn("the flank passes %1 at several places", what);
        }
        return place;
    }

    void findPlaces() {
        if (section_.backReason.isEmpty())
            tread_ = atLateral(places_.tread, "tread");
        else
            tread_.reason = section_.backReason;
        upper_ = atLevel(points_[tip_].y - places_.belowTip, "the level below the flange tip");
        if (tread_.reason.isEmpty())
            lower_ = atLevel(tread_.at.y + places_.aboveTread, "the level above the tread");
        else
            lower_.reason = tread_.reason;
        checkHeight();
    }

    /// What no wheel can have is no value: the tread point lies elsewhere.
    void checkHeight() {
        constexpr double kLeast = 15, kMost = 50;
        const double height = points_[tip_].y - tread_.at.y;
        if (!tread_.reason.isEmpty() || (height >= kLeast && height <= kMost))
            return;
        tread_.reason = filledIn("no wheel: the flange height is %1; that of a wheel is %2 to %3",
                                 shortMm(height), kLeast, kMost);
        lower_.reason = tread_.reason;
    }

    void addGaugeValues() {
        constexpr double kThinnest = 10, kThickest = 60;
        add("Sh", "flange height", "mm", points_[tip_].y - tread_.at.y, tread_.reason);
        QString reason = lower_.reason;
        if (reason.isEmpty() && !(lower_.at.x >= kThinnest && lower_.at.x <= kThickest))
            reason = filledIn("no wheel: the flange thickness is %1; that of a wheel is %2 to %3",
                              shortMm(lower_.at.x), kThinnest, kThickest);
        add("Sd", "flange thickness", "mm", lower_.at.x, reason);
        add("qR", "flange gradient", "mm", lower_.at.x - upper_.at.x,
            lower_.reason.isEmpty() ? upper_.reason : lower_.reason);
    }

    /// The direction of a line through points that run away from the tip, degrees below the horizontal.
    static double fall(const Vector* points, int count) {
        double meanX = 0, meanY = 0, xx = 0, xy = 0, yy = 0;
        for (int i = 0; i < count; ++i) {
            meanX += points[i].x / count;
            meanY += points[i].y / count;
        }
        for (int i = 0; i < count; ++i) {
            const double x = points[i].x - meanX, y = points[i].y - meanY;
            xx += x * x;
            xy += x * y;
            yy += y * y;
        }
        double angle = std::atan2(2 * xy, xx - yy) / 2;
        const Vector along(std::cos(angle), std::sin(angle));
        const Vector &first = points[0], &last = points[count - 1];
        if ((last.x - first.x) * along.x + (last.y - first.y) * along.y < 0)
            angle += 3.14159265358979323846;
        return std::remainder(-angle * kDegreesPerRadian, 360);
    }

    void addFlank() {
        constexpr double kFoot = 5, kRootTop = 11;
        constexpr int kWindow = 31;  // points: 3 mm
        const Place foot = tread_.reason.isEmpty() ? atLevel(tread_.at.y + kFoot, "the root of the flange")
                                                   : Place{Vector(kNaN, kNaN), 0, tread_.reason};
        const QString reason = upper_.reason.isEmpty() ? foot.reason : upper_.reason;
        double steepest = kNaN;
        if (reason.isEmpty()) {
            const std::vector<Vector> even =
                evenPoints(points_, upper_.behind, foot.behind, kStep, kMostEven);
            for (std::size_t i = 0; i + kWindow <= even.size(); ++i) {
                const double angle = fall(&even[i], kWindow);
                if (!(steepest >= angle))
                    steepest = angle;
            }
        }
        const QString undercut =
            steepest > 90 ? QString("the flank is undercut: it leans over itself") : QString();
        add("flangeAngle", "flange angle", "deg", steepest, reason, undercut);
        double radius = kNaN;
        QString rootReason = foot.reason;
        if (rootReason.isEmpty()) {
            const Place top = atLevel(tread_.at.y + kRootTop, "the root of the flange");
            rootReason = top.reason;
            const std::vector<Vector> even =
                rootReason.isEmpty() ? evenPoints(points_, top.behind, foot.behind, kStep, kMostEven)
                                     : std::vector<Vector>();
            const ArcFit arc = fitArc(even, {/*isRobust=*/false});
            constexpr double kLargestRadius = 200;
            if (rootReason.isEmpty())
                rootReason = arc.reason;
            if (rootReason.isEmpty() && !(arc.circle.radius <= kLargestRadius))
                rootReason = "the root of the flange is straight";
            radius = arc.circle.radius;
        }
        add("flangeRootRadius", "flange root radius", "mm", radius, rootReason);
    }

    void addTread() {
        constexpr double kHalf = 10, kBefore = 20, kLeastWide = 95;
        double slope = kNaN;
        QString reason = tread_.reason;
        if (reason.isEmpty()) {
            const Place from = atLateral(places_.tread - kHalf, "tread"),
                        to = atLateral(places_.tread + kHalf, "tread");
            reason = from.reason.isEmpty() ? to.reason : from.reason;
            if (reason.isEmpty()) {
                const std::vector<Vector> even =
                    evenPoints(points_, from.behind - 1, to.behind, kStep, kMostEven);
                slope = even.size() > 2
                            ? std::tan(fall(even.data(), static_cast<int>(even.size())) * kRadiansPerDegree)
                            : kNaN;
            }
        }
        add("treadSlope", "tread slope", "", slope, reason);
        double lowest = 1e300, hollow = 0;
        reason = tread_.reason;
        if (reason.isEmpty() && points_.back().x < kLeastWide)
            reason = filledIn("the field side of the tread is not seen: the section ends at %1",
                              shortMm(points_.back().x));
        for (const Vector& p : points_) {
            if (p.x < places_.tread - kBefore)
                continue;
            lowest = std::min(lowest, p.y);
            hollow = std::max(hollow, p.y - lowest);
        }
        add("hollow", "hollow of the tread", "mm", hollow, reason);
    }

    /// The field-side face: where the outer end of the section is upright, 1 mm of height in 0.15 mm.
    Place fieldFace() const {
        constexpr double kWindow = 0.15, kRise = 1, kReach = 5;
        constexpr std::size_t kMost = 2000;  // points; of more, every second, third, ... counts
        Place place;
        const std::size_t count = points_.size();
        std::size_t first = count;
        for (std::size_t i = count; i-- > tip_ && points_[i].x > points_.back().x - kReach;)
            first = i;
        const std::size_t step = 1 + (count - first) / kMost;
        for (std::size_t i = count; i >= first + step;) {
            i -= step;
            for (std::size_t j = count - 1; j > i; j -= std::min(step, j)) {
                if (std::fabs(points_[j].x - points_[i].x) <= kWindow &&
                    points_[i].y - points_[j].y >= kRise) {
                    place.at = Vector((points_[i].x + points_[j].x) / 2, points_[j].y);
                    place.behind = j;
                    return place;
                }
            }
        }
        place.reason = "the field-side face of the rim is not seen: the section does not end upright";
        return place;
    }

    void addRim() {
        const Place face = fieldFace();
        const QString back = section_.backReason;
        add("rimWidth", "rim width", "mm", face.at.x, back.isEmpty() ? face.reason : back);
        double outermost = face.at.x;
        for (std::size_t i = tip_; i < points_.size(); ++i)
            outermost = std::max(outermost, points_[i].x);
        constexpr double kLeast = 0.1;  // mm: noise of points on the face
        const double beyond = outermost - face.at.x;
        add("rollover", "rollover", "mm", beyond > kLeast ? beyond : (face.reason.isEmpty() ? 0 : kNaN),
            face.reason);
    }

    void addWidths() {
        for (const double height : places_.widthHeights) {
            const Place place = tread_.reason.isEmpty()
                                    ? atLevel(tread_.at.y + height, "the level above the tread")
                                    : Place{Vector(kNaN, kNaN), 0, tread_.reason};
            const QString above = QString::number(height, 'g', 6);
            result_.values.push_back({"Sd" + above, "thickness " + above + " mm above the tread", "mm",
                                      place.reason.isEmpty() ? place.at.x : kNaN, place.reason, QString()});
        }
    }

    const WheelSection& section_;
    const std::vector<Vector>& points_;
    const GaugePlaces& places_;
    std::size_t tip_ = 0;
    Place tread_, upper_, lower_;
    GaugeValues result_;
};

/// All values, each with the reason that there is no section.
GaugeValues noValues(const WheelSection& section, const GaugePlaces& places) {
    WheelSection flat;  // a flat strip: it has names and units of all values
    flat.points = {Vector(0, 0), Vector(1, 0)};
    flat.tip = 0;
    flat.backReason = section.reason;
    GaugeValues result = Measuring(flat, places).measure();
    for (SectionValue& value : result.values) {
        value.value = kNaN;
        value.reason = section.isWheel() ? QString("there is no section") : section.reason;
        value.note.clear();
    }
    const Vector none(kNaN, kNaN);
    result.marks = {none, none, none, none};
    return result;
}

}  // namespace

const SectionValue* findValue(const std::vector<SectionValue>& values, const QString& key) {
    const auto found = std::find_if(values.begin(), values.end(),
                                    [&](const SectionValue& value) { return value.key == key; });
    return found == values.end() ? nullptr : &*found;
}

GaugeValues gaugeValues(const WheelSection& section, const GaugePlaces& places) {
    return section.isWheel() && section.tip >= 0 ? Measuring(section, places).measure()
                                                 : noValues(section, places);
}

std::vector<Vector> evenPoints(const std::vector<Vector>& points, std::size_t from, std::size_t to,
                               double step, std::size_t most) {
    std::vector<Vector> even;
    double way = 0;
    for (std::size_t i = from + 1; i <= to && i < points.size(); ++i)
        way += length(points[i - 1], points[i]);
    if (!(way / step < static_cast<double>(most)) || !(from < to) || to >= points.size())
        return even;
    even.reserve(static_cast<std::size_t>(way / step) + 1);
    double next = 0, done = 0;  // places along the way
    for (std::size_t i = from + 1; i <= to; ++i) {
        const double piece = length(points[i - 1], points[i]);
        for (; piece > 0 && next <= done + piece; next += step) {
            const double share = (next - done) / piece;
            even.emplace_back(points[i - 1].x + share * (points[i].x - points[i - 1].x),
                              points[i - 1].y + share * (points[i].y - points[i - 1].y));
        }
        done += piece;
    }
    return even;
}

}  // namespace KvMeasure
