// Why a template is not found, in words and in the picture.

#include <tests/cli/program.h>

#include <tests/support/prelude.h>

#include <QtCore/QRegularExpression>

namespace {

class NearMiss : public Program {
protected:
    static QByteArray templateOf(const QByteArray& lines, const QByteArray& constraints) {
        return R"({"template": {"numOfLines": )" + lines + R"(, "constraints": [)" + constraints + R"(]},
            "measurements": [], "search": {"contourGap": 9, "splitTolerance": 1, "refineIterations": 0,
            "minLineLength": 1, "allowReversed": false, "cornerTolerance": 1}})";
    }

    /// The words of a picture.
    std::string textOf(const QString& svg) const {
        return QString(read(svg)).remove(QRegularExpression("<[^>]*>")).simplified().toStdString();
    }

    /// Segments that are dashed in the first two colours of template lines, without the legend.
    int dashedLines(const QString& svg) const {
        const QString drawn = read(svg);
        return static_cast<int>(drawn.count(QRegularExpression(
            R"x(<line [^>]*"#(0072B2|D55E00)" stroke-width="4.5" stroke-dasharray="12 7")x")));
    }
};

TEST_F(NearMiss, TemplateThatIsNotFoundNamesTheConstraintThatRefusesTheNearestAssignment) {
    write("z.csv", "0,0\n1,0\n2,0\n4,0\n4.1,3\n4.2,6\n");
    const QByteArray first =
        R"({"constraintType": "Length", "lineIndex": 0, "lowerBound": 5.0, "upperBound": 6.1},)";
    const QByteArray keys = R"("lineFromIndex": 0, "lineToIndex": 1, "lowerBound": 0.5, "upperBound": )";
    const std::pair<QByteArray, const char*> cases[] = {
        {R"("Endpoint distance", )" + keys + "1.0",
         "but endpoint distance from line 0 to line 1 is 7.3239 mm, allowed are 0.5000 to 1.0000\n"},
        {R"("Rotation angle", )" + keys + R"(3.1, "direction": 1)",
         "is 88.0908 deg to the right, allowed are 28.6479 to 177.6169 to the left\n"}};
    for (const auto& [second, reason] : cases) {
        write("t.json", templateOf("2", first + R"({"constraintType": )" + second + "}"));
        EXPECT_THAT(run("match z.csv --template t.json --svg z.svg").out,
                    AllOf(HasSubstr("nearest: line 0 = segment 1, line 1 = segment 0; "), HasSubstr(reason)));
        const std::string drawn = textOf("z.svg");
        EXPECT_THAT(drawn, AllOf(HasSubstr("NOT FOUND"), HasSubstr("nearest lines, refused")));
        EXPECT_THAT(drawn + '\n', HasSubstr(std::string(reason).substr(reason[0] == 'b' ? 4 : 0)));
        EXPECT_EQ(dashedLines("z.svg"), 2);
    }
    write("t.json", templateOf("2", first.chopped(1)));
    EXPECT_EQ(run("match z.csv --template t.json --csv --svg z.svg").code, 0);
    EXPECT_THAT(textOf("z.svg"), Not(testing::AnyOf(HasSubstr("NOT FOUND"), HasSubstr("refused"))));
    EXPECT_EQ(dashedLines("z.svg"), 0);
    write("t.json", templateOf("3", ""));
    EXPECT_EQ(run("match z.csv --template t.json --csv --svg z.svg").code, 1);
    EXPECT_THAT(textOf("z.svg"),
                testing::EndsWith("NOT FOUND the template has 3 lines, the profile 2 segment(s)"));
    EXPECT_EQ(dashedLines("z.svg"), 0);
}

TEST_F(NearMiss, TemplateOfManyRefusalsIsExplainedInTimeAndShort) {
    QByteArray saw;
    for (int i = 0; i < 600; ++i)
        saw += QByteArray::number(0.25 * i) + ',' + QByteArray::number(std::abs(i % 40 - 20) * 0.25) + '\n';
    write("saw.csv", saw);
    const QByteArray no = R"({"constraintType": "Length", "lineIndex": 3, "lowerBound": 9, "upperBound": 9})";
    write("t.json", templateOf("4", (no + ',').repeated(9999) + no));
    EXPECT_THAT(run("match saw.csv --template t.json --svg saw.svg").out,
                AllOf(HasSubstr("\ngot farthest: line 0 = "), HasSubstr("; and 9997 more\n")));
    EXPECT_THAT(textOf("saw.svg"),
                AllOf(HasSubstr("lines up to the first refused"), Not(HasSubstr("nearest"))));
}

}  // namespace
