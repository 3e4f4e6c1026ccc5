#include <kvmath/calibration/dtf_profiles.h>

#include <kvmath/profile/profile.h>
#include <tests/support/cell_rows.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

namespace {

using namespace KvMath;

TEST(ProfilesFromDtf, EqualTheLiteralForm) {
    TestSupport::Draws draws(4);
    TestSupport::Cells tbl(kTableCells);
    for (auto& cell : tbl)
        cell = static_cast<unsigned short>(draws.chance(0.1) ? 32768 : draws.integer(0, 32767));
    TestSupport::CellRows dtf(kCalibrationSteps);
    for (auto& v : dtf.cells)
        v = static_cast<unsigned short>(draws.chance(0.1) ? draws.integer(0, 65535)
                                                          : draws.integer(0, 15616));
    for (const int v : {15615, 15616, 65535, 15584, 31, 1, 0})
        dtf[v % 648][v % 1000] = static_cast<unsigned short>(v);
    std::vector<KvProfile> profiles(1000);
    profiles[9].append({7, 8}, false);
    const double zRange = 123.456;
    const double xRange = 87.1;
    calcProfsFromDtf(tbl.data(), dtf.rows(), zRange, xRange, profiles.data());
    for (int s = 0; s < 1000; ++s) {
        const int before = s == 9 ? 1 : 0;
        ASSERT_EQ(profiles[std::size_t(s)].points.size(), 648 + before);
        for (int c = 0; c < 648; ++c) {
            const int v = dtf[c][s] >= 15616 ? 0 : dtf[c][s];
            const int f = (v & 31) & 1;
            const int row = 2 * (v >> 5) + ((v & 31) >> 1);
            const auto at = [&](int r) { return int(tbl[std::size_t(r) * 648 + std::size_t(c)]); };
            const auto value = [&](int r, double range) {
                return static_cast<float>((at(r) + (at(r + 1) - at(r)) * f * 0.5) * range / 16384);
            };
            const KvPointXY& p = profiles[std::size_t(s)].points[c + before];
            ASSERT_TRUE(p.x == value(row + 1000, xRange) && p.y == value(row, zRange)) << s << ' ' << c;
        }
    }
    EXPECT_EQ(profiles[9].points[0].x, 7);
    calcProfsFromDtf(nullptr, dtf.rows(), 1, 1, profiles.data());
    calcProfsFromDtf(tbl.data(), nullptr, 1, 1, profiles.data());
    calcProfsFromDtf(tbl.data(), dtf.rows(), 1, 1, nullptr);
    EXPECT_EQ(profiles[0].points.size(), 648);
}

}  // namespace
