#include <kvmath/wheel/wheel_detection.h>

#include <kvmath/core/line.h>

#include <tests/support/random_data.h>
#include <tests/wheel/wheel_files.h>

#include <gmock/gmock.h>

using namespace KvMath;
using TestSupport::kNaN;
using TestSupport::level;
using WheelDetection = TestSupport::WheelPass;

TEST_F(WheelDetection, SplitsARecordingOfBothRecordKindsAndUndoesShortRuns) {
    record("post_100.bin", ".wwwww.wwwwww.wwww0www");
    set("minProfsInWheel", 5);
    int wheels = -1;
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 3);  // the four are undone, the last three stay since nothing closes them
    QStringList expected;
    for (const int wheel : {1, 2, 3}) {
        for (int i = 1; i <= (wheel == 1 ? 5 : wheel == 2 ? 6 : 3); ++i)
            expected.append(QString::asprintf("%02d_%02d.bin", wheel, i));
    }
    EXPECT_EQ(filesIn("post_100"), expected);
    KvProfile stored;
    EXPECT_EQ(stored.readFromFile("post_100/02_06.bin"), 9);  // removeNoise drops the last block of three
    EXPECT_EQ(stored.points.first().y, 50.0F);
    QList<WheelPassage> passages;
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels, passages));
    ASSERT_EQ(passages.size(), 3);
    EXPECT_THAT(passages[2].records, testing::ElementsAre(19, 20, 21));
    EXPECT_TRUE(passages[2].z[0] == 19.0F && std::isnan(passages[2].z[1]));
    EXPECT_FALSE(ORBIS_detectWheels("post_100.bin", &settings, 0, nullptr, passages));
    EXPECT_FALSE(ORBIS_detectWheels("post_100.bin", &settings, 0, 4, nullptr, passages));
    for (const auto& [minProfiles, kept] : {std::pair{4, 4}, {6, 2}}) {
        ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, minProfiles, &wheels, passages));
        EXPECT_EQ(wheels, kept) << "in place of the settings";
        QFile recording("post_100.bin");
        EXPECT_TRUE(splitWheels(recording, settings, 1, 0, minProfiles, "apart").isEmpty()) << "is not open";
        ASSERT_TRUE(recording.open(QIODevice::ReadOnly) && QDir().mkpath("apart"));
        const QList<WheelPassage> split = splitWheels(recording, settings, 1, 0, minProfiles, "apart");
        ASSERT_EQ(split.size(), kept);
        int files = 0;
        for (int i = 0; i < kept; ++i) {
            EXPECT_EQ(split[i].records, passages[i].records);
            files += static_cast<int>(split[i].records.size());
        }
        EXPECT_EQ(filesIn("apart").size(), files);
        QDir("apart").removeRecursively();
    }
}

TEST_F(WheelDetection, KeepsTheWheelsBeforeACut) {
    record("post_100.bin", "wwwww.wwwww");
    QFile file("post_100.bin");
    const qint64 size = file.size();
    ASSERT_TRUE(file.resize(size - 1));
    int wheels = -1;
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 2);
    EXPECT_EQ(filesIn("post_100").size(), 9);
    for (qint64 left = size - 2; left > 0; left -= 41) {
        const int before = wheels;
        ASSERT_TRUE(file.resize(left));
        ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels));
        EXPECT_LE(wheels, before);
    }
    EXPECT_EQ(wheels, 0);
}

TEST_F(WheelDetection, FindsTheScannerByTheSerialInTheName) {
    record("100.bin", "wwwww");
    record("other_7.bin", "wwwww");
    for (const char* name : {"other_0.bin", "other_7_100.bin", "other_100.BIN"})
        record(name, "w");
    int wheels = -1;
    EXPECT_FALSE(ORBIS_detectWheels("other_7.bin", &settings, 0, &wheels));  // SENSOR2/SN is missing
    EXPECT_FALSE(ORBIS_detectWheels("missing_100.bin", &settings, 0, &wheels));
    for (const char* name : {"other_0.bin", "other_7_100.bin", "other_100.BIN"})
        EXPECT_FALSE(ORBIS_detectWheels(name, &settings, 0, &wheels)) << name;
    EXPECT_FALSE(ORBIS_detectWheels("100.bin", nullptr, 0, &wheels));
    EXPECT_FALSE(ORBIS_detectWheels("100.bin", &settings, 0, nullptr));
    EXPECT_EQ(wheels, -1);
    EXPECT_TRUE(ORBIS_detectWheels("100.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 1);
    const QString absolute = QDir("a_7").absoluteFilePath("b_100.bin");
    QDir().mkpath("a_7");
    record(qPrintable(absolute), "ww");
    EXPECT_TRUE(ORBIS_detectWheels(absolute, &settings, 0, &wheels));
    EXPECT_EQ(filesIn("a_7/b_100").size(), 2);
    QDir().mkpath("night.bin_7");
    record("night.bin_7/b.bin_100.bin", "www");
    EXPECT_TRUE(ORBIS_detectWheels("night.bin_7/b.bin_100.bin", &settings, 0, &wheels));
    EXPECT_EQ(filesIn("night.bin_7/b_100").size(), 3) << "directories keep their names";
    for (int i = 1; i <= 49; ++i)
        set(qPrintable(QString("SENSOR%1/SN").arg(i)), 1000 + i);
    set("SENSOR50/level_b", -1e6);  // nothing lies below this line
    EXPECT_TRUE(ORBIS_detectWheels("other_7.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 0);
    EXPECT_TRUE(filesIn("other_7").isEmpty());
}

namespace {

bool samePoints(const QList<KvPointXY>& a, const QList<KvPointXY>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const KvPointXY& p, const KvPointXY& q) { return p.x == q.x && p.y == q.y; });
}

/// The files that the steps of the detection leave, one by one; `starts` as in the list of the trial form.
QMap<QString, QList<KvPointXY>> literalFiles(const QList<KvProfile>& records, const QSettings& settings,
                                             int mode, bool trial, KvProfile& starts) {
    const auto number = [&](const char* name, double fallback) {
        return settings.value(QString("SENSOR1/") + name, fallback);
    };
    const KvLine high(number("level_k", -0.4).toFloat(), number("level_b", 187).toFloat());
    const KvLine low(number("lowlevel_k", 0).toFloat(), number("lowlevel_b", 0).toFloat());
    QMap<QString, QList<KvPointXY>> files;
    int wheel = 0, open = 0, record = 0;
    for (KvProfile p : records) {
        ++record;
        if (!trial) {
            p.removeHighLevel(high);
            p.removeLowLevel(low);
        }
        p.removeNoise(number("wndSize", 3).toInt(), number("higherPoinInWnd", 1).toInt(),
                      number("maxdY", 1.5).toFloat(), 0);
        if (mode == 3)
            p.removeLineParts(static_cast<int>(number("maxCorr", 1).toFloat()),
                              std::trunc(number("parts", 0).toFloat()), number("maxDist", 10).toFloat(), 5);
        const auto count = std::count_if(p.points.begin(), p.points.end(), [&](const KvPointXY& q) {
            return high.k * q.x + high.b > q.y && (mode != 3 || low.k * q.x + low.b < q.y);
        });
        const bool isWheel = count > number("minPointsIn", 1.5).toInt();
        if (isWheel && open == 0)
            starts.points.append({static_cast<float>(++wheel), static_cast<float>(record)});
        if (isWheel) {
            files[QString::asprintf("%02d_%02d.bin", wheel, ++open)] = p.points;
            continue;
        }
        if (open > 0 && open < settings.value("minProfsInWheel", 5).toInt()) {
            for (; open > 0; --open)
                files.remove(QString::asprintf("%02d_%02d.bin", wheel, open));
            --wheel;
        }
        open = 0;
    }
    return files;
}

/// Runs of points about the levels and the limits of steps and gaps.
KvProfile drawRuns(TestSupport::Draws& draws) {
    KvProfile profile;
    float x = 0;
    for (int run = draws.chance(0.15) ? 0 : draws.integer(1, 4); run > 0; --run) {
        float y = draws.chance(0.8) ? 100 + draws.coordinate(90, 1, 0) : -2.0F;
        for (int i = draws.integer(4, 9); i > 0; --i, ++x)
            profile.points.append({x, y += draws.coordinate(1.75F, 0.25F, 0)});
        x += 6 + draws.coordinate(6, 0.5F, 0);
    }
    return profile;
}

}  // namespace

TEST_F(WheelDetection, FollowsItsStepsWithAnySettings) {
    TestSupport::Draws draws(77);
    QSettings result("result.ini", QSettings::IniFormat);
    const QStringList choices = {
        "SENSOR1/wndSize 2 4",       "SENSOR1/higherPoinInWnd 0 3", "SENSOR1/maxdY 0.9 1.2",
        "SENSOR1/level_k 0 0.5",     "SENSOR1/level_b 60 250",      "SENSOR1/lowlevel_k -0.5 0.5",
        "SENSOR1/lowlevel_b -9 120", "SENSOR1/minPointsIn 3 1.5 9", "SENSOR1/maxCorr 2.9 3 2 4",
        "SENSOR1/parts 1.9 1 0.9",   "SENSOR1/maxDist 2.5 6",       "minProfsInWheel 2 3 -1"};
    for (int round = 0; round < 150; ++round) {
        for (const QString& choice : choices) {
            const QStringList words = choice.split(' ');
            settings.remove(words[0]);
            if (draws.chance(0.2 * static_cast<double>(words.size()) - 0.2))
                settings.setValue(words[0], words[draws.integer(1, static_cast<int>(words.size()) - 1)]);
        }
        QList<KvProfile> records;
        QFile file("post_100.bin");
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        for (int i = 0; i < 20; ++i) {
            records.append(i > 0 && draws.chance(0.5) ? records.last() : drawRuns(draws));
            ASSERT_TRUE(records.last().writeToFile(file));
        }
        file.close();
        QDir("post_100").removeRecursively();
        const int mode = draws.integer(1, 4);
        const bool trial = draws.chance(0.5);
        int wheels = -1;
        ASSERT_TRUE(trial ? ORBIS_detectWheels_Test("post_100.bin", &settings, mode, &wheels, &result)
                          : ORBIS_detectWheels("post_100.bin", &settings, mode, &wheels));
        KvProfile starts, stored;
        const auto files = literalFiles(records, settings, mode, trial, starts);
        ASSERT_EQ(wheels, files.isEmpty() ? 0 : files.lastKey().left(2).toInt()) << round;
        ASSERT_EQ(filesIn("post_100"), files.keys()) << round;
        for (auto it = files.begin(); it != files.end(); ++it) {
            stored.readFromFile("post_100/" + it.key());
            ASSERT_TRUE(samePoints(stored.points, it.value())) << round;
        }
        if (trial && stored.readFromCSVFile("test.csv", 0, 1) > 0) {
            ASSERT_TRUE(samePoints(stored.points, starts.points)) << round;
            const KvPointXY last = starts.points.last();
            EXPECT_EQ(result.value(QString("Wheel_%1/firstProfInWheel").arg(last.x)).toFloat(), last.y);
        }
    }
    EXPECT_FALSE(ORBIS_detectWheels_Test("post_100.bin", &settings, 0, nullptr, &result));
    int wheels = 0;
    EXPECT_FALSE(ORBIS_detectWheels_Test("post_100.bin", &settings, 0, &wheels, nullptr) ||
                 ORBIS_detectWheels_Test("missing_100.bin", &settings, 0, &wheels, &result));
    record("many_100.bin", "wwwww");
    for (const char* parts : {"nan", "3e38", "-3e38"}) {  // none, any number, none
        settings.clear();
        set("SENSOR1/SN", 100);
        set("SENSOR1/maxCorr", parts);
        EXPECT_TRUE(ORBIS_detectWheels("many_100.bin", &settings, 3, &wheels)) << parts;
        EXPECT_EQ(wheels, parts[0] == '3' ? 0 : 1) << parts << ": straight parts go";
    }
}

TEST(IsWheel, CountsStrictlyBetweenTheLines) {
    const KvProfile profile = level(12, 50);
    const KvLine on(0, 50), above(0, 51), below(0, 49), unset;
    EXPECT_TRUE(ORBIS_isWheel(profile, above, 11));
    EXPECT_FALSE(ORBIS_isWheel(profile, above, 12));
    EXPECT_FALSE(ORBIS_isWheel(profile, on, 0));
    EXPECT_TRUE(ORBIS_isWheel(profile, on, -1));
    EXPECT_TRUE(ORBIS_isWheel(profile, above, below, 11));
    EXPECT_FALSE(ORBIS_isWheel(profile, above, on, 0));
    EXPECT_FALSE(ORBIS_isWheel(profile, unset, 0));
}

TEST(IsWheel, LooksForAPieceOfGivenLengthAndSlope) {
    KvProfile profile = level(41, 10);
    for (int i = 1; i <= 30; ++i)
        profile.points.append({40.0F + static_cast<float>(i), 10.0F - 0.5F * static_cast<float>(i)});
    const float length = 30 * std::sqrt(1.25F);
    const auto isWheel = [&](float slope, float slopeTolerance, float wanted, float tolerance) {
        return ORBIS_isWheel(profile, 5, 0.1F, 0, slope, slopeTolerance, wanted, tolerance);
    };
    EXPECT_TRUE(isWheel(-0.5F, 0.01F, length, 0.01F));
    EXPECT_TRUE(isWheel(0, 0.01F, 40, 0.01F));
    EXPECT_FALSE(isWheel(0, 0.01F, length, 0.01F));
    EXPECT_FALSE(isWheel(-0.5F, 0, length, 0.01F));
    EXPECT_FALSE(isWheel(0, 0.01F, 39, 1));  // 40 is exactly 1 off
    EXPECT_FALSE(isWheel(-0.5F, 0.01F, kNaN, 1));
    profile.points.erase(profile.points.begin() + 40);  // the corner shows when lines are fitted only
    EXPECT_FALSE(ORBIS_isWheel(profile, 5, 1, 0, 0, 0.01F, 40, 0.5F));
    EXPECT_TRUE(ORBIS_isWheel(profile, 5, 1, 2, 0, 0.01F, 40, 0.5F));
    profile.points.erase(profile.points.begin() + 20, profile.points.begin() + 26);  // a gap of 7
    EXPECT_FALSE(ORBIS_isWheel(profile, 6, 1, 2, 0, 0.01F, 40, 0.5F));
    EXPECT_TRUE(ORBIS_isWheel(profile, 8, 1, 2, 0, 0.01F, 40, 0.5F));
    EXPECT_TRUE(ORBIS_isWheel(level(9, 0), 5, 1, 0, 7, 0, 1e6F, 0));
    EXPECT_FALSE(ORBIS_isWheel(level(10, 0), 5, 1, 0, 7, 0, 1e6F, 0));
}
