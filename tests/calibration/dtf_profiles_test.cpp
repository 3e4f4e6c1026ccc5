#include <kvmath/calibration/dtf_profiles.h>

#include <kvmath/profile/profile.h>
#include <tests/support/cell_rows.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

TEST(ProfilesFromDtf, EqualTheLiteralForm) {
    TestSupport::Draws draws(4);
    TestSupport::Cells tbl(KvMath::kTableCells);
    for (auto& cell : tbl)
        cell = static_cast<unsigned short>(draws.chance(0.1) ? 32768 : draws.integer(0, 32767));
    TestSupport::CellRows dtf(1000);
    for (auto& v : dtf.cells)
        v = static_cast<unsigned short>(draws.integer(0, draws.chance(0.1) ? 65535 : 15616));
    for (const int v : {15615, 15616, 15774, 15772, 15941, 15942, 15968, 15970, 65535, 15584, 0})
        dtf[v % 648][v % 1000] = static_cast<unsigned short>(v);
    std::vector<KvMath::KvProfile> profiles(1000);
    profiles[9].append({7, 8}, false);
    KvMath::calcProfsFromDtf(tbl.data(), dtf.rows(), 123.456, 87.1, profiles.data());
    KvMath::calcProfsFromDtf(nullptr, dtf.rows(), 1, 1, profiles.data());
    KvMath::calcProfsFromDtf(tbl.data(), nullptr, 1, 1, profiles.data());
    KvMath::calcProfsFromDtf(tbl.data(), dtf.rows(), 1, 1, nullptr);
    for (int s = 0; s < 1000; ++s) {
        const QList<KvMath::KvPointXY> points = profiles[std::size_t(s)].points.mid(s == 9 ? 1 : 0);
        ASSERT_EQ(points.size(), 648);
        for (int c = 0; c < 648; ++c) {
            const auto rowOf = [](int v) { return 2 * (v >> 5) + ((v & 31) >> 1); };
            const int v = rowOf(dtf[c][s]) > 998 ? 0 : dtf[c][s];  // beyond the half
            const int row = rowOf(v);
            const auto at = [&](int r) { return int(tbl[std::size_t(r * 648 + c)]); };
            const auto value = [&](int r, double range) {
                return float((at(r) + (at(r + 1) - at(r)) * ((v & 31) & 1) * 0.5) * range / 16384);
            };
            ASSERT_TRUE(points[c].x == value(row + 1000, 87.1) && points[c].y == value(row, 123.456)) << s;
        }
    }
}
