// Reflections in raw records, steps that a table cannot hold, and tables against the true mapping.

#include <kvmeasure/calibration/build.h>
#include <kvmeasure/calibration/check.h>
#include <kvmeasure/calibration/clean.h>
#include <kvmeasure/calibration/survey.h>
#include <simulator/triangulation_scanner.h>

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace KvMeasure;
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
