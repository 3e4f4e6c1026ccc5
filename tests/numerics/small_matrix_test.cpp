#include <kvmath/numerics/small_matrix.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace KvMath;
using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(SmallMatrix, ProductsFollowTheirShapes) {
    const double a33[] = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    const double b32[] = {1, -1, 2, 0, 3, 5};
    const double v[] = {2, -1, 3};
    double out[6];
    mul33with32(a33, b32, out);
    EXPECT_THAT(out, ElementsAre(14, 14, 32, 26, 53, 43));
    mul32with21(b32, v, out);
    EXPECT_THAT(std::vector<double>(out, out + 3), ElementsAre(3, 4, 1));
    mul22with21(a33, v, out);
    EXPECT_THAT(std::vector<double>(out, out + 2), ElementsAre(0, 2));
    vectorA2B(a33, v, out);
    EXPECT_THAT(std::vector<double>(out, out + 3), ElementsAre(9, 21, 36));
    pointA2B(a33, b32, v, out);
    EXPECT_THAT(std::vector<double>(out, out + 3), ElementsAre(10, 20, 38));
    crossProduct(a33, a33 + 3, out);
    EXPECT_THAT(std::vector<double>(out, out + 3), ElementsAre(-3, 6, -3));
    EXPECT_EQ(mul13with31(a33, v), 9.0);
    EXPECT_EQ(v3Norm(std::vector<double>{2, 3, 6}.data()), 7.0);
}

TEST(SmallMatrix, OutputMayBeAnInput) {
    const double a[] = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    double in[9];
    copyMatrix33(a, in);
    mul33with33(in, in, in);
    EXPECT_THAT(in, ElementsAre(30, 36, 45, 66, 81, 102, 109, 134, 169));
    double v[] = {2, -1, 3};
    vectorA2B(a, v, v);
    EXPECT_THAT(v, ElementsAre(9, 21, 36));
    crossProduct(v, a, v);
    sumPlus31(v, v);
    mulV3byScalar(v, 0.5);
    subMinus31(v, a);
    EXPECT_THAT(v, ElementsAre(-10, 7, -6));
}

// Elements up to 1, so products carry at most a few 2^-53 per term; times the condition number below 1e3.
TEST(SmallMatrix, InversesUndoTheMatrix) {
    TestSupport::Draws draws(5);
    for (int round = 0; round < 500; ++round) {
        double m[9];
        for (double& element : m)
            element = draws.real(-1.0, 1.0);
        double inverse[9];
        copyMatrix33(m, inverse);
        inverseMatrix33(inverse);
        if (std::any_of(inverse, inverse + 9, [](double e) { return std::fabs(e) > 100.0; }))
            continue;
        double one[9];
        mul33with33(m, inverse, one);
        for (int i = 0; i < 9; ++i)
            ASSERT_NEAR(one[i], i % 4 == 0 ? 1.0 : 0.0, 1e-11);
        double right[6];
        pseudoInverseMatrix23(m, right);
        for (int r = 0; r < 2; ++r)
            for (int c = 0; c < 2; ++c)
                ASSERT_NEAR(m[3 * r] * right[c] + m[3 * r + 1] * right[2 + c] + m[3 * r + 2] * right[4 + c],
                            r == c ? 1.0 : 0.0, 1e-9);
    }
    double singular[] = {1, 2, 2, 4};
    inverseMatrix22(singular);
    EXPECT_FALSE(std::isfinite(singular[0]));
    double zero[9] = {};
    inverseMatrix33(zero);
    EXPECT_TRUE(std::isnan(zero[0]));
    double m[] = {1, 2, 3, 5};
    inverseMatrix22(m);
    EXPECT_THAT(m, ElementsAre(-5, 2, 3, -1));
}

TEST(SmallMatrix, RotationsTurnCounterClockwise) {
    const double angle = std::acos(-1.0) / 2.0;
    void (*const rotations[])(double*, double) = {setMatrixToRotationX, setMatrixToRotationY,
                                                  setMatrixToRotationZ};
    for (int axis = 0; axis < 3; ++axis) {
        double m[9];
        rotations[axis](m, angle);
        double v[3] = {};
        v[(axis + 1) % 3] = 1.0;
        vectorA2B(m, v, v);
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(v[k], k == (axis + 2) % 3 ? 1.0 : 0.0, 1e-16) << axis;
    }
}

TEST(SmallMatrix, PlacesBlocks) {
    double m[12];
    setMatrixToZero(m, 3, 4);
    const double block[] = {1, 2, 3, 4};
    placeMatrixInMatrix(m, 3, 4, block, 2, 2, 1, 2);
    EXPECT_THAT(m, ElementsAre(0, 0, 0, 0, 0, 0, 1, 2, 0, 0, 3, 4));
    setMatrixToZero(m, -3, -4);
    placeMatrixInMatrix(m, 3, 4, block, -2, 2, 0, 2);
    EXPECT_THAT(m, ElementsAre(0, 0, 0, 0, 0, 0, 1, 2, 0, 0, 3, 4));
    double square[9];
    setMatrix33ToIdentity(square);
    place31into33(block, square, 1);
    EXPECT_THAT(square, ElementsAre(1, 1, 0, 0, 2, 0, 0, 3, 1));
    transposeMatrix33(square);
    EXPECT_THAT(square, ElementsAre(1, 0, 0, 1, 2, 3, 0, 0, 1));
}

TEST(SmallMatrix, NormalVectorTakesTheSmallestComponent) {
    const struct {
        double v[3], normal[3];
    } cases[] = {{{1, 1, 1}, {0, 1, -1}},
                 {{2, 1, 1}, {-1, 0, 2}},
                 {{2, -2, 1}, {-2, -2, 0}},
                 {{1, 2, 1}, {0, 1, -2}},
                 {{0, 0, 0}, {0, 0, 0}}};
    for (const auto& c : cases) {
        double out[3];
        normalVector(c.v, out);
        EXPECT_THAT(out, ElementsAreArray(c.normal));
    }
}

TEST(SmallMatrix, OrthonormalizingKeepsTheFirstDirectionAndIsRightHanded) {
    double m[] = {3, 1, 9, 0, 2, 9, 4, 0, 9};
    orthonormalizeMatrix(m);
    const double length = std::sqrt(0.64 * 0.64 + 4.0 + 0.48 * 0.48);
    const double expected[] = {0.6, 0.64 / length,  -1.6 / length,  //
                               0.0, 2.0 / length,   0.8 / length,   //
                               0.8, -0.48 / length, 1.2 / length};
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(m[i], expected[i], 1e-15) << i;
    double parallel[] = {1, 2, 0, 0, 0, 0, 0, 0, 1};
    orthonormalizeMatrix(parallel);
    EXPECT_TRUE(std::isnan(parallel[1]));
}

}  // namespace
