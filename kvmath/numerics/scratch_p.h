#pragma once
// Work storage of one call.

#include <array>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>

namespace KvMath::Internal {

/// rows x columns doubles without initial values: a few within the object, more in one allocation.
class Scratch {
public:
    explicit Scratch(std::ptrdiff_t rows, std::ptrdiff_t columns = 1) {  // neither below 0
        constexpr std::ptrdiff_t kMost = std::numeric_limits<std::ptrdiff_t>::max() /
                                         std::ptrdiff_t{sizeof(double)};  // no product overflows
        if (rows != 0 && columns > kMost / rows)
            return;
        const auto size = static_cast<std::size_t>(rows * columns);
        if (size > small_.size())
            large_.reset(new (std::nothrow) double[size]);
        data_ = size > small_.size() ? large_.get() : small_.data();
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    /// Null when there is not as much memory.
    double* data() { return data_; }

private:
    double* data_ = nullptr;
    std::array<double, 200> small_;  // a 20 x 6 decomposition needs no heap
    std::unique_ptr<double[]> large_;
};

}  // namespace KvMath::Internal
