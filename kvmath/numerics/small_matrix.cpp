// Inputs that may also be the output are read completely before the first write.

#include <kvmath/numerics/small_matrix.h>

#include <cmath>
#include <cstddef>
#include <utility>

namespace KvMath {
namespace {

void setRows(double* M, double m00, double m01, double m02, double m10, double m11, double m12, double m20,
             double m21, double m22) {
    M[0] = m00;
    M[1] = m01;
    M[2] = m02;
    M[3] = m10;
    M[4] = m11;
    M[5] = m12;
    M[6] = m20;
    M[7] = m21;
    M[8] = m22;
}

void setVector(double* v, double x, double y, double z) {
    v[0] = x;
    v[1] = y;
    v[2] = z;
}

}  // namespace

void inverseMatrix22(double* M) {
    const double m00 = M[0];
    const double m01 = M[1];
    const double m10 = M[2];
    const double m11 = M[3];
    const double det = m00 * m11 - m01 * m10;
    M[0] = m11 / det;
    M[1] = -m01 / det;
    M[2] = -m10 / det;
    M[3] = m00 / det;
}

void inverseMatrix33(double* M) {
    const double a = M[0];
    const double b = M[1];
    const double c = M[2];
    const double d = M[3];
    const double e = M[4];
    const double f = M[5];
    const double g = M[6];
    const double h = M[7];
    const double i = M[8];
    const double det = a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g);
    const double r = 1.0 / det;
    setRows(M, (e * i - f * h) * r, (c * h - b * i) * r, (b * f - c * e) * r,  //
            (f * g - d * i) * r, (a * i - c * g) * r, (c * d - a * f) * r,     //
            (d * h - e * g) * r, (b * g - a * h) * r, (a * e - b * d) * r);
}

void pseudoInverseMatrix23(const double* A, double* out) {
    const double r0[3] = {A[0], A[1], A[2]};
    const double r1[3] = {A[3], A[4], A[5]};
    double q[4] = {mul13with31(r0, r0), mul13with31(r0, r1), mul13with31(r1, r0), mul13with31(r1, r1)};
    inverseMatrix22(q);
    for (int k = 0; k < 3; ++k) {
        out[2 * k] = r0[k] * q[0] + r1[k] * q[2];
        out[2 * k + 1] = r0[k] * q[1] + r1[k] * q[3];
    }
}

void transposeMatrix33(double* M) {
    std::swap(M[1], M[3]);
    std::swap(M[2], M[6]);
    std::swap(M[5], M[7]);
}

void copyMatrix33(const double* from, double* to) {
    for (int i = 0; i < 9; ++i)
        to[i] = from[i];
}

void setMatrix33ToIdentity(double* M) { setRows(M, 1, 0, 0, 0, 1, 0, 0, 0, 1); }

void setMatrixToZero(double* M, int rows, int cols) {
    if (rows < 1 || cols < 1)
        return;
    const std::size_t count = static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
    for (std::size_t i = 0; i < count; ++i)
        M[i] = 0.0;
}

void setMatrixToRotationX(double* M, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    setRows(M, 1, 0, 0, 0, c, -s, 0, s, c);
}

void setMatrixToRotationY(double* M, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    setRows(M, c, 0, s, 0, 1, 0, -s, 0, c);
}

void setMatrixToRotationZ(double* M, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    setRows(M, c, -s, 0, s, c, 0, 0, 0, 1);
}

void placeMatrixInMatrix(double* dst, int /*dstRows*/, int dstCols, const double* src, int srcRows,
                         int srcCols, int row, int col) {
    for (std::ptrdiff_t i = 0; i < srcRows; ++i)
        for (std::ptrdiff_t j = 0; j < srcCols; ++j)
            dst[(row + i) * dstCols + col + j] = src[i * srcCols + j];
}

void place31into33(const double* v, double* M, int col) {
    const double x = v[0];
    const double y = v[1];
    const double z = v[2];
    M[col] = x;
    M[col + 3] = y;
    M[col + 6] = z;
}

double mul13with31(const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void mul22with21(const double* M, const double* v, double* out) {
    const double x = M[0] * v[0] + M[1] * v[1];
    const double y = M[2] * v[0] + M[3] * v[1];
    out[0] = x;
    out[1] = y;
}

void mul32with21(const double* M, const double* v, double* out) {
    const double x = M[0] * v[0] + M[1] * v[1];
    const double y = M[2] * v[0] + M[3] * v[1];
    const double z = M[4] * v[0] + M[5] * v[1];
    setVector(out, x, y, z);
}

void mul33with32(const double* A, const double* B, double* out) {
    double product[6];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 2; ++c)
            product[2 * r + c] = A[3 * r] * B[c] + A[3 * r + 1] * B[2 + c] + A[3 * r + 2] * B[4 + c];
    for (int i = 0; i < 6; ++i)
        out[i] = product[i];
}

void mul33with33(const double* A, const double* B, double* out) {
    double product[9];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            product[3 * r + c] = A[3 * r] * B[c] + A[3 * r + 1] * B[3 + c] + A[3 * r + 2] * B[6 + c];
    copyMatrix33(product, out);
}

void vectorA2B(const double* M, const double* v, double* out) {
    const double x = mul13with31(M, v);
    const double y = mul13with31(M + 3, v);
    const double z = mul13with31(M + 6, v);
    setVector(out, x, y, z);
}

void pointA2B(const double* M, const double* t, const double* p, double* out) {
    const double x = mul13with31(M, p) + t[0];
    const double y = mul13with31(M + 3, p) + t[1];
    const double z = mul13with31(M + 6, p) + t[2];
    setVector(out, x, y, z);
}

void mulV3byScalar(double* v, double s) { setVector(v, v[0] * s, v[1] * s, v[2] * s); }

void sumPlus31(double* a, const double* b) { setVector(a, a[0] + b[0], a[1] + b[1], a[2] + b[2]); }

void subMinus31(double* a, const double* b) { setVector(a, a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

double v3Norm(const double* v) { return std::sqrt(mul13with31(v, v)); }

void crossProduct(const double* a, const double* b, double* out) {
    setVector(out, a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]);
}

void normalVector(const double* v, double* out) {
    int axis = std::fabs(v[0]) > std::fabs(v[1]) ? 1 : 0;
    if (std::fabs(v[axis]) > std::fabs(v[2]))
        axis = 2;
    double e[3] = {0.0, 0.0, 0.0};
    e[axis] = 1.0;
    crossProduct(v, e, out);
}

void orthonormalizeMatrix(double* M) {
    double u[3] = {M[0], M[3], M[6]};
    double v[3] = {M[1], M[4], M[7]};
    double w[3];
    const double lengthU = v3Norm(u);
    setVector(u, u[0] / lengthU, u[1] / lengthU, u[2] / lengthU);
    const double along = mul13with31(u, v);
    setVector(v, v[0] - along * u[0], v[1] - along * u[1], v[2] - along * u[2]);
    const double lengthV = v3Norm(v);
    setVector(v, v[0] / lengthV, v[1] / lengthV, v[2] / lengthV);
    crossProduct(u, v, w);
    place31into33(u, M, 0);
    place31into33(v, M, 1);
    place31into33(w, M, 2);
}

}  // namespace KvMath
