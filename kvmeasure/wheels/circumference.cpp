// Radii round a wheel. The points are sorted by their angle, so that several turns and any start are welcome.
// The mean circle and the harmonics are Fourier sums with the trapezoidal rule, exact for equal angles; waves
// that are shorter than twice the largest gap are left out. The deviations from the mean circle are filtered
// along the circumference (gaussianMeanLine). Cost: that of the filter and of the search for flats
// (flat_search.cpp), and a sine and cosine per point and harmonic.

#include <kvmeasure/wheels/circumference_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/form/gaussian_filter.h>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kWidestGap = 10;  // degrees, of a whole turn
constexpr double kMicrometre = 0.001;

double levelOf(double deviation) { return 20 * std::log10(deviation / kMicrometre); }

QString wrongAngles(const std::vector<Vector>& points) {
    const auto [least, greatest] = std::minmax_element(
        points.begin(), points.end(), [](const Vector& a, const Vector& b) { return a.x < b.x; });
    const double span = greatest->x - least->x;
    const struct {
        const char* unit;
        double from, to;
    } turns[] = {{"radians", 5.9, 6.4}, {"turns", 0.95, 1.01}};
    for (const auto& turn : turns) {
        if (span >= turn.from && span <= turn.to)
            return filledIn("the angles span %1 degrees; in %2 it would be a turn", span, turn.unit);
    }
    return {};
}

QString wrongRadius(double radius) {
    constexpr double kSmallest = 125, kLargest = 1300, kUsualFrom = 200, kUsualTo = 700;
    if (radius >= kSmallest && radius <= kLargest)
        return {};
    const struct {
        const char* unit;
        double mm;
    } units[] = {{"cm", 10}, {"inch", 25.4}, {"m", 1000}, {"micrometres", kMicrometre}};
    QString text =
        filledIn("the median radius is %1 mm; that of a wheel is %2 to %3", radius, kSmallest, kLargest);
    for (const auto& each : units) {
        if (radius * each.mm >= kUsualFrom && radius * each.mm <= kUsualTo)
            return text + ", as it would be in " + each.unit;
    }
    return text;
}

/// Two radii at one angle: the surface turns back, or the wheel moved between two turns.
QString severalRadii(const Turn& turn) {
    constexpr double kSame = 0.1, kApart = 1;  // steps; mm
    const double step = turn.usualStep();
    for (std::size_t i = 0; i + 1 < turn.size(); ++i) {
        const double apart = std::fabs(turn[i + 1].y - turn[i].y);
        if (turn.gapBehind(i) <= kSame * step && apart > kApart)
            return filledIn("at %1 degrees the surface has two radii, %2 mm apart: an undercut, or a wheel "
                            "that moved",
                            QString::number(turn[i].x, 'f', 1), QString::number(apart, 'f', 2));
    }
    return {};
}

/// Amplitude and crest of the wave of this order in radii less the mean.
WheelHarmonic harmonicOf(const Turn& turn, double mean, int order) {
    double cosines = 0, sines = 0;
    for (std::size_t i = 0; i < turn.size(); ++i) {
        const double angle = order * turn[i].x * kRadiansPerDegree;
        const double part = 2 * turn.weight(i) * (turn[i].y - mean);
        cosines += part * std::cos(angle);
        sines += part * std::sin(angle);
    }
    WheelHarmonic result;
    result.order = order;
    result.amplitude = std::hypot(cosines, sines);
    result.angle = folded(std::atan2(sines, cosines) * kDegreesPerRadian) / order;
    result.level = levelOf(result.amplitude / std::sqrt(2.0));
    return result;
}

/// The radii filtered along the circumference, over its end, too.
std::vector<double> filtered(const Turn& turn, double radius, double cutoff) {
    const double perDegree = radius * kRadiansPerDegree, reach = cutoff / perDegree;
    std::vector<Vector> points;
    points.reserve(turn.size() + 2);
    std::size_t before = 0;
    for (std::size_t i = turn.size(); i-- > 0 && turn[i].x >= kFullTurn - reach;)
        ++before;
    for (std::size_t i = turn.size() - before; i < turn.size(); ++i)
        points.push_back({(turn[i].x - kFullTurn) * perDegree, turn[i].y - radius});
    for (const Vector& point : turn.points())
        points.push_back({point.x * perDegree, point.y - radius});
    for (std::size_t i = 0; i < turn.size() && turn[i].x <= reach; ++i)
        points.push_back({(turn[i].x + kFullTurn) * perDegree, turn[i].y - radius});
    const std::vector<double> mean = gaussianMeanLine(points, cutoff);
    const auto first = mean.begin() + static_cast<std::ptrdiff_t>(before);
    return {first, first + static_cast<std::ptrdiff_t>(turn.size())};
}

void check(const CircumferenceOptions& options) {
    constexpr int kMostOrders = 500;
    if (!(options.cutoff > 0) || !(options.leastDepth > 0) || options.orders < 1 ||
        options.orders > kMostOrders)
        throw Error(filledIn("a circumference needs a cut-off and a least depth above 0 and 1 to %1 orders",
                             kMostOrders));
}

/// Mean circle, harmonics, eccentricity of a whole turn.
void addHarmonics(const Turn& turn, const CircumferenceOptions& options, Circumference& result) {
    double mean = 0;
    for (std::size_t i = 0; i < turn.size(); ++i)
        mean += turn.weight(i) * turn[i].y;
    result.meanRadius = mean;
    const int most = std::max(1, static_cast<int>(std::min(kFullTurn, kFullTurn / 2 / turn.largestGap())));
    for (int order = 1; order <= std::min(options.orders, most); ++order)
        result.harmonics.push_back(harmonicOf(turn, mean, order));
    if (options.orders > most)
        result.notes.append(
            filledIn("harmonics above order %1 are not known: the points have a gap of %2 degrees", most,
                     QString::number(turn.largestGap(), 'f', 2)));
    result.eccentricity = result.harmonics.front().amplitude;
    result.eccentricityAngle = result.harmonics.front().angle;
}

/// Filtered deviations from the mean circle, and what they amount to.
void addDeviations(const Turn& turn, const std::vector<double>& heights, double gap, Circumference& result) {
    double squares = 0, least = 0, greatest = 0;
    result.deviations.reserve(turn.size() + 1);
    const bool isWhole = std::isfinite(result.meanRadius);
    for (std::size_t i = 0; i < turn.size(); ++i) {
        double deviation = heights[i];
        if (isWhole)
            deviation -=
                result.eccentricity * std::cos((turn[i].x - result.eccentricityAngle) * kRadiansPerDegree);
        result.deviations.push_back({turn[i].x, deviation});
        if (turn.gapBehind(i) > gap && i + 1 < turn.size())
            result.deviations.push_back({turn[i].x + turn.gapBehind(i) / 2, kNaN});
        squares += turn.weight(i) * deviation * deviation;
        least = i == 0 ? deviation : std::min(least, deviation);
        greatest = i == 0 ? deviation : std::max(greatest, deviation);
    }
    if (!isWhole)
        return;
    result.outOfRoundness = greatest - least;
    result.deviation = std::sqrt(squares);
    result.level = levelOf(result.deviation);
}

}  // namespace

Circumference evaluateCircumference(const std::vector<Vector>& points, const CircumferenceOptions& options) {
    constexpr std::size_t kFewest = 36;
    constexpr double kLeastSeen = 60;
    check(options);
    Circumference result;
    std::vector<Vector> finite;
    finite.reserve(points.size());
    std::vector<double> radii;
    radii.reserve(points.size());
    for (const Vector& point : points) {
        if (!isFinite(point))
            continue;
        finite.push_back(point);
        radii.push_back(point.y);
    }
    if (finite.size() < kFewest)
        result.reason = filledIn("%1 points; a circumference needs at least %2", finite.size(), kFewest);
    else if (result.reason = wrongRadius(median(radii)); result.reason.isEmpty())
        result.reason = wrongAngles(finite);
    if (!result.reason.isEmpty())
        return result;
    const Turn turn(finite);
    result.reason = severalRadii(turn);
    if (!result.reason.isEmpty())
        return result;
    const bool isWhole = turn.largestGap() <= kWidestGap;
    const double radius = median(radii),
                 gap = 2 * std::max(options.cutoff / (radius * kRadiansPerDegree), turn.usualStep());
    result.seen = kFullTurn;
    for (std::size_t i = 0; i < turn.size(); ++i)
        result.seen -= turn.gapBehind(i) > gap ? turn.gapBehind(i) : 0;
    if (isWhole)
        addHarmonics(turn, options, result);
    else
        result.roundnessReason = filledIn("less than a turn: the points have a gap of %1 degrees",
                                          QString::number(turn.largestGap(), 'f', 1));
    const double base = isWhole ? result.meanRadius : radius;
    const std::vector<double> heights = filtered(turn, base, options.cutoff);
    addDeviations(turn, heights, gap, result);
    if (result.seen < kLeastSeen)
        result.flatsReason = filledIn("%1 degrees are seen; flats are looked for from %2 on",
                                      QString::number(result.seen, 'f', 1), kLeastSeen);
    else if (!searchFlats(turn, heights, base, options, result))
        result.flatsReason = "no smooth curve through the points";
    if (!isWhole && !result.flats.empty())
        result.notes.append(
            "part of a turn: flats are taken from the first two waves, so that a wheel out of "
            "round in more waves has them deeper or shallower by as much");
    return result;
}

}  // namespace KvMeasure
