#pragma once
// Fixed-size matrices and vectors in plain arrays of double, row-major: element (r, c) of a 3 x 3 matrix is
// M[3 * r + c], of a 2 x 3 matrix A[3 * r + c], of a 3 x 2 matrix B[2 * r + c]. The digits in a name give the
// shapes it takes.
//
// No heap, no checks: the caller supplies arrays of the stated size. An output may be one of the inputs. A
// matrix without an inverse gives infinities or NaN. Angles are radians.

#include <kvmath/core/global.h>

namespace KvMath {

KVMATH_EXPORT void inverseMatrix22(double* M);  ///< in place; each element divided by the determinant
KVMATH_EXPORT void
inverseMatrix33(double* M);  ///< in place, by cofactors times one reciprocal of the determinant
/// out (3 x 2) = A^T (A A^T)^-1, the right inverse of A (2 x 3).
KVMATH_EXPORT void pseudoInverseMatrix23(const double* A, double* out);
KVMATH_EXPORT void transposeMatrix33(double* M);
KVMATH_EXPORT void copyMatrix33(const double* from, double* to);
KVMATH_EXPORT void setMatrix33ToIdentity(double* M);
/// All rows * cols elements become 0; nothing when rows or cols is below 1.
KVMATH_EXPORT void setMatrixToZero(double* M, int rows, int cols);

/// Rotation about one axis, counter-clockwise when looked at against the axis.
KVMATH_EXPORT void setMatrixToRotationX(double* M, double angle);
KVMATH_EXPORT void setMatrixToRotationY(double* M, double angle);
KVMATH_EXPORT void setMatrixToRotationZ(double* M, double angle);

/// Copies src (srcRows x srcCols) into dst (dstCols wide) so that src(i, j) lands at dst(row + i, col + j).
/// Nothing is checked against dstRows; nothing is copied when srcRows or srcCols is below 1.
KVMATH_EXPORT void placeMatrixInMatrix(double* dst, int dstRows, int dstCols, const double* src, int srcRows,
                                       int srcCols, int row, int col);
KVMATH_EXPORT void place31into33(const double* v, double* M,
                                 int col);  ///< v becomes column col (0 to 2) of M

KVMATH_EXPORT double mul13with31(const double* a, const double* b);  ///< dot product of 3-vectors
/// out (2) = M v.
KVMATH_EXPORT void mul22with21(const double* M, const double* v, double* out);
/// out (3) = M v, M 3 x 2.
KVMATH_EXPORT void mul32with21(const double* M, const double* v, double* out);
/// out (3 x 2) = A B.
KVMATH_EXPORT void mul33with32(const double* A, const double* B, double* out);
/// out (3 x 3) = A B.
KVMATH_EXPORT void mul33with33(const double* A, const double* B, double* out);

KVMATH_EXPORT void vectorA2B(const double* M, const double* v,
                             double* out);  ///< out = M v: a direction, frame A to B
KVMATH_EXPORT void pointA2B(const double* M, const double* t, const double* p,
                            double* out);  ///< out = M p + t: a point

KVMATH_EXPORT void mulV3byScalar(double* v, double s);      ///< v *= s
KVMATH_EXPORT void sumPlus31(double* a, const double* b);   ///< a += b
KVMATH_EXPORT void subMinus31(double* a, const double* b);  ///< a -= b
KVMATH_EXPORT double v3Norm(const double* v);               ///< Euclidean length
/// out = a x b.
KVMATH_EXPORT void crossProduct(const double* a, const double* b, double* out);

/// out = v x e with e the coordinate axis along which |v| is smallest (of equals the first): perpendicular to
/// v, not of unit length. The zero vector gives zero.
KVMATH_EXPORT void normalVector(const double* v, double* out);

/// Gram-Schmidt on the columns of M: column 0 normalised, column 1 freed of column 0 and normalised, column 2
/// replaced by their cross product, so that the result is right-handed. Parallel or zero first columns give
/// NaN.
KVMATH_EXPORT void orthonormalizeMatrix(double* M);

}  // namespace KvMath
