// Filters against their literal forms on seeded random clouds, and the limits of their arguments.

#include <tests/support/literal_clouds.h>
#include <tests/support/prelude.h>

using Cloud = KvPointCloud<KvPointXYZ>;
namespace Literal = TestSupport::Literal;

namespace {

/// Range and points, bit for bit.
QByteArray bitsOf(const Cloud& cloud) {
    const float range[] = {cloud.minX, cloud.maxX, cloud.minY, cloud.maxY, cloud.minZ, cloud.maxZ};
    QByteArray bits(reinterpret_cast<const char*>(range), sizeof range);
    for (const KvPointXYZ& p : cloud.points)
        bits.append(reinterpret_cast<const char*>(&p), sizeof p);
    return bits.toHex();
}

Cloud randomCloud(Draws& draw, int size, float range, float grid, double unset, float offset = 0.0F) {
    Cloud cloud;
    for (int i = 0; i < size; ++i) {
        cloud.points.append({draw.coordinate(range, grid, unset) + offset,
                             draw.coordinate(range, grid, unset) + offset,
                             draw.coordinate(range, grid, unset) + offset});
        if (offset == 0.0F && draw.chance(0.02))
            cloud.points.last().x = -0.0F;
    }
    return cloud;
}

void checkSparse(const Cloud& cloud, float cell, int minCount) {
    SCOPED_TRACE(testing::Message() << cloud.points.size() << " points, cell " << cell << ", at least "
                                    << minCount);
    Cloud fast = cloud, slow = cloud;
    const bool alone =
        cloud.points.size() % 2 != 0;  // a list that no other cloud shares is filtered in place
    if (alone)
        fast.points.detach();
    fast.zIndexBuilt = slow.zIndexBuilt = true;
    EXPECT_EQ(fast.cubicFilter(cell, minCount), Literal::cubicFilter(slow, cell, minCount));
    EXPECT_EQ(bitsOf(fast), bitsOf(slow));
    EXPECT_EQ(fast.zIndexBuilt, slow.zIndexBuilt);
    for (const bool spherical : {false, true}) {
        fast = slow = cloud;
        if (alone)
            fast.points.detach();
        EXPECT_EQ(spherical && alone ? fast.sphericalFilter2(cell, 7.0F, minCount)
                                     : fast.cubicFilter2(cell, 7.0F, minCount, spherical),
                  Literal::cubicFilter2(slow, cell, minCount, spherical));
        EXPECT_EQ(bitsOf(fast), bitsOf(slow)) << (spherical ? "balls" : "cubes");
    }
}

TEST(SparseFilters, EqualTheScanOfAllCells) {
    Draws draw(11);
    for (int round = 0; round < 120; ++round) {
        const float grid = draw.chance(0.5) ? 0.5F : 0.01F;
        Cloud cloud = randomCloud(draw, draw.integer(0, 150), 4.0F, grid, draw.chance(0.5) ? 0.1 : 0.0);
        if (draw.chance(0.3)) {
            cloud.calcRange();
            cloud.minX += 1;  // not that of the points
            cloud.maxZ += 3;
            float Cloud::*const bounds[] = {&Cloud::minX, &Cloud::maxX, &Cloud::minY,
                                            &Cloud::maxY, &Cloud::minZ, &Cloud::maxZ};
            if (draw.chance(0.5))
                cloud.*bounds[draw.integer(0, 5)] = kNaN;
        }
        checkSparse(cloud, draw.chance(0.5) ? 1.0F : static_cast<float>(draw.real(0.6, 4.0)),
                    draw.chance(0.1) ? static_cast<int>(cloud.points.size()) : draw.integer(-1, 6));
    }
}

TEST(SparseFilters, EqualTheScanWhereCellsAreAsSmallAsRounding) {
    Draws draw(12);
    for (const float offset : {1048576.0F, -1048576.0F, 1048570.0F, -1048570.0F, 0.0F})
        for (const float cell : {0.05F, 0.0625F, 0.07F, 0.09375F, 0.1F, 0.125F, 0.15F, 0.1875F, 0.2F, 0.3F})
            checkSparse(randomCloud(draw, 60, 0.75F, 0.125F, 0.0, offset), cell, 2);
    Cloud line;  // more cells than are tabled
    for (int i = 0; i < 200; ++i)
        line.points.append({static_cast<float>(draw.integer(0, 4999)), float(i % 2), float(i / 2 % 2)});
    checkSparse(line, 1, 2);
}

TEST(SparseFilters, FlatCloudHasNoCellsAndKeepsItsPoints) {
    for (int axis = 0; axis < 3; ++axis) {
        Cloud flat;
        for (float v = 0; v < 20; ++v)
            flat.append({axis == 0 ? 1 : v, axis == 1 ? 1 : v, axis == 2 ? 1 : v}, true);
        EXPECT_TRUE(flat.cubicFilter(1, 2) == 0 && flat.sphericalFilter2(1, 1, 2) == 0) << axis;
    }
}

TEST(SparseFilters, AnswerAnyArgumentAtOnce) {
    Draws draw(14);
    const float huge = std::numeric_limits<float>::max();
    for (const float range : {1e-40F, 1e-12F, 1.0F, 1e6F, 1e20F, huge, kInf}) {
        Cloud cloud = randomCloud(draw, 200, 8.0F, 1.0F, 0.1);
        for (KvPointXYZ& p : cloud.points)
            p = KvPointXYZ(p.x / 8.0F * range, p.y / 8.0F * range, p.z / 8.0F * range);
        for (const float cell :
             {1e-45F, 1e-38F, 1e-16F, 1e-6F, 1.0F, 1e19F, 1e38F, huge, kInf, kNaN, 0.0F, -1.0F}) {
            for (const int minCount : {INT_MIN, 0, 1, 3, INT_MAX}) {
                Cloud a = cloud, b = cloud;
                const int taken = a.cubicFilter(cell, minCount) + b.sphericalFilter2(cell, kNaN, minCount);
                EXPECT_EQ(taken, 400 - a.points.size() - b.points.size());
                EXPECT_TRUE((cell > 0.0F && minCount >= 1) || taken == 0);
            }
        }
    }
}

TEST(ClearEdgeEffect, EqualsTheScanOfAllSlices) {
    Draws draw(15);
    int touched = 0;
    for (int round = 0; round < 600; ++round) {
        Cloud cloud = randomCloud(draw, draw.integer(0, 40), 3.0F, 1.0F, draw.chance(0.3) ? 0.2 : 0.0);
        const int order = draw.integer(0, 3);  // 3: unsorted
        if (order < 3)
            cloud.sort(static_cast<KvSortOrder>(draw.integer(0, 2)), static_cast<KvSortOrder>(order));
        const float step = draw.chance(0.5) ? 1.0F : static_cast<float>(draw.real(0.05, 3.0));
        Cloud slow = cloud;
        slow.zIndex = cloud.zIndex;
        slow.zIndexBuilt = cloud.zIndexBuilt;
        touched += static_cast<int>(cloud.points.size());
        cloud.clearEdgeEffect(step);
        Literal::clearEdgeEffect(slow, step);
        touched -= static_cast<int>(cloud.points.size());
        ASSERT_EQ(bitsOf(cloud), bitsOf(slow)) << "round " << round << ", step " << step;
    }
    EXPECT_GT(touched, 200);
}

TEST(ClearEdgeEffect, PassesOverSlicesWithoutPoints) {
    Cloud cloud;
    cloud.points = {{0, 1, 0}, {1, 1, 1}, {1000, 1, 1000}};
    for (const float step : {1e-6F, 1e-30F, 0.0F, -1.0F, kNaN, kInf})
        cloud.clearEdgeEffect(step);
    EXPECT_EQ(cloud.points.size(), 3);
}

TEST(RemoveIndeces, EqualsRemovalOneByOne) {
    Draws draw(16);
    for (int round = 0; round < 2000; ++round) {
        KvPointCloud<KvPointXY> fast;
        for (int i = draw.integer(0, 12); i > 0; --i)
            fast += KvPointXY(static_cast<float>(i), 0.0F);
        QList<KvPointXY> slow = fast.points;
        QList<int> indices;
        for (int i = draw.integer(0, 15); i > 0; --i)
            indices.append(draw.integer(-3, 15));
        QList<int> sorted = indices;
        EXPECT_EQ(fast.removeIndeces(sorted), Literal::removeIndeces(slow, indices));
        EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
        EXPECT_TRUE(std::equal(slow.begin(), slow.end(), fast.points.begin(), fast.points.end(),
                               [](const KvPointXY& p, const KvPointXY& q) { return p.x == q.x; }));
    }
}

TEST(RemovePoints, TakesTheLevelItselfButKeepsUnsetCoordinatesAndRecordsTheBox) {
    Cloud cloud;
    for (const float v : {0.0F, 1.0F, kNaN, 4.0F, 5.0F})
        cloud.append({v, v, 1}, true);
    Cloud above = cloud, below = cloud;
    EXPECT_TRUE(above.removePointsByYLevel(4, true) == 2 && above.points.first().y == 0.0F);
    EXPECT_TRUE(below.removePointsByYLevel(4, false) == 3 && below.points.last().y == 5.0F);
    cloud.trim(1, 9, kNaN, kNaN, -2, 1);
    EXPECT_EQ(cloud.points.size(), 4);                      // 0 goes, NaN stays
    EXPECT_TRUE(cloud.minX == 1.0F && cloud.maxX == 5.0F);  // narrowed, a wider bound changes nothing
    EXPECT_TRUE(std::isnan(cloud.minY) && std::isnan(cloud.maxY));
    cloud.trim(kNaN, kNaN, 1, 5, kNaN, kNaN);
    EXPECT_TRUE(std::isnan(cloud.minY) && cloud.points.size() == 4) << "an unknown range stays unknown";
}

TEST(ExtractInsulatingTape, IsTheDistanceOfTheMedians) {
    Cloud cloud;
    for (const float y : {1.0F, 1.2F, 1.1F, 9.0F, 3.0F, 3.5F, kNaN, 3.25F, 3.75F})
        cloud.points.append(KvPointXYZ(y > 8.0F ? 100.0F : 0.0F, y, 0.0F));
    const auto thickness = [&cloud](float xmax, float ymax) {
        return cloud.extractInsulatingTape(kNaN, xmax, kNaN, ymax, kNaN, kNaN);
    };
    EXPECT_EQ(thickness(50.0F, kNaN), 3.375F - 1.1F);
    EXPECT_TRUE(std::isnan(thickness(kNaN, kNaN))) << "a tape of one point";
    EXPECT_TRUE(std::isnan(thickness(50.0F, 1.0F))) << "one point in the box";
    cloud.points.append(KvPointXYZ(0.0F, 1.0F, 0.0F));
    EXPECT_EQ(thickness(50.0F, 1.0F), 0.0F) << "level";
    cloud.points = {{0, 1, 0}, {0, 3, 0}, {0, 4, 0}};
    EXPECT_TRUE(std::isnan(thickness(kNaN, kNaN))) << "a ground of one point";
}

}  // namespace
