#include <kvmath/contours/rectangle.h>

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

namespace {

using namespace KvMath;
using testing::DoubleEq;

MATCHER_P4(Runs, x1, y1, x2, y2, "") {
    return std::fabs(arg.p1.x - x1) + std::fabs(arg.p1.y - y1) + std::fabs(arg.p2.x - x2) +
               std::fabs(arg.p2.y - y2) <
           1e-6;
}

/// A square of 10 mm whose upper right corner is cut by two short lines, starting with line `from`.
QList<LinePP> cutSquare(int from) {
    const QList<LinePP> lines = {{{0, 0}, {10, 0}},     {{10, 0}, {10, 8}}, {{10, 8}, {9.5, 9.5}},
                                 {{9.5, 9.5}, {8, 10}}, {{8, 10}, {0, 10}}, {{0, 10}, {0, 0}}};
    return lines.mid(from) + lines.mid(0, from);
}

TEST(OneIntersection, MakesACornerSharp) {
    for (int from = 0; from < 6; ++from) {
        QList<LinePP> lines = cutSquare(from);
        ASSERT_TRUE(makeOneIntersectionInRectangle(lines, {10, 7}, {7, 10})) << from;  // closed
        EXPECT_EQ(lines.size(), 4);
        EXPECT_THAT(lines, testing::IsSupersetOf({Runs(10, 0, 10, 10), Runs(10, 10, 0, 10)}));
        for (int i = 0; i < 4; ++i) {  // still in walking order
            EXPECT_EQ(lines.at(i).p2.x, lines.at((i + 1) % 4).p1.x);
            EXPECT_EQ(lines.at(i).p2.y, lines.at((i + 1) % 4).p1.y);
        }
    }
    QList<LinePP> wrapped = cutSquare(3);  // the outline ends within the rectangle
    EXPECT_TRUE(makeOneIntersectionInRectangle(wrapped, {7, 7}, {11, 11}));
    EXPECT_THAT(wrapped.first(), Runs(10, 10, 0, 10));
    QList<LinePP> whole = cutSquare(0);  // beside and above lines that run along the borders
    EXPECT_TRUE(makeOneIntersectionInRectangle(whole, {-1, -1}, {1, 1}) && whole.size() == 6);
}

TEST(Rectangle, ChangesNothingUnlessOneLineComesInAndOneLeaves) {
    const double rectangles[][4] = {
        {11, 7, 7, NAN}, {20, 20, 30, 30}, {-1, -1, 11, 11}, {-1, 4, 11, 6}, {4, -1, 6, 1}};
    for (const auto& [x1, y1, x2, y2] : rectangles) {
        QList<LinePP> lines = cutSquare(0);
        EXPECT_FALSE(makeOneIntersectionInRectangle(lines, {x1, y1}, {x2, y2}));
        EXPECT_FALSE(makePolynomInRectangle(lines, {x1, y1}, {x2, y2}, 4));
        EXPECT_EQ(std::memcmp(&lines.at(1), &cutSquare(0).at(1), sizeof lines.at(1)) + lines.size(), 6);
    }
    QList<LinePP> blunt = {{{0, 0}, {5, 0}}, {{5, 0}, {5, 1}}, {{5, 1}, {0, 1.2}}};  // would meet at x = 30
    EXPECT_FALSE(makeOneIntersectionInRectangle(blunt, {4, -1}, {6, 2}));
    QList<LinePP> twice = {{{0, 0}, {5, 0}}, {{5, 0}, {0, 1}}, {{0, 1}, {5, 2}}, {{5, 2}, {0, 3}}};
    EXPECT_FALSE(makeOneIntersectionInRectangle(twice, {4, -1}, {6, 3}));
    QList<LinePP> in = {{{0, 0}, {5, 0}}}, torn = {{{0, 0}, {5, 0}}, {{20, 9}, {30, 9}}, {{5, 0}, {5, 9}}};
    for (QList<LinePP>* lines : {&in, &torn})  // never comes out; leaves the rectangle between its lines
        EXPECT_FALSE(makeOneIntersectionInRectangle(*lines, {4, -1}, {6, 1}) ||
                     makePolynomInRectangle(*lines, {4, -1}, {6, 1}, 3));
    QList<LinePP> parallel = {{{0, 0}, {5, 0}}, {{5, 0}, {5, 1}}, {{5, 1}, {10, 1}}}, none;
    EXPECT_FALSE(makeOneIntersectionInRectangle(parallel, {4, -1}, {6, 2}));
    EXPECT_TRUE(makePolynomInRectangle(parallel, {4, -1}, {6, 2}, 3));
    EXPECT_EQ(parallel.size(), 2 + 3 * 3);
    EXPECT_FALSE(makeOneIntersectionInRectangle(none, {0, 0}, {1, 1}));
    EXPECT_FALSE(makePolynomInRectangle(none, {0, 0}, {1, 1}, 1));
}

TEST(Polynom, JoinsTheCutsByASmoothPath) {
    for (const int pieces : {-5, 1, 16}) {
        const int perPiece = std::max(1, pieces);
        QList<LinePP> lines = cutSquare(0);
        ASSERT_TRUE(makePolynomInRectangle(lines, {11, 7}, {7.1, 11}, pieces));
        ASSERT_EQ(lines.size(), 4 + 4 * perPiece);  // border, three corners, border
        EXPECT_THAT(lines.at(1), Runs(10, 0, 10, 7));
        EXPECT_THAT(lines.at(2 + 4 * perPiece), Runs(7.1, 10, 0, 10));
        EXPECT_THAT(lines.at(1 + perPiece).p2, testing::FieldsAre(DoubleEq(10), DoubleEq(8)));
        for (int i = 2; i <= 2 + 4 * perPiece; ++i) {
            EXPECT_EQ(lines.at(i).p1.x, lines.at(i - 1).p2.x);
            EXPECT_EQ(lines.at(i).p1.y, lines.at(i - 1).p2.y);
        }
    }
    QList<LinePP> slanted = {{{0, 0}, {8, 8}}, {{8, 8}, {16, 0}}}, lines = cutSquare(0);
    EXPECT_TRUE(makePolynomInRectangle(slanted, {5, -1}, {11, 20}, 1));
    EXPECT_THAT(slanted.first(), Runs(0, 0, 5, 5));
    EXPECT_THAT(slanted.last(), Runs(11, 5, 16, 0));
    EXPECT_FALSE(makePolynomInRectangle(lines, {11, 7}, {7, 11}, 2147483647));  // more than 2^24 points
    EXPECT_EQ(lines.size(), 6);
}

}  // namespace
