// Statistics beside whole numbers, published tables and the formulas of the distributions.

#include <kvmeasure/statistics/anova.h>
#include <kvmeasure/statistics/capability.h>
#include <kvmeasure/statistics/control_chart.h>
#include <kvmeasure/statistics/distributions.h>
#include <kvmeasure/statistics/gauge_study.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using namespace KvMeasure;

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

}  // namespace
