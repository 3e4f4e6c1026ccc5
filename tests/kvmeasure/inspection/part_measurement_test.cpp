// One call from a profile to values, and work whose results come in order.

#include <cli/ordered_jobs.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <tests/kvmeasure/calls.h>

#include <numeric>

namespace {

/// Level runs of these lengths at heights 0, 1, 0, 1, ..., 20 points each, 5 mm apart, mm.
KvMath::KvProfile runs(const std::vector<double>& lengths) {
    KvMath::KvProfile profile;
    double x = 0;
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        for (int k = 0; k < 20; ++k)
            profile.points.append({float(x + lengths[i] * k / 19), float(i % 2)});
        x += lengths[i] + 5;
    }
    return profile;
}

/// Two lines of 9 to 11 mm; the first one's length shall be 10 +- 0.5.
InspectionPlan twoRuns(int lines = 2) {
    InspectionPlan file;
    file.lines = KvMath::TSTemplate(lines);
    for (int i = 0; i < lines; ++i) {
        file.lines.addConstraint(new KvMath::TSCLength(i, 9, 11));
        file.lineNames.append(QString::number(i));
    }
    file.hasSearch = true;
    file.search = {3, 0.2, 3, 1, false, 0.5};
    file.fitting.compensatesEdges = false;
    file.measurements.addMeasurement(new KvMath::TSUMLength(0, "size"));
    file.tolerances["size"] = {10, -0.5, 0.5};
    if (lines > 1)
        file.measurements.addMeasurement(new KvMath::TSUMLinesIntersection(0, 1, "meeting"));
    return file;
}

TEST(PartMeasurement, SaysWhatIsFoundWhatIsMissingAndWhy) {
    PartMeasurement part(twoRuns());
    const struct {
        std::vector<double> lengths;
        int found;
        const char* reason;
        bool isSizeGood;
    } cases[] = {{{}, 0, "the template has 2 lines, the profile 0 segment(s)", false},
                 {{10}, 0, "the template has 2 lines, the profile 1 segment(s)", false},
                 {{10, 7}, 0, "nearest", false},
                 {{10, 10.2}, 2, "", true},
                 {{9.2, 9.3}, 2, "", false}};
    for (const auto& c : cases) {
        const MeasuredPart measured = part.measure(runs(c.lengths));
        SCOPED_TRACE(c.lengths.size());
        EXPECT_EQ(measured.found, c.found);
        EXPECT_EQ(measured.isFound(), c.found > 0);
        EXPECT_THAT(measured.reason, Says(c.reason));
        EXPECT_FALSE(measured.isGood()) << "level lines do not meet";
        EXPECT_EQ(measured.assignments.size(), c.found > 0 ? 1 : 0);
        ASSERT_EQ(measured.best.values.size(), c.found > 0 ? 3 : 0);
        if (c.found == 0)
            continue;
        const Value& size = measured.best.values[0];
        EXPECT_TRUE(size.isValid);
        EXPECT_EQ(size.unit, "mm");
        EXPECT_EQ(size.reason, "");
        EXPECT_EQ(size.isGood(), c.isSizeGood);
        for (const int i : {1, 2}) {
            EXPECT_FALSE(measured.best.values[i].isValid);
            EXPECT_EQ(measured.best.values[i].reason, "its lines do not meet");
        }
    }
    EXPECT_EQ(PartMeasurement(twoRuns(0)).measure(runs({10, 10})).reason, "the template has no lines");
}

TEST(PartMeasurement, SettingsChooseLinesAssignmentsAndExtras) {
    const KvMath::KvProfile profile = runs({10, 10.2});
    PartSettings settings;
    settings.takesAll = settings.givesMarks = true;
    settings.givesReason = false;
    settings.fitting = LineFitting{false, true};
    PartMeasurement part(twoRuns(1), settings);
    const MeasuredPart all = part.measure(profile);
    ASSERT_EQ(all.assignments.size(), 2);
    EXPECT_EQ(all.assignments[0].label, "0");
    EXPECT_EQ(all.assignments[1].label, "best");
    EXPECT_EQ(all.best.marks.size(), 1);
    EXPECT_NEAR(all.best.values[0].freeEdges, 10.2 / 19, 1e-5) << "half a point distance at each end";
    EXPECT_NEAR(all.best.values[0].value, 10.2 + 10.2 / 19, 1e-5);
    EXPECT_EQ(part.measure(runs({5})).reason, "");
    InspectionPlan guarded = twoRuns(1);
    guarded.calibration.ofUnit = {{"mm", 0.2}};
    guarded.measurements.addMeasurement(new KvMath::TSUMLinePoint(0, 0.5, "place"));
    settings.fitting.reset();
    for (const Decision decision : {Decision::Simple, Decision::Guarded}) {  // no uncertainty is known
        guarded.decision = decision;
        for (const Mark& mark : PartMeasurement(guarded, settings).measure(profile).best.marks)
            EXPECT_EQ(mark.isGood, mark.kind == Mark::Point || decision == Decision::Simple);
    }
    EXPECT_TRUE(PartMeasurement(twoRuns(1)).measure(profile).best.marks.isEmpty());
}

TEST(PartMeasurement, ASearchThatIsGivenUpThrowsAndTheNextProfileIsMeasured) {
    PartMeasurement part(twoRuns(8));
    EXPECT_THROW(part.measure(runs(std::vector<double>(12, 10))), Error);
    EXPECT_TRUE(part.measure(runs(std::vector<double>(8, 10))).isFound());
}

// A step that is above its limit in some runs alone, a place that heights do not move, and points too few.
TEST(PartMeasurement, SimulatedNoiseSaysInHowManyRunsAValueIsMissing) {
    InspectionPlan plan;
    plan.regions = {parseRegion("R = all")};
    KvMath::KvProfile profile;
    std::mt19937 random(3);
    std::normal_distribution<float> noise(0, 0.01F);
    for (int i = 0; i < 400; ++i)
        profile.points.append({0.1F * float(i), (i < 200 ? 0 : 1) + noise(random)});
    addTools("e = edge in R window 3; m = max in R; r = max in R of x; b = box in R", plan);
    const double height = PartMeasurement(plan).measure(profile).best.values[2].value;
    bool isKnown[2] = {false, false};
    for (const double margin : {1e-4, 0.02, 0.06}) {
        plan.tools[0].set("least", QString::number(height - margin, 'f', 6));
        PartSettings settings;
        settings.monteCarloRuns = 40;
        PartMeasurement part(plan, settings);
        const QList<Value> values = part.measure(profile).best.values;
        ASSERT_EQ(values[2].name, "e.height");
        const QString word = values[2].warning.section("missing in ", 1).section(' ', 0, 0);
        isKnown[std::isfinite(values[2].u)] = true;
        EXPECT_EQ(std::isfinite(values[2].u), word.toInt() <= 20) << values[2].warning.toStdString();
        EXPECT_EQ(values[2].warning.contains("no uncertainty: missing in"), word.toInt() > 20);
        EXPECT_NEAR(values[3].u, 0.01, 0.005);
        EXPECT_EQ(values[3].degreesOfFreedom, 39);
        EXPECT_EQ(values[5].name, "r");
        EXPECT_NE(values[5].degreesOfFreedom, 39) << "noise on heights says nothing of a place";
    }
    EXPECT_TRUE(isKnown[1]);
    profile.points = profile.points.mid(0, 2);
    PartSettings settings;
    settings.monteCarloRuns = 40;
    for (const Value& value : PartMeasurement(plan, settings).measure(profile).best.values)
        EXPECT_TRUE(!value.isValid || std::isfinite(value.u) || !value.aboutU.isEmpty());
}

TEST(OrderedJobs, GiveResultsAndErrorsInTheOrderOfTheInputs) {
    for (const int threads : {0, 1, 7}) {
        const auto work = [](int& i) {
            if (i % 100 == 99)
                throw i;
            std::vector<int> numbers(std::size_t(i * 37 % 1000) + 1);  // some take longer
            std::iota(numbers.begin(), numbers.end(), 0);
            return i + 0 * numbers.back();
        };
        using Jobs = OrderedJobs<int, int>;
        Jobs jobs(work);
        for (int i = 0; i < threads; ++i)
            ASSERT_TRUE(jobs.addThread(work));
        std::size_t mostUnderWay = 0;
        int taken = 0;
        int put = 0;
        const auto take = [&] {
            const auto result = jobs.take();
            EXPECT_EQ(result.input, taken);
            EXPECT_EQ(bool(result.error), taken % 100 == 99);
            EXPECT_EQ(result.output.value_or(taken), taken);
            ++taken;
        };
        for (; put < 5000; ++put) {
            jobs.put(put, 1);
            while (jobs.isFull())
                take();
            mostUnderWay = std::max(mostUnderWay, std::size_t(put + 1 - taken));
        }
        EXPECT_LE(mostUnderWay, std::size_t(3 * threads) * Jobs::kMostItems);
        while (taken < 4990)  // the rest is forgotten
            take();
    }
}

}  // namespace
