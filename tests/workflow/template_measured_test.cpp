// Simulated parts measured from the buffer to values and held against the truth.

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/finder.h>
#include <simulator/profile_simulator.h>
#include <tests/support/groove_template.h>
#include <tests/support/prelude.h>

#include <array>

namespace {

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

/// Worst deviations from the truth: mm for lengths and places, degrees for angles.
enum Size { Depth, Width, Opening, Rotation, RootX, RootY, Flank };
using Errors = std::array<double, 7>;

void worsen(Errors& worst, const TestSupport::GrooveTemplate& groove, const SimulatedProfile& part) {
    const auto add = [&](Size size, const char* name, double measured) {
        worst[size] = std::max(worst[size], std::abs(measured - trueValue(part, name)));
    };
    add(Depth, "depth", groove.depth->getShift());
    add(Width, "width", groove.width->getShift());
    add(Opening, "opening angle", 180 - groove.rootTurn->getAngle() * kDegrees);
    add(Rotation, "rotation", groove.inclination->getAngle() * kDegrees);
    add(RootX, "root x", groove.root->getIntersectionPoint().x);
    add(RootY, "root y", groove.root->getIntersectionPoint().y);
    add(Flank, "flank length", groove.flank->getLength());
}

/// Measures grooves of two sizes in several poses with as many seeds, disturbed as `disturbed` says: each is
/// measured, and no error is above its limit.
void expectWithin(const Errors& limits, int seeds, const ProfileRecipe& disturbed) {
    TestSupport::GrooveTemplate groove;
    Errors worst{};
    for (int i = 0; i < 4 * seeds; ++i) {
        ProfileRecipe recipe = disturbed;
        const int seed = 1 + i / 4;
        recipe.points = 1280;
        recipe.seed = static_cast<std::uint64_t>(seed);
        recipe.rotation = std::array{-8.0, 0.0, 3.0, 12.0}[static_cast<size_t>(i % 4)];
        recipe.shiftX = 8.0 - 2.0 * (seed % 7);
        recipe.shiftY = 40;
        recipe.dimensions["depth"] = seed % 2 == 0 ? 6 : 4;
        const auto part = Simulator::simulateProfile(recipe);
        QList<LinePP> segments;
        QList<TSLinesIndecies> matches;
        findTemplate(fromBuffer(*part), &groove.lines, groove.params, segments, matches);
        ASSERT_TRUE(matches.size() == 1 && evalLinesSet(segments, matches[0], groove.measurements));
        worsen(worst, groove, *part);
    }
    for (size_t size = Depth; size <= Flank; ++size)
        EXPECT_LT(worst[size], limits[size]) << size;
}

// Points are 0.047 mm apart: the one beside a corner may be counted to the wrong line, which turns it a
// little.
TEST(GrooveMeasured, CleanPartsAreOffByATenthOfThePointDistanceAtMost) {
    expectWithin({0.0023, 0.004, 0.04, 0.001, 0.0023, 0.0023, 0.004}, 14, ProfileRecipe());
}

// The width is the least certain: its ends lie where lines cross at flat angles.
TEST(GrooveMeasured, NoiseIsAveragedOutMissingPointsCostLittleAndReflectionsAreFilteredAway) {
    for (const auto& [dropouts, spikes] : {std::pair(0, 0), std::pair(3, 0), std::pair(0, 4)}) {
        SCOPED_TRACE(testing::Message() << dropouts << " dropouts, " << spikes << " spikes");
        ProfileRecipe recipe;
        recipe.noise = 0.02;
        recipe.dropouts = dropouts;
        recipe.dropoutLength = 12;
        recipe.spikes = spikes;
        expectWithin({0.02, 0.04, 0.25, 0.03, 0.02, 0.02, 0.03}, 50, recipe);
    }
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
