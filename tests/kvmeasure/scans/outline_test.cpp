// Levels that part an object from its support, and outlines of objects whose edges are known.

#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/outline_search.h>
#include <simulator/scan_simulator.h>
#include <tests/kvmeasure/calls.h>

namespace {

using KvMath::KvPointXY;
using KvMath::KvProfileZ;
using KvMath::KvProfileZSet;
using testing::ContainsRegex;

using Height = std::function<double(double x, double scan)>;

/// Profiles `scanStep` mm apart with points `xStep` mm apart; NaN: no point there.
KvProfileZSet stackOf(const Height& height, int rows = 30, int columns = 40, double xStep = 0.5,
                      double scanStep = 0.25) {
    KvProfileZSet stack;
    for (int row = 0; row < rows; ++row) {
        KvProfileZ profile(static_cast<float>(row * scanStep));
        for (int column = 0; column < columns; ++column) {
            const double x = column * xStep - 8;
            const double y = height(x, double(profile.z));
            if (!std::isnan(y))
                profile.points.append(KvPointXY(static_cast<float>(x), static_cast<float>(y)));
        }
        stack.append(profile);
    }
    return stack;
}

double plane(double x, double scan) { return 0.01 * x - 0.02 * scan + 5; }
double noise(double x, double scan) { return std::fmod(1e4 * (1 + std::sin(97 * x + 31 * scan)), 1); }
bool isPart(double x, double scan) { return x > -4 && x < 6 && scan > 1.5 && scan < 6; }

OutlineParameters derived(const KvProfileZSet& stack, double level = std::nan("")) {
    OutlineParameters parameters;
    parameters.level = level;
    deriveParameters(stack, "s", parameters);
    return parameters;
}

TEST(HeightLevels, LieBetweenAPartAndItsSupport) {
    const struct {
        Height height;
        double level, tolerance;
    } cases[] = {
        {[](double x, double scan) { return plane(x, scan) + (isPart(x, scan) ? 2 : 0); }, 6, 0.15},
        {[](double x, double scan) { return plane(x, scan) - (isPart(x, scan) ? 2 : 0); }, 4, 0.15},  // hole
        {[](double x, double scan) { return isPart(x, scan) ? 1000.8 : 1000; }, 1000.4, 0.01},
        {[](double x, double scan) { return -3 + 0.2 * noise(x, scan) + (isPart(x, scan) ? 1 : 0); }, -2.4,
         0.1}};
    for (const auto& c : cases) {
        const OutlineParameters parameters = derived(stackOf(c.height));
        EXPECT_NEAR(parameters.level, c.level, c.tolerance);
        EXPECT_THAT(parameters.reason, Says("% of the points lie about "));
        EXPECT_DOUBLE_EQ(parameters.step, 0.25);
        EXPECT_DOUBLE_EQ(parameters.gap, 2.5);
        EXPECT_DOUBLE_EQ(parameters.split, 2) << "four of the coarser distances";
        EXPECT_DOUBLE_EQ(parameters.join, 2.02 * parameters.coin);
    }
}

TEST(HeightLevels, SayHowManyPointsLieOnEitherSide) {
    const KvProfileZSet stack =
        stackOf([](double x, double scan) { return isPart(x, scan) ? 7.5 + 0.25 * (x > 0) : 5.0; });
    int above = 0, all = 0;
    for (const KvProfileZ& profile : stack.profiles) {
        for (const KvPointXY& p : profile.points) {
            above += p.y > 6 ? 1 : 0;
            ++all;
        }
    }
    const QString share = QString::number(100.0 * (all - above) / all, 'f', 1),
                  rest = QString::number(100.0 * above / all, 'f', 1);
    EXPECT_THAT(derived(stack).reason, Says(share.toStdString() + " % of the points lie about 5 mm and " +
                                            rest.toStdString() + " % about 7.75 mm, hardly any from "));
}

TEST(HeightLevels, AreRefusedWhereThereAreNotTwo) {
    const Height boss = [](double x, double scan) {
        return plane(x, scan) - 5 + (!isPart(x, scan) ? 0 : x > 0 && x < 4 && scan > 3 && scan < 5 ? 40 : 10);
    };
    const struct {
        Height height;
        const char* reason;
    } cases[] = {
        {plane, "have no gap of "},
        {[](double, double) { return 5; }, "have no gap of "},
        {[](double x, double) { return std::sqrt(144 - x * x); }, "have no gap of "},
        {[](double x, double scan) { return 2 * noise(x, scan); }, "have no gap of "},
        {[](double x, double scan) { return noise(x, scan) < 0.4 ? 9 : 2; }, "lie in between each other"},
        {boss, "the heights are of 3 kinds, .*try level [45][.]?[0-9]* or level 2[45]"},
        {[](double x, double scan) { return x > -7 ? std::nan("") : plane(x, scan); }, "too few points"}};
    for (const auto& c : cases) {
        const KvProfileZSet stack = stackOf(c.height);
        const Error error = errorOf([&] { derived(stack); });
        EXPECT_THAT(textOf(error), ContainsRegex(c.reason));
        EXPECT_THAT(error, Says("s: no level that parts an object from its support"));
        double lowest = 1e9;
        for (const KvProfileZ& profile : stack.profiles) {
            for (const KvPointXY& p : profile.points)
                lowest = std::min(lowest, double(p.y));
        }
        const double all = std::floor(lowest) - 1;
        EXPECT_THAT(error, Says(' ' + QString::number(all).toStdString() + " takes"));
        int points = 0;
        for (const KvProfileZ& profile : stack.profiles)
            points += static_cast<int>(profile.points.size());
        EXPECT_EQ(findOutline(stack, derived(stack, all)).objectPoints, points);
    }
    const Error above = errorOf([] { derived(stackOf(plane), 1e9); });
    EXPECT_THAT(above, Says("no point is above the level of 1"));
}

/// Distance of a place from the line that runs through a side.
double fromSide(const OutlineLine& side, const Vector& place) {
    const Vector along(side.line.p2.x - side.line.p1.x, side.line.p2.y - side.line.p1.y);
    const Vector to(place.x - side.line.p1.x, place.y - side.line.p1.y);
    return (along.x * to.y - along.y * to.x) / std::hypot(along.x, along.y);
}

TEST(Outlines, LieNearerToTheEdgesThanTheLastPoints) {
    for (const char* shape : {"grooved-plate", "tray"}) {
        for (const double rotation : {-40.0, 7.0, 33.0}) {
            SCOPED_TRACE(testing::Message() << shape << " turned by " << rotation);
            Simulator::ScanRecipe recipe;
            recipe.shape = shape;
            recipe.rotation = rotation;
            recipe.noise = 0.02;
            recipe.dropouts = 60;
            recipe.strays = 40;
            const auto scan = Simulator::simulateScan(recipe);
            OutlineParameters parameters;
            parameters.minLength = 12;
            deriveParameters(scan->stack, "s", parameters);
            const Outline outline = findOutline(scan->stack, parameters);
            ASSERT_EQ(outline.lines.size(), 4);
            for (const Simulator::TrueEdge& edge : scan->edges) {
                double nearest = 1e9;
                for (const OutlineLine& side : outline.lines) {
                    nearest = std::min(nearest, std::max(std::fabs(fromSide(side, edge.from)),
                                                         std::fabs(fromSide(side, edge.to))));
                    EXPECT_GT(side.points, 20);
                    EXPECT_LT(side.rms, 0.15);
                    EXPECT_GT(side.freeEdge, 0);
                }
                EXPECT_LT(nearest, 0.08) << qPrintable(edge.name) << ": points are 0.2 mm apart";
            }
            for (int i = 0; i < outline.lines.size(); ++i) {
                const OutlineLine& next = outline.lines[(i + 1) % outline.lines.size()];
                EXPECT_NEAR(innerAngle(outline.lines, i), 90, 0.5);
                EXPECT_LT(std::hypot(outline.lines[i].line.p2.x - next.line.p1.x,
                                     outline.lines[i].line.p2.y - next.line.p1.y),
                          1e-9)
                    << "corners are where sides meet";
                EXPECT_LT(fromSide(outline.lines[i], {next.line.p2.x, next.line.p2.y}), 0)
                    << "the object is on the right";
            }
        }
    }
}

// Runs of points that are too short to enter cut corners off; a bevel is a side.
TEST(Outlines, HaveASideForABevelAndNoneForACutCorner) {
    const struct {
        double width, length, rowStep;
        int columns;
        double from, rotation;
    } cases[] = {{22.07, 20.11, 0.2, 320, -32.37192105933356, 3},
                 {21.7, 37.34, 0.5, 160, -32.45382681047566, 2.644},
                 {21.944, 38.26, 0.3, 160, -32.05250825846911, 37.143},
                 {44.823, 21.75, 0.2, 160, -32.38080443747222, 27.956},
                 {47.734, 17.296, 0.2, 160, -32.18645105252348, 33.974}};
    for (const auto& c : cases) {
        Simulator::ScanRecipe recipe;
        recipe.dimensions = {
            {"width", c.width}, {"length", c.length}, {"groove-width", 0}, {"groove-offset", 0}};
        recipe.rowStep = c.rowStep;
        recipe.columns = c.columns;
        recipe.xFrom = c.from;
        recipe.rotation = c.rotation;
        recipe.noise = 0.02;
        const auto scan = Simulator::simulateScan(recipe);
        const Outline outline = findOutline(scan->stack, derived(scan->stack, 70));
        ASSERT_EQ(outline.lines.size(), 4) << c.width;
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(innerAngle(outline.lines, i), 90, 0.5) << c.width;
    }
    for (const double bevel : {2.0, 3.0}) {
        const KvProfileZSet stack =
            stackOf([bevel](double x, double scan) { return x + 8 + scan >= bevel ? 5 : std::nan(""); }, 101,
                    101, 0.2, 0.2);
        const Outline outline = findOutline(stack, derived(stack, 0));
        ASSERT_EQ(outline.lines.size(), 5);
        double shortest = 20;
        for (const OutlineLine& side : outline.lines)
            shortest = std::min(shortest, length(side.line.p1, side.line.p2));
        EXPECT_NEAR(shortest, bevel * std::sqrt(2.0), 0.3);
    }
}

// The coin does not reach a corner that points in; material in that corner is a side.
TEST(Outlines, ReachIntoCornersThatPointIn) {
    for (int turn = 0; turn < 360; turn += 20) {
        for (const double bevel : {0.0, 3.0}) {
            SCOPED_TRACE(testing::Message() << turn << " degrees, bevel " << bevel);
            const double cosine = std::cos(turn / 57.3), sine = std::sin(turn / 57.3);
            const auto height = [&](double x, double scan) {
                const double u = cosine * (x - 2) + sine * (scan - 11);
                const double v = cosine * (scan - 11) - sine * (x - 2);
                const bool isInL = std::fabs(u) < 7 && std::fabs(v) < 6 && (u < 0 || v < 0);
                return isInL || (bevel > 0 && u >= 0 && v >= 0 && u + v < bevel) ? 5.0 : 0.0;
            };
            const KvProfileZSet stack = stackOf(height, 200, 200, 0.11, 0.11);
            const Outline outline = findOutline(stack, derived(stack, 2));
            ASSERT_EQ(outline.lines.size(), bevel > 0 ? 7 : 6);
            double around = 0;
            for (const OutlineLine& side : outline.lines)
                around += length(side.line.p1, side.line.p2);
            EXPECT_NEAR(around, 52 - (2 - std::sqrt(2)) * bevel, 0.4);
        }
    }
}

}  // namespace
