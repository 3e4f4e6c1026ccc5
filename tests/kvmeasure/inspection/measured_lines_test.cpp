// Values of V grooves against the Cramer-Rao bound, free edges against the truth, and what is said of damaged
// lines. With KVMEASURE_RUNS=10000 the study of grooves takes that many runs and prints its table.

#include <kvmath/tsearch/finder.h>
#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/inspection/line_ends.h>
#include <kvmeasure/inspection/measuring.h>
#include <kvmeasure/inspection/teaching.h>
#include <kvmeasure/profiles/search_estimate.h>
#include <kvmeasure/scans/outline_search.h>
#include <simulator/draws.h>
#include <simulator/scan_simulator.h>
#include <tests/kvmeasure/calls.h>

#include <cstdio>

namespace {

using Simulator::ProfileRecipe;
using Simulator::SimulatedProfile;
using Simulator::trueValue;

/// A template of these segments of a good part, as "kvmeasure teach" makes it.
void teach(const KvMath::KvProfile& good, const QString& lines, const QString& measurements,
           InspectionPlan& file) {
    file.search = estimateSearch(good);
    const ProfilePieces found = findPieces(good, file.search);
    const ChosenLines chosen = parseLines(lines, static_cast<int>(found.segments.size()));
    TeachTolerances tolerances;
    tolerances.lengthShare = 0.4;
    buildConstraints(found.segments, chosen, tolerances, file);
    addMeasurements(measurements, file);
    std::vector<int> codes;
    for (const int segment : chosen.segments)
        codes.push_back(2 * segment);
    file.ends = lineEnds(found, {codes.data(), static_cast<int>(codes.size())}, file.lineNames);
}

/// The values of the longest assignment, as "kvmeasure match" has them; none where the template is not found.
QList<Value> match(const KvMath::KvProfile& profile, InspectionPlan& file) {
    const ProfilePieces found = findPieces(profile, file.search);
    const auto all = findAssignments(found.segments, file.lines, file.search.allowReversed);
    if (all.isEmpty())
        return {};
    const auto longer = [&found](const auto& a, const auto& b) {
        return totalLength(found.segments, a) < totalLength(found.segments, b);
    };
    return measure(found, *std::max_element(all.begin(), all.end(), longer), file, file.fitting).values;
}

ProfileRecipe groove(double noise, std::uint64_t seed) {
    ProfileRecipe recipe;
    recipe.xFrom = -20;
    recipe.xTo = 20;
    recipe.noise = noise;
    recipe.seed = seed;
    return recipe;
}

// ---- the bound

constexpr std::array<const char*, 5> kValues{"depth", "width", "opening", "root.x", "root.y"};
using Five = std::array<double, 5>;

/// y = height + slope * (x - middle).
struct Line {
    double middle = 0, height = 0, slope = 0;
};
using Lines = std::array<Line, 4>;

Vector meet(const Line& a, const Line& b) {
    const double x = (b.height - b.slope * b.middle - a.height + a.slope * a.middle) / (a.slope - b.slope);
    return {x, a.height + a.slope * (x - a.middle)};
}

/// What the measurements of the template are by their definitions.
Five valuesOf(const Lines& lines) {
    const Vector left = meet(lines[0], lines[1]);
    const Vector root = meet(lines[1], lines[2]);
    const Vector right = meet(lines[2], lines[3]);
    const double s = lines[0].slope;
    const double size = std::hypot(1.0, s);
    const double opening = M_PI - (std::atan(lines[2].slope) - std::atan(lines[1].slope));
    return {((root.x - left.x) * s - (root.y - left.y)) / size,
            ((right.x - left.x) + (right.y - left.y) * s) / size, opening * 180 / M_PI, root.x, root.y};
}

/// Standard deviations that no unbiased estimate falls below: each line is known to noise / sqrt(n) at the
/// middle of its points and to noise / sqrt(sum of (x - middle)^2) in its slope.
Five bound(const SimulatedProfile& part, double noise) {
    std::array<Vector, 5> corners;
    for (std::size_t i = 0; i < 4; ++i)
        corners[i] = part.outline[i].p1;
    corners[4] = part.outline[3].p2;
    Lines lines;
    std::array<std::array<double, 2>, 4> deviations{};
    for (std::size_t k = 0; k < 4; ++k) {
        double n = 0;
        double sum = 0;
        double squares = 0;
        for (const auto& p : part.profile.points) {
            const double x = double(p.x) - corners[k].x;
            if (x < 0 || double(p.x) >= corners[k + 1].x)
                continue;
            n += 1;
            sum += x;
            squares += x * x;
        }
        lines[k].middle = corners[k].x + sum / n;
        lines[k].slope = (corners[k + 1].y - corners[k].y) / (corners[k + 1].x - corners[k].x);
        lines[k].height = corners[k].y + lines[k].slope * sum / n;
        deviations[k] = {noise / std::sqrt(n), noise / std::sqrt(squares - sum * sum / n)};
    }
    Five variances{};
    for (std::size_t k = 0; k < 4; ++k) {
        for (std::size_t parameter = 0; parameter < 2; ++parameter) {
            constexpr double step = 1e-6;
            const auto moved = [&](double by) {
                Lines other = lines;
                (parameter == 0 ? other[k].height : other[k].slope) += by;
                return valuesOf(other);
            };
            const Five up = moved(step);
            const Five down = moved(-step);
            for (std::size_t v = 0; v < up.size(); ++v)
                variances[v] += std::pow((up[v] - down[v]) / (2 * step) * deviations[k][parameter], 2);
        }
    }
    for (double& variance : variances)
        variance = std::sqrt(variance);
    return variances;
}

/// Errors of each value in units of its bound.
struct Errors {
    int runs = 0, lost = 0, warned = 0;
    Five sums{}, squares{}, worst{};

    double bias(std::size_t v) const { return sums[v] / runs; }
    double scatter(std::size_t v) const { return std::sqrt(squares[v] / runs - bias(v) * bias(v)); }
};

/// Grooves anywhere between two columns, turned by up to 3 degrees.
Errors measureGrooves(double noise, int runs, const LineFitting& fitting = {}) {
    InspectionPlan file;
    teach(Simulator::simulateProfile(groove(noise, 1))->profile, "0,1,2,3",
          "depth = shift 0.end 1.end -90; width = shift 0.end 3.start 0; opening = angle 2 1; "
          "root = intersection 1 2",
          file);
    file.fitting = fitting;
    Errors errors;
    for (int run = 0; run < runs; ++run) {
        ProfileRecipe recipe = groove(noise, 1000 + std::uint64_t(run));
        Simulator::Draws pose(recipe.seed, 99);
        recipe.shiftX = pose.unit() - 0.5;
        recipe.rotation = 6 * pose.unit() - 3;
        const auto part = Simulator::simulateProfile(recipe);
        const QList<Value> values = match(part->profile, file);
        if (values.isEmpty()) {
            ++errors.lost;
            continue;
        }
        const Five bounds = bound(*part, noise);
        const Five truth{trueValue(*part, "depth"), trueValue(*part, "width"),
                         trueValue(*part, "opening angle"), trueValue(*part, "root x"),
                         trueValue(*part, "root y")};
        bool isWarned = false;
        ++errors.runs;
        for (std::size_t v = 0; v < truth.size(); ++v) {
            const Value& value = values[static_cast<int>(v)];
            const double error = (value.value - truth[v]) / bounds[v];
            errors.sums[v] += error;
            errors.squares[v] += error * error;
            errors.worst[v] = std::max(errors.worst[v], std::fabs(error));
            isWarned = isWarned || !value.warning.isEmpty();
        }
        errors.warned += isWarned ? 1 : 0;
    }
    return errors;
}

void print(double noise, const Errors& errors) {
    std::printf("noise %.2f: %d runs, %d lost, %d with a warning\n", noise, errors.runs, errors.lost,
                errors.warned);
    for (std::size_t v = 0; v < kValues.size(); ++v)
        std::printf("  %-8s bias %+.3f, scatter %.3f, worst %.2f bounds\n", kValues[v], errors.bias(v),
                    errors.scatter(v), errors.worst[v]);
}

/// Bias below 0.2 bounds and scatter within 5 % of the bound, beside four standard errors of the scatter of
/// so many runs; those of the bias stay below 0.13, and the bias itself below 0.03.
TEST(MeasuredLines, GroovesScatterAsTheBoundSaysWithoutBiasAndNoneIsLost) {
    const int runs = std::max(1000, qEnvironmentVariableIntValue("KVMEASURE_RUNS"));
    for (const double noise : {0.01, 0.02, 0.05, 0.1}) {
        const Errors errors = measureGrooves(noise, runs);
        if (runs > 1000)
            print(noise, errors);
        EXPECT_EQ(errors.lost + errors.warned, 0) << noise;
        for (std::size_t v = 0; v < kValues.size(); ++v) {
            SCOPED_TRACE(testing::Message() << kValues[v] << " at noise " << noise);
            EXPECT_LT(std::fabs(errors.bias(v)), 0.2);
            EXPECT_NEAR(errors.scatter(v), 1, 0.05 + 4 / std::sqrt(2.0 * runs));
            EXPECT_LT(errors.worst[v], 6);
        }
    }
}

TEST(MeasuredLines, WithoutTheNewFitTheLinesAreThoseOfTheSearch) {
    const Errors raw = measureGrooves(0.01, 400, {/*isRaw=*/true, /*compensatesEdges=*/true});
    EXPECT_GT(raw.bias(2), 0.4);
    const auto part = Simulator::simulateProfile(groove(0.05, 3));
    const auto search = estimateSearch(part->profile);
    QList<KvMath::LinePP> segments;
    QList<KvMath::TSLinesIndecies> none;
    KvMath::findTemplate(part->profile, nullptr, search, segments, none);
    const ProfilePieces found = findPieces(part->profile, search, Pieces::AsFound);
    const Segments lines = measuredLines(found, {true, true});
    ASSERT_EQ(lines.size(), segments.size());
    for (int i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(lines[i].p1.x == segments[i].p1.x && lines[i].p1.y == segments[i].p1.y &&
                    lines[i].p2.x == segments[i].p2.x && lines[i].p2.y == segments[i].p2.y)
            << i;
}

/// The mean error over 100 places that share out one point distance evenly, in point distances.
double meanEdgeError(const ProfileRecipe& shape, const char* lines, const char* measurement, double truth,
                     bool compensates) {
    constexpr double pitch = 40.0 / 639;
    constexpr int places = 100;
    InspectionPlan file;
    teach(Simulator::simulateProfile(shape)->profile, lines, measurement, file);
    file.fitting.compensatesEdges = compensates;
    double sum = 0;
    for (int i = 0; i < places; ++i) {
        ProfileRecipe recipe = shape;
        recipe.seed = 50 + std::uint64_t(i);
        recipe.shiftX = pitch * (i + Simulator::Draws(recipe.seed, 99).unit()) / places;
        const QList<Value> values = match(Simulator::simulateProfile(recipe)->profile, file);
        EXPECT_EQ(values.size(), 1) << i;
        if (values.size() != 1)
            return std::nan("");
        EXPECT_EQ(values[0].warning.toStdString(), "");
        EXPECT_EQ(values[0].freeEdges != 0, compensates);
        sum += (values[0].value - truth) / pitch / places;
    }
    return sum;
}

TEST(MeasuredLines, FreeEdgesAreHalfAPointDistanceBeyondTheirLastPoint) {
    struct Case {
        const char *shape, *lines, *measurement;
        QMap<QString, double> dimensions;
        double truth, uncompensated;  // mm; point distances
    };
    const Case cases[] = {
        {"gap", "0,1", "gap = shift 0.end 1.start 0", {{"width", 3.01}}, 3.01, 1},
        {"plate", "0", "width = length 0", {{"width", 25.02}}, 25.02, -1},
        {"square-groove", "0,1,2", "floor = length 1", {{"width", 7.03}}, 7.03, -1},
        {"square-groove", "0,1,2", "lands = shift 0.end 2.start 0", {{"width", 7.03}}, 7.03, 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.shape << ": " << c.measurement);
        ProfileRecipe shape = groove(0.01, 1);
        shape.shape = c.shape;
        shape.dimensions = c.dimensions;
        EXPECT_NEAR(meanEdgeError(shape, c.lines, c.measurement, c.truth, true), 0, 0.05);
        EXPECT_NEAR(meanEdgeError(shape, c.lines, c.measurement, c.truth, false), c.uncompensated, 0.1);
    }
}

/// Mean errors of the two shorter and of the two longer sides of plates, whose sizes share out the distances
/// of points evenly, in profile distances.
std::array<double, 2> meanSideErrors(double rotation, int columns, bool compensates) {
    constexpr double profileStep = 0.2;
    constexpr int sizes = 20;
    std::array<double, 2> sums{};
    for (int i = 0; i < sizes; ++i) {
        Simulator::ScanRecipe recipe;
        recipe.rotation = rotation;
        recipe.xFrom = -20;
        recipe.xTo = 20;
        recipe.columns = columns;
        recipe.rows = 180;
        recipe.rowStep = profileStep;
        recipe.dimensions = {{"width", 22.03 + 2 * profileStep * i / sizes},
                             {"length", 20.05 + 2 * profileStep * ((i * 3) % sizes) / sizes},
                             {"groove-width", 2},
                             {"groove-offset", 0}};
        const auto scan = Simulator::simulateScan(recipe);
        OutlineParameters parameters;
        parameters.compensatesEdges = compensates;
        parameters.merge = 10;  // the hull may begin near a corner, with a short piece that is turned
        deriveParameters(scan->stack, "scan", parameters);
        std::vector<double> found;
        for (const OutlineLine& line : findOutline(scan->stack, parameters).lines)
            found.push_back(length(line.line.p1, line.line.p2));
        std::vector<double> truth;
        for (const auto& edge : scan->edges)
            truth.push_back(length(edge.from, edge.to));
        EXPECT_EQ(found.size(), 4U);
        EXPECT_EQ(truth.size(), 4U);
        if (found.size() != 4 || truth.size() != 4)
            return {std::nan(""), std::nan("")};
        std::sort(found.begin(), found.end());
        std::sort(truth.begin(), truth.end());
        for (std::size_t k = 0; k < 4; ++k)
            sums[k / 2] += (found[k] - truth[k]) / (2 * profileStep * sizes);
    }
    return sums;
}

/// Sizes along the grid leave at most one twentieth of a point distance between the places of their
/// edges, so that the mean over them is right within that; sides that run askew pass all places by
/// themselves.
TEST(MeasuredLines, SidesOfAnOutlineAreAsLongAsThePlate) {
    for (const double rotation : {0.0, 3.0, 30.0}) {
        for (const int columns : {201, 401}) {
            SCOPED_TRACE(testing::Message() << rotation << " degrees, " << columns << " columns");
            const std::array<double, 2> errors = meanSideErrors(rotation, columns, true);
            EXPECT_NEAR(errors[0], 0, 0.05);
            EXPECT_NEAR(errors[1], 0, 0.05);
        }
    }
    const std::array<double, 2> raw = meanSideErrors(0, 401, false);
    EXPECT_NEAR(raw[0], -1, 0.05);    // profiles are 0.2 mm apart
    EXPECT_NEAR(raw[1], -0.5, 0.05);  // points 0.1 mm
}

TEST(MeasuredLines, DamagedLinesAreNamed) {
    InspectionPlan file;
    teach(Simulator::simulateProfile(groove(0.01, 1))->profile, "left=0, fall=1, rise=2, right=3",
          "depth = shift left.end fall.end -90; last = length right", file);
    file.search.contourGap = 0.8;
    struct Case {
        double from, to, raise;  // points with x between are raised, or taken away where that is NaN
        const char* depth;
        const char* last;
    };
    const double gone = std::nan("");
    const Case cases[] = {{0, 0, 0, "", ""},
                          {-6.6, -6.1, 0.6, "mm are in no line", ""},
                          {-6.4, -5.65, gone, "points are missing", ""},
                          {19.2, 19.7, 0.6, "", "right.end is cut short"}};
    for (const Case& c : cases) {
        KvMath::KvProfile profile = Simulator::simulateProfile(groove(0.01, 5))->profile;
        QList<KvMath::KvPointXY> points;
        for (KvMath::KvPointXY p : profile.points) {
            const bool isHit = double(p.x) > c.from && double(p.x) < c.to;
            if (isHit && std::isnan(c.raise))
                continue;
            p.y += isHit ? float(c.raise) : 0;
            points.append(p);
        }
        profile.points = points;
        for (const bool isTaught : {true, false}) {
            InspectionPlan used = file;
            if (!isTaught)
                used.ends.clear();
            const QList<Value> values = match(profile, used);
            ASSERT_EQ(values.size(), 2) << c.from;
            if (!isTaught && std::isnan(c.raise))
                continue;  // two contours may be two parts
            EXPECT_EQ(values[0].warning.isEmpty(), c.depth[0] == '\0') << values[0].warning.toStdString();
            if (isTaught) {
                EXPECT_THAT(values[0].warning, Says(c.depth));
                EXPECT_THAT(values[1].warning, Says(c.last));
            }
        }
    }
}

}  // namespace
