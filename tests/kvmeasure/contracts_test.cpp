// What the headers promise where nothing is measured: the place that an error tells, and the results for
// empty and degenerate input.

#include <kvmeasure/base/own_folder.h>
#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/inspection/near_miss.h>
#include <kvmeasure/inspection/teaching.h>
#include <kvmeasure/profiles/circle_fit.h>
#include <kvmeasure/profiles/filter_steps.h>
#include <kvmeasure/profiles/profile_writer.h>
#include <kvmeasure/profiles/search_estimate.h>
#include <kvmeasure/wheels/values.h>
#include <tests/kvmeasure/calls.h>

namespace {

/// An XYZ record of two points at different z.
QByteArray bentRecord() {
    QByteArray bytes("\x03\x02\0\0\0", 5);
    for (const float value : {1.0F, 2.0F, 3.0F, 1.0F, 2.0F, 4.0F})
        appendLittleEndian(bytes, value);
    return bytes;
}

TEST(Errors, TellFileLineOffsetAndParameter) {
    const ScratchDirectory scratch;
    const QString missing = "missing.csv", folder = ".";
    const QString text = scratch.write("bad.csv", "x_mm,y_mm\n1,2\n3,four\n");
    const QString record = scratch.write("bent.bin", bentRecord());
    const QString json = scratch.write("plan.json", "{\n\"template\" }");
    const QString foreign = scratch.write("mine.csv", "");
    FolderLock first, second;
    first.take(folder);
    InspectionPlan plan;
    const struct {
        std::function<void()> call;
        QString file;
        qint64 line, offset;
        QString parameter;
    } cases[] = {{[&] { loadOnlyProfile(missing, TextOptions()); }, missing, 0, -1, ""},
                 {[&] { loadOnlyProfile(text, TextOptions()); }, text, 3, -1, ""},
                 {[&] { loadOnlyProfile(record, TextOptions()); }, record, 0, 0, ""},
                 {[&] { readPlan(json); }, json, 2, -1, ""},
                 {[&] { OwnFiles(folder).claim({foreign}); }, "./" + foreign, 0, -1, ""},
                 {[&] { second.take(folder); }, folder, 0, -1, ""},
                 {[&] { parseSteps("median 4"); }, "", 0, -1, "steps"},
                 {[&] { parseForm("xls", FileForm::Csv); }, "", 0, -1, "form"},
                 {[&] { parseLines("9", 3); }, "", 0, -1, "lines"},
                 {[&] { parseLines("0", 0); }, "", 0, -1, "minLineLength"},
                 {[&] { longestLines({}, 1); }, "", 0, -1, "longest"},
                 {[&] { addMeasurements("depth = nothing", plan); }, "", 0, -1, "measure"}};
    for (const auto& c : cases) {
        const Error error = errorOf(c.call);
        SCOPED_TRACE(error.what());
        EXPECT_EQ(error.file(), c.file);
        EXPECT_EQ(error.line(), c.line);
        EXPECT_EQ(error.offset(), c.offset);
        EXPECT_EQ(error.parameter(), c.parameter);
        EXPECT_FALSE(error.isCancelled());
    }
}

TEST(Degenerate, ProfilesWithoutPoints) {
    KvMath::KvProfile profile;
    const KvMath::TSFindTemplateParams search = estimateSearch(profile);
    EXPECT_EQ(search.contourGap + search.splitTolerance + search.minLineLength, 0);
    const ProfilePieces found = findPieces(profile, search);
    EXPECT_TRUE(found.contours.empty());
    EXPECT_TRUE(measuredLines(found, LineFitting()).isEmpty());
    for (const FilterStep& step : parseSteps("median 5; mean 5; spikes 1 1; resample 1; noise 3 1 1; polar"))
        EXPECT_NO_THROW(applyStep(step, 1, profile)) << step.text.toStdString();
    EXPECT_TRUE(profile.points.isEmpty());
}

TEST(Degenerate, TemplatesAndSegmentsThatAreNone) {
    Segments segments;
    InspectionPlan plan;
    EXPECT_TRUE(findAssignments(segments, plan.lines, false).isEmpty());
    EXPECT_EQ(nearMiss(segments, plan, false).text, "the template has no lines");
    EXPECT_TRUE(evaluate(segments, KvMath::TSLinesIndecies(), plan).isGood());
    EXPECT_TRUE(longestLines(segments, 0).segments.isEmpty());
    EXPECT_EQ(errorOf([&] { longestLines(segments, -1); }).parameter(), "longest");
    MeasuredSection section;
    WheelResult wheel;
    for (const int kind : {-1, 3}) {
        ValueOptions options;
        options.kind = kind;
        EXPECT_EQ(errorOf([&] { calcWheelValues(options, {}, wheel, section); }).parameter(), "kind");
    }
    segments.append(KvMath::LinePP({0, 0}, {3, 4}));
    EXPECT_TRUE(findAssignments(segments, plan.lines, false).isEmpty());
    EXPECT_EQ(length({0, 0}, assignedLine(segments, KvMath::TSLinesIndecies(), 0).p2), 0);
}

TEST(Degenerate, CirclesOfTooFewPlaces) {
    const std::vector<Vector> cases[] = {{}, {{1, 1}, {2, 2}}, {{1, 1}, {1, 1}, {1, 1}, {1, 1}}};
    for (const std::vector<Vector>& points : cases) {
        FittedCircle circle{{3, 4}, 5};
        EXPECT_FALSE(polishCircle(points, false, circle)) << points.size();
        EXPECT_EQ(circle.radius, 5);
        EXPECT_EQ(circle.centre.x, 3);
    }
    EXPECT_EQ(circleCost({}, {{3, 4}, 5}), 0);
    EXPECT_EQ(arcSpan({{4, 4}}, {3, 4}).span, 0);
    EXPECT_NEAR(sagitta(5, 6.283185307179586), 10, 1e-12);
}

}  // namespace
