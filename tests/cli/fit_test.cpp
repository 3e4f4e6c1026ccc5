// Circles through arcs, down to those that are too flat to have a radius.

#include <tests/cli/program.h>

#include <random>

namespace {

struct Place {
    double x, y;
};

/// A circle by its curvature with sign, its height above the origin and its direction there: no parameter
/// runs away where an arc becomes a straight line.
struct Bow {
    double curvature, height, tilt;
};

double costOf(const std::vector<Place>& points, const Bow& bow) {
    double sum = 0;
    for (const Place& p : points) {
        const double along = p.x * std::cos(bow.tilt) + p.y * std::sin(bow.tilt);
        const double up = p.y * std::cos(bow.tilt) - p.x * std::sin(bow.tilt) - bow.height;
        const double root = std::hypot(bow.curvature * along, 1 - bow.curvature * up);
        const double distance = (bow.curvature * (along * along + up * up) - 2 * up) / (1 + root);
        sum += distance * distance;
    }
    return sum;
}

/// The least cost by a dense search over all three parameters that closes in on the best place.
double leastCost(std::vector<Place> points) {
    constexpr int half = 6;
    for (Place& p : points)
        p.y -= 20;  // to where the arc is
    Bow best{0, 0, 0};
    double least = costOf(points, best);
    Bow reach{0.5, 0.5, 0.5};
    for (int round = 0; round < 45; ++round) {
        const Bow middle = best;
        for (int i = -half; i <= half; ++i) {
            for (int j = -half; j <= half; ++j) {
                for (int k = -half; k <= half; ++k) {
                    const Bow bow{middle.curvature + reach.curvature * i / half,
                                  middle.height + reach.height * j / half,
                                  middle.tilt + reach.tilt * k / half};
                    const double cost = costOf(points, bow);
                    if (cost < least) {
                        least = cost;
                        best = bow;
                    }
                }
            }
        }
        reach = {reach.curvature * 0.6, reach.height * 0.6, reach.tilt * 0.6};
    }
    return least;
}

class CircleFit : public Program {
protected:
    /// Points on top of a circle about the origin, as the program reads them from a.csv.
    std::vector<Place> writeArc(double radius, double degrees, double noise, unsigned seed) const {
        constexpr int count = 60;
        std::mt19937 random(seed);
        std::normal_distribution<double> error(0, noise);
        std::vector<Place> points;
        QByteArray text;
        for (int i = 0; i < count; ++i) {
            const double angle = degrees * 0.017453292519943295 * (i / (count - 1.0) - 0.5);
            const double r = radius + error(random);
            const float x = float(r * std::sin(angle));
            const float y = float(r * std::cos(angle));
            points.push_back({double(x), double(y)});
            text +=
                QByteArray::number(double(x), 'g', 9) + ',' + QByteArray::number(double(y), 'g', 9) + '\n';
        }
        write("a.csv", text);
        return points;
    }
};

TEST_F(CircleFit, OfFlatArcsHasTheLeastCostAndSaysThatTheRadiusIsNotDetermined) {
    for (const double degrees : {3.0, 4.0, 5.0}) {
        for (unsigned seed = 1; seed <= 4; ++seed) {
            const std::vector<Place> points = writeArc(20, degrees, 0.05, seed);
            const Outcome fit = run("fit a.csv --circle --json");
            const QJsonObject circle = fit.json()["parameters"].toObject();
            double cost = 0;
            for (const Place& p : points) {
                const double distance =
                    std::hypot(p.x - circle["x"].toDouble(), p.y - circle["y"].toDouble());
                cost += std::pow(distance - circle["radius"].toDouble(), 2);
            }
            EXPECT_LE(cost, leastCost(points) * (1 + 1e-7)) << degrees << " degrees, seed " << seed;
            EXPECT_EQ(fit.code, 0);
            EXPECT_FALSE(fit.json()["determined"].toBool(true));
        }
    }
    EXPECT_THAT(run("fit a.csv --circle --svg a.svg").out,
                HasSubstr("\nradius not determined: the arc is 0."));
    EXPECT_THAT(read("a.svg").toStdString(), HasSubstr("radius not determined"));
    EXPECT_THAT(run("fit a.csv --circle --known-radius 20").out,
                HasSubstr("side of the centre not determined"));
}

TEST_F(CircleFit, OfArcsThatBendEnoughGivesTheRadius) {
    for (const double degrees : {40.0, 180.0, 354.0}) {
        writeArc(20, degrees, 0.02, 5);
        for (const char* known : {"", " --known-radius 20"}) {
            const QJsonObject fit = run((QString("fit a.csv --circle --json") + known).toLatin1()).json();
            EXPECT_TRUE(fit["good"].toBool() && fit["determined"].toBool()) << degrees << known;
            EXPECT_NEAR(fit["parameters"].toObject()["radius"].toDouble(), 20, 0.15) << degrees << known;
            EXPECT_NEAR(fit["parameters"].toObject()["y"].toDouble(), 0, 0.15) << degrees << known;
        }
    }
    write("line.csv", "0,0\n1,0\n2,0\n3,0\n4,0\n");
    const Outcome straight = run("fit line.csv --circle");
    EXPECT_EQ(straight.code, 1);
    EXPECT_THAT(straight.out, HasSubstr("NO RESULT"));
}

TEST_F(CircleFit, PicturesShowTheResidualsWithTheWorstAsReported) {
    writeArc(20, 200, 0.02, 3);
    write("far.csv", "-1e38,0\n0,3e37\n1e38,0\n2e38,1e37\n");
    write("exact.csv", "0,1\n1,2\n2,3\n3,4\n");
    write("one.csv", "1,2\n");
    struct Case {
        const char* command;
        double perMm;  ///< of the unit that the panel shows; 0: no panel
        const char *unit, *axis;
    };
    for (const Case& c : {Case{"a.csv --circle", 1000, "µm", "angle about the centre, deg"},
                          {"a.csv --line", 1, "mm", "x, mm"},
                          {"far.csv --unset none --line", 1, "mm", "x, mm"},
                          {"exact.csv --line", 1000, "µm", "x, mm"},
                          {"one.csv --parabola", 0, "", ""}}) {
        const Outcome fit = run(QByteArray("fit ") + c.command + " --svg a.svg --json");
        const QString svg = QString::fromUtf8(read("a.svg"));
        const QString panel = svg.mid(svg.indexOf("<g id=\"residuals\">"));
        EXPECT_EQ(svg.contains("<g id=\"residuals\">"), c.perMm > 0) << c.command;
        if (c.perMm == 0)
            continue;
        const QString unit = QString::fromUtf8(c.unit);
        const auto shown = [&](const char* key) {
            return QString::number(fit.json()[key].toDouble() * c.perMm, 'g', 4) + ' ' + unit;
        };
        const QString band = QString::fromUtf8("band: ±1 standard error, ") + shown("standardError");
        for (const QString& text : {band, "residual, " + unit + "</text>", '>' + QString(c.axis) + "</text>"})
            EXPECT_THAT(panel.toStdString(), HasSubstr(text.toStdString())) << c.command;
        EXPECT_THAT(QString(panel).replace("worst -", "worst ").toStdString(),
                    HasSubstr(("worst " + shown("max") + "</text>").toStdString()))
            << c.command;
        EXPECT_FALSE(svg.contains("nan") || svg.contains("inf")) << c.command;
    }
}

}  // namespace
