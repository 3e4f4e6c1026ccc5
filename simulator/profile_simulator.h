#pragma once
// Synthetic scanner lines of parts with known dimensions, and the true values that go with them.
//
// The scanner looks straight down: at each of its columns (equal steps of x) it sees the highest place of the
// part, so walls that are vertical or hang over are not measured, and columns without a part below give no
// point. All numbers are mm and degrees. The same recipe gives the same profile on every run and machine;
// only the rotation of the part leans on the sine and cosine of the platform.

#include <kvmath/profile/profile.h>

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace Simulator {

using Vector = KvMath::KvVector2D<double>;

/// A dimension of a shape. Legal values: minimum <= value <= maximum.
struct Dimension {
    QString name;                     ///< as in ProfileRecipe::dimensions, e.g. "width"
    QString unit;                     ///< "mm" or "deg"
    double standard = 0;              ///< taken where the recipe is silent
    double minimum = 0, maximum = 0;  ///< both legal
    QString meaning;                  ///< one line for help texts
};

/// "v-groove", "square-groove", "step", "bead", "extrusion", "plate", "gap", "round", in this order.
std::vector<QString> shapeNames();

/// The dimensions of a shape; empty for a name that shapeNames does not hold.
std::vector<Dimension> shapeDimensions(const QString& shape);

/// What is to be scanned and how well. Anything outside the ranges, NaN included, is refused.
struct ProfileRecipe {
    QString shape = "v-groove";
    QMap<QString, double> dimensions;  ///< by name; names of other shapes are refused
    int points = 640;                  ///< columns of the scanner, 2 ... 1,000,000
    double xFrom = -30.0, xTo = 30.0;  ///< first and last column, within +-10,000 and xFrom < xTo
    double rotation = 0.0;  ///< of the part about its origin, counter-clockwise, -60 ... 60 degrees
    double shiftX = 0.0, shiftY = 0.0;  ///< of the part after the rotation, each within +-10,000 mm
    double noise = 0.0;                 ///< standard deviation of the heights, normal, 0 ... 1,000 mm
    int dropouts = 0;                   ///< gaps, 0 ... points; they may overlap
    int dropoutLength = 8;              ///< mean number of columns missing in a gap, 1 ... 100,000
    int spikes = 0;                     ///< single points that are far off, 0 ... points
    double spikeHeight = 5.0;  ///< a spike is off by half of this to this, up or down, 0 ... 1,000 mm
    bool keepMissing = false;  ///< columns without a height stay as points with y NaN
    std::uint64_t seed = 1;    ///< of noise, gaps and spikes; each is drawn by itself
};

/// Piece of the clean geometry as the scanner sees it placed, from left to right on the part.
struct OutlinePiece {
    Vector p1, p2;        ///< ends; straight pieces end at the limits of the scanner's range
    double radius = 0.0;  ///< 0: straight. Else an arc, its circle to the left of p1 to p2, never cut
    Vector centre;        ///< of the arc
};

struct TrueValue {
    QString name;  ///< e.g. "depth", "opening angle", "left edge x"
    double value = 0;
    QString unit;  ///< "mm", "mm2" or "deg"
};

struct SimulatedProfile {
    KvMath::KvProfile profile;          ///< ascending x, range computed
    std::vector<OutlinePiece> outline;  ///< clean geometry, walls that are not seen included
    std::vector<TrueValue> values;  ///< dimensions and what follows from them, then the x and y of corners
};

/// Scans a part. Nothing and a text in `error` (may be null) naming the field and its range for a recipe that
/// is not legal, and for dimensions that do not fit each other. Costs points times at most ten pieces.
std::optional<SimulatedProfile> simulateProfile(const ProfileRecipe& recipe, QString* error = nullptr);

/// The true value of that name, or NaN.
double trueValue(const SimulatedProfile& simulated, const QString& name);

/// "name,value,unit" and one line for each true value, decimal points, 9 significant digits.
QByteArray truthCsv(const SimulatedProfile& simulated);
QByteArray truthCsv(const std::vector<TrueValue>& values);

/// x, y, x, y ... as scanners deliver them.
std::vector<float> xyBuffer(const KvMath::KvProfile& profile);

}  // namespace Simulator
