#pragma once
// Axes of a symmetric matrix of three rows.

#include <kvmeasure/form/contact_search_p.h>

#include <array>

namespace KvMeasure::Internal {

using Real3 = std::array<Real, 3>;

/// The axes of a symmetric matrix, of unit length, that with the least eigenvalue first. C. G. J. Jacobi's
/// rotations: exact to rounding, also where eigenvalues are equal. The matrix is destroyed.
void axesOf(Real (&matrix)[3][3], Real3 (&axes)[3]);

}  // namespace KvMeasure::Internal
