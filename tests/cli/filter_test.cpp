// What a filter says that did nothing, and standard input.

#include <tests/cli/program.h>

namespace {

struct Place {
    float x, y;
};

class Filters : public Program {
protected:
    void writePoints(const std::vector<Place>& points) const {
        QByteArray text;
        for (const Place& p : points)
            text += QByteArray::number(double(p.x), 'g', 9) + ',' + QByteArray::number(double(p.y), 'g', 9) +
                    '\n';
        write("p.csv", text);
    }
};

TEST_F(Filters, ThatChangedNothingSaySo) {
    std::vector<Place> points;
    for (int i = 0; i < 801; ++i)
        points.push_back({float(i), float(i % 7)});
    writePoints(points);
    const Outcome idle = run({"filter", "p.csv", "o.csv", "--steps", "shift 1 0; median 9999; mean 1000"});
    EXPECT_THAT(idle.out, HasSubstr("step 2 \"median 9999\" changed nothing in 801 points\n"
                                    "step 3 \"mean 1000\" changed nothing in 801 points\n"));
    EXPECT_THAT(idle.out, Not(HasSubstr("step 1 \"shift")));
}

TEST_F(Filters, ReadStandardInput) {
    writePoints({{0, 1}, {1, 7}, {2, 3}});
    for (const auto& [name, code] : {std::pair("p.csv", 0), {"/dev/null", 2}}) {
        QProcess filter;
        filter.setStandardInputFile(name);
        filter.start(KVMEASURE_PROGRAM, {"filter", "-", "o.csv", "--steps", "median 3"});
        ASSERT_TRUE(filter.waitForFinished());
        EXPECT_EQ(filter.exitCode(), code) << filter.readAllStandardError().toStdString();
    }
    EXPECT_THAT(read("o.csv").toStdString(), HasSubstr("0,1\n1,3\n2,3\n"));
}

}  // namespace
