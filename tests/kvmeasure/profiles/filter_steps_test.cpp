// Filter steps as text: what each does to a profile, and which are refused. The running median by its plain
// form.

#include <kvmeasure/profiles/filter_steps.h>
#include <tests/kvmeasure/calls.h>

#include <kvmath/core/line.h>

namespace {

struct Place {
    float x, y;
};

KvMath::KvProfile after(const std::vector<Place>& points, const QString& steps) {
    KvMath::KvProfile profile;
    for (const Place& p : points)
        profile.points.append({p.x, p.y});
    int number = 0;
    for (const FilterStep& step : parseSteps(steps))
        applyStep(step, ++number, profile);
    return profile;
}

std::vector<float> heightsAfter(const std::vector<Place>& points, const QString& steps) {
    std::vector<float> heights;
    for (const KvMath::KvPointXY& point : after(points, steps).points)
        heights.push_back(point.y);
    return heights;
}

/// By sorting every window anew.
std::vector<float> mediansBySorting(const std::vector<Place>& points, int window, float gap) {
    const int n = int(points.size());
    const auto isJoined = [&](int i) {
        return i > 0 && i < n && std::fabs(points[size_t(i)].x - points[size_t(i) - 1].x) <= gap;
    };
    std::vector<float> medians;
    for (int i = 0; i < n; ++i) {
        int reach = 0;
        while (reach < window / 2 && isJoined(i - reach) && isJoined(i + reach + 1))
            ++reach;
        std::vector<float> heights;
        for (int k = i - reach; k <= i + reach; ++k)
            heights.push_back(points[size_t(k)].y);
        std::sort(heights.begin(), heights.end());
        medians.push_back(heights[size_t(reach)]);
    }
    return medians;
}

TEST(FilterSteps, MedianTakesTheMiddleHeightOfWindowsThatCrossNoGap) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> height(-1, 1);
    std::vector<Place> points;
    float x = 0;
    for (int i = 0; i < 400; ++i) {
        x += i % 57 == 56 ? 1.25F : i % 31 == 30 ? 0.6F : 0.125F;  // 10 pitches; 4.8, which is no gap
        points.push_back({x, i % 3 == 0 ? 0.5F : height(random)});
    }
    for (const int window : {3, 5, 31, 399})
        EXPECT_EQ(heightsAfter(points, QString("median %1").arg(window)),
                  mediansBySorting(points, window, 0.625F));
    const std::vector<Place> spike{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 9},
                                   {6, 0}, {7, 0}, {8, 0}, {9, 0}, {10, 0}};
    EXPECT_THAT(heightsAfter(spike, "median 5"), testing::Each(0)) << "one spike of 9 mm";
    EXPECT_THAT(heightsAfter(spike, "middle-by-x 5"), testing::Contains(9))
        << "which is no median of heights";
    const std::vector<float> slopes =
        heightsAfter({{0, 0}, {0, 0}, {0, 0}, {1, 1}, {2, 3}, {3, 5}, {4, 9}, {5, 9}}, "slope 2; median 3");
    EXPECT_TRUE(std::isnan(slopes[0]) && std::isnan(slopes[1])) << "unset heights stay";
    EXPECT_EQ(slopes[2], 1);
    EXPECT_EQ(slopes[3], 2);
}

TEST(FilterSteps, DoWhatTheirHelpSays) {
    const std::vector<Place> hill{{0, 0}, {1, 0}, {2, 5}, {3, 0}, {4, 0}};
    const struct {
        const char* steps;
        std::vector<float> heights;
    } cases[] = {{"cut-above 1 1", {0, 0, 0, 0}},
                 {"cut-below 0 1", {5}},
                 {"spikes-polar 2 90", {0, 0, 0, 0}},
                 {"trim-x 1 2", {0, 5}},
                 {" trim-x - 1 ;; trim-y 0 - ", {0, 0}},
                 {"trim-lower 0.5", {5}},
                 {"trim-upper 0.5", {0, 0, 0, 0}},
                 {"shift 1 2", {2, 2, 7, 2, 2}},
                 {"shift 0 1; rotate 180", {-1, -1, -6, -1, -1}},
                 {"trim-x 9 -; resample 1", {}}};
    for (const auto& c : cases) {
        const std::vector<float> found = heightsAfter(hill, c.steps);
        ASSERT_EQ(found.size(), c.heights.size()) << c.steps;
        for (std::size_t i = 0; i < found.size(); ++i)
            EXPECT_NEAR(double(found[i]), double(c.heights[i]), 1e-6) << c.steps;
    }
}

/// What a step is to the library, with the numbers of the text.
struct SameCall {
    const char* step;
    void (*call)(KvMath::KvProfile& profile);
};

TEST(FilterSteps, AreTheLibrarysFiltersWithTheirNumbersInOrder) {
    using P = KvMath::KvProfile;
    std::mt19937 random(3);
    std::uniform_real_distribution<float> height(0, 1);
    std::vector<Place> points;
    for (int i = 0; i < 120; ++i)
        points.push_back({0.125F * float(i + (i > 40 ? 9 : 0) + (i > 80 ? 3 : 0)),
                          2 + height(random) + (i % 17 == 3 ? 4 : 0)});
    const SameCall calls[] = {
        {"middle-by-x 5", [](P& p) { P(p).medFilt(p, 5); }},
        {"mean 3", [](P& p) { p.wndFilter(3); }},
        {"slope 4", [](P& p) { P(p).diffFilt(p, 4); }},
        {"lowpass 0.5", [](P& p) { p.zebFilter20(0.5F); }},
        {"cut-above 0.25 2.5", [](P& p) { p.removeHighLevel(KvMath::KvLine(0.25F, 2.5F)); }},
        {"cut-below 0.25 1.5", [](P& p) { p.removeLowLevel(KvMath::KvLine(0.25F, 1.5F)); }},
        {"median-band 0.25", [](P& p) { p.removePointsByYMedian(0.25); }},
        {"noise 7 2 0.5", [](P& p) { p.removeNoise(7, 2, 0.5F, 0); }},
        {"remove-straight 3 0.0625 0.25 30", [](P& p) { p.removeLineParts(3, 0.0625F, 0.25F, 30); }},
        {"spikes 1.5 0.25", [](P& p) { P(p).splashFilter(p, 1.5F, 0.25F); }},
        {"spikes-polar 1.5 3 4", [](P& p) { P(p).splashFilterPolar(p, 1.5F, 3, 4); }},
        {"smooth-polar 1.5 5 2", [](P& p) { P(p).wndFilterPolar(p, 1.5F, 5, 2); }},
        {"isolated 0.25 3", [](P& p) { p.removeNoisyPoints(0.25F, 3); }},
        {"trim 1 2.25 9 2.75", [](P& p) { p.trim(1, 2.25F, 9, 2.75F); }},
        {"resample 0.75 2 9", [](P& p) { p.interpolate(0.75F, 2, 9, KvMath::KvInterpolantAkima); }},
        {"rotate 30", [](P& p) { p.rotateEvklid(30); }},
        {"polar", [](P& p) { p.toPolar(); }}};
    for (const SameCall& c : calls) {
        KvMath::KvProfile expected;
        for (const Place& p : points)
            expected.points.append({p.x, p.y});
        const KvMath::KvProfile before = expected;
        c.call(expected);
        const bool isSame = std::equal(expected.points.begin(), expected.points.end(), before.points.begin(),
                                       before.points.end(),
                                       [](const auto& a, const auto& b) { return a.x == b.x && a.y == b.y; });
        EXPECT_FALSE(isSame) << c.step << " does nothing here";
        const KvMath::KvProfile found = after(points, c.step);
        ASSERT_EQ(found.points.size(), expected.points.size()) << c.step;
        for (int i = 0; i < int(found.points.size()); ++i) {
            EXPECT_EQ(found.points[i].x, expected.points[i].x) << c.step;
            EXPECT_TRUE(found.points[i].y == expected.points[i].y || std::isnan(expected.points[i].y))
                << c.step;
        }
    }
}

TEST(FilterSteps, TakeNumbersUpToTheirLimits) {
    const QString taken =
        "median 3|median 10001|middle-by-x 2|middle-by-x 10000|mean 2|mean 1000|slope 2|"
        "slope 1000|lowpass 0|noise 1 0 0|noise 1000000 1000000 1000000|remove-straight 2 0 0 0|"
        "remove-straight 2 1 0 0|spikes 0 0|spikes-polar 0 360|spikes-polar 0 0 0|"
        "spikes-polar 0 0 -|smooth-polar 0 2 1|smooth-polar 0 10000 100|isolated 0 1|"
        "isolated 0 1000|shift 1e6 -1e6|rotate -360|rotate 360|resample 1e-6";
    const QString refused =
        "median 1|median 10003|middle-by-x 1|middle-by-x 10001|mean 1|mean 1001|slope 1|"
        "slope 1001|lowpass -0.5|noise 0 0 0|noise 1 -1 0|noise 1 0 -0.5|noise 1000001 0 0|"
        "noise 1 1000001 0|remove-straight 1 0 0 0|remove-straight 2 -0.5 0 0|"
        "remove-straight 2 1.25 0 0|spikes -0.5 0|spikes-polar 0 361|spikes-polar 0 -0.5|"
        "spikes-polar 0 0 -0.5|smooth-polar -0.5 2 1|smooth-polar 0 2 0|smooth-polar 0 2 101|"
        "isolated 0 0|isolated 0 1001|shift 1000001 0|shift 0 -1000001|rotate 361|rotate -361|"
        "resample 5e-7";
    for (const QString& text : taken.split('|'))
        EXPECT_NO_THROW(parseSteps(text)) << text.toStdString();
    for (const QString& text : refused.split('|'))
        EXPECT_THROW(parseSteps(text), Error) << text.toStdString();
}

TEST(FilterSteps, ThatMakeNoSenseAreRefusedWithTheirNumber) {
    const char* const cases[][2] = {
        {"median 3; meen 5", "step 2 \"meen 5\": unknown filter \"meen\"; did you mean \"mean\"?"},
        {"smooth 5", "did you mean \"median\"?"},
        {"trim-y 5 1", "the lower limit 5 is above the upper limit 1"},
        {"median 4", "must be an odd whole number"},
        {"median 4.5", "must be an odd whole number"},
        {"mean 2.5", "must be a whole number, not 2.5"},
        {"mean 1e9", "must be from"},
        {"trim-x nan 3", "\"nan\" is no number"},
        {"resample 1e-6 0 1e6", "step 1 \"resample 1e-6 0 1e6\""},
        {"sort-x;resample 1 5 2", "step 2 \"resample 1 5 2\": TO (2) must be"},
        {"trim-x 1 1; resample 1 0 5", "step 2 \"resample 1 0 5\": needs at least"},
        {"shift 1", "DY mm is missing; expected \"shift DX mm DY mm\""},
        {"median 3 4", "unexpected \"4\""},
        {"; ;", "names no step"},
        {"", "names no step"}};
    for (const auto& [steps, reason] : cases) {
        const Error error = errorOf([text = steps] { after({{0, 0}, {1, 0}, {2, 5}}, text); });
        EXPECT_THAT(error, Says(reason)) << steps;
        EXPECT_EQ(error.parameter(), "steps");
    }
    QString many = "sort-x";
    for (int i = 0; i < 100; ++i)
        many += ";sort-x";
    EXPECT_THAT([&many] { parseSteps(many); }, Refuses("more than 100 steps"));
}

}  // namespace
