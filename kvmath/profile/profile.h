#pragma once
// One scanner line with its searches, fits and filters.

#include <kvmath/core/interpolant.h>
#include <kvmath/core/point_cloud.h>
#include <kvmath/segments/line_types.h>

#include <QtCore/QRectF>

namespace KvMath {

class KvCircle;
class KvLine;

/// One scanner line: an ordered list of points, x across the line, y the measured height or range, mm.
/// Nothing records whether the points currently hold (x, y) or polar (r, theta in degrees): the caller keeps
/// track.
///
/// A function that does not say otherwise leaves the cached range and the order of the points as they were.
/// Windows and gaps count points and millimetres of the profile as it stands: sort first where order matters.
/// A profile may be its own argument everywhere. A required pointer that is null makes the call fail, an
/// output that is not needed may be null.
///
/// Points with a coordinate that is not finite take no part in calcRect, polynomFit, calcPolynomCoeffs,
/// integral, calcCutPoint, addLineSegments and addParallelLine. A filter with a window does nothing for a
/// window below 1; medFilt, diffFilt, zebFilter20 and wndFilterPolar do nothing either for a `dest` of fewer
/// points than the profile has.
class KVMATH_EXPORT KvProfile : public KvPointCloud<KvPointXY> {
public:
    KvProfile();                                           ///< empty, range NaN
    KvProfile(const KvProfile& other);                     ///< copies the points and, verbatim, the range
    KvProfile(const float* buffer, unsigned short count);  ///< runs copyFromXYPointsBuffer
    KvProfile& operator=(const KvProfile& other);          ///< takes over the points and, verbatim, the range

    /// Appends `count` points from x0, y0, x1, y1, ..., mm, after the present ones. A null buffer or count 0
    /// appends nothing.
    void copyFromXYPointsBuffer(const float* buffer, unsigned short count);

    // --- Range and queries ---

    /// Computes and stores the range, unset coordinates extending nothing. Empty: false, the range stays.
    bool calcRange();
    /// Extremes and, if `indices` is given, the four indices of min x, max x, min y, max y; the first of
    /// equal ones wins. A NaN at point 0 sticks, later ones are passed over. The cached range takes no part.
    /// Empty: false, outputs untouched.
    bool calcRange(float* minX, float* minY, float* maxX, float* maxY, int* indices) const;
    /// The extremes as a rectangle. y grows upwards: top is the maximum and bottom the minimum, the height
    /// negative.
    bool calcRange(QRectF& rect, int* indices) const;
    /// Middle of minX and maxX as cached (even stale), computed first when the range is unknown, mm. Empty:
    /// NaN.
    float calcCenterX();
    /// Middle of minY and maxY as cached (even stale), computed first when the range is unknown, mm. Empty:
    /// NaN.
    float calcCenterY();

    /// First index with a point's x >= `x`; `fromEnd`: last index with x <= `x`. -1 if there is none. Own
    /// order.
    int findNearestToX(float x, bool fromEnd) const;
    /// Copies the point at that index to `out`. False, `out` untouched, if there is none.
    bool findNearestToX(float x, KvPointXY& out, bool fromEnd) const;
    /// Counts the changes of sign of y from one point to the next and writes the later point's x of each to
    /// `out` (caller-sized, size - 1 always suffices; may be null). A y of exactly 0 or NaN hides the
    /// crossing.
    int findZeros(float* out) const;
    /// y at `x` on the line through a pair of neighbours: the first point in point order with a greater x and
    /// the one before it. Where the first point is greater already it is the first pair, where none is
    /// greater the last. A point at exactly `x` met before answers at once. NaN unless both the spacing of
    /// the pair and the distance of `x` from it are <= tolerance, mm. A pair of equal x gives its mean
    /// height. One point answers within the tolerance; none: NaN. `index`, optional, receives the pair's
    /// first index, -1 before the first point, size - 1 after the last; it is written only when a pair is
    /// chosen.
    float calcY(float x, float tolerance, int* index) const;
    /// Coefficient of linear correlation of x and y over all points; products in single precision, sums in
    /// double. NaN when empty and with an unset point; of a level or vertical run NaN or what rounding
    /// leaves.
    float calcCorrelation() const;

    // --- Order, bounds, resampling ---

    /// Sorts stably by y, ascending if `order` is 1, else descending. Points of NaN y stay where they are and
    /// are not crossed.
    void sortByY(KvSortOrder order);
    /// Removes the points with x < xmin, x > xmax, y < ymin or y > ymax and returns their number. A NaN bound
    /// or coordinate removes nothing. Mind the order of the bounds.
    int trim(float xmin, float ymin, float xmax, float ymax);
    /// Runs trim(x, y, x + width, y + height): wants a rectangle of positive height, unlike that of
    /// calcRange.
    int trim(QRectF r);
    int trimX(float xmin, float xmax);  ///< removes points with x < xmin or x > xmax, as trim; their number
    int trimY(float ymin, float ymax);  ///< removes points with y < ymin or y > ymax, as trim; their number
    int trimLower(float ymin);          ///< removes points with y < ymin, as trim; their number
    int trimUpper(float ymax);          ///< removes points with y > ymax, as trim; their number
    /// Removes each point whose x (not y) equals an earlier one's and returns their number. NaN equals
    /// nothing. Linear.
    int removeDuplicates();
    /// Removes duplicates, sorts by x and replaces the points by samples of the interpolant every `step` mm,
    /// from xFrom or the first point, whichever is greater, to below xTo or the last point, whichever is less
    /// (NaN: no limit). The first sample alone is taken when the end does not lie beyond it (an xTo before
    /// the first point, reversed bounds) and for a NaN step; an xFrom beyond the last point leaves none. The
    /// range becomes NaN. Returns the number of points. 0, the points only deduplicated and sorted, range as
    /// it was: step <= 0, another type, fewer than two usable points, an interpolant that floats cannot hold,
    /// or more than 2^24 samples.
    int interpolate(float step, float xFrom, float xTo, _KvInterpolantType_ type);
    /// The slopes: one point per neighbouring pair, x of the first, y the slope of the pair; unguarded, so
    /// equal x give infinity or NaN. Fewer than two points: empty. Its range is NaN.
    KvProfile derivative() const;

    // --- Polar form and rotations; degrees, counter-clockwise ---

    /// Turns (x, y) into (r, theta), theta in [0, 360) degrees. The origin becomes (0, 0), a point with an
    /// unset coordinate (NaN, NaN).
    void toPolar();
    /// Turns (r, theta in degrees) into (x, y); an unset coordinate makes both NaN.
    /// (1) After toPolar a point of |x|, |y| <= 700 mm is back within 0.002 mm.
    void toEvklid();
    /// Adds an angle to every theta, which is not wrapped into [0, 360). Exactly 0 does nothing.
    void rotatePolar(float degrees);
    /// Turns the points (x, y) about the origin. Exactly 0 does nothing, NaN makes every coordinate NaN.
    void rotateEvklid(float degrees);
    /// Turns the points (x, y) about `centre`, which may be one of them: a shift, rotateEvklid, a shift back,
    /// each rounded to float, also for 0 degrees. An unset centre makes coordinates NaN.
    void rotateFixed(float degrees, const KvPointXY& centre);

    // --- Fits ---

    bool calcLine(KvLine& line) const;                      ///< runs KvLine::calcFromPointCloud
    bool calcCircle(KvCircle& circle, float* error) const;  ///< runs KvCircle::calcFromPointCloud
    /// Line of least squared orthogonal distances (lsd) over all points. NaN when the profile is empty or
    /// holds an unset point.
    void fitByLine(LineABC& line) const;
    /// dest[i].y = own y - other's y for the first n points, n being the least of `count` and the three
    /// sizes; then each whole block of `window` of them gets the absolute value of its mean; points of an
    /// incomplete last block keep the signed difference. `truncate` removes dest's points from n on. Nothing
    /// happens for window < 1 and when either profile is empty.
    void calcDistance(const KvProfile& other, KvProfile& dest, int window, int count, bool truncate) const;

    /// Smallest rectangle with sides at `angle` degrees that holds all points; an angle that is not finite:
    /// the one of least area, in [0, 90) (convex hull, rotating calipers; a least rectangle lies on a hull
    /// edge, Freeman and Shapira 1975). Corners counter-clockwise from the lower left one in the turned axes,
    /// with their range; area in mm^2. No usable point: false, outputs untouched.
    bool calcRect(KvPointCloud<KvPointXY>& corners, float* area, float angle) const;
    /// That rectangle as its extent along the angle and across it, mm, and the angle used, degrees.
    bool calcRect(float* width, float* height, float* usedAngle, float angle) const;
    /// Replaces every y by the least-squares polynomial's, computed with discrete orthogonal polynomials
    /// (Forsythe 1957), so that distance from the origin costs no digits. The degree is lowered to 30 and to
    /// the number of distinct x less 1. Negative degree or no usable point: false, nothing changed.
    bool polynomFit(int degree);
    /// The polynomial of polynomFit as powers of x in mm, c0 first; min(degree, 30) + 1 values are written,
    /// unused ones 0. Far from x = 0 high powers cancel: their sum has fewer digits than polynomFit. Failure
    /// as polynomFit, and a null pointer.
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

    // --- Text files ---

    /// Replaces the points by the file's and returns their number. Columns count from 0; fields are parted by
    /// ";", decimal comma or point, "nan" is unset, an unreadable number is 0. Lines with too few fields are
    /// skipped; the first empty line ends the reading, and so does a line of 2^20 characters or more (no
    /// profile). A negative column makes every line too short. File that cannot be opened: its error goes to
    /// the debug log, the profile stays, its present count is returned. Range untouched by reading, NaN from
    /// the clearing.
    int readFromCSVFile(QString path, int xColumn, int yColumn);
    /// Writes a line "x;y" per point, mm, with decimal commas, 6 significant digits and bare line feeds, over
    /// what `path` holds. False only if it cannot be opened: a later failure gives true, by design, and
    /// removes the regular file.
    bool writeToCSVFile(QString path) const;

    // --- Filters ---

    /// dest[i].y = y of the middle point by x, rank window / 2, of the points i ... i + window - 1, for
    /// i < size - window: the last window is not visited and the value lands at the window's first index.
    /// Ranks are of a stable sort that points of NaN x part. dest's x and further points stay. n log n at
    /// worst.
    void medFilt(KvProfile& dest, int window) const;
    /// Smooths: point i + floor(window / 2.5) gets the mean y of points i ... i + window - 1, for i < size -
    /// window, in place: later windows see earlier results. Takes size * window steps.
    void wndFilter(int window);
    /// Slope between the halves of each window of dest's own points: dest[i].y = (sum of y of the upper half
    /// - lower half) / (same of x); odd windows have the larger upper half. This profile supplies the count
    /// alone. Fewer than window + 2 points: nothing. Takes size * window steps.
    void diffFilt(KvProfile& dest, int window) const;
    /// 20-tap low-pass over y (gain 1.0001, lags by 10 points); dest gets x too. The first 20 points and
    /// those more than `gap` mm after their predecessor keep their y; NaN gap: no test. Fewer than 20
    /// points: nothing.
    void zebFilter20(KvProfile& dest, float gap) const;
    void zebFilter20(float gap);  ///< runs zebFilter20(*this, gap): no result enters a later one
    /// Keeps the points proven below the line. Points on it and unset ones go, for a NaN line all.
    void removeHighLevel(KvLine line);
    /// Keeps the points proven above the line. Points on it and unset ones go, for a NaN line all.
    void removeLowLevel(KvLine line);
    /// Sorts by y and keeps the points with median - tolerance < y < median + tolerance, mm. Points of unset
    /// y go. The profile stays sorted.
    void removePointsByYMedian(double tolerance);
    /// Cuts the profile into blocks of `window` points and drops those with more than maxJumps steps |dy| >
    /// jumpThreshold (NaN is no step). The last block goes even when complete, so at most `window` points
    /// leave an empty profile. The last argument has no effect.
    void removeNoise(int window, int maxJumps, float jumpThreshold, float unused);
    /// Sorts by x, cuts into at most maxParts parts where neighbours are farther than maxGap mm apart, and
    /// keeps the parts of more than minPoints points with |correlation| < maxCorrelation: straight slopes go,
    /// level and vertical runs as calcCorrelation sees them (a NaN goes).
    /// What follows the last part and the profile's last point go too. maxParts < 2: nothing, no sort either.
    void removeLineParts(int maxParts, float maxCorrelation, float maxGap, int minPoints);
    /// Smooths the distance from the origin: r becomes the mean of `window` points about each (an even window
    /// is widened by one), theta stays, `passes` times (1 to 1000). A window ends at the profile's ends and
    /// at steps of r above maxGap mm (NaN: none) and is then cut equally on both sides, so that slopes are
    /// kept. dest's first points receive the result, (x, y); unset points are copied. Fewer points than the
    /// window: nothing.
    void wndFilterPolar(KvProfile& dest, float maxGap, int window, int passes) const;
    /// Replaces `dest`, points and range, by the profile without its spikes: runs of at most 1024 points and
    /// of x extent <= maxWidth mm, entered and left by steps |dy| > maxJump of opposite sign, whose two
    /// neighbours differ by at most maxJump. Edges stay; unset points go. Fewer than 3 points: false, a plain
    /// copy.
    bool splashFilter(KvProfile& dest, float maxJump, float maxWidth) const;
    /// As splashFilter, on r over theta (maxWidth in degrees, across 0 too), after points nearer to the
    /// origin than minRadius mm went (NaN: none). Takes and gives (x, y); surviving points are not changed.
    bool splashFilterPolar(KvProfile& dest, float maxJump, float maxWidth, float minRadius) const;
    /// Removes the points with fewer than minNeighbours others within `radius` mm (limit included), judged on
    /// the profile as it came; unset points go. radius not > 0 or minNeighbours < 1: nothing.
    void removeNoisyPoints(float radius, int minNeighbours);
};

}  // namespace KvMath
