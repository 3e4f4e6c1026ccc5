#include <kvmeasure/report/scan_sketch.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/scan_picture.h>
#include <kvmeasure/scans/height_grid.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;

void ScanSketch::add(double position, const KvMath::KvProfile& profile) {
    if (!std::isfinite(position))
        return;
    const auto z = static_cast<float>(position);
    for (const KvPointXY& p : profile.points)
        sample_.add(p.x, p.y, z);
    if (taken_++ % stride_ != 0)
        return;
    KvMath::KvProfileZ line;
    line.z = z;
    const int count = static_cast<int>(profile.points.size());
    const int step = (count + kMostPoints - 1) / kMostPoints;
    for (int i = 0; i < count; i += step) {
        const KvPointXY& p = profile.points[i];
        if (isFinite(p))
            line.points.append(p);
    }
    map_.append(line);
    if (map_.profiles.size() <= kMostProfiles)
        return;
    stride_ *= 2;
    QList<KvMath::KvProfileZ> kept;
    for (int i = 0; i < static_cast<int>(map_.profiles.size()); i += 2)
        kept.append(map_.profiles[i]);
    map_.profiles.swap(kept);
}

void ScanSketch::addTo(HtmlPage& page, const QString& name) const {
    const auto& lines = map_.profiles;
    const bool isScan = lines.size() >= 3 && std::any_of(lines.begin(), lines.end(), [&](const auto& line) {
                            return line.z != lines.first().z;
                        });
    if (!isScan || sample_.points().empty())
        return;
    page.addHeading("Scan");
    page.addCloud(name, sample_);
    try {
        ScanPicture picture;
        picture.title = "heights from above";
        picture.grid = makeGrid(map_, estimateSteps(map_), name);
        page.addPicture(lines.size() < taken_
                            ? filledIn("%1: %2 of %3 profiles, evenly taken", name, lines.size(), taken_)
                            : filledIn("%1: %2 profiles", name, taken_),
                        drawScan(picture));
    } catch (const Error&) {
        page.addText("There is no map of heights: the places of the points do not make a grid.");
    }
}

}  // namespace KvMeasure
