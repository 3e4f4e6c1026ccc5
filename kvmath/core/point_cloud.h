#pragma once
// Ordered clouds of points with a cached bounding range, an index of runs of equal z, and a binary record.
//
// The range is a cache, not an invariant: many operations leave it stale on purpose (each says so). Who needs
// it valid tests it for NaN and calls calcRange. NaN as a bound argument means "no limit on this side".
// Nothing here throws, except when memory is exhausted. One thread at a time per cloud. A cloud may be its
// own argument everywhere.

#include <kvmath/core/point.h>

#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

namespace KvMath {

/// Sorting direction. Any value is legal: 1 is ascending, 0 skips a key where a key may be skipped, all else
/// descends.
enum KvSortOrder : int { KvSortNone = 0, KvSortAscending = 1, KvSortDescending = 2 };

template <class T>
class KvPointCloud;  // exactly three kinds exist

/// What clouds of all three point types have in common. Use KvPointCloud<T>: every object of this class is
/// part of one.
template <class T>
class KVMATH_EXPORT KvPointCloudBase {
public:
    QList<T> points;          ///< in order; the order has meaning
    float minX;               ///< least x as cached, mm; NaN when not known
    float maxX;               ///< greatest x as cached, mm; NaN when not known
    float minY;               ///< least y as cached, mm; NaN when not known
    float maxY;               ///< greatest y as cached, mm; NaN when not known
    float minZ;               ///< least z as cached, mm; NaN when not known
    float maxZ;               ///< greatest z as cached, mm; NaN when not known
    QMap<float, int> zIndex;  ///< z of a run of equal z -> index, see buildZIndex of the 3D clouds
    bool zIndexBuilt;         ///< true right after buildZIndex; see each operation

    KvPointCloudBase();  ///< empty, range NaN, no index

    /// Copies the points and, verbatim, the cached range (even a stale one). zIndexBuilt becomes false; the
    /// target's own zIndex map is kept. Assigning a cloud to itself changes nothing but that flag.
    KvPointCloudBase(const KvPointCloudBase& other);
    KvPointCloudBase& operator=(const KvPointCloudBase& other);  ///< copies as the copy constructor
    ~KvPointCloudBase();                                         ///< frees the points
    void copyFromPointCloud(const KvPointCloudBase& other);      ///< assigns `other`, like operator=

    /// Appends all points of `other` in order. The range becomes stale, zIndexBuilt false.
    void appendFromPointCloud(const KvPointCloudBase& other);
    KvPointCloud<T>& operator+=(const KvPointCloudBase& other);  ///< runs appendFromPointCloud

    KvPointCloud<T>& operator+=(const T& point);  ///< appends the point; range and index untouched

    /// Appends the point; extends the range only if `updateRange`. The coloured cloud extends it by plain
    /// comparisons: a NaN range stays NaN after any number of appends, and calcRange makes it valid.
    void append(const T& point, bool updateRange);

    void clear();          ///< no points, range NaN; zIndex and zIndexBuilt untouched
    bool isEmpty() const;  ///< true when there are no points

    /// Range of all points, NaN-aware (an unset coordinate extends nothing). Empty: NaN. The XY cloud leaves
    /// its z pair.
    void calcRange();
    /// Extends the range by one point, NaN-aware: an unknown bound becomes the coordinate.
    void updateRange(const T& point);

    /// Middle of the range on each axis. A cached range that is all numbers is used as it stands, else
    /// calcRange runs. Empty: false, `centre` untouched. All coordinates of an axis unset: true, NaN on that
    /// axis.
    bool calcCenterPoint(T& centre);
    /// Arithmetic mean of each coordinate (float sums in point order); an unset coordinate makes the mean of
    /// its axis NaN. Empty: false, `centre` untouched. A colour is left as it was.
    bool caclCenterMassPoint(T& centre) const;  // interface spelling

    /// Removes points by index. `indices` is sorted ascending in place and worked off from its end: an entry
    /// below the present size counts, and if it is not negative its point goes. A repeated index so takes the
    /// point that has moved there, and negative entries count without removing. Returns the count (empty
    /// cloud: 0); range and index untouched.
    int removeIndeces(QList<int>& indices);  // interface spelling

    /// Adds the offsets, mm. An offset of exactly 0 is skipped, a NaN one makes the coordinate NaN
    /// everywhere. The XY cloud ignores dz. Range and index become stale, zIndexBuilt stays as it is.
    void shift(float dx, float dy, float dz);

    /// Sorts stably; points with a NaN key stay where they are and are not crossed. XY: by x, ascending if
    /// `first` is 1, else descending; `second` is ignored. zIndexBuilt becomes false after a sort by x alone.
    /// 3D: with `second` 0 by x alone; otherwise by z (`second`), then buildZIndex, then within each run of
    /// equal z by x (`first`, 0 = leave). n log n.
    void sort(KvSortOrder first, KvSortOrder second);

    /// Writes one record at the device's position: marker 0x02 (XY), 0x03 (XYZ) or 0x04 (XYZRGB), count,
    /// points, all little-endian. The XY count field has 16 bits and holds the low ones only, while all
    /// points are written. False on the first short write, and, with nothing written, for a 3D cloud of more
    /// than 2^26 points, which would not be read again.
    bool writeToFile(QFile& file) const;
    /// Makes `path` a file of this one record. False if the cloud is refused, and `path` is then left alone,
    /// or if it cannot be opened or written completely; a regular file that was opened is then removed.
    bool writeToFile(QString path) const;

    /// Reads one record at the device's position. Points, range and zIndexBuilt are reset first. Returns the
    /// count, or -1 with the position back where it was: wrong marker, short header or short points (complete
    /// ones and their range stay in the cloud). A count beyond the bytes that exist reserves no memory; a
    /// file that really holds more than 2^26 points for a record is refused unread. A pipe cannot be put
    /// back.
    int readFromFile(QFile& file);
    /// Reads the first record of a file. -1 also if it cannot be opened; the cloud is then left alone.
    int readFromFile(QString path);
};

/// Cloud of a plane: scanner lines and their like. Operations keep minZ and maxZ NaN.
template <>
class KVMATH_EXPORT KvPointCloud<KvPointXY> : public KvPointCloudBase<KvPointXY> {
public:
    float calcAverageY() const;  ///< mean of y, mm, summed in double; 0 when empty, NaN with an unset y

    int getIndexX(float x) const;  ///< first point with exactly this x, or -1
    int getIndexY(float y) const;  ///< first point with exactly this y, or -1

    /// Indices, in order, of the points inside the box, ends included; unset coordinates are outside wherever
    /// that side has a bound. `indices` is cleared first. Returns its size.
    int getRangeIndeces(QList<int>& indices, float xmin, float xmax, float ymin, float ymax) const;

    /// Removes the points with y >= level (`above`) or y <= level, mm; unset ones stay. Returns the number
    /// removed; range and index untouched.
    int removePointsByYLevel(float level, bool above);

    /// Multiplies x by kx and y by ky; a factor of exactly 1 is skipped, kz is ignored. The range becomes
    /// stale.
    void resize(float kx, float ky, float kz);

    float size_x() const;  ///< maxX - minX as cached, mm; NaN when unknown (never recomputed)
    float size_y() const;  ///< maxY - minY as cached, mm; NaN when unknown (never recomputed)

    static bool writeMarker(QFile& file, unsigned char marker);  ///< writes one byte; true when written
    /// Reads one byte; true when it equals `marker`. Never seeks back.
    static bool readMarker(QFile& file, unsigned char marker);
};

/// Cloud in space.
template <>
class KVMATH_EXPORT KvPointCloud<KvPointXYZ> : public KvPointCloudBase<KvPointXYZ> {
public:
    int getIndexX(float x) const;  ///< first point with exactly this x, or -1
    int getIndexY(float y) const;  ///< first point with exactly this y, or -1
    int getIndexZ(float z) const;  ///< first point with exactly this z, or -1

    /// Indices, in order, of the points inside the box, ends included; unset coordinates are outside wherever
    /// that side has a bound. `indices` is cleared first. Returns its size.
    int getRangeIndeces(QList<int>& indices, float xmin, float xmax, float ymin, float ymax, float zmin,
                        float zmax) const;
    /// Indices, in order, of the points at a distance <= diameter / 2 from `centre`, mm; unset points are
    /// never inside. `indices` is cleared first. Returns its size.
    int getRangeIndeces(QList<int>& indices, KvPointXYZ centre, float diameter) const;

    /// Removes the points with y >= level (`above`) or y <= level, mm; unset ones stay. Returns the number
    /// removed; range and index untouched.
    int removePointsByYLevel(float level, bool above);

    float size_x() const;  ///< maxX - minX as cached, mm; NaN when unknown (never recomputed)
    float size_y() const;  ///< maxY - minY as cached, mm; NaN when unknown (never recomputed)
    float size_z() const;  ///< maxZ - minZ as cached, mm; NaN when unknown (never recomputed)

    /// rotateXY, rotateXZ, rotateYZ in this order, each skipped when its angle (degrees) is 0 or NaN.
    void rotate(float angleXY, float angleXZ, float angleYZ);
    /// Turns all points about the z axis, degrees, positive from +x to +y. Distance and angle are rounded to
    /// float on the way, also for 0 degrees. A NaN angle makes x and y of all points NaN, and an unset x or y
    /// makes both of that point NaN. zIndexBuilt becomes false, the range stale.
    void rotateXY(float degrees);
    void rotateXZ(float degrees);  ///< turns x and z as rotateXY does x and y, positive from +x to +z
    void rotateYZ(float degrees);  ///< turns y and z as rotateXY does x and y, positive from +y to +z

    /// Removes the points outside the box (unset coordinates count as inside). The range then records the
    /// box, not the survivors: a bound that narrows a known range replaces it, a wider one does not, NaN
    /// resets its side to NaN. zIndexBuilt becomes false.
    void trim(float xmin, float xmax, float ymin, float ymax, float zmin, float zmax);

    /// Copies the points inside the box (ends included) to `dest`, which is cleared first, keeps a NaN range
    /// and has its zIndexBuilt lowered, also when it is this cloud. Only the points between two entries of
    /// zIndex are looked at, so the cloud must be sorted by z, in either sense (z of the last set point below
    /// that of the first: descending); the index is built when zIndexBuilt is false. Call buildZIndex again
    /// after removals or a shift in z: points can be missed with a stale index and after an unset z, which
    /// interrupts the order; nothing outside is ever read. `flag` has no effect.
    void extract(KvPointCloud& dest, float xmin, float xmax, float ymin, float ymax, float zmin, float zmax,
                 bool flag);

    /// Replaces `dest` by the points with |z - `z`| <= halfWidth, range NaN, zIndexBuilt false. Returns their
    /// number.
    int calcSection(KvPointCloud& dest, float z, float halfWidth) const;

    /// Fills zIndex from a cloud sorted by z: the first run's entry holds index 0, every later run's entry
    /// the index of the last point of the run before it; `extract` and `sort` rely on that. NaN z gets no
    /// entry. Empty: map cleared, flag false.
    void buildZIndex();

    /// Removes the points of all sparsely occupied cells: the range is scanned in cubes of edge `cell` (mm,
    /// both faces included) and cubes with fewer than minCount points lose them, one cube after the other.
    /// Returns the number removed; zIndexBuilt becomes false if it is not 0. 0 when the cloud holds fewer
    /// than minCount points, the range is flat on an axis, cell is not > 0 or not a number, or minCount < 1.
    /// A known range is used as it stands.
    int cubicFilter(float cell, int minCount);
    /// The scan of cubicFilter, for clouds of 2 points and more. With `spherical`, steps of cell / 1.41421
    /// and the ball of radius cell / 2 about the middle of a cube of edge `cell` at each lower corner.
    /// `second` has no effect. 0 also for balls with a cell below 1e-15.
    int cubicFilter2(float cell, float second, int minCount, bool spherical);
    /// Runs cubicFilter2(cell, second, minCount, true).
    int sphericalFilter2(float cell, float second, int minCount);

    /// Slices the cloud (sorted by z) into slabs of `step` mm along z and, for each slab with points before
    /// the lowest one left of its highest point or after the lowest one right of it, trims the whole cloud
    /// to the place of that flank point: what is left is empty or one place. The range is computed first.
    /// Nothing else happens when step is not > 0 or too small for the extent.
    void clearEdgeEffect(float step);

    /// Thickness, mm, of a tape on its carrier inside the box (ends included): the points in the upper half
    /// of the y extent, its middle included, are the tape, the others the carrier; result is the difference
    /// of their median heights. NaN when either has fewer than 2 points, 0 for a level set. The cloud is not
    /// changed.
    float extractInsulatingTape(float xmin, float xmax, float ymin, float ymax, float zmin, float zmax) const;

    /// Headerless file: per point x, y, z as little-endian float and four zero bytes. Truncates `path`. False
    /// if it cannot be opened or written completely.
    bool compat_writeToXYZFile(QString path) const;
};

/// Coloured cloud in space.
template <>
class KVMATH_EXPORT KvPointCloud<KvPointXYZRGB> : public KvPointCloudBase<KvPointXYZRGB> {
public:
    /// Indices, in order, of the points inside the box, ends included, as for the cloud of KvPointXYZ.
    int getRangeIndeces(QList<int>& indices, float xmin, float xmax, float ymin, float ymax, float zmin,
                        float zmax) const;
    void buildZIndex();  ///< fills zIndex from a cloud sorted by z, as for the cloud of KvPointXYZ
};

extern template class KvPointCloudBase<KvPointXY>;
extern template class KvPointCloudBase<KvPointXYZ>;
extern template class KvPointCloudBase<KvPointXYZRGB>;

}  // namespace KvMath
