#include <kvmath/profile/profile_z.h>
#include <kvmath/wheel/sensor_coord.h>
#include <simulator/train_pass.h>
#include <tests/support/prelude.h>
#include <tests/support/scratch_directory.h>

#include <QtCore/QSettings>

namespace {

using namespace Simulator;

TEST(WheelShape, TheNominalSectionIsWithoutStepsAndHasItsPublishedValues) {
    const SectionTruth truth = sectionTruth(WheelShape(), 0);
    EXPECT_NEAR(truth.flangeHeight, 28, 1e-6);
    EXPECT_NEAR(truth.flangeThickness, 9.5031, 1e-4);
    EXPECT_NEAR(truth.position18, 32.5, 1e-4);
    EXPECT_NEAR(truth.tipRadius, 488, 1e-6);
    for (const double end : {102.15796, 44.0, 35.0, 31.573330929, 30.235526007, 20.337489619, 7.235294118})
        EXPECT_NEAR(s1002Height(end - 1e-7), s1002Height(end + 1e-7), 2e-4)
            << "coefficients have 10 digits, " << end;
    WheelShape worn;
    worn.hollow = 2;
    EXPECT_NEAR(sectionTruth(worn, 0).flangeHeight, 30, 1e-6);
    worn.flangeWear = 3;
    EXPECT_NEAR(s1002Height(34), wornRadius(worn, 31) - 460, 1e-9) << "the whole wear acts at mid-height";
}

// Through the rules of the settings, every point of a recording lies on its wheel, or outside the wheel band.
TEST(TrainPass, RecordedPointsLieOnTheWheelThroughTheRules) {
    const ScratchDirectory scratch;
    PassRecipe recipe;
    recipe.wheelsets = 2;
    recipe.noise = recipe.dropouts = 0;
    recipe.breakouts = recipe.flats = 2;
    ASSERT_TRUE(simulatePass(recipe, ".", nullptr));
    const std::vector<Wheelset> train = trainOf(recipe);
    QSettings settings("settings.ini", QSettings::IniFormat);
    int onWheel = 0;
    for (const Scanner& scanner : measuringPost()) {
        if (scanner.isFace)
            continue;
        const QStringList numbers =
            settings.value(QString("SENSOR%1/rule").arg(scanner.index)).toStringList();
        ASSERT_EQ(numbers.size(), 9);
        _KvORBIS_SensorCoordROT_ rule;
        for (int i = 0; i < 9; ++i)
            (&rule.originX)[i] = numbers[i].toDouble();
        QFile file(QString("pass_%1.bin").arg(scanner.serial));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        KvProfileZ profile;
        while (profile.readFromFile(file) >= 0) {
            KvPointCloud<KvPointXYZ> cloud;
            ORBIS_XYtoXYZ(profile, cloud, rule);
            const double travel = double(profile.z);
            const Wheelset& near = train[std::fabs(travel - train[0].place) < 900 ? 0 : 1];
            const WheelShape& shape = near.wheels[scanner.side];
            const double back = near.backToBack / 2 + (scanner.side == 0 ? near.shift : -near.shift);
            for (const KvPointXYZ& p : cloud.points) {
                const double lateral = double(p.y) - back, axisX = travel - near.place;
                if (double(p.z) > 62 || double(p.z) < -60 || lateral < 1 || lateral > 129.8)
                    continue;
                const double dx = double(p.x) - axisX, running = shape.treadDiameter / 2;
                const double radius = std::hypot(dx, running - double(p.z));
                ASSERT_NEAR(radius, radiusAt(shape, lateral, axisX + running * std::asin(dx / running)),
                            0.02);
                ++onWheel;
            }
        }
    }
    EXPECT_GT(onWheel, 100'000);
}

TEST(TrainPass, IllegalRecipesAreRefusedByName) {
    PassRecipe recipe;
    recipe.spacing = std::nan("");
    QString error;
    EXPECT_FALSE(simulatePass(recipe, "/nowhere", &error));
    EXPECT_THAT(error.toStdString(), HasSubstr("spacing"));
    EXPECT_FALSE(simulatePass(PassRecipe(), "/nowhere", &error));
    EXPECT_THAT(error.toStdString(), HasSubstr("cannot be written"));
}

}  // namespace
