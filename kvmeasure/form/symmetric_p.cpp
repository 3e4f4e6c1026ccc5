#include <kvmeasure/form/symmetric_p.h>

namespace KvMeasure::Internal {

namespace {

/// Makes the element (p, q) of the matrix 0 by a rotation, and turns the vectors alike.
void rotate(Real (&m)[3][3], Real (&vectors)[3][3], int p, int q) {
    if (m[p][q] == 0)
        return;
    const Real theta = (m[q][q] - m[p][p]) / (2 * m[p][q]);
    const Real t = (theta < 0 ? -1 : 1) / (std::fabs(theta) + std::hypot(theta, Real(1)));
    const Real c = 1 / std::hypot(t, Real(1)), s = t * c;
    for (auto& row : m) {
        const Real a = row[p], b = row[q];
        row[p] = c * a - s * b;
        row[q] = s * a + c * b;
    }
    for (int k = 0; k < 3; ++k) {
        const Real a = m[p][k], b = m[q][k];
        m[p][k] = c * a - s * b;
        m[q][k] = s * a + c * b;
    }
    for (auto& row : vectors) {
        const Real a = row[p], b = row[q];
        row[p] = c * a - s * b;
        row[q] = s * a + c * b;
    }
}

}  // namespace

void axesOf(Real (&matrix)[3][3], Real3 (&axes)[3]) {
    constexpr int kMostSweeps = 30;  // 6 are enough
    Real vectors[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int sweep = 0; sweep < kMostSweeps; ++sweep) {
        rotate(matrix, vectors, 0, 1);
        rotate(matrix, vectors, 0, 2);
        rotate(matrix, vectors, 1, 2);
    }
    int order[3] = {0, 1, 2};
    std::sort(order, order + 3, [&](int a, int b) { return matrix[a][a] < matrix[b][b]; });
    for (int i = 0; i < 3; ++i)
        axes[i] = {vectors[0][order[i]], vectors[1][order[i]], vectors[2][order[i]]};
}

}  // namespace KvMeasure::Internal
