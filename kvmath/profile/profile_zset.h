#pragma once
// A scan as a stack of profiles.

#include <kvmath/profile/profile_z.h>

namespace KvMath {

class KvMatrixCloud;

/// A scan: profiles in the order in which they were taken, each at its place along the motion axis.
/// Convertible from and to a cloud (x across the line, y the height, z along the scan, all mm) and to a grid
/// of heights. The cached range is computed by calcRange alone; what changes profiles leaves it as it was.
class KVMATH_EXPORT KvProfileZSet {
public:
    QList<KvProfileZ> profiles;  ///< in order; places need not rise
    float minX;                  ///< least x as cached, mm; NaN when not known
    float maxX;                  ///< greatest x as cached, mm; NaN when not known
    float minY;                  ///< least y as cached, mm; NaN when not known
    float maxY;                  ///< greatest y as cached, mm; NaN when not known
    float minZ;                  ///< least z as cached, mm; NaN when not known
    float maxZ;                  ///< greatest z as cached, mm; NaN when not known
    float zStep;                 ///< spacing of the profiles, mm; NaN when not set

    KvProfileZSet();  ///< empty, range and zStep NaN

    int size() const;                        ///< number of profiles
    bool isEmpty() const;                    ///< true without profiles, however many points they hold
    void clear();                            ///< removes all profiles; range and zStep become NaN
    void append(const KvProfileZ& profile);  ///< puts a copy after the last profile
    KvProfileZ& operator[](int i);           ///< profile i to be changed; 0 <= i < size(), not checked
    const KvProfileZ& at(int i) const;       ///< profile i to be read; 0 <= i < size(), not checked

    // --- Files: one KvProfileZ record after another, no head and no count ---

    /// Makes `path` a file of these records. False if it cannot be opened or written completely; a regular
    /// file that was opened is then removed.
    bool writeToFile(QString path) const;
    /// Replaces the set by the records of a file, up to its end or the first that is no whole KvProfileZ
    /// record, which is not taken. An empty record gives an empty profile. Returns the number of profiles;
    /// -1, the set empty, when the file cannot be opened.
    int readFromFile(QString path);
    /// Replaces the set by the plain XY records (marker 0x02) of a file, which hold no places: they get z0,
    /// z0 + step, ... (a running float sum). An empty record takes its place but gives no profile. zStep
    /// becomes `step`, always. Ends and returns as the form without places.
    int readFromFile(QString path, float z0, float step);

    // --- Places and parts ---

    /// Profile i gets the place z0 + i * step, mm; zStep becomes `step`, in an empty set too.
    void setZ(float z0, float step);
    /// Replaces `out` (which may be this set) by the profiles with zmin <= z <= zmax, in order, and its zStep
    /// by this one's; its range becomes NaN. NaN is no limit on its side; an unset z is outside wherever
    /// there is a limit. Returns the size of `out`.
    int getRange(float zmin, float zmax, KvProfileZSet& out) const;

    // --- Clouds and grids ---

    /// Replaces the cloud by all points of profiles first ... last, which are clamped to the set, in order;
    /// its range stays NaN, its zIndexBuilt false. Returns their number; 0 for first > last.
    int toPointCloud(KvPointCloud<KvPointXYZ>& cloud, int first, int last) const;
    /// Replaces the cloud by all points of all profiles, as the form with first and last.
    int toPointCloud(KvPointCloud<KvPointXYZ>& cloud) const;

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
    float calcAverageY() const;  ///< mean of all finite y, mm, summed in double; 0 if there is none
    /// Takes the drift of height along the scan away: lowers every profile by the least-squares line through
    /// the mean heights of the profiles over z, less that line's mean. Profiles without z or height take no
    /// part and stay. False, nothing changed, below two distinct z.
    bool removePCfromZ();
    /// Removes from each profile the points before the lowest one left of its highest point and after the
    /// lowest one right of it. Of equal heights: the later highest, the later lowest left of it, the last
    /// lowest right of it. Unset heights are neither.
    void clearEdgeEffect();
};

}  // namespace KvMath
