#include <kvmath/tsearch/search.h>

#include <tests/support/prelude.h>

namespace {

using Codes = std::vector<int>;

/// Accepts by a hash of the codes up to the level, and records what it was asked.
struct HashedCheck {
    unsigned seed, oneIn;
    std::vector<Codes> asked;

    static bool call(LinePP* /*lines*/, int* codes, int level, void* data) {
        auto& self = *static_cast<HashedCheck*>(data);
        self.asked.emplace_back(codes, codes + level + 1);
        unsigned hash = self.seed;
        for (const int code : self.asked.back())
            hash = (hash ^ static_cast<unsigned>(code)) * 2654435761U;
        return (hash >> 16) % self.oneIn != 0;
    }
};

/// Nested loops over codes, earlier lines scanned for the segment. Returns every admissible assignment.
void enumerate(int nLines, size_t T, int step, Codes& codes, HashedCheck& check, std::vector<Codes>& all) {
    const size_t level = codes.size();
    if (level == T) {
        all.push_back(codes);
        return;
    }
    codes.push_back(0);
    for (int code = 0; code < 2 * nLines; code += step) {
        codes[level] = code;
        if (std::any_of(codes.begin(), codes.end() - 1, [code](int c) { return c / 2 == code / 2; }))
            continue;
        if (HashedCheck::call(nullptr, codes.data(), static_cast<int>(level), &check))
            enumerate(nLines, T, step, codes, check, all);
    }
    codes.pop_back();
}

struct Search {
    std::vector<LinePP> lines;
    int T;
    bool reversed = true;
    HashedCheck check{0, 1000000, {}};
    int* codes = nullptr;

    Search(int n, int templateLines, bool allowReversed = true)
        : lines(static_cast<size_t>(n)), T(templateLines), reversed(allowReversed) {
        for (int k = 0; k < n; ++k)
            lines[static_cast<size_t>(k)] = LinePP({0, 0}, {1.0 + k % 3, 0});
    }
    ~Search() { delete[] codes; }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    bool run(bool findBest = false) {
        return templateSearch(lines.data(), static_cast<int>(lines.size()), T, &HashedCheck::call, &check,
                              nullptr, nullptr, findBest, reversed, codes);
    }
    Codes found() const { return {codes, codes + T}; }
};

TEST(TemplateSearch, ResumedCallsFindWhatNestedLoopsFindWithTheSameQuestions) {
    TestSupport::Draws draws(1);
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        Search search(draws.integer(0, 5), draws.integer(1, 4), draws.chance(0.5));
        search.check = {static_cast<unsigned>(trial), draws.chance(0.3) ? 1000000U : 3U, {}};
        HashedCheck literal = search.check;
        std::vector<Codes> expected;
        Codes start;
        if (static_cast<int>(search.lines.size()) >= search.T)
            enumerate(static_cast<int>(search.lines.size()), static_cast<size_t>(search.T),
                      search.reversed ? 1 : 2, start, literal, expected);
        std::vector<Codes> found;
        while (search.run())
            found.push_back(search.found());
        ASSERT_EQ(found, expected);
        ASSERT_EQ(search.check.asked, literal.asked);
        if (found.empty()) {
            EXPECT_THAT(search.found(), Each(search.reversed ? -1 : -2));
            continue;
        }
        EXPECT_EQ(search.found(), found.back());  // a failing resume leaves the array
        Search best(static_cast<int>(search.lines.size()), search.T, search.reversed);
        best.check = {static_cast<unsigned>(trial), literal.oneIn, {}};
        EXPECT_TRUE(best.run(/*findBest=*/true));
        const auto total = [&](const Codes& codes) {
            double sum = 0;
            for (const int code : codes)
                sum += best.lines[static_cast<size_t>(code / 2)].p2.x;
            return sum;
        };
        const auto shorter = [&](const Codes& a, const Codes& b) { return total(a) < total(b); };
        EXPECT_EQ(best.found(), *std::max_element(found.begin(), found.end(), shorter));
    }
}

TEST(TemplateSearch, MoreTemplateLinesThanSegmentsFailAtOnce) {
    Search search(30, 31);
    EXPECT_FALSE(search.run());
    EXPECT_TRUE(search.check.asked.empty());
    EXPECT_THAT(search.found(), Each(-1));
    for (const int T : {0, -1, 65537}) {
        int* codes = nullptr;
        EXPECT_FALSE(
            templateSearch(nullptr, 1 << 30, T, nullptr, nullptr, nullptr, nullptr, false, true, codes));
        EXPECT_EQ(codes, nullptr);
    }
}

TEST(TemplateSearch, RefusesToResumeFromCodesThatNameNoSegment) {
    const struct {
        Codes codes;
        bool found;
        Codes after;
    } cases[] = {{{0, 2, -1}, true, {0, 2, 4}},
                 {{0, 2, -2}, false, {0, 2, -2}},
                 {{-1, 2, 4}, false, {-1, 2, 4}},
                 {{0, 6, 2}, false, {0, 6, 2}},
                 {{0, 2, 6}, false, {0, 2, 6}},
                 {{0, 2, 5}, true, {0, 3, 4}},
                 {{2, 2, 5}, true, {2, 4, 0}},
                 {{2, 3, 5}, true, {2, 4, 0}},
                 {{4, 3, 1}, true, {5, 0, 2}},
                 {{5, 3, 1}, false, {5, 3, 1}},
                 {{1, 2147483647, 0}, false, {1, 2147483647, 0}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.codes));
        Search search(3, 3);
        search.codes = new int[3];
        std::copy(c.codes.begin(), c.codes.end(), search.codes);
        EXPECT_EQ(search.run(), c.found);
        EXPECT_EQ(search.found(), c.after);
    }
}

TEST(TemplateSearch, BestCallbackGetsItsOwnDataAndDecidesAlone) {
    Search search(3, 1, /*allowReversed=*/false);
    std::vector<Codes> seen;
    const auto last = [](LinePP*, int* candidate, int* best, int T, void* data) {
        static_cast<std::vector<Codes>*>(data)->push_back({T, candidate[0], best[0]});
        return candidate[0] != 2;
    };
    EXPECT_TRUE(
        templateSearch(search.lines.data(), 3, 1, nullptr, nullptr, last, &seen, true, false, search.codes));
    EXPECT_THAT(seen, ElementsAre(Codes{1, 0, -2}, Codes{1, 2, 0}, Codes{1, 4, 0}));
    EXPECT_THAT(search.found(), ElementsAre(4));
}

TEST(DefaultCheck, BoundsHoldOnEqualityAndMinusOneIsNone) {
    const double quarter = std::acos(0.0);
    const double nan = std::nan("");
    const struct {
        const char* name;
        double minDistance, maxDistance, minAngle, maxAngle;
        int sign;
        KvVector2D<double> end;
        bool accepted;
    } cases[] = {// line 0 from (0, 0) to (10, 0); line 1 starts at (13, 4), five away from its end
                 {"no bounds", -1, -1, -1, -1, 0, {13, 9}, true},
                 {"distance on both limits", 5, 5, -1, -1, 0, {13, 9}, true},
                 {"one step too far", -1, std::nextafter(5.0, 0.0), -1, -1, 0, {13, 9}, false},
                 {"one step too near", std::nextafter(5.0, 6.0), -1, -1, -1, 0, {13, 9}, false},
                 {"any other negative bound is live", -1, -0.5, -1, -1, 0, {13, 9}, false},
                 {"angle on both limits", -1, -1, quarter, quarter, 1, {13, 9}, true},
                 {"angle too wide", -1, -1, -1, std::nextafter(quarter, 0.0), 0, {13, 9}, false},
                 {"angle too narrow", -1, -1, std::nextafter(quarter, 2.0), -1, 0, {13, 9}, false},
                 {"left turn refused", -1, -1, quarter, -1, -1, {13, 9}, false},
                 {"right turn", -1, -1, quarter, -1, -1, {13, -9}, true},
                 {"sign without an angle bound", -1, -1, -1, -1, -1, {13, 9}, true},
                 {"no turn counts as a right turn", -1, -1, 0, -1, 1, {20, 4}, false},
                 {"no turn, right turn wanted", -1, -1, 0, -1, -1, {20, 4}, true},
                 {"NaN angle passes", -1, -1, 1, 1, 0, {13, 4}, true},
                 {"NaN bound passes", nan, nan, nan, nan, 0, {13, 9}, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        DefaultCheckFunctionParams params;
        initDefaultCheckFunctionParams(params, 3);
        params.minDistance[1 * 3 + 0] = c.minDistance;
        params.maxDistance[1 * 3 + 0] = c.maxDistance;
        params.minAngle[1 * 3 + 0] = c.minAngle;
        params.maxAngle[1 * 3 + 0] = c.maxAngle;
        params.rotationSign[1 * 3 + 0] = c.sign;
        LinePP lines[] = {LinePP({10, 0}, {0, 0}), LinePP({13, 4}, c.end)};
        int codes[] = {1, 2, -1};
        EXPECT_EQ(defaultCheckFunction(lines, codes, 1, &params), c.accepted);
        EXPECT_TRUE(defaultCheckFunction(lines, codes, 0, &params));
        int gap[] = {-1, 2};
        EXPECT_FALSE(defaultCheckFunction(lines, gap, 1, &params)) << "the one before is not assigned";
        EXPECT_FALSE(defaultCheckFunction(lines, codes, 2, &params)) << "unassigned";
        EXPECT_FALSE(defaultCheckFunction(lines, codes, 3, &params)) << "outside the tables";
        EXPECT_FALSE(defaultCheckFunction(nullptr, codes, 0, &params) ||
                     defaultCheckFunction(lines, nullptr, 0, &params) ||
                     defaultCheckFunction(lines, codes, 0, nullptr) ||
                     defaultCheckFunction(lines, codes, -1, &params));
        clearDefaultCheckFunctionParams(params);
    }
    double quarterOnly[] = {-1, -1, quarter, -1};
    DefaultCheckFunctionParams bare{};  // a host's own, without the tables that it does not need
    bare.linesNumber = 2;
    LinePP bent[] = {LinePP({0, 0}, {9, 0}), LinePP({9, 0}, {18, 9})};
    int along[] = {0, 2};
    EXPECT_TRUE(defaultCheckFunction(bent, along, 1, &bare));
    bare.maxAngle = quarterOnly;
    EXPECT_TRUE(defaultCheckFunction(bent, along, 1, &bare));
    bare.minAngle = quarterOnly;
    EXPECT_FALSE(defaultCheckFunction(bent, along, 1, &bare));
    for (const int T : {0, -5, 4097, INT_MAX}) {
        DefaultCheckFunctionParams none;
        initDefaultCheckFunctionParams(none, T);
        EXPECT_TRUE(none.linesNumber == 0 && !none.maxDistance && !none.rotationSign) << T;
        clearDefaultCheckFunctionParams(none);
    }
}

// Bounds are often the very root that is judged, or its neighbour.
TEST(DefaultCheck, DistancesAreJudgedByTheirRoots) {
    Draws draws(3);
    DefaultCheckFunctionParams params;
    initDefaultCheckFunctionParams(params, 3);
    const auto coordinate = [&draws] { return draws.real(-1, 1) * std::pow(10, draws.integer(-170, 170)); };
    for (int trial = 0; trial < 3000; ++trial) {
        std::vector<LinePP> lines;
        for (int k = 0; k < 3; ++k)
            lines.emplace_back(KvVector2D<double>(coordinate(), coordinate()),
                               KvVector2D<double>(coordinate(), coordinate()));
        bool expected = true;
        for (int j = 0; j < 2; ++j) {
            const double dx = lines[2].p1.x - lines[size_t(j)].p2.x,
                         dy = lines[2].p1.y - lines[size_t(j)].p2.y;
            const double d = std::sqrt(dx * dx + dy * dy);
            const auto pick = [&] {
                const double near[] = {d, std::nextafter(d, 0), std::nextafter(d, HUGE_VAL), d * 2, d / 2,
                                       -1};
                return near[draws.integer(0, 5)];
            };
            const double upper = params.maxDistance[2 * 3 + j] = pick();
            const double lower = params.minDistance[2 * 3 + j] = pick();
            expected = expected && !(upper != -1 && d > upper) && !(lower != -1 && lower > d);
        }
        int codes[] = {0, 2, 4};
        ASSERT_EQ(defaultCheckFunction(lines.data(), codes, 2, &params), expected) << trial;
    }
    clearDefaultCheckFunctionParams(params);
}

// Rounding carries the cosine of every sixth such pair past 1.
TEST(DefaultCheck, ParallelLinesHaveAnglesZeroAndPi) {
    Draws draws(2);
    DefaultCheckFunctionParams params;
    initDefaultCheckFunctionParams(params, 2);
    for (int trial = 0; trial < 400; ++trial) {
        const KvVector2D<double> end(draws.real(-50, 50), draws.real(-50, 50));
        LinePP lines[] = {LinePP({0, 0}, end), LinePP({0, 0}, end)};
        const bool along = trial % 2 == 0;
        int codes[] = {0, along ? 2 : 3};
        params.minAngle[2] = along ? 0.5 : -1;
        params.maxAngle[2] = along ? -1 : 3;
        ASSERT_FALSE(defaultCheckFunction(lines, codes, 1, &params));
    }
    clearDefaultCheckFunctionParams(params);
}

TEST(DefaultBest, OnlyAGreaterTotalReplaces) {
    LinePP lines[] = {LinePP({0, 0}, {3, 4}), LinePP({0, 0}, {0, 5}), LinePP({0, 0}, {6, 0})};
    int none[] = {-1}, first[] = {0}, equal[] = {3}, longer[] = {4}, partly[] = {4, -2}, both[] = {0, 2};
    EXPECT_TRUE(defaultBestFunction(lines, first, none, 1, nullptr));
    EXPECT_FALSE(defaultBestFunction(lines, equal, first, 1, nullptr));
    EXPECT_TRUE(defaultBestFunction(lines, longer, first, 1, nullptr));
    EXPECT_TRUE(defaultBestFunction(lines, both, partly, 2, nullptr));
    EXPECT_FALSE(defaultBestFunction(lines, partly, both, 2, nullptr));
    EXPECT_FALSE(defaultBestFunction(lines, nullptr, none, 1, nullptr) ||
                 defaultBestFunction(lines, first, nullptr, 1, nullptr));
    EXPECT_FALSE(defaultBestFunction(nullptr, longer, first, 1, nullptr));
}

}  // namespace
