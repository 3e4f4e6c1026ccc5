#pragma once
// 3D scans from files of every form, told apart by their content: stacks of profile records, cloud records,
// PLY, XYZ text, CSV grids, and raw height maps with a description beside them.
//
// Axes of a scan, mm: x along the laser line, y the height, z the position along the scan.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/length_unit.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/profiles/unset_values.h>

#include <kvmath/core/point_cloud.h>
#include <kvmath/profile/profile_zset.h>

#include <QtCore/QFile>
#include <QtCore/QString>

#include <algorithm>
#include <limits>
#include <memory>

namespace KvMeasure {

/// Points of a scan without order: x, y the height, z the position, mm.
using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

constexpr int kLargestScan = 20'000'000;  ///< points of a scan at most
constexpr int kMostProfiles = 1'000'000;  ///< profiles of a scan at most

/// How a file is to be understood where it does not say so itself.
struct ScanOptions {
    QString map;              ///< description of a raw height map; empty: looked for beside the file
    bool heightLast = false;  ///< points of clouds are (x, scan, height) instead of (x, height, scan)
    double step = std::numeric_limits<double>::quiet_NaN();  ///< finite, > 0: profile i lies at start + i *
                                                             ///< step, mm; NaN: where the file says
    double start = 0;                                        ///< position of the first one, mm; with `step`
    QList<LengthUnit> units;  ///< of x, y and z of points in text and PLY, or one for all; empty: the
                              ///< heading's, or mm
    UnsetValues unset;        ///< heights, and places, that stand for nothing
    Progress progress;        ///< told in bytes, of height maps in rows
};

/// A scan in memory: profiles in order, or points without order. Points with an unset coordinate are left
/// out and counted. A value: whoever holds it owns all of it.
struct KVMEASURE_EXPORT Scan {
    QString form;                 ///< what the file holds, e.g. "profile records", for messages
    bool isStack = false;         ///< true: profiles; false: a cloud
    bool hasUnits = false;        ///< its form leaves the unit of its points open
    KvMath::KvProfileZSet stack;  ///< the profiles of a stack; otherwise empty
    Cloud cloud;                  ///< the points of a cloud; otherwise empty
    qint64 points = 0;            ///< how many there are; after changes of stack or cloud see countPoints
    qint64 unset = 0;             ///< how many were left out
    QString doubt;                ///< of a height that may be none, and what to do; empty for none

    /// Appends a point to the cloud; one with a coordinate that is not finite only counts as unset.
    void add(const KvMath::KvPointXYZ& point);
    /// Appends a point to a profile that is not yet in the stack; likewise counted.
    void add(KvMath::KvProfileZ& profile, float x, float y);
    /// Appends a copy of a profile to the stack. Its points were counted when they were added to it.
    void add(const KvMath::KvProfileZ& profile) { stack.append(profile); }
    /// Calls visit(x, position, height) for every point of a scan, const or not: first the stack, profile by
    /// profile, then the cloud. From a scan that is not const, visit may take references and change them.
    template <class AnyScan, class Visit>
    static void forEachPoint(AnyScan& scan, const Visit& visit) {
        for (auto& profile : scan.stack.profiles) {
            for (auto& p : profile.points)
                visit(p.x, profile.z, p.y);
        }
        for (auto& p : scan.cloud.points)
            visit(p.x, p.z, p.y);
    }
    /// Leaves out the points for which isKept(x, position, height) is false, and counts the rest. Profiles
    /// that lose all of their points stay.
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
    void countPoints();  ///< sets `points` to those of the stack and the cloud
    /// Throws Error in the file `path` beyond kLargestScan or kMostProfiles.
    void requireRoom(const QString& path) const;
};

/// Reads a whole file; memory is bounded by its size and the limits above. The form is told by the content.
/// The scan has at least one point. A cloud of PLY, XYZ or a cloud record is not divided into profiles.
///
/// Throws Error, never returning half a scan: no regular file, an empty file, an unknown form, damage (with
/// its line or offset), no point with numbers, too many points or profiles, profiles and clouds in one file;
/// options that do not fit the form (`units`: two of them, or for other forms than text and PLY;
/// `heightLast` with profiles; `step` with points, and its absence where profiles have no position; `unset`
/// with a height map, whose description says it). Cancelling throws Error too.
KVMEASURE_EXPORT Scan loadScan(const QString& path, const ScanOptions& options);
/// The same from the beginning of a file that is open. `path` is its name in messages.
KVMEASURE_EXPORT Scan loadScan(const std::shared_ptr<QFile>& file, const QString& path,
                               const ScanOptions& options);

/// True when loadScan takes the file as a scan at first sight: a profile with z, an XYZ cloud, PLY, a grid,
/// or a raw map with its description. Reads no more than the beginning; false for an empty file. XYZ text
/// looks like a profile: false. Throws Error for what is no regular file or cannot be opened, and for a
/// damaged description beside what may be a raw map.
KVMEASURE_EXPORT bool looksLikeScan(const QString& path);
KVMEASURE_EXPORT bool looksLikeScan(const std::shared_ptr<QFile>& file);  ///< the same of an open file

/// Path of the description that lies beside a raw map: "FILE.meta.csv", "STEM.meta.csv" or "meta.csv" in its
/// folder, the first that has lines "columns,..." and "rows,..."; otherwise empty. The map itself need not
/// exist.
KVMEASURE_EXPORT QString findMapDescription(const QString& path);

/// The names that the description beside a raw map may have, in the order of findMapDescription. Opens no
/// file.
KVMEASURE_EXPORT QStringList mapDescriptionNames(const QString& path);

/// A copy of the profiles of a scan. The points of a cloud become profiles by equal z, in order of their
/// first points; -0 and 0 are one z. Throws Error in the file `path` for a cloud with fewer than two points
/// for each z on average, or with more than kMostProfiles of them: slice it first. The scan stays as it is.
KVMEASURE_EXPORT KvMath::KvProfileZSet takeStack(Scan& scan, const QString& path);

/// Replaces `cloud` by all points of a scan, those of a stack profile by profile. The scan stays as it is.
KVMEASURE_EXPORT void takeCloud(Scan& scan, Cloud& cloud);

}  // namespace KvMeasure
