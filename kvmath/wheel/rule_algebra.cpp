// A rule carries profile (x, y) to origin + x a + y b. With a x b as third column it is a frame, so that
// chaining and inverting rules is algebra of 3 x 3 matrices. Results are worked out in local copies where an
// output may be an input. Fixed cost, no memory.
#include <kvmath/wheel/rule_algebra.h>

#include <kvmath/numerics/small_matrix.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace KvMath {

namespace {

/// Column 0 (profile x) or 1 (profile y) of a rule.
void getColumn(const double* rule, int column, double* out) {
    for (int row = 0; row < 3; ++row)
        out[row] = rule[3 + 2 * row + column];
}

void setColumn(double* rule, int column, const double* values) {
    for (int row = 0; row < 3; ++row)
        rule[3 + 2 * row + column] = values[row];
}

/// Both columns become M times themselves.
void turnColumns(double* rule, const double* M) {
    for (int column = 0; column < 2; ++column) {
        double direction[3];
        getColumn(rule, column, direction);
        vectorA2B(M, direction, direction);
        setColumn(rule, column, direction);
    }
}

}  // namespace

void calcRule(const KvVector2D<double>* pts, const double* values, _KvORBIS_SensorCoordROT_& rule) {
    double rows[3][3];
    for (int k = 0; k < 3; ++k) {
        const KvVector2D<double>* p = pts + 3 * k;
        double M[9] = {1, p[0].x, p[0].y, 1, p[1].x, p[1].y, 1, p[2].x, p[2].y};
        inverseMatrix33(M);
        vectorA2B(M, values + 3 * k, rows[k]);
    }
    rule = {rows[0][0], rows[1][0], rows[2][0], rows[0][1], rows[0][2],
            rows[1][1], rows[1][2], rows[2][1], rows[2][2]};
}

void determineLinear2dRule(const double p1[2], const double p2[2], const double p3[2], double value1,
                           double value2, double value3, double rule[3]) {
    double M[9] = {p1[0], p1[1], 1, p2[0], p2[1], 1, p3[0], p3[1], 1};
    const double values[3] = {value1, value2, value3};
    inverseMatrix33(M);
    vectorA2B(M, values, rule);
}

double applyLinear2dRule(const double p[2], const double rule[3]) {
    return rule[0] * p[0] + rule[1] * p[1] + rule[2];
}

void rule2matrix(const double* rule, double* M, double* O) {
    double axes[3][3];
    const double origin[3] = {rule[0], rule[1], rule[2]};
    getColumn(rule, 0, axes[0]);
    getColumn(rule, 1, axes[1]);
    crossProduct(axes[0], axes[1], axes[2]);
    for (int column = 0; column < 3; ++column) {
        place31into33(axes[column], M, column);
        O[column] = origin[column];
    }
}

void matrix2rule(const double* M, const double* O, double* rule) {
    const double values[9] = {O[0], O[1], O[2], M[0], M[1], M[3], M[4], M[6], M[7]};
    std::copy_n(values, 9, rule);
}

void adjustRule(double* rule, const double* M, const double* t) {
    turnColumns(rule, M);
    pointA2B(M, t, rule, rule);
}

void changeRuleToNewAxis(double* rule, const double* A, const double* O) {
    double inverse[9];
    copyMatrix33(A, inverse);
    inverseMatrix33(inverse);
    turnColumns(rule, inverse);
    subMinus31(rule, O);
    vectorA2B(inverse, rule, rule);
}

void determineRuleConvertionA2B(const double* ruleA, const double* ruleB, double* M, double* t) {
    double frameA[9], originA[3], frameB[9], originB[3];
    rule2matrix(ruleA, frameA, originA);
    rule2matrix(ruleB, frameB, originB);
    inverseMatrix33(frameA);
    mul33with33(frameB, frameA, M);
    vectorA2B(M, originA, originA);
    for (int i = 0; i < 3; ++i)
        t[i] = originB[i] - originA[i];
}

void changeRuleBToFirstSpace(const double* ruleA, const double* ruleB, double* rule) {
    double M[9], t[3];
    determineRuleConvertionA2B(ruleB, ruleA, M, t);
    adjustRule(rule, M, t);
}

void determineSpaceConvertionA2B(const double* O_A, const double* M_A, const double* O_B, const double* M_B,
                                 double* M, double* t) {
    double inverse[9], offset[3] = {O_A[0], O_A[1], O_A[2]};
    copyMatrix33(M_B, inverse);
    inverseMatrix33(inverse);
    subMinus31(offset, O_B);
    mul33with33(inverse, M_A, M);
    vectorA2B(inverse, offset, t);
}

void plane2space(const double* rule, const double* p2, double* P) {
    const double x = p2[0], y = p2[1];
    double place[3];
    for (int row = 0; row < 3; ++row)
        place[row] = rule[row] + rule[3 + 2 * row] * x + rule[4 + 2 * row] * y;
    std::copy_n(place, 3, P);
}

void anyLinePoint(const double* plane1, const double* plane2, double* point) {
    const double normals[6] = {plane1[0], plane1[1], plane1[2], plane2[0], plane2[1], plane2[2]};
    const double offsets[2] = {-plane1[3], -plane2[3]};
    double inverse[6];
    pseudoInverseMatrix23(normals, inverse);
    mul32with21(inverse, offsets, point);
}

void planes2line(const double* plane1, const double* plane2, double* dir, double* point) {
    double direction[3], place[3];
    crossProduct(plane1, plane2, direction);
    anyLinePoint(plane1, plane2, place);
    const double length = v3Norm(direction);
    for (int i = 0; i < 3; ++i) {
        dir[i] = direction[i] / length;
        point[i] = place[i];
    }
}

void convertKorvanAngles2NormVector(double angleA, double angleB, int axis1, int axis2, int axis3,
                                    double* n) {
    const auto isAxis = [](int axis) { return axis >= 1 && axis <= 3; };
    if (!(isAxis(axis1) || (axis1 >= -3 && axis1 <= -1)) || !isAxis(axis2) || !isAxis(axis3))
        return;
    constexpr double kToRadians =
        -0.01745329238474369;  // single-precision pi / 180, deliberately turned round
    const double tanA = std::tan(angleA * kToRadians), tanB = std::tan(angleB * kToRadians);
    const double m = 1 / std::sqrt(tanA * tanA + 1 + tanB * tanB);
    double& steepest = n[std::abs(axis1) - 1];
    steepest = axis1 < 0 ? -m : m;
    n[axis2 - 1] = -(std::fabs(steepest) * tanA);
    n[axis3 - 1] = -(std::fabs(steepest) * tanB);
}

}  // namespace KvMath
