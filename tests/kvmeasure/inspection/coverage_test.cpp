// The stated uncertainty of every kind of tool beside the scatter seen over simulated profiles: noise that is
// white and correlated, missing points, parts at any place between the scanner's columns. With
// KVMEASURE_RUNS=2000 the study takes that many runs and prints its table, that of
// docs/maintainers/uncertainty_study.md, with KVMEASURE_TOOL=groove only its rows of tools whose words hold
// that one.

#include <tests/kvmeasure/inspection/shapes.h>

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>

namespace {

using namespace TestSupport;

/// How a shape is scanned.
struct Scan {
    const char* name;
    double noise = 0.02;
    int width = 1;  ///< of the moving average
    int gaps = 0;   ///< of 8 points
};

/// A shape and which of its values are compared; without a truth the scatter alone is.
struct Case {
    Shape shape;
    QStringList values;
    bool isMoved = true;  ///< by any part of the distance of two points
};

std::vector<Case> cases() {
    std::vector<Case> all;
    for (const Shape& shape : shapes())
        all.push_back({shape, shape.truth.keys(), true});
    const auto slope = [](double x) { return 0.5 * x; };
    const auto top = [](double x) { return -x * x / 40; };
    for (const char* words : {"mean in M", "median in M", "percentile 90 in M", "max in M", "min in M",
                              "bridge in M", "bridge in M sheared"})
        all.push_back({{words, slope, {}}, {""}, false});
    for (const char* words : {"mean in M", "median in M", "percentile 90 in M", "bridge in M"})
        all.push_back({{words, top, {}}, {""}, false});
    all.push_back({{"max in M", top, {}}, {"", "at"}, false});
    all.push_back({{"box in M", top, {}}, {"height", "z"}, false});
    all.push_back({{"box in M turned", slope, {}}, {"height"}, false});
    all.push_back(
        {{"box in M", [](double x) { return std::fabs(x) < 3.005 ? 1.0 : std::nan(""); }, {}}, {"x"}, true});
    all.push_back({{"dimension L R from max to max",
                    [](double x) { return -std::pow(std::fabs(x) - 4, 2) / 20; },
                    {{"dx", 8}}},
                   {"dx", "dz", ""},
                   false});
    all.push_back(
        {{"line in M", slope, {{"angle", std::atan(0.5) * kDegreesPerRadian}}}, {"angle", "z"}, false});
    all.push_back({{"angle L R",
                    [](double x) { return 0.2 * std::fabs(x); },
                    {{"", 2 * std::atan(0.2) * kDegreesPerRadian}}},
                   {""}});
    all.push_back({{"intersection L R", [](double x) { return 0.2 * std::fabs(x); }, {{"x", 0}, {"z", 0}}},
                   {"x", "z"}});
    for (const auto& shape : {std::function<double(double)>(slope), std::function<double(double)>(top)})
        all.push_back({{"straightness in M", shape, {}}, {"", "z", "deviation"}, false});
    all.push_back(
        {{"roundness in M", [](double x) { return std::sqrt(100 - x * x); }, {}}, {"", "deviation"}, false});
    all.push_back({{"step-height in M from -2 to 2",
                    [](double x) { return std::fabs(x) < 2 ? -1.5 : 0.0; },
                    {{"", 1.5}}},
                   {""},
                   false});
    all.push_back({{"area in M below K",
                    [](double x) { return std::min(0.0, std::fabs(x) - 3); },
                    {{"", 9}, {"x", 0}, {"z", -1}}},
                   {"", "x", "z"}});
    return all;
}

/// What was seen of one value.
struct Seen {
    int count = 0, held = 0;
    double sum = 0, squares = 0, u = 0;

    void add(double error, const Value& value) {
        ++count;
        held += std::fabs(error) <= value.expandedU() ? 1 : 0;
        sum += error;
        squares += error * error;
        u += value.u * value.u;
    }
    double deviation() const {
        return std::sqrt(std::max(squares / count - sum / count * (sum / count), 0.0));
    }
    double stated() const { return std::sqrt(u / count); }  ///< root of the mean of u squared
    double ratio() const { return stated() / deviation(); }
};

/// The values of all profiles, and of those without a warning beside them.
struct Counted {
    Seen all, sure;

    void add(double error, const Value& value) {
        all.add(error, value);
        if (value.warning.isEmpty())
            sure.add(error, value);
    }
    bool isSure() const { return 2 * sure.count > all.count; }
    /// What the statement is judged by: values with a warning tell themselves that they may be wrong.
    const Seen& judged() const { return isSure() ? sure : all; }
    /// "1.02 (95)", and behind it how many percent of the values carry a warning.
    QString cell(bool hasTruth) const {
        const int warned = qRound(100.0 * (all.count - sure.count) / all.count);
        return QString::number(judged().ratio(), 'f', 2) +
               (hasTruth ? QString(" (%1)").arg(100.0 * judged().held / judged().count, 0, 'f', 0) : "") +
               (warned > 0 ? QString(" w%1").arg(warned) : "");
    }
};

TEST(Coverage, StatedUncertaintyIsTheScatterSeen) {
    const char* const wanted = std::getenv("KVMEASURE_RUNS");
    const int runs = wanted == nullptr ? 60 : std::max(10, std::atoi(wanted));
    const Scan scans[] = {{"white, 0.02", 0.02, 1, 0},
                          {"white, 0.1", 0.1, 1, 0},
                          {"average of 7, 0.02", 0.02, 7, 0},
                          {"white, 0.02, 4 gaps", 0.02, 1, 4}};
    for (const Case& one : cases()) {
        if (!one.shape.words.contains(qEnvironmentVariable("KVMEASURE_TOOL")))
            continue;
        QMap<QString, QString> rows;
        for (const Scan& how : scans) {
            std::mt19937_64 random(41);
            std::uniform_real_distribution<double> phase;
            QMap<QString, Counted> all;
            for (int run = 0; run < runs; ++run) {
                const double at = one.isMoved ? phase(random) : 0.5;
                Points points = scan(one.shape.height, 0.05, at);
                Points second = scan(one.shape.below, 0.05, one.isMoved ? phase(random) : 0.5);
                roughen(points, how.noise, how.width, random);
                roughen(second, how.noise, how.width, random);
                dropOut(points, how.gaps, 8, random);
                const auto values = measure(one.shape.words, points, second, regions());
                for (const QString& name : one.values) {
                    const Value value = values[name];
                    if (!value.isValid || !std::isfinite(value.u))
                        continue;
                    all[name].add(value.value - one.shape.truth.value(name, 0), value);
                }
            }
            for (const QString& name : one.values) {
                const Counted& seen = all[name];
                SCOPED_TRACE((one.shape.words + " " + name + ", " + how.name).toStdString());
                rows[name] += " " + seen.cell(one.shape.truth.contains(name)) + " |";
                EXPECT_GE(seen.all.count, runs * 8 / 10);
                // A scatter of few profiles is known to a tenth.
                if (seen.isSure()) {
                    EXPECT_GT(seen.judged().ratio(), wanted == nullptr ? 0.7 : 0.8);
                }
                if (how.gaps == 0 && how.width == 1 && how.noise < 0.1) {
                    EXPECT_LT(seen.judged().ratio(), 1.6);
                }
            }
        }
        for (const QString& name : one.values) {
            if (wanted != nullptr)
                std::printf("| `%s` | %s |%s\n", qPrintable(one.shape.words), qPrintable(name),
                            qPrintable(rows[name]));
        }
    }
}

}  // namespace
