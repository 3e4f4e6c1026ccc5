// Two searches by bisection for each height: the profiles about a place, and the points about it in each.

#include <kvmeasure/scans/surface.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::KvProfileZ;

double shownRounding(double value) {
    constexpr double kHalfOfLastDecimal = 0.5001e-4;
    constexpr double kOfFloat = 1.2e-7;
    return std::max(kHalfOfLastDecimal, kOfFloat * std::fabs(value));
}

namespace {

bool isShownAs(double value, double shown) { return std::fabs(value - shown) <= shownRounding(shown); }

double between(double a, double b, double share) { return a + (b - a) * share; }

}  // namespace

ScanSurface::ScanSurface(const KvMath::KvProfileZSet& stack, double mostBetweenPoints,
                         double mostBetweenProfiles)
    : mostBetweenPoints_(mostBetweenPoints), mostBetweenProfiles_(mostBetweenProfiles) {
    for (const KvProfileZ& profile : stack.profiles) {
        if (profile.points.isEmpty())
            continue;
        rows_.push_back({double(profile.z), {profile.points.begin(), profile.points.end()}});
    }
    std::stable_sort(rows_.begin(), rows_.end(), [](const Row& a, const Row& b) { return a.scan < b.scan; });
    std::size_t kept = 0;
    for (std::size_t i = 1; i < rows_.size(); ++i) {
        Row& last = rows_[kept];
        if (rows_[i].scan == last.scan)
            last.points.insert(last.points.end(), rows_[i].points.begin(), rows_[i].points.end());
        else if (++kept != i)
            rows_[kept] = std::move(rows_[i]);
    }
    if (!rows_.empty())
        rows_.resize(kept + 1);
    for (Row& row : rows_) {
        std::stable_sort(row.points.begin(), row.points.end(),
                         [](const KvPointXY& a, const KvPointXY& b) { return a.x < b.x; });
        firstX_ = std::fmin(firstX_, double(row.points.front().x));
        lastX_ = std::fmax(lastX_, double(row.points.back().x));
    }
}

ScanSurface::Height ScanSurface::Row::at(double x, double mostBetween) const {
    const auto right = std::lower_bound(points.begin(), points.end(), x,
                                        [](const KvPointXY& p, double value) { return double(p.x) < value; });
    const bool hasRight = right != points.end();
    const bool hasLeft = right != points.begin();
    const double toRight = hasRight ? double(right->x) - x : std::numeric_limits<double>::infinity();
    const double toLeft = hasLeft ? x - double((right - 1)->x) : std::numeric_limits<double>::infinity();
    if (std::min(toLeft, toRight) <= shownRounding(x))
        return {double(toRight <= toLeft ? right->y : (right - 1)->y), true};
    if (!(toLeft + toRight <= mostBetween))
        return {};
    return {between(double((right - 1)->y), double(right->y), toLeft / (toLeft + toRight)), false};
}

std::size_t ScanSurface::rowBehind(double scan) const {
    return std::size_t(std::upper_bound(rows_.begin(), rows_.end(), scan,
                                        [](double value, const Row& row) { return value < row.scan; }) -
                       rows_.begin());
}

std::size_t ScanSurface::rowAt(double scan) const {
    const std::size_t behind = rowBehind(scan);
    const bool isBefore = behind > 0 && isShownAs(rows_[behind - 1].scan, scan);
    const bool isBehind = behind < rows_.size() && isShownAs(rows_[behind].scan, scan);
    if (isBefore && isBehind)
        return rows_[behind].scan - scan < scan - rows_[behind - 1].scan ? behind : behind - 1;
    if (isBefore)
        return behind - 1;
    return isBehind ? behind : rows_.size();
}

ScanSurface::Height ScanSurface::at(const ScanPlace& place) const {
    const std::size_t on = rowAt(place.scan);
    if (on < rows_.size())
        return rows_[on].at(place.x, mostBetweenPoints_);
    const std::size_t behind = rowBehind(place.scan);
    if (behind == 0 || behind == rows_.size())
        return {};
    const Row& first = rows_[behind - 1];
    const Row& second = rows_[behind];
    const double distance = second.scan - first.scan;
    if (!(distance <= mostBetweenProfiles_))
        return {};
    return {between(first.at(place.x, mostBetweenPoints_).value, second.at(place.x, mostBetweenPoints_).value,
                    (place.scan - first.scan) / distance),
            false};
}

void Section::add(double along, const ScanSurface::Height& height) {
    if (std::isnan(height.value))
        return;
    profile.points.append(KvPointXY(static_cast<float>(along), static_cast<float>(height.value)));
    ++(height.isMeasured ? measured : interpolated);
}

namespace {

Section sampled(const ScanSurface& surface, const ScanPlace& from, const ScanPlace& to, double spacing,
                double start) {
    Section section;
    section.from = from;
    section.to = to;
    const double length = std::hypot(to.x - from.x, to.scan - from.scan);
    if (!(spacing > 0 && (std::isnan(length) || length / spacing < kMostSectionPoints)))
        throw Error(filledIn("a section of %1 mm with points %2 mm apart; take a larger \1spacing\2", length,
                             spacing));
    const double count = std::floor(length / spacing + 1e-6);
    for (double i = 0; i <= count; ++i) {
        const double share = length > 0 ? i * spacing / length : 0;
        section.add(start + i * spacing,
                    surface.at({between(from.x, to.x, share), between(from.scan, to.scan, share)}));
    }
    return section;
}

}  // namespace

Section sectionAtScan(const ScanSurface& surface, double scan, double spacing) {
    const auto& rows = surface.rows();
    Section section;
    section.from = {surface.firstX(), scan};
    section.to = {surface.lastX(), scan};
    if (rows.empty())
        return section;
    if (!std::isnan(spacing))
        return sampled(surface, section.from, section.to, spacing, surface.firstX());
    std::size_t nearest = surface.rowAt(scan);
    const bool isMeasured = nearest < rows.size();
    if (!isMeasured) {
        const std::size_t behind = surface.rowBehind(scan);
        if (behind == 0 || behind == rows.size())
            return section;
        nearest = rows[behind].scan - scan < scan - rows[behind - 1].scan ? behind : behind - 1;
    }
    for (const KvPointXY& p : rows[nearest].points) {
        const ScanSurface::Height measured{double(p.y), true};
        section.add(double(p.x), isMeasured ? measured : surface.at({double(p.x), scan}));
    }
    return section;
}

Section sectionAtX(const ScanSurface& surface, double x, double spacing) {
    const auto& rows = surface.rows();
    Section section;
    if (rows.empty())
        return section;
    section.from = {x, rows.front().scan};
    section.to = {x, rows.back().scan};
    if (!std::isnan(spacing))
        return sampled(surface, section.from, section.to, spacing, section.from.scan);
    for (const ScanSurface::Row& row : rows)
        section.add(row.scan, row.at(x, surface.mostBetweenPoints()));
    return section;
}

Section sectionBetween(const ScanSurface& surface, const ScanPlace& from, const ScanPlace& to,
                       double spacing) {
    return sampled(surface, from, to, spacing, 0);
}

}  // namespace KvMeasure
