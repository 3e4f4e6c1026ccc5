#include <kvmath/core/stable_sort_p.h>

#include <array>

namespace KvMath::Internal {

void sortByUpperHalf(std::vector<quint64>& entries) {
    constexpr std::size_t kFewEntries = 512;
    if (entries.size() < kFewEntries) {
        std::sort(entries.begin(), entries.end());
        return;
    }
    constexpr int kDigits = 3;
    constexpr int kBits = 11;
    constexpr std::size_t kValues = 1U << kBits;
    const auto digitOf = [](quint64 entry, int digit) {
        return static_cast<std::size_t>(entry >> (32 + digit * kBits)) % kValues;
    };
    std::array<std::array<quint32, kValues>, kDigits> places{};
    for (const quint64 entry : entries)
        for (int digit = 0; digit < kDigits; ++digit)
            ++places[static_cast<std::size_t>(digit)][digitOf(entry, digit)];
    std::vector<quint64> other(entries.size());
    for (int digit = 0; digit < kDigits; ++digit) {
        auto& place = places[static_cast<std::size_t>(digit)];
        if (place[digitOf(entries.front(), digit)] == entries.size())
            continue;  // all have the same
        quint32 sum = 0;
        for (quint32& count : place) {
            const quint32 begin = sum;
            sum += count;
            count = begin;
        }
        for (const quint64 entry : entries)
            other[place[digitOf(entry, digit)]++] = entry;
        entries.swap(other);
    }
}

}  // namespace KvMath::Internal
