// A column sees the place of the target whose image has that column: one equation in x for every step and
// column, solved by a bracketing secant, since the image moves right as x grows. Cost: 648,000 roots of about
// four projections each.

#include <simulator/triangulation_scanner.h>

#include <simulator/draws.h>
#include <simulator/legal_range.h>

#include <algorithm>
#include <cmath>

namespace Simulator {

using KvMath::CalibrationRecord;

namespace {

using Vector = TriangulationScanner::Vector;

constexpr double kRadians = 3.14159265358979323846 / 180;
constexpr double kMiddleColumn = (kSensorColumns - 1) / 2.0;
constexpr double kMiddleRow = (kSensorRows - 1) / 2.0;
enum Stream : std::uint64_t {
    NoiseStream = 11,
    MissingStream = 12,
    ColumnStream = 13,
    ReflectionStream = 14,
    GlintStream = 15
};

/// Slope of a ray from the slope of its image, by Newton's method: the distortion is a few per cent.
double undistorted(const ScannerGeometry& g, double image) {
    double slope = image;
    for (int i = 0; i < 20; ++i) {
        const double s = slope * slope;
        const double residue = slope * (1 + s * (g.radial1 + s * g.radial2)) - image;
        if (residue == 0)
            break;
        slope -= residue / (1 + s * (3 * g.radial1 + s * 5 * g.radial2));
    }
    return slope;
}

QString firstProblem(std::initializer_list<QString> problems) {
    for (const QString& problem : problems) {
        if (!problem.isEmpty())
            return problem;
    }
    return {};
}

}  // namespace

QString problemOf(const ScannerGeometry& g) {
    QString problem = firstProblem({
        outside("z-range", g.zRange, 0.1, 1e4),
        outside("x-range", g.xRange, 0.1, 1e4),
        outside("distance", g.distance, g.zRange, 1e5),
        outside("angle", g.angle, 5, 85),
        outside("focal-length", g.focalLength, 1, 1000),
        outside("pixel", g.pixel, 1e-4, 1),
        outside("radial1", g.radial1, -10, 10),
        outside("radial2", g.radial2, -10, 10),
        outside("tilt", g.tilt, -30, 30),
    });
    if (!problem.isEmpty())
        return problem;
    const TriangulationScanner scanner(g);
    for (const double column : {0.0, kMiddleColumn, kSensorColumns - 1.0}) {
        for (const double row : {0.0, kMiddleRow, kSensorRows - 1.0}) {
            const Vector point = scanner.toPlane({column, row});
            const Vector back = scanner.toSensor(point);
            const bool isSame = std::abs(back.x - column) < 1e-6 && std::abs(back.y - row) < 1e-6;
            if (!isSame)
                return QString("the lens does not map column %1, row %2 onto the laser plane; take less "
                               "distortion, "
                               "a longer focal length or smaller pixels")
                    .arg(QString::number(column), QString::number(row));
        }
    }
    return {};
}

TriangulationScanner::TriangulationScanner(const ScannerGeometry& geometry)
    : geometry_(geometry), sinAngle_(std::sin(geometry.angle * kRadians)),
      cosAngle_(std::cos(geometry.angle * kRadians)), sinTilt_(std::sin(geometry.tilt * kRadians)),
      cosTilt_(std::cos(geometry.tilt * kRadians)), scale_(geometry.focalLength / geometry.pixel),
      lensX_(geometry.xRange / 2), lensDepth_(geometry.distance * sinAngle_),
      lensZ_(geometry.zRange / 2 + geometry.distance * cosAngle_) {}

Vector TriangulationScanner::toSensor(const Vector& point) const {
    const double rise = point.y - lensZ_;
    const double depth = lensDepth_ * sinAngle_ - rise * cosAngle_;
    const double x = (point.x - lensX_) / depth;
    const double y = (-lensDepth_ * cosAngle_ - rise * sinAngle_) / depth;
    const double s = x * x + y * y;
    const double stretch = 1 + s * (geometry_.radial1 + s * geometry_.radial2);
    // The ray (x, y, 1) meets the sensor, tilted about its middle, at t = (x b', b).
    const double tilted = cosTilt_ - y * stretch * sinTilt_;
    return {kMiddleColumn + scale_ * x * stretch * cosTilt_ / tilted,
            kMiddleRow + scale_ * y * stretch / tilted};
}

Vector TriangulationScanner::toPlane(const Vector& place) const {
    const double a = (place.x - kMiddleColumn) / scale_;
    const double b = (place.y - kMiddleRow) / scale_;
    const double away = 1 + b * sinTilt_;
    const Vector image(a / away, b * cosTilt_ / away);
    const double r = std::sqrt(image.x * image.x + image.y * image.y);
    const double shrink = r > 0 ? undistorted(geometry_, r) / r : 1;
    const double x = image.x * shrink;
    const double y = image.y * shrink;
    const double depth = lensDepth_ / (sinAngle_ - y * cosAngle_);  // along the axis, until the laser plane
    if (!(depth > 0))
        return {std::nan(""), std::nan("")};
    return {lensX_ + depth * x, lensZ_ - depth * (cosAngle_ + y * sinAngle_)};
}

double targetSurface(const CalibrationRecipe& recipe, double x) {
    if (recipe.target == CalibrationTarget::Flat)
        return 0;
    const double teeth = (x - recipe.scanner.xRange / 2) / recipe.toothPitch;
    return -2 * recipe.toothHeight * std::abs(teeth - std::round(teeth));
}

namespace {

/// The edges of the target, at both ends of its way, must have images that belong to them alone.
QString edgeProblem(const CalibrationRecipe& recipe) {
    const TriangulationScanner scanner(recipe.scanner);
    for (const double z : {recipe.zFirst, recipe.zFirst + (kCalibrationSteps - 1) * recipe.zStep}) {
        for (const double side : {-0.5, 0.5}) {
            const Vector edge(recipe.scanner.xRange / 2 + side * recipe.targetWidth, z);
            const Vector back = scanner.toPlane(scanner.toSensor(edge));
            const bool isSame = std::abs(back.x - edge.x) < 1e-6 && std::abs(back.y - edge.y) < 1e-6;
            if (!isSame)
                return QString(
                           "the lens does not see the target's edge x %1 at z %2; take a narrower target, a "
                           "shorter way or less distortion")
                    .arg(QString::number(edge.x), QString::number(edge.y));
        }
    }
    return {};
}

QString problemOf(const CalibrationRecipe& recipe) {
    const QString problem = firstProblem({
        problemOf(recipe.scanner),
        outside("target-width", recipe.targetWidth, 0.1, 1e4),
        outside("z-first", recipe.zFirst, -1e4, 1e4),
        outside("z-step", recipe.zStep, -100, 100),
        recipe.zStep == 0 ? QString("z-step: must not be 0") : QString(),
        outside("z-origin", recipe.zOrigin, -1e4, 1e4),
        outside("tooth-pitch", recipe.toothPitch, 0.1, 1000),
        outside("tooth-height", recipe.toothHeight, 0, recipe.toothPitch),
        outside("noise", recipe.noise, 0, 100),
        outside("missing", recipe.missing, 0, 1),
        outside("missing-columns", recipe.missingColumns, 0, kSensorColumns),
        outside("reflections", recipe.reflections, 0, 1),
        outside("glints", recipe.glints, 0, 1000),
    });
    return problem.isEmpty() ? edgeProblem(recipe) : problem;
}

/// The line of one step on the sensor.
class StepLine {
public:
    StepLine(const CalibrationRecipe& recipe, const TriangulationScanner& scanner, double z)
        : recipe_(recipe), scanner_(scanner), z_(z), last_((recipe.scanner.xRange + recipe.targetWidth) / 2),
          x_((recipe.scanner.xRange - recipe.targetWidth) / 2), column_(place(x_).x),
          lastColumn_(place(last_).x), spacing_((last_ - x_) / (lastColumn_ - column_)) {}

    /// Row of the line in a column, NaN beside the target. Columns must be asked for in rising order.
    double row(int column) {
        if (!(column >= column_ && column <= lastColumn_))
            return std::nan("");
        x_ = root(column);
        column_ = column;
        return place(x_).y;
    }

private:
    Vector place(double x) const { return scanner_.toSensor({x, z_ + targetSurface(recipe_, x)}); }

    /// x of the target that is seen in a column: secant steps inside a bracket, where an end that stays has
    /// its residue halved (the Illinois rule).
    double root(double column) const {
        double a = x_, fa = column_ - column;
        double b = a, fb = fa;
        for (double reach = 2 * spacing_; fb < 0 && b < last_; reach *= 2) {
            b = std::min(last_, a + reach);
            fb = place(b).x - column;
        }
        double x = b, f = fb;
        for (int i = 0; i < 60 && std::abs(f) > 1e-10 && fb != fa; ++i) {
            x = b - fb * (b - a) / (fb - fa);
            f = place(x).x - column;
            if ((f < 0) != (fb < 0)) {
                a = b;
                fa = fb;
            } else {
                fa /= 2;
            }
            b = x;
            fb = f;
        }
        return x;
    }

    const CalibrationRecipe& recipe_;
    const TriangulationScanner& scanner_;
    double z_, last_;
    double x_, column_;  ///< of the column before, or the left edge of the target
    double lastColumn_, spacing_;
};

/// Position in 1/32 pixel, 0 when it is not on the sensor.
unsigned short rounded(double row) {
    const double position = std::round(row * kPositionsPerPixel);
    return position >= 1 && position < kSensorRows * kPositionsPerPixel
               ? static_cast<unsigned short>(position)
               : static_cast<unsigned short>(0);
}

unsigned short anyPosition(Draws& draws) {
    return static_cast<unsigned short>(1 + draws.below(kSensorRows * int(kPositionsPerPixel) - 1));
}

/// A bright spot keeps its place on the sensor while the target moves: the columns see it in place of the
/// line.
void addGlints(const CalibrationRecipe& recipe, CalibrationRecord& record) {
    constexpr int kMostColumns = 24;
    constexpr int kMostSteps = 8;
    Draws draws(recipe.seed, GlintStream);
    for (int i = 0; i < recipe.glints; ++i) {
        const int column = draws.below(kSensorColumns);
        const int step = draws.below(kCalibrationSteps);
        const int lastColumn = std::min(column + 1 + draws.below(kMostColumns), kSensorColumns);
        const int lastStep = std::min(step + 1 + draws.below(kMostSteps), kCalibrationSteps);
        const unsigned short spot = anyPosition(draws);
        for (int c = column; c < lastColumn; ++c) {
            for (int s = step; s < lastStep; ++s) {
                unsigned short& position = record.columns()[std::size_t(c)][s];
                position = position == 0 ? position : spot;
            }
        }
    }
}

void addReflections(const CalibrationRecipe& recipe, const std::array<bool, kSensorColumns>& isDead,
                    CalibrationRecord& record) {
    Draws draws(recipe.seed, ReflectionStream);
    for (std::size_t column = 0; column < kSensorColumns; ++column) {
        for (std::size_t step = 0; step < kCalibrationSteps; ++step) {
            if (draws.unit() < recipe.reflections && !isDead[column])
                record.positions[column * kCalibrationSteps + step] = anyPosition(draws);
        }
    }
}

}  // namespace

std::optional<CalibrationRecord> simulateCalibration(const CalibrationRecipe& recipe, QString* error) {
    const QString problem = problemOf(recipe);
    if (error != nullptr)
        *error = problem;
    if (!problem.isEmpty())
        return std::nullopt;

    const TriangulationScanner scanner(recipe.scanner);
    std::array<bool, kSensorColumns> isDead{};
    Draws columnDraws(recipe.seed, ColumnStream);
    for (int i = 0; i < recipe.missingColumns; ++i)
        isDead[static_cast<std::size_t>(columnDraws.below(kSensorColumns))] = true;

    CalibrationRecord record;
    record.positions.resize(std::size_t{kSensorColumns} * kCalibrationSteps);
    record.parameters.resize(kCalibrationSteps);
    Draws noise(recipe.seed, NoiseStream);
    Draws missing(recipe.seed, MissingStream);
    for (std::size_t step = 0; step < kCalibrationSteps; ++step) {
        const double z = recipe.zFirst + static_cast<double>(step) * recipe.zStep;
        record.parameters[step] = z + recipe.zOrigin;
        StepLine line(recipe, scanner, z);
        for (std::size_t column = 0; column < kSensorColumns; ++column) {
            const double row = line.row(static_cast<int>(column)) + recipe.noise * noise.normal();
            const bool isMissing = missing.unit() < recipe.missing || isDead[column];
            record.positions[column * kCalibrationSteps + step] = isMissing ? 0 : rounded(row);
        }
    }
    addGlints(recipe, record);
    if (recipe.reflections > 0)
        addReflections(recipe, isDead, record);
    return record;
}

}  // namespace Simulator
