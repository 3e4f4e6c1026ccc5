// Recordings that are cut, and sections whose flange back is seen or not.

#include <kvmeasure/wheels/gauge_section.h>
#include <kvmeasure/wheels/post.h>
#include <kvmeasure/wheels/recording.h>
#include <kvmeasure/wheels/values.h>
#include <simulator/train_pass.h>
#include <simulator/wheel_shape.h>
#include <tests/kvmeasure/calls.h>

namespace {

TEST(Recordings, CutAnywhereGiveTheWheelsBeforeTheCut) {
    const ScratchDirectory scratch;
    Simulator::PassRecipe recipe;
    recipe.wheelsets = 2;
    recipe.spacing = 40;
    QDir().mkdir("train");
    ASSERT_TRUE(Simulator::simulatePass(recipe, "train", nullptr));
    const QByteArray bytes = scratch.read("train/pass_1004.bin");
    PostSettings settings("train/settings.ini");
    const auto split = [&](const QString& path, const QString& work) {
        QStringList skipped;
        Recording recording = findRecordings({path}, settings, skipped).first();
        lookThrough(recording);
        QFile::rename(path, path + ".away");  // the open file is read
        Splitting splitting;
        splitting.work = work;
        splitRecording(recording, settings, splitting);
        QFile::rename(path + ".away", path);
        return recording;
    };
    const Recording whole = split("train/pass_1004.bin", "a");
    ASSERT_EQ(whole.wheels.size(), 2);
    QList<int> ends;
    for (int place = 0; place < bytes.size(); ends.append(place))
        place += 7 + 8 * (static_cast<unsigned char>(bytes[place + 1]) +
                          256 * static_cast<unsigned char>(bytes[place + 2]));
    EXPECT_EQ(whole.records, ends.size());
    QDir().mkdir("cut");
    for (int cut = 1; cut < bytes.size(); cut += static_cast<int>(bytes.size()) / 40) {
        SCOPED_TRACE(cut);
        scratch.write("cut/pass_1004.bin", bytes.left(cut));
        const Recording found = split("cut/pass_1004.bin", "b");
        int begun = 0;
        for (const KvMath::WheelPassage& wheel : whole.wheels) {
            begun += ends[wheel.records.first()] <= cut ? 1 : 0;
            for (int profile = 1; ends[wheel.records.last()] <= cut && profile <= wheel.records.size();
                 ++profile)
                EXPECT_EQ(scratch.read(found.file(begun, profile)), scratch.read(whole.file(begun, profile)));
        }
        EXPECT_EQ(found.wheels.size(), begun);
        const int records = static_cast<int>(std::upper_bound(ends.begin(), ends.end(), cut) - ends.begin());
        EXPECT_EQ(found.records, records);
        EXPECT_EQ(found.damagedAt, ends.contains(cut) ? -1 : records == 0 ? 0 : ends[records - 1]);
    }
}

/// A section of the nominal wheel with points from one lateral position to another.
KvMath::KvPointCloud<KvMath::KvPointXYZ> nominalPoints(double from, double to, double step) {
    constexpr double running = 460;
    KvMath::KvPointCloud<KvMath::KvPointXYZ> points;
    for (double lateral = from; lateral <= to; lateral += step)
        points.points.append(
            {0, static_cast<float>(lateral), static_cast<float>(-running - Simulator::s1002Height(lateral))});
    return points;
}

WheelResult valuesOf(int kind, const KvMath::KvPointCloud<KvMath::KvPointXYZ>& points, double back = kNaN) {
    WheelResult wheel;
    wheel.circle.radius = 488;
    wheel.circle.x = 0;
    wheel.circle.y = 0;
    ValueOptions options;
    options.kind = kind;
    options.back = back;
    options.isSection = true;
    MeasuredSection section;
    calcWheelValues(options, points, wheel, section);
    return wheel;
}

TEST(WheelSections, ShowTheBackWhateverTheDistanceOfThePoints) {
    for (const double step : {0.02, 0.1, 0.2, 0.3, 0.5, 1.0, 2.0}) {
        for (const double from : {0.0, 0.02, 0.1, 0.25, 20.0}) {
            SCOPED_TRACE(testing::Message() << "from " << from << " by " << step);
            const WheelResult wheel = valuesOf(0, nominalPoints(from, 130, step));
            EXPECT_EQ(wheel.back, from < 0.03 ? FlangeBack::Seen : FlangeBack::Assumed);
            EXPECT_EQ(wheel.notes.join(' ').contains("flange back is not seen"), from >= 0.03);
        }
    }
}

TEST(WheelSections, SayWhatTheyLack) {
    const struct {
        int kind;
        double to, step;
        const char* notes;
    } cases[] = {{0, 130, 0.25, ""},
                 {1, 65, 0.25, ""},
                 {0, 15, 0.25, "no flank 2 mm below the flange tip"},
                 {0, 50, 0.25, "no tread 70 mm from the flange back: the section ends at 50.0 mm"},
                 {1, 50.5, 0.25, "no tread 60 mm from the flange back: the section ends at 50.5 mm"},
                 {2, 65, 0.25, "no tread 70 mm from the flange back: the section ends at 65.0 mm"}};
    for (const auto& each : cases) {
        const WheelResult wheel = valuesOf(each.kind, nominalPoints(0, each.to, each.step));
        QStringList notes = wheel.notes;
        notes.removeAll("the flange back is not seen: positions count from the first point");
        EXPECT_EQ(notes.join("; ").toStdString(), each.notes) << each.kind << ' ' << each.to;
        EXPECT_EQ(wheel.isComplete(), *each.notes == '\0');
    }
    KvMath::KvPointCloud<KvMath::KvPointXYZ> glint = nominalPoints(0, 130, 0.25);
    const auto tip = std::min_element(glint.points.begin(), glint.points.end(),
                                      [](const auto& a, const auto& b) { return a.z < b.z; });
    tip->z -= 2;
    const WheelResult withGlint = valuesOf(0, glint);
    EXPECT_EQ(
        withGlint.notes.join("; ").toStdString(),
        "the flange tip stands 2.0 mm apart in the section: a reflection; radius, heights, thickness and "
        "steepness are left out");
    EXPECT_TRUE(std::isfinite(withGlint.backY) && std::isnan(withGlint.values.value[0]));

    for (const int missing : {-1, 0, 1, 8, 9, 10}) {
        WheelResult wheel = valuesOf(0, nominalPoints(0, 130, 0.25));
        if (missing >= 0)
            wheel.values.value[missing] = std::nan("");
        EXPECT_EQ(wheel.isComplete(), missing < 0 || missing == 8 || missing == 10) << missing;
    }
}

TEST(WheelSections, BeginAtAGivenBackAndBehindLonePoints) {
    const KvMath::KvPointCloud<KvMath::KvPointXYZ> whole = nominalPoints(0, 130, 0.25);
    const double thickness = valuesOf(0, whole).values.value[1];
    EXPECT_NEAR(thickness, 32.5, 0.05);
    for (const double back : {-3.0, -0.1, 0.1, 2.0, 5.0}) {
        const WheelResult wheel = valuesOf(0, whole, back);
        EXPECT_EQ(wheel.back, FlangeBack::Given);
        EXPECT_EQ(wheel.backY, back);
        EXPECT_NEAR(wheel.values.value[1], thickness - back, 0.1) << back;
        EXPECT_NEAR(wheel.values.value[0], 28 + back * 0.025, 0.1) << back;
    }
    for (int count = 0; count <= 4; ++count) {
        KvMath::KvPointCloud<KvMath::KvPointXYZ> points = whole;
        for (int i = 1; i <= count; ++i)
            points.points.prepend({0, float(-3 * i), -470});
        const WheelResult wheel = valuesOf(0, points);
        EXPECT_EQ(
            wheel.notes.filter(QString("%1 lone point(s) before the section are left out").arg(count)).size(),
            count > 0 && count < 4 ? 1 : 0);
        EXPECT_NEAR(wheel.values.value[1], count < 4 ? thickness : thickness + 12, 1e-3);
    }
    KvMath::KvPointCloud<KvMath::KvPointXYZ> flat = whole, twice;
    for (KvMath::KvPointXYZ& p : flat.points)
        p.z = -470;
    for (const KvMath::KvPointXYZ& p : whole.points)
        twice.points.append({p, p});
    EXPECT_THAT(valuesOf(0, flat).notes.join('|'), Says("no flange: the section is flat"));
    EXPECT_THAT(valuesOf(0, nominalPoints(0, 0.5, 0.25)).notes.join('|'),
                Says("no wheel: the distance of the flange tip"));
    EXPECT_NEAR(valuesOf(0, twice).values.value[1], thickness, 1e-3);
}

TEST(WheelSections, OfAPassAreMeasuredAsThoseOfGauges) {
    MeasuredSection section;
    WheelResult wheel;
    EXPECT_EQ(wheelSection(section, wheel).reason, "the wheel has no section");
    wheel.notes = QStringList{"one", "two"};
    section.places.points = {{0, 0}};
    EXPECT_EQ(wheelSection(section, wheel).reason, "one; two") << "too few points";
    for (int i = 0; i < 100; ++i)
        section.profile.points.append({float(i), float(std::abs(i - 15))});
    EXPECT_EQ(wheelSection(section, wheel).backReason, "the flange back is not seen");
    wheel.backY = 0;
    wheel.back = FlangeBack::Given;
    EXPECT_EQ(wheelSection(section, wheel).source, BackSource::Given);
    EXPECT_EQ(wheelSection(section, wheel).tip, 15);
}

TEST(WheelSections, TellReflectionsAndRadiiThatNoWheelHas) {
    const struct {
        std::vector<double> depths;
        int index;
        double apart;
    } cases[] = {{{5, 5, 5, 3, 5, 5, 5}, 3, 2},       {{5, 5, 3, 3, 3, 5, 5}, 3, 2},
                 {{5, 5, 3, 3, 3, 3, 5, 5}, 3, 0},    {{6, 4.33, 3.33, 3, 3.33, 4.33, 6}, 3, 0},
                 {{5, 5, 5, 4.6, 5, 5, 5}, 3, 0},     {{5, 5, 3, 5, 5, 5}, 2, 0},
                 {{5, 5, 5, 3, 5, 5}, 3, 0},          {{3, 5, 5, 5, 5, 5, 5}, 0, 0},
                 {{5.5, 5, 5.5, 3, 5, 5.5, 5}, 3, 2}, {{5, 5, 5, 3, 5, 5, 99}, 3, 2}};
    for (const auto& each : cases)
        EXPECT_DOUBLE_EQ(reflectionAt(each.depths, each.index), each.apart) << &each - cases;
    for (const double radius : {124.9, 125.0, 1300.0, 1300.5}) {
        WheelResult wheel;
        wheel.circle.radius = static_cast<float>(radius);
        const bool isOne = radius >= 125 && radius <= 1300;
        EXPECT_EQ(isWheelCircle(wheel), isOne) << radius;
        EXPECT_EQ(std::isnan(wheel.circle.radius), !isOne);
        EXPECT_EQ(wheel.notes.join(' ').toStdString(),
                  isOne ? std::string()
                        : "no wheel: the radius of the flange tip is " +
                              QString::number(radius, 'f', 1).toStdString() +
                              " mm; that of a wheel is 125 to 1300");
    }
}

TEST(PostSettings, AreTakenAsWrittenAndDamageIsNamed) {
    const ScratchDirectory scratch;
    const QByteArray one = "[SENSOR1]\nSN=100\n", two = one + "[SENSOR2]\nSN=200\n",
                     three = two + "[SENSOR3]\nSN=300\n";
    for (const QByteArray& odd :
         {QByteArray("; a \"remark\n"), QByteArray("# a remark\n"), QByteArray("a = \"x;y\" ; remark\n"),
          QByteArray("b = one \\\n two\n"), QByteArray("d = a\\\\b\n"), QByteArray("\xEF\xBB\xBF; marked\n"),
          QByteArray("c = \\"), QByteArray("minProfsInWheel = 7 \r\n\r\n")}) {
        const PostSettings settings(scratch.write("s.ini", odd.endsWith('\\') ? one + odd : odd + one));
        EXPECT_EQ(settings.indexOf(100), 1) << odd.toStdString();
        EXPECT_EQ(settings.indexOf(999), 0) << odd.toStdString();
    }
    const std::pair<QByteArray, const char*> bad[] = {
        {"", "SENSOR1/SN is missing; no scanner is configured"},
        {"a = \"open\n" + one, "line 1: \"a = \"open\" has a quotation mark too few or too many"},
        {one + "# remark \\\nb=1\n", "line 3: \"# remark \\\" takes the next line with it"},
        {one + "\n  no sign\n", "line 4: \"no sign\" has no \"=\""},
        {"minProfsInWheel=0\n" + one, "minProfsInWheel is 0; expected a whole number from 1 on"},
        {"minProfsInWheel=1.5\n" + one, "minProfsInWheel is 1.5; expected a whole number"},
        {"minProfsInWheel=1e12\n" + one, "expected a whole number"},
        {"maxDeviation=-1\n" + one, "maxDeviation is -1; expected a number from 0 on"},
        {"polynomDegree=-0.5\n" + one, "polynomDegree is -0.5; expected a number from 0 on"},
        {"pointsHigher=-1\n" + one, "pointsHigher is -1; expected a whole number from 0 on"},
        {"minimalDefectsProf=-1\n" + one, "minimalDefectsProf is -1; expected a whole number from 0 on"},
        {"maxDeviation=1e300\n" + one, "expected a number from 0 on"},
        {"maxDeviation=x, y\n" + one, "maxDeviation is \"x, y\"; expected a number"},
        {one + "[SENSOR2]\nwndSize=3\n", "SENSOR2/SN is missing, 0 or no number"},
        {one + "wndSize=0\n", "SENSOR1/wndSize is 0; expected a whole number from 1 on"},
        {three, "SENSOR3/rule has 0 numbers; expected nine"},
        {three + "rule=1,2,3,4,5,6,7,8,x\n", "SENSOR3/rule: \"x\" is no number"},
        {QByteArray(5'000'000, ';'), "settings have at most 4194304"}};
    for (const auto& [content, reason] : bad) {
        scratch.write("s.ini", content);
        EXPECT_THAT([] { PostSettings("s.ini"); }, Refuses(reason));
    }
}

}  // namespace
