#include <kvmath/numerics/small_matrix.h>

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <vector>

namespace {

using namespace KvMath;
using testing::ElementsAre;

// The 2 x 2 inverse divides, the 3 x 3 inverse multiplies by the reciprocal, which shows in the last bits.
TEST(SmallMatrix, FollowsTheFormulasAndMayWriteOverAnInput) {
    using V = std::vector<double>;
    const double a[] = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    const double b[] = {1, -1, 2, 0, 3, 5};
    const double r = 1.0 / 105;  // the determinant below
    const struct {
        V in;
        std::function<void(double* p)> call;
        V out;
    } cases[] = {
        {{1, -1, 2, 0, 3, 5}, [&](double* p) { mul33with32(a, p, p); }, {14, 14, 32, 26, 53, 43}},
        {{2, -1, 3}, [&](double* p) { mul32with21(b, p, p); }, {3, 4, 1}},
        {{2, -1, 3}, [&](double* p) { mul32with21(a, p, p); }, {0, 2, 4}},
        {{2, -1}, [&](double* p) { mul22with21(a, p, p); }, {0, 2}},
        {V(a, a + 9), [&](double* p) { mul33with33(p, p, p); }, {30, 36, 45, 66, 81, 102, 109, 134, 169}},
        {{2, -1, 3}, [&](double* p) { vectorA2B(a, p, p); }, {9, 21, 36}},
        {{2, -1, 3}, [&](double* p) { pointA2B(a, b, p, p); }, {10, 20, 38}},
        {{4, 5, 6}, [&](double* p) { crossProduct(a, p, p); }, {-3, 6, -3}},
        {{4, 5, 6}, [&](double* p) { subMinus31(p, b); }, {3, 6, 4}},
        {{4, 5, 6}, [](double* p) { sumPlus31(p, p); }, {8, 10, 12}},
        {{2, 3, 6}, [](double* p) { mulV3byScalar(p, v3Norm(p)); }, {14, 21, 42}},
        {{2, -1, 3}, [&](double* p) { p[0] = mul13with31(a, p); }, {9, -1, 3}},
        {{1, 2, 1, 5}, inverseMatrix22, {5.0 / 3, -2.0 / 3, -1.0 / 3, 1.0 / 3}},
        {{6, 3, 3, -3, 3, 4, -2, 4, 9},
         inverseMatrix33,
         {11 * r, -15 * r, 3 * r, 19 * r, 60 * r, -33 * r, -6 * r, -30 * r, 27 * r}},
        {{1, 1, 1, 0, 0, 1}, [](double* p) { pseudoInverseMatrix23(p, p); }, {0.5, -0.5, 0.5, -0.5, 0, 1}},
        {{1, 1, 0, 1, 1, 1}, [](double* p) { pseudoInverseMatrix23(p, p); }, {0.5, 0, 0.5, 0, -1, 1}},
        {V(a, a + 9), transposeMatrix33, {1, 4, 7, 2, 5, 8, 3, 6, 10}},
        {V(9), [&](double* p) { copyMatrix33(a, p); }, V(a, a + 9)},
        {V(9, 7), setMatrix33ToIdentity, {1, 0, 0, 0, 1, 0, 0, 0, 1}},
        {V(9), [&](double* p) { place31into33(a, p, 1); }, {0, 1, 0, 0, 2, 0, 0, 3, 0}},
        {{1, 1, 1}, [](double* p) { normalVector(p, p); }, {0, 1, -1}},
        {{2, 1, 1}, [](double* p) { normalVector(p, p); }, {-1, 0, 2}},
        {{2, -2, 1}, [](double* p) { normalVector(p, p); }, {-2, -2, 0}},
        {{1, 2, 1}, [](double* p) { normalVector(p, p); }, {0, 1, -2}}};
    for (const auto& c : cases) {
        V out = c.in;
        c.call(out.data());
        EXPECT_EQ(out, c.out) << &c - cases;
    }
    double singular[9] = {};
    inverseMatrix33(singular);
    EXPECT_TRUE(std::isnan(singular[0]));
    double parallel[] = {1, 2, 2, 4};
    inverseMatrix22(parallel);
    EXPECT_FALSE(std::isfinite(parallel[0]));
}

TEST(SmallMatrix, RotationsTurnCounterClockwise) {
    const double angle = std::acos(-1.0) / 2.0;
    void (*const rotations[])(double*, double) = {setMatrixToRotationX, setMatrixToRotationY,
                                                  setMatrixToRotationZ};
    for (int axis = 0; axis < 3; ++axis) {
        double m[9];
        rotations[axis](m, angle);
        double v[3] = {1, 2, 3};
        const double along = v[axis], first = v[(axis + 1) % 3], second = v[(axis + 2) % 3];
        vectorA2B(m, v, v);
        EXPECT_EQ(v[axis], along);
        EXPECT_NEAR(v[(axis + 1) % 3], -second, 1e-15) << axis;
        EXPECT_NEAR(v[(axis + 2) % 3], first, 1e-15) << axis;
    }
}

TEST(SmallMatrix, PlacesBlocks) {
    double m[12];
    setMatrixToZero(m, 3, 4);
    const double block[] = {1, 2, 3, 4};
    placeMatrixInMatrix(m, 3, 4, block, 2, 2, 1, 2);
    EXPECT_THAT(m, ElementsAre(0, 0, 0, 0, 0, 0, 1, 2, 0, 0, 3, 4));
    setMatrixToZero(m, -3, -4);
    setMatrixToZero(m, 3, -4);
    placeMatrixInMatrix(m, 3, 4, block, -2, 2, 0, 2);
    EXPECT_THAT(m, ElementsAre(0, 0, 0, 0, 0, 0, 1, 2, 0, 0, 3, 4));
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
