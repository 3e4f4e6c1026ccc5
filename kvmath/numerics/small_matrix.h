#pragma once
// Fixed-size matrices and vectors in plain arrays of double, row-major: element (r, c) of a 3 x 3 matrix is
// M[3 * r + c], of a 2 x 3 matrix A[3 * r + c], of a 3 x 2 matrix B[2 * r + c]. The digits in a name give the
// shapes it takes.
//
// No heap, no checks: the caller supplies arrays of the stated size. An output may be one of the inputs. A
// matrix without an inverse gives infinities, NaN or what rounding leaves. Angles are radians.

#include <kvmath/base/global.h>

namespace KvMath {

/// Inverts M (2 x 2) in place; each element is divided by the determinant.
KVMATH_EXPORT void inverseMatrix22(double* M);
/// Inverts M (3 x 3) in place, by cofactors times one reciprocal of the determinant.
KVMATH_EXPORT void inverseMatrix33(double* M);
/// out (3 x 2) = A^T (A A^T)^-1, the right inverse of A (2 x 3).
KVMATH_EXPORT void pseudoInverseMatrix23(const double* A, double* out);
KVMATH_EXPORT void transposeMatrix33(double* M);                  ///< exchanges rows and columns, in place
KVMATH_EXPORT void copyMatrix33(const double* from, double* to);  ///< copies the nine elements of `from`
KVMATH_EXPORT void setMatrix33ToIdentity(double* M);              ///< diagonal 1, everything else 0
/// All rows * cols elements become 0; nothing when rows or cols is below 1.
KVMATH_EXPORT void setMatrixToZero(double* M, int rows, int cols);

KVMATH_EXPORT void setMatrixToRotationX(double* M, double angle);  ///< turns about x, +y towards +z
KVMATH_EXPORT void setMatrixToRotationY(double* M, double angle);  ///< turns about y, +z towards +x
KVMATH_EXPORT void setMatrixToRotationZ(double* M, double angle);  ///< turns about z, +x towards +y

/// Copies src (srcRows x srcCols) into dst (dstCols wide) so that src(i, j) lands at dst(row + i, col + j).
/// Nothing is checked against dstRows; nothing is copied when srcRows or srcCols is below 1. The two must not
/// overlap.
KVMATH_EXPORT void placeMatrixInMatrix(double* dst, int dstRows, int dstCols, const double* src, int srcRows,
                                       int srcCols, int row, int col);
/// v becomes column col (0 to 2) of M.
KVMATH_EXPORT void place31into33(const double* v, double* M, int col);

KVMATH_EXPORT double mul13with31(const double* a, const double* b);  ///< dot product of 3-vectors
/// out (2) = M v, M 2 x 2.
KVMATH_EXPORT void mul22with21(const double* M, const double* v, double* out);
/// out (3) = M v, M 3 x 2.
KVMATH_EXPORT void mul32with21(const double* M, const double* v, double* out);
/// out (3 x 2) = A B, A 3 x 3, B 3 x 2.
KVMATH_EXPORT void mul33with32(const double* A, const double* B, double* out);
/// out (3 x 3) = A B, A and B 3 x 3.
KVMATH_EXPORT void mul33with33(const double* A, const double* B, double* out);

/// out (3) = M v, M 3 x 3: takes a direction from frame A to frame B.
KVMATH_EXPORT void vectorA2B(const double* M, const double* v, double* out);
/// out (3) = M p + t, M 3 x 3: takes a point from frame A to frame B.
KVMATH_EXPORT void pointA2B(const double* M, const double* t, const double* p, double* out);

KVMATH_EXPORT void mulV3byScalar(double* v, double s);      ///< v (3) *= s
KVMATH_EXPORT void sumPlus31(double* a, const double* b);   ///< a (3) += b
KVMATH_EXPORT void subMinus31(double* a, const double* b);  ///< a (3) -= b
KVMATH_EXPORT double v3Norm(const double* v);               ///< Euclidean length of a 3-vector
/// out = a x b, the vector product of 3-vectors.
KVMATH_EXPORT void crossProduct(const double* a, const double* b, double* out);

/// out = v x e with e the coordinate axis along which |v| is smallest (of equals the first): perpendicular to
/// v, not of unit length. The zero vector gives zero.
KVMATH_EXPORT void normalVector(const double* v, double* out);

/// Gram-Schmidt on the columns of M: column 0 normalised, column 1 freed of column 0 and normalised, column 2
/// replaced by their cross product, so that the result is right-handed. A zero first column gives NaN,
/// parallel first columns NaN or directions that rounding decides.
KVMATH_EXPORT void orthonormalizeMatrix(double* M);

}  // namespace KvMath
