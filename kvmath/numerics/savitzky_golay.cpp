// The normal matrix A[i][j] = sum k^(i + j) holds 2 * order + 1 different sums only.

#include <kvmath/numerics/savitzky_golay.h>

#include <kvmath/numerics/linear_solve_p.h>
#include <kvmath/numerics/scratch_p.h>

#include <algorithm>
#include <array>

namespace KvMath {
namespace {

constexpr int kLargestOrder =
    1023;  // 4 * half^(2 * order) is infinite long before; bounds the matrix to 8 MB

// sums[p] = sum of k^p for k = -half..half, 0^0 being 1.
void sumPowers(int half, double* sums, int count) {
    std::fill_n(sums, count, 0.0);
    for (long long k = -static_cast<long long>(half); k <= half; ++k) {
        double power = 1.0;
        for (int p = 0; p < count; ++p) {
            sums[p] += power;
            power *= static_cast<double>(k);
        }
    }
}

}  // namespace

bool SavitzkyGolay1dCoefficients(double* coeffs, int order, int half, int derivative) {
    if (half < 0 || order < 0 || order > kLargestOrder || derivative < 0 || derivative > order ||
        2LL * half < order)
        return false;
    const int terms = order + 1;
    Internal::Scratch scratch(terms, terms + 4);
    double* matrix = scratch.data();
    if (matrix == nullptr)
        return false;
    double* solution = matrix + terms * terms;
    double* scale = solution + terms;
    double* sums = scale + terms;
    std::array<int, kLargestOrder + 1> rowOf;
    sumPowers(half, sums, 2 * order + 1);
    for (int i = 0; i < terms; ++i)
        std::copy_n(sums + i, terms, matrix + i * terms);
    std::fill_n(solution, terms, 0.0);
    solution[derivative] = 1.0;
    // No row of the normal matrix is zero: its diagonal holds sums of even powers.
    Internal::decomposeLu(matrix, terms, rowOf.data(), scale);
    Internal::solveLu(matrix, terms, rowOf.data(), solution);
    for (long long k = -static_cast<long long>(half); k <= half; ++k) {
        double sum = solution[0];
        double power = 1.0;
        for (int p = 1; p < terms; ++p) {
            power *= static_cast<double>(k);
            sum += solution[p] * power;
        }
        coeffs[k + half] = sum;
    }
    return true;
}

}  // namespace KvMath
