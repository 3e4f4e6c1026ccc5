// Reflections in raw records, steps that a table cannot hold, and tables against the true mapping.

#include <kvmeasure/calibration/build.h>
#include <kvmeasure/calibration/check.h>
#include <kvmeasure/calibration/clean.h>
#include <kvmeasure/calibration/survey.h>
#include <simulator/triangulation_scanner.h>
#include <tests/kvmeasure/calls.h>

namespace {

using Simulator::CalibrationRecipe;

BuildPlan planOf(const CalibrationRecipe& recipe) {
    constexpr double thousand = 1000;
    BuildPlan plan;
    plan.units = {recipe.scanner.zRange, recipe.scanner.xRange, recipe.zStep * thousand,
                  recipe.scanner.xRange * thousand / Simulator::kSensorColumns, 0};
    return plan;
}

TruthReport against(const CalibrationRecipe& recipe, RawRecord& record) {
    const Simulator::TriangulationScanner scanner(recipe.scanner);
    CalibrationTruth truth;
    truth.toPlane = [&scanner](const Vector& place) { return scanner.toPlane(place); };
    truth.targetSurface = [&recipe](double x) { return Simulator::targetSurface(recipe, x); };
    truth.xRange = recipe.scanner.xRange;
    truth.targetWidth = recipe.targetWidth;
    truth.zFirst = recipe.zFirst;
    truth.zStep = recipe.zStep;
    truth.noise = recipe.noise;
    const BuildPlan plan = planOf(recipe);
    return compareWithTruth(buildTable(record, plan), plan.units, truth);
}

TEST(Reflections, OfACleanRecordAreNone) {
    CalibrationRecipe narrow, noisy;
    narrow.scanner.tilt = 3;
    narrow.targetWidth = 90;
    noisy.noise = 0.3;
    noisy.missing = 0.3;
    noisy.missingColumns = 30;
    for (const CalibrationRecipe& recipe : {narrow, noisy}) {
        auto record = simulateCalibration(recipe);
        const std::vector<unsigned short> before = record->positions;
        const CleanReport report = dropReflections(*record);
        EXPECT_EQ(report.dropped(), 0) << recipe.noise;
        EXPECT_GT(report.found, 100'000);
        EXPECT_TRUE(record->positions == before);
    }
}

// Lines that rise evenly, so that a position is as far off as it was moved: 9/32 of a pixel are too far.
TEST(Reflections, AreExactlyThePositionsThatWereMoved) {
    RawRecord record;
    record.parameters.assign(KvMath::kCalibrationSteps, 0);
    record.positions.resize(std::size_t(KvMath::kSensorColumns) * KvMath::kCalibrationSteps);
    const auto at = [&record](int column, int step) -> unsigned short& {
        return record.positions[std::size_t(column * KvMath::kCalibrationSteps + step)];
    };
    for (int column = 0; column < KvMath::kSensorColumns; ++column) {
        for (int step = 0; step < KvMath::kCalibrationSteps; ++step)
            at(column, step) = static_cast<unsigned short>(1000 + 10 * step + column / 4);
    }
    for (int column = 100; column < 160; ++column)
        std::fill_n(&at(column, 200), 100, static_cast<unsigned short>(0));
    at(130, 250) = 3532;  // of its line, but alone
    for (const auto& [column, step] : {std::pair(3, 1), {7, 500}, {401, 998}, {600, 2}, {644, 502}})
        at(column, step) = static_cast<unsigned short>(at(column, step) + 7);
    RawRecord expected = record;
    int moved = 0;
    for (const auto& [column, step] :
         {std::pair(0, 0), {647, 0}, {0, 999}, {647, 999}, {300, 500}, {301, 503}, {99, 250}})
        for (const int by : {9, -9, 3000}) {
            const int c = std::abs(column - moved % 3),
                      s = step > 500 ? step - 30 * (moved % 3) : step + 30 * (moved % 3);
            at(c, s) = static_cast<unsigned short>(at(c, s) + (by < 0 && at(c, s) < 1100 ? 9 : by));
            expected.positions[std::size_t(c * KvMath::kCalibrationSteps + s)] = 0;
            ++moved;
        }
    expected.positions[std::size_t(130 * KvMath::kCalibrationSteps + 250)] = 0;
    const CleanReport report = dropReflections(record);
    EXPECT_TRUE(record.positions == expected.positions);
    EXPECT_EQ(report.found, 648'000 - 6'000 + 1);
    EXPECT_EQ(report.strays, moved);
    EXPECT_EQ(report.alone, 1);
    EXPECT_NEAR(report.scatter, 1 / std::sqrt(12.0) / 32, 1e-4) << "that of rounding";
    EXPECT_EQ(report.limit, 0.25);
    EXPECT_EQ(whyNotFlat(report), "");
    CleanReport bad = report;
    bad.found = 11 * report.dropped();
    EXPECT_EQ(whyNotFlat(bad), "");
    bad.found = 9 * report.dropped();
    EXPECT_THAT(whyNotFlat(bad).toStdString(), testing::StartsWith("11.11 % of the positions lie far from"));
    bad = report;
    bad.scatter = 4;
    EXPECT_EQ(whyNotFlat(bad), "");
    bad.scatter = 4.5;
    EXPECT_THAT(whyNotFlat(bad).toStdString(), testing::StartsWith("the positions scatter by 4.5 pixels"));
}

TEST(Reflections, AreLeftOutUntilTheTableIsAsGoodAsItsUnitsAllow) {
    CalibrationRecipe recipe;
    recipe.reflections = 0.01;
    recipe.noise = 0.05;
    recipe.glints = 40;
    recipe.seed = 7;
    auto record = simulateCalibration(recipe);
    EXPECT_GT(against(recipe, *record).maps[0].all.rms, 0.1) << "mm, as the record is";
    const CleanReport cleaned = dropReflections(*record);
    EXPECT_GT(cleaned.dropped(), 0.5 * recipe.reflections * cleaned.found);
    const TruthReport report = against(recipe, *record);
    EXPECT_NEAR(report.maps[0].all.rms / report.expectedRounded, 1, 0.15);
    EXPECT_LT(std::fabs(report.maps[0].all.worst), 0.2) << "mm";
    EXPECT_EQ(report.coverage.outsideFilled, 0);
}

TEST(StepSurveys, NameTheStepsThatATableCannotHold) {
    RawRecord record;
    record.positions.assign(std::size_t(KvMath::kSensorColumns) * KvMath::kCalibrationSteps, 3200);
    for (int step = 0; step < KvMath::kCalibrationSteps; ++step)
        record.parameters.push_back(-10.05 + 0.1 * step);
    const auto empty = [&record](int from, int to) {
        for (int column = 0; column < KvMath::kSensorColumns; ++column) {
            for (int step = from; step <= to; ++step)
                record.positions[std::size_t(column * KvMath::kCalibrationSteps + step)] = 0;
        }
    };
    empty(0, 4);  // nothing before the first line is a hole
    empty(300, 304);
    BuildPlan plan;
    plan.units.zRange = 40;
    const auto rangesOf = [](const QList<StepRange>& ranges) {
        QStringList texts;
        for (const StepRange& range : ranges)
            texts << QString("%1-%2 %3..%4")
                         .arg(range.first)
                         .arg(range.last)
                         .arg(range.zFirst)
                         .arg(range.zLast);
        return texts.join(", ").toStdString();
    };
    const StepSurvey survey = surveySteps(record, plan);
    EXPECT_EQ(rangesOf(survey.below), "5-100 -9.55..-0.05");
    EXPECT_EQ(rangesOf(survey.beyond), "901-999 80.05..89.85") << "twice the range";
    EXPECT_EQ(rangesOf(survey.empty), "300-304 19.85..20.45") << "from the line before to the one behind";
    EXPECT_EQ(survey.found, 990.0 * KvMath::kSensorColumns);
    EXPECT_EQ(survey.outside, (96.0 + 99) * KvMath::kSensorColumns);
    plan.units.zOffset = 10.05;
    plan.units.zRange = 50;
    const StepSurvey whole = surveySteps(record, plan);
    EXPECT_EQ(whole.below.size() + whole.beyond.size(), 0);
    EXPECT_EQ(whole.sentences(plan.units.zRange).size(), 1) << "the hole";
    EXPECT_DOUBLE_EQ(zOf(record, plan.units, 300), 30);
}

}  // namespace
