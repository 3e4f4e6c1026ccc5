#pragma once
// The deviations of a scan from its master: as a coloured map, and as a coloured cloud for viewers.

#include <kvmeasure/base/global.h>
#include <kvmeasure/scans/scan_comparison.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

/// What map and cloud show.
struct DeviationMap {
    QString title;                                            ///< first line
    const Scan* scan = nullptr;                               ///< that was compared; of the caller, must live
    const ScanComparison* comparison = nullptr;               ///< of this scan; of the caller, must live
    double lower = -std::numeric_limits<double>::infinity();  ///< mm, limits of the deviations, as compared;
    double upper = std::numeric_limits<double>::infinity();   ///< infinite: none
};

/// An SVG document: the scan from above as it was laid on the master, x to the right, the scan upwards, equal
/// scale; blue below the master, white on it, red above, with the scale in mm. The colours span the limits,
/// without limits the deviations of 99 % of the points, both ways from 0. Cells are as wide as a pixel or as
/// the points are apart, and show means. Grey are points that do not count. The largest and smallest
/// deviation are marked. Without scan, comparison or points: the title alone.
KVMEASURE_EXPORT QByteArray drawDeviationMap(const DeviationMap& map);

/// Writes the points that count, where they lie on the master, as binary PLY with properties x, y, z (mm),
/// `deviation` (mm, float) and red, green, blue as in the map. `heightLast`: y is along the scan and z the
/// height, otherwise the other way round. The file appears when it is complete. Throws Error where it cannot
/// be written and where `progress`, told in points, cancels. Without scan or comparison: no points.
KVMEASURE_EXPORT void writeDeviationCloud(const QString& path, const DeviationMap& map, bool heightLast,
                                          const Progress& progress = {});

}  // namespace KvMeasure
