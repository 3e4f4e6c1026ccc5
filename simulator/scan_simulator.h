#pragma once
// Synthetic 3D scans of objects with known outlines, and the true values that go with them.
//
// An object lies under a scanner that looks straight down and moves on by equal steps: each profile holds, at
// its columns (equal steps of x), the height of the place below. Columns beside the object give no point.
// All numbers are mm and degrees; x runs along the laser line, the height is y, z is the position along the
// scan. The same recipe gives the same scan on every run and machine; only the rotation leans on the sine and
// cosine of the platform.

#include <simulator/profile_simulator.h>

#include <kvmath/profile/profile_zset.h>

namespace Simulator {

/// "grooved-plate": a plate with a straight groove along the scan, open at both ends.
/// "tray": a frame with rounded corners around a lower floor.
std::vector<QString> scanShapeNames();

/// The dimensions of a shape; empty for a name that scanShapeNames does not hold.
std::vector<Dimension> scanShapeDimensions(const QString& shape);

/// What is to be scanned and how well. Anything outside the ranges, NaN included, is refused.
struct ScanRecipe {
    QString shape = "grooved-plate";
    QMap<QString, double> dimensions;  ///< by name; names of other shapes are refused
    int columns = 320;                 ///< 2 ... 10,000
    int rows = 280;                    ///< profiles, 2 ... 10,000, and at most 4,000,000 places in all
    double xFrom = -32.0, xTo = 32.0;  ///< first and last column, within +-10,000 and xFrom < xTo
    double rowStep = 0.2;              ///< distance of the profiles, 0.001 ... 100
    double rotation = 0.0;  ///< of the object seen from above, from x towards the scan, -180 ... 180
    double noise = 0.0;     ///< standard deviation of the heights, normal, 0 ... 1,000
    int dropouts = 0;       ///< gaps in profiles, 0 ... 1,000,000; they may overlap
    int dropoutLength = 8;  ///< mean number of columns missing in a gap, 1 ... 10,000
    int strays = 0;  ///< single points anywhere in view, below half the object's height, 0 ... 1,000,000
    std::uint64_t seed = 1;  ///< of noise, gaps and strays, which are drawn independently of each other
};

/// Straight edge of the outline, seen from above: places are (x, scan).
struct TrueEdge {
    QString name;  ///< "left", "far", "right", "near", as they lie without rotation
    Vector from, to;
};

struct SimulatedScan {
    KvMath::KvProfileZSet stack;    ///< profile i at i * rowStep, ascending x; some may be empty
    std::vector<TrueEdge> edges;    ///< in the order of a walk around the object; corners are left out
    std::vector<TrueValue> values;  ///< dimensions, then ends and lengths of the edges
};

/// Scans an object that lies in the middle of the view. Nothing and a text in `error` (may be null) naming
/// the field and its range for a recipe that is not legal, and for dimensions that do not fit each other.
std::optional<SimulatedScan> simulateScan(const ScanRecipe& recipe, QString* error = nullptr);

/// As truthCsv of profiles.
QByteArray truthCsv(const SimulatedScan& simulated);

}  // namespace Simulator
