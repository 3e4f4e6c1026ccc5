#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_file.h"
#include "kvmeasure/wheel_picture.h"
#include "kvmeasure/wheel_report.h"
#include "kvmeasure/wheels.h"

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

/// Points of a section as radii over a lateral position that grows away from the flange.
std::vector<Vector> radiiOf(const QString& path, const SectionOptions& options) {
    const KvMath::KvProfile profile = loadProfile(path, options.columns, 0).profile;
    if (profile.points.isEmpty())
        throw Failure{path + ": holds no points"};
    std::vector<Vector> section;
    double from = 1e300, to = -1e300;
    Vector tip(0, -1e300);
    for (const KvMath::KvPointXY& p : profile.points) {
        const double x = static_cast<double>(p.x), y = static_cast<double>(p.y);
        section.emplace_back(x, options.areRadii ? y : options.diameter / 2 + y);
        from = std::min(from, x);
        to = std::max(to, x);
        if (section.back().y > tip.y)
            tip = section.back();
    }
    if (tip.x - from > to - tip.x) {
        for (Vector& point : section)
            point.x = -point.x;
    }
    if (!(tip.y > 0))
        throw Failure{path + ": no radius is above 0; is --diameter right?"};
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

QStringList cellsOf(const QString& path, const WheelResult& wheel) {
    QStringList cells{path};
    for (const int i : {0, 9, 1, 8})
        cells << mm(wheel.values.value[i]);
    return cells << mm(static_cast<double>(wheel.circle.radius));
}

}  // namespace

int measureSections(const QStringList& paths, const SectionOptions& options) {
    Table table(
        {"section", "flange height", "flange thickness", "position 18", "height deviation", "radius"});
    QJsonArray array;
    bool isComplete = true;
    for (const QString& path : paths) {
        const std::vector<Vector> radii = radiiOf(path, options);
        const double tip = std::max_element(radii.begin(), radii.end(), [](const Vector& a, const Vector& b) {
                               return a.y < b.y;
                           })->y;
        constexpr double share = 0.4;  // of the radius: the three planes that see the wheel
        WheelResult wheel;
        MeasuredSection section;
        const Cloud middle = seenAt(radii, 0);
        if (KvMath::ORBIS_calcWheel(seenAt(radii, -share * tip), middle, seenAt(radii, share * tip),
                                    wheel.circle, 0, nullptr))
            calcWheelValues(options.kind, middle, wheel.circle, wheel.values, section);
        isComplete = isComplete && wheel.isComplete();
        table.add(cellsOf(path, wheel));
        QJsonObject json = wheelValuesJson(wheel.values);
        json["file"] = path;
        json["radius"] = jsonNumber(static_cast<double>(wheel.circle.radius));
        array.append(json);
        if (options.picture.isEmpty())
            continue;
        WheelPicture picture;
        picture.title = path.section('/', -1);
        picture.subtitle = QString("%1 points").arg(middle.points.size());
        picture.profile = section.profile;
        picture.places = section.places;
        picture.values = wheel.values;
        picture.radius = wheel.circle.radius;
        writeOutputFile(paths.size() == 1
                            ? options.picture
                            : partPath(options.picture, path.section('/', -1).section('.', 0, -2)),
                        drawWheel(picture));
    }
    if (options.isJson)
        printJson({{"sections", array}});
    else
        print(table.text());
    return isComplete ? Done : NotMet;
}

}  // namespace KvMeasure
