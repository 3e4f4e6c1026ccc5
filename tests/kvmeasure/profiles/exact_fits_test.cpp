// Fits of points whose result is known without a computer. Deviations of +h, -h, -h, +h over and over have no
// mean and no slope, and deviations of +h, -h about a whole circle neither move nor widen it, so that what a
// fit gives is the line or circle that they were put about.

#include <kvmeasure/profiles/line_refit.h>
#include <kvmeasure/profiles/robust_arc.h>
#include <kvmeasure/profiles/search_estimate.h>
#include <tests/kvmeasure/calls.h>
#include <tests/kvmeasure/profiles/exact_points.h>

#include <tuple>

namespace {

using Points = std::vector<Vector>;

TEST(ExactFits, LinesAreThoseThatTheirPointsWerePutAbout) {
    constexpr double h = 0.01;
    for (const int count : {16, 32, 96, 240, 244, 960}) {
        for (const double degrees : {0.0, 30.0, -45.0, 59.0, 61.0, 90.0, -80.0}) {
            for (const int strays : {0, count / 8}) {
                SCOPED_TRACE(testing::Message()
                             << count << " points, " << degrees << " degrees, " << strays << " strays");
                const Vector along(degrees == 90 ? 0 : std::cos(degrees * kPi / 180),
                                   std::sin(degrees * kPi / 180));
                const Vector way = along.y < 0 && along.x == 0 ? Vector(-along.x, -along.y) : along;
                const bool isInHeight = std::fabs(degrees) < 60;
                const Vector noise = isInHeight ? Vector(0, h / along.x) : Vector(-h * along.y, h * along.x);
                Points points;
                double squares = 0, most = 0;
                for (int i = 0; i < count; ++i) {
                    const double place = 0.5 * (i - (count - 1) / 2.0);
                    const double off = signedSize(i);
                    points.emplace_back(7 + place * along.x + off * noise.x,
                                        -3 + place * along.y + off * noise.y);
                    squares += off * h * off * h;
                    most = std::max(most, off * h);
                    if (strays > 0 && i % 8 == 2)
                        points.emplace_back(points.back().x - 5 * along.y, points.back().y + 5 * along.x);
                }
                const LineFit line = fitLine(points);
                ASSERT_TRUE(line.isFound());
                EXPECT_EQ(line.isInHeight, isInHeight);
                EXPECT_EQ(line.points, count);
                EXPECT_EQ(line.rejected, int(points.size()) - count);
                EXPECT_LT(length(line.centre, {7, -3}), 1e-9);
                EXPECT_LT(length(line.along, way), 1e-9);
                EXPECT_NEAR(line.deviation, std::sqrt(squares / (count - 2)), 1e-9);
                EXPECT_NEAR(line.above.distance, most, 1e-9);
                EXPECT_NEAR(line.below.distance, -most, 1e-9);
                EXPECT_NEAR(line.distanceOf(line.above.at), most, 1e-9);
                EXPECT_NEAR(line.distanceOf(line.below.at), -most, 1e-9);
                // Heights above a slope stand aside by their share of it.
                const double aside = isInHeight ? along.y / along.x : 0;
                EXPECT_NEAR(line.to, 0.25 * (count - 1) + aside * h * signedSize(count - 1), 1e-9);
                EXPECT_NEAR(line.from, -0.25 * (count - 1) + aside * h * signedSize(0), 1e-9);
                const double steps = 0.25 * count * (double(count) * count - 1) / 12;
                EXPECT_NEAR(line.spread, steps + squares * aside * aside, 1e-6);
                ASSERT_EQ(line.residuals.size(), std::size_t(count));
                for (int i = 0; i < count; ++i)
                    EXPECT_NEAR(line.residuals[std::size_t(i)],
                                signedSize(i) * (isInHeight ? h / along.x : h), 1e-9);
                // The noise is one of heights, and counts for a tenth at least.
                const LineUncertainty u =
                    lineUncertainty(line, whiteNoise(line.deviation / std::max(along.x, 0.1)));
                EXPECT_EQ(u.isShort, count < 30);
                EXPECT_NEAR(u.offset, line.deviation / std::sqrt(count), 1e-12);
                EXPECT_NEAR(u.direction, line.deviation / std::sqrt(line.spread), 1e-12);
            }
        }
    }
}

/// One contour in pieces between these points.
ProfilePieces piecesOf(const Points& points, const std::vector<int>& breaks) {
    const std::shared_ptr<Vector[]> store(new Vector[points.size()]);
    std::copy(points.begin(), points.end(), store.get());
    ProfilePieces found;
    found.contours.emplace_back(store, 0, static_cast<int>(points.size()));
    for (std::size_t i = 0; i + 1 < breaks.size(); ++i) {
        const Vector &p = points[std::size_t(breaks[i])], &q = points[std::size_t(breaks[i + 1])];
        found.pieces.push_back({{p, q}, 0, breaks[i], breaks[i + 1], int(i)});
        found.pieceOf.push_back(int(i));
        found.segments.append(found.pieces.back().line);
    }
    return found;
}

/// Points along a polyline with deviations that move none of its lines, from corner to corner. A corner is
/// the middle of a stray, which its pieces share.
struct Polyline {
    static constexpr int kSteps = 97;  // of a piece: 96 points of its own
    Points points, corners;
    std::vector<Vector> along;

    Polyline(const std::vector<double>& degrees, double step, double h) {
        Vector at(-11, 4);
        for (const double angle : degrees) {
            corners.push_back(at);
            along.emplace_back(std::cos(angle * kPi / 180), std::sin(angle * kPi / 180));
            const Vector& way = along.back();
            const double size =
                std::fabs(angle) < 60 ? step / way.x : step;  // steps of x where heights count
            const Vector noise = std::fabs(angle) < 60 ? Vector(0, h) : Vector(-h * way.y, h * way.x);
            for (int i = 0; i < kSteps; ++i) {
                const double off = i > 0 ? signedSize(i - 1) : 3;
                points.emplace_back(at.x + i * size * way.x + off * noise.x,
                                    at.y + i * size * way.y + off * noise.y);
            }
            at = Vector(at.x + kSteps * size * way.x, at.y + kSteps * size * way.y);
        }
        corners.push_back(at);
        points.push_back(at);
    }
    /// The pieces as a search would leave them that places the corners `late` points too far on.
    ProfilePieces pieces(int late) const {
        std::vector<int> breaks{0};
        for (int i = 1; i < static_cast<int>(along.size()); ++i)
            breaks.push_back(i * kSteps + late);
        breaks.push_back(static_cast<int>(points.size()) - 1);
        return piecesOf(points, breaks);
    }
};

TEST(ExactFits, CornersAreWhereTheLinesMeetThatPointsWerePutAbout) {
    struct Case {
        std::vector<double> degrees;
        int late;
    };
    for (const Case& c : {Case{{0, -30, 30, 0}, 0}, Case{{0, -30, 30, 0}, 2}, Case{{0, -30, 30, 0}, -2},
                          Case{{59, 20, -45}, 0}, Case{{61, 20, -75}, 0}, Case{{10, 90, 0}, 0}}) {
        constexpr double step = 0.125;
        const Polyline shape(c.degrees, step, 0.01);
        const ProfilePieces found = shape.pieces(c.late);
        const EdgeLines lines = edgeLines(found, {});
        SCOPED_TRACE(testing::Message()
                     << testing::PrintToString(c.degrees) << " with corners " << c.late << " late");
        const auto count = c.degrees.size();
        ASSERT_EQ(lines.lines.size(), static_cast<int>(count));
        EXPECT_TRUE(lines.isMoved);
        for (std::size_t i = 0; i < count; ++i) {
            const KvMath::LinePP &seen = lines.asSeen[int(i)], &line = lines.lines[int(i)];
            const FittedPiece& fit = lines.fits[i];
            SCOPED_TRACE(i);
            EXPECT_EQ(fit.isInHeight, std::fabs(c.degrees[i]) < 60);
            EXPECT_LT(length(fit.along, shape.along[i]), 1e-9);
            EXPECT_EQ(fit.points(), Polyline::kSteps - 1);
            EXPECT_EQ(fit.from, int(i) * Polyline::kSteps + 1);
            Vector mean(0, 0);
            for (int k = fit.from; k < fit.to; ++k) {
                mean.x += shape.points[std::size_t(k)].x / fit.points();
                mean.y += shape.points[std::size_t(k)].y / fit.points();
            }
            EXPECT_LT(length(fit.centre, mean), 1e-9);
            double spread = 0, squares = 0;
            for (int k = fit.from; k < fit.to; ++k) {
                const Vector d(shape.points[std::size_t(k)].x - mean.x,
                               shape.points[std::size_t(k)].y - mean.y);
                const double place = d.x * shape.along[i].x + d.y * shape.along[i].y;
                const double off = d.y * shape.along[i].x - d.x * shape.along[i].y;
                spread += place * place;
                squares += std::pow(fit.isInHeight ? off / shape.along[i].x : off, 2);
            }
            EXPECT_NEAR(fit.spread, spread, 1e-9 * spread);
            EXPECT_NEAR(fit.squares, squares, 1e-9);
            // Inner ends are the corners; outer ones lie half a step beyond the last point on the line.
            const bool isFirst = i == 0, isLast = i + 1 == count;
            const double half = (fit.isInHeight ? step / shape.along[i].x : step) / 2;
            EXPECT_LT(length(seen.p1, shape.corners[i]), 1e-9);
            EXPECT_LT(length(seen.p2, shape.corners[i + 1]), 1e-9);
            EXPECT_NEAR(length(line.p1, seen.p1), isFirst ? half : 0, 1e-9);
            EXPECT_NEAR(length(line.p2, seen.p2), isLast ? half : 0, 1e-9);
            EXPECT_NEAR(length(line.p1, line.p2),
                        length(seen.p1, seen.p2) + (isFirst ? half : 0) + (isLast ? half : 0), 1e-9);
            EXPECT_EQ(lines.support[i][0].piece, int(i));
            EXPECT_EQ(lines.support[i][0].other, int(i) - 1);
            EXPECT_EQ(lines.support[i][1].piece, int(i));
            EXPECT_EQ(lines.support[i][1].other, isLast ? -1 : int(i) + 1);
        }
        const EdgeLines kept = edgeLines(found, {false, false});
        EXPECT_FALSE(kept.isMoved);
        EXPECT_EQ(kept.lines[0].p1.x, lines.asSeen[0].p1.x);
    }
}

void expectLine(const KvMath::LinePP& line, const Vector& from, const Vector& to) {
    EXPECT_LT(length(line.p1, from), 1e-9) << line.p1.x << ' ' << line.p1.y;
    EXPECT_LT(length(line.p2, to), 1e-9) << line.p2.x << ' ' << line.p2.y;
}

TEST(ExactFits, EndsWithoutACornerAreTheLastPointsMovedOntoTheirLine) {
    // Two upright lines that meet 0.1 / slope - 0.25 before the point that parts them, and count as corner up
    // to half of the shorter one: of 8 mm, or of 4.
    for (const auto& [steps, slope, isCorner] :
         {std::tuple(32, 0.02, false), {32, 0.025, true}, {16, 0.04, false}, {16, 0.05, true}}) {
        Points points;
        for (int i = 0; i <= 32 + steps; ++i)
            points.emplace_back(i > 32 ? 0.1 + slope * (i - 33) / 4 : 0, i / 4.0);
        const EdgeLines lines = edgeLines(piecesOf(points, {0, 32, 32 + steps}), {});
        const Vector meeting(0, 8.25 - 0.1 / slope), last(points.back());
        SCOPED_TRACE(testing::Message() << steps << ' ' << slope);
        expectLine(lines.asSeen[0], {0, 0}, isCorner ? meeting : Vector(0, 8));
        const double c = 1 / (1 + slope * slope),
                     off = 0.1 - slope / 4;  // the foot of (0, 8) on the second line
        expectLine(lines.asSeen[1], isCorner ? meeting : Vector(off * c, 8 - off * slope * c), last);
        EXPECT_EQ(lines.support[0][1].other, isCorner ? 1 : -1);
        EXPECT_EQ(lines.support[1][0].other, isCorner ? 0 : -1);
    }
    // A step from (4, 0) to (4.25, 3) has no points of its own, and runs from end to end of its neighbours.
    Points points;
    for (int i = 0; i <= 33; ++i)
        points.emplace_back(i / 4.0, (i > 16 ? 3 : 0) + (i == 16 || i == 17 ? 0.2 : 0));
    const EdgeLines step = edgeLines(piecesOf(points, {0, 16, 17, 33}), {});
    expectLine(step.lines[0], {-0.125, 0}, {4, 0});
    expectLine(step.lines[1], {4, 0}, {4.25, 3});
    expectLine(step.lines[2], {4.25, 3}, {8.375, 3});
    EXPECT_EQ(step.support[1][0].piece, 0);
    EXPECT_EQ(step.support[1][1].piece, 2);
    // Two points of a piece leave it as it is, three are fitted.
    for (const int own : {2, 3}) {
        points.resize(17);
        for (int i = 17; i <= 17 + own + 16; ++i)
            points.emplace_back(i / 4.0, i <= 16 + own ? 0.1 : 0);
        points[16].y = 0;
        const FittedPiece fit = edgeLines(piecesOf(points, {0, 16, 17 + own, 33 + own}), {}).fits[1];
        EXPECT_EQ(fit.points(), own == 3 ? 3 : 0);
        EXPECT_NEAR(fit.centre.y, own == 3 ? 0.1 : 0, 1e-12);
        EXPECT_EQ(fit.squares, 0);
    }
    // The median of eight steps, the greater of the middle ones; of all where there are fewer.
    const std::vector<double> steps{1, 0.25, 0.5, 0.25, 1,    0.25, 1, 0.25, 2,  2,
                                    2, 1,    1,   0.5,  0.75, 0.5,  1, 0.5,  0.5};
    points = {{0, 0}};
    for (const double width : steps)
        points.emplace_back(points.back().x + width, 0);
    expectLine(measuredLines(piecesOf(points, {0, 19}), {})[0], {-0.25, 0}, {points.back().x + 0.375, 0});
    points = {{0, 0}, {1, 0}, {1.25, 0}, {1.75, 0}, {5.75, 0}};
    expectLine(measuredLines(piecesOf(points, {0, 4}), {})[0], {-0.5, 0}, {6.25, 0});
}

TEST(ExactFits, CirclesAreThoseThatTheirPointsWerePutAbout) {
    for (const int count : {8, 40, 240, 600}) {
        constexpr double h = 0.02, radius = 5;
        const Vector centre(3, -4);
        Points points;
        for (int i = 0; i < count; ++i) {
            const double angle = 2 * kPi * i / count, r = radius + (i % 2 == 0 ? h : -h);
            points.emplace_back(centre.x + r * std::cos(angle), centre.y + r * std::sin(angle));
        }
        const ArcFit arc = fitArc(points);
        ASSERT_TRUE(arc.isFound()) << count;
        EXPECT_NEAR(arc.circle.radius, radius, 1e-9);
        EXPECT_LT(length(arc.circle.centre, centre), 1e-9);
        EXPECT_NEAR(arc.deviation, h * std::sqrt(count / (count - 3.0)), 1e-9);
        EXPECT_NEAR(arc.outside.distance, h, 1e-9);
        EXPECT_NEAR(arc.inside.distance, -h, 1e-9);
        EXPECT_NEAR(arc.span.span, 2 * kPi * (count - 1) / count, 1e-9);
        EXPECT_NEAR(circleCost(points, arc.circle), count * h * h, 1e-9);
        FittedCircle fixed{{3.5, -4.25}, 6};  // a known radius that is wrong keeps the centre
        EXPECT_TRUE(polishCircle(points, true, fixed));
        EXPECT_EQ(fixed.radius, 6);
        EXPECT_LT(length(fixed.centre, centre), 1e-6);
        if (count < 30)
            continue;
        const ArcUncertainty u = arcUncertainty(arc, whiteNoise(h));
        EXPECT_NEAR(u.radius, arc.deviation / std::sqrt(count), 1e-3 * u.radius);
        EXPECT_NEAR(u.x, arc.deviation * std::sqrt(2.0 / count), 1e-3 * u.x);
        EXPECT_NEAR(u.z, u.x, 1e-6);
        EXPECT_NEAR(u.covariance[0][0], u.x * u.x, 1e-12);
        EXPECT_NEAR(u.covariance[2][2], u.radius * u.radius, 1e-12);
        EXPECT_NEAR(u.covariance[0][2], 0, 1e-9);
    }
}

TEST(ExactFits, ArcsAreFoundFromBadStarts) {
    for (const double span : {0.2, 1.0, 3.0, 6.0}) {
        Points points;
        for (int i = 0; i <= 50; ++i) {
            const double angle = 1 + span * (i / 50.0 - 0.5);
            points.emplace_back(100 + 20 * std::cos(angle), 50 + 20 * std::sin(angle));
        }
        for (const FittedCircle& start : {FittedCircle{{90, 50}, 12}, {{130, 90}, 300}, {{111, 67}, 1}}) {
            for (const bool knowsRadius : {false, true}) {
                FittedCircle circle = start;
                circle.radius = knowsRadius ? 20 : start.radius;
                EXPECT_TRUE(polishCircle(points, knowsRadius, circle));
                EXPECT_NEAR(circle.radius, 20, 1e-6);
                EXPECT_LT(length(circle.centre, {100, 50}), 1e-6) << span << ' ' << knowsRadius;
            }
        }
    }
    FittedCircle kept{{1, 2}, 3};
    EXPECT_FALSE(polishCircle({{0, 0}, {1, 1}}, false, kept));
    EXPECT_FALSE(polishCircle({{1, 1}, {1, 1}, {1, 1}}, false, kept));
    EXPECT_FALSE(polishCircle({{5, 0}}, true, kept));
    EXPECT_EQ(kept.radius, 3);
    EXPECT_FALSE(polishCircle({{0, 0}, {1, 0}, {2, 0}, {3, 0}}, false, kept));
}

TEST(ExactFits, TheSearchFollowsSpacingNoiseAndExtent) {
    struct Case {
        int count;
        float step, noise;
        double gap, tolerance, length;
    };
    constexpr double kBend = 4 / (0.6745 * 2.449489742783178);  // of +h, -h, -h, +h two places apart
    for (const Case& c :
         {Case{401, 0.25F, 0, 5, 0.5, 2.5}, Case{101, 0.25F, 0, 5, 0.25, 2.5},
          Case{2001, 0.25F, 0, 5, 2.5, 10}, Case{11, 0.25F, 0, 5, 0.25, 0.625},
          Case{400, 0.0625F, 1, 12 * kBend, 9 * kBend, 0.625}, Case{400, 0.25F, 0.1F, 5, 0.9 * kBend, 2.5}}) {
        KvMath::KvProfile profile;
        for (int i = 0; i < c.count; ++i)
            profile.points.append(
                {c.step * float(i), c.noise * float(signOf(i + 1))});  // most steps are level
        const KvMath::TSFindTemplateParams search = estimateSearch(profile);
        SCOPED_TRACE(testing::Message() << c.count << " points");
        EXPECT_NEAR(search.minLineLength, c.length, 1e-3 * c.length);
        EXPECT_NEAR(search.contourGap, c.gap, 1e-6);
        EXPECT_NEAR(search.splitTolerance, c.tolerance, 1e-6);
        EXPECT_FALSE(search.allowReversed);
    }
    EXPECT_EQ(estimateSearch(KvMath::KvProfile()).contourGap, 0);
}

}  // namespace
