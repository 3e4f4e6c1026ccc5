// Tolerances as they are written: what they mean, and what is refused because it could mean two things.

#include <kvmeasure/inspection/tolerance.h>
#include <tests/kvmeasure/calls.h>

namespace {

constexpr double kNone = std::numeric_limits<double>::infinity();

TEST(Tolerances, MeanWhatIsWritten) {
    const struct {
        const char* text;
        double least, greatest;  // of a taught part of 3 mm
        const char *again, *limits;
        bool takesTaught = false, isLimit = false;
    } cases[] = {{"3 +0.2 -0.1", 2.9, 3.2, "3 +0.2 -0.1", "2.9 to 3.2"},
                 {"3 +- 0.1", 2.9, 3.1, "3 +0.1 -0.1", "2.9 to 3.1"},
                 {"3 \u00B1 0.1", 2.9, 3.1, "3 +0.1 -0.1", "2.9 to 3.1"},
                 {" 3  +0.2   +0.1 ", 3.1, 3.2, "3 +0.2 +0.1", "3.1 to 3.2"},
                 {"3.5 0 -0.1", 3.4, 3.5, "3.5 +0 -0.1", "3.4 to 3.5"},
                 {"3.05 -0.1", 2.95, 3.05, "3.05 +0 -0.1", "2.95 to 3.05"},
                 {"3.05 \u22120.1", 2.95, 3.05, "3.05 +0 -0.1", "2.95 to 3.05"},
                 {"2.95 +0.1", 2.95, 3.05, "2.95 +0.1 +0", "2.95 to 3.05"},
                 {"-6 -0.1", -6.1, -6, "-6 +0 -0.1", "-6.1 to -6"},
                 {"-6 +0.1", -6, -5.9, "-6 +0.1 +0", "-6 to -5.9"},
                 {"+- 0.2", 2.8, 3.2, "3 +0.2 -0.2", "2.8 to 3.2", true},
                 {"+0.2 -0.1", 2.9, 3.2, "3 +0.2 -0.1", "2.9 to 3.2", true},
                 {"+0.1 0", 3, 3.1, "3 +0.1 +0", "3 to 3.1", true},
                 {"-0 -0.1", 2.9, 3, "3 +0 -0.1", "2.9 to 3", true},
                 {"1250.1255 +0.0005 -0.001", 1250.1245, 1250.126, "1250.1255 +0.0005 -0.001",
                  "1250.1245 to 1250.126"},
                 {"max 0.0000001", -kNone, 1e-7, "max 1e-07", "at most 1e-07", false, true},
                 {"from 1250.1245 to 1250.126", 1250.1245, 1250.126, "from 1250.1245 to 1250.126",
                  "1250.1245 to 1250.126", false, true},
                 {"max 1250.1255", -kNone, 1250.1255, "max 1250.1255", "at most 1250.1255", false, true},
                 {"max 3.5", -kNone, 3.5, "max 3.5", "at most 3.5", false, true},
                 {"min -1e3", -1000, kNone, "min -1000", "at least -1000", false, true},
                 {"from 2 to 4", 2, 4, "from 2 to 4", "2 to 4", false, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        WrittenTolerance written;
        ASSERT_EQ(parseTolerance(QString::fromUtf8(c.text), written), "");
        EXPECT_EQ(written.takesTaughtNominal, c.takesTaught);
        Tolerance& tolerance = written.tolerance;
        if (written.takesTaughtNominal)
            tolerance.nominal = 3;
        EXPECT_EQ(tolerance.hasNominal, !c.isLimit);
        EXPECT_DOUBLE_EQ(tolerance.least(), c.least);
        EXPECT_DOUBLE_EQ(tolerance.greatest(), c.greatest);
        EXPECT_EQ(tolerance.text(), c.again);
        EXPECT_EQ(tolerance.limits(), c.limits);
        WrittenTolerance again;
        EXPECT_EQ(parseTolerance(tolerance.text(), again), "") << "what it writes, it reads";
        EXPECT_DOUBLE_EQ(again.tolerance.least(), c.least);
        EXPECT_DOUBLE_EQ(again.tolerance.greatest(), c.greatest);
    }
}

TEST(Tolerances, OfTaughtValuesAreWrittenToANanometre) {
    EXPECT_EQ((Tolerance{6.0123456789, -0.1, 0.05, true}).text(), "6.012346 +0.05 -0.1");
}

TEST(Tolerances, ThatCouldMeanTwoThingsAreRefusedWithTheWayOut) {
    const char* const cases[][2] = {
        {"3 0.1", "the sign of 0.1 is missing: write \"3 +- 0.1\", \"3 +0.1\" or \"3 -0.1\""},
        {"3 0", "the sign of 0 is missing"},
        {"3 0.1 -0.1", "deviations need their signs: \"NOMINAL +U -L\""},
        {"0 -0.1", "write \"0 +0 -0.1\" for a nominal value of 0, or \"NOMINAL +0 -0.1\""},
        {"-0.1 -0.2", "write \"-0.1 +0 -0.2\" for a nominal value of -0.1, or \"NOMINAL -0.1 -0.2\""},
        {"3 -0.1 +0.2", "the upper deviation comes first"},
        {"+0.1 +0.2", "the upper deviation comes first"},
        {"3mm +- 0.1", "without a unit"},
        {"3 +- 5%", "without a unit"},
        {"from 4 to 2", "\"from\" must not be greater than \"to\""},
        {"3", "expected \"NOMINAL +- T\""},
        {"3 +0.2 0.1", "deviations need their signs"},
        {"+0.1 0.2", "the sign of 0.2 is missing"}};
    for (const auto& [text, reason] : cases) {
        WrittenTolerance written;
        EXPECT_THAT(parseTolerance(text, written), Says(reason)) << text;
    }
    const QString others =
        "3 +- -1|a +- 1|max|max nan|from 1 2|from x to 3|from 1 to x|from 1 by 3|min x|3 x -0.1|"
        "x -0.1|3 x|3 +1 -1 -2|till 1 to 3|";
    for (const QString& text : others.split('|')) {
        WrittenTolerance written;
        EXPECT_TRUE(parseTolerance(text, written).startsWith("expected \"NOMINAL +- T\""))
            << text.toStdString();
    }
}

}  // namespace
