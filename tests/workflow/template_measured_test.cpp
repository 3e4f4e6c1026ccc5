// Simulated parts measured from the buffer to values and held against the truth.

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/finder.h>
#include <simulator/profile_simulator.h>
#include <tests/support/groove_template.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace KvMath;
using Simulator::ProfileRecipe;
using Simulator::SimulatedProfile;
using Simulator::trueValue;

constexpr double kDegrees = 180 / M_PI;

/// The scanner's buffer without single points that stick out by more than 1 mm.
KvProfile fromBuffer(const SimulatedProfile& simulated) {
    const std::vector<float> buffer = Simulator::xyBuffer(simulated.profile);
    const KvProfile raw(buffer.data(), static_cast<unsigned short>(buffer.size() / 2));
    KvProfile clean;
    raw.splashFilter(clean, 1.0F, 0.2F);
    return clean;
}

/// Worst deviations from the truth over many parts.
struct WorstErrors {
    double depth = 0, width = 0, opening = 0, inclination = 0, root = 0, flank = 0;
    int parts = 0, notMeasured = 0;

    void add(TestSupport::GrooveTemplate& groove, const SimulatedProfile& part) {
        const auto worsen = [&part](double& worst, const char* name, double measured) {
            worst = std::max(worst, std::abs(measured - trueValue(part, name)));
        };
        worsen(depth, "depth", groove.depth->getShift());
        worsen(width, "width", groove.width->getShift());
        worsen(opening, "opening angle", 180 - groove.rootTurn->getAngle() * kDegrees);
        worsen(inclination, "rotation", groove.inclination->getAngle() * kDegrees);
        worsen(root, "root x", groove.root->getIntersectionPoint().x);
        worsen(root, "root y", groove.root->getIntersectionPoint().y);
        worsen(flank, "flank length", groove.flank->getLength());
    }
};

/// Measures grooves of two sizes in several poses with as many seeds; `change` adds the disturbance.
template <class Change>
WorstErrors measureGrooves(Change change, int seeds) {
    TestSupport::GrooveTemplate groove;
    WorstErrors worst;
    for (int seed = 1; seed <= seeds; ++seed) {
        for (const double rotation : {-8.0, 0.0, 3.0, 12.0}) {
            ProfileRecipe recipe;
            recipe.points = 1280;
            recipe.seed = static_cast<std::uint64_t>(seed);
            recipe.rotation = rotation;
            recipe.shiftX = 8.0 - 2.0 * (seed % 7);
            recipe.shiftY = 40;
            recipe.dimensions["depth"] = seed % 2 == 0 ? 6 : 4;
            change(recipe);
            const auto part = Simulator::simulateProfile(recipe);
            QList<LinePP> segments;
            QList<TSLinesIndecies> matches;
            findTemplate(fromBuffer(*part), &groove.lines, groove.params, segments, matches);
            ++worst.parts;
            if (matches.size() == 1 && evalLinesSet(segments, matches[0], groove.measurements))
                worst.add(groove, *part);
            else
                ++worst.notMeasured;
        }
    }
    return worst;
}

/// Every part was measured, and no error is above its limit: mm for lengths and places, degrees for angles.
void expectWithin(const WorstErrors& worst, const WorstErrors& limits) {
    EXPECT_GE(worst.parts, 50);
    EXPECT_EQ(worst.notMeasured, 0);
    EXPECT_LT(worst.depth, limits.depth);
    EXPECT_LT(worst.width, limits.width);
    EXPECT_LT(worst.opening, limits.opening);
    EXPECT_LT(worst.inclination, limits.inclination);
    EXPECT_LT(worst.root, limits.root);
    EXPECT_LT(worst.flank, limits.flank);
}

// Points are 0.047 mm apart: the one beside a corner may be counted to the wrong line, which turns it a
// little.
TEST(GrooveMeasured, CleanPartsAreOffByATenthOfThePointDistanceAtMost) {
    expectWithin(measureGrooves([](ProfileRecipe&) {}, 14), {0.0023, 0.004, 0.04, 0.001, 0.0023, 0.004});
}

// Noise of 0.02 mm. The width is the least certain: its ends lie where lines cross at flat angles.
const WorstErrors kNoisyLimits = {0.02, 0.04, 0.25, 0.03, 0.02, 0.03};

TEST(GrooveMeasured, NoiseIsAveragedOut) {
    expectWithin(measureGrooves([](ProfileRecipe& recipe) { recipe.noise = 0.02; }, 50), kNoisyLimits);
}

TEST(GrooveMeasured, MissingPointsCostLittle) {
    const auto disturb = [](ProfileRecipe& recipe) {
        recipe.noise = 0.02;
        recipe.dropouts = 3;
        recipe.dropoutLength = 12;
    };
    expectWithin(measureGrooves(disturb, 50), kNoisyLimits);
}

TEST(GrooveMeasured, ReflectionsAreFilteredAway) {
    const auto disturb = [](ProfileRecipe& recipe) {
        recipe.noise = 0.02;
        recipe.spikes = 4;
    };
    expectWithin(measureGrooves(disturb, 50), kNoisyLimits);
}

TEST(GrooveMeasured, OtherPartsAreNotTakenForAGroove) {
    TestSupport::GrooveTemplate groove;
    for (const char* shape : {"step", "bead", "plate", "gap", "square-groove"}) {
        ProfileRecipe recipe;
        recipe.shape = shape;
        recipe.noise = 0.02;
        QList<LinePP> segments;
        QList<TSLinesIndecies> matches;
        findTemplate(fromBuffer(*Simulator::simulateProfile(recipe)), &groove.lines, groove.params, segments,
                     matches);
        EXPECT_TRUE(matches.isEmpty()) << shape;
    }
}

}  // namespace
