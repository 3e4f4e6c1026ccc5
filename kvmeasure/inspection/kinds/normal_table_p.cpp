#include <kvmeasure/inspection/kinds/normal_table_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr int kPerUnit = 128;
constexpr int kFar = 10;

/// Values at all steps, with one more behind the last.
struct Column {
    std::array<double, 2 * kFar * kPerUnit + 2> values{};

    double at(double value) const {
        const double place = (value + kFar) * kPerUnit;
        const auto before = static_cast<std::size_t>(place);
        return values[before] + (place - double(before)) * (values[before + 1] - values[before]);
    }
};

struct NormalTable {
    Column shares, logarithms, hazards;

    NormalTable() {
        constexpr double kRootOf2 = 1.4142135623730951;
        constexpr double kRootOf2Pi = 2.5066282746310002;
        for (std::size_t i = 0; i < shares.values.size(); ++i) {
            const double value = double(i) / kPerUnit - kFar;
            const double share = std::erfc(-value / kRootOf2) / 2;
            shares.values[i] = share;
            logarithms.values[i] = std::log(share);
            hazards.values[i] = std::exp(-value * value / 2) / kRootOf2Pi / share;
        }
    }
};

const NormalTable& table() {
    static const NormalTable made;
    return made;
}

bool isFar(double value) { return !(value > -kFar && value < kFar); }

}  // namespace

double shareBelow(double value) { return isFar(value) ? (value > 0 ? 1 : 0) : table().shares.at(value); }

double logarithmOfShare(double value) {
    const double below = std::min(value, 0.0);
    return isFar(value) ? -below * below / 2 : table().logarithms.at(value);
}

double hazardAt(double value) { return isFar(value) ? std::max(-value, 0.0) : table().hazards.at(value); }

}  // namespace KvMeasure::Internal
