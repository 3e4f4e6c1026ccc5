// A section is measured twice: as the library measures wheels, on three planes that a scanner would see of
// the wheel with this section, and as gauges do, on the section itself.

#include "cli/wheels/section_file.h"

#include "cli/console.h"
#include "cli/parameters.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/wheels/section_uncertainty.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

/// The points of a file as heights over lateral positions, upright.
std::vector<Vector> heightsOf(const SectionFile& section) {
    std::vector<Vector> points;
    points.reserve(section.file.points.size());
    SectionTurn turn = section.upright.turn;
    turn.isMirrored = false;
    const bool isAsItStands = !turn.areExchanged && !turn.isUpsideDown;
    for (const Vector& p : section.file.points)
        points.push_back(isAsItStands ? p : turn.applied(p));
    return points;
}

SectionFile readSection(const QString& path, const SectionOptions& options) {
    SectionFile section;
    section.file = readGaugeProfile(path, options.text);
    if (!section.file.warning.isEmpty() && options.isOfList)
        section.file.notes.append(section.file.warning);
    else if (!section.file.warning.isEmpty())
        complain(withParameters(section.file.warning, optionOf));
    if (section.file.points.empty())
        throw Error(path + ": holds no points");
    section.upright = wheelSection(section.file, options.values.back);
    double from = 1e300, to = -1e300;
    Vector tip(0, -1e300);
    for (const Vector& p : heightsOf(section)) {
        section.radii.emplace_back(p.x, options.areRadii ? p.y : options.diameter / 2 + p.y);
        from = std::min(from, p.x);
        to = std::max(to, p.x);
        if (section.radii.back().y > tip.y)
            tip = section.radii.back();
    }
    section.direction = tip.x - from > to - tip.x ? -1 : 1;
    for (Vector& point : section.radii)
        point.x *= section.direction;
    if (!(tip.y > 0))
        throw Error(path + ": no radius is above 0; is --diameter right?");
    if (section.direction * options.values.back >= section.direction * tip.x)
        throw Error(filledIn("%1: --back: %2 is not behind the flange tip, which lies at %3", path,
                             options.values.back, tip.x));
    return section;
}

/// What a scanner at this X would see of the wheel that stands over X = 0, its axis at Z = 0.
Cloud seenAt(const std::vector<Vector>& section, double x) {
    Cloud cloud;
    for (const Vector& point : section) {
        if (point.y > std::fabs(x))
            cloud.points.append({static_cast<float>(x), static_cast<float>(point.x),
                                 static_cast<float>(-std::sqrt(point.y * point.y - x * x))});
    }
    return cloud;
}

/// A wheel with this section, as three planes see it.
WheelResult measureSection(const std::vector<Vector>& radii, double tip, const ValueOptions& options,
                           MeasuredSection& section) {
    constexpr double kShare = 0.4;  // of the radius: the place of the outer planes
    WheelResult wheel;
    ValueOptions ofSection = options;
    ofSection.isSection = true;
    const Cloud middle = seenAt(radii, 0);
    if (!KvMath::ORBIS_calcWheel(seenAt(radii, -kShare * tip), middle, seenAt(radii, kShare * tip),
                                 wheel.circle, 0, nullptr))
        wheel.notes.append(QString("the circle takes 50 points, and the section has %1").arg(radii.size()));
    else if (isWheelCircle(wheel))
        calcWheelValues(ofSection, middle, wheel, section);
    return wheel;
}

}  // namespace

void withholdSize(WheelResult& wheel) {
    if (!std::isfinite(wheel.circle.radius))
        return;
    wheel.circle = KvMath::KvCircle();
    wheel.notes.append(
        "a section alone has no radius and no running diameter: --diameter or --radii give them");
}

void measureGauge(const WheelSection& section, const SectionOptions& options, MeasuredFile& measured) {
    const WheelSection* nominal = options.nominal.points.empty() ? nullptr : &options.nominal;
    measured.gauge = gaugeValues(section, options.places);
    if (nominal != nullptr) {
        measured.wear = wheelWear(section, *nominal, options.alignment, options.places);
        measured.gauge.values.insert(measured.gauge.values.end(), measured.wear.values.begin(),
                                     measured.wear.values.end());
    }
    addUncertainties(section, nominal, options.alignment, options.places, measured.gauge.values);
}

double diameterOf(const MeasuredFile& measured, const SectionOptions& options) {
    if (options.isSizeKnown)
        return 2 * (static_cast<double>(measured.wheel.circle.radius) - measured.wheel.values.value[0]);
    return measured.section.file.number("DiameterTaperline");
}

MeasuredFile measureFile(const QString& path, const SectionOptions& options) {
    MeasuredFile measured;
    measured.section = readSection(path, options);
    const SectionFile& read = measured.section;
    const double tip =
        std::max_element(read.radii.begin(), read.radii.end(), [](const Vector& a, const Vector& b) {
            return a.y < b.y;
        })->y;
    ValueOptions values = options.values;
    values.back *= read.direction;
    measured.wheel = measureSection(read.radii, tip, values, measured.seen);
    measureGauge(read.upright, options, measured);
    measured.verdicts = judge(options.limits, measured.gauge.values, diameterOf(measured, options));
    return measured;
}

bool isComplete(const MeasuredFile& measured) {
    const std::vector<SectionValue>& values = measured.gauge.values;
    return measured.wheel.isComplete() &&
           std::all_of(values.begin(), values.end(), [](const SectionValue& value) {
               const bool isNeeded =
                   value.key.startsWith('S') || value.key == "qR" || value.key == "flangeAngle";
               return !isNeeded || value.isKnown();
           });
}

ReferenceSection referenceSection(const QString& path, const SectionOptions& options) {
    const SectionFile read = readSection(path, options);
    std::vector<Vector> radii = read.radii;
    std::stable_sort(radii.begin(), radii.end(), [](const Vector& a, const Vector& b) { return a.x < b.x; });
    const auto tip = std::max_element(radii.begin(), radii.end(),
                                      [](const Vector& a, const Vector& b) { return a.y < b.y; });
    MeasuredSection section;
    ValueOptions values = options.values;
    values.back *= read.direction;
    const WheelResult wheel = measureSection(radii, tip->y, values, section);
    if (!wheel.isComplete())
        throw Error(path + ": no section of a wheel: " + wheel.notes.join("; "));
    if (wheel.back == FlangeBack::Assumed)
        throw Error(path + ": " + wheel.notes.join("; ") + "; --back gives its place");
    std::vector<double> laterals, heights;
    for (const Vector& point : radii) {
        const double lateral = point.x - wheel.backY;
        if (lateral < 0 || (!laterals.empty() && !(lateral > laterals.back())))
            continue;
        laterals.push_back(lateral);
        heights.push_back(point.y);
    }
    return {laterals, heights};
}

}  // namespace KvMeasure
