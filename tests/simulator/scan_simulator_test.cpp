#include <simulator/scan_simulator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Simulator;

namespace {

TEST(ScanSimulator, EveryPointOfACleanScanLiesOnTheObject) {
    for (const QString& shape : scanShapeNames()) {
        ScanRecipe recipe;
        recipe.shape = shape;
        recipe.rotation = 4;
        const auto scan = simulateScan(recipe);
        ASSERT_TRUE(scan);
        int high = 0;
        int low = 0;
        for (const KvMath::KvProfileZ& profile : scan->stack.profiles) {
            for (const KvMath::KvPointXY& p : profile.points) {
                for (const TrueEdge& edge : scan->edges) {  // clockwise: the object is on the right
                    const Vector d(edge.to.x - edge.from.x, edge.to.y - edge.from.y);
                    const double left =
                        d.x * (double(profile.z) - edge.from.y) - d.y * (double(p.x) - edge.from.x);
                    ASSERT_LE(left, 1e-3) << shape.toStdString() << edge.name.toStdString();
                }
                ++(p.y == scan->stack.maxY ? high : low);
            }
        }
        const double cell = recipe.rowStep * (recipe.xTo - recipe.xFrom) / (recipe.columns - 1);
        const double area = shape == "tray" ? 50 * 46 - (4 - std::acos(-1.0)) * 64 : 45 * 50;
        const double lowArea = shape == "tray" ? 38 * 34 - (4 - std::acos(-1.0)) * 4 : 7 * 50;
        EXPECT_NEAR((high + low) * cell, area, 0.005 * area);
        EXPECT_NEAR(low * cell, lowArea, 0.02 * lowArea);
    }
}

TEST(ScanSimulator, RefusesWhatIsOutsideItsRangesByName) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::pair<const char*, void (*)(ScanRecipe&, double)> cases[] = {
        {"rows", [](ScanRecipe& r, double) { r.rows = 1; }},
        {"columns times rows", [](ScanRecipe& r, double) { r.rows = r.columns = 10000; }},
        {"noise", [](ScanRecipe& r, double bad) { r.noise = bad; }},
        {"rotation", [](ScanRecipe& r, double bad) { r.rotation = bad; }},
        {"row-step", [](ScanRecipe& r, double) { r.rowStep = 0; }},
        {"shape", [](ScanRecipe& r, double) { r.shape = "cup"; }},
        {"rim", [](ScanRecipe& r, double) { r.dimensions["rim"] = 3; }},
        {"width", [](ScanRecipe& r, double bad) { r.dimensions["width"] = bad; }},
        {"groove-offset", [](ScanRecipe& r, double) { r.dimensions["groove-offset"] = 40; }},
        {"groove-offset", [](ScanRecipe& r, double) { r.dimensions["groove-offset"] = -40; }},
        {"x-to", [](ScanRecipe& r, double) { r.xTo = r.xFrom; }},
        {"rim, corner-radius",
         [](ScanRecipe& r, double) {
             r.shape = "tray";
             r.dimensions["rim"] = 23;
         }},
        {"rim, corner-radius", [](ScanRecipe& r, double) {
             r.shape = "tray";
             r.dimensions["corner-radius"] = 23;
         }}};
    for (const auto& [name, spoil] : cases) {
        ScanRecipe recipe;
        spoil(recipe, nan);
        QString error;
        EXPECT_FALSE(simulateScan(recipe, &error)) << name;
        EXPECT_TRUE(error.startsWith(name)) << error.toStdString();
    }
}

}  // namespace
