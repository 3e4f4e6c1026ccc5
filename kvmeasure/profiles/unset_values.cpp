// A number is suspected by its digits and by its distance from all others, never by its digits alone: heights
// of -999 are measured where the others are -1003. The suspects are counted apart, so that the range of the
// others is known at the end, in one pass.

#include <kvmeasure/base/error.h>
#include <kvmeasure/profiles/unset_values.h>

#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// Sizes of such numbers, sorted: nines alone, four or more of them, or three before the point; ends of whole
/// numbers.
std::vector<double> makeSizes() {
    std::vector<double> sizes;
    constexpr int kMostDigits = 9, kMostDecimals = 6;
    for (int whole = 1; whole <= kMostDigits; ++whole) {
        for (int decimals = 0; whole + decimals <= kMostDigits; ++decimals) {
            if (whole + decimals > 3 || whole > 2)
                sizes.push_back(std::pow(10.0, whole) - std::pow(10.0, -decimals));
        }
    }
    for (const double end : {32'767.0, 32'768.0, 65'535.0, 2'147'483'647.0, 2'147'483'648.0}) {
        for (int decimals = 0; decimals <= kMostDecimals; ++decimals)
            sizes.push_back(end / std::pow(10.0, decimals));
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes;
}

constexpr std::size_t kMostSuspects = 16;

}  // namespace

bool looksUnset(double value) {
    static const std::vector<double> sizes = makeSizes();
    constexpr double kLeast = 30, kHuge = 1e9, kShare = 1e-12;  // of decimal fractions in binary
    const double size = std::fabs(value);
    if (size < kLeast || size >= kHuge)
        return size >= kHuge;
    const auto next = std::lower_bound(sizes.begin(), sizes.end(), size * (1 - kShare));
    return next != sizes.end() && *next <= size * (1 + kShare);
}

bool UnsetValues::holds(double value) const {
    return std::any_of(values.begin(), values.end(), [value](double unset) {
        return value == unset || value == double(static_cast<float>(unset));  // records hold floats
    });
}

bool UnsetValues::holdsPlace(double value) const {
    return !values.empty() && looksUnset(value) && holds(value);
}

double HeightWatch::take(double height, qint64 line) {
    if (std::isnan(height) || unset_.holds(height))
        return kNothing;
    watch_.add(height, line);
    return height;
}

QString HeightWatch::warning() const {
    UnsetWatch::Finding finding;
    if (!find(finding))
        return QString();
    const QString number = QString::number(finding.value, 'g', 10);
    return (finding.line > 0 ? filledIn("line %1: ", finding.line) : QString()) +
           filledIn("the height %1 occurs %2 time(s), far outside all others; does it stand for \"nothing "
                    "measured\"? Then give \1unset\2 %1, otherwise \1unset\2 none",
                    number, finding.count);
}

void UnsetWatch::add(double value, qint64 line) {
    if (value >= from_ && value <= to_)
        return;
    auto known = suspects_.find(value);
    if (known == suspects_.end() && looksUnset(value) && suspects_.size() < kMostSuspects)
        known = suspects_.insert({value, {value, 0, line}}).first;
    if (known != suspects_.end()) {
        ++known->second.count;
        return;
    }
    from_ = std::min(from_, value);
    to_ = std::max(to_, value);
}

bool UnsetWatch::find(Finding& finding) const {
    bool hasFound = false;
    for (const auto& [value, suspect] : suspects_) {
        double from = from_, to = to_;
        for (const auto& other : suspects_) {  // that may be true ones
            if (other.first != value && std::fabs(other.first) < std::fabs(value)) {
                from = std::min(from, other.first);
                to = std::max(to, other.first);
            }
        }
        const double distance = std::max(from - value, value - to);
        const bool isFar = from <= to ? distance > to - from : suspect.count > 1;
        if (!isFar || (hasFound && suspect.count <= finding.count))
            continue;
        finding = suspect;
        hasFound = true;
    }
    return hasFound;
}

}  // namespace KvMeasure
