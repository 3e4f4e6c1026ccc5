// Uncertainties of sections of gauges against the scatter seen. KVMEASURE_RUNS=1000 takes that many runs and
// prints the table.

#include <kvmeasure/wheels/section_uncertainty.h>
#include <kvmeasure/wheels/wheel_wear.h>
#include <tests/kvmeasure/calls.h>

#include <cstdio>
#include <map>

namespace {

struct Seen {
    int count = 0, held = 0;
    double squares = 0, stated = 0;
};

/// A moving average of white noise.
std::vector<double> noiseOf(std::mt19937_64& random, std::size_t count, double deviation, std::size_t width) {
    std::normal_distribution<double> normal(0, deviation / std::sqrt(double(width)));
    std::vector<double> white(count + width), noise(count, 0.0);
    for (double& value : white)
        value = normal(random);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < width; ++k)
            noise[i] += white[i + k];
    }
    return noise;
}

struct Case {
    double deviation;
    std::size_t width;  ///< neighbours that are correlated
    double step;
    bool isBackSeen;
};

/// The nominal wheel with its back, every `step` mm along it from a phase on, with noise square to it.
WheelSection noisyWheel(const Case& how, std::mt19937_64& random) {
    std::vector<Vector> line;
    for (int i = 0; i < 200; ++i)
        line.emplace_back(0, -10 + 0.0965 * i);
    for (const Vector& p : s1002Section(0.02).points) {
        if (p.x > 0)
            line.push_back(p);
    }
    std::vector<Vector> points;
    double next = how.step * std::uniform_real_distribution<double>(0, 1)(random), way = 0;
    std::vector<Vector> normals;
    for (std::size_t i = 1; i < line.size(); ++i) {
        const Vector &a = line[i - 1], &b = line[i];
        const double piece = length(a, b);
        for (; next <= way + piece; next += how.step) {
            const double share = (next - way) / piece;
            points.emplace_back(a.x + share * (b.x - a.x), a.y + share * (b.y - a.y));
            normals.emplace_back(-(b.y - a.y) / piece, (b.x - a.x) / piece);
        }
        way += piece;
    }
    const std::vector<double> off = noiseOf(random, points.size(), how.deviation, how.width);
    GaugeProfile file;
    file.zero = how.isBackSeen ? GaugeZero::Unknown : GaugeZero::FlangeBack;
    const double shift = how.isBackSeen ? 20 : 0;
    for (std::size_t i = 0; i < points.size(); ++i)
        file.points.emplace_back(points[i].x + off[i] * normals[i].x + shift,
                                 points[i].y + off[i] * normals[i].y);
    return wheelSection(file);
}

/// Values that lie nowhere near an edge: what is said of them must hold. The angle is the steepest of many,
/// the radius that of a short arc.
TEST(SectionUncertainty, IsTheScatterSeenWhateverTheNoise) {
    const int asked = qEnvironmentVariableIntValue("KVMEASURE_RUNS");
    const int runs = asked > 0 ? asked : 40;
    const WheelSection nominal = s1002Section(0.02);
    const std::vector<SectionValue> truth = gaugeValues(nominal).values;
    for (const Case& each : {Case{0.01, 1, 0.2, false}, Case{0.03, 1, 0.2, false}, Case{0.03, 5, 0.2, false},
                             Case{0.02, 1, 0.4, false}, Case{0.01, 1, 0.2, true}}) {
        std::mt19937_64 random(1);
        std::map<QString, Seen> study;
        for (int run = 0; run < runs; ++run) {
            const WheelSection section = noisyWheel(each, random);
            std::vector<SectionValue> values = gaugeValues(section).values;
            addUncertainties(section, nullptr, WearAlignment::Tread, {}, values);
            for (const char* key : {"Sh", "Sd", "qR", "treadSlope", "flangeAngle"}) {
                const SectionValue* value = findValue(values, key);
                if (!value->uncertainty.isKnown() || !value->isKnown())
                    continue;
                const double error = value->value - findValue(truth, key)->value;
                Seen& seen = study[key];
                ++seen.count;
                seen.held += std::fabs(error) <= value->uncertainty.expanded() ? 1 : 0;
                seen.squares += error * error;
                seen.stated += value->uncertainty.u * value->uncertainty.u;
            }
        }
        EXPECT_EQ(study.size(), 5);
        for (const auto& [key, seen] : study) {
            const double ratio = std::sqrt(seen.stated / seen.squares),
                         share = double(seen.held) / seen.count;
            SCOPED_TRACE(testing::Message() << key.toStdString() << ", noise " << each.deviation << ", "
                                            << each.width << ", step " << each.step);
            if (asked > 0)
                std::printf("%-12s noise %.2f x %d step %.1f%s  %.2f (%.0f)  u %.4f  n %d\n", qPrintable(key),
                            each.deviation, static_cast<int>(each.width), each.step,
                            each.isBackSeen ? " back" : "", ratio, 100 * share,
                            std::sqrt(seen.stated / seen.count), seen.count);
            EXPECT_GT(seen.count, runs * (each.width > 1 ? 0.6 : 0.9));
            EXPECT_GT(ratio, asked > 0 ? 0.8 : 0.65);
            EXPECT_LT(ratio, asked > 0 ? 1.3 : 1.6);
            EXPECT_GT(share, 0.8);
        }
    }
}

TEST(SectionUncertainty, IsMissingWithAReason) {
    WheelSection few;
    for (const double x : {0.0, 10.0, 15.0, 35.0, 70.0, 100.0})
        few.points.emplace_back(x, x < 30 ? 28 : 0);
    few.tip = 1;
    std::vector<SectionValue> values = gaugeValues(few).values;
    addUncertainties(few, nullptr, WearAlignment::Tread, {}, values);
    std::vector<SectionValue> none = gaugeValues(WheelSection()).values;
    addUncertainties(WheelSection(), nullptr, WearAlignment::Tread, {}, none);
    RailValues rail = railValues(RailSection(), nullptr);
    addUncertainties(RailSection(), nullptr, {}, rail);
    for (const std::vector<SectionValue>* each : {&values, &none, &rail.values}) {
        ASSERT_FALSE(each->empty());
        for (const SectionValue& value : *each) {
            EXPECT_TRUE(std::isnan(value.uncertainty.u)) << value.key.toStdString();
            EXPECT_FALSE(value.uncertainty.reason.isEmpty()) << value.key.toStdString();
        }
    }
}

}  // namespace
