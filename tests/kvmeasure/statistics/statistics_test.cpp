// Statistics beside whole numbers, published tables and the formulas of the distributions.

#include <kvmeasure/statistics/anova.h>
#include <kvmeasure/statistics/capability.h>
#include <kvmeasure/statistics/control_chart.h>
#include <kvmeasure/statistics/distributions.h>
#include <kvmeasure/statistics/gauge_study.h>
#include <kvmeasure/statistics/sample.h>
#include <tests/kvmeasure/calls.h>

namespace {

/// Digits that agree.
double logRelativeError(double value, double truth) {
    return value == truth ? 17 : -std::log10(std::fabs(value - truth) / std::fabs(truth));
}

TEST(Sample, KeepsItsDigitsOnAnOffset) {
    // Of 1001 values, half of them 0.25 below and half 0.25 above the first: mean the first, s = 0.25.
    for (const double offset : {0.0, 1e6, 1e9, 1e12}) {
        std::vector<double> values{offset};
        QStringList groups{"a"};
        for (int i = 0; i < 1000; ++i) {
            values.push_back(offset + (i % 2 == 0 ? 0.25 : -0.25));
            groups.append(i % 2 == 0 ? "b" : "c");
        }
        const SampleSummary summary = summarize(values);
        EXPECT_EQ(summary.mean, offset);
        EXPECT_GT(logRelativeError(summary.standardDeviation, 0.25), 15) << offset;
        // Within the groups nothing varies but b and c: the first of b is moved by a half.
        values[1] += 0.5;
        const OneWayAnova anova = oneWayAnova(values, groups);
        EXPECT_GT(logRelativeError(anova.withinSS, 0.25 * 499 / 500), 14) << offset;
    }
}

TEST(Sample, HasTheOrderStatisticsAndTheirNeighbours) {
    // Values stand for shares of 1/8, 3/8, 5/8 and 7/8, and lie on straight lines between these.
    const std::vector<double> values{30, 10, 40, 20};
    const double shares[][2] = {{0.0, 10.0}, {0.1, 10}, {0.125, 10}, {0.25, 15}, {0.375, 20},
                                {0.5, 25},   {0.8, 37}, {0.875, 40}, {0.9, 40},  {1, 40}};
    for (const auto& [share, value] : shares)
        EXPECT_NEAR(percentile(values, share), value, 1e-12) << share;
    EXPECT_EQ(percentile({7}, 0.5), 7);
    EXPECT_EQ(percentile({1, 3}, 0.5), 2);
    for (const double share : {-0.001, 1.001, double(NAN)})
        EXPECT_TRUE(std::isnan(percentile(values, share))) << share;
    EXPECT_TRUE(std::isnan(percentile({}, 0.5)));
    // About 2.5: -1.5, -0.5, 0.5, 1.5, with squares of 5 and products of neighbours of 1.25.
    EXPECT_NEAR(summarize({1001, 1002, 1003, 1004}).autocorrelation, 0.25, 1e-15);
    EXPECT_TRUE(std::isnan(summarize({2, 2, 2}).autocorrelation));
}

TEST(Distributions, AreThoseOfTables) {
    EXPECT_NEAR(normalQuantile(0.975), 1.959963984540054, 1e-14);
    EXPECT_NEAR(normalQuantile(0.00135), -2.999976992703393, 1e-12);
    EXPECT_NEAR(studentQuantile(0.975, 1), 12.706204736174698, 1e-10);
    EXPECT_NEAR(studentQuantile(0.975, 2), 0.95 / std::sqrt(2 * 0.975 * 0.025), 1e-12);
    EXPECT_NEAR(chiSquareQuantile(0.025, 9), 2.700389499980358, 1e-11);
    EXPECT_NEAR(chiSquareQuantile(0.975, 99), 128.4219886438403, 1e-9);
    EXPECT_NEAR(fShareAbove(3.098391224, 2, 20), 0.0673, 2e-4);
    EXPECT_NEAR(fShareAbove(1, 7, 7), 0.5, 1e-14);
    const struct {
        int count;
        double mean, deviation;
    } ranges[] = {
        {2, 1.128379, 0.852502}, {3, 1.692569, 0.888368}, {5, 2.325929, 0.864082}, {10, 3.077505, 0.797051}};
    for (const auto& range : ranges) {
        EXPECT_NEAR(rangeOfNormal(range.count).mean, range.mean, 1e-6);
        EXPECT_NEAR(rangeOfNormal(range.count).deviation, range.deviation, 1e-3);
    }
    for (const double none : {normalQuantile(0), normalQuantile(NAN), studentQuantile(0.5, 0),
                              chiSquareQuantile(1, 3), fShareAbove(1, 0, 1), rangeOfNormal(1).mean})
        EXPECT_TRUE(std::isnan(none));
}

TEST(Capability, HasTheFormulasAndReasons) {
    // Moving ranges of 1, 2, 1, 2, 1: mean 1.4.
    const std::vector<double> values{10, 11, 9, 10, 12, 11};
    const Capability found = capability(values, {5, 16});
    const double within = 1.4 / 1.1283791670955126, overall = std::sqrt(5.5 / 5);
    EXPECT_NEAR(found.deviationWithin, within, 1e-9);
    EXPECT_NEAR(found.cp, 11 / (6 * within), 1e-9);
    EXPECT_NEAR(found.cpk, 5.5 / (3 * within), 1e-9);
    EXPECT_NEAR(found.pp.value, 11 / (6 * overall), 1e-12);
    EXPECT_NEAR(found.ppk.value, 5.5 / (3 * overall), 1e-12);
    EXPECT_NEAR(found.pp.low, found.pp.value * std::sqrt(0.831211613 / 5), 1e-8);
    EXPECT_NEAR(found.shareOutside, 2 * normalShareBelow(-5.5 / overall), 1e-15);
    EXPECT_FALSE(found.percentilesReason.isEmpty());
    EXPECT_NEAR(capability(values, {5, 16}, 3).deviationWithin, 2 / rangeOfNormal(3).mean, 1e-9);
    const Capability oneSided = capability(values, {5, INFINITY});
    EXPECT_TRUE(std::isnan(oneSided.cp));
    EXPECT_NEAR(oneSided.cpk, 5.5 / (3 * within), 1e-9);
    for (const std::vector<double>& none : {std::vector<double>{}, {1.0}, {2.0, 2.0, 2.0}}) {
        const Capability no = capability(none, {0, 5});
        EXPECT_FALSE(no.reason.isEmpty());
        for (const double value : {no.cp, no.cpk, no.pp.value, no.ppk.value, no.shareOutside})
            EXPECT_TRUE(std::isnan(value));
        EXPECT_FALSE(gaugeCapability(none, 2, {0, 5}).reason.isEmpty());
    }
    const GaugeCapability gauge = gaugeCapability(values, 10, {0, 100});
    EXPECT_NEAR(gauge.cg, 20 / (6 * overall), 1e-12);
    EXPECT_NEAR(gauge.cgk, 9.5 / (3 * overall), 1e-12);
    EXPECT_FALSE(gauge.isBiased);
    EXPECT_TRUE(gaugeCapability(values, 7, {0, 100}).isBiased);
}

TEST(Capability, OfPercentilesAndOfValuesOnTheirLimits) {
    std::vector<double> values;
    for (int i = 1; i <= 1000; ++i)
        values.push_back(i);
    // Places p 1000 - 0.5 of 1.35, 500 and 998.65: values of 1.85, 500.5 and 999.15.
    const Capability found = capability(values, {-100, 1001});
    EXPECT_EQ(found.percentilesReason, "");
    EXPECT_NEAR(found.ppByPercentiles, 1101 / (999.15 - 1.85), 1e-9);
    EXPECT_NEAR(found.ppkByPercentiles, 500.5 / (999.15 - 500.5), 1e-9);
    EXPECT_NEAR(capability(values, {0, 2000}).ppkByPercentiles, 500.5 / (500.5 - 1.85), 1e-9);
    EXPECT_NEAR(capability(values, {-INFINITY, 1001}).ppkByPercentiles, 500.5 / (999.15 - 500.5), 1e-9);
    EXPECT_TRUE(std::isnan(capability(values, {-INFINITY, 1001}).ppByPercentiles));
    EXPECT_EQ(capability(values, {1, 1000}).outside, 0) << "a value on a limit is good";
    EXPECT_EQ(capability(values, {2, 998}).outside, 3);
    std::vector<double> flat(1000, 5.0);
    flat[0] = 4;
    EXPECT_EQ(capability(flat, {0, 10}).percentilesReason, "the percentiles are equal");
    values.pop_back();
    EXPECT_TRUE(std::isnan(capability(values, {0, 2000}).ppkByPercentiles));
    // Ranges of 1, 2, 4 of neighbours; of 1 and 4 of pairs; of 3 of one group of three.
    const std::vector<double> few{1, 2, 4, 8};
    EXPECT_NEAR(capability(few, {}, 1).deviationWithin, 7.0 / 3 / meanRangeOfNormal(2), 1e-12);
    EXPECT_NEAR(capability(few, {}, 2).deviationWithin, 2.5 / meanRangeOfNormal(2), 1e-12);
    EXPECT_NEAR(capability(few, {}, 3).deviationWithin, 3 / meanRangeOfNormal(3), 1e-12);
    EXPECT_TRUE(std::isnan(capability(few, {}, 5).deviationWithin));
    // Bissell's limits: 1.96 sqrt(1 / 9 n + Ppk^2 / 2 (n - 1)).
    const Capability four = capability(few, {-3, 30});
    const double ppk = 6.75 / (3 * std::sqrt(28.75 / 3)),
                 reach = 1.959963984540054 * std::sqrt(1 / 36.0 + ppk * ppk / 6);
    EXPECT_NEAR(four.ppk.value, ppk, 1e-12);
    EXPECT_NEAR(four.ppk.low, ppk - reach, 1e-12);
    EXPECT_NEAR(four.ppk.high, ppk + reach, 1e-12);
    EXPECT_NEAR(four.pp.high / four.pp.value, std::sqrt(9.348403604496148 / 3), 1e-9) << "chi-square of 3";
    // Two values, the fewest.
    EXPECT_EQ(capability({1, 3}, {0, 4}).reason, "");
    EXPECT_NEAR(capability({1, 3}, {0, 4}).cpk, 2 / (3 * 2 / meanRangeOfNormal(2)), 1e-12);
}

TEST(Tests, FindWhatIsNotNormal) {
    std::mt19937 random(4);
    std::normal_distribution<double> noise(5, 0.1);
    int refused = 0, outliers = 0;
    for (int trial = 0; trial < 400; ++trial) {
        std::vector<double> values(50);
        for (double& value : values)
            value = noise(random);
        refused += testNormality(values).probability < 0.05 ? 1 : 0;
        outliers += testOutlier(values).isOutlier() ? 1 : 0;
        values[17] = 6;
        EXPECT_TRUE(testOutlier(values).isOutlier());
        EXPECT_EQ(testOutlier(values).index, 17);
        for (double& value : values)
            value = std::exp(10 * (value - 5));
        EXPECT_LT(testNormality(values).probability, 0.05);
    }
    EXPECT_NEAR(refused, 20, 14) << "5 % of 400";
    EXPECT_NEAR(outliers, 20, 14) << "5 % of 400";
    EXPECT_NEAR(testOutlier({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}).critical, 2.290, 5e-4) << "Grubbs' table for 10";
}

/// A^2 of a normal distribution of which mean and deviation are estimated, by its formula.
double andersonDarling(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const SampleSummary summary = summarize(values);
    const auto n = static_cast<int>(values.size());
    double sum = 0;
    for (int i = 1; i <= n; ++i) {
        const auto share = [&](int k) {
            return std::erfc(-(values[std::size_t(k - 1)] - summary.mean) / summary.standardDeviation /
                             std::sqrt(2.0)) /
                   2;
        };
        sum += (2 * i - 1) / double(n) * (std::log(share(i)) + std::log(1 - share(n + 1 - i)));
    }
    return (-n - sum) * (1 + 0.75 / n + 2.25 / n / n);
}

TEST(Tests, HaveTheProbabilitiesOfTheirTable) {
    // Places of a normal distribution, bent more and more.
    const auto bent = [](double bend) {
        std::vector<double> values;
        for (int i = 0; i < 40; ++i) {
            const double z = normalQuantile((i + 0.5) / 40);
            values.push_back(z + bend * z * z);
        }
        return values;
    };
    // D'Agostino and Stephens, table 4.7.
    const double entries[][2] = {{0.341, 0.5},  {0.470, 0.25},  {0.561, 0.15}, {0.631, 0.1},
                                 {0.752, 0.05}, {0.873, 0.025}, {1.035, 0.01}, {1.159, 0.005}};
    for (const auto& [statistic, probability] : entries) {
        double from = 0, to = 1;
        while (to - from > 1e-9) {
            const double middle = (from + to) / 2;
            (andersonDarling(bent(middle)) < statistic ? from : to) = middle;
        }
        const NormalityTest test = testNormality(bent(from));
        EXPECT_NEAR(test.statistic, statistic, 1e-6);
        EXPECT_NEAR(test.probability, probability, 0.04 * probability) << "the table has two or three digits";
    }
    // It falls without a leap from 1 to 0: the more bent, the less likely.
    NormalityTest before = testNormality(bent(0));
    EXPECT_GT(before.probability, 0.999);
    for (double bend = 0.002; bend < 1; bend += 0.002) {
        const NormalityTest test = testNormality(bent(bend));
        ASSERT_NEAR(test.statistic, andersonDarling(bent(bend)), 1e-9 * (1 + test.statistic));
        ASSERT_LE(test.probability, before.probability + 1e-3) << test.statistic;
        ASSERT_LE(before.probability - test.probability, 8 * (test.statistic - before.statistic) + 1e-3)
            << test.statistic;
        before = test;
    }
    EXPECT_LT(before.probability, 1e-6);
    std::vector<double> apart(60, 0.0);
    apart.back() = 1;
    EXPECT_EQ(testNormality(apart).probability, 0) << "A^2 above 10";
    EXPECT_TRUE(std::isnan(testNormality({1, 2, 3, 4, 5, 6, 7}).probability));
    EXPECT_FALSE(std::isnan(testNormality({1, 2, 3, 4, 5, 6, 7, 8}).probability));
}

TEST(ControlChart, SaysItsRules) {
    std::vector<double> values;
    for (int i = 0; i < 40; ++i)
        values.push_back(i % 2 == 0 ? 1 : -1);
    EXPECT_TRUE(controlChart(values).findings.empty());
    const double deviation = 2 / 1.1283791670955126;
    EXPECT_NEAR(controlChart(values).upper, 3 * deviation, 1e-6);
    std::vector<double> far = values, side = values, trend = values;
    far[20] = 9;
    EXPECT_EQ(controlChart(far).findings.front().index, 20);
    for (int i = 10; i < 20; ++i)
        side[std::size_t(i)] = i % 2 == 0 ? 1 : 0.5;
    ASSERT_EQ(controlChart(side).findings.size(), 1U);
    EXPECT_EQ(controlChart(side).findings.front().index, 18);
    for (int i = 0; i < 6; ++i)
        trend[std::size_t(11 + i)] = -1 + 0.3 * i;
    ASSERT_FALSE(controlChart(trend).findings.empty());
    EXPECT_TRUE(controlChart(trend).findings.front().rule.startsWith("6 in a row"));
    EXPECT_TRUE(controlChart({3, 3, 3}).findings.empty());
}

// Series of whole numbers, so that values lie on the centre and follow equal ones; each rule by its words.
TEST(ControlChart, FindsWhatItsRulesSay) {
    std::mt19937 random(6);
    int said = 0;
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<double> values;
        double place = 0;
        for (int i = 0; i < 30; ++i) {
            place = trial % 3 == 0 ? place / 2 : place;  // noise, or a walk
            place += double(int(random() % 7)) - 3 + (i % 11 == 10 ? 8 : 0);
            values.push_back(std::round(place));
        }
        for (int i = 0; trial % 2 == 0 && i < 30; ++i)
            values.push_back(-values[std::size_t(i)]);  // mean 0
        const auto n = static_cast<int>(values.size());
        double mean = 0, ranges = 0;
        for (int i = 0; i < n; ++i) {
            mean += values[std::size_t(i)] / n;
            ranges += i > 0 ? std::fabs(values[std::size_t(i)] - values[std::size_t(i) - 1]) / (n - 1) : 0;
        }
        mean = trial % 2 == 0 ? 0 : mean;
        const double deviation = ranges / 1.1283791670955126;
        const auto off = [&](int i) { return i < 0 ? 0 : (values[std::size_t(i)] - mean) / deviation; };
        const auto step = [&](int i) {
            return i < 1 ? 0 : values[std::size_t(i)] - values[std::size_t(i) - 1];
        };
        const auto allBut = [](int i, int count,
                               const auto& value) {  // `count` before i of one sign, none more
            int same = 0;
            while (value(i) * value(i - same) > 0)
                ++same;
            return same == count;
        };
        std::vector<std::pair<int, QString>> expected, found;
        for (int i = 0; i < n; ++i) {
            if (std::fabs(off(i)) > 3)
                expected.emplace_back(i, "beyond 3 deviations");
            if (allBut(i, 9, off))
                expected.emplace_back(i, "9 in a row on one side of the centre");
            if (allBut(i, 5, step))
                expected.emplace_back(i, "6 in a row that rise or fall");
            const double sign = off(i) > 0 ? 1 : -1;
            if (sign * off(i) > 2 && (sign * off(i - 1) > 2 || sign * off(i - 2) > 2))
                expected.emplace_back(i, "2 of 3 beyond 2 deviations");
        }
        const ControlChart chart = controlChart(values);
        for (const ChartSignal& signal : chart.findings)
            found.emplace_back(signal.index, signal.rule);
        EXPECT_EQ(found, expected) << trial;
        EXPECT_NEAR(chart.centre, mean, 1e-12);
        EXPECT_NEAR(chart.lower, mean - 3 * deviation, 1e-6 * deviation);
        EXPECT_NEAR(chart.upper, mean + 3 * deviation, 1e-6 * deviation);
        said += static_cast<int>(found.size());
    }
    EXPECT_GT(said, 300);
}

/// A balanced study whose effects are known: value = part + appraiser + both + repeat.
std::vector<StudyReading> study(double ofBoth) {
    std::vector<StudyReading> readings;
    for (int part = 0; part < 4; ++part) {
        for (int who = 0; who < 2; ++who) {
            for (int trial = 0; trial < 2; ++trial)
                readings.push_back({QString::number(part), QString::number(who),
                                    1e6 + part + 0.5 * who + ofBoth * (part % 2 == who ? 1 : -1) +
                                        0.25 * (trial == 0 ? 1 : -1)});
        }
    }
    return readings;
}

TEST(GaugeStudy, HasTheComponentsOfItsMaking) {
    // Repeat: 16 readings off by 0.25: 1 on 8 degrees. Parts: 4 * 1.25 * 4 = 20 on 3. Appraisers: 1 on 1.
    const GaugeStudy pooled = gaugeStudy(study(0), StudyMethod::Anova);
    EXPECT_TRUE(pooled.isPooled);
    EXPECT_NEAR(pooled.repeatSource.squares, 1, 1e-9);
    EXPECT_EQ(pooled.repeatSource.freedom, 11);
    EXPECT_NEAR(pooled.partSource.squares, 20, 1e-9);
    EXPECT_NEAR(pooled.appraiserSource.squares, 1, 1e-9);
    EXPECT_NEAR(pooled.ev * pooled.ev, 1.0 / 11, 1e-12);
    EXPECT_NEAR(pooled.av * pooled.av, (1 - 1.0 / 11) / 8, 1e-12);
    EXPECT_NEAR(pooled.pv * pooled.pv, (20.0 / 3 - 1.0 / 11) / 4, 1e-12);
    EXPECT_EQ(pooled.ndc, static_cast<int>(1.41 * pooled.pv / pooled.grr));
    const GaugeStudy full = gaugeStudy(study(1), StudyMethod::Anova);
    EXPECT_FALSE(full.isPooled);
    EXPECT_NEAR(full.interactionSource.squares, 16, 1e-9);
    EXPECT_NEAR(full.interaction * full.interaction, (16.0 / 3 - 1.0 / 8) / 2, 1e-12);
    EXPECT_EQ(full.av, 0) << "less than the interaction explains";
    const GaugeStudy range = gaugeStudy(study(0), StudyMethod::Range);
    EXPECT_NEAR(range.ev, 0.5 * 0.8862, 1e-12);
    EXPECT_NEAR(range.av, std::sqrt(0.5 * 0.7071 * 0.5 * 0.7071 - range.ev * range.ev / 8), 1e-9);
    EXPECT_NEAR(range.pv, 3 * 0.4467, 1e-9);
}

TEST(GaugeStudy, SaysWhatIsMissing) {
    std::vector<StudyReading> unbalanced = study(0), single, one, sparse, equal = study(0);
    unbalanced.erase(unbalanced.begin() + 5);
    for (std::size_t i = 0; i < study(0).size(); i += 2)
        single.push_back(study(0)[i]);
    for (const StudyReading& reading : study(0)) {
        if (reading.appraiser == "0")
            one.push_back(reading);
    }
    for (int i = 0; i < 2000; ++i)
        sparse.push_back({QString::number(i), QString::number(i), 1.0 * i});
    for (StudyReading& reading : equal)
        reading.value = 7;
    for (const StudyMethod method : {StudyMethod::Range, StudyMethod::Anova}) {
        EXPECT_EQ(gaugeStudy(unbalanced, method).reason,
                  "part 1, appraiser 0 has 1 of 2 readings; a study needs as many in every cell");
        EXPECT_FALSE(gaugeStudy(single, method).reason.isEmpty());
        EXPECT_FALSE(gaugeStudy({}, method).reason.isEmpty());
        EXPECT_TRUE(gaugeStudy(sparse, method).reason.startsWith("2000 parts by 2000 appraisers"));
        const GaugeStudy alone = gaugeStudy(one, method);
        EXPECT_TRUE(alone.reason.isEmpty());
        EXPECT_EQ(alone.av, 0);
        EXPECT_FALSE(alone.note.isEmpty());
        const GaugeStudy same = gaugeStudy(equal, method);
        EXPECT_EQ(same.ndc, -1);
        EXPECT_EQ(same.grr, 0);
    }
}

}  // namespace
