#pragma once
// A laser triangulation scanner with a known mapping, and the calibration records that it would deliver.
//
// The laser plane is the plane of measurement: x across, from 0 at the left end of the measuring range, z up,
// from 0 at its bottom, in mm. A pinhole lens with radial distortion looks at the middle of the range from
// the side; the sensor may be tilted about its row direction (Scheimpflug). Sensor places are in pixels:
// column c and row r are the middle of that pixel, rows grow downwards, so the line climbs to smaller rows
// when the target rises.
//
// The same recipe gives the same record on every run; only the sine and cosine of the angles lean on the
// platform.

#include <kvmath/base/vector2d.h>
#include <kvmath/calibration/raw_record.h>

#include <QtCore/QString>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace Simulator {

constexpr int kSensorColumns = 648;
constexpr int kSensorRows = 488;
constexpr int kCalibrationSteps = 1000;
constexpr double kPositionsPerPixel = 32.0;  ///< line positions have five binary places

/// Optics and measuring range. Legal ranges are in brackets; NaN is never legal.
struct ScannerGeometry {
    double zRange = 100.0;      ///< mm [0.1 ... 10,000]
    double xRange = 140.0;      ///< mm [0.1 ... 10,000]
    double distance = 400.0;    ///< from the lens to the middle of the range, mm [zRange ... 100,000]
    double angle = 45.0;        ///< between optical axis and laser plane, degrees [5 ... 85]
    double focalLength = 16.0;  ///< mm [1 ... 1,000]
    double pixel = 0.0074;      ///< mm [0.0001 ... 1]
    double radial1 = -0.2;      ///< a ray of slope r is seen at r(1 + radial1 r^2 + radial2 r^4) [-10 ... 10]
    double radial2 = 0.05;      ///< [-10 ... 10]; r must grow with its image over the whole sensor
    double tilt = 0.0;          ///< of the sensor, degrees [-30 ... 30]
};

/// Nothing for a legal geometry, otherwise what is wrong with it.
QString problemOf(const ScannerGeometry& geometry);

/// The mapping between the laser plane and the sensor, both ways.
class TriangulationScanner {
public:
    using Vector = KvMath::KvVector2D<double>;

    /// A geometry for which problemOf has a text gives NaN or nonsense from both functions, nothing worse.
    explicit TriangulationScanner(const ScannerGeometry& geometry);

    const ScannerGeometry& geometry() const { return geometry_; }

    /// Sensor place (column, row) of a point (x, z) of the laser plane, also beyond the sensor's edges.
    Vector toSensor(const Vector& point) const;
    /// Point (x, z) of the laser plane seen at a sensor place (column, row); the inverse to about 1e-9 mm.
    /// NaN where the ray does not meet the plane.
    Vector toPlane(const Vector& place) const;

private:
    ScannerGeometry geometry_;
    double sinAngle_, cosAngle_, sinTilt_, cosTilt_;
    double scale_;                      ///< pixels per unit of ray slope
    double lensX_, lensDepth_, lensZ_;  ///< lensDepth_: distance of the lens from the laser plane
};

/// What is moved through the range in 1000 steps.
enum class CalibrationTarget {
    Flat,    ///< a plane across the laser plane
    Toothed  ///< triangular teeth along x, a tip at the middle of the range; z is that of the tips
};

/// A calibration run. Legal ranges are in brackets; NaN is never legal.
struct CalibrationRecipe {
    ScannerGeometry scanner;
    CalibrationTarget target = CalibrationTarget::Flat;
    double targetWidth = 118.0;  ///< about the middle of the x range, mm [0.1 ... 10,000]
    double zFirst = 0.0;         ///< of step 0, above the bottom of the range, mm [-10,000 ... 10,000]
    double zStep = 0.1;          ///< mm [-100 ... 100], not 0
    double zOrigin = 0.0;        ///< recorded z of the bottom of the range, mm [-10,000 ... 10,000]
    double toothPitch = 10.0;    ///< mm [0.1 ... 1,000]
    double toothHeight = 5.0;    ///< mm [0 ... toothPitch]
    double noise = 0.0;          ///< standard deviation of the line position, pixels [0 ... 100]
    double missing = 0.0;        ///< share of positions not found, drawn one by one [0 ... 1]
    int missingColumns = 0;      ///< columns without any position; drawn with repetition [0 ... 648]
    double reflections = 0.0;    ///< share of positions, also beside the target, anywhere else [0 ... 1]
    int glints = 0;          ///< places where up to 24 columns see one spot for up to 8 steps [0 ... 1000]
    std::uint64_t seed = 1;  ///< of all that is drawn, each independently of the others
};

/// Surface of the target at x when the step's z is 0, mm.
double targetSurface(const CalibrationRecipe& recipe, double x);

/// Records a run: for every step and column where the line lies on the target and on the sensor, its row,
/// disturbed and rounded to 1/32 pixel. Nothing and a text in `error` (may be null) for a recipe that is not
/// legal.
std::optional<KvMath::CalibrationRecord> simulateCalibration(const CalibrationRecipe& recipe,
                                                             QString* error = nullptr);

}  // namespace Simulator
