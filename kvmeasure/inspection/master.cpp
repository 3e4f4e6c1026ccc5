#include <kvmeasure/inspection/master.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/inspection/region.h>

#include <QtCore/QFileInfo>

namespace KvMeasure {

const QStringList& alignmentWords() {
    static const QStringList words{"none", "registration", "template"};
    return words;
}

QString PlanMaster::text() const {
    const QString points = filledIn("%1 points", static_cast<int>(profile.points.size()));
    QString words = filledIn("%1: %2, align %3", name,
                             file.isEmpty() ? points : QFileInfo(file).fileName() + " (" + points + ')',
                             alignmentWords().value(static_cast<int>(alignment)));
    if (keepsAll)
        words += ", all points";
    if (std::isfinite(lower) && std::isfinite(upper))
        words += filledIn(", band %1..%2", lower, upper);
    else if (hasBand())
        words += std::isfinite(lower) ? filledIn(", band %1..", lower) : filledIn(", band ..%1", upper);
    return words;
}

QString PlanMaster::fault() const {
    if (!isPlanName(name))
        return filledIn("\"%1\" is no name: letters, digits, - and _, and not a number", name);
    int finite = 0;
    for (const KvMath::KvPointXY& point : profile.points)
        finite += isFinite(point) ? 1 : 0;
    if (finite < 2)
        return "a master needs two points";
    return lower <= upper ? QString() : QString("the band needs its least deviation first");
}

}  // namespace KvMeasure
