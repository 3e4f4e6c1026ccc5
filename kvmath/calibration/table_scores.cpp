// What tells a good table or a good profile from a bad one.

#include <kvmath/calibration/table_build.h>
#include <kvmath/calibration/table_layout.h>

#include <kvmath/profile/profile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace KvMath {

namespace {

constexpr std::size_t kColumns = kSensorColumns;

bool isRange(double range) { return std::isfinite(range) && range > 0.0; }

/// Rows `low` and `high` of a half, in coordinates per sensor row (two table rows).
void gradientRow(const unsigned short* half, int low, int high, double range, double* out) {
    const unsigned short* a = half + static_cast<std::size_t>(low) * kColumns;
    const unsigned short* b = half + static_cast<std::size_t>(high) * kColumns;
    const double scale = range / kUnitsPerRange * 2.0 / (high - low);
    for (std::size_t c = 0; c < kColumns; ++c) {
        const bool known = a[c] != kEmptyCell && b[c] != kEmptyCell;
        out[c] = known ? (b[c] - a[c]) * scale : std::numeric_limits<double>::quiet_NaN();
    }
}

void gradientHalf(const unsigned short* half, double range, double* out) {
    constexpr int kLast = kTableSensorRows - 1;
    for (int r = 0; r <= kLast; ++r) {
        const int low = r < 2 ? r : r - 2;
        const int high = r > kLast - 2 ? r : r + 2;
        gradientRow(half, low, high, range, out + static_cast<std::size_t>(r) * kColumns);
    }
}

bool isSet(const KvPointXY& p) { return !std::isnan(p.x) && !std::isnan(p.y); }

}  // namespace

bool gradientXandZtables(const unsigned short* tbl, double zRange, double xRange, double* gradientZ,
                         double* gradientX) {
    if (tbl == nullptr || !isRange(zRange) || !isRange(xRange))
        return false;
    if (gradientZ != nullptr)
        gradientHalf(tbl, zRange, gradientZ);
    if (gradientX != nullptr)
        gradientHalf(tbl + kTableHalfRows * kColumns, xRange, gradientX);
    return true;
}

bool checkExposure(const KvProfile& profile, float maxJump, double minScore, double& score) {
    int points = 0;
    int pairs = 0;
    int even = 0;
    const KvPointXY* previous = nullptr;
    for (const KvPointXY& p : profile.points) {
        const KvPointXY* current = isSet(p) ? &p : nullptr;
        points += current != nullptr ? 1 : 0;
        if (current != nullptr && previous != nullptr) {
            ++pairs;
            even += std::abs(current->y - previous->y) <= maxJump ? 1 : 0;
        }
        previous = current;
    }
    const double found = std::min(points / double(kSensorColumns), 1.0);
    score = pairs == 0 ? 0.0 : found * (even / double(pairs));
    return score >= minScore;
}

}  // namespace KvMath
