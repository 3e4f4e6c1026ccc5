// The points are searched in rows, each search from the triangle of the one before: neighbours lie over
// neighbours.

#include <kvmeasure/scans/scan_comparison.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/scans/master_surface_p.h>
#include <kvmeasure/scans/registration_in_space_p.h>
#include <kvmeasure/scans/stray_points_p.h>

#include <cmath>

namespace KvMeasure {

using Internal::MasterSurface;
using Internal::ScanRows;

namespace {

/// Deviations in the order of the rows; NaN beyond the master.
std::vector<float> deviationsOf(const ScanRows& rows, const MasterSurface& master,
                                const ScanComparisonSettings& settings, ScanComparison& result) {
    constexpr std::size_t kPointsAtOnce = 65'536;
    ProgressReport report(settings.progress, "comparing", static_cast<qint64>(rows.points.size()));
    std::vector<float> values;
    values.reserve(rows.points.size());
    std::uint32_t near = 0;
    for (const KvMath::KvPointXYZ& p : rows.points) {
        const SpaceVector point = result.registration.motion.apply({double(p.x), double(p.y), double(p.z)});
        const Internal::SurfacePlace place = master.nearest(point, near);
        near = place.triangle;
        result.beyond += place.isBeyond ? 1 : 0;
        values.push_back(place.isBeyond ? std::nanf("") : static_cast<float>(place.distance));
        if (values.size() % kPointsAtOnce == 0)
            report.show(static_cast<qint64>(values.size()));
    }
    report.show(static_cast<qint64>(values.size()));
    return values;
}

void take(const ScanRows& rows, std::size_t point, double value, const SpaceMotion& motion,
          ScanDeviation& extreme) {
    const KvMath::KvPointXYZ& p = rows.points[point];
    extreme.number = rows.order[point];
    extreme.value = value;
    extreme.point = motion.apply({double(p.x), double(p.y), double(p.z)});
}

void summarise(const ScanRows& rows, const std::vector<float>& values, const ScanComparisonSettings& settings,
               ScanComparison& result) {
    const SpaceMotion& motion = result.registration.motion;
    double sum = 0;
    double squares = 0;
    qint64 outside = 0;
    result.deviations.assign(values.size(), std::nanf(""));
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (std::isnan(values[i]))
            continue;
        const double value = double(values[i]);
        result.deviations[rows.order[i]] = values[i];
        if (!(value <= result.largest.value))
            take(rows, i, value, motion, result.largest);
        if (!(value >= result.smallest.value))
            take(rows, i, value, motion, result.smallest);
        ++result.compared;
        sum += value;
        squares += value * value;
        outside += value < settings.lower || value > settings.upper ? 1 : 0;
    }
    if (result.compared == 0) {
        result.reason = result.strays > 0 ? "no two neighbouring points of the scan lie over the master"
                                          : "no point of the scan lies over the master";
        return;
    }
    const auto n = static_cast<double>(result.compared);
    result.mean = sum / n;
    result.rms = std::sqrt(squares / n);
    result.bandValue = 2 * std::fabs(result.worst().value);
    if (settings.hasBand())
        result.shareOutside = static_cast<double>(outside) / n;
}

ScanComparison compareWith(const MasterSurface& master, const Scan& part,
                           const ScanComparisonSettings& settings) {
    ScanComparison result;
    constexpr qint64 kFewest = 3;
    if (part.points < kFewest) {
        result.reason = "the scan has fewer than three points";
        return result;
    }
    if (master.isEmpty()) {
        result.reason = "the master has no three neighbouring points that make a surface";
        return result;
    }
    const ScanRows rows(part);
    if (settings.alignment == Alignment::Registration)
        result.registration = Internal::registerScan(rows.points, master, settings.registration);
    std::vector<float> values = deviationsOf(rows, master, settings, result);
    if (settings.leavesStraysOut)
        result.strays = Internal::leaveStraysOut(rows, values);
    summarise(rows, values, settings, result);
    return result;
}

void check(const ScanComparisonSettings& settings) {
    if (!(settings.lower <= settings.upper))
        throw Error("\1band\2: its lower limit must not be above its upper one");
    if (settings.alignment == Alignment::Template)
        throw Error("\1alignment\2: a template lies on profiles; scans take \"registration\" or \"none\"");
}

}  // namespace

const ScanDeviation& ScanComparison::worst() const {
    return std::fabs(smallest.value) > std::fabs(largest.value) ? smallest : largest;
}

ScanComparison compareScans(const Scan& part, const Scan& master, const ScanComparisonSettings& settings) {
    check(settings);
    return compareWith(MasterSurface(master), part, settings);
}

ScanComparison compareWithPlane(const Scan& part, const HeightPlane& plane,
                                const ScanComparisonSettings& settings) {
    check(settings);
    return compareWith(MasterSurface(plane), part, settings);
}

}  // namespace KvMeasure
