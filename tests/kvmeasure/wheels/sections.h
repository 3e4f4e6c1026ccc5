#pragma once
// Sections of wheels and rails from points; their values by key.

#include <kvmeasure/wheels/gauge_values.h>
#include <tests/kvmeasure/calls.h>

namespace TestSupport {

using Points = std::vector<Vector>;

inline Points moved(const Points& points, const std::function<Vector(const Vector&)>& move) {
    Points result;
    for (const Vector& p : points)
        result.push_back(move(p));
    return result;
}

inline GaugeProfile profileOf(const Points& points) {
    GaugeProfile profile;
    profile.points = points;
    return profile;
}

inline WheelSection wheelOf(const Points& points) { return wheelSection(profileOf(points)); }
inline RailSection railOf(const Points& points) { return railSection(profileOf(points)); }

/// 1e99 where there is no such key.
inline double valueOf(const std::vector<SectionValue>& values, const char* key) {
    const SectionValue* value = findValue(values, key);
    return value == nullptr ? 1e99 : value->value;
}

inline QString reasonOf(const std::vector<SectionValue>& values, const char* key) {
    return findValue(values, key)->reason;
}

/// Of one section in two frames; `worst` as a share of values above 1.
inline void expectSame(const std::vector<SectionValue>& values, const std::vector<SectionValue>& others,
                       double worst) {
    ASSERT_EQ(values.size(), others.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(values[i].reason, others[i].reason) << values[i].key.toStdString();
        if (values[i].isKnown()) {
            EXPECT_NEAR(values[i].value, others[i].value, worst * std::max(1.0, std::fabs(values[i].value)))
                << values[i].key.toStdString();
        }
    }
}

}  // namespace TestSupport
