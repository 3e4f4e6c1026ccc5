// Container, range, order, index, rotations and records.

#include <kvmath/core/point_cloud.h>

#include <tests/support/literal_clouds.h>
#include <tests/support/random_data.h>

#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>

#include <functional>

using namespace KvMath;
using TestSupport::Draws;
using TestSupport::kNaN;
using XY = KvPointCloud<KvPointXY>;
using XYZ = KvPointCloud<KvPointXYZ>;
using RGB = KvPointCloud<KvPointXYZRGB>;
namespace Literal = TestSupport::Literal;

namespace {

// Which of the three clouds have a member.
#define ONLY_IN(NAME, IN_XY, IN_XYZ, IN_RGB)                                                                 \
    template <class C, class = void>                                                                         \
    constexpr bool has_##NAME = false;                                                                       \
    template <class C>                                                                                       \
    constexpr bool has_##NAME<C, std::void_t<decltype(&C::NAME)>> = true;                                    \
    static_assert(has_##NAME<XY> == IN_XY && has_##NAME<XYZ> == IN_XYZ && has_##NAME<RGB> == IN_RGB)

ONLY_IN(calcAverageY, true, false, false);
ONLY_IN(resize, true, false, false);
ONLY_IN(writeMarker, true, false, false);
ONLY_IN(readMarker, true, false, false);
ONLY_IN(getIndexX, true, true, false);
ONLY_IN(getIndexY, true, true, false);
ONLY_IN(getIndexZ, false, true, false);
ONLY_IN(size_x, true, true, false);
ONLY_IN(size_z, false, true, false);
ONLY_IN(removePointsByYLevel, true, true, false);
ONLY_IN(removeIndeces, true, true, true);
ONLY_IN(rotateYZ, false, true, false);
ONLY_IN(trim, false, true, false);
ONLY_IN(extract, false, true, false);
ONLY_IN(calcSection, false, true, false);
ONLY_IN(buildZIndex, false, true, true);
ONLY_IN(cubicFilter2, false, true, false);
ONLY_IN(compat_writeToXYZFile, false, true, false);

XYZ alongZ(std::initializer_list<float> values) {
    XYZ cloud;
    for (const float z : values)
        cloud.points.append(KvPointXYZ(static_cast<float>(cloud.points.size()), 0.0F, z));
    return cloud;
}

template <class T>
std::vector<float> xOf(const QList<T>& points) {
    std::vector<float> values;
    for (const T& p : points)
        values.push_back(std::isnan(p.x) ? -999.0F : p.x);
    return values;
}

TEST(PointDistance, IsSinglePrecisionAndUnsetWinsOverInfinity) {
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(std::isnan(KvPointXYZ(inf, 0.0F, 0.0F).calcDistance(KvPointXYZ(0.0F, kNaN, 0.0F))));
    EXPECT_EQ(KvPointXYZ::calcDistance(KvPointXYZ(1e20F, 0.0F, 0.0F), KvPointXYZ(0.0F, 0.0F, 0.0F)), inf);
    EXPECT_TRUE(KvPointXY().isNull() && KvPointXY(1.0F, kNaN).isNull() && !KvPointXY(1.0F, 2.0F).isNull());
}

// Range, zIndexBuilt: what each operation makes of a range known before it and of a raised flag.
TEST(PointCloud, OperationsTouchRangeAndFlagOnlyAsListed) {
    enum Range { Kept, Extended, Copied, Reset, Box };
    XYZ other = alongZ({7.0F});
    other.buildZIndex();
    const KvPointXYZ far(9.0F, 9.0F, kNaN);
    QList<int> first{0};
    const std::tuple<const char*, Range, bool, std::function<void(XYZ&)>> cases[] = {
        {"append", Kept, true, [&](XYZ& c) { c.append(far, false); }},
        {"append and extend", Extended, true, [&](XYZ& c) { c.append(far, true); }},
        {"+= point", Kept, true, [&](XYZ& c) { c += far; }},
        {"+= cloud", Kept, false, [&](XYZ& c) { c += other; }},
        {"+= itself", Kept, false, [](XYZ& c) { c += c; }},
        {"assignment", Copied, false, [&](XYZ& c) { c = other; }},
        {"copy", Copied, false, [&](XYZ& c) { c.copyFromPointCloud(other); }},
        {"clear", Reset, true, [](XYZ& c) { c.clear(); }},
        {"updateRange", Extended, true, [&](XYZ& c) { c.updateRange(far); }},
        {"shift", Kept, true, [](XYZ& c) { c.shift(1.0F, 2.0F, 3.0F); }},
        {"removeIndeces", Kept, true, [&](XYZ& c) { c.removeIndeces(first); }},
        {"removePointsByYLevel", Kept, true, [](XYZ& c) { c.removePointsByYLevel(0.0F, true); }},
        {"trim", Box, false, [](XYZ& c) { c.trim(-1.0F, 1.0F, -2.0F, 2.0F, -2.0F, 2.0F); }},
        {"rotate", Kept, false, [](XYZ& c) { c.rotate(0.0F, kNaN, 1e-3F); }},
        {"rotate by nothing", Kept, true, [](XYZ& c) { c.rotate(0.0F, kNaN, -0.0F); }},
        {"sort by x", Kept, false, [](XYZ& c) { c.sort(KvSortAscending, KvSortNone); }},
        {"cubicFilter, nothing found", Kept, true, [](XYZ& c) { c.cubicFilter(9.0F, 2); }},
        {"cubicFilter", Kept, false, [](XYZ& c) { c.cubicFilter(0.5F, 2); }}};
    for (const auto& [name, range, flag, operation] : cases) {
        SCOPED_TRACE(name);
        XYZ cloud = alongZ({1.0F, 2.0F, 3.0F});
        cloud.minX = cloud.minY = cloud.minZ = -5.0F;
        cloud.maxX = cloud.maxY = cloud.maxZ = 5.0F;
        cloud.buildZIndex();
        const QList<float> keys = cloud.zIndex.keys();
        operation(cloud);
        const bool unknown = range == Copied || range == Reset;
        const float low = unknown ? kNaN : (range == Box ? -1.0F : -5.0F);
        const float high = unknown ? kNaN : (range == Box ? 1.0F : (range == Extended ? 9.0F : 5.0F));
        EXPECT_THAT(cloud.minX, testing::NanSensitiveFloatEq(low));
        EXPECT_THAT(cloud.maxX, testing::NanSensitiveFloatEq(high));
        EXPECT_EQ(cloud.zIndexBuilt, flag);
        EXPECT_EQ(cloud.zIndex.keys(), keys);
    }
    EXPECT_FALSE(XYZ(other).zIndexBuilt);
}

TEST(PointCloud, ColouredAppendNeverMakesAnUnknownRangeKnown) {
    RGB coloured;
    XYZ plain;
    for (const float v : {2.0F, kNaN, 1.0F}) {
        coloured.append(KvPointXYZRGB(v, v, v, 7), true);
        plain.append(KvPointXYZ(v, v, v), true);
    }
    EXPECT_TRUE(std::isnan(coloured.minX) && std::isnan(coloured.maxZ));
    EXPECT_EQ(plain.size_x(), 1.0F);
    coloured.calcRange();
    EXPECT_EQ(coloured.maxZ - coloured.minZ, 1.0F);
    XY flat;
    flat.minZ = 3.0F;
    flat.append(KvPointXY(1.0F, 2.0F), true);
    flat.calcRange();
    EXPECT_EQ(flat.minZ, 3.0F) << "the plane cloud leaves its z pair";
}

TEST(PointCloud, CentresUseTheKnownRangeAndMeansTheirOwnPrecision) {
    XYZ cloud;
    KvPointXYZ centre(9.0F, 9.0F, 9.0F);
    EXPECT_FALSE(cloud.calcCenterPoint(centre) || cloud.caclCenterMassPoint(centre));
    cloud = alongZ({0.0F, 0.0F, 6.0F});
    ASSERT_TRUE(cloud.calcCenterPoint(centre));
    EXPECT_EQ(centre.z, 3.0F);
    cloud.maxZ = 100.0F;
    cloud.calcCenterPoint(centre);
    EXPECT_EQ(centre.z, 50.0F) << "a known range is used as it stands";
    XY heights;  // float sums lose the small terms, which the mean of y must not
    for (const float y : {16777216.0F, 1.0F, 1.0F, -16777216.0F})
        heights += KvPointXY(y, y);
    KvPointXY mass;
    EXPECT_TRUE(heights.caclCenterMassPoint(mass) && mass.y == 0.0F);
    EXPECT_TRUE(heights.calcAverageY() == 0.5F && XY().calcAverageY() == 0.0F);
}

TEST(PointCloud, QueriesIncludeBoundsAndLeaveUnsetPointsOutside) {
    XYZ cloud = alongZ({1.0F, 2.0F, kNaN, 3.0F, 2.0F});
    QList<int> found{42};
    EXPECT_EQ(cloud.getRangeIndeces(found, kNaN, kNaN, kNaN, kNaN, 2.0F, kNaN), 3);
    EXPECT_EQ(found, (QList<int>{1, 3, 4}));
    EXPECT_EQ(cloud.getRangeIndeces(found, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN), 5);
    EXPECT_EQ(cloud.getRangeIndeces(found, KvPointXYZ(1.0F, 0.0F, 1.0F), 2.0F), 2);
    EXPECT_EQ(found, (QList<int>{0, 1}));
    EXPECT_EQ(cloud.getIndexZ(2.0F), 1);
    EXPECT_EQ(cloud.getIndexZ(kNaN), -1);
    EXPECT_EQ(cloud.calcSection(cloud, 2.5F, 0.5F), 3) << "own destination";
    EXPECT_THAT(xOf(cloud.points), testing::ElementsAre(1, 3, 4));
}

TEST(PointCloud, ShiftAndResizeSkipOnlyTheNeutralValueAndTheThirdAxisOfAPlane) {
    XY cloud;
    cloud += KvPointXY(-0.0F, 2.0F);
    cloud.resize(1.0F, 3.0F, 7.0F);
    cloud.shift(0.0F, 1.0F, kNaN);
    EXPECT_TRUE(std::signbit(cloud.points.first().x) && cloud.points.first().y == 7.0F) << "not even added";
    cloud.shift(kNaN, 0.0F, 0.0F);
    EXPECT_TRUE(std::isnan(cloud.points.first().x));
}

TEST(Sort, EqualsTheExchangeOfNeighbours) {
    Draws draw(21);
    for (int round = 0; round < 400; ++round) {
        RGB cloud;
        for (int i = draw.integer(0, 25); i > 0; --i)
            cloud += KvPointXYZRGB(draw.coordinate(2.0F, 1.0F, 0.15), 0.0F, draw.coordinate(2.0F, 1.0F, 0.1),
                                   static_cast<unsigned>(i));
        auto slow = cloud.points;
        const auto first = static_cast<KvSortOrder>(draw.integer(-1, 3));
        const auto second = static_cast<KvSortOrder>(draw.integer(-1, 3));
        cloud.sort(first, second);
        const int size = slow.size();
        const auto x = [](const KvPointXYZRGB& p) { return p.x; };
        if (second == KvSortNone) {
            Literal::bubbleSort(slow, 0, size, x, first == KvSortAscending);
        } else {
            Literal::bubbleSort(
                slow, 0, size, [](const KvPointXYZRGB& p) { return p.z; }, second == KvSortAscending);
            for (int from = 0, to = 1; first != KvSortNone && from < size; from = to++) {
                while (to < size && slow.at(to).z == slow.at(from).z)
                    ++to;
                Literal::bubbleSort(slow, from, to, x, first == KvSortAscending);
            }
        }
        for (int i = 0; i < size; ++i)
            ASSERT_EQ(cloud.points.at(i).rgb, slow.at(i).rgb) << "round " << round << ", point " << i;
        EXPECT_EQ(cloud.zIndexBuilt, second != KvSortNone && size > 0);
    }
    XY flat;
    for (const float v : {1.0F, 3.0F, 2.0F})
        flat += KvPointXY(v, 0.0F);
    flat.sort(KvSortNone, KvSortAscending);
    EXPECT_THAT(xOf(flat.points), testing::ElementsAre(3, 2, 1)) << "no order is descending";
}

TEST(ZIndex, HoldsTheFirstRunsOwnIndexAndThenTheLastOfTheRunBefore) {
    XYZ cloud = alongZ({1.0F, 1.0F, 2.0F, 2.0F, 3.0F});
    cloud.buildZIndex();
    EXPECT_EQ(cloud.zIndex, (QMap<float, int>{{1.0F, 0}, {2.0F, 1}, {3.0F, 3}}));
    cloud = alongZ({kNaN, 4.0F, kNaN, 4.0F});
    cloud.buildZIndex();
    EXPECT_EQ(cloud.zIndex, (QMap<float, int>{{4.0F, 2}})) << "a repeated key is overwritten";
    cloud.clear();
    cloud.buildZIndex();
    EXPECT_TRUE(cloud.zIndex.isEmpty() && !cloud.zIndexBuilt);
}

// Places between the entries of the first key >= zmin and of the first key > zmax, ends included.
std::vector<float> betweenEntries(const XYZ& cloud, float zmin, float zmax) {
    int first = 0, last = cloud.points.size() - 1;
    if (!std::isnan(zmin) && !cloud.zIndex.isEmpty())
        first = cloud.zIndex.lowerBound(zmin) == cloud.zIndex.end() ? cloud.zIndex.last()
                                                                    : *cloud.zIndex.lowerBound(zmin);
    if (!std::isnan(zmax) && cloud.zIndex.upperBound(zmax) != cloud.zIndex.end())
        last = std::min(last, *cloud.zIndex.upperBound(zmax));
    QList<int> inside;
    cloud.getRangeIndeces(inside, -1.0F, kNaN, kNaN, kNaN, zmin, zmax);
    std::vector<float> found;
    for (const int i : qAsConst(inside))
        if (i >= first && i <= last)
            found.push_back(cloud.points.at(i).x);
    return found;
}

TEST(Extract, FindsEveryPointOfASortedCloudAndBelievesAStaleIndex) {
    Draws draw(22);
    for (int round = 0; round < 800; ++round) {
        XYZ cloud, dest;
        for (int i = draw.integer(0, 12); i > 0; --i)
            cloud += KvPointXYZ(draw.coordinate(3.0F, 1.0F, 0.1), 0.0F, draw.coordinate(3.0F, 1.0F, 0.0));
        const bool ascending = draw.chance(0.5);
        cloud.sort(KvSortNone, ascending ? KvSortAscending : KvSortDescending);
        const float zmin = draw.coordinate(4.0F, 0.5F, 0.2), zmax = draw.coordinate(4.0F, 0.5F, 0.2);
        XYZ unbuilt = cloud;
        unbuilt.extract(dest, -1.0F, kNaN, kNaN, kNaN, zmin, zmax, true);
        unbuilt.zIndex.clear();  // no limits: the box alone
        EXPECT_EQ(xOf(dest.points), betweenEntries(unbuilt, zmin, zmax)) << "round " << round;
        EXPECT_TRUE(std::isnan(dest.minX));
        if (draw.chance(0.5))
            cloud.points = cloud.points.mid(0, cloud.points.size() / 2);
        else
            cloud.shift(0.0F, 0.0F, draw.coordinate(2.0F, 1.0F, 0.0));
        const std::vector<float> expected = betweenEntries(cloud, zmin, zmax);
        cloud.extract(cloud, -1.0F, kNaN, kNaN, kNaN, zmin, zmax, false);
        if (ascending) {
            EXPECT_EQ(xOf(cloud.points), expected) << "stale index, round " << round;
        }
    }
}

TEST(Rotation, GoesThroughFloatPolarFormInTheOrderOfItsPlanes) {
    XYZ cloud;
    cloud += KvPointXYZ(1.0F, 0.0F, 0.0F);
    cloud.rotate(90.0F, 90.0F, 90.0F);  // to y, which x and z leave alone, to z
    EXPECT_LT(cloud.points.first().calcDistance(KvPointXYZ(0.0F, 0.0F, 1.0F)), 1e-6F);
    cloud.rotateXZ(-450.0F);  // z to x
    EXPECT_LT(cloud.points.first().calcDistance(KvPointXYZ(1.0F, 0.0F, 0.0F)), 1e-6F);
    Draws draw(23);
    const double degree = 3.1415927410125732 / 180.0;
    for (int round = 0; round < 500; ++round) {
        const float x = draw.coordinate(3.0F, 0.1F, 0.0), y = draw.coordinate(3.0F, 0.1F, 0.0);
        double angle = x == 0.0F ? (y > 0.0F ? 90.0 : (y < 0.0F ? 270.0 : 0.0))
                                 : std::atan(static_cast<double>(y) / static_cast<double>(x)) / degree;
        angle += x < 0.0F ? 180.0 : (x > 0.0F && y < 0.0F ? 360.0 : 0.0);
        const auto radius = static_cast<double>(std::hypot(x, y));
        cloud.points = {KvPointXYZ(x, y, 7.0F)};
        cloud.rotateXY(33.0F);
        EXPECT_NEAR(cloud.points.first().x, radius * std::cos((angle + 33.0) * degree), 4e-6);
        EXPECT_NEAR(cloud.points.first().y, radius * std::sin((angle + 33.0) * degree), 4e-6);
        EXPECT_EQ(cloud.points.first().z, 7.0F);
    }
}

class Records : public testing::Test {
protected:
    QTemporaryDir dir;
    QString path = dir.filePath("cloud.bin");
    void put(const QByteArray& bytes) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    QByteArray bytes() const {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

TEST_F(Records, HaveTheDocumentedBytes) {
    XY flat;
    flat += KvPointXY(1.0F, -2.0F);
    EXPECT_TRUE(flat.writeToFile(path));
    EXPECT_EQ(bytes().toHex(), "0201000000803f000000c0");
    RGB coloured;
    coloured += KvPointXYZRGB(1.0F, -2.0F, 0.5F, 0x11223344U);
    EXPECT_TRUE(coloured.writeToFile(path));
    EXPECT_EQ(bytes().toHex(), "04010000000000803f000000c00000003f44332211");
    RGB again;
    ASSERT_EQ(again.readFromFile(path), 1);
    EXPECT_TRUE(again.points.first().rgb == 0x11223344U && again.minY == -2.0F && again.maxZ == 0.5F);
    XYZ cloud;
    cloud += KvPointXYZ(1.0F, -2.0F, 0.5F);
    EXPECT_TRUE(cloud.compat_writeToXYZFile(path));
    EXPECT_EQ(bytes().toHex(), "0000803f000000c00000003f00000000");
    EXPECT_TRUE(XYZ().writeToFile(path));
    EXPECT_EQ(bytes().toHex(), "0300000000");
    EXPECT_FALSE(cloud.writeToFile(dir.path()));
    EXPECT_EQ(cloud.readFromFile(dir.filePath("none")), -1);
    EXPECT_EQ(cloud.points.size(), 1) << "a file that cannot be opened leaves the cloud alone";
#ifdef Q_OS_LINUX
    EXPECT_FALSE(cloud.writeToFile("/dev/full") || cloud.compat_writeToXYZFile("/dev/full"));
#endif
}

TEST_F(Records, PlaneCloudStoresTheLowBitsOfItsCountAndAllPoints) {
    XY cloud;
    for (int i = 0; i < 70000; ++i)
        cloud += KvPointXY(static_cast<float>(i), 1.0F);
    ASSERT_TRUE(cloud.writeToFile(path));
    EXPECT_EQ(bytes().size(), 3 + 70000 * 8);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(cloud.readFromFile(file), 4464);
    EXPECT_EQ(cloud.maxX, 4463.0F);
    EXPECT_EQ(file.pos(), 3 + 4464 * 8);
}

TEST_F(Records, AnyCutGivesWhatReadingFieldByFieldGives) {
    XYZ cloud = alongZ({3.0F, kNaN, -1.0F});
    ASSERT_TRUE(cloud.writeToFile(path));
    const QByteArray whole = bytes();
    for (const char* head : {"", "0102"}) {
        const QByteArray before = QByteArray::fromHex(head);
        for (int size = 0; size <= whole.size(); ++size) {
            for (const bool hugeCount : {false, true}) {
                QByteArray record = whole.left(size);
                if (hugeCount && size >= 5)
                    record.replace(1, 4, QByteArray(4, '\xff'));
                put(before + record);
                QFile file(path);
                ASSERT_TRUE(file.open(QIODevice::ReadOnly) && file.seek(before.size()));
                XYZ slow;
                const int expected = Literal::readXYZ(file, slow);
                const qint64 position = file.pos();
                file.seek(before.size());
                cloud.zIndexBuilt = true;
                EXPECT_EQ(cloud.readFromFile(file), expected) << size;
                EXPECT_EQ(file.pos(), position) << size;
                EXPECT_EQ(xOf(cloud.points), xOf(slow.points));
                EXPECT_THAT(cloud.size_z(), testing::NanSensitiveFloatEq(slow.size_z()));
                EXPECT_FALSE(cloud.zIndexBuilt);
            }
        }
    }
}

TEST_F(Records, MarkersAreNotPutBackButRecordsAre) {
    put(QByteArray::fromHex("850300000000"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    EXPECT_EQ(RGB().readFromFile(file), -1);
    EXPECT_EQ(file.pos(), 0);
    EXPECT_TRUE(XY::readMarker(file, 0x85));
    EXPECT_EQ(XYZ().readFromFile(file), 0);
    EXPECT_FALSE(XY::readMarker(file, 0x85)) << "end of file";
    EXPECT_TRUE(XY::writeMarker(file, 0x05));
    EXPECT_EQ(bytes().size(), 6) << "buffered until the file is flushed";
}

}  // namespace
