#pragma once
// A scan: profiles in the order in which they were taken, each at its place along the motion axis.
// Convertible from and to a cloud (x across the line, y the height, z along the scan, all mm) and to a grid
// of heights.

#include <kvmath/profile/profile_z.h>

namespace KvMath {

class KvMatrixCloud;

/// The cached range is computed by calcRange alone; what changes profiles leaves it as it was.
class KVMATH_EXPORT KvProfileZSet {
public:
    QList<KvProfileZ> profiles;
    float minX, maxX, minY, maxY, minZ, maxZ;  ///< cached range, mm; NaN when not known
    float zStep;                               ///< spacing of the profiles, mm; NaN when not set

    KvProfileZSet();  ///< empty, range and zStep NaN

    int size() const;
    bool isEmpty() const;
    void clear();  ///< as constructed
    void append(const KvProfileZ& profile);
    KvProfileZ& operator[](int i);      ///< 0 <= i < size()
    const KvProfileZ& at(int i) const;  ///< 0 <= i < size()

    // --- Files: one KvProfileZ record behind the other, no head and no count ---

    bool writeToFile(QString path) const;  ///< truncates; false if it cannot be opened or written completely
    /// Replaces the set by the records of a file, up to its end or the first that is no whole KvProfileZ
    /// record, which is not taken. An empty record gives an empty profile. Returns the number of profiles;
    /// -1, the set empty, when the file cannot be opened.
    int readFromFile(QString path);
    /// The same for files of plain XY records (marker 0x02), which hold no places: they get z0, z0 + step,
    /// ... (a running float sum). An empty record takes its place but gives no profile. zStep becomes `step`,
    /// always.
    int readFromFile(QString path, float z0, float step);

    // --- Places and parts ---

    void setZ(float z0,
              float step);  ///< profile i gets z0 + i * step; zStep becomes `step`, in an empty set too
    /// Replaces `out` (which may be this set) by the profiles with zmin <= z <= zmax, in order, and its zStep
    /// by this one's. NaN is no limit on its side; an unset z is outside wherever there is a limit. Returns
    /// the size.
    int getRange(float zmin, float zmax, KvProfileZSet& out) const;

    // --- Clouds and grids ---

    /// Replaces the cloud by all points of profiles first ... last, which are clamped to the set, in order;
    /// its range stays NaN. Returns their number; 0 for first > last.
    int toPointCloud(KvPointCloud<KvPointXYZ>& cloud, int first, int last) const;
    int toPointCloud(KvPointCloud<KvPointXYZ>& cloud) const;  ///< all profiles

    /// Replaces the set by n + 1 profiles at minZ + i * step, n = ceil(size_z() / step), and gives every
    /// point to the nearer of the two planes around it, exactly half-way to the upper one; a point in a plane
    /// counts from below. zStep becomes `step`. The cloud's range is computed only while its minZ is NaN: a
    /// stale one is used as it stands, and points outside the planes are left out. A cloud of one z (n = 0)
    /// gives one profile that stays empty, by design. Returns the number of profiles; 0, the set empty, for a
    /// step that is not finite and > 0, z bounds that are not finite, and more than 2^20 planes. Linear in
    /// points and planes.
    int calcFromPointCloud(KvPointCloud<KvPointXYZ>& cloud, float step);

    /// Replaces the matrix by cells of stepX * stepZ mm over the range of the points whose x, y and z are
    /// finite; the height of a cell is the mean y in it. Returns the number of cells that hold points. 0, the
    /// matrix clear: a step not finite or not > 0, no such point, more than 2^24 cells.
    int toMatrixCloud(KvMatrixCloud& matrix, float stepX, float stepZ) const;

    // --- Values and corrections ---

    /// Range over all points and the z of all profiles, unset ones extending nothing. Without any point:
    /// false and the range NaN.
    bool calcRange();
    float calcAverageY() const;  ///< mean of all finite y, summed in double; 0 if there is none
    /// Takes the drift of height along the scan away: lowers every profile by the least-squares line through
    /// the mean heights of the profiles over z, less that line's mean. Profiles without z or height take no
    /// part and stay. False, nothing changed, below two distinct z.
    bool removePCfromZ();
    /// Removes from each profile the points before the lowest one left of its highest point and behind the
    /// lowest one right of it. Of equal heights: the later highest, the later lowest left of it, the last
    /// lowest right of it. Unset heights are neither.
    void clearEdgeEffect();
};

}  // namespace KvMath
