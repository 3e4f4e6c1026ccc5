// Values of a pass against the truth, and the errors seen against the uncertainties stated. KVMEASURE_RUNS=40
// prints the table of docs/maintainers/uncertainty_study.md.

#include <kvmeasure/report/pass_limits.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/pass.h>
#include <simulator/train_pass.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <cstdio>

namespace {

struct Seen {
    int count = 0, held = 0, missing = 0;
    double squares = 0, stated = 0;

    void add(double error, const StandardUncertainty& uncertainty) {
        missing += uncertainty.isKnown() == std::isfinite(error) ? 0 : 1;
        if (!uncertainty.isKnown() || !std::isfinite(error))
            return;
        ++count;
        held += std::fabs(error) <= uncertainty.expanded() ? 1 : 0;
        squares += error * error;
        stated += uncertainty.u * uncertainty.u;
    }
    double ratio() const { return std::sqrt(stated / squares); }
};

using Study = QMap<QString, Seen>;

/// Of the same wheel in dense points, without noise.
GaugeValues trueGaugeValues(const Simulator::WheelShape& shape) {
    GaugeProfile file;
    file.zero = GaugeZero::FlangeBack;
    constexpr double kStep = 0.02;
    for (int i = 0; i * kStep <= Simulator::kWheelWidth; ++i) {
        const double radius = Simulator::wornRadius(shape, i * kStep);
        if (std::isfinite(radius))
            file.points.emplace_back(i * kStep, radius);
    }
    return gaugeValues(wheelSection(file));
}

void addGaugeValues(const MeasuredSection& section, const WheelResult& wheel,
                    const Simulator::WheelShape& shape, Study& study) {
    const GaugeValues found = gaugeValues(wheelSection(section, wheel)), truth = trueGaugeValues(shape);
    for (const char* key : {"Sh", "Sd", "qR"})
        study[key].add(findValue(found.values, key)->value - findValue(truth.values, key)->value,
                       wheel.uncertainties.value(key));
}

void addWheel(const WheelResult& wheel, const Simulator::WheelShape& shape, Study& study) {
    const Simulator::SectionTruth truth = Simulator::sectionTruth(shape, 0);
    const auto radius = static_cast<double>(wheel.circle.radius);
    const auto add = [&](const char* key, double value, double wanted) {
        study[key].add(value - wanted, wheel.uncertainties.value(key));
    };
    add("flangeHeight", wheel.values.value[0], truth.flangeHeight);
    add("heightDeviation", wheel.values.value[8], truth.flangeHeight - wheel.nominal);
    add("thicknessFromBack", wheel.values.value[1], truth.thicknessFromBack);
    add("flangeSteepness", wheel.values.value[9], truth.flangeSteepness);
    add("radius", radius, truth.tipRadius);
    add("runningDiameter", 2 * (radius - wheel.values.value[0]), 2 * (truth.tipRadius - truth.flangeHeight));
    add("centreZ", static_cast<double>(wheel.circle.y), shape.treadDiameter / 2);
}

Study studyOf(const Simulator::PassRecipe& recipe) {
    const ScratchDirectory scratch;
    Study study;
    EXPECT_TRUE(Simulator::simulatePass(recipe, ".", nullptr));
    PostSettings settings("settings.ini");
    QStringList skipped;
    WheelPass pass(findRecordings({"."}, settings, skipped), settings);
    Splitting splitting;
    splitting.work = "work";
    pass.split(splitting);
    pass.measureDistances();
    std::vector<Simulator::Wheelset> train = trainOf(recipe);
    if (recipe.isBackwards)
        std::reverse(train.begin(), train.end());
    ValueOptions options;
    options.hasGaugeValues = true;
    pass.measureSections(options, [&](const MeasuredSection& section) {
        const int number = section.wheelset - 1;
        addGaugeValues(section, pass.wheelsets().at(number).wheels[section.side],
                       train.at(static_cast<std::size_t>(number)).wheels[section.side], study);
    });
    EXPECT_EQ(pass.wheelsets().size(), recipe.wheelsets);
    for (int w = 0; w < static_cast<int>(pass.wheelsets().size()) && w < recipe.wheelsets; ++w) {
        const WheelsetResult& found = pass.wheelsets().at(w);
        const Simulator::Wheelset& wheelset = train[static_cast<std::size_t>(w)];
        study["backToBack"].add(found.backToBack - wheelset.backToBack, found.backToBackUncertainty);
        for (const int side : {Left, Right})
            addWheel(found.wheels[side], wheelset.wheels[side], study);
    }
    return study;
}

TEST(WheelPass, UncertaintiesAreThoseSeenWhicheverWayTrainAndScannersRun) {
    const int runs = qEnvironmentVariableIntValue("KVMEASURE_RUNS");
    struct Case {
        double noise;
        bool isBackwards, isLeftMirrored, isRightMirrored;
        double uneven;
        bool isFan;
    };
    std::vector<Case> cases{{0.02, true, false, true, 0.9, false}, {0.05, false, true, true, 0, false}};
    if (runs > 0)
        cases = {{0.01, false, false, false, 0, false}, {0.02, false, false, false, 0, false},
                 {0.05, false, false, false, 0, false}, {0.1, false, false, false, 0, false},
                 {0.02, true, false, true, 0.9, false}, {0.02, false, false, false, 0, true}};
    for (const Case& each : cases) {
        Simulator::PassRecipe recipe;
        recipe.wheelsets = runs > 0 ? runs : 12;
        recipe.spacing = 40;
        recipe.noise = each.noise;
        recipe.isBackwards = each.isBackwards;
        recipe.view.isMirrored[Left] = each.isLeftMirrored;
        recipe.view.isMirrored[Right] = each.isRightMirrored;
        recipe.view.isFan = each.isFan;
        recipe.uneven = each.uneven;
        recipe.seed = 7;
        const Study study = studyOf(recipe);
        for (auto seen = study.begin(); seen != study.end(); ++seen) {
            SCOPED_TRACE(testing::Message() << seen.key().toStdString() << ", noise " << each.noise);
            const double share = double(seen->held) / seen->count;
            if (runs > 0)
                std::printf("%-18s noise %.2f%s%s  %.2f (%.0f)  u %.4f  n %d\n", qPrintable(seen.key()),
                            each.noise, each.isBackwards ? " backwards" : "", each.isFan ? " fan" : "",
                            seen->ratio(), 100 * share, std::sqrt(seen->stated / seen->count), seen->count);
            EXPECT_EQ(seen->missing, 0);
            EXPECT_GT(seen->count, recipe.wheelsets * 0.9);
            EXPECT_GT(seen->ratio(), runs > 0 ? 0.8 : 0.65);
            EXPECT_LT(seen->ratio(), runs > 0 ? 1.3 : 1.6);
            EXPECT_GT(share, 0.8);
        }
    }
}

TEST(PassLimits, AWheelWithABreakoutIsOutWhateverItsValues) {
    WheelLimit none;
    none.symbol = "rollover";
    PassLimits limits({none}, {}, {1});
    QList<WheelsetResult> train{WheelsetResult()};
    train[0].wheels[Right].defect = 1;
    limits.judgeAll(train, false);
    QJsonObject json{{"wheelsets", QJsonArray{QJsonObject()}}};
    limits.addTo(json);
    const QJsonObject wheelset = json["wheelsets"].toArray()[0].toObject();
    EXPECT_EQ(wheelset["left"].toObject()["verdict"].toString(), "NOT MEASURED");
    EXPECT_EQ(wheelset["right"].toObject()["verdict"].toString(), "OUT");
    EXPECT_EQ(json["bogies"].toArray()[0].toObject()["verdict"].toString(), "OUT");
    EXPECT_EQ(json["verdict"].toString(), "OUT");
}

}  // namespace
