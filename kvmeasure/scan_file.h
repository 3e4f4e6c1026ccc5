#pragma once
// 3D scans from files of every form, told apart by their content: stacks of profile records, cloud records,
// PLY, XYZ text, CSV grids, and raw height maps with a description beside them.
//
// Axes of a scan, mm: x along the laser line, y the height, z the position along the scan.

#include <kvmath/core/point_cloud.h>
#include <kvmath/profile/profile_zset.h>

#include <QtCore/QFile>
#include <QtCore/QString>

#include <algorithm>
#include <limits>

namespace KvMeasure {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

constexpr int largestScan = 20'000'000;  ///< points
constexpr int mostProfiles = 1'000'000;

/// How a file is to be understood where it does not say so itself.
struct ScanOptions {
    QString map;              ///< description of a raw height map; empty: looked for beside the file
    bool heightLast = false;  ///< points of clouds are (x, scan, height) instead of (x, height, scan)
    double step = std::numeric_limits<double>::quiet_NaN();  ///< > 0: profile i lies at start + i * step
    double start = 0;
};

/// A scan in memory: profiles in order, or points without order. Points with an unset coordinate are left
/// out and counted.
struct Scan {
    QString form;  ///< e.g. "profile records"
    bool isStack = false;
    KvMath::KvProfileZSet stack;  ///< when isStack
    Cloud cloud;                  ///< otherwise
    qint64 points = 0;
    qint64 unset = 0;

    void add(const KvMath::KvPointXYZ& point);                ///< to the cloud
    void add(KvMath::KvProfileZ& profile, float x, float y);  ///< to a profile of the stack
    void add(const KvMath::KvProfileZ& profile) { stack.append(profile); }
    /// Calls visit(x, position, height) for every point of a scan, const or not.
    template <class AnyScan, class Visit>
    static void forEachPoint(AnyScan& scan, const Visit& visit) {
        for (auto& profile : scan.stack.profiles) {
            for (auto& p : profile.points)
                visit(p.x, profile.z, p.y);
        }
        for (auto& p : scan.cloud.points)
            visit(p.x, p.z, p.y);
    }
    /// Leaves out the points for which isKept(x, position, height) is false.
    template <class IsKept>
    void keep(const IsKept& isKept) {
        const auto take = [](auto& all, const auto& isGone) {
            all.erase(std::remove_if(all.begin(), all.end(), isGone), all.end());
        };
        for (KvMath::KvProfileZ& profile : stack.profiles)
            take(profile.points, [&](const KvMath::KvPointXY& p) { return !isKept(p.x, profile.z, p.y); });
        take(cloud.points, [&](const KvMath::KvPointXYZ& p) { return !isKept(p.x, p.z, p.y); });
        countPoints();
    }
    void countPoints();                           ///< those of the stack and the cloud
    void requireRoom(const QString& path) const;  ///< throws Failure beyond the limits above
};

/// Reads a whole file; memory is bounded by its size and the limits above. Throws Failure for what cannot be
/// read, with the place of the damage: half a scan is never returned.
Scan loadScan(const QString& path, const ScanOptions& options);

/// True when loadScan takes the file as a scan at first sight: a profile with z, an XYZ cloud, PLY, a grid,
/// or a raw map with its description. Reads no more than the beginning.
bool looksLikeScan(const QString& path);
bool isRecordFile(const QString& path);  ///< begins with the marker of a binary record

/// The profiles of a scan. The points of a cloud become profiles by equal z, in order of their first points;
/// a cloud that has fewer than two points for each z has no profiles and is refused: slice it first.
KvMath::KvProfileZSet takeStack(Scan& scan, const QString& path);
void takeCloud(Scan& scan, Cloud& cloud);

}  // namespace KvMeasure
