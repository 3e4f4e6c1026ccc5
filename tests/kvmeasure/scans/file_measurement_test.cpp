// Files of every form, measured profile by profile: each value is there, or says why not.

#include <kvmath/profile/profile_zset.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmeasure/scans/file_measurement.h>
#include <tests/kvmeasure/calls.h>

namespace {

/// Level runs 10 mm long, 20 points each, 5 mm apart, at heights 0, 1, 0, ..., mm.
KvMath::KvProfileZ runs(int count, float z) {
    KvMath::KvProfileZ profile(z);
    for (int i = 0; i < 20 * count; ++i)
        profile.points.append({float(15 * (i / 20) + 10.0 * (i % 20) / 19), float(i / 20 % 2)});
    return profile;
}

/// Lines of 9 to 11 mm; the length of the first shall be 10 +- 0.5. And the highest point.
InspectionPlan planOf(int lines) {
    InspectionPlan plan;
    plan.lines = KvMath::TSTemplate(lines);
    for (int i = 0; i < lines; ++i) {
        plan.lines.addConstraint(new KvMath::TSCLength(i, 9, 11));
        plan.lineNames.append(QString::number(i));
    }
    plan.hasSearch = true;
    plan.search = {3, 0.2, 3, 1, false, 0.5};
    plan.fitting.compensatesEdges = false;
    plan.measurements.addMeasurement(new KvMath::TSUMLength(0, "size"));
    plan.tolerances["size"] = {10, -0.5, 0.5};
    plan.regions.append(parseRegion("R = x -100..100"));
    addTools("top = max in R", plan);
    return plan;
}

std::string said(const MeasuredProfile& measured) {
    QStringList texts;
    for (const Value& value : measured.values)
        texts << QString("%1 %2 %3 %4").arg(value.name).arg(value.value).arg(value.unit, value.verdict());
    return (measured.name + ": " + texts.join("; ")).toStdString();
}

TEST(FileMeasurement, GivesEveryValueOfEveryProfileWhateverTheForm) {
    const ScratchDirectory scratch;
    KvMath::KvProfileZSet stack;
    QByteArray rows;
    for (const int count : {2, 1, 3}) {
        stack.append(runs(count, static_cast<float>(stack.size())));
        for (const KvMath::KvPointXY& p : stack.profiles.last().points)
            rows += QByteArray::number(double(p.x)) + ' ' + QByteArray::number(double(p.y)) + ' ' +
                    QByteArray::number(stack.size() - 1) + '\n';
    }
    ASSERT_TRUE(stack.writeToFile("stack.bin"));
    scratch.write("cloud.ply",
                  "ply\nformat ascii 1.0\nelement vertex " + QByteArray::number(rows.count('\n')) +
                      "\nproperty float x\nproperty float y\nproperty float z\nend_header\n" + rows);
    for (const QString path : {"stack.bin", "cloud.ply"}) {
        FileMeasurement file(planOf(2), path);
        MeasuredProfile measured;
        const std::string name = path.toStdString();
        ASSERT_TRUE(file.next(measured));
        EXPECT_EQ(said(measured), name + "#0: size 10 mm good; top 1 mm ; top.at 15 mm ");
        ASSERT_TRUE(file.next(measured));
        EXPECT_EQ(said(measured), name + "#1: size nan mm NOT MEASURED; top 0 mm ; top.at 0 mm ");
        EXPECT_EQ(measured.values[0].reason, "the template has 2 lines, the profile 1 segment(s)");
        EXPECT_TRUE(measured.values[0].hasTolerance);
        EXPECT_FALSE(measured.part.isFound());
        EXPECT_EQ(measured.z, 1);
        ASSERT_TRUE(file.next(measured));
        EXPECT_EQ(said(measured), name + "#2: size 10 mm good; top 1 mm ; top.at 15 mm ");
        EXPECT_EQ(measured.part.found, 6) << "two of three runs in any order";
        EXPECT_FALSE(file.next(measured));
    }
    PartSettings quick;
    quick.givesReason = false;
    FileMeasurement unexplained(planOf(4), "stack.bin", {}, {}, quick);
    MeasuredProfile measured;
    ASSERT_TRUE(unexplained.next(measured));
    EXPECT_EQ(measured.values[0].reason, "the template is not found");
}

TEST(FileMeasurement, StopsAtDamageAndGoesOnBehindASearchThatIsGivenUp) {
    const ScratchDirectory scratch;
    KvMath::KvProfileZSet stack;
    for (const int count : {14, 8})
        stack.append(runs(count, static_cast<float>(stack.size())));
    ASSERT_TRUE(stack.writeToFile("stack.bin"));
    FileMeasurement file(planOf(8), "stack.bin");
    MeasuredProfile measured;
    EXPECT_THAT(textOf(errorOf([&] { file.next(measured); })),
                testing::StartsWith("stack.bin#0: the template fits its 8 lines"));
    ASSERT_TRUE(file.next(measured));
    EXPECT_TRUE(measured.part.isFound());
    scratch.write("cut.bin", ScratchDirectory::read("stack.bin").chopped(1));
    FileMeasurement cut(planOf(20), "cut.bin");
    ASSERT_TRUE(cut.next(measured));
    EXPECT_EQ(measured.values[0].verdict(), "NOT MEASURED");
    EXPECT_THROW(cut.next(measured), Error);
    EXPECT_THROW(FileMeasurement(planOf(2), "none.bin"), Error);
}

}  // namespace
