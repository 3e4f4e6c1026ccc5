// Contact of a rigid wheelset on rigid rails by least vertical gap (EN 15302): at each lateral shift the sum
// of the heights of wheel and rail is greatest at the contact. Both are sampled once at a pitch that divides
// the step of the shifts, so that a shift moves the samples by whole places. The greatest samples are then
// refined on the cubics themselves, where the sum of the slopes changes its sign.
// Cost: for each shift and side one pass over the samples and a few dozen slopes.

#include <kvmeasure/wheels/rolling_radius.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

constexpr double kNowhere = -1e30;  // height where a section has no points
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A section sampled at equal distances, with the cubic that each sample lies on.
struct Samples {
    std::vector<double> heights;
    std::vector<int> intervals;

    Samples(const ContactProfile& profile, double first, double pitch, int count)
        : heights(static_cast<std::size_t>(count), kNowhere), intervals(static_cast<std::size_t>(count), 0) {
        const std::vector<double>& laterals = profile.laterals();
        int interval = 0;
        const int last = static_cast<int>(laterals.size()) - 2;
        for (int k = 0; k < count; ++k) {
            const double lateral = first + k * pitch;
            while (interval < last && laterals[static_cast<std::size_t>(interval) + 1] <= lateral)
                ++interval;
            const auto i = static_cast<std::size_t>(k);
            intervals[i] = interval;
            if (lateral >= profile.from() && lateral <= profile.to())
                heights[i] = profile.cubics()[static_cast<std::size_t>(interval)].heightAt(lateral);
        }
    }
};

/// A wheel over its rail. All positions are those of the wheel, mm; a shift moves the wheel outwards.
class SideContact {
public:
    SideContact(const ContactProfile& wheel, const ContactProfile& rail, double offset, int mostSteps,
                double step)
        : wheel_(wheel), rail_(rail), offset_(offset),
          stepPlaces_(static_cast<int>(std::ceil(step / kCoarsest))), pitch_(step / stepPlaces_),
          first_(wheel.from()), count_(wholeBlocks((wheel.to() - wheel.from()) / pitch_ + 1)),
          margin_(mostSteps * stepPlaces_), onWheel_(wheel, first_, pitch_, count_),
          onRail_(rail, first_ - offset - margin_ * pitch_, pitch_, count_ + 2 * margin_),
          sums_(static_cast<std::size_t>(count_), kNowhere),
          blocks_(static_cast<std::size_t>(count_ / kBlock)) {}

    /// The position of contact at a shift of so many steps outwards; NaN where the sections do not overlap.
    double at(int steps) {
        places_ = steps * stepPlaces_;
        shift_ = places_ * pitch_;
        const double greatest = addUp();
        if (!(greatest > kNowhere / 2))
            return kNaN;
        // Two sections rounded by 12 mm rise less than 0.0003 mm above their samples.
        constexpr double kBetweenSamples = 0.0005;
        double best = kNaN, bestSum = kNowhere;
        for (int block = firstBlock_; block < endBlock_; ++block) {
            if (blocks_[static_cast<std::size_t>(block)] < greatest - kBetweenSamples)
                continue;
            for (int k = block * kBlock; k < (block + 1) * kBlock; ++k) {
                if (sums_[static_cast<std::size_t>(k)] < greatest - kBetweenSamples || !isSummit(k))
                    continue;
                const double place = refined(k);
                const double sum = sumNear(k, place);
                if (sum > bestSum) {
                    best = place;
                    bestSum = sum;
                    sample_ = k;
                }
            }
        }
        return best;
    }

    /// Whether between two positions the gap of the shift last asked for opens and closes again.
    bool opensBetween(double from, double to) const {
        const int a = placeOf(std::min(from, to)), b = placeOf(std::max(from, to));
        const auto sum = [this](int k) { return sums_[static_cast<std::size_t>(k)]; };
        int lowest = a;
        for (int k = a; k <= b; ++k) {
            if (sum(k) < sum(lowest))
                lowest = k;
        }
        constexpr double kShallowest = 1e-6;  // mm
        double before = sum(lowest), behind = sum(lowest);
        for (int k = a; k < lowest; ++k)
            before = std::max(before, sum(k));
        for (int k = lowest; k <= b; ++k)
            behind = std::max(behind, sum(k));
        return before > sum(lowest) + kShallowest && behind > sum(lowest) + kShallowest;
    }

    /// Why the position that at() returned is no contact: it is an end of the points of a section, or lies in
    /// a gap.
    QString whyNone(double place, double widestGap, int whichSide) const {
        const auto side = [whichSide] { return QString(whichSide == Left ? "left" : "right"); };
        if (std::isnan(place))
            return filledIn("the points of the %1 wheel and of the %1 rail do not overlap", side());
        const struct {
            const ContactProfile& profile;
            double place;
            int interval;  ///< none where the place is beyond an end
            const char* name;
        } parts[] = {{wheel_, place, intervalNear(wheel_, onWheel_, sample_, place), "wheel"},
                     {rail_, onRail(place),
                      intervalNear(rail_, onRail_, margin_ + places_ + sample_, onRail(place)), "rail"}};
        for (const auto& part : parts) {
            const double end = 1.5 * pitch_;
            if (part.place <= part.profile.from() + end || part.place >= part.profile.to() - end)
                return filledIn("the contact reaches the end of the points of the %1 %2", side(), part.name);
            const double* points = &part.profile.laterals()[static_cast<std::size_t>(part.interval)];
            if (points[1] - points[0] > widestGap)
                return filledIn("the contact lies in a gap of %1 mm of the points of the %2 %3",
                                points[1] - points[0], side(), part.name);
        }
        return {};
    }

    /// Height of the wheel at the contact that at() returned.
    double wheelHeight(double place) const {
        const int interval = intervalNear(wheel_, onWheel_, sample_, place);
        return wheel_.cubics()[static_cast<std::size_t>(std::max(interval, 0))].heightAt(place);
    }

    double onRail(double place) const { return place + shift_ - offset_; }

private:
    static constexpr double kCoarsest = 0.1;  // mm, below the pitch of most scanners and gauges
    static constexpr int kBlock = 32;         // samples whose greatest sum is kept

    static int wholeBlocks(double count) { return (static_cast<int>(count) / kBlock + 1) * kBlock; }

    /// Fills the sums of the blocks where both sections are and of one block on either side, and returns the
    /// greatest.
    double addUp() {
        const double* wheel = onWheel_.heights.data();
        const double* rail = onRail_.heights.data() + (margin_ + places_);
        double* sums = sums_.data();
        const double toWheel = offset_ - shift_ - first_;
        const double first = (rail_.from() + toWheel) / pitch_, last = (rail_.to() + toWheel) / pitch_;
        firstBlock_ = std::clamp(static_cast<int>(first) / kBlock - 1, 0, count_ / kBlock);
        endBlock_ = std::clamp(static_cast<int>(last) / kBlock + 2, firstBlock_, count_ / kBlock);
        double greatest = kNowhere;
        for (int block = firstBlock_; block < endBlock_; ++block) {
            const int from = block * kBlock;
            for (int k = from; k < from + kBlock; ++k)
                sums[k] = wheel[k] + rail[k];
            double even = kNowhere, odd = kNowhere;  // two at a time: each waits for the one before
            for (int k = from; k < from + kBlock; k += 2) {
                even = std::max(even, sums[k]);
                odd = std::max(odd, sums[k + 1]);
            }
            blocks_[static_cast<std::size_t>(block)] = std::max(even, odd);
            greatest = std::max(greatest, blocks_[static_cast<std::size_t>(block)]);
        }
        return greatest;
    }

    int placeOf(double position) const {
        return std::clamp(static_cast<int>(std::lround((position - first_) / pitch_)), 0, count_ - 1);
    }

    bool isSummit(int k) const {
        const auto i = static_cast<std::size_t>(k);
        return (k == 0 || sums_[i] > sums_[i - 1]) && (k + 1 == count_ || sums_[i] >= sums_[i + 1]);
    }

    /// The interval of a position at most a sample away from that one; -1 outside of the section.
    static int intervalNear(const ContactProfile& profile, const Samples& samples, int sample,
                            double position) {
        if (std::clamp(position, profile.from(), profile.to()) != position)
            return -1;
        auto i =
            static_cast<std::size_t>(samples.intervals[static_cast<std::size_t>(std::max(sample - 1, 0))]);
        const auto& cubics = profile.cubics();
        while (i + 1 < cubics.size() && cubics[i + 1].from <= position)
            ++i;
        return static_cast<int>(i);
    }

    /// The cubics of wheel and rail at a position near a sample; null outside of one of them.
    struct Cubics {
        const ContactProfile::Cubic *wheel = nullptr, *rail = nullptr;
    };
    Cubics cubicsNear(int k, double place) const {
        const int wheelPart = intervalNear(wheel_, onWheel_, k, place);
        const int railPart = intervalNear(rail_, onRail_, margin_ + places_ + k, onRail(place));
        if (std::min(wheelPart, railPart) < 0)
            return {};
        return {&wheel_.cubics()[static_cast<std::size_t>(wheelPart)],
                &rail_.cubics()[static_cast<std::size_t>(railPart)]};
    }

    double slopeNear(int k, double place) const {
        const Cubics at = cubicsNear(k, place);
        return at.wheel != nullptr ? at.wheel->slopeAt(place) + at.rail->slopeAt(onRail(place)) : kNaN;
    }

    double sumNear(int k, double place) const {
        const Cubics at = cubicsNear(k, place);
        return at.wheel != nullptr ? at.wheel->heightAt(place) + at.rail->heightAt(onRail(place))
                                   : sums_[static_cast<std::size_t>(k)];
    }

    /// The greatest sum near a sample: where the slope changes its sign, by false position with halved ends
    /// (the Illinois rule).
    double refined(int k) const {
        const double middle = first_ + k * pitch_, atMiddle = slopeNear(k, middle);
        double a = middle, b = middle, atA = atMiddle, atB = atMiddle;
        if (atMiddle > 0) {
            b = middle + pitch_;
            atB = slopeNear(k, b);
        } else {
            a = middle - pitch_;
            atA = slopeNear(k, a);
        }
        if (!(atA > 0) || !(atB < 0))
            return middle;  // an end of a section, or the sum changes within less than the pitch
        constexpr int kMostSteps = 60;
        constexpr double kNearEnough = 1e-9;  // mm
        int side = 0;
        double place = middle;
        for (int i = 0; i < kMostSteps && b - a > kNearEnough; ++i) {
            const double former = place;
            place = (a * atB - b * atA) / (atB - atA);
            const double at = slopeNear(k, place);
            if (at == 0 || std::fabs(place - former) < kNearEnough / 4)
                break;
            if (at > 0) {
                a = place;
                atA = at;
                atB = side == 1 ? atB / 2 : atB;
                side = 1;
            } else {
                b = place;
                atB = at;
                atA = side == -1 ? atA / 2 : atA;
                side = -1;
            }
        }
        return place;
    }

    const ContactProfile& wheel_;
    const ContactProfile& rail_;
    double offset_;  // of the rail's x = 0 from the running circle of the wheel without shift
    int stepPlaces_;
    double pitch_, first_;
    int count_, margin_, places_ = 0, firstBlock_ = 0, endBlock_ = 0, sample_ = 0;
    double shift_ = 0;
    Samples onWheel_, onRail_;
    std::vector<double> sums_, blocks_;
};

void check(const ShiftSettings& settings) {
    constexpr double kFinest = 0.01, kLargest = 50;
    if (!(settings.step >= kFinest) || !(settings.largest >= settings.step) ||
        !(settings.largest <= kLargest))
        throw Error(
            filledIn("\1step\2: shifts up to %1 mm every %2 mm; they reach 50 mm at most, every 0.01 mm "
                     "or more",
                     settings.largest, settings.step));
    if (!(settings.widestGap > 0))
        throw Error(filledIn("\1widestGap\2 must be above 0, not %1", settings.widestGap));
}

/// The shift after so many steps, without the rounding of their product: 0.3, not 0.30000000000000004.
double shiftAfter(double steps, double step) {
    constexpr double kDigits = 1e9;
    return std::round(steps * step * kDigits) / kDigits;
}

/// One shift with its contacts.
struct Step {
    int steps = 0;
    Contact contacts[2];
};

/// Both sides of a wheelset, looked at shift by shift.
class Walk {
public:
    Walk(const WheelsetOnTrack& wheelset, const ShiftSettings& settings, int most)
        : wheelset_(wheelset), settings_(settings), sides_{sideContact(Left, most), sideContact(Right, most)},
          zeros_{wheelset.wheels[Left].height(0), wheelset.wheels[Right].height(0)} {}

    /// The contacts at a shift of so many steps to the right. Why there are none, or an empty text.
    QString contactsAt(int steps, Step& step) {
        step.steps = steps;
        for (const int side : {Left, Right}) {
            SideContact& contact = sides_[side];
            const double place = contact.at(side == Right ? steps : -steps);
            QString reason = contact.whyNone(place, settings_.widestGap, side);
            if (!reason.isEmpty())
                return reason;
            step.contacts[side] = {place, contact.onRail(place),
                                   wheelset_.diameters[side] / 2 + contact.wheelHeight(place) - zeros_[side]};
        }
        return {};
    }

    /// Steps from the first one on, `way` 1 or -1 apart, up to `most` of them; why there are no more.
    QString follow(Step step, int way, int most, std::vector<Step>& steps, std::vector<ContactLeap>& leaps) {
        constexpr double kLeastLeap = 1;  // mm
        for (int i = 1; i <= most; ++i) {
            const Step former = step;
            const QString reason = contactsAt(way * i, step);
            if (!reason.isEmpty())
                return filledIn("the shifts end at %1 mm: %2", shiftAfter(way * (i - 1), settings_.step),
                                reason);
            steps.push_back(step);
            for (const int side : {Left, Right}) {
                const double from = former.contacts[side].wheel, to = step.contacts[side].wheel;
                if (std::fabs(to - from) > kLeastLeap && sides_[side].opensBetween(from, to))
                    leaps.push_back({shiftAfter(way * (i - 0.5), settings_.step), side == Left ? Left : Right,
                                     way > 0 ? from : to, way > 0 ? to : from});
            }
        }
        return {};
    }

private:
    SideContact sideContact(int side, int most) const {
        const double nominal = wheelset_.backToBack / 2 + wheelset_.runningCircle;
        return {wheelset_.wheels[side], wheelset_.rails[side], wheelset_.railOrigins[side] - nominal, most,
                settings_.step};
    }

    const WheelsetOnTrack& wheelset_;
    const ShiftSettings& settings_;
    SideContact sides_[2];
    double zeros_[2];  // heights of the wheels at their running circles
};

}  // namespace

double gaugeFace(const ContactProfile& rail, double depth) {
    const std::vector<double>& laterals = rail.laterals();
    std::size_t top = 0;
    for (std::size_t i = 0; i < laterals.size(); ++i)
        top = rail.height(laterals[i]) > rail.height(laterals[top]) ? i : top;
    const double level = rail.height(laterals[top]) - depth;
    for (std::size_t i = top; i > 0; --i) {
        const double above = rail.height(laterals[i]), below = rail.height(laterals[i - 1]);
        if (below < level)
            return laterals[i] + (laterals[i - 1] - laterals[i]) * (above - level) / (above - below);
    }
    return laterals.front();
}

RollingRadii rollingRadii(const WheelsetOnTrack& wheelset, const ShiftSettings& settings) {
    check(settings);
    RollingRadii result;
    for (const int side : {Left, Right}) {
        if (std::isnan(wheelset.wheels[side].height(0)))
            result.reason = filledIn("the points of the %1 wheel do not reach the running circle, to which "
                                     "the diameter belongs",
                                     QString(side == Left ? "left" : "right"));
    }
    constexpr double kRounding = 1e-9;  // of the number of steps
    const int most = static_cast<int>(settings.largest / settings.step + kRounding);
    Step middle;
    if (!result.reason.isEmpty())
        return result;
    Walk walk(wheelset, settings, most);
    result.reason = walk.contactsAt(0, middle);
    if (!result.reason.isEmpty())
        return result;
    std::vector<Step> steps;
    for (const int way : {-1, 1}) {
        const QString note = walk.follow(middle, way, most, steps, result.leaps);
        if (!note.isEmpty())
            result.notes.append(note);
        if (way < 0) {
            std::reverse(steps.begin(), steps.end());
            std::reverse(result.leaps.begin(), result.leaps.end());
            steps.push_back(middle);
        }
    }
    for (const Step& step : steps) {
        result.shifts.push_back(shiftAfter(step.steps, settings.step));
        result.differences.push_back(step.contacts[Right].radius - step.contacts[Left].radius);
        for (const int side : {Left, Right})
            result.contacts[side].push_back(step.contacts[side]);
    }
    return result;
}

}  // namespace KvMeasure
