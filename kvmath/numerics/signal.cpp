#include <kvmath/numerics/signal.h>

#include <kvmath/numerics/scratch_p.h>

#include <algorithm>
#include <cstddef>

namespace KvMath {
namespace {

constexpr int kMostBins = 1 << 24;

}  // namespace

void convoluteCyclicaly(double* data, int n, const double* kernel, int half) {
    if (n < 1 || half < 0)
        return;
    Internal::Scratch scratch(n);
    double* old = scratch.data();
    if (old == nullptr)
        return;
    std::copy_n(data, n, old);
    const long long width = 2LL * half + 1;
    const int start = half % n == 0 ? 0 : n - half % n;  // where the window of value 0 begins
    for (int i = 0; i < n; ++i) {
        double sum = 0.0;
        int from = static_cast<int>((static_cast<long long>(start) + i) % n);
        for (long long j = 0;
             j < width;) {  // whole runs up to the end of the data, then from its beginning again
            const int run = static_cast<int>(std::min<long long>(width - j, n - from));
            for (int r = 0; r < run; ++r)
                sum += old[from + r] * kernel[j + r];
            j += run;
            from = 0;
        }
        data[i] = sum;
    }
}

void hist(const std::vector<double>& values, double start, double binWidth, int binCount, bool dropOutside,
          std::vector<double>& centres, std::vector<int>& counts) {
    const std::size_t bins = binCount > 0 && binCount <= kMostBins ? static_cast<std::size_t>(binCount) : 0;
    // `values` may be `centres`: count before the centres are written.
    std::vector<int> result(bins, 0);
    for (const double value : values) {
        if (bins == 0)
            break;
        // Truncated towards zero by the conversion to an index, once that is known not to overflow.
        const double band = (value - start) / binWidth;
        const bool below = !(band > -1.0);  // NaN too
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
