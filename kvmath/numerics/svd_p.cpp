#include <kvmath/numerics/svd_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {
namespace {

// larger * sqrt(1 + (smaller / larger)^2), the ratio and its square in single precision.
double hypotenuse(double larger, double smaller) {
    const auto ratio = static_cast<float>(smaller / larger);
    const float square = ratio * ratio;
    return larger * std::sqrt(1.0 + static_cast<double>(square));
}

}  // namespace

double pythag(double a, double b) {
    const double absA = std::fabs(a);
    const double absB = std::fabs(b);
    if (absA > absB)
        return hypotenuse(absA, absB);
    return absB == 0.0 ? 0.0 : hypotenuse(absB, absA);
}

UnitOffsetMatrix::UnitOffsetMatrix(int rows, int cols)
    : rowCount_(static_cast<std::size_t>(std::max(rows, 0))),
      colCount_(static_cast<std::size_t>(std::max(cols, 0))), elements_((rowCount_ + 1) * (colCount_ + 1)),
      rows_(rowCount_ + 1) {
    for (std::size_t r = 0; r <= rowCount_; ++r)
        rows_[r] = elements_.data() + r * (colCount_ + 1);
}

void UnitOffsetMatrix::fillFrom(const double* block) {
    for (std::size_t r = 0; r < rowCount_; ++r)
        std::copy_n(block + r * colCount_, colCount_, rows_[r + 1] + 1);
}

void svdBackSubstitute(double** u, const double* w, double** v, int m, int n, const double* b, double* x,
                       double* work) {
    std::fill_n(work, n + 1, 0.0);
    for (int i = 1; i <= m; ++i) {  // row by row; each sum still runs over i in order
        const double* row = u[i];
        for (int j = 1; j <= n; ++j)
            work[j] += row[j] * b[i - 1];
    }
    for (int j = 1; j <= n; ++j)
        work[j] = w[j] != 0.0 ? work[j] / w[j] : 0.0;
    for (int j = 1; j <= n; ++j) {
        double sum = 0.0;
        for (int k = 1; k <= n; ++k)
            sum += v[j][k] * work[k];
        x[j] = sum;
    }
}

}  // namespace KvMath::Internal
