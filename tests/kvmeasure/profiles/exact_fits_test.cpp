// Fits of points whose result is known without a computer. Deviations of +h, -h, -h, +h over and over have no
// mean and no slope, and deviations of +h, -h about a whole circle neither move nor widen it, so that what a
// fit gives is the line or circle that they were put about. Uncertainties by the sums that define them.

#include <kvmeasure/profiles/line_refit.h>
#include <kvmeasure/profiles/robust_arc.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <gmock/gmock.h>

#include <array>
#include <cmath>

namespace {

using namespace KvMeasure;
using Points = std::vector<Vector>;

constexpr double kPi = 3.141592653589793;

double signOf(int i) { return i % 4 == 0 || i % 4 == 3 ? 1 : -1; }
/// The same with sizes as those of noise: not half of the points on one line and half on another.
double signedSize(int i) {
    constexpr double sizes[] = {0.3, 1, 0.5, 1.6, 0.1, 0.8, 0.2, 1.2};
    return signOf(i) * sizes[i / 4 % 8];
}

/// White noise, known from so many points that nothing is added for not knowing it.
NoiseModel whiteNoise(double deviation) {
    NoiseModel noise;
    noise.deviation = deviation;
    noise.correlationTime = 1;
    noise.points = 1e12;
    noise.pieces = 1;
    return noise;
}

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

TEST(ExactFits, CorrelatedNoiseCountsBySumsOverAllPairs) {
    constexpr int count = 400;
    Points points;
    for (int i = 0; i < count; ++i)
        points.emplace_back(i, 0.01 * signOf(i));
    const LineFit line = fitLine(points);
    for (const double time : {1.0, 2.5, 9.0}) {
        NoiseModel noise = whiteNoise(0.01);
        noise.correlationTime = time;
        double ofMean = 0, ofSlope = 0, places = 0;
        for (int i = 0; i < count; ++i) {
            const double place = i - (count - 1) / 2.0;
            places += place * place;
            for (int k = 0; k < count; ++k) {
                const double r = std::max(0.0, 1 - std::abs(i - k) / time);
                ofMean += r / (double(count) * count);
                ofSlope += r * place * (k - (count - 1) / 2.0);
            }
        }
        const double deviation = 0.01 * std::sqrt(count / (count - 2 * time));
        const LineUncertainty u = lineUncertainty(line, noise);
        EXPECT_NEAR(u.offset, deviation * std::sqrt(ofMean), 1e-3 * u.offset) << time;
        EXPECT_NEAR(u.direction, deviation * std::sqrt(ofSlope) / places, 1e-3 * u.direction) << time;
        EXPECT_NEAR(u.at(50), std::hypot(u.offset, 50 * u.direction), 1e-15);
    }
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
        const auto count = static_cast<int>(points.size());
        const std::shared_ptr<Vector[]> store(new Vector[points.size()]);
        std::copy(points.begin(), points.end(), store.get());
        ProfilePieces found;
        found.contours.emplace_back(store, 0, count);
        for (int i = 0; i < static_cast<int>(along.size()); ++i) {
            const bool isLast = i + 1 == static_cast<int>(along.size());
            const int from = i * kSteps + (i > 0 ? late : 0), to = (i + 1) * kSteps + (isLast ? 0 : late);
            const Vector &p = points[std::size_t(from)], &q = points[std::size_t(to)];
            found.pieces.push_back({{p, q}, 0, from, to, i});
            found.pieceOf.push_back(i);
            found.segments.append(found.pieces.back().line);
        }
        return found;
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

// (J'J)^-1 J'VJ (J'J)^-1 with J the slopes of the distances over x, z and radius, and V the covariances of
// all pairs of points: of heights seen square to the circle, or of distances, whichever the residuals look
// like.
TEST(ExactFits, UncertaintiesOfArcsAreThoseOfLeastSquares) {
    constexpr int count = 320;
    for (const bool isOfHeights : {false, true}) {
        for (const double time : {1.0, 2.5, 7.0}) {
            ArcFit arc;
            arc.circle = {{3, -4}, 5};
            double squares = 0, shares = 0;
            double normal[3][3] = {}, scattered[3][3] = {};
            std::vector<std::array<double, 3>> slopes;
            for (int i = 0; i < count; ++i) {
                const double angle = 0.3 + 2.2 * i / (count - 1), share = isOfHeights ? std::sin(angle) : 1;
                arc.residuals.push_back(0.01 * share * signedSize(i));
                const double r = 5 + arc.residuals.back();
                arc.used.emplace_back(3 + r * std::cos(angle), -4 + r * std::sin(angle));
                slopes.push_back({-std::cos(angle), -std::sin(angle), -1});
                squares += 0.01 * 0.01 * share * share * signedSize(i) * signedSize(i);
                shares += share * share;
            }
            arc.points = count;
            for (int i = 0; i < count; ++i) {
                for (int k = 0; k < count; ++k) {
                    const auto share = [&](int at) { return isOfHeights ? -slopes[std::size_t(at)][1] : 1; };
                    const double covariance = std::max(0.0, 1 - std::abs(i - k) / time) * share(i) * share(k);
                    for (std::size_t a = 0; a < 3; ++a) {
                        for (std::size_t b = 0; b < 3; ++b) {
                            normal[a][b] +=
                                i == k ? slopes[std::size_t(i)][a] * slopes[std::size_t(i)][b] : 0;
                            scattered[a][b] +=
                                covariance * slopes[std::size_t(i)][a] * slopes[std::size_t(k)][b];
                        }
                    }
                }
            }
            NoiseModel noise = whiteNoise(1);  // unlike the residuals, so that their own deviation counts
            noise.correlationTime = time;
            const double variance = squares * count / shares / (count - 3 * time);
            const ArcUncertainty u = arcUncertainty(arc, noise);
            ASSERT_TRUE(u.reason.isEmpty());
            SCOPED_TRACE(testing::Message() << isOfHeights << ' ' << time);
            for (std::size_t a = 0; a < 3; ++a) {
                for (std::size_t b = 0; b < 3; ++b) {  // J'J C J'J, so that nothing is inverted here
                    double found = 0;
                    for (std::size_t c = 0; c < 3; ++c) {
                        for (std::size_t d = 0; d < 3; ++d)
                            found += normal[a][c] * u.covariance[c][d] * normal[d][b];
                    }
                    EXPECT_NEAR(found, variance * scattered[a][b], 1e-9 * variance * scattered[2][2])
                        << a << b;
                }
            }
            EXPECT_NEAR(u.x * u.x, u.covariance[0][0], 1e-15);
            EXPECT_NEAR(u.z * u.z, u.covariance[1][1], 1e-15);
            EXPECT_NEAR(u.radius * u.radius, u.covariance[2][2], 1e-15);
        }
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

TEST(ExactFits, SpansLeaveOutTheWidestStretchWithoutPoints) {
    struct Case {
        std::vector<double> degrees;
        double start, span;
    };
    for (const Case& c :
         {Case{{30}, 30, 0}, Case{{10, 20, -10}, -10, 30}, Case{{170, -170, 180}, 170, 20},
          Case{{100, 180, -100}, 100, 160}, Case{{0, 60, 120, 180, 240}, 0, 240},
          Case{{200, 20, 290, 110}, NAN, 270}, Case{{-30, 150, 60, 270}, -90, 240}, Case{{40, 40}, 40, 0}}) {
        Points points;
        for (const double angle : c.degrees)
            points.emplace_back(3 + 2 * std::cos(angle * kPi / 180), 4 + 2 * std::sin(angle * kPi / 180));
        const ArcSpan arc = arcSpan(points, {3, 4});
        SCOPED_TRACE(testing::PrintToString(c.degrees));
        EXPECT_NEAR(arc.span * 180 / kPi, c.span, 1e-9);
        if (!std::isnan(c.start))  // else several stretches are as wide
        {
            EXPECT_NEAR(std::remainder(arc.start * 180 / kPi - c.start, 360), 0, 1e-9);
        }
    }
    EXPECT_NEAR(sagitta(5, kPi), 5, 1e-12);
    EXPECT_NEAR(sagitta(5, 2 * kPi), 10, 1e-12);
    EXPECT_NEAR(sagitta(10, kPi / 3), 10 * (1 - std::sqrt(3) / 2), 1e-12);
    EXPECT_EQ(sagitta(5, 0), 0);
}

TEST(ExactFits, TheSearchFollowsSpacingNoiseAndExtent) {
    struct Case {
        int count;
        float step, noise;
        double gap, tolerance, length;
    };
    constexpr double kBend = 2 / (0.6745 * 2.449489742783178);  // noise for each h of +h, -h, -h, +h
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
