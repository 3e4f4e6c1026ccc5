// Both sections are compared from the flange tip outwards. Areas come from the heights of both polylines
// every 0.02 mm (the highest, where a section is undercut), by the trapezoid rule; the largest wear from the
// nearest points of the nominal polyline to points every 0.2 mm of the worn one. That is the product of two
// numbers of points: nominal sections are taken every 0.1 mm at the finest, so that it stays below 2,000
// times 5,000.
//
// The S1002 equations are the lines, arcs and polynomials of the profile as they are reprinted in course
// material (H. Netter, DLR): y from the running circle, z down from there to the flange tip.

#include <kvmeasure/wheels/wheel_wear.h>

#include <kvmeasure/wheels/section_value_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kMostEven = 5000;

double polynomial(const double* coefficients, int count, double y) {
    double value = 0;
    for (int k = count - 1; k >= 0; --k)
        value = value * y + coefficients[k];
    return value;
}

/// z of an arc with its centre at (-shift, middle).
double arc(double middle, double radius, double shift, double y, double sign) {
    const double across = y + shift;
    return middle + sign * std::sqrt(std::max(0.0, radius * radius - across * across));
}

/// Height of the S1002 profile over the running circle; y from there, negative towards the flange.
double s1002(double y) {
    constexpr double kTread[] = {0,
                                 -3.358537058e-02,
                                 1.565681624e-03,
                                 -2.810427944e-05,
                                 5.844240864e-08,
                                 -1.562379023e-08,
                                 5.309217349e-15,
                                 -5.957839843e-12,
                                 2.646656573e-13};
    constexpr double kRoot[] = {-4.320221063e+03, -1.038384026e+03, -1.065501873e+02, -6.051367875,
                                -2.054332446e-01, -4.169739389e-03, -4.687195829e-05, -2.252755540e-07};
    if (y > 32.15796)
        return 1.364323640 - 0.066666667 * y;
    if (y > -26)
        return polynomial(kTread, 9, y);
    if (y > -35)
        return polynomial(kRoot, 8, y);
    if (y > -38.426669071)
        return arc(16.446, 13, 26.210665, y, -1);
    if (y > -39.764473993)
        return -93.576667419 - 2.747477419 * y;
    if (y > -49.662510381)
        return arc(8.834924130, 20, 58.558326413, y, 1);
    if (y > -62.764705882)
        return arc(16, 12, 55, y, 1);
    return arc(9.519259302, 20.5, 49.5, y, 1);
}

/// Heights of a polyline over ascending positions, the highest where there are several; NaN where none is.
std::vector<double> heightsAt(const std::vector<Vector>& points, double from, double step, int count) {
    std::vector<double> heights(static_cast<std::size_t>(count), kNaN);
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Vector &a = points[i - 1], &b = points[i];
        const double left = std::min(a.x, b.x), right = std::max(a.x, b.x);
        if (!(left < right))
            continue;
        const int first = std::max(0, static_cast<int>(std::ceil(std::max((left - from) / step, -1.0))));
        const int last = static_cast<int>(std::floor(std::min((right - from) / step, count - 1.0)));
        for (int k = first; k <= last; ++k) {
            const double y = a.y + (b.y - a.y) * (from + k * step - a.x) / (b.x - a.x);
            double& height = heights[static_cast<std::size_t>(k)];
            height = height >= y ? height : y;
        }
    }
    return heights;
}

/// The nearest point of a polyline.
Vector nearestOn(const std::vector<Vector>& line, const Vector& p) {
    Vector nearest = line.front();
    double least = length(p, nearest);
    for (std::size_t i = 1; i < line.size(); ++i) {
        const Vector &a = line[i - 1], &b = line[i];
        if (std::min(a.x, b.x) - p.x > least || p.x - std::max(a.x, b.x) > least)
            continue;
        const double dx = b.x - a.x, dy = b.y - a.y, squared = dx * dx + dy * dy;
        const double share =
            squared > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / squared, 0.0, 1.0) : 0.0;
        const Vector on(a.x + share * dx, a.y + share * dy);
        const double distance = length(p, on);
        if (distance < least) {
            least = distance;
            nearest = on;
        }
    }
    return nearest;
}

class Comparing {
public:
    Comparing(const WheelSection& worn, const WheelSection& nominal, WearAlignment alignment,
              const GaugePlaces& places)
        : worn_(worn), nominal_(nominal), alignment_(alignment), ofWorn_(gaugeValues(worn, places)),
          ofNominal_(gaugeValues(nominal, places)) {}

    WheelWear compare() {
        addDifference("treadWear", "wear of the tread at its point", "Sh", 1);
        addDifference("flangeWear", "wear of the flange thickness", "Sd", -1);
        reason_ = reasonFor("Sh");
        if (reason_.isEmpty())
            align();
        addLargest();
        addAreas();
        return result_;
    }

private:
    QString reasonFor(const char* key) const {
        const SectionValue *a = findValue(ofWorn_.values, key), *b = findValue(ofNominal_.values, key);
        if (!a->isKnown())
            return a->reason;
        return b->isKnown() ? QString() : "the nominal section: " + b->reason;
    }

    void add(const char* key, const char* name, const char* unit, double value, const QString& reason) {
        result_.values.push_back(
            Internal::sectionValue(key, name, unit, value, reason, "the sections have no common part"));
    }

    void addDifference(const char* key, const char* name, const char* of, double sign) {
        const QString reason = reasonFor(of);
        const double difference =
            findValue(ofWorn_.values, of)->value - findValue(ofNominal_.values, of)->value;
        add(key, name, "mm", sign * difference, reason);
    }

    void align() {
        const Vector& from = alignment_ == WearAlignment::Tread ? ofWorn_.marks.tread : ofWorn_.marks.tip;
        const Vector& to = alignment_ == WearAlignment::Tread ? ofNominal_.marks.tread : ofNominal_.marks.tip;
        const double up = to.y - from.y;
        result_.worn.reserve(worn_.points.size());
        for (const Vector& p : worn_.points)
            result_.worn.emplace_back(p.x, p.y + up);
        result_.nominal = nominal_.points;
    }

    /// From the flange tip of either on, to the end of the shorter one.
    double from() const { return std::max(ofWorn_.marks.tip.x, ofNominal_.marks.tip.x); }
    double to() const { return std::min(result_.worn.back().x, result_.nominal.back().x); }

    void addLargest() {
        constexpr double kStep = 0.2, kNominalStep = 0.1;
        double largest = kNaN;
        if (reason_.isEmpty()) {
            const std::vector<Vector> nominal =
                evenPoints(result_.nominal, 0, result_.nominal.size() - 1, kNominalStep, kMostEven);
            const std::vector<Vector> worn =
                evenPoints(result_.worn, 0, result_.worn.size() - 1, kStep, kMostEven);
            for (const Vector& p : worn) {
                if (nominal.empty() || p.x < from() || p.x > to())
                    continue;
                const Vector on = nearestOn(nominal, p);
                const bool isInside = p.y < on.y || (p.y == on.y && p.x < on.x);
                const double wear = isInside ? length(p, on) : 0;
                if (!(largest >= wear)) {
                    largest = wear;
                    result_.largest = {on, p};
                }
            }
        }
        add("largestWear", "largest wear", "mm", largest, reason_);
        add("largestWearAt", "where that is, from the flange back", "mm", result_.largest.nominal.x, reason_);
    }

    void addAreas() {
        constexpr double kStep = 0.02;
        double lost = kNaN, gained = kNaN;
        if (reason_.isEmpty() && to() > from()) {
            const int count = static_cast<int>((to() - from()) / kStep) + 1;
            const std::vector<double> worn = heightsAt(result_.worn, from(), kStep, count),
                                      nominal = heightsAt(result_.nominal, from(), kStep, count);
            lost = gained = 0;
            for (std::size_t i = 1; i < worn.size(); ++i) {
                const double before = nominal[i - 1] - worn[i - 1], here = nominal[i] - worn[i];
                if (!std::isfinite(before + here))
                    continue;
                lost += kStep * (std::max(before, 0.0) + std::max(here, 0.0)) / 2;
                gained += kStep * (std::max(-before, 0.0) + std::max(-here, 0.0)) / 2;
            }
        }
        add("areaLost", "area lost", "mm2", lost, reason_);
        add("areaGained", "area gained", "mm2", gained, reason_);
    }

    const WheelSection& worn_;
    const WheelSection& nominal_;
    WearAlignment alignment_;
    GaugeValues ofWorn_, ofNominal_;
    QString reason_;
    WheelWear result_;
};

}  // namespace

WheelSection s1002Section(double step) {
    constexpr double kFinest = 0.01, kInner = -70, kOuter = 60;
    const double pitch = std::max(kFinest, step);  // NaN: the finest
    WheelSection section;
    const int count = static_cast<int>(std::lround((kOuter - kInner) / pitch));
    section.points.reserve(static_cast<std::size_t>(count) + 1);
    for (int i = 0; i <= count; ++i) {
        const double y = std::min(kInner + i * pitch, kOuter);
        section.points.emplace_back(y - kInner, s1002(y));
    }
    section.tip =
        static_cast<int>(std::max_element(section.points.begin(), section.points.end(),
                                          [](const Vector& a, const Vector& b) { return a.y < b.y; }) -
                         section.points.begin());
    section.back = 0;
    section.source = BackSource::Given;
    return section;
}

WheelWear wheelWear(const WheelSection& worn, const WheelSection& nominal, WearAlignment alignment,
                    const GaugePlaces& places) {
    return Comparing(worn, nominal, alignment, places).compare();
}

}  // namespace KvMeasure
