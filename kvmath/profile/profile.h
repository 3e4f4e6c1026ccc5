#pragma once
// One scanner line: an ordered list of points, x across the line, y the measured height or range,
// millimetres. Nothing records whether the points currently hold (x, y) or polar (r, theta in degrees): the
// caller keeps track.
//
// The cached range is left as it was by everything here that does not say otherwise; so is the order of the
// points. Windows and gaps count points and millimetres of the profile as it stands: sort first where order
// matters. A profile may be its own argument everywhere. A required pointer that is null makes the call fail,
// an output that is not needed may be null.

#include <kvmath/core/interpolant.h>
#include <kvmath/core/point_cloud.h>
#include <kvmath/tsearch/line_types.h>

#include <QtCore/QRectF>

namespace KvMath {

class KvCircle;
class KvLine;

class KVMATH_EXPORT KvProfile : public KvPointCloud<KvPointXY> {
public:
    KvProfile();                                           ///< empty, range NaN
    KvProfile(const KvProfile& other);                     ///< points and, verbatim, the range
    KvProfile(const float* buffer, unsigned short count);  ///< see copyFromXYPointsBuffer
    KvProfile& operator=(const KvProfile& other);

    /// Appends (does not clear) `count` points from x0, y0, x1, y1, ...; a null buffer or count 0 appends
    /// nothing.
    void copyFromXYPointsBuffer(const float* buffer, unsigned short count);

    // --- Range and queries ---

    /// Computes and stores the range, unset coordinates extending nothing. Empty: false, the range stays.
    bool calcRange();
    /// Extremes and, if `indices` is given, the four indices of min x, max x, min y, max y; the first of
    /// equal ones wins. A NaN at point 0 sticks, later ones are passed over. The cached range takes no part.
    /// Empty: false, outputs untouched.
    bool calcRange(float* minX, float* minY, float* maxX, float* maxY, int* indices) const;
    /// The same as a rectangle. y grows upwards: top is the maximum and bottom the minimum, the height
    /// negative.
    bool calcRange(QRectF& rect, int* indices) const;
    /// Middle of the cached range (even a stale one), computed first when unknown; NaN for an empty profile.
    float calcCenterX();
    float calcCenterY();

    /// First index with a point's x >= `x`; `fromEnd`: last index with x <= `x`. -1 if there is none. Own
    /// order.
    int findNearestToX(float x, bool fromEnd) const;
    bool findNearestToX(float x, KvPointXY& out,
                        bool fromEnd) const;  ///< that point; false, `out` untouched, if none
    /// Counts the changes of sign of y from one point to the next and writes the later point's x of each to
    /// `out` (caller-sized, size - 1 always suffices; may be null). A y of exactly 0 or NaN hides the
    /// crossing.
    int findZeros(float* out) const;
    /// y at `x` on the line through the first neighbouring pair that encloses it in point order (before the
    /// first or behind the last point: the outermost pair). A point at exactly `x` met before answers at
    /// once. NaN unless both the spacing of the pair and the distance of `x` from it are <= tolerance, mm. A
    /// pair of equal x gives its mean height. One point answers within the tolerance; none: NaN. `index`,
    /// optional, receives the pair's first index, -1 before the first point, size - 1 behind the last; it is
    /// written only when a pair is chosen.
    float calcY(float x, float tolerance, int* index) const;
    /// Coefficient of linear correlation of x and y over all points. NaN: empty, level, vertical, any unset
    /// point.
    float calcCorrelation() const;

    // --- Order, bounds, resampling ---

    void
    sortByY(KvSortOrder order);  ///< stable, ascending if 1, else descending; points of NaN y stay and part
    /// Removes the points with x < xmin, x > xmax, y < ymin or y > ymax and returns their number. A NaN bound
    /// or coordinate removes nothing. Mind the order of the bounds.
    int trim(float xmin, float ymin, float xmax, float ymax);
    /// trim(x, y, x + width, y + height): wants a rectangle of positive height, unlike the one of calcRange.
    int trim(QRectF r);
    int trimX(float xmin, float xmax);
    int trimY(float ymin, float ymax);
    int trimLower(float ymin);
    int trimUpper(float ymax);
    /// Removes each point whose x (not y) equals an earlier one's and returns their number. NaN equals
    /// nothing. Linear.
    int removeDuplicates();
    /// Removes duplicates, sorts by x and replaces the points by samples of the interpolant every `step` mm
    /// between xFrom and xTo (NaN: the ends), the far end excluded. Returns the number of points. 0 when
    /// refused: step not > 0, another type, fewer than two usable points, or more than 2^24 samples; the
    /// points then stay, deduplicated and sorted.
    int interpolate(float step, float xFrom, float xTo, _KvInterpolantType_ type);
    /// One point per neighbouring pair: x of the first, slope of the pair; unguarded, so equal x give
    /// infinity or NaN. Fewer than two points: empty.
    KvProfile derivative() const;

    // --- Polar form and rotations; degrees, counter-clockwise ---

    void
    toPolar();  ///< (x, y) to (r, theta), theta in [0, 360); the origin is (0, 0), an unset point (NaN, NaN)
    void toEvklid();                   ///< (r, theta) to (x, y)
    void rotatePolar(float degrees);   ///< adds to every theta, unwrapped; exactly 0 does nothing
    void rotateEvklid(float degrees);  ///< about the origin; exactly 0 does nothing
    void rotateFixed(float degrees, const KvPointXY& centre);  ///< about `centre`, which may be an own point

    // --- Fits ---

    bool calcLine(KvLine& line) const;                      ///< see KvLine::calcFromPointCloud
    bool calcCircle(KvCircle& circle, float* error) const;  ///< see KvCircle::calcFromPointCloud
    void
    fitByLine(LineABC& line) const;  ///< orthogonal least squares (lsd) over all points; empty: a NaN line
    /// dest[i].y = own y - other's y for the first n points, n being the least of `count` and the three
    /// sizes; then each whole block of `window` of them gets the absolute value of its mean; points of an
    /// incomplete last block keep the signed difference. `truncate` removes dest's points from n on. Nothing:
    /// an empty profile, window < 1.
    void calcDistance(const KvProfile& other, KvProfile& dest, int window, int count, bool truncate) const;

    // Operations below, up to the CSV files: points with a coordinate that is not finite take no part.

    /// Smallest rectangle with sides at `angle` degrees that holds all points; a NaN angle: the one of least
    /// area, in [0, 90) (convex hull, rotating calipers; a least rectangle lies on a hull edge, Freeman and
    /// Shapira 1975). Corners counter-clockwise from the lower left one in the turned axes, with their range;
    /// area in mm^2. No usable point: false, outputs untouched.
    bool calcRect(KvPointCloud<KvPointXY>& corners, float* area, float angle) const;
    /// The same as extent along the angle and across it, mm, and the angle used.
    bool calcRect(float* width, float* height, float* usedAngle, float angle) const;
    /// Replaces every y by the least-squares polynomial's, computed with discrete orthogonal polynomials
    /// (Forsythe 1957), so that distance from the origin costs no digits. The degree is lowered to 30 and to
    /// the number of distinct x less 1. Negative degree or no usable point: false, nothing changed.
    bool polynomFit(int degree);
    /// The same polynomial as powers of x in mm, c0 first; min(degree, 30) + 1 values are written, unused
    /// ones 0. Far from x = 0 high powers cancel: their sum has fewer digits than polynomFit. Failure as
    /// polynomFit, and a null pointer.
    bool calcPolynomCoeffs(int degree, double* coeffs) const;
    /// Area, mm^2, under the polyline through the points in ascending x, between the bounds (NaN: the ends;
    /// beyond the ends nothing is added). Reversed bounds: the negative. Fewer than two points or an empty
    /// interval: 0.
    double integral(float xFrom, float xTo) const;
    /// First place, in stored order or from the end, where the polyline through the points meets the line; a
    /// point on the line is one. False, `cut` untouched: none, or a line that is not finite.
    bool calcCutPoint(const KvLine& line, KvPointXY& cut, bool fromEnd = false) const;
    /// Replaces the points by (x, z) of the cloud's points, unset ones too: the view along the height. Range
    /// computed. Returns the number of points.
    int makeCloudTopView(const KvPointCloud<KvPointXYZ>& cloud);
    /// Fits a line (lsd) to every `window` successive points, starting every `step` points, and where none is
    /// farther off than maxDeviation, mm, appends the segment between the feet of the window's first and last
    /// point. Returns the number appended. Nothing: window < 2, step < 1, NaN maxDeviation, fewer points than
    /// the window.
    int addLineSegments(QList<LinePP>& segments, int window, int step, double maxDeviation) const;
    /// Appends to `dest` the feet of points first ... last (clamped to the profile) on their fitted line
    /// (lsd), moved by `offset` mm along its normal of positive y (vertical line: of positive x). Fewer than
    /// two points: nothing.
    void addParallelLine(KvProfile& dest, int first, int last, float offset) const;

    // --- Text files: one "x;y" per line, decimal commas, 6 significant digits, bare line feeds ---

    /// Replaces the points by the file's and returns their number. Columns count from 0; fields are parted by
    /// ";", decimal comma or point, "nan" is unset, an unreadable number is 0. Lines with too few fields are
    /// skipped; the first empty line ends the reading, and so does a line of more than 2^20 characters (no
    /// profile). A negative column makes every line too short. File that cannot be opened: its error goes to
    /// the debug log, the profile stays, its present count is returned. Range untouched by reading, NaN from
    /// the clearing.
    int readFromCSVFile(QString path, int xColumn, int yColumn);
    bool writeToCSVFile(
        QString path) const;  ///< truncates; false if it cannot be opened, later errors go unnoticed

    // --- Filters; a window below 1 switches each of them off, and so does a `dest` shorter than the profile
    // ---

    /// dest[i].y = y of the middle point by x, rank window / 2, of the points i ... i + window - 1, for
    /// i < size - window: the last window is not visited and the value lands at the window's first index.
    /// Ranks are of a stable sort that points of NaN x part. dest's x and further points stay. n log n at
    /// worst.
    void medFilt(KvProfile& dest, int window) const;
    /// Point i + floor(window / 2.5) gets the mean y of points i ... i + window - 1, for i < size - window,
    /// in place: later windows see earlier results. Takes size * window steps.
    void wndFilter(int window);
    /// Slope between the halves of each window of dest's own points: dest[i].y = (sum of y of the upper half
    /// - lower half) / (same of x); odd windows have the larger upper half. This profile supplies the count
    /// alone. Fewer than window + 2 points: nothing. Takes size * window steps.
    void diffFilt(KvProfile& dest, int window) const;
    /// 20-tap low-pass over y (gain 1.0001, lags by 10 points); dest gets x too. The first 20 points and
    /// those more than `gap` mm behind their predecessor keep their y; NaN gap: no test. Fewer than 20
    /// points: nothing.
    void zebFilter20(KvProfile& dest, float gap) const;
    void zebFilter20(float gap);  ///< in place, without feedback
    /// Keeps the points proven below (above) the line: points on it, unset points and a NaN line remove.
    void removeHighLevel(KvLine line);
    void removeLowLevel(KvLine line);
    /// Sorts by y and keeps the points with median - tolerance < y < median + tolerance, mm. The profile
    /// stays sorted.
    void removePointsByYMedian(double tolerance);
    /// Cuts the profile into blocks of `window` points and drops those with more than maxJumps steps |dy| >
    /// jumpThreshold (NaN is no step). The last block goes even when complete, so at most `window` points
    /// leave an empty profile. The last argument has no effect.
    void removeNoise(int window, int maxJumps, float jumpThreshold, float unused);
    /// Sorts by x, cuts into at most maxParts parts where neighbours are farther than maxGap mm apart, and
    /// keeps the parts of more than minPoints points with |correlation| < maxCorrelation: straight runs go.
    /// What follows the last part and the profile's last point go too. maxParts < 2: nothing, no sort either.
    void removeLineParts(int maxParts, float maxCorrelation, float maxGap, int minPoints);
    /// Smooths the distance from the origin: r becomes the mean of `window` points about each (an even window
    /// is widened by one), theta stays, `passes` times (1 to 1000). A window ends at the profile's ends and
    /// at steps of r above maxGap mm (NaN: none) and is then cut equally on both sides, so that slopes are
    /// kept. dest's first points receive the result, (x, y); unset points are copied. Fewer points than the
    /// window: nothing.
    void wndFilterPolar(KvProfile& dest, float maxGap, int window, int passes) const;
    /// Replaces `dest` by the profile without its spikes: runs of at most 1024 points and of x extent <=
    /// maxWidth mm, entered and left by steps |dy| > maxJump of opposite sign, whose two neighbours differ by
    /// at most maxJump. Edges stay; unset points go. Fewer than 3 points: false, a plain copy.
    bool splashFilter(KvProfile& dest, float maxJump, float maxWidth) const;
    /// The same on r over theta (maxWidth in degrees, across 0 too), after points nearer to the origin than
    /// minRadius mm went (NaN: none). Takes and gives (x, y); surviving points are not changed.
    bool splashFilterPolar(KvProfile& dest, float maxJump, float maxWidth, float minRadius) const;
    /// Removes the points with fewer than minNeighbours others within `radius` mm (limit included), judged on
    /// the profile as it came; unset points go. radius not > 0 or minNeighbours < 1: nothing.
    void removeNoisyPoints(float radius, int minNeighbours);
};

}  // namespace KvMath
