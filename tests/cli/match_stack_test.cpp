// A template along a scan: rows, statistics, trend.

#include <kvmath/profile/profile_zset.h>
#include <tests/cli/program.h>
#include <tests/support/random_data.h>

#include <QtCore/QXmlStreamReader>

namespace {

class MatchStack : public Program {
protected:
    /// A level run per length, 0.5 mm after the other; nothing where the length is 0.
    void SetUp() override {
        TestSupport::Draws draws(4);
        for (int i = 0; i < 1500; ++i)
            lengths_.push_back(i % 7 == 3 || i > 1490 ? 0.0 : std::round(10000 + draws.normal(300)) / 1000);
        KvMath::KvProfileZSet stack;
        for (std::size_t i = 0; i < lengths_.size(); ++i) {
            KvMath::KvProfileZ profile(7 + 0.5F * float(i));
            const auto length = float(lengths_[i]);
            for (int k = 0; length > 0 && k <= 20; ++k)
                profile.points.append({length / 20 * float(k), 1});
            stack.append(profile);
        }
        ASSERT_TRUE(stack.writeToFile(path("stack.bin")));
        write("part.csv", "0,1\n2,1\n4,1\n6,1\n8,1\n10,1\n");
        const Outcome taught =
            run({"teach", "part.csv", "--lines", "edge=0", "--gap", "3", "--edge-compensation", "off",
                 "--measure", "size = length edge : 10 +- 0.5; level = point edge 0", "--out", "t.json"});
        ASSERT_EQ(taught.code, 0) << taught.err;
    }

    Outcome match(const QStringList& more) const {
        return run(QStringList{"match", "--template", "t.json"} + more);
    }

    std::vector<double> lengths_;
};

TEST_F(MatchStack, StatisticsAreThoseOfTheRows) {
    const Outcome result = match({"stack.bin", "--json"});
    EXPECT_EQ(result.code, 1) << result.err;
    const QJsonArray profiles = result.json()["profiles"].toArray();
    ASSERT_EQ(profiles.size(), int(lengths_.size()));
    std::vector<double> found;
    int outside = 0;
    for (std::size_t i = 0; i < lengths_.size(); ++i) {
        const QJsonObject profile = profiles[int(i)].toObject();
        EXPECT_EQ(profile["z"].toDouble(), 7 + 0.5 * double(i));
        ASSERT_EQ(profile["found"].toBool(), lengths_[i] > 0) << i;
        if (lengths_[i] == 0)
            continue;
        const QJsonArray values = profile["assignments"].toArray()[0].toObject()["measurements"].toArray();
        found.push_back(values[0].toObject()["value"].toDouble());
        ASSERT_NEAR(found.back(), lengths_[i], 1e-5);
        outside += found.back() < 9.5 || found.back() > 10.5 ? 1 : 0;
    }
    double mean = 0;
    for (const double value : found)
        mean += value / double(found.size());
    double squares = 0;
    for (const double value : found)
        squares += (value - mean) * (value - mean);
    const QJsonObject size = result.json()["summary"].toArray()[0].toObject();
    EXPECT_EQ(size["count"].toInt(), int(found.size()));
    EXPECT_EQ(size["outOfTolerance"].toInt(), outside);
    EXPECT_EQ(size["minimum"].toDouble(), *std::min_element(found.begin(), found.end()));
    EXPECT_EQ(size["maximum"].toDouble(), *std::max_element(found.begin(), found.end()));
    EXPECT_NEAR(size["mean"].toDouble(), mean, 1e-12);
    EXPECT_NEAR(size["standardDeviation"].toDouble(), std::sqrt(squares / double(found.size() - 1)), 1e-12);
}

TEST_F(MatchStack, TablesBeyondAThousandRowsKeepHeadAndColumns) {
    const QStringList lines = QString::fromStdString(match({"stack.bin"}).out).split('\n');
    const QString head = lines[0].simplified();
    EXPECT_EQ(head,
              "profile z mm size mm size U mm level.x mm level.x U mm level.y mm level.y U mm verdict note");
    EXPECT_EQ(lines.filter("stack.bin#").size(), int(lengths_.size()));
    // "#1000" is wider than what came before; all columns make room for it.
    EXPECT_EQ(lines[1 + 1491].indexOf("NOT FOUND"), lines[0].indexOf("verdict") + 1);
    EXPECT_EQ(lines[1 + 1499].simplified(), "stack.bin#1499 756.5000 - - - - - - NOT FOUND");
    const QStringList csv = QString::fromStdString(match({"stack.bin", "--csv"}).out).split('\n');
    EXPECT_EQ(csv[0],
              "profile,z_mm,size_mm,size_U_mm,level.x_mm,level.x_U_mm,level.y_mm,level.y_U_mm,verdict,note");
    EXPECT_EQ(csv[1 + 1499], "stack.bin#1499,756.5,,,,,,,NOT FOUND,");
    EXPECT_EQ(csv.filter("# ").size(), 5);
}

/// A file that is cut in record 1200, one that is none and one that is whole: text, code and complaints are
/// the same, whatever the number of jobs.
TEST_F(MatchStack, JobsChangeNothingButTime) {
    write("cut.bin", read("stack.bin").left(read("stack.bin").size() * 8 / 10));
    write("none.bin", "\x07");
    for (const char* form : {"", "--csv", "--json", "--all", "--scan-step 0.25 --json"}) {
        QStringList arguments{"cut.bin", "none.bin", "stack.bin", "part.csv"};
        arguments += QString(form).split(' ', Qt::SkipEmptyParts);
        const Outcome one = match(arguments + QStringList{"--jobs", "1"});
        EXPECT_EQ(one.code, 2);
        EXPECT_THAT(one.err, AllOf(HasSubstr("cut.bin"), HasSubstr("none.bin")));
        for (const char* jobs : {"2", "8", ""}) {
            const QStringList more = *jobs == '\0' ? QStringList() : QStringList{"--jobs", jobs};
            const Outcome several = match(arguments + more);
            EXPECT_EQ(several.code, one.code) << jobs << form;
            EXPECT_TRUE(several.out == one.out) << jobs << form;
            EXPECT_EQ(several.err, one.err) << jobs << form;
        }
    }
    expectRefused({"match", "part.csv", "--template", "t.json", "--jobs", "0"}, "from 1 to 256");
}

TEST_F(MatchStack, CloudsAreMatchedAsTheStackTheyCameFrom) {
    KvMath::KvProfileZSet stack;
    KvMath::KvPointCloud<KvMath::KvPointXYZ> cloud;
    stack.readFromFile(path("stack.bin"));
    stack.toPointCloud(cloud);
    QFile file(path("cloud.bin"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && cloud.writeToFile(file));
    file.close();
    const auto rows = [this](const QString& name) {
        QStringList kept;
        for (const QString& row : QString::fromStdString(match({name, "--csv"}).out).split('\n')) {
            if (row.startsWith(name) && !row.contains("NOT FOUND"))
                kept.append(row.section(',', 1));
        }
        return kept;
    };
    EXPECT_GT(rows("cloud.bin").size(), 1000);
    EXPECT_EQ(rows("cloud.bin"), rows("stack.bin"));
    EXPECT_THAT(run({"lines", "cloud.bin"}).err, HasSubstr("choose another with --record N"));
    EXPECT_EQ(run({"lines", "cloud.bin", "--record", "900"}).code, 0);
    expectRefused({"filter", "cloud.bin", "f.bin", "--steps", "sort-x"}, "kvmeasure scan convert");
}

TEST_F(MatchStack, TrendShowsEveryMeasurementItsGapsAndWhatIsOut) {
    write("scale.csv", "0,1\n2,1\n4,1\n6,1\n8,1\n10.2,1\n");
    EXPECT_EQ(match({"stack.bin", "--trend", "z.svg"}).code, 1);
    EXPECT_EQ(match({"part.csv", "scale.csv", "--trend", "files.svg"}).code, 0);
    const struct {
        const char* name;
        const char* axis;
        int panels;
        bool hasGaps;
    } cases[] = {{"z.svg", "scan position z, mm", 3, true}, {"files.svg", "number of the profile", 3, false}};
    for (const auto& c : cases) {
        const QByteArray picture = read(c.name);
        QXmlStreamReader xml(picture);
        while (!xml.atEnd())
            xml.readNext();
        EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
        EXPECT_THAT(picture.toStdString(), HasSubstr(c.axis));
        EXPECT_EQ(picture.count("std dev"), c.panels);
        EXPECT_EQ(picture.contains("fill=\"#D5D8DD\""), c.hasGaps);
        EXPECT_EQ(picture.contains("fill=\"#C1121F\""), c.hasGaps) << "marks out of tolerance";
        EXPECT_LT(picture.size(), 400'000);
    }
    EXPECT_EQ(match({"part.csv", "--trend", "one.svg"}).code, 0);
    ASSERT_TRUE(QFile::link("part.csv", "part.svg"));
    expectRefused({"match", "part.csv", "--template", "t.json", "--trend", "part.svg"}, "name another file");
    expectRefused({"match", "part.csv", "--template", "t.json", "--json", "--csv"}, "give one of them");
}

}  // namespace
