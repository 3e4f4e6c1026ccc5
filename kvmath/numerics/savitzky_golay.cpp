// The normal matrix A[i][j] = sum k^(i + j) holds 2 * order + 1 different sums only.

#include <kvmath/numerics/savitzky_golay.h>

#include <kvmath/numerics/linear_solve_p.h>

#include <cstddef>
#include <vector>

namespace KvMath {
namespace {

constexpr int kLargestOrder =
    1023;  // 4 * half^(2 * order) is infinite long before; bounds the matrix to 8 MB

// sums[p] = sum of k^p for k = -half..half, 0^0 being 1.
std::vector<double> powerSums(int half, int count) {
    std::vector<double> sums(static_cast<std::size_t>(count), 0.0);
    for (long long k = -static_cast<long long>(half); k <= half; ++k) {
        double power = 1.0;
        for (double& sum : sums) {
            sum += power;
            power *= static_cast<double>(k);
        }
    }
    return sums;
}

}  // namespace

bool SavitzkyGolay1dCoefficients(double* coeffs, int order, int half, int derivative) {
    if (half < 0 || order < 0 || order > kLargestOrder || derivative < 0 || derivative > order ||
        2LL * half < order)
        return false;
    const int terms = order + 1;
    const auto size = static_cast<std::size_t>(terms);
    const std::vector<double> sums = powerSums(half, 2 * order + 1);
    std::vector<double> matrix(size * size);
    for (std::size_t i = 0; i < size; ++i)
        for (std::size_t j = 0; j < size; ++j)
            matrix[i * size + j] = sums[i + j];
    std::vector<double> solution(size, 0.0);
    std::vector<double> scale(size);
    std::vector<int> rowOf(size);
    solution[static_cast<std::size_t>(derivative)] = 1.0;
    // No row of the normal matrix is zero: its diagonal holds sums of even powers.
    Internal::decomposeLu(matrix.data(), terms, rowOf.data(), scale.data());
    Internal::solveLu(matrix.data(), terms, rowOf.data(), solution.data());
    for (long long k = -static_cast<long long>(half); k <= half; ++k) {
        double sum = solution[0];
        double power = 1.0;
        for (std::size_t p = 1; p < size; ++p) {
            power *= static_cast<double>(k);
            sum += solution[p] * power;
        }
        coeffs[k + half] = sum;
    }
    return true;
}

}  // namespace KvMath
