#include <kvmath/numerics/signal.h>

#include <cmath>
#include <cstddef>

namespace KvMath {
namespace {

// data, continued cyclically by `half` values on both sides.
std::vector<double> continued(const double* data, std::ptrdiff_t n, std::ptrdiff_t half) {
    std::vector<double> extended(static_cast<std::size_t>(n + 2 * half));
    std::ptrdiff_t source = (n - half % n) % n;
    for (double& value : extended) {
        value = data[source];
        source = source + 1 == n ? 0 : source + 1;
    }
    return extended;
}

}  // namespace

void convoluteCyclicaly(double* data, int n, const double* kernel, int half) {
    if (n < 1 || half < 0)
        return;
    const std::vector<double> extended = continued(data, n, half);
    const std::ptrdiff_t width = 2 * static_cast<std::ptrdiff_t>(half) + 1;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        double sum = 0.0;
        for (std::ptrdiff_t j = 0; j < width; ++j)
            sum += extended[static_cast<std::size_t>(i + j)] * kernel[j];
        data[i] = sum;
    }
}

void hist(const std::vector<double>& values, double start, double binWidth, int binCount, bool dropOutside,
          std::vector<double>& centres, std::vector<int>& counts) {
    const std::size_t bins = binCount > 0 ? static_cast<std::size_t>(binCount) : 0;
    // `values` may be `centres`: count before the centres are written.
    std::vector<int> result(bins, 0);
    for (const double value : values) {
        if (bins == 0)
            break;
        const double band = std::trunc((value - start) / binWidth);  // in double: an int would overflow
        const bool below = !(band >= 0.0);                           // NaN too
        if (below || band >= binCount) {
            if (!dropOutside)
                ++result[below ? 0 : bins - 1];
        } else {
            ++result[static_cast<std::size_t>(band)];
        }
    }
    centres.resize(bins);
    for (std::size_t b = 0; b < bins; ++b)
        centres[b] = start + binWidth / 2.0 + static_cast<double>(b) * binWidth;
    counts.swap(result);
}

}  // namespace KvMath
