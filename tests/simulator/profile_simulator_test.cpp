#include <simulator/draws.h>
#include <simulator/profile_simulator.h>

#include <tests/support/prelude.h>

namespace {

using namespace Simulator;

SimulatedProfile simulated(const ProfileRecipe& recipe) {
    QString error;
    const auto result = simulateProfile(recipe, &error);
    EXPECT_TRUE(result) << error.toStdString();
    return result.value_or(SimulatedProfile());
}

ProfileRecipe shaped(const QString& shape, const QMap<QString, double>& dimensions = {}) {
    ProfileRecipe recipe;
    recipe.shape = shape;
    recipe.dimensions = dimensions;
    return recipe;
}

double distanceToPiece(const OutlinePiece& piece, const Vector& q) {
    if (piece.radius > 0)
        return std::abs(std::hypot(q.x - piece.centre.x, q.y - piece.centre.y) - piece.radius);
    const Vector d(piece.p2.x - piece.p1.x, piece.p2.y - piece.p1.y);
    const double along = ((q.x - piece.p1.x) * d.x + (q.y - piece.p1.y) * d.y) / (d.x * d.x + d.y * d.y);
    const double t = std::clamp(along, 0.0, 1.0);
    return std::hypot(piece.p1.x + t * d.x - q.x, piece.p1.y + t * d.y - q.y);
}

TEST(SimulateProfile, CleanPointsOfEveryShapeLieOnItsOutline) {
    for (const QString& shape : shapeNames()) {
        for (const double rotation : {0.0, -20.0, 33.0}) {
            SCOPED_TRACE(shape.toStdString() + " turned by " + std::to_string(rotation));
            ProfileRecipe recipe = shaped(shape);
            recipe.rotation = rotation;
            recipe.shiftX = 1.5;
            recipe.shiftY = 40;
            const SimulatedProfile result = simulated(recipe);
            EXPECT_GT(result.profile.points.size(), 300);
            for (const KvPointXY& p : result.profile.points) {
                double nearest = 1e9;
                for (const OutlinePiece& piece : result.outline)
                    nearest = std::min(nearest, distanceToPiece(piece, Vector(double(p.x), double(p.y))));
                ASSERT_LT(nearest, 1e-5) << p.x << ' ' << p.y;
            }
        }
    }
}

TEST(SimulateProfile, TheHighestSurfaceIsSeen) {
    ProfileRecipe recipe = shaped("square-groove");
    recipe.rotation = 30;
    recipe.points = 601;
    const SimulatedProfile turned = simulated(recipe);
    // The right land hides the right part of the floor: its edge stands on one column with the floor far
    // below.
    const double edge = trueValue(turned, "right edge x");
    for (const KvPointXY& p : turned.profile.points)
        EXPECT_TRUE(double(p.x) <= edge || std::abs(double(p.y) - double(p.x) * std::tan(M_PI / 6)) < 1e-5);
    for (const KvPointXY& p : simulated(shaped("round")).profile.points)
        ASSERT_NEAR(double(p.y), std::sqrt(400 - double(p.x) * double(p.x)), 1e-5);
}

TEST(SimulateProfile, TrueValuesFollowFromTheDimensions) {
    const struct {
        const char* shape;
        QMap<QString, double> dimensions;
        const char* name;
        double value;
    } cases[] = {{"v-groove", {{"width", 6}, {"depth", 3}}, "opening angle", 90},
                 {"v-groove", {{"width", 6}, {"depth", 4}}, "flank length", 5},
                 {"step", {{"height", 5}, {"flank-angle", 45}}, "edge x", 2.5},
                 {"bead", {{"width", 8}, {"height", 2}}, "radius", 5},
                 {"bead", {{"width", 8}, {"height", 4}}, "area", 8 * M_PI},
                 {"extrusion", {{"width", 30}, {"height", 10}, {"flank-angle", 45}}, "top width", 10},
                 {"plate", {}, "left edge x", -20},
                 {"gap", {{"flush", -2}}, "right edge y", -2},
                 {"round", {}, "radius", 20}};
    for (const auto& [shape, dimensions, name, value] : cases)
        EXPECT_NEAR(trueValue(simulated(shaped(shape, dimensions)), name), value, 1e-12)
            << shape << ' ' << name;
    EXPECT_TRUE(std::isnan(trueValue(simulated({}), "flush")));
    EXPECT_TRUE(truthCsv(simulated({}))
                    .startsWith("name,value,unit\ndepth,6,mm\nwidth,12,mm\nopening angle,90,deg\n"));
}

TEST(SimulateProfile, NoiseIsNormalWithTheStatedDeviationAndPinnedForASeed) {
    ProfileRecipe recipe = shaped("plate", {{"width", 60}});
    recipe.points = 20000;
    recipe.noise = 0.02;
    double sum = 0, squares = 0, beyond = 0;
    for (const KvPointXY& p : simulated(recipe).profile.points) {
        sum += double(p.y);
        squares += double(p.y) * double(p.y);
        beyond += std::abs(p.y) > 0.04F;
    }
    EXPECT_NEAR(sum / 20000, 0, 4 * 0.02 / std::sqrt(20000));
    EXPECT_NEAR(std::sqrt(squares / 20000), 0.02, 0.0004);
    EXPECT_NEAR(beyond / 20000, 0.0455, 0.006);
    for (const double x : {1e-300, 1e-17, 0.25, 0.5, 0.7071, 0.999999, 1.0, 3e5})
        EXPECT_NEAR(Simulator::Draws::naturalLog(x), std::log(x),
                    4e-16 * std::max(1.0, std::abs(std::log(x))))
            << x;
    Simulator::Draws draws(1, 1);
    EXPECT_TRUE(draws.unit() == 0.22059398316563028 && draws.normal() == 0.25024670710123686);
}

TEST(SimulateProfile, GapsAndSpikesLeaveTheNoiseOfTheOtherPointsAlone) {
    ProfileRecipe recipe;
    recipe.noise = 0.05;
    recipe.keepMissing = true;
    const SimulatedProfile whole = simulated(recipe);
    recipe.dropouts = 3;
    recipe.dropoutLength = 10;
    recipe.spikes = 60;  // so many that some are drawn twice or in a gap
    const SimulatedProfile damaged = simulated(recipe);
    ASSERT_EQ(damaged.profile.points.size(), 640);
    int missing = 0, spikes = 0;
    for (int i = 0; i < 640; ++i) {
        const float before = whole.profile.points[i].y, after = damaged.profile.points[i].y;
        missing += std::isnan(after);
        if (after == before || std::isnan(after))
            continue;
        ++spikes;
        EXPECT_NEAR(std::abs(after - before), 3.75, 1.25 + 1e-5);
    }
    EXPECT_TRUE(missing >= 10 && missing <= 45 && spikes == 60) << missing << ", " << spikes;
    recipe.keepMissing = false;
    EXPECT_EQ(simulated(recipe).profile.points.size(), 640 - missing);
}

TEST(SimulateProfile, TakesEveryLimitAndRefusesWhatIsBeyondByName) {
    ProfileRecipe recipe;
    recipe.points = recipe.dropouts = recipe.spikes = 1000000;
    recipe.dropoutLength = 100000;
    recipe.rotation = -60;
    EXPECT_LE(simulated(recipe).profile.points.size(), 1000000);
    const std::pair<const char*, std::function<void(ProfileRecipe&)>> cases[] = {
        {"shape", [](auto& r) { r.shape = "cube"; }},
        {"points: 1 is outside 2 ... 1e+06", [](auto& r) { r.points = 1; }},
        {"points", [](auto& r) { r.points = 1000001; }},
        {"points", [](auto& r) { r.points = INT_MIN; }},
        {"x-from", [](auto& r) { r.xFrom = std::nan(""); }},
        {"x-to", [](auto& r) { r.xTo = r.xFrom; }},
        {"rotation", [](auto& r) { r.rotation = 60.5; }},
        {"noise", [](auto& r) { r.noise = -0.1; }},
        {"dropouts", [](auto& r) { r.dropouts = 641; }},
        {"dropout-length", [](auto& r) { r.dropoutLength = 0; }},
        {"spikes", [](auto& r) { r.spikes = -1; }},
        {"spike-height", [](auto& r) { r.spikeHeight = std::nan(""); }},
        {"depth: 0 is outside 0.001", [](auto& r) { r.dimensions["depth"] = 0; }},
        {"flush: a v-groove has width, depth", [](auto& r) { r.dimensions["flush"] = 1; }},
        {"extrusion: the slot does not fit between the flanks",
         [](auto& r) {
             r = shaped("extrusion", {{"slot-width", 1000}});
         }},
        {"extrusion: slot-depth must not be above the height",
         [](auto& r) {
             r = shaped("extrusion", {{"slot-depth", 1000}});
         }},
        {"half the width", [](auto& r) {
             r = shaped("bead", {{"height", 5}});
         }}};
    for (const auto& [text, change] : cases) {
        recipe = ProfileRecipe();
        change(recipe);
        QString error;
        EXPECT_FALSE(simulateProfile(recipe, &error));
        EXPECT_THAT(error.toStdString(), HasSubstr(text));
    }
}

}  // namespace
