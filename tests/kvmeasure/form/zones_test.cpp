// Straightness, flatness and roundness beside every candidate of all points, in whole numbers where these
// suffice, and the laws of the headers.

#include <kvmeasure/form/flatness.h>
#include <kvmeasure/form/roundness.h>
#include <kvmeasure/form/straightness.h>
#include <tests/kvmeasure/calls.h>

namespace {

using Whole = std::array<long long, 3>;

Whole minus(const Whole& a, const Whole& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Whole cross(const Whole& a, const Whole& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
long long dot(const Whole& a, const Whole& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// The widths of all points across a direction in whole numbers: square to the planes, and along the last
/// axis.
struct Widths {
    long double square = INFINITY, alongZ = INFINITY;
    void take(const std::vector<Whole>& points, const Whole& normal) {
        long long low = dot(normal, points[0]), high = low;
        for (const Whole& p : points) {
            low = std::min(low, dot(normal, p));
            high = std::max(high, dot(normal, p));
        }
        const auto width = static_cast<long double>(high - low);
        if (dot(normal, normal) > 0)
            square = std::min(square, width / std::sqrt(static_cast<long double>(dot(normal, normal))));
        if (normal[2] != 0)
            alongZ = std::min(alongZ, width / std::fabs(static_cast<long double>(normal[2])));
    }
};

std::vector<Whole> randomPoints(std::mt19937& random, int count, int range, int height) {
    std::vector<Whole> points;
    const auto any = [&](int most) {
        return static_cast<long long>(random() % (2U * unsigned(most) + 1)) - most;
    };
    for (int i = 0; i < count; ++i)
        points.push_back({any(range), any(range), any(height) + i % 3});
    return points;
}

template <class Zone>
void expectCertified(const Zone& zone, double width) {
    EXPECT_TRUE(zone.certificate.isValid);
    EXPECT_NEAR(zone.certificate.lowerBound, width, 1e-15 * (1 + width));
}

/// What headers say of zones of two lines or planes: their places hold all points, contacts lie on them.
template <class Zone, class Points, class Product>
void expectLimits(const Zone& zone, const Points& points, const Product& product, double alongZ) {
    double from = INFINITY, to = -INFINITY;
    for (const auto& point : points) {
        from = std::min(from, product(point));
        to = std::max(to, product(point));
    }
    const double rounding = 1e-12 * (1 + std::fabs(from) + std::fabs(to));
    EXPECT_NEAR(zone.from, from, rounding);
    EXPECT_NEAR(zone.to, to, rounding);
    EXPECT_NEAR(zone.width, to - from, rounding);
    EXPECT_GE(alongZ, 0);
    if (alongZ > 1e-9) {
        EXPECT_NEAR(zone.height, (to - from) / alongZ, 1e-9 * (1 + zone.height));
    }
    EXPECT_GE(zone.contacts.size(), 2U);
    EXPECT_TRUE(std::is_sorted(zone.contacts.begin(), zone.contacts.end()));
    for (const int contact : zone.contacts) {
        const double at = product(points[std::size_t(contact)]);
        EXPECT_NEAR(std::min(at - from, to - at), 0, rounding) << contact;
    }
}

/// The line of least squares in plain sums of long double.
void expectLeastSquares(const Straightness& straight, const std::vector<Vector>& points) {
    using Real = long double;
    const auto count = Real(points.size());
    const Vector& first = points.front();
    Real x = 0, y = 0, xx = 0, xy = 0, yy = 0, squares = 0, extent = 0;
    for (const Vector& p : points) {
        x += (Real(p.x) - first.x) / count;
        y += (Real(p.y) - first.y) / count;
        extent = std::max({extent, std::fabs(Real(p.x) - first.x), std::fabs(Real(p.y) - first.y)});
    }
    for (const Vector& p : points) {
        const Real dx = Real(p.x) - first.x - x, dy = Real(p.y) - first.y - y;
        xx += dx * dx;
        xy += dx * dy;
        yy += dy * dy;
    }
    const Real angle = std::atan2(2 * xy, xx - yy) / 2;
    for (const Vector& p : points)
        squares += std::pow(
            (Real(p.y) - first.y - y) * std::cos(angle) - (Real(p.x) - first.x - x) * std::sin(angle), 2);
    EXPECT_NEAR(straight.deviation, double(std::sqrt(squares / count)), double(1e-15L * extent));
    const Real length = std::hypot(2 * xy, xx - yy);  // none where all directions are alike
    const Vector& normal = straight.leastSquares.normal;
    EXPECT_NEAR(double((normal.x * std::cos(angle) + normal.y * std::sin(angle)) * length), 0,
                double(1e-15L * (xx + yy)));
}

/// Points of the plane: the direction of any two may be the one.
void expectStraightness(const std::vector<Whole>& points, const std::vector<Vector>& line) {
    Widths plane;
    for (const Whole& a : points) {
        for (const Whole& b : points)
            plane.take(points, cross(minus(b, a), {0, 1, 0}));
    }
    const Straightness straight = straightness(line);
    EXPECT_NEAR(straight.minimumZone.width, double(plane.square), 1e-13 * (1 + double(plane.square)));
    expectCertified(straight.minimumZone, straight.minimumZone.width);
    for (const LineZone* zone :
         {&straight.minimumZone, &straight.minimumZoneAlongZ, &straight.leastSquares}) {
        const auto product = [zone](const Vector& p) {
            return (p.x - zone->origin.x) * zone->normal.x + (p.y - zone->origin.y) * zone->normal.y;
        };
        if (zone->isValid())
            expectLimits(*zone, line, product, zone->normal.y);
    }
    EXPECT_EQ(straight.count, int(points.size()));
    expectLeastSquares(straight, line);
    if (std::isfinite(double(plane.alongZ))) {
        EXPECT_NEAR(straight.minimumZoneAlongZ.height, double(plane.alongZ),
                    1e-12 * (1 + double(plane.alongZ)));
    }
}

TEST(Zones, AreThoseOfWholeNumbers) {
    std::mt19937 random(20261122);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        const int height = trial % 3 == 0 ? 0 : trial % 3 == 1 ? 3 : 40;
        std::vector<Whole> points = randomPoints(random, 4 + trial % 9, 40, height);
        Widths space;
        std::vector<SpacePoint> places;
        for (const Whole& a : points) {
            places.push_back({double(a[0]), double(a[1]), double(a[2])});
            for (const Whole& b : points) {
                for (const Whole& c : points) {
                    for (const Whole& d : points)
                        space.take(points, cross(minus(b, a), minus(d, c)));
                }
            }
        }
        const Flatness flat = flatness(places);
        EXPECT_NEAR(flat.minimumZone.width, double(space.square), 1e-13);
        expectCertified(flat.minimumZone, flat.minimumZone.width);
        EXPECT_GE(flat.leastSquares.width, flat.minimumZone.width * (1 - 1e-12));
        for (const PlaneZone* zone : {&flat.minimumZone, &flat.minimumZoneAlongZ, &flat.leastSquares}) {
            const auto product = [zone](const SpacePoint& p) {
                return (p[0] - zone->origin[0]) * zone->normal[0] +
                       (p[1] - zone->origin[1]) * zone->normal[1] +
                       (p[2] - zone->origin[2]) * zone->normal[2];
            };
            if (zone->isValid())
                expectLimits(*zone, places, product, zone->normal[2]);
            if (zone != &flat.leastSquares)
                continue;
            double mean = 0, squares = 0;
            for (const SpacePoint& p : places)
                mean += product(p) / double(places.size());
            for (const SpacePoint& p : places)
                squares += std::pow(product(p) - mean, 2) / double(places.size());
            EXPECT_NEAR(flat.deviation, std::sqrt(squares), 1e-12 * (1 + flat.deviation));
        }
        if (std::isfinite(double(space.alongZ))) {
            EXPECT_NEAR(flat.minimumZoneAlongZ.height, double(space.alongZ), 1e-12);
        }

        std::vector<Vector> line;
        for (Whole& p : points) {
            p = {p[0], 0, p[2]};
            line.emplace_back(double(p[0]), double(p[2]));
        }
        expectStraightness(points, line);
    }
}

/// So many points that most of them are left out of the hull: thin and thick clouds, rows of a grid, rings,
/// turned, with doubled points.
TEST(Zones, OfManyPointsAreThoseOfWholeNumbers) {
    std::mt19937 random(5);
    for (int trial = 0; trial < 24; ++trial) {
        SCOPED_TRACE(trial);
        const int height = trial % 4 == 0 ? 1 : trial % 4 == 1 ? 40 : 2000;
        std::vector<Whole> points = randomPoints(random, 180, trial % 3 == 0 ? 20 : 3000, height);
        std::vector<Vector> line;
        for (std::size_t i = 0; i < points.size(); ++i) {
            Whole& p = points[i];
            if (trial % 4 == 3)
                p = {std::llround(4000 * std::cos(0.1 * double(i))), 0,
                     std::llround(4000 * std::sin(0.1 * double(i)))};
            p = trial % 2 == 0 ? Whole{p[0], 0, p[2]} : Whole{3 * p[0] - p[2], 0, 3 * p[2] + p[0]};
            line.emplace_back(double(p[0]), double(p[2]));
        }
        expectStraightness(points, line);
    }
}

/// The least ring of all points by every centre on two bisectors.
double leastRing(const std::vector<Vector>& points) {
    long double least = INFINITY;
    const auto bisector = [](const Vector& a, const Vector& b, long double* row) {
        row[0] = static_cast<long double>(b.x) - a.x;
        row[1] = static_cast<long double>(b.y) - a.y;
        row[2] = (row[0] * (static_cast<long double>(a.x) + b.x) +
                  row[1] * (static_cast<long double>(a.y) + b.y)) /
                 2;
    };
    for (std::size_t i = 0; i < points.size() * points.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            long double u[3], v[3];
            bisector(points[i / points.size()], points[i % points.size()], u);
            bisector(points[k / points.size()], points[k % points.size()], v);
            const long double determinant = u[0] * v[1] - u[1] * v[0];
            if (std::fabs(determinant) < 1e-12L)
                continue;
            const long double x = (u[2] * v[1] - v[2] * u[1]) / determinant;
            const long double y = (u[0] * v[2] - v[0] * u[2]) / determinant;
            long double inner = INFINITY, outer = 0;
            for (const Vector& p : points) {
                inner = std::min(inner, std::hypot(p.x - x, p.y - y));
                outer = std::max(outer, std::hypot(p.x - x, p.y - y));
            }
            least = std::min(least, outer - inner);
        }
    }
    return double(least);
}

void expectRing(const RoundZone& zone, const std::vector<Vector>& points) {
    double inner = INFINITY, outer = 0;
    for (const Vector& p : points) {
        inner = std::min(inner, length(zone.centre, p));
        outer = std::max(outer, length(zone.centre, p));
    }
    EXPECT_NEAR(zone.innerRadius, inner, 1e-12);
    EXPECT_NEAR(zone.outerRadius, outer, 1e-12);
    EXPECT_NEAR(zone.width, outer - inner, 1e-12);
}

TEST(Zones, RoundnessIsTheLeastRing) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> any(-1, 1);
    for (int trial = 0; trial < 120; ++trial) {
        SCOPED_TRACE(trial);
        std::vector<Vector> points;
        const int count = 5 + trial % 8;
        const double span = trial % 4 == 3 ? 2.5 : 6.2;
        for (int i = 0; i < count; ++i) {
            const double angle = span * i / count, radius = 10 + 0.2 * any(random);
            points.emplace_back(300 + radius * std::cos(angle), radius * std::sin(angle) - 70);
        }
        const Roundness round = roundness(points);
        const double strip = straightness(points).minimumZone.width;
        const double ring = leastRing(points);
        ASSERT_LT(ring, strip);
        EXPECT_NEAR(round.minimumZone.width, ring, 1e-12);
        expectCertified(round.minimumZone, round.minimumZone.width);
        EXPECT_GE(round.leastSquares.width, ring * (1 - 1e-12));
        EXPECT_GE(round.circumscribed.width, ring * (1 - 1e-12));
        EXPECT_EQ(circumscribedCircle(points).radius, round.circumscribed.radius);
        for (const RoundZone* zone :
             {&round.minimumZone, &round.leastSquares, &round.circumscribed, &round.inscribed}) {
            if (zone->isValid())
                expectRing(*zone, points);
        }
        EXPECT_NEAR(round.circumscribed.radius, round.circumscribed.outerRadius, 1e-12);
        EXPECT_NEAR(round.minimumZone.radius,
                    (round.minimumZone.innerRadius + round.minimumZone.outerRadius) / 2, 1e-12);
        const auto meanSquare = [&](double x, double y, double radius) {
            double sum = 0;
            for (const Vector& p : points)
                sum +=
                    std::pow(length({round.leastSquares.centre.x + x, round.leastSquares.centre.y + y}, p) -
                                 round.leastSquares.radius - radius,
                             2);
            return sum / double(points.size());
        };
        EXPECT_NEAR(round.deviation, std::sqrt(meanSquare(0, 0, 0)), 1e-12);
        for (const double step : {-1e-3, 1e-3}) {
            EXPECT_GE(meanSquare(step, 0, 0), meanSquare(0, 0, 0));
            EXPECT_GE(meanSquare(0, step, 0), meanSquare(0, 0, 0));
            EXPECT_GE(meanSquare(0, 0, step), meanSquare(0, 0, 0));
        }
        ASSERT_EQ(round.minimumZone.contacts.size(), 4U);
        // The certificate that a metrologist knows: round the circle, contacts lie outside and inside in
        // turn.
        std::vector<std::pair<double, bool>> turn;
        for (const int i : round.minimumZone.contacts) {
            const Vector& p = points[std::size_t(i)];
            const Vector& c = round.minimumZone.centre;
            turn.emplace_back(std::atan2(p.y - c.y, p.x - c.x), length(c, p) > round.minimumZone.radius);
        }
        std::sort(turn.begin(), turn.end());
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_NE(turn[i].second, turn[(i + 1) % 4].second);
        if (round.inscribed.isValid()) {
            EXPECT_GE(round.inscribed.width, ring * (1 - 1e-12));
        }
    }
}

TEST(Zones, DoNotChangeWithPlaceDirectionAndOrder) {
    std::mt19937 random(3);
    std::normal_distribution<double> noise(0, 0.01);
    std::vector<SpacePoint> places, turned;
    std::vector<Vector> circle, moved;
    for (int i = 0; i < 4000; ++i) {
        const double x = i % 63, y = i / 63,
                     z = 0.3 * x + noise(random);  // NOLINT(bugprone-integer-division)
        places.push_back({x, y, z});
        turned.push_back({1e6 + 0.6 * x - 0.8 * z, y - 2e5, 0.8 * x + 0.6 * z});
        const double angle = i * 0.00157, radius = 5 + noise(random);
        circle.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
        moved.emplace_back(1e5 - circle.back().y, circle.back().x);
    }
    std::reverse(turned.begin(), turned.end());
    std::reverse(moved.begin(), moved.end());
    EXPECT_NEAR(flatness(places).minimumZone.width, flatness(turned).minimumZone.width, 1e-9);
    const Roundness a = roundness(circle), b = roundness(moved);
    EXPECT_NEAR(a.minimumZone.width, b.minimumZone.width, 1e-9);
    EXPECT_NEAR(a.inscribed.radius, b.inscribed.radius, 1e-9);
    EXPECT_NEAR(a.circumscribed.radius, b.circumscribed.radius, 1e-9);
    EXPECT_NEAR(a.leastSquares.centre.y + 1e5, 1e5 + a.leastSquares.centre.y, 0);
    EXPECT_NEAR(b.leastSquares.centre.y, a.leastSquares.centre.x, 1e-9);
}

TEST(Zones, OfLeastSquaresHoldForAnySizeAndPlace) {
    std::mt19937 random(7);
    std::normal_distribution<double> normal;
    for (const int count : {2, 3, 64, 65, 1000, 10007}) {
        for (const double size : {1.0, 1e-310, 1e-200, 1e-3, 1e5, 1e200, 1e302}) {
            for (const double offset : {0.0, 1.0, 1e6}) {
                SCOPED_TRACE(testing::Message() << count << ' ' << size << ' ' << offset);
                std::vector<Vector> points;
                for (int i = 0; i < count; ++i)
                    points.emplace_back((offset + i * 7.0 / count) * size,
                                        (1 - 0.2 * i / count + 0.01 * normal(random)) * size);
                expectLeastSquares(straightness(points), points);
            }
        }
    }
}

TEST(Zones, OfFewAndDegeneratePointsHaveReasons) {
    const std::vector<Vector> upright{{5, 0}, {5, 1}, {5, 7}};
    EXPECT_EQ(straightness(upright).minimumZone.width, 0);
    EXPECT_FALSE(straightness(upright).minimumZoneAlongZ.isValid());
    EXPECT_FALSE(roundness(upright).minimumZone.isValid());
    EXPECT_DOUBLE_EQ(roundness(upright).circumscribed.radius, 3.5);
    for (const std::size_t count : {0U, 1U, 5U}) {
        EXPECT_FALSE(straightness(std::vector<Vector>(count, {2, 3})).minimumZone.reason.isEmpty());
        EXPECT_FALSE(roundness(std::vector<Vector>(count, {2, 3})).minimumZone.reason.isEmpty());
        EXPECT_FALSE(flatness(std::vector<SpacePoint>(count, {2, 3, 4})).minimumZone.reason.isEmpty());
    }
    std::vector<SpacePoint> upPlane;
    for (int i = 0; i < 30; ++i)
        upPlane.push_back({double(i % 5), double(i % 5), double(i)});
    EXPECT_NEAR(flatness(upPlane).minimumZone.width, 0, 1e-17);
    EXPECT_FALSE(flatness(upPlane).minimumZoneAlongZ.isValid());
    const Roundness triangle = roundness({{0, 0}, {4, 0}, {0, 3}});
    EXPECT_NEAR(triangle.minimumZone.width, 0, 1e-15);
    EXPECT_NEAR(triangle.leastSquares.radius, 2.5, 1e-12);
    // An arc of three-fold noise, and a half circle: nothing holds a circle from the open side.
    std::vector<Vector> arc;
    for (int i = 0; i < 50; ++i)
        arc.emplace_back(std::cos(i * 0.05), std::sin(i * 0.05));
    EXPECT_FALSE(roundness(arc).inscribed.isValid());
}

TEST(Zones, OfPointsThatHoldNoRingSaySo) {
    EXPECT_EQ(circumscribedCircle({}).reason, "no points");
    EXPECT_EQ(roundness({}).leastSquares.reason, "no points");
    EXPECT_EQ(roundness({{0, 0}, {1, 0}}).minimumZone.reason, "fewer than three points");
    EXPECT_EQ(roundness({{0, 0}, {1, 0}, {3, 0}}).minimumZone.reason, "all points lie on one line");
    EXPECT_DOUBLE_EQ(circumscribedCircle({{1, 2}}).radius, 0);
    // A straight strip is narrower than any ring.
    std::vector<Vector> zigzag;
    for (int i = 0; i <= 100; ++i)
        zigzag.emplace_back(i, i % 2 == 0 ? 0.01 : -0.01);
    EXPECT_TRUE(roundness(zigzag).minimumZone.reason.startsWith("a straight strip is no wider"));
}

}  // namespace
