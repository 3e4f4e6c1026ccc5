// Container, range, order, index, rotations and records.

#include <kvmath/core/point_cloud.h>

#include <tests/support/literal_clouds.h>
#include <tests/support/prelude.h>
#include <tests/support/scratch_directory.h>

#include <complex>
#include <thread>

#include <sys/stat.h>

using XY = KvPointCloud<KvPointXY>;
using XYZ = KvPointCloud<KvPointXYZ>;
using RGB = KvPointCloud<KvPointXYZRGB>;
namespace Literal = TestSupport::Literal;

namespace {

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
    for (const int unset : {0, 1, 2, 3, 4, 5}) {
        float c[] = {kInf, kInf, kInf, 0, 0, 0};
        c[unset] = kNaN;
        EXPECT_TRUE(std::isnan(KvPointXYZ(c[0], c[1], c[2]).calcDistance({c[3], c[4], c[5]}))) << unset;
    }
    EXPECT_EQ(KvPointXYZ::calcDistance({1e20F, 0, 0}, {0, 0, 0}), kInf);
    EXPECT_TRUE(KvPointXY().isNull() && KvPointXY(1, kNaN).isNull() && !KvPointXY(1, 2).isNull());
}

// Range, zIndexBuilt: what each operation makes of a range known before it and of a raised flag.
TEST(PointCloud, OperationsTouchRangeAndFlagOnlyAsListed) {
    const std::pair<float, float> kept(-5, 5), unknown(kNaN, kNaN), box(-1, 1), extended(-5, 9);
    XYZ other = alongZ({7.0F});
    other.buildZIndex();
    const KvPointXYZ far(9.0F, 9.0F, kNaN);
    QList<int> first{0};
    const std::tuple<const char*, std::pair<float, float>, bool, std::function<void(XYZ&)>> cases[] = {
        {"append", kept, true, [&](XYZ& c) { c.append(far, false); }},
        {"append and extend", extended, true, [&](XYZ& c) { c.append(far, true); }},
        {"+= point", kept, true, [&](XYZ& c) { c += far; }},
        {"+= cloud", kept, false, [&](XYZ& c) { (c += other).rotate(0, kNaN, 0); }},
        {"+= point, then what the cloud alone has", box, false,
         [&](XYZ& c) { (c += far).trim(-1, 1, -2, 2, -2, 2); }},
        {"+= itself", kept, false, [](XYZ& c) { c += c; }},
        {"assignment", unknown, false, [&](XYZ& c) { c = other; }},
        {"clear", unknown, true, [](XYZ& c) { c.clear(); }},
        {"shift", kept, true, [](XYZ& c) { c.shift(1, 2, 3); }},
        {"removeIndeces", kept, true, [&](XYZ& c) { c.removeIndeces(first); }},
        {"removePointsByYLevel", kept, true, [](XYZ& c) { c.removePointsByYLevel(0, true); }},
        {"trim", box, false, [](XYZ& c) { c.trim(-1, 1, -2, 2, -2, 2); }},
        {"rotate", kept, false, [](XYZ& c) { c.rotate(0, kNaN, 1e-3F); }},
        {"rotate by nothing", kept, true, [](XYZ& c) { c.rotate(0, kNaN, -0.0F); }},
        {"extract into it", unknown, false,
         [&](XYZ& c) { other.extract(c, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, true); }},
        {"extract from and into it", unknown, false,
         [](XYZ& c) { c.extract(c, kNaN, kNaN, kNaN, kNaN, 1.5F, kNaN, true); }},
        {"extract of nothing", unknown, false,
         [](XYZ& c) { XYZ().extract(c, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN, true); }},
        {"calcSection into it", unknown, false, [&](XYZ& c) { other.calcSection(c, 7, 1); }},
        {"sort by x", kept, false, [](XYZ& c) { c.sort(KvSortAscending, KvSortNone); }},
        {"cubicFilter, nothing found", kept, true, [](XYZ& c) { c.cubicFilter(9, 2); }},
        {"cubicFilter", kept, false, [](XYZ& c) { c.cubicFilter(0.5F, 2); }}};
    for (const auto& [name, range, flag, operation] : cases) {
        SCOPED_TRACE(name);
        XYZ cloud = alongZ({1.0F, 2.0F, 3.0F});
        cloud.minX = cloud.minY = cloud.minZ = -5.0F;
        cloud.maxX = cloud.maxY = cloud.maxZ = 5.0F;
        cloud.buildZIndex();
        const QList<float> keys = cloud.zIndex.keys();
        operation(cloud);
        EXPECT_THAT(cloud.minX, testing::NanSensitiveFloatEq(range.first));
        EXPECT_THAT(cloud.maxX, testing::NanSensitiveFloatEq(range.second));
        EXPECT_EQ(cloud.zIndexBuilt, flag);
        EXPECT_EQ(cloud.zIndex.keys(), keys);
    }
    EXPECT_FALSE(XYZ(other).zIndexBuilt);
}

TEST(PointCloud, ColouredAppendNeverMakesAnUnknownRangeKnownAndPlaneCloudsLeaveTheirZ) {
    RGB coloured;
    XYZ plain;
    XY flat;
    flat.minZ = 3;
    for (const float v : {2.0F, kNaN, 1.0F}) {
        coloured.append({v, v, v, 7}, true);
        plain.append({v, v, v}, true);
        flat.append({v, v}, true);
    }
    EXPECT_TRUE(std::isnan(coloured.minX) && std::isnan(coloured.maxZ));
    EXPECT_TRUE(plain.size_x() == 1.0F && plain.size_y() == 1.0F && flat.size_y() == 1.0F);
    coloured.calcRange();
    flat.calcRange();
    EXPECT_TRUE(coloured.maxZ - coloured.minZ == 1.0F && flat.minZ == 3.0F);
    for (const float v : {0.0F, -0.0F, 9.0F, 5.0F})
        coloured.append({v, v, v, 7}, true);
    EXPECT_TRUE(coloured.minX == 0.0F && !std::signbit(coloured.minX) && coloured.maxZ == 9.0F)
        << "equal: stays";
}

TEST(PointCloud, CentresUseTheKnownRangeAndMeansTheirOwnPrecision) {
    XYZ cloud;
    KvPointXYZ centre;
    EXPECT_FALSE(cloud.calcCenterPoint(centre) || cloud.caclCenterMassPoint(centre));
    cloud = alongZ({0, 0, 6});
    EXPECT_TRUE(cloud.calcCenterPoint(centre) && centre.z == 3.0F);
    cloud.maxZ = 100;
    EXPECT_TRUE(cloud.calcCenterPoint(centre) && centre.z == 50.0F) << "a known range is used as it stands";
    for (float XYZ::*bound : {&XYZ::minX, &XYZ::maxX, &XYZ::minY, &XYZ::maxY, &XYZ::minZ, &XYZ::maxZ}) {
        cloud.minX = cloud.minY = cloud.minZ = cloud.maxX = cloud.maxY = cloud.maxZ = 7;
        cloud.*bound = kNaN;
        EXPECT_TRUE(cloud.calcCenterPoint(centre) && centre.z == 3.0F && centre.x == 1.0F) << "half known";
    }
    XY heights;  // float sums lose the small terms, which the mean of y must not
    heights.points = {{1, 16777216}, {2, 1}, {3, 1}, {4, -16777216}};
    KvPointXY mass;
    EXPECT_TRUE(heights.caclCenterMassPoint(mass) && mass.y == 0.0F && mass.x == 2.5F);
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
    EXPECT_TRUE(cloud.getIndexX(3.0F) == 3 && cloud.getIndexX(9.0F) == -1 && cloud.getIndexY(0.0F) == 0);
    XY flat;
    for (const KvPointXY& p : {KvPointXY(1, 5), KvPointXY(2, 6), KvPointXY(3, 6), KvPointXY(kNaN, 6)})
        flat.append(p, true);
    EXPECT_TRUE(flat.getIndexX(2) == 1 && flat.getIndexY(6) == 1 && flat.getIndexX(6) == -1);
    EXPECT_TRUE(flat.getRangeIndeces(found, 2, kNaN, kNaN, 6) == 2 && found == (QList<int>{1, 2}));
    EXPECT_TRUE(flat.getRangeIndeces(found, 1, 2, kNaN, 5.5F) == 1 && found == (QList<int>{0}));
    EXPECT_TRUE(flat.removePointsByYLevel(6, true) == 3 && flat.points.first().x == 1);
    KvPointCloud<KvPointXYZRGB> coloured;
    for (const float v : {0.0F, 0.0F, 1.0F}) {
        KvPointXYZRGB p;
        p.x = p.y = p.z = v;
        coloured.points.append(p);
    }
    EXPECT_TRUE(coloured.getRangeIndeces(found, kNaN, kNaN, 0, 0, kNaN, kNaN) == 2 &&
                found == (QList<int>{0, 1}));
    coloured.buildZIndex();
    EXPECT_TRUE(coloured.zIndexBuilt && coloured.zIndex == (QMap<float, int>{{0, 0}, {1, 1}}));
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
    const auto x = [](const KvPointXYZRGB& p) { return p.x; };
    const auto z = [](const KvPointXYZRGB& p) { return p.z; };
    Draws draw(21);
    for (int round = 0; round < 400; ++round) {
        RGB cloud;
        const bool many = round % 20 == 0;
        const float grid = many ? 0.001F : 1.0F, around = round % 40 == 20 ? 100.0F : 0.0F;
        for (int i = draw.integer(0, many ? 800 : 25); i > 0; --i)
            cloud +=
                KvPointXYZRGB(around + draw.coordinate(2.0F, grid, many ? 0 : 0.15), 0.0F,
                              around + draw.coordinate(2.0F, grid, many ? 0 : 0.1), static_cast<unsigned>(i));
        auto slow = cloud.points;
        const auto first = static_cast<KvSortOrder>(draw.integer(-1, 3));
        const auto second = static_cast<KvSortOrder>(draw.integer(-1, 3));
        cloud.sort(first, second);
        const int size = static_cast<int>(slow.size());
        if (second == KvSortNone) {
            Literal::bubbleSort(slow, 0, size, x, first == KvSortAscending);
        } else {
            Literal::bubbleSort(slow, 0, size, z, second == KvSortAscending);
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
    flat.points = {{1, 0}, {3, 0}, {2, 0}};
    flat.sort(KvSortNone, KvSortAscending);
    EXPECT_THAT(xOf(flat.points), testing::ElementsAre(3, 2, 1)) << "no order is descending";
}

TEST(ZIndex, HoldsTheFirstRunsOwnIndexAndThenTheLastOfTheRunBefore) {
    for (const auto& [cloud, index] :
         {std::pair(alongZ({1, 1, 2, 2, 3}), QMap<float, int>{{1, 0}, {2, 1}, {3, 3}}),
          {alongZ({kNaN, 4, kNaN, 4}), {{4, 2}}},  // a repeated key is overwritten
          {alongZ({}), {}}}) {
        XYZ indexed = cloud;
        indexed.zIndex[9] = 9;
        indexed.buildZIndex();
        EXPECT_EQ(indexed.zIndex, index);
        EXPECT_EQ(indexed.zIndexBuilt, !index.isEmpty());
    }
}

// Places between the entries of the first key >= zmin and of the first key > zmax, ends included.
std::vector<float> betweenEntries(const XYZ& cloud, float zmin, float zmax) {
    const QMap<float, int>& index = cloud.zIndex;
    const auto from = index.lowerBound(zmin), to = index.upperBound(zmax);
    int first = 0, last = static_cast<int>(cloud.points.size()) - 1;
    if (!std::isnan(zmin) && !index.isEmpty())
        first = from == index.end() ? index.last() : *from;
    if (!std::isnan(zmax) && to != index.end())
        last = std::min(last, *to);
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
    cloud += KvPointXYZ(1, 0, 0);
    cloud.rotate(90, 90, 90);  // to y, which x and z leave alone, to z
    EXPECT_LT(cloud.points.first().calcDistance({0, 0, 1}), 1e-6F);
    cloud.rotateXZ(-450);  // z to x
    EXPECT_LT(cloud.points.first().calcDistance({1, 0, 0}), 1e-6F);
    Draws draw(23);
    for (int round = 0; round < 500; ++round) {
        const float x = draw.coordinate(3, 0.1F, 0), y = draw.coordinate(3, 0.1F, 0);
        const auto turned = std::polar<double>(1, 33 * M_PI / 180) * std::complex<double>(x, y);
        cloud.points = {KvPointXYZ(x, y, 7)};
        cloud.rotateXY(33);
        const KvPointXYZ p = cloud.points.first();
        EXPECT_LT(std::abs(turned - std::complex<double>(p.x, p.y)), 4e-6);
        EXPECT_EQ(p.z, 7.0F);
    }
}

struct Records : testing::Test {
    const TestSupport::ScratchDirectory scratch;
    QFile file{"cloud.bin"};
    QByteArray bytes() const { return scratch.read("cloud.bin"); }

    /// The file holds these bytes and is open at the given place.
    void open(const QByteArray& bytes, qint64 place) {
        file.close();
        scratch.write("cloud.bin", bytes);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(place));
    }
};

template <class Cloud, class Point>
QByteArray recordOf(const Point& point) {
    Cloud cloud, again;
    cloud += point;
    EXPECT_TRUE(cloud.writeToFile("cloud.bin"));
    EXPECT_TRUE(again.readFromFile("cloud.bin") == 1 && again.minX == 1.0F && again.maxY == -2.0F);
    EXPECT_EQ(std::memcmp(&again.points.first(), &point, sizeof point), 0);
    return TestSupport::ScratchDirectory::read("cloud.bin").toHex();
}

TEST_F(Records, HaveTheDocumentedBytes) {
    EXPECT_EQ(recordOf<XY>(KvPointXY(1, -2)), "0201000000803f000000c0");
    EXPECT_EQ(recordOf<XYZ>(KvPointXYZ(1, -2, 0.5F)), "03010000000000803f000000c00000003f");
    EXPECT_EQ(recordOf<RGB>(KvPointXYZRGB(1, -2, 0.5F, 0x11223344U)),
              "04010000000000803f000000c00000003f44332211");
    XYZ cloud;
    EXPECT_TRUE(cloud.writeToFile("cloud.bin"));
    EXPECT_EQ(bytes().toHex(), "0300000000") << "cuts a longer file";
    cloud += KvPointXYZ(1, -2, 0.5F);
    EXPECT_TRUE(cloud.compat_writeToXYZFile("cloud.bin"));
    EXPECT_EQ(bytes().toHex(), "0000803f000000c00000003f00000000");
    while (cloud.points.size() < 20000)
        cloud += cloud;
    EXPECT_TRUE(cloud.compat_writeToXYZFile("cloud.bin") && bytes().size() == 16 * cloud.points.size());
    EXPECT_EQ(cloud.readFromFile("none"), -1);
    EXPECT_GE(cloud.points.size(), 20000) << "a file that cannot be opened leaves the cloud alone";
}

TEST_F(Records, PlaneCloudStoresTheLowBitsOfItsCountAndAllPoints) {
    XY cloud;
    for (int i = 0; i < 70000; ++i)
        cloud += KvPointXY(static_cast<float>(i), 1.0F);
    ASSERT_TRUE(cloud.writeToFile("cloud.bin") && file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.size() == 3 + 70000 * 8 && bytes().toHex().endsWith("80b788470000803f"));
    EXPECT_EQ(cloud.readFromFile(file), 4464);
    EXPECT_EQ(cloud.maxX, 4463.0F);
    EXPECT_EQ(file.pos(), 3 + 4464 * 8);
}

TEST_F(Records, AnyCutGivesWhatReadingFieldByFieldGives) {
    XYZ cloud = alongZ({3.0F, kNaN, -1.0F}), slow;
    ASSERT_TRUE(cloud.writeToFile("cloud.bin"));
    const QByteArray whole = bytes();
    for (int size = 0; size <= 2 * whole.size(); ++size) {
        QByteArray record = whole.left(size / 2);
        if (size % 2 != 0 && record.size() >= 5)
            record.replace(1, 4, QByteArray(4, '\xff'));  // a huge count
        for (const int place : {0, 2}) {
            SCOPED_TRACE(size);
            open(QByteArray(place, '\3') + record, place);
            const int expected = Literal::readXYZ(file, slow);
            const qint64 position = file.pos();
            file.seek(place);
            cloud.zIndexBuilt = true;
            EXPECT_EQ(cloud.readFromFile(file), expected);
            EXPECT_EQ(file.pos(), position);
            EXPECT_EQ(xOf(cloud.points), xOf(slow.points));
            EXPECT_THAT(cloud.size_z(), testing::NanSensitiveFloatEq(slow.size_z()));
            EXPECT_FALSE(cloud.zIndexBuilt);
        }
    }
}

TEST_F(Records, ComeThroughAPipeInPieces) {
    XYZ cloud, read;
    for (float i = 0; i < 20000; ++i)
        cloud += KvPointXYZ(i, 1, 2);
    ASSERT_TRUE(cloud.writeToFile("cloud.bin") && mkfifo("pipe", 0600) == 0);
    std::thread writer([record = bytes()] {
        QFile pipe("pipe");
        EXPECT_TRUE(pipe.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        for (int at = 0; at < record.size(); at += 7001)
            pipe.write(record.mid(at, 7001));
    });
    EXPECT_EQ(read.readFromFile("pipe"), 20000);
    writer.join();
    EXPECT_EQ(xOf(read.points), xOf(cloud.points));
}

TEST_F(Records, MarkersAreNotPutBackButRecordsAre) {
    open(QByteArray::fromHex("850300000000"), 0);
    EXPECT_EQ(RGB().readFromFile(file), -1);
    EXPECT_EQ(file.pos(), 0);
    EXPECT_TRUE(XY::readMarker(file, 0x85));
    EXPECT_EQ(XYZ().readFromFile(file), 0);
    EXPECT_FALSE(XY::readMarker(file, 0x85)) << "end of file";
    EXPECT_TRUE(XY::writeMarker(file, 0x05));
    EXPECT_EQ(bytes().size(), 6) << "buffered until the file is flushed";
}

}  // namespace
