#include <simulator/triangulation_scanner.h>

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace Simulator;
using Vector = TriangulationScanner::Vector;

/// The lens by plain vectors: a ray from the lens through the tilted sensor, no distortion.
Vector projected(const ScannerGeometry& g, const Vector& p) {
    const double radian = std::acos(-1.0) / 180, a = g.angle * radian, t = g.tilt * radian;
    const double lensY = -g.distance * std::sin(a), lensZ = g.zRange / 2 + g.distance * std::cos(a);
    const double x = p.x - g.xRange / 2, dy = -lensY, dz = p.y - lensZ;
    const double forward = dy * std::sin(a) - dz * std::cos(a), down = -dy * std::cos(a) - dz * std::sin(a);
    // Sensor points are (u, v cos t, f + v sin t); the ray is k (x, down, forward).
    const double k = g.focalLength * std::cos(t) / (forward * std::cos(t) - down * std::sin(t));
    const double u = k * x, v = k * down / std::cos(t);
    return {323.5 + u / g.pixel, 243.5 + v / g.pixel};
}

TEST(TriangulationScanner, MapsAsAPinholeAndBack) {
    for (const double tilt : {0.0, -2.5, 4.0}) {
        ScannerGeometry g;
        g.tilt = tilt;
        ScannerGeometry plain = g;
        plain.radial1 = plain.radial2 = 0;
        const TriangulationScanner scanner(g), pinhole(plain);
        for (double x = 10; x <= 130; x += 7.5) {
            for (double z = 0; z <= 100; z += 12.5) {
                const Vector image = pinhole.toSensor({x, z}), expected = projected(g, {x, z});
                ASSERT_NEAR(image.x, expected.x, 1e-8);
                ASSERT_NEAR(image.y, expected.y, 1e-8);
                const Vector back = scanner.toPlane(scanner.toSensor({x, z}));
                ASSERT_NEAR(back.x, x, 1e-9);
                ASSERT_NEAR(back.y, z, 1e-9);
            }
        }
    }
}

TEST(SimulateCalibration, EveryPositionIsThePlaceOfTheTargetInItsColumn) {
    CalibrationRecipe recipe;
    for (const CalibrationTarget target : {CalibrationTarget::Flat, CalibrationTarget::Toothed}) {
        recipe.target = target;
        recipe.scanner.tilt = 3;
        const auto record = simulateCalibration(recipe);
        ASSERT_TRUE(record);
        const TriangulationScanner scanner(recipe.scanner);
        for (std::size_t i = 0; i < record->positions.size(); ++i) {
            const Vector place(static_cast<double>(i / 1000), record->positions[i] / kPositionsPerPixel);
            const auto imageAt = [&](double x) {
                return scanner.toSensor({x, record->parameters[i % 1000] + targetSurface(recipe, x)});
            };
            const bool isBeside = place.x < imageAt(70.0 - 59.0).x || place.x > imageAt(70.0 + 59.0).x;
            ASSERT_EQ(record->positions[i] == 0, isBeside) << i;
            // Half a position unit; on a flank x moves with it.
            const double expected = isBeside ? 0 : imageAt(scanner.toPlane(place).x).y;
            ASSERT_NEAR(place.y, expected, 0.018) << i;
        }
    }
}

TEST(SimulateCalibration, ReflectionsAndGlintsTakeTheirShareAndLeaveTheRest) {
    CalibrationRecipe recipe;
    recipe.noise = 0.05;
    const auto clean = simulateCalibration(recipe);
    recipe.zOrigin = -50;
    recipe.reflections = 0.02;
    const auto reflected = simulateCalibration(recipe);
    recipe.reflections = 0;
    recipe.glints = 30;
    const auto glinting = simulateCalibration(recipe);
    ASSERT_TRUE(clean && reflected && glinting);
    int elsewhere = 0, bright = 0;
    for (std::size_t i = 0; i < clean->positions.size(); ++i) {
        elsewhere += reflected->positions[i] != clean->positions[i] ? 1 : 0;
        bright += glinting->positions[i] != clean->positions[i] ? 1 : 0;
    }
    EXPECT_NEAR(elsewhere, 648'000 * 0.02, 500);
    EXPECT_NEAR(bright, 30 * 12.5 * 4.5, 700);
    EXPECT_EQ(reflected->parameters[500], clean->parameters[500] - 50);
}

TEST(SimulateCalibration, IllegalRecipesAreRefused) {
    for (auto spoil : std::initializer_list<void (*)(CalibrationRecipe&)>{
             [](CalibrationRecipe& r) { r.scanner.distance = 50; }, [](CalibrationRecipe& r) { r.zStep = 0; },
             [](CalibrationRecipe& r) { r.scanner.radial1 = -9; }, [](CalibrationRecipe& r) { r.zStep = 50; },
             [](CalibrationRecipe& r) { r.noise = std::nan(""); },
             [](CalibrationRecipe& r) { r.glints = -1; },
             [](CalibrationRecipe& r) { r.reflections = 1.1; }}) {
        CalibrationRecipe recipe;
        spoil(recipe);
        QString error;
        EXPECT_FALSE(simulateCalibration(recipe, &error));
        EXPECT_FALSE(error.isEmpty());
    }
}

}  // namespace
