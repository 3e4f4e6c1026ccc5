#include <kvmath/core/matrix_cloud.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

using namespace KvMath;
using TestSupport::kNaN;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

/// A digit is a height, anything else an empty cell.
KvMatrixCloud grid(const QList<QByteArray>& lines, float origin, float step) {
    KvMatrixCloud matrix;
    EXPECT_TRUE(matrix.resize(static_cast<int>(lines.size()), static_cast<int>(lines.first().size())));
    for (int row = 0; row < matrix.rows; ++row)
        for (int column = 0; column < matrix.columns; ++column)
            if (const char c = lines.at(row).at(column); c >= '0' && c <= '9')
                matrix.setHeight(row, column, static_cast<float>(c - '0'));
    matrix.originX = matrix.originZ = origin;
    matrix.stepX = matrix.stepZ = step;
    return matrix;
}

TEST(MatrixCloud, MiddlesAreItsSamplesThoughRoundedAndIsolated) {
    const KvMatrixCloud matrix = grid({"1.2", "...", "3.4", "5.."}, 0.1F, 0.3F);
    KvPointCloud<KvPointXYZ> cloud;
    cloud.zIndexBuilt = true;
    ASSERT_EQ(matrix.toPointCloud(cloud), 5);
    EXPECT_FALSE(cloud.zIndexBuilt);
    for (const KvPointXYZ& p : cloud.points)
        EXPECT_EQ(matrix.sample(p.x, p.z), p.y);
    EXPECT_FLOAT_EQ(cloud.points[4].z - cloud.points[1].x, 0.3F);
}

TEST(MatrixCloud, SamplesABilinearSurfaceAndNothingBeyond) {
    KvMatrixCloud matrix = grid({"13579", "24680", "37159", "4826."}, 0, 2);
    const auto surface = [](float x, float z) { return 1 + 2 * x - z + 0.5F * x * z; };
    for (int cell = 0; cell < 19; ++cell)
        matrix.heights[cell] =
            surface(static_cast<float>(cell % 5 * 2 + 1), static_cast<float>(cell / 5 * 2 + 1));
    TestSupport::Draws draws(8);
    for (int i = 0; i < 2000; ++i) {
        const float x = draws.coordinate(11, 0.125F, 0.01), z = draws.coordinate(9, 0.125F, 0.01);
        const bool known = x >= 1 && x <= 9 && z >= 1 && z <= 7 && !(x > 7 && z > 5);
        EXPECT_THAT(matrix.sample(x, z), testing::NanSensitiveFloatEq(known ? surface(x, z) : kNaN));
    }
    for (const auto& [row, column] : {std::pair(-1, 0), {4, 0}, {0, -1}, {0, 5}, {2, 5}}) {
        matrix.setHeight(row, column, 99);
        EXPECT_TRUE(std::isnan(matrix.height(row, column)));
    }
    EXPECT_EQ(std::count(matrix.heights.begin(), matrix.heights.end(), 99.0F), 0);
}

TEST(MatrixCloud, AnswersNothingWhereItsMembersContradictEachOther) {
    EXPECT_TRUE(KvMatrixCloud().rows == 0 && KvMatrixCloud().columns == 0 &&
                std::isnan(KvMatrixCloud().stepX));
    KvMatrixCloud matrix = grid({"111", "111"}, 0, 1);
    EXPECT_FALSE(matrix.resize(-1, 1) || matrix.resize(1, -1) || matrix.resize(4097, 4096) ||
                 matrix.resize(1 << 30, 1 << 30));
    for (const float step : {0.0F, -1.0F, kNaN, 1e-45F, 3e38F, kInf}) {
        matrix.stepX = matrix.stepZ = step;
        for (const float x : {0.0F, kNaN, 3e38F, -3e38F, kInf})
            EXPECT_FALSE(matrix.sample(x, 0) < 1 || matrix.sample(x, 0) > 1);
    }
    matrix.rows = matrix.columns = std::numeric_limits<int>::max();
    matrix.setHeight(1 << 30, 5, 1);
    EXPECT_TRUE(std::isnan(matrix.height(1 << 30, 5)) && std::isnan(matrix.height(-1, 0)));
    KvPointCloud<KvPointXYZ> cloud;
    EXPECT_TRUE(matrix.toPointCloud(cloud) == 6 && KvMatrixWithHistos(matrix).segment(1, 1, 1) == 0);
    matrix.columns = 0;
    EXPECT_TRUE(matrix.toPointCloud(cloud) == 0 && KvMatrixWithHistos(matrix).segment(1, 1, 1) == 0);
}

TEST(MatrixWithHistos, RegionsAreWhatSmallStepsReachFromAFullBand) {
    KvMatrixWithHistos matrix(grid({"11.5551", "1125554", "4.25.53", "9.25553", "8811111"}, 0, 1));
    ASSERT_EQ(matrix.segment(1, 1, 4), 2);
    std::string regions;
    for (const int region : qAsConst(matrix.regions))
        regions += std::to_string(region);
    EXPECT_EQ(regions, "11022201112222001202200122220011111");
    EXPECT_TRUE(matrix.bins.size() == 7 && matrix.bins[1] == 10 && matrix.bins[5] == 11);
    EXPECT_EQ(matrix.segment(1, 0.5F, 3), 3) << "two of height 1; the 2 between is no full band";
    EXPECT_EQ(matrix.segment(1, 1, 14), 1);
    EXPECT_EQ(KvMatrixWithHistos(grid({"122", "333"}, 0, 1)).segment(1, 0.5F, 1), 1) << "the fullest band";
    EXPECT_EQ(KvMatrixWithHistos(grid({"11355"}, 0, 1)).segment(1, 0.5F, 2), 2) << "a row";
    EXPECT_EQ(KvMatrixWithHistos(grid({"1", "1", "3", "5", "5"}, 0, 1)).segment(1, 0.5F, 2), 2) << "a column";
    matrix.heights[2] = kInf;
    EXPECT_TRUE(matrix.segment(1, kInf, 1) == 1 && matrix.regions[2] == 0) << "not within an infinite step";
    for (const float bad : {0.0F, -1.0F, kNaN})
        EXPECT_TRUE(matrix.segment(1, bad, 1) + matrix.segment(bad, 1, 1) == 0 && matrix.regions.isEmpty());
    EXPECT_TRUE(matrix.segment(kInf, 1, 1) + matrix.segment(1e-6F, 1, 1) == 0 && matrix.bins.isEmpty());
}

}  // namespace
