// Points of regions, lines and noise are worked out when a tool first asks, once per profile. An anchor may
// read a region that is at another anchor; a region that is asked for while it is being filled is one that
// depends on itself. A region costs a pass over the points, its line a robust fit.

#include <kvmeasure/inspection/tool_input.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/profiles/profile_noise.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace KvMeasure {

namespace {

/// The first of the extreme points; the order of `isBefore` is strict.
template <class Before>
Vector extremePoint(const std::vector<Vector>& points, const Before& isBefore) {
    return *std::min_element(points.begin(), points.end(), isBefore);
}

Vector centroid(const std::vector<Vector>& points) {
    Vector sum(0, 0);
    for (const Vector& point : points)
        sum = Vector(sum.x + point.x, sum.y + point.y);
    const auto count = double(points.size());
    return {sum.x / count, sum.y / count};
}

/// Takes all points where they are finite. Without branches in the loops, which take several at a time.
bool takeFinite(const KvMath::KvProfile& profile, std::vector<Vector>& points, bool& ascends) {
    constexpr quint32 kExponent = 0x7f800000;  // all ones in infinite values and NaN
    const auto isNone = [](float value) {
        quint32 bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        return quint32((bits & kExponent) == kExponent);
    };
    const auto from = profile.points.constBegin();
    const auto count = static_cast<int>(points.size());
    quint32 none = 0;
    quint32 falls = 0;
    for (int i = 0; i < count; ++i)
        none |= isNone(from[i].x) | isNone(from[i].y);
    for (int i = 1; i < count; ++i)
        falls |= quint32(from[i].x < from[i - 1].x);
    ascends = falls == 0;
    for (int i = 0; none == 0 && i < count; ++i)
        points[std::size_t(i)] = Vector(double(from[i].x), double(from[i].y));
    return none == 0;
}

/// The finite points; true where their x never falls.
bool takePoints(const KvMath::KvProfile& profile, std::vector<Vector>& points) {
    points.resize(std::size_t(profile.points.size()));
    bool ascends = true;
    if (takeFinite(profile, points, ascends))
        return ascends;
    ascends = true;
    std::size_t count = 0;
    float before = -std::numeric_limits<float>::infinity();
    for (const KvMath::KvPointXY& point : profile.points) {
        const float none = (point.x - point.x) + (point.y - point.y);  // NaN unless both are finite
        if (none != 0)
            continue;
        points[count++] = Vector(double(point.x), double(point.y));
        ascends = ascends && point.x >= before;
        before = point.x;
    }
    points.resize(count);
    return ascends;
}

/// Numbers of points, [from, to).
struct Run {
    std::size_t from = 0, to = 0;
};

/// Takes the points of some of all that `holds` wants, and tells which these are; none where others lie
/// between them.
template <class Holds>
Run takeSome(const std::vector<Vector>& all, const Run& some, const Holds& holds,
             std::vector<Vector>& points) {
    Run run;
    for (std::size_t i = some.from; i < some.to; ++i) {
        if (!holds(all[i]))
            continue;
        run.from = points.empty() ? i : run.from;
        run.to = i + 1;
        points.push_back(all[i]);
    }
    return run.to - run.from == points.size() ? run : Run();
}

/// Takes the points that a region holds where it was taught.
Run takeHeld(const Region& region, const std::vector<Vector>& all, bool ascends,
             std::vector<Vector>& points) {
    auto from = all.begin();
    auto to = all.end();
    if (ascends) {
        from = std::lower_bound(from, to, region.minX, [](const Vector& p, double x) { return p.x < x; });
        to = std::upper_bound(from, to, region.maxX, [](double x, const Vector& p) { return x < p.x; });
    }
    const Run some{std::size_t(from - all.begin()), std::size_t(to - all.begin())};
    constexpr double kEndless = std::numeric_limits<double>::infinity();
    const bool isOpen = region.minZ == -kEndless && region.maxZ == kEndless;
    if (ascends && isOpen) {
        points.assign(from, to);
        return some;
    }
    return takeSome(
        all, some, [&](const Vector& point) { return region.contains(point.x, point.y); }, points);
}

/// Where the way from a point outside to one of the region crosses its left or right side.
RegionPoints::Crossing crossingOf(const Region& region, const RegionPoints& filled, const Vector& outside,
                                  const Vector& inside) {
    RegionPoints::Crossing crossing;
    const Vector from = Frame::moved(outside, filled.found, filled.taught);
    const Vector to = Frame::moved(inside, filled.found, filled.taught);
    const double side = from.x < region.minX ? region.minX : region.maxX;
    const double share = (side - from.x) / (to.x - from.x);
    const double height = from.y + share * (to.y - from.y);
    if (!(share >= 0 && share <= 1 && height >= region.minZ && height <= region.maxZ))
        return crossing;
    crossing.at =
        Vector(outside.x + share * (inside.x - outside.x), outside.y + share * (inside.y - outside.y));
    crossing.step = std::fabs(inside.x - outside.x);
    return crossing;
}

}  // namespace

ToolInput::ToolInput(const QList<Region>& regions, const QList<Anchor>& anchors)
    : regions_(regions), anchors_(anchors), entries_(std::size_t(regions.size())) {
    for (int i = static_cast<int>(regions_.size()) - 1; i >= 0; --i)
        regionOf_[regions_.at(i).name] = i;
    for (int i = static_cast<int>(anchors_.size()) - 1; i >= 0; --i)
        anchorOf_[anchors_.at(i).name] = i;
}

void ToolInput::load(const KvMath::KvProfile& profile, const QList<FoundLine>& templateLines,
                     const KvMath::KvProfile& second) {
    lines_ = templateLines;
    ascends_ = takePoints(profile, points_);
    secondAscends_ = takePoints(second, second_);
    noise_.reset();
    pointNoise_.reset();
    for (Entry& entry : entries_) {
        entry.state = Unknown;
        entry.hasLine = entry.hasSpacing = false;
        entry.surfaceTime = 0;
    }
}

const RegionPoints& ToolInput::region(const QString& name) const {
    const int index = regionOf_.value(name, -1);
    if (index < 0) {
        unknown_.reason = filledIn("there is no region \"%1\"", name);
        return unknown_;
    }
    Entry& entry = entries_[std::size_t(index)];
    if (entry.state == Busy) {
        unknown_.reason = filledIn("the anchor of region \"%1\" depends on the region itself", name);
        return unknown_;
    }
    if (entry.state == Unknown) {
        entry.state = Busy;
        fill(index);
        entry.state = Known;
    }
    return entry.points;
}

const LineFit& ToolInput::line(const QString& name) const {
    const RegionPoints& points = region(name);
    const int index = regionOf_.value(name, -1);
    if (index < 0 || entries_[std::size_t(index)].state != Known) {
        unknownLine_.reason = points.reason;
        return unknownLine_;
    }
    Entry& entry = entries_[std::size_t(index)];
    if (!entry.hasLine) {
        entry.line = fitLine(points.points);
        entry.hasLine = true;
        noise_.reset();
        if (points.isEmpty())
            entry.line.reason = points.reason;
    }
    return entry.line;
}

/// The entry of a region whose points are known; an empty one where there is none.
ToolInput::Entry& ToolInput::knownEntry(const QString& name) const {
    region(name);
    const int index = regionOf_.value(name, -1);
    if (index >= 0 && entries_[std::size_t(index)].state == Known)
        return entries_[std::size_t(index)];
    unknownEntry_ = Entry();
    return unknownEntry_;
}

const PointSpacing& ToolInput::spacing(const QString& name) const {
    Entry& entry = knownEntry(name);
    if (!entry.hasSpacing)
        entry.spacing = spacingOf(entry.points.points);
    entry.hasSpacing = true;
    return entry.spacing;
}

const std::vector<double>& ToolInput::surface(const QString& name) const {
    Entry& entry = knownEntry(name);
    const double time = pointNoise().correlationTime;
    if (entry.surfaceTime != time) {  // always for NaN
        std::vector<double> heights;
        heights.reserve(entry.points.points.size());
        for (const Vector& point : entry.points.points)
            heights.push_back(point.y);
        entry.surface = smoothHeights(heights, time);
        entry.surfaceTime = time;
    }
    return entry.surface;
}

NoiseModel ToolInput::noise(const ResidualNoise& further) const {
    constexpr int kOfLine = 2;
    for (const QString& name : lineRegions_)
        line(name);
    if (further.isEmpty() && noise_)
        return *noise_;
    ResidualNoise noise = knownNoise_;
    for (int i = 0; i < static_cast<int>(entries_.size()); ++i) {
        const Entry& entry = entries_[std::size_t(i)];
        const bool isMeant = lineRegions_.isEmpty() || lineRegions_.contains(regions_.at(i).name);
        if (isMeant && entry.hasLine && entry.line.isFound())
            noise.add(entry.line.residuals, kOfLine);
    }
    noise.add(further);
    NoiseModel model = noise.model();
    if (further.isEmpty())
        noise_ = model;
    return model;
}

const NoiseModel& ToolInput::pointNoise() const {
    if (pointNoise_)
        return *pointNoise_;
    pointNoise_ = lineRegions_.isEmpty() ? NoiseModel() : noise();
    if (!std::isfinite(pointNoise_->correlationTime))
        pointNoise_ = profileNoise(points_);
    return *pointNoise_;
}

void ToolInput::fill(int index) const {
    const Region& region = regions_.at(index);
    RegionPoints& filled = entries_[std::size_t(index)].points;
    filled.points.clear();
    filled.taught = filled.found = Frame();
    filled.reason = region.fault().isEmpty() ? place(region, filled) : region.fault();
    if (!filled.reason.isEmpty())
        return;
    const std::vector<Vector>& all = region.isOfSecond ? second_ : points_;
    const auto isInMoved = [&](const Vector& point) {
        const Vector taught = Frame::moved(point, filled.found, filled.taught);
        return region.contains(taught.x, taught.y);
    };
    const Run run = region.anchor.isEmpty()
                        ? takeHeld(region, all, region.isOfSecond ? secondAscends_ : ascends_, filled.points)
                        : takeSome(all, {0, all.size()}, isInMoved, filled.points);
    filled.entry = filled.exit = RegionPoints::Crossing();
    if (run.to > run.from && run.from > 0)
        filled.entry = crossingOf(region, filled, all[run.from - 1], all[run.from]);
    if (run.to > run.from && run.to < all.size())
        filled.exit = crossingOf(region, filled, all[run.to], all[run.to - 1]);
    if (filled.points.empty())
        filled.reason = all.empty()
                            ? QString(region.isOfSecond ? "there is no second profile, or it has no points"
                                                        : "the profile has no points")
                            : filledIn("no point lies in region \"%1\"", region.name);
}

/// Where the region is: nothing, or why that is not known.
QString ToolInput::place(const Region& region, RegionPoints& points) const {
    if (region.anchor.isEmpty())
        return QString();
    const int index = anchorOf_.value(region.anchor, -1);
    if (index < 0)
        return findTemplateLine(region.anchor, points.found);
    points.taught = anchors_.at(index).taught;
    return findAnchor(anchors_.at(index), points.found);
}

QString ToolInput::findTemplateLine(const QString& name, Frame& found) const {
    for (const FoundLine& line : lines_) {
        if (line.name == name) {
            found = {middle(line.line.p1, line.line.p2), direction(line.line) / kDegreesPerRadian};
            return QString();
        }
    }
    return filledIn("anchor \"%1\" is not found: no such line of a template was matched", name);
}

QString ToolInput::findLine(const Anchor& anchor, Frame& found) const {
    const LineFit& fit = line(anchor.source);
    if (!fit.isFound())
        return filledIn("anchor \"%1\" is not found: %2", anchor.name, fit.reason);
    found = {fit.pointAt(fit.placeOf(anchor.taught.place)), std::atan2(fit.along.y, fit.along.x)};
    return QString();
}

QString ToolInput::findAnchor(const Anchor& anchor, Frame& found) const {
    if (anchor.kind == Anchor::TemplateLine)
        return findTemplateLine(anchor.source, found);
    const RegionPoints& source = region(anchor.source);
    if (source.isEmpty())
        return filledIn("anchor \"%1\" is not found: %2", anchor.name, source.reason);
    if (anchor.kind == Anchor::Line)
        return findLine(anchor, found);
    const std::vector<Vector>& points = source.points;
    found.turn = anchor.taught.turn;
    switch (anchor.kind) {
    case Anchor::Highest:
        found.place = extremePoint(points, [](const Vector& a, const Vector& b) { return a.y > b.y; });
        break;
    case Anchor::Lowest:
        found.place = extremePoint(points, [](const Vector& a, const Vector& b) { return a.y < b.y; });
        break;
    case Anchor::Leftmost:
        found.place = extremePoint(points, [](const Vector& a, const Vector& b) { return a.x < b.x; });
        break;
    case Anchor::Rightmost:
        found.place = extremePoint(points, [](const Vector& a, const Vector& b) { return a.x > b.x; });
        break;
    default:
        found.place = centroid(points);
        break;
    }
    return QString();
}

}  // namespace KvMeasure
