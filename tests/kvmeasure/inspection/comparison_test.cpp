// Parts with known deviations, moved by known motions, against their masters.

#include <kvmeasure/inspection/comparison.h>
#include <tests/kvmeasure/calls.h>

namespace {

using KvMath::KvPointXY;
using KvMath::KvProfile;
using testing::DoubleNear;

constexpr double kPitch = 0.1;            // mm
constexpr double kFloatPrecision = 2e-5;  // mm, of coordinates up to 100 mm

/// A line from corner to corner, a point per pitch.
KvProfile along(const std::vector<Vector>& corners) {
    KvProfile profile;
    for (std::size_t i = 0; i + 1 < corners.size(); ++i) {
        const int count = static_cast<int>(std::lround(length(corners[i], corners[i + 1]) / kPitch));
        for (int k = i == 0 ? 0 : 1; k <= count; ++k) {
            const double share = double(k) / count;
            profile += KvPointXY(float(corners[i].x + share * (corners[i + 1].x - corners[i].x)),
                                 float(corners[i].y + share * (corners[i + 1].y - corners[i].y)));
        }
    }
    return profile;
}

KvProfile arc(double radius, double from, double to) {
    KvProfile profile;
    const int count = static_cast<int>(radius * std::fabs(to - from) / kPitch);
    for (int i = 0; i <= count; ++i) {
        const double angle = from + (to - from) * i / count;
        profile += KvPointXY(float(radius * std::cos(angle)), float(radius * std::sin(angle)));
    }
    return profile;
}

KvProfile moved(const KvProfile& profile, const RigidMotion& motion) {
    KvProfile result;
    for (const KvPointXY& point : profile.points) {
        const Vector place = motion.apply({double(point.x), double(point.y)});
        result += KvPointXY(float(place.x), float(place.y));
    }
    return result;
}

KvProfile withNoise(const KvProfile& profile, double deviation, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<double> noise(0, deviation);
    KvProfile result;
    for (const KvPointXY& point : profile.points)
        result += KvPointXY(point.x, float(double(point.y) + noise(random)));
    return result;
}

/// Lands, and a groove with slanted walls; its floor is `depth` below.
KvProfile groove(double depth) {
    return along(
        {{-20, 0}, {-6, 0}, {-4, -6}, {-4 + 1e-3, -depth}, {3, -depth}, {3 + 1e-3, -6}, {7, 0}, {20, 0}});
}

double valueAt(const Comparison& result, int number) {
    return number < 0 ? std::nan("") : result.deviations[std::size_t(number)].value;
}

TEST(Compare, FindsAKnownDeviationHoweverThePartLies) {
    const KvProfile master = groove(6);
    for (const double degrees : {0.0, 3.0, -8.0}) {
        for (const Vector& shift : {Vector(0, 0), Vector(6, -30), Vector(-3, 2)}) {
            SCOPED_TRACE(testing::Message() << degrees << " deg, " << shift.x << ' ' << shift.y);
            const KvProfile part = moved(groove(6.3), {{0, 0}, degrees / kDegreesPerRadian, shift});
            const Comparison result = compare(part, master);
            ASSERT_TRUE(result.isValid()) << result.reason.toStdString();
            EXPECT_THAT(valueAt(result, result.smallest), DoubleNear(-0.3, 5 * kFloatPrecision));
            EXPECT_THAT(valueAt(result, result.largest), DoubleNear(0, 5 * kFloatPrecision));
            EXPECT_THAT(result.registration.motion.angle * kDegreesPerRadian, DoubleNear(-degrees, 1e-3));
            EXPECT_TRUE(result.registration.isFixed());
            EXPECT_DOUBLE_EQ(result.bandValue, -2 * valueAt(result, result.smallest));
        }
    }
}

TEST(Compare, PointsBeyondTheMasterAndInItsGapAreCounted) {
    // 10 points before it, 100 in its gap and 10 behind it; the others lie 0.1 above it.
    KvProfile master = along({{-20, 0}, {-5, 0}});
    for (const KvPointXY& point : along({{5, 0}, {20, 0}}).points)
        master += point;
    const KvProfile part = along({{-20.95, 0.1}, {20.95, 0.1}});
    ComparisonSettings settings;
    settings.alignment = Alignment::None;
    for (const double limit : {0.09, 0.11}) {
        settings.lower = -limit;
        settings.upper = limit;
        const Comparison result = compare(part, master, settings);
        ASSERT_TRUE(result.isValid()) << result.reason.toStdString();
        EXPECT_EQ(result.beyond, 120);
        ASSERT_EQ(result.deviations.size(), 300U);
        for (const Deviation& deviation : result.deviations) {
            EXPECT_NEAR(deviation.value, 0.1, kFloatPrecision);
            EXPECT_GT(std::fabs(deviation.place.x), 5);
            EXPECT_LT(std::fabs(deviation.place.x), 20);
            EXPECT_NEAR(deviation.point.x, deviation.place.x, kFloatPrecision);
            EXPECT_EQ(deviation.outward.y, 1);
        }
        EXPECT_EQ(result.shareOutside, limit < 0.1 ? 1 : 0);
        EXPECT_EQ(result.isGood(), limit > 0.1);
    }
}

TEST(Compare, SignsAreOfTheMaterialWhicheverWayTheScanRuns) {
    const KvProfile master = groove(6);
    ComparisonSettings settings;
    settings.alignment = Alignment::None;
    const auto reversed = [](const KvProfile& profile) {
        KvProfile result;
        for (int i = static_cast<int>(profile.points.size()); i-- > 0;)
            result += profile.points[i];
        return result;
    };
    const KvProfile part = moved(master, {{0, 0}, 0, {0, 0.25}});
    for (const bool turnsPart : {false, true}) {
        for (const bool turnsMaster : {false, true}) {
            const Comparison result =
                compare(turnsPart ? reversed(part) : part, turnsMaster ? reversed(master) : master, settings);
            EXPECT_THAT(valueAt(result, result.largest), DoubleNear(0.25, kFloatPrecision));
            EXPECT_GT(valueAt(result, result.smallest), 0.05) << "walls move by the cosine of their slope";
        }
    }
}

TEST(Compare, SaysWhatTheMasterDoesNotDetermine) {
    struct Case {
        const char* name;
        KvProfile master;
        QStringList free;
    };
    const double noise = 0.02;
    for (const Case& c : std::vector<Case>{
             {"line", along({{-20, 0}, {20, 0}}), {"shift along (1.000, 0.00"}},
             {"tilted line", along({{-12, -16}, {12, 16}}), {"shift along (0."}},
             {"step of parallel lines", along({{-20, 0}, {0, 0}}), {"shift along (1.000, 0.00"}},
             {"circle", arc(10, 2.6, 0.5), {"turn about ("}},
             {"roof", along({{-20, 0}, {0, 8}, {20, 0}}), {}},
             {"groove", groove(6), {}}}) {
        SCOPED_TRACE(c.name);
        const Comparison result = compare(withNoise(c.master, noise, 2), withNoise(c.master, noise, 1));
        QStringList free;
        for (const MotionPart& part : result.registration.parts) {
            if (part.isFree)
                free.append(part.text());
        }
        ASSERT_EQ(free.size(), c.free.size()) << free.join("; ").toStdString();
        for (int i = 0; i < free.size(); ++i)
            EXPECT_TRUE(free[i].startsWith(c.free[i])) << free[i].toStdString();
        EXPECT_LT(std::fabs(result.mean), noise / 4);
        EXPECT_LT(result.rms, 2 * noise);
    }
}

TEST(Compare, UncertaintyOfTheMotionIsWhatRunsShow) {
    const KvProfile master = groove(6);
    constexpr int runs = 60;
    double squares = 0;
    double predicted = 0;
    ComparisonSettings settings;
    settings.registration.findsStart = false;
    for (unsigned run = 0; run < runs; ++run) {
        const Comparison result = compare(withNoise(master, 0.02, 10 + run), master, settings);
        const MotionPart& least = result.registration.parts.front();
        ASSERT_FALSE(least.isTurn);
        squares += std::pow(result.registration.motion.shift.x, 2) / runs;
        predicted += least.uncertainty / runs;
    }
    EXPECT_NEAR(predicted / std::sqrt(squares), 1, 0.3) << "of 60 runs, three deviations";
}

TEST(Compare, LeavesADefectOutOfTheRegistrationUnlessToldNotTo) {
    const KvProfile master = groove(6);
    KvProfile part = master;
    for (KvPointXY& point : part.points) {
        if (point.x > 10)
            point.y += 0.4F;
    }
    ComparisonSettings settings;
    settings.upper = 0.1;
    const Comparison robust = compare(part, master, settings);
    EXPECT_THAT(valueAt(robust, robust.largest), DoubleNear(0.4, 1e-3));
    EXPECT_NEAR(robust.shareOutside, 100.0 / double(part.points.size()), 0.01);
    EXPECT_FALSE(robust.isGood());
    settings.registration.isRobust = false;
    const Comparison all = compare(part, master, settings);
    EXPECT_LT(valueAt(all, all.largest), 0.35);
    EXPECT_EQ(all.registration.rejected, 0);
}

TEST(Compare, ATemplateLaysThePartByItsLines) {
    ComparisonSettings settings;
    settings.alignment = Alignment::Template;
    const KvProfile part = moved(groove(6.3), {{0, 0}, 0.03, {4, 2}});
    const Comparison result = compare(part, groove(6), settings);
    ASSERT_TRUE(result.isValid()) << result.reason.toStdString();
    EXPECT_NEAR(result.registration.motion.angle, -0.03, 5e-3);
    EXPECT_NEAR(valueAt(result, result.smallest), -0.3, 0.15) << "the floor is a line of the template, too";
    const Comparison none = compare(arc(10, 2.6, 0.5), groove(6), settings);
    EXPECT_THAT(none.reason, Says("the template is not in the part"));
}

TEST(Compare, WithoutEnoughPointsSaysWhy) {
    const KvProfile master = groove(6);
    KvProfile none;
    KvProfile one;
    one += KvPointXY(1, 2);
    KvProfile unset;
    for (int i = 0; i < 5; ++i)
        unset += KvPointXY(float(i), std::nanf(""));
    for (const Alignment alignment : {Alignment::None, Alignment::Registration, Alignment::Template}) {
        ComparisonSettings settings;
        settings.alignment = alignment;
        for (const KvProfile& bad : {none, one, unset}) {
            for (const Comparison& result :
                 {compare(bad, master, settings), compare(master, bad, settings)}) {
                EXPECT_FALSE(result.isValid());
                EXPECT_EQ(result.worst(), -1);
                EXPECT_TRUE(std::isnan(result.shareOutside));
            }
        }
        KvProfile same;
        for (int i = 0; i < 20; ++i)
            same += KvPointXY(3, 4);
        EXPECT_FALSE(compare(master, same, settings).isValid()) << "a master that is one place";
        compare(same, master, settings);
    }
    ComparisonSettings away;
    away.alignment = Alignment::None;
    EXPECT_EQ(compare(moved(master, {{0, 0}, 0, {500, 0}}), master, away).reason,
              "no point of the part lies over the master");
    away.lower = 1;
    away.upper = 0;
    EXPECT_THROW(compare(master, master, away), Error);
}

}  // namespace
