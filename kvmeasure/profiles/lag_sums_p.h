#pragma once
// Sums of products of residuals with those some places on, for several distances at once. Their rounding
// does not depend on the processor.

#include <kvmeasure/base/double_pair_p.h>

#include <cstddef>
#include <cstring>

namespace KvMeasure::Internal {

constexpr std::size_t kFirstLags = 4;    // white noise needs no more
constexpr std::size_t kLagsAtOnce = 12;  // as many sums as there are registers

/// Sums of products at some lags from one on, of residuals with zeros behind them. An addition waits for the
/// one before it in its sum, and the sums fill the waiting time of each other. Each is made of two, over the
/// even and over the odd places; the last places come after both.
template <std::size_t kCount>
class LagSums {
public:
    LagSums(const double* residuals, std::size_t n, std::size_t lag)
        : n_(n), lag_(lag), common_(n > lag + kCount - 1 ? (n - lag - (kCount - 1)) & ~std::size_t{1} : 0),
          residuals_(residuals) {}

    std::size_t common() const { return common_; }  ///< places that all lags have, an even number
    /// Adds those at an even place and the next one.
    KVMEASURE_INLINE_KERNEL void addPair(std::size_t i) {
        const double* const r = residuals_ + i;
        for (std::size_t quad = 0; quad < kQuads; ++quad) {
            addProduct(r[0], r + lag_ + kLanes * quad, even_[quad]);
            addProduct(r[1], r + lag_ + kLanes * quad + 1, odd_[quad]);
        }
    }
    /// Behind the common places.
    KVMEASURE_INLINE_KERNEL void finish(double* to) {
        for (std::size_t quad = 0; quad < kQuads; ++quad)
            even_[quad] += odd_[quad];
        for (std::size_t i = common_; i + lag_ < n_; ++i) {
            for (std::size_t quad = 0; quad < kQuads; ++quad)
                addProduct(residuals_[i], residuals_ + i + lag_ + kLanes * quad, even_[quad]);
        }
        std::memcpy(to, even_, sizeof(even_));
    }

private:
    static constexpr std::size_t kLanes = 4;
    static constexpr std::size_t kQuads = kCount / kLanes;

    std::size_t n_, lag_, common_;
    const double* residuals_;
    DoubleQuad even_[kQuads] = {};
    DoubleQuad odd_[kQuads] = {};
};

template <std::size_t kCount>
KVMEASURE_INLINE_KERNEL void addProductsAnyhow(const double* residuals, std::size_t n, std::size_t lag,
                                               double* to) {
    LagSums<kCount> sums(residuals, n, lag);
    for (std::size_t i = 0; i < sums.common(); i += 2)
        sums.addPair(i);
    sums.finish(to);
}
template <std::size_t kCount>
KVMEASURE_FOR_AVX2 void addProductsForAvx2(const double* residuals, std::size_t n, std::size_t lag,
                                           double* to) {
    addProductsAnyhow<kCount>(residuals, n, lag, to);
}
template <std::size_t kCount>
void addProducts(const double* residuals, std::size_t n, std::size_t lag, double* to) {
    ofThisMachine(addProductsForAvx2<kCount>, addProductsAnyhow<kCount>)(residuals, n, lag, to);
}

/// The sum at one lag.
inline double productAt(const double* r, std::size_t n, std::size_t lag) {
    const std::size_t common = n > lag ? (n - lag) & ~std::size_t{1} : 0;
    DoublePair pair{0, 0};
    for (std::size_t i = 0; i < common; i += 2)
        pair += pairAt(r + i) * pairAt(r + i + lag);
    double sum = pair[0] + pair[1];
    for (std::size_t i = common; i + lag < n; ++i)
        sum += r[i] * r[i + lag];
    return sum;
}

}  // namespace KvMeasure::Internal
