// Rigid maps by W. Kabsch (Acta Cryst. A 32 (1976) 922-923), from the singular vectors of a 3 x 3 matrix. The
// third pair is made as a cross product, so that no reflection can come out. The decomposition is good to
// single precision only: two Gauss-Newton steps improve the rotation. Planes use the same steps on their
// normals, then a 3 x 3 system for the offsets. Linear in points or planes; only getBogieReferenceFrame takes
// memory.
#include <kvmath/wheel/bogie_frame.h>

#include <kvmath/numerics/small_matrix.h>
#include <kvmath/numerics/svd.h>
#include <kvmath/wheel/rule_algebra.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace KvMath {

namespace {

using Vector = std::array<double, 3>;
using Plane = std::array<double, 4>;

bool allFinite(const double* values, int count) {
    return std::all_of(values, values + count, [](double v) { return std::isfinite(v); });
}

Vector cross(const double* a, const double* b) {
    Vector out;
    crossProduct(a, b, out.data());
    return out;
}

/// The same plane with a unit normal; not finite when there is none.
Plane unitPlane(const double* plane) {
    const double length = v3Norm(plane);
    return {plane[0] / length, plane[1] / length, plane[2] / length, plane[3] / length};
}

/// The plane half-way between two opposite faces, whichever way their normals look.
Plane middlePlane(const Plane& first, const Plane& second) {
    const double sign = mul13with31(first.data(), second.data()) < 0 ? -1.0 : 1.0;
    Plane middle;
    for (std::size_t i = 0; i < 4; ++i)
        middle[i] = (first[i] + sign * second[i]) / 2;
    return middle;
}

/// One Gauss-Newton step of the rotation: the decomposition is good to single precision only. With S = R H
/// the small turn w solves (trace(S) - S) w = the twist of S.
void improveRotation(const double* H, double* R) {
    double S[9], system[9], turn[9];
    mul33with33(R, H, S);
    for (int i = 0; i < 9; ++i)
        system[i] = (i % 4 == 0 ? S[0] + S[4] + S[8] : 0.0) - (S[i] + S[3 * (i % 3) + i / 3]) / 2;
    const double twist[3] = {S[5] - S[7], S[6] - S[2], S[1] - S[3]};
    double w[3];
    inverseMatrix33(system);
    vectorA2B(system, twist, w);
    if (!allFinite(w, 3))
        return;
    getRotationMatrixByAxisAndAngle(w, v3Norm(w), turn);
    mul33with33(turn, R, R);
}

/// The rotation R with the least sum of |R a - b|^2, given H = sum of a b^T. The two leading pairs of
/// singular vectors fix it; the third is their cross product on either side, so that no reflection can come
/// out. False without a second direction.
bool rotationFrom(const double* H, double* R) {
    double a[4][4], v[4][4], w[4];
    double *rowsA[4], *rowsV[4];
    for (int i = 0; i < 4; ++i) {
        rowsA[i] = a[i];
        rowsV[i] = v[i];
        for (int j = 1; i > 0 && j < 4; ++j)
            a[i][j] = H[3 * (i - 1) + j - 1];
    }
    constexpr double kNoSecondDirection = 1e-9;
    if (!allFinite(H, 9) || !svdcmp(rowsA, 3, 3, w, rowsV))
        return false;
    int order[3] = {1, 2, 3};
    std::sort(order, order + 3, [&](int i, int j) { return w[i] > w[j]; });
    if (!(w[order[1]] > kNoSecondDirection * w[order[0]]))
        return false;
    double U[9], V[9];
    for (int column = 0; column < 2; ++column) {
        for (int row = 0; row < 3; ++row) {
            U[3 * row + column] = a[row + 1][order[column]];
            V[3 * row + column] = v[row + 1][order[column]];
        }
    }
    orthonormalizeMatrix(U);
    orthonormalizeMatrix(V);
    transposeMatrix33(U);
    mul33with33(V, U, R);
    improveRotation(H, R);
    improveRotation(H, R);
    return true;
}

void addOuterProduct(double* H, const double* a, const double* b) {
    for (int i = 0; i < 9; ++i)
        H[i] += a[i / 3] * b[i % 3];
}

Vector meanPoint(const double* points, int count) {
    Vector mean = {};
    for (int i = 0; i < count; ++i)
        sumPlus31(mean.data(), points + 3 * static_cast<std::ptrdiff_t>(i));
    for (double& m : mean)
        m /= count;
    return mean;
}

/// The meeting point of the middle planes of a row and the unit normal of its upper plane.
bool evaluateRow(PlaneInfo* row, Vector& point, Vector& upper) {
    Plane unit[7];
    for (int k = 0; k < 7; ++k) {
        if (!row[k].valid)
            convertKorvanPlanes2planes(row + k, 1);
        unit[k] = unitPlane(row[k].plane);
        if (!row[k].valid || !allFinite(unit[k].data(), 4))
            return false;
    }
    upper = {unit[6][0], unit[6][1], unit[6][2]};
    return intersectPlanes(middlePlane(unit[0], unit[1]).data(), middlePlane(unit[2], unit[3]).data(),
                           middlePlane(unit[4], unit[5]).data(), point.data());
}

}  // namespace

void convertKorvanPlanes2planes(PlaneInfo* planes, int count) {
    for (int i = 0; planes != nullptr && i < count; ++i) {
        PlaneInfo& info = planes[i];
        double n[3] = {std::nan(""), std::nan(""), std::nan("")};
        convertKorvanAngles2NormVector(info.angleA, info.angleB, info.axis1, info.axis2, info.axis3, n);
        info.valid = allFinite(n, 3);
        const double d = info.valid ? -n[std::abs(info.axis1) - 1] * info.distance : 0.0;
        info.valid = info.valid && std::isfinite(d);
        const double equation[4] = {n[0], n[1], n[2], d};
        for (int k = 0; k < 4; ++k)
            info.plane[k] = info.valid ? equation[k] : 0.0;
    }
}

bool intersectPlanes(const double* plane1, const double* plane2, const double* plane3, double* point) {
    constexpr double kSmallestDeterminant = 1e-12;
    const Plane unit[3] = {unitPlane(plane1), unitPlane(plane2), unitPlane(plane3)};
    const Vector product[3] = {cross(unit[1].data(), unit[2].data()), cross(unit[2].data(), unit[0].data()),
                               cross(unit[0].data(), unit[1].data())};
    const double determinant = mul13with31(unit[0].data(), product[0].data());
    if (!(std::fabs(determinant) >= kSmallestDeterminant))
        return false;
    Vector common;
    for (std::size_t i = 0; i < 3; ++i)
        common[i] = -(unit[0][3] * product[0][i] + unit[1][3] * product[1][i] + unit[2][3] * product[2][i]) /
                    determinant;
    if (!allFinite(common.data(), 3))
        return false;
    std::copy(common.begin(), common.end(), point);
    return true;
}

bool lines3dIntersection(const double* p1, const double* dir1, const double* p2, const double* dir2,
                         double* point) {
    constexpr double kParallel = 1e-12;  // square of the sine of the angle
    const double offset[3] = {p1[0] - p2[0], p1[1] - p2[1], p1[2] - p2[2]};
    const double a = mul13with31(dir1, dir1), b = mul13with31(dir1, dir2), c = mul13with31(dir2, dir2);
    const double d = mul13with31(dir1, offset), e = mul13with31(dir2, offset);
    const double sineSquared = a * c - b * b;
    if (!(sineSquared > kParallel * (a * c)))
        return false;
    const double s = (b * e - c * d) / sineSquared, t = (a * e - b * d) / sineSquared;
    Vector middle;
    for (std::size_t i = 0; i < 3; ++i)
        middle[i] = (p1[i] + s * dir1[i] + p2[i] + t * dir2[i]) / 2;
    if (!allFinite(middle.data(), 3))
        return false;
    std::copy(middle.begin(), middle.end(), point);
    return true;
}

void middlePointOf6Points(const double* points, double* middle) {
    const Vector mean = meanPoint(points, 6);
    std::copy(mean.begin(), mean.end(), middle);
}

void getAxisAndAngleByRotationMatrix(const double* M, double* axis, double& angle) {
    const Vector twist = {(M[7] - M[5]) / 2, (M[2] - M[6]) / 2, (M[3] - M[1]) / 2};  // sine times axis
    const double sine = v3Norm(twist.data());
    const double cosine = (M[0] + M[4] + M[8] - 1) / 2;
    angle = std::atan2(sine, cosine);
    Vector unit = {0, 0, 1};
    if (cosine < 0) {
        // The twist fades towards half a turn: (M + M^T) / 2 = cosine + (1 - cosine) axis axis^T does not.
        const double diagonal[3] = {M[0], M[4], M[8]};
        const auto k = static_cast<std::size_t>(std::max_element(diagonal, diagonal + 3) - diagonal);
        for (std::size_t i = 0; i < 3; ++i)
            unit[i] = i == k ? diagonal[k] - cosine : (M[3 * i + k] + M[3 * k + i]) / 2;
        mulV3byScalar(unit.data(),
                      (mul13with31(unit.data(), twist.data()) < 0 ? -1 : 1) / v3Norm(unit.data()));
    } else if (sine != 0) {
        unit = {twist[0] / sine, twist[1] / sine, twist[2] / sine};
    }
    std::copy(unit.begin(), unit.end(), axis);
}

void getRotationMatrixByAxisAndAngle(const double* axis, double angle, double* M) {
    const double length = v3Norm(axis);
    if (length == 0) {
        setMatrix33ToIdentity(M);
        return;
    }
    const double x = axis[0] / length, y = axis[1] / length, z = axis[2] / length;
    const double s = std::sin(angle), c = std::cos(angle), v = 1 - c;
    const double rotation[9] = {c + x * x * v,     x * y * v - z * s, x * z * v + y * s,
                                y * x * v + z * s, c + y * y * v,     y * z * v - x * s,
                                z * x * v - y * s, z * y * v + x * s, c + z * z * v};
    copyMatrix33(rotation, M);
}

bool getAdjustmentData(const double* measured, const double* reference, int count, double* M, double* t) {
    if (count < 3 || measured == nullptr || reference == nullptr || M == nullptr || t == nullptr)
        return false;
    const Vector from = meanPoint(measured, count), to = meanPoint(reference, count);
    double H[9] = {}, R[9];
    for (int i = 0; i < count; ++i) {
        const double *p = measured + 3 * static_cast<std::ptrdiff_t>(i),
                     *q = reference + 3 * static_cast<std::ptrdiff_t>(i);
        const double a[3] = {p[0] - from[0], p[1] - from[1], p[2] - from[2]};
        const double b[3] = {q[0] - to[0], q[1] - to[1], q[2] - to[2]};
        addOuterProduct(H, a, b);
    }
    if (!rotationFrom(H, R))
        return false;
    double turned[3];
    vectorA2B(R, from.data(), turned);
    copyMatrix33(R, M);
    for (std::size_t i = 0; i < 3; ++i)
        t[i] = to[i] - turned[i];
    return true;
}

bool getAdjustmentDataPlanesMethod(const PlaneInfo* measured, const PlaneInfo* reference, int count,
                                   double* M, double* t) {
    constexpr double kDependent = 1e-9;
    if (measured == nullptr || reference == nullptr || M == nullptr || t == nullptr)
        return false;
    double H[9] = {}, moments[9] = {}, weighted[3] = {}, R[9];
    for (int i = 0; i < count; ++i) {
        const Plane a = unitPlane(measured[i].plane);
        Plane b = unitPlane(reference[i].plane);
        if (!measured[i].valid || !reference[i].valid || !allFinite(a.data(), 4) || !allFinite(b.data(), 4))
            continue;
        addOuterProduct(H, a.data(), b.data());
        addOuterProduct(moments, b.data(), b.data());
        mulV3byScalar(b.data(), a[3] - b[3]);
        sumPlus31(weighted, b.data());
    }
    const Vector product = cross(moments + 3, moments + 6);
    if (!(mul13with31(moments, product.data()) > kDependent) || !rotationFrom(H, R))
        return false;
    inverseMatrix33(moments);
    vectorA2B(moments, weighted, t);
    copyMatrix33(R, M);
    return true;
}

bool getBogieReferenceFrame(PlaneInfo (*planes)[7], int rows, double* M, double* origin) {
    if (planes == nullptr || M == nullptr || origin == nullptr)
        return false;
    std::vector<double> points;
    Vector third = {};
    for (int row = 0; row < rows; ++row) {
        Vector point, upper;
        if (!evaluateRow(planes[row], point, upper))
            continue;
        if (mul13with31(third.data(), upper.data()) < 0)
            mulV3byScalar(upper.data(), -1);
        sumPlus31(third.data(), upper.data());
        points.insert(points.end(), point.begin(), point.end());
    }
    const int good = static_cast<int>(points.size() / 3);
    if (good < 2)
        return false;
    Vector along = {points[points.size() - 3], points[points.size() - 2], points[points.size() - 1]};
    subMinus31(along.data(), points.data());
    const Vector second = cross(third.data(), along.data());
    if (!(v3Norm(second.data()) > 0) || !allFinite(second.data(), 3))
        return false;
    double frame[9];
    place31into33(third.data(), frame, 0);
    place31into33(cross(second.data(), third.data()).data(), frame, 1);
    orthonormalizeMatrix(frame);  // columns: third axis, first axis, second axis
    for (int r = 0; r < 3; ++r) {
        M[3 * r] = frame[3 * r + 1];
        M[3 * r + 1] = frame[3 * r + 2];
        M[3 * r + 2] = frame[3 * r];
    }
    const Vector mean = meanPoint(points.data(), good);
    std::copy(mean.begin(), mean.end(), origin);
    return true;
}

}  // namespace KvMath
