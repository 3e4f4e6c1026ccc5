// Tolerances as they are written, stored and judged.

#include <tests/cli/program.h>

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

class Tolerances : public Program {
protected:
    void SetUp() override { write("p.csv", "0,0\n1,0\n2,0\n3,0\n"); }

    Outcome teach(const QString& tolerance) const {
        return run({"teach", "p.csv", "--lines", "0", "--raw", "--json", "--out", "t", "--measure",
                    "size = length 0 : " + tolerance});
    }

    static QJsonObject firstOf(const QJsonObject& object, const char* key) {
        return object.value(key).toArray().at(0).toObject();
    }

    static double number(const QJsonValue& value) { return value.isDouble() ? value.toDouble() : none; }

    /// Teaches a V groove 6 mm deep, and judges one that is 6.2 mm deep.
    Outcome judge(const QString& tolerance) const {
        const QString measure = "depth = shift 0.end 1.end -90 : " + tolerance;
        const Outcome taught = run({"teach", "good.csv", "--lines", "0,1,2,3", "--length-tolerance", "40%",
                                    "--out", "t", "--measure", measure});
        EXPECT_EQ(taught.code, 0) << taught.err;
        return run("match deep.csv --template t");
    }

    void simulateGrooves() const {
        simulate("good.csv", "--shape v-groove --from -20 --to 20 --noise 0.02");
        simulate("deep.csv",
                 "--shape v-groove --from -20 --to 20 --noise 0.02 --seed 4 --dimensions depth=6.2");
    }
};

TEST_F(Tolerances, MeanWhatIsWritten) {
    const struct {
        const char* text;
        double nominal, min, max;
        bool isGood;  // of a taught part of 3 mm
    } cases[] = {
        {"3 +0.2 -0.1", 3, 2.9, 3.2, true}, {"8.5 -0.1", 8.5, 8.4, 8.5, false},
        {"+0.2 -0.1", 3, 2.9, 3.2, true},   {"max 2.5", none, none, 2.5, false},
        {"from 2 to 4", none, 2, 4, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const Outcome taught = teach(c.text);
        ASSERT_EQ(taught.code, 0) << taught.err;
        const QJsonObject matched = firstOf(run("match p.csv --template t --json").json(), "profiles");
        const QJsonObject judged = firstOf(firstOf(matched, "assignments"), "measurements");
        for (const QJsonObject& value : {firstOf(taught.json(), "measurements"), judged}) {
            const auto expectNear = [&value](const char* key, double expected) {
                EXPECT_THAT(number(value[key]), testing::NanSensitiveDoubleNear(expected, 1e-12)) << key;
            };
            expectNear("nominal", c.nominal);
            expectNear("min", c.min);
            expectNear("max", c.max);
            expectNear("deviation", 3 - c.nominal);
            EXPECT_EQ(value["withinTolerance"].toBool(), c.isGood);
        }
        EXPECT_EQ(taught.json()["good"].toBool(), c.isGood);
        EXPECT_EQ(
            taught.err.find("WARNING: the taught part is out of its own tolerance: size is 3.0000 mm") !=
                std::string::npos,
            !c.isGood);
    }
}

TEST_F(Tolerances, ThatCouldMeanTwoThingsAreRefusedWithTheWayOut) {
    const Outcome refused = teach("3 0.1");
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.err, HasSubstr("the sign of 0.1 is missing: write \"3 +- 0.1\", "));
    EXPECT_FALSE(QFile::exists("t"));
}

TEST_F(Tolerances, JudgeAPartThatIsTooDeep) {
    simulateGrooves();
    for (const char* tolerance : {"6 -0.1", "max 6.1"}) {
        const Outcome judged = judge(tolerance);
        EXPECT_EQ(judged.code, 1) << tolerance;
        EXPECT_THAT(judged.out, HasSubstr("OUT")) << tolerance;
    }
    for (const char* tolerance : {"6 +0.3", "from 6 to 6.3"})
        EXPECT_EQ(judge(tolerance).code, 0) << tolerance;
    const Outcome drawn = run("match deep.csv --template t --svg p.svg --trend t.svg");
    EXPECT_THAT(drawn.out, HasSubstr("good     from 6 to 6.3"));
    EXPECT_THAT(read("p.svg").toStdString(), HasSubstr("from 6 to 6.3 mm: good"));
}

TEST_F(Tolerances, AreReadAsTheyWereStored) {
    simulateGrooves();
    ASSERT_EQ(judge("6 +0.3 -0.1").code, 0);
    const QByteArray old = read("t");
    const QByteArray deviations = "\"lower\": -0.1,\n            \"nominal\": 6,\n            \"upper\": 0.3";
    ASSERT_TRUE(old.contains(deviations));
    const std::tuple<const char*, int, const char*> cases[] = {
        {"\"max\": 6.1", 1, "max 6.1"},
        {"\"min\": 6.1", 0, "min 6.1"},
        {"\"min\": 6, \"max\": 6.1", 1, "from 6 to 6.1"},
        {"\"min\": 7, \"max\": 6.1", 2, "\"min\" is greater than \"max\""},
        {"\"nominal\": 7, \"max\": 6.1", 2, "\"nominal\" stands beside a limit"},
        {"\"max\": \"6.1\"", 2, "expected a number under \"max\""},
        {"\"nominal\": 6", 2, "expected a number under \"lower\""}};
    for (const auto& [stored, code, words] : cases) {
        write("t", QByteArray(old).replace(deviations, stored));
        const Outcome judged = run("match deep.csv --template t");
        EXPECT_EQ(judged.code, code) << stored;
        EXPECT_THAT(judged.out + judged.err, HasSubstr(words));
    }
}

}  // namespace
