// What names of files say; bias and linearity; sets whose certified values follow from their rule.

#include <kvmeasure/statistics/anova.h>
#include <kvmeasure/statistics/capability.h>
#include <kvmeasure/statistics/control_chart.h>
#include <kvmeasure/statistics/distributions.h>
#include <kvmeasure/statistics/gauge_study.h>
#include <kvmeasure/statistics/linearity.h>
#include <kvmeasure/statistics/name_fields.h>
#include <kvmeasure/statistics/sample.h>
#include <tests/kvmeasure/calls.h>

namespace {

TEST(NamePattern, TakesFieldsFromNames) {
    const struct {
        const char *pattern, *name, *words;
    } rows[] = {{"part{part}_{appraiser}_{trial}", "run/part07_Ann_2.csv", "07 Ann 2"},
                {"part{part}_{appraiser}_{trial}", "part07_Ann_2", "07 Ann 2"},
                {"part{part}_{appraiser}_{trial}", "part07_Ann_2.kvs#15", "07 Ann 2"},
                {"{a}_{b}", "x_y_z.csv", "x y_z"},
                {"{}_{b}_end", "x_y_end.csv", "x y"},
                {"{station}/{part}", "all/B/4.csv", "B 4"},
                {"{a}.csv", "x.csv", "x"},
                {"{part}", "a.b.csv", "a.b"},
                {"part{part}_{who}", "part_Ann.csv", "none"},  // a field has a character at least
                {"part{part}_{who}", "part7.csv", "none"},
                {"part{part}_{who}", "apart7_B.csv", "none"},
                {"{a}_x", "_x", "none"},
                {"x{a}x", "x", "none"},
                {"{station}/{part}", "4.csv", "none"},
                {"{a}", "", "none"}};
    for (const auto& row : rows) {
        const QStringList words = NamePattern(row.pattern).wordsOf(row.name);
        EXPECT_EQ(words.isEmpty() ? "none" : words.join(' '), row.words) << row.pattern << ' ' << row.name;
    }
    const Refused wrong[] = {{"part", "has no field"},
                             {"{}", "has no field"},
                             {"{a", "without"},
                             {"a}", "without"},
                             {"{a}b}", "without"},
                             {"{a}{b}", "no text between {a} and {b}"},
                             {"{a}_{a}", "field \"a\" twice"},
                             {"{a b}", "fields are words"}};
    for (const auto& row : wrong)
        EXPECT_THAT([&] { NamePattern{row.text}; }, Refuses(row.reason)) << row.text.toStdString();
    // A pattern and a name of many pieces: no going back.
    QString pattern, name;
    for (int i = 0; i < 3000; ++i) {
        pattern += QString("a{f%1}").arg(i);
        name += "aab";
    }
    EXPECT_TRUE(NamePattern(pattern + "!").wordsOf(name).isEmpty());
}

TEST(NameTable, HasTheWordsOfFiles) {
    const ScratchDirectory scratch;
    ScratchDirectory::write("t.csv", "part,file,who\n1,a/x.csv,Ann\n2,b/y.csv,Bob\n3,c/y.csv,Cid\n");
    const NameTable table("t.csv");
    EXPECT_EQ(table.fields(), (QStringList{"part", "who"}));
    EXPECT_EQ(table.wordsOf("a/x.csv"), (QStringList{"1", "Ann"}));
    EXPECT_EQ(table.wordsOf("elsewhere/x.bin#3"), (QStringList{"1", "Ann"}));
    EXPECT_TRUE(table.wordsOf("elsewhere/y.csv").isEmpty()) << "two files are called so";
    EXPECT_EQ(table.wordsOf("c/y.csv"), (QStringList{"3", "Cid"}));
    EXPECT_TRUE(table.wordsOf("z").isEmpty());
    ScratchDirectory::write("twice.csv", "file,who\na,1\nb,2\na,3\n");
    EXPECT_THAT([] { NameTable{"twice.csv"}; }, Refuses("line 4: \"a\" is there twice"));
    ScratchDirectory::write("one.csv", "file\na\n");
    EXPECT_THAT([] { NameTable{"one.csv"}; }, Refuses("has one column"));
}

/// The digits that two numbers share.
double digits(double value, double truth) {
    return value == truth ? 17 : -std::log10(std::fabs(value - truth) / std::fabs(truth));
}

/// Nine treatments of means 1.4, 1.3, 1.5, 1.3, ... on an offset; readings are the mean, then 0.1 below and
/// above it in turn. Between 0.08 n, within 0.09 (n - 1), residual deviation 0.1, F = n.
TEST(CertifiedSets, AnovaKeepsTheDigitsOfItsValues) {
    for (const int n : {21, 201, 2001}) {
        for (const double offset : {0.0, 1e6, 1e9, 1e12}) {
            SCOPED_TRACE(testing::Message() << n << " readings on " << offset);
            std::vector<double> values;
            QStringList groups;
            // The values as they are stored, in units of the last place: whole numbers.
            const double unit = offset > 0 ? std::nextafter(offset, INFINITY) - offset : 0x1p-52;
            std::vector<std::vector<long long>> stored(9);
            for (int treatment = 0; treatment < 9; ++treatment) {
                const double mean = treatment == 0 ? 1.4 : treatment % 2 == 1 ? 1.3 : 1.5;
                for (int i = 0; i < n; ++i) {
                    const double value = offset + mean + (i == 0 ? 0 : i % 2 == 1 ? -0.1 : 0.1);
                    values.push_back(value);
                    groups.append(QString::number(treatment));
                    stored[std::size_t(treatment)].push_back(std::llround((value - (offset + 1)) / unit));
                }
            }
            // Exact: n * sum of squares less the square of the sum, as whole numbers beyond 64 bits.
            long double within = 0, between = 0, total = 0;
            std::vector<long double> sums;
            for (const auto& group : stored) {
                const long long base = group[0];
                long double sum = 0, squares = 0;  // of differences below 2^40: exact in 64 bits of mantissa
                for (const long long one : group) {
                    sum += static_cast<long double>(one - base);
                    squares += static_cast<long double>(one - base) * static_cast<long double>(one - base);
                }
                within += squares - sum / n * sum;
                sums.push_back(static_cast<long double>(base) * n + sum);
                total += sums.back();
            }
            for (const long double sum : sums)
                between += (sum - total / 9) / n * (sum - total / 9);
            const long double square = static_cast<long double>(unit) * unit;
            const OneWayAnova found = oneWayAnova(values, groups);
            EXPECT_GT(digits(found.withinSS, double(within * square)), 13.5);
            EXPECT_GT(digits(found.betweenSS, double(between * square)), 13.5);
            const double certified = offset < 1e3 ? 13 : offset < 1e7 ? 8.8 : offset < 1e10 ? 5.8 : 2.8;
            EXPECT_GT(digits(found.withinSS, 0.09 * (n - 1)), certified);
            EXPECT_GT(digits(found.betweenSS, 0.08 * n), certified);
            EXPECT_GT(digits(found.f, n), certified);
            EXPECT_GT(digits(found.residualStandardDeviation, 0.1), certified);
        }
    }
}

/// A first value, then one below and one above it in turn: the mean is the first, the deviation the step.
TEST(CertifiedSets, SamplesKeepTheDigitsOfTheirValues) {
    const struct {
        double first, step, certified;
    } sets[] = {
        {10000002, 1, 16}, {1.2, 0.1, 14.5}, {1000000.2, 0.1, 9}, {10000000.2, 0.1, 8}, {1e12 + 0.2, 0.1, 3}};
    for (const auto& set : sets) {
        std::vector<double> values{set.first};
        for (int i = 0; i < 1000; ++i)
            values.push_back(set.first + (i % 2 == 0 ? -set.step : set.step));
        const SampleSummary found = summarize(values);
        EXPECT_GT(digits(found.mean, set.first), 15) << set.first;
        EXPECT_GT(digits(found.standardDeviation, set.step), set.certified) << set.first;
        EXPECT_GT(digits(found.autocorrelation, -0.999), set.certified - 0.5) << set.first;
    }
}

TEST(OneWayAnova, OfWholeNumbersAndOfFewValues) {
    const OneWayAnova result = oneWayAnova({1, 2, 3, 5, 6, 7, 7}, {"a", "a", "a", "b", "b", "b", "b"});
    EXPECT_NEAR(result.withinSS, 2 + 2.75, 1e-14);
    EXPECT_NEAR(result.betweenSS, 3.0 * 4 / 7 * 4.25 * 4.25, 1e-13);
    EXPECT_NEAR(result.f, result.betweenSS / (4.75 / 5), 1e-12);
    EXPECT_NEAR(result.residualStandardDeviation, std::sqrt(4.75 / 5), 1e-15);
    EXPECT_FALSE(oneWayAnova({1, 2}, {"a", "b"}).reason.isEmpty());
    EXPECT_FALSE(oneWayAnova({1, 2}, {"a", "a"}).reason.isEmpty());
    EXPECT_FALSE(oneWayAnova({}, {}).reason.isEmpty());
    const OneWayAnova equal = oneWayAnova({1, 1, 2, 2}, {"a", "a", "b", "b"});
    EXPECT_TRUE(std::isnan(equal.f));
    EXPECT_EQ(equal.residualStandardDeviation, 0);
    EXPECT_FALSE(equal.reason.isEmpty());
}

/// Parts 0, 1, 2, ... by two appraisers with `trials` readings; `bent` moves every second cell.
std::vector<StudyReading> study(int parts, int trials, double bent) {
    std::vector<StudyReading> readings;
    for (int part = 0; part < parts; ++part) {
        for (int who = 0; who < 2; ++who) {
            for (int trial = 0; trial < trials; ++trial)
                readings.push_back(
                    {QString::number(part), QString::number(who),
                     part + bent * (part % 2 == who ? 1 : -1) + 0.25 * (trial % 2 == 0 ? 1 : -1)});
        }
    }
    return readings;
}

TEST(GaugeStudy, GoesOnBehindTheTablesAndPoolsWhatIsNoEffect) {
    // 12 parts and 4 trials, behind the ends of AIAG's tables: d2 = 3.25846 and d3 = 0.7785 of 12, d2
    // = 2.05875 of 4.
    const GaugeStudy range = gaugeStudy(study(12, 4, 0), StudyMethod::Range);
    EXPECT_NEAR(range.ev, 0.5 / 2.05875, 1e-5);
    EXPECT_EQ(range.av, 0);
    EXPECT_NEAR(range.pv, 11 / std::hypot(3.25846, 0.7785), 1e-2);
    EXPECT_NEAR(range.tv, std::hypot(range.ev, range.pv), 1e-12);
    // An interaction of 12 * 2 * 0.05^2 * 2 on 11 degrees beside 3 on 24 is no effect, and counts as repeats.
    const GaugeStudy pooled = gaugeStudy(study(12, 2, 0.05), StudyMethod::Anova);
    EXPECT_TRUE(pooled.isPooled);
    EXPECT_NEAR(pooled.repeatSource.squares, 48 * 0.0625 + 48 * 0.0025, 1e-9);
    EXPECT_EQ(pooled.repeatSource.freedom, 24 + 11);
    // One degree: two parts by two appraisers, read one way round by each. F is beside the interaction.
    const GaugeStudy crossed = gaugeStudy(study(2, 2, 2), StudyMethod::Anova);
    EXPECT_FALSE(crossed.isPooled);
    EXPECT_EQ(crossed.interactionSource.freedom, 1);
    EXPECT_NEAR(crossed.partSource.f, 8 * 0.25 / (8 * 4.0), 1e-12);
}

TEST(Statistics, OfTheFewestValues) {
    const BiasOfReference two = biasOf(5, {5.1, 5.3});
    EXPECT_NEAR(two.deviation, std::sqrt(0.02), 1e-12);
    const GaugeCapability gauge = gaugeCapability({5.1, 5.3}, 5, {0, 10});
    EXPECT_EQ(gauge.reason, "");
    EXPECT_NEAR(gauge.cg, 2 / (6 * std::sqrt(0.02)), 1e-12);
    EXPECT_TRUE(std::isnan(controlChart({3, 3, 3}).centre));
    // Subgroups without a range have no deviation within.
    EXPECT_TRUE(std::isnan(capability({1, 1, 2, 2}, {0, 5}, 2).cp));
    // Groups that differ less than their values.
    const OneWayAnova close = oneWayAnova({0, 4, 1, 5}, {"a", "a", "b", "b"});
    EXPECT_NEAR(close.rSquared, 1 / 17.0, 1e-12);
}

TEST(OneWayAnova, HasTheComponentsOfUnequalGroups) {
    // Groups of 1, 2 and 4: n0 = (7 - 21 / 7) / 2 = 2.
    const OneWayAnova found = oneWayAnova({9, 5, 7, 1, 2, 3, 2}, {"a", "b", "b", "c", "c", "c", "c"});
    const double mean = 29.0 / 7, within = (2 + 2.0) / 4;
    const double between =
        (std::pow(9 - mean, 2) + 2 * std::pow(6 - mean, 2) + 4 * std::pow(2 - mean, 2)) / 2;
    EXPECT_NEAR(found.varianceWithin, within, 1e-14);
    EXPECT_NEAR(found.varianceBetween, (between - within) / 2, 1e-13);
    EXPECT_EQ(oneWayAnova({1, 3, 1.5, 2.5}, {"a", "a", "b", "b"}).varianceBetween, 0) << "not below 0";
    EXPECT_TRUE(std::isnan(oneWayAnova({1, 2}, {"a", "b"}).varianceWithin));
}

/// Readings of references with a bias that is a straight line, a step or nothing.
std::vector<ReferenceReading> readings(double slope, double offset, double bend, double noise,
                                       unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, 1);
    std::vector<ReferenceReading> all;
    for (const double reference : {2.0, 4.0, 6.0, 8.0, 10.0}) {
        for (int i = 0; i < 12; ++i)
            all.push_back({reference, reference + offset + slope * reference +
                                          bend * (reference - 6) * (reference - 6) + noise * normal(random)});
    }
    return all;
}

TEST(Linearity, IsTheLineThroughTheBiases) {
    const Linearity exact = linearity(readings(-0.125, 0.75, 0, 0, 1));
    EXPECT_NEAR(exact.slope.value, -0.125, 1e-15);
    EXPECT_NEAR(exact.intercept.value, 0.75, 1e-14);
    EXPECT_EQ(exact.references.size(), 5U);
    EXPECT_NEAR(exact.references[4].bias.value, -0.5, 1e-15);
    EXPECT_FALSE(exact.curvatureReason.isEmpty());

    // By hand: references 1, 1, 2, 3 and biases 0, 2, 2, 4 have sums of squares 2.75 and 8, of products 4.
    const Linearity hand = linearity({{1, 1}, {1, 3}, {2, 4}, {3, 7}});
    const double slope = 4 / 2.75, residual = 8 - 4 * slope;
    EXPECT_NEAR(hand.slope.value, slope, 1e-14);
    EXPECT_NEAR(hand.deviation, std::sqrt(residual / 2), 1e-14);
    EXPECT_NEAR(hand.slope.high - hand.slope.value, 4.302652729911275 * std::sqrt(residual / 2 / 2.75), 1e-9);
    const double intercept = 2 - slope * 1.75,
                 uIntercept = std::sqrt(residual / 2 * (0.25 + 1.75 * 1.75 / 2.75));
    EXPECT_NEAR(hand.intercept.value, intercept, 1e-14);
    EXPECT_NEAR(hand.intercept.high - intercept, 4.302652729911275 * uIntercept, 1e-9);
    const auto probabilityOf = [](double t) { return 1 - std::fabs(t) / std::sqrt(2 + t * t); };  // 2 degrees
    EXPECT_NEAR(hand.slopeProbability, probabilityOf(slope / std::sqrt(residual / 2 / 2.75)), 1e-9);
    EXPECT_NEAR(hand.interceptProbability, probabilityOf(intercept / uIntercept), 1e-9);
    EXPECT_NEAR(hand.curvatureF, (residual - 2) / 1 / (2.0 / 1), 1e-13);
    EXPECT_NEAR(hand.rSquared, 1 - residual / 8, 1e-14);

    // What is right at 5 % is refused in 5 % of the studies, what is wrong nearly always.
    int steep = 0, bent = 0, held = 0;
    for (unsigned seed = 0; seed < 400; ++seed) {
        const Linearity level = linearity(readings(0, 0.3, 0, 0.1, seed));
        steep += level.isLinear() ? 0 : 1;
        bent += level.curvatureProbability < 0.05 ? 1 : 0;
        held += level.intercept.low <= 0.3 && 0.3 <= level.intercept.high ? 1 : 0;
    }
    EXPECT_NEAR(steep, 20, 14);
    EXPECT_NEAR(bent, 20, 14);
    EXPECT_NEAR(held, 380, 14);
    EXPECT_FALSE(linearity(readings(0.05, 0, 0, 0.1, 7)).isLinear());
    EXPECT_LT(linearity(readings(0, 0, 0.02, 0.1, 7)).curvatureProbability, 1e-4);
}

TEST(Linearity, HasReasons) {
    for (const std::vector<ReferenceReading>& few :
         {std::vector<ReferenceReading>{}, {{1, 1.5}}, {{1, 1.5}, {2, 2}}, {{3, 1}, {3, 2}, {3, 4}}}) {
        const Linearity none = linearity(few);
        EXPECT_FALSE(none.reason.isEmpty());
        EXPECT_TRUE(std::isnan(none.slope.value));
    }
    const Linearity equal = linearity({{1, 2}, {2, 3}, {3, 4}, {1, 2}});
    EXPECT_EQ(equal.slope.value, 0);
    EXPECT_TRUE(std::isnan(equal.slopeProbability));
    EXPECT_FALSE(equal.curvatureReason.isEmpty());
    EXPECT_EQ(linearity({{1, 2}, {1, 3}, {2, 2}, {2, 4}}).curvatureReason,
              "two references: any bias of them is straight");
    // 25 readings about 5.003: t by hand.
    const BiasOfReference bias = biasOf(5, {5, 5.002, 5.004, 5.006});
    EXPECT_NEAR(bias.bias.value, 0.003, 1e-15);
    EXPECT_NEAR(bias.bias.low, 0.003 - 3.182446305284263 * std::sqrt(2e-5 / 3) / 2, 1e-9);
    EXPECT_GT(bias.probability, 0.05);
    // Of Student's distribution with two degrees of freedom, beyond t on both sides: 1 - t / sqrt(2 + t^2).
    const double t = 0.003 / std::sqrt(7e-6 / 3);
    EXPECT_NEAR(biasOf(5, {5.001, 5.002, 5.006}).probability, 1 - t / std::sqrt(2 + t * t), 1e-9);
    EXPECT_TRUE(biasOf(5, {5.01, 5.012, 5.011}).isBiased());
    EXPECT_TRUE(std::isnan(biasOf(5, {5.01}).probability));
}

TEST(Distributions, HaveNoValueOutsideTheirRange) {
    for (const double share : {0.0, 1.0, -0.5, std::nan("")}) {
        EXPECT_TRUE(std::isnan(normalQuantile(share)));
        EXPECT_TRUE(std::isnan(studentQuantile(share, 3)));
        EXPECT_TRUE(std::isnan(chiSquareQuantile(share, 3)));
    }
    for (const double freedom : {0.0, -1.0, std::nan("")}) {
        EXPECT_TRUE(std::isnan(studentQuantile(0.9, freedom)));
        EXPECT_TRUE(std::isnan(chiSquareQuantile(0.9, freedom)));
        EXPECT_TRUE(std::isnan(fShareAbove(2, freedom, 3)));
        EXPECT_TRUE(std::isnan(fShareAbove(2, 3, freedom)));
    }
    EXPECT_TRUE(std::isnan(fShareAbove(std::nan(""), 2, 3)));
    EXPECT_EQ(fShareAbove(-1, 2, 3), 1);
    EXPECT_EQ(fShareAbove(INFINITY, 2, 3), 0);
    EXPECT_EQ(studentQuantile(0.1, 4), -studentQuantile(0.9, 4));
    // A Cauchy and a nearly empty distribution: far beyond any table.
    EXPECT_NEAR(studentQuantile(1 - 1e-12, 1) * 3.14159265358979323846 * 1e-12, 1, 1e-3);
    EXPECT_GT(studentQuantile(0.999, 0.002), 1e150);
    EXPECT_LT(chiSquareQuantile(1e-300, 0.5), 1e-60);
    for (const int count : {-1, 0, 1, 1001})
        EXPECT_TRUE(std::isnan(meanRangeOfNormal(count)) && std::isnan(rangeOfNormal(count).mean)) << count;
}

}  // namespace
