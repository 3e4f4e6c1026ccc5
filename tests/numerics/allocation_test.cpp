// What the numerics take from the heap, and what they answer when it is empty.

#include <kvmath/numerics/curves.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/optimisers.h>
#include <kvmath/numerics/savitzky_golay.h>
#include <kvmath/numerics/signal.h>
#include <kvmath/numerics/svd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>
#include <vector>

namespace {
int allocations = 0;
bool isEmpty = false;
}  // namespace

// The library takes its blocks with this form; all forms go to one place, so that sanitizers see pairs.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return isEmpty ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size) {
    ++allocations;
    return std::malloc(size);
}
void* operator new(std::size_t size) {
    ++allocations;
    return std::malloc(size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

namespace {

using namespace KvMath;

TEST(Allocation, IsOnePerCallAndNoneForSmallProblems) {
    std::vector<double> in;
    std::vector<double> knots;
    std::vector<double> out(10'000);
    std::vector<double*> rows;
    for (int i = 0; i < 300; ++i) {
        in.push_back(i * i % 1009);
        knots.push_back(i);
        rows.push_back(out.data() + 30 * i);
    }
    double* const w = out.data() + 9900;
    double** const v = rows.data() + 200;
    const auto cost = [](double* p, void*) { return p[0] * p[0]; };
    int used = 0;
    double p[4];
    const struct {
        int small;  // the largest problem that needs none
        std::function<bool(int size)> call;
    } cases[] = {
        {23, [&](int m) { return svdcmp(rows.data(), m, 6, w, v); }},
        {23, [&](int m) { return svdLeastSquares(in.data(), in.data(), m, 6, 0.0, out.data()); }},
        {23, [&](int m) { return pca(in.data(), m, 6, out.data(), w); }},
        {59, [&](int n) { return planeFitting(in.data(), n, p); }},
        {11, [&](int order) { return SavitzkyGolay1dCoefficients(out.data(), order, 12, 0); }},
        {11, [&](int n) { return fminsearch(cost, nullptr, n, out.data(), nullptr, 1.0, 100'000, used); }},
        {200,
         [&](int n) {
             return simulatedAnnealingMinimization(cost, nullptr, n, out.data(), 1.0, 0.5, 0.5, 9, used);
         }},
        {66,
         [&](int n) {
             out[0] = 0.0;
             cubicInterpolation(n, knots.data(), in.data() + 1, 1.0, 1.0, rows.data());
             return out[0] != 0.0;
         }},
        {200, [&](int n) {
             std::fill(out.begin(), out.end(), 0.0);
             out[0] = 1.0;
             convoluteCyclicaly(out.data(), n, in.data() + 1, 1);
             return out[1] != 0.0;
         }}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        for (const int extra : {0, 1}) {
            isEmpty = true;
            EXPECT_EQ(c.call(c.small + extra), extra == 0);
            isEmpty = false;
            allocations = 0;
            EXPECT_TRUE(c.call(c.small + extra));
            EXPECT_EQ(allocations, extra);
        }
    }
}

}  // namespace
