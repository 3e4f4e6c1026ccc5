#include <kvmath/profile/profile_z.h>
#include <kvmath/wheel/sensor_coord.h>
#include <simulator/train_pass.h>
#include <simulator/wheel_shape.h>
#include <tests/support/prelude.h>
#include <tests/support/scratch_directory.h>

#include <QtCore/QDir>
#include <QtCore/QSettings>

#include <algorithm>

namespace {

using namespace Simulator;

TEST(WheelShape, TheNominalSectionIsWithoutStepsAndHasItsPublishedValues) {
    const SectionTruth truth = sectionTruth(WheelShape(), 0);
    EXPECT_NEAR(truth.flangeHeight, 28, 1e-6);
    EXPECT_NEAR(truth.flangeSteepness, 9.5031, 1e-4);
    EXPECT_NEAR(truth.thicknessFromBack, 32.5, 1e-4);
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

/// Through the rules of the settings, every point of a recording lies on its wheel, or outside the wheel
/// band.
int pointsOnWheels(const std::vector<Wheelset>& train, const Scanner& scanner, QSettings& settings) {
    const QStringList numbers = settings.value(QString("SENSOR%1/rule").arg(scanner.index)).toStringList();
    EXPECT_EQ(numbers.size(), 9);
    _KvORBIS_SensorCoordROT_ rule;
    for (int i = 0; i < 9; ++i)
        (&rule.originX)[i] = numbers.value(i).toDouble();
    QFile file(QString("pass_%1.bin").arg(scanner.serial));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    KvProfileZ profile;
    int onWheel = 0;
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
            EXPECT_NEAR(radius, radiusAt(shape, lateral, axisX + running * std::asin(dx / running)), 0.02);
            ++onWheel;
        }
    }
    return onWheel;
}

/// Every point of a flange back is on its plane or on the rounding. The number of those on the rounding.
int pointsOnRounding(const std::vector<Wheelset>& train, const Scanner& scanner) {
    QFile file(QString("pass_%1.bin").arg(scanner.serial));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const double s = std::sin(scanner.tilt), c = std::cos(scanner.tilt);
    KvProfileZ profile;
    int onRounding = 0;
    while (profile.readFromFile(file) >= 0) {
        const double travel = double(profile.z);
        const Wheelset& near = train[std::fabs(travel - train[0].place) < 900 ? 0 : 1];
        const WheelShape& shape = near.wheels[scanner.side];
        const double back = near.backToBack / 2 + (scanner.side == 0 ? near.shift : -near.shift);
        for (const KvPointXY& p : profile.points) {
            const double x = double(p.x), y = double(p.y) + scanner.zero;
            const double lateral = scanner.originY - x * s + y * c - back;
            if (lateral < -1 || lateral > 16)
                continue;  // not of the wheel
            const double radius = std::hypot(scanner.originX + x * c + y * s - (travel - near.place),
                                             shape.treadDiameter / 2 - scanner.originZ);
            if (lateral < 0.05) {
                EXPECT_GE(lateral, -1e-4);
                EXPECT_LE(radius, wornRadius(shape, 0.05) + 1e-3);
                continue;
            }
            EXPECT_NEAR(radius, wornRadius(shape, lateral), 0.05);
            ++onRounding;
        }
    }
    return onRounding;
}

TEST(TrainPass, RecordedPointsLieOnTheWheelHoweverTheScannersLook) {
    for (const PostView view : {PostView{}, PostView{true, 0, false}, PostView{true, -40, true}}) {
        SCOPED_TRACE(testing::Message() << view.isFan << ' ' << view.camera);
        const ScratchDirectory scratch;
        PassRecipe recipe;
        recipe.wheelsets = 2;
        recipe.noise = recipe.dropouts = 0;
        recipe.breakouts = recipe.flats = 2;
        recipe.uneven = view.isFan ? 0.5 : 0;
        recipe.view = view;
        ASSERT_TRUE(simulatePass(recipe, ".", nullptr));
        const std::vector<Wheelset> train = trainOf(recipe);
        QSettings settings("settings.ini", QSettings::IniFormat);
        int onWheel = 0, onRounding = 0;
        for (const Scanner& scanner : measuringPost(view)) {
            if (scanner.isFace)
                onRounding += pointsOnRounding(train, scanner);
            else
                onWheel += pointsOnWheels(train, scanner, settings);
        }
        EXPECT_GT(onWheel, 80'000);
        EXPECT_GT(onRounding, 500);
    }
}

// The same pass with and without reflections: none of them covers more than a few columns.
TEST(TrainPass, AReflectionEndsWithItsProfile) {
    const ScratchDirectory scratch;
    PassRecipe recipe;
    recipe.wheelsets = 4;
    recipe.seed = 33;
    for (const bool hasGlints : {false, true}) {
        recipe.glints = hasGlints ? 0.003 : 0;
        const QString folder = hasGlints ? "glints" : "plain";
        QDir().mkdir(folder);
        ASSERT_TRUE(simulatePass(recipe, folder, nullptr));
    }
    int changed = 0, most = 0;
    for (const Scanner& scanner : measuringPost()) {
        const QString name = QString("/pass_%1.bin").arg(scanner.serial);
        QFile plainFile("plain" + name), glintFile("glints" + name);
        ASSERT_TRUE(plainFile.open(QIODevice::ReadOnly) && glintFile.open(QIODevice::ReadOnly));
        KvProfileZ plain, glints;
        while (plain.readFromFile(plainFile) >= 0 && glints.readFromFile(glintFile) >= 0) {
            ASSERT_EQ(plain.points.size(), glints.points.size());
            int inProfile = 0;
            for (int i = 0; i < plain.points.size(); ++i)
                inProfile += plain.points.at(i).y != glints.points.at(i).y ? 1 : 0;
            changed += inProfile;
            most = std::max(most, inProfile);
        }
    }
    EXPECT_GT(changed, 1000);
    EXPECT_LT(most, 40);
}

TEST(TrainPass, IllegalRecipesAreRefusedByName) {
    PassRecipe recipe;
    recipe.spacing = std::nan("");
    QString error;
    EXPECT_FALSE(simulatePass(recipe, "/nowhere", &error));
    EXPECT_THAT(error.toStdString(), HasSubstr("spacing"));
    recipe = PassRecipe();
    recipe.uneven = 1;
    EXPECT_FALSE(simulatePass(recipe, "/nowhere", &error));
    EXPECT_THAT(error.toStdString(), HasSubstr("uneven"));
    EXPECT_FALSE(simulatePass(PassRecipe(), "/nowhere", &error));
    EXPECT_THAT(error.toStdString(), HasSubstr("cannot be written"));
    EXPECT_FALSE(simulatePass(PassRecipe(), "/nowhere", nullptr));
}

TEST(TrainPass, AFileThatCannotBeWrittenIsNamed) {
    const TestSupport::ScratchDirectory scratch;
    PassRecipe recipe;
    recipe.isReference = true;
    for (const char* name : {"pass_1001.bin", "reference.csv", "truth.csv", "settings.ini"}) {
        QDir().mkpath(QString("out/") + name);
        QString error;
        EXPECT_FALSE(simulatePass(recipe, "out", &error));
        EXPECT_THAT(error.toStdString(), HasSubstr(name));
        EXPECT_TRUE(QDir().rmdir(QString("out/") + name)) << "nothing was written into it";
    }
    QString error;
    EXPECT_TRUE(simulatePass(recipe, "out", &error)) << error.toStdString();
}

TEST(WheelShape, HasNoHeightBesideTheWheel) {
    for (const double lateral : {-0.1, 130.1, std::nan("")})
        EXPECT_TRUE(std::isnan(s1002Height(lateral))) << lateral;
    EXPECT_EQ(s1002Height(70), 0);
}

}  // namespace
