// Equivalent conicity by integration of the nonlinear equation of motion (EN 15302; UIC 519). The wheelset
// moves by y'' = -dr(y) / (e r0), y over the way along the track, e the distance of the contacts, r0 the
// radius. With S the integral of dr from the running position, the motion turns where S = C on both sides,
// the amplitude is half the distance of these, and the wavelength
//     L = 2 int dy / sqrt(2 (C - S) / (e r0)).
// The cone of the same wavelength has tan gamma = (pi / L)^2 2 e r0, so that tan gamma = (pi / K)^2 with
// K = int dy / sqrt(C - S), without e and r0. With y = m - a cos t the integrand has no poles, and the
// midpoint rule converges fast. dr is straight between the shifts, hence S is exact.
// The regression is that of dr over y on the same way, with equal weights, exact too:
// slope = 12 / (2a)^3 int (y - m) dr dy. Cost of an amplitude: 128 square roots.

#include <kvmeasure/wheels/conicity.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kNodes = 128;

/// -cos t and sin t in the middles of equal parts of a half turn.
struct HalfTurn {
    std::array<double, kNodes> places, weights;

    HalfTurn() : places{}, weights{} {
        for (std::size_t k = 0; k < kNodes; ++k) {
            const double t = kPi * (static_cast<double>(k) + 0.5) / kNodes;
            places[k] = -std::cos(t);
            weights[k] = std::sin(t) * kPi / kNodes;
        }
    }
};

void check(const std::vector<double>& shifts, const std::vector<double>& differences,
           const ConicitySettings& settings) {
    if (shifts.size() != differences.size())
        throw Error(filledIn("\1shifts\2: %1 shifts and %2 differences; there must be as many", shifts.size(),
                             differences.size()));
    if (shifts.size() < 2)
        throw Error(
            filledIn("\1shifts\2: %1 shift(s); a rolling radius difference needs two", shifts.size()));
    for (std::size_t i = 0; i < shifts.size(); ++i) {
        constexpr double kFarthest = 1e6;  // mm; products stay far from the ends of numbers
        if (!(std::fabs(shifts[i]) <= kFarthest) || !(std::fabs(differences[i]) <= kFarthest))
            throw Error(
                filledIn("\1shifts\2: shift number %1 or its difference is no number within 1e6 mm", i));
        if (i > 0 && !(shifts[i] > shifts[i - 1]))
            throw Error(filledIn("\1shifts\2: %1 does not lie behind %2: shifts ascend, each once", shifts[i],
                                 shifts[i - 1]));
    }
    if (!(settings.diameter > 0) || !std::isfinite(settings.diameter))
        throw Error(filledIn("\1diameter\2 must be above 0, not %1", settings.diameter));
    if (!(settings.contactDistance > 0) || !std::isfinite(settings.contactDistance))
        throw Error(filledIn("\1contactDistance\2 must be above 0, not %1", settings.contactDistance));
}

/// A way without difference: that of a cylinder.
Conicity withoutDifference(double amplitude, double middle) {
    Conicity result;
    result.amplitude = amplitude;
    result.tanGamma = 0;
    result.regression = 0;
    result.from = middle - amplitude;
    result.to = middle + amplitude;
    result.reason = "no wavelength: the rolling radius difference is zero on this way";
    return result;
}

}  // namespace

ConicityCurve::ConicityCurve(const std::vector<double>& shifts, const std::vector<double>& differences,
                             const ConicitySettings& settings)
    : settings_(settings) {
    check(shifts, differences, settings);
    constexpr double kNothing = 1e-9;  // mm: rounding of radii
    std::vector<double> rounded;
    rounded.reserve(differences.size());
    for (const double difference : differences)
        rounded.push_back(std::fabs(difference) < kNothing ? 0 : difference);
    findZero(shifts, rounded);
    if (!reason_.isEmpty())
        return;
    left_ = branch(shifts, rounded, -1);
    right_ = branch(shifts, rounded, 1);
    largestWork_ = std::min(left_.peaks.back(), right_.peaks.back());
    int piece = 0, other = 0;
    largest_ = (left_.wayOf(largestWork_, piece) + right_.wayOf(largestWork_, other)) / 2;
}

void ConicityCurve::findZero(const std::vector<double>& shifts, const std::vector<double>& differences) {
    double falling = std::numeric_limits<double>::quiet_NaN();
    bool isZero = true;
    for (std::size_t i = 0; i + 1 < shifts.size(); ++i) {
        const double before = differences[i];
        isZero = isZero && before == 0 && differences[i + 1] == 0;
        if (before == 0)
            continue;
        std::size_t behind = i + 1;
        while (behind < shifts.size() && differences[behind] == 0)
            ++behind;
        if (behind == shifts.size() || std::signbit(differences[behind]) == std::signbit(before))
            continue;
        const double place = behind == i + 1 ? shifts[i] + (shifts[behind] - shifts[i]) * before /
                                                               (before - differences[behind])
                                             : (shifts[i + 1] + shifts[behind - 1]) / 2;
        if (before > 0)
            falling = place;
        else if (!(std::fabs(place) >= std::fabs(zero_)))
            zero_ = place;
    }
    if (!std::isnan(zero_))
        return;
    if (isZero)
        reason_ = "no running position: the rolling radius difference is zero throughout";
    else if (!std::isnan(falling))
        reason_ = filledIn("no running position: the rolling radius difference falls through zero at %1 mm "
                           "(it must be that of the right wheel less that of the left, over the shift to the "
                           "right)",
                           falling);
    else
        reason_ = filledIn("no running position: the rolling radius difference does not pass through zero "
                           "between %1 and %2 mm",
                           shifts.front(), shifts.back());
}

void ConicityCurve::Branch::add(double way, double difference) {
    double work = 0, moment = 0;
    if (!ways.empty()) {
        const double width = way - ways.back(), before = differences.back();
        const double middle = (before + difference) / 2;
        work = works.back() + width * middle;
        // Simpson's rule is exact for the product of two straight lines.
        moment = moments.back() +
                 width / 6 * (ways.back() * before + 2 * (ways.back() + way) * middle + way * difference);
        slopes.push_back((difference - before) / width);
    }
    ways.push_back(way);
    differences.push_back(difference);
    works.push_back(work);
    peaks.push_back(peaks.empty() ? work : std::max(peaks.back(), work));
    moments.push_back(moment);
    if (!(peaks.back() > 0))
        flat = way;
}

ConicityCurve::Branch ConicityCurve::branch(const std::vector<double>& shifts,
                                            const std::vector<double>& differences, int sign) const {
    Branch branch;
    branch.add(0, 0);
    const int count = static_cast<int>(shifts.size());
    for (int k = 0; k < count; ++k) {
        const auto i = static_cast<std::size_t>(sign > 0 ? k : count - 1 - k);
        const double way = sign * (shifts[i] - zero_), difference = sign * differences[i];
        const double last = branch.ways.back(), before = branch.differences.back();
        if (!(way > last))
            continue;
        const double crossing = last + (way - last) * before / (before - difference);
        if (before * difference < 0 && crossing > last && crossing < way)
            branch.add(crossing, 0);  // works rise or fall throughout each piece
        branch.add(way, difference);
    }
    const auto peak = std::lower_bound(branch.peaks.begin(), branch.peaks.end(), branch.peaks.back());
    const double farthest = branch.ways[static_cast<std::size_t>(peak - branch.peaks.begin())];
    branch.end =
        farthest < branch.ways.back()
            ? filledIn("the rolling radius difference falls through zero at %1 mm", zero_ + sign * farthest)
            : filledIn("the rolling radius difference is known %1 to %2 mm only",
                       QString(sign > 0 ? "up" : "down"), sign > 0 ? shifts.back() : shifts.front());
    return branch;
}

/// The way to the first place with this work, which lies within the peaks: in a piece in which works rise.
double ConicityCurve::Branch::wayOf(double work, int& piece) const {
    const auto behind = std::lower_bound(peaks.begin() + 1, peaks.end() - 1, work);
    const auto i = static_cast<std::size_t>(behind - peaks.begin()) - 1;
    piece = static_cast<int>(i);
    const double rest = std::max(work - works[i], 0.0);
    const double root = std::sqrt(std::max(differences[i] * differences[i] + 2 * slopes[i] * rest, 0.0));
    return rest == 0 ? ways[i] : std::min(ways[i] + 2 * rest / (differences[i] + root), ways[i + 1]);
}

/// `piece` is moved to that of the way; it is near for neighbouring calls.
double ConicityCurve::Branch::workAt(double way, int& piece) const {
    auto i = static_cast<std::size_t>(piece);
    while (i > 0 && ways[i] > way)
        --i;
    while (i + 2 < ways.size() && ways[i + 1] < way)
        ++i;
    piece = static_cast<int>(i);
    const double t = way - ways[i];
    return works[i] + t * (differences[i] + slopes[i] * t / 2);
}

double ConicityCurve::Branch::momentAt(double way, int piece) const {
    const auto i = static_cast<std::size_t>(piece);
    const double t = way - ways[i], d = differences[i], slope = slopes[i];
    return moments[i] + t * (ways[i] * d + t * ((d + ways[i] * slope) / 2 + t * slope / 3));
}

/// The work C at which both sides together are two amplitudes apart: by halves and false position, since the
/// distance grows with C. The amplitude lies within the largest.
double ConicityCurve::workOf(double amplitude) const {
    int left = 0, right = 0;
    const auto excess = [&](double work) {
        return (left_.wayOf(work, left) + right_.wayOf(work, right)) / 2 - amplitude;
    };
    // The square root of the work is nearly in proportion to the amplitude.
    double a = 0, b = std::sqrt(largestWork_), atA = (left_.flat + right_.flat) / 2 - amplitude,
           atB = largest_ - amplitude;
    if (!(atB > 0))
        return largestWork_;
    if (!(atA < 0))
        return 0;
    constexpr int kMost = 200;
    double root = b;
    int side = 0;
    for (int i = 0; i < kMost && b - a > 4e-16 * b; ++i) {
        const double former = root;
        root = i % 8 == 7 ? (a + b) / 2 : (a * atB - b * atA) / (atB - atA);
        const double at = excess(root * root);
        if (at == 0 || root == former)
            break;
        if (at < 0) {
            a = root;
            atA = at;
            atB = side == -1 ? atB / 2 : atB;
            side = -1;
        } else {
            b = root;
            atB = at;
            atA = side == 1 ? atA / 2 : atA;
            side = 1;
        }
    }
    return root * root;
}

Conicity ConicityCurve::at(double amplitude) const {
    Conicity result;
    result.amplitude = amplitude;
    result.reason = reason_;
    if (!reason_.isEmpty())
        return result;
    if (!(amplitude > 0)) {
        result.reason = "the amplitude must be above 0";
        return result;
    }
    constexpr double kRounding = 1e-9;  // of the largest amplitude: 7.5 of a table to 7.5 is within
    if (!(amplitude <= largest_ * (1 + kRounding))) {
        const Branch& first = left_.peaks.back() < right_.peaks.back() ? left_ : right_;
        result.reason = filledIn("the amplitude is beyond the largest, %1 mm: %2", largest_, first.end);
        return result;
    }
    if (2 * amplitude <= left_.flat + right_.flat)
        return withoutDifference(amplitude, zero_);
    const double work = workOf(amplitude);
    int left = 0, right = 0;
    const double toLeft = left_.wayOf(work, left), toRight = right_.wayOf(work, right);
    const double middle = (toRight - toLeft) / 2, half = (toRight + toLeft) / 2;
    constexpr double kApart = 1e-6;  // of the amplitude
    if (std::fabs(half - amplitude) > kApart * amplitude) {
        result.reason = filledIn("no motion has this amplitude: the rolling radius difference falls through "
                                 "zero between %1 and %2 mm",
                                 zero_ - toLeft, zero_ + toRight);
        return result;
    }
    static const HalfTurn halfTurn;
    double integral = 0;
    int onLeft = left, onRight = 0;
    for (std::size_t k = 0; k < kNodes; ++k) {
        const double way = middle + half * halfTurn.places[k];
        const double done = way < 0 ? left_.workAt(-way, onLeft) : right_.workAt(way, onRight);
        const double rest = work - done;
        if (!(rest > 0)) {
            result.reason = "the wheelset does not turn back at the ends of its way";
            return result;
        }
        integral += halfTurn.weights[k] / std::sqrt(rest);
    }
    integral *= half;
    if (!std::isnormal(integral)) {
        result.reason = "the rolling radius difference is too small for a wavelength";
        return result;
    }
    result.tanGamma = kPi * kPi / (integral * integral);
    result.wavelength = integral * std::sqrt(settings_.contactDistance * settings_.diameter);
    result.regression =
        6 * (left_.momentAt(toLeft, left) + right_.momentAt(toRight, right)) / std::pow(2 * half, 3);
    result.from = zero_ - toLeft;
    result.to = zero_ + toRight;
    return result;
}

}  // namespace KvMeasure
