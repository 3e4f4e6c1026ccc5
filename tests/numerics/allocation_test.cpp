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
    std::vector<double> in(100'000, 1.0);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = double(i * i % 1009);
    std::vector<double> out(100'000);
    std::vector<double*> rows;
    for (std::size_t i = 0; i < 300; ++i)
        rows.push_back(out.data() + 30 * i);
    std::vector<double*> right(rows.begin() + 200, rows.end());
    const auto cost = [](double* p, void*) { return p[0] * p[0]; };
    int count = 0;
    std::vector<double> knots;
    for (int i = 0; i < 100; ++i)
        knots.push_back(i);
    double p[4];
    const struct {
        const char* name;
        std::function<bool(bool isLarge)> call;
    } cases[] = {
        {"svdcmp",
         [&](bool l) { return svdcmp(rows.data(), l ? 60 : 20, 6, out.data() + 9900, right.data()); }},
        {"svdLeastSquares",
         [&](bool l) { return svdLeastSquares(in.data(), in.data(), l ? 60 : 20, 6, 0.0, out.data()); }},
        {"pca", [&](bool l) { return pca(in.data(), l ? 60 : 20, 6, out.data(), out.data() + 100); }},
        {"planeFitting", [&](bool l) { return planeFitting(in.data(), l ? 60 : 59, p); }},
        {"SavitzkyGolay",
         [&](bool l) { return SavitzkyGolay1dCoefficients(out.data(), l ? 12 : 11, 12, 0); }},
        {"fminsearch",
         [&](bool l) {
             return fminsearch(cost, nullptr, l ? 12 : 11, out.data(), nullptr, 1.0, 100'000, count);
         }},
        {"annealing",
         [&](bool l) {
             return simulatedAnnealingMinimization(cost, nullptr, l ? 201 : 200, out.data(), 1.0, 0.5, 0.5, 9,
                                                   count);
         }},
        {"spline",
         [&](bool l) {
             out[0] = 0.0;
             cubicInterpolation(l ? 67 : 66, knots.data(), in.data() + 1, 1.0, 1.0, rows.data());
             return out[0] != 0.0;
         }},
        {"convolution", [&](bool l) {
             std::fill(out.begin(), out.end(), 0.0);
             out[0] = 1.0;
             convoluteCyclicaly(out.data(), l ? 201 : 200, in.data() + 1, 1);
             return out[1] != 0.0;
         }}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        isEmpty = true;
        allocations = 0;
        EXPECT_TRUE(c.call(false));
        EXPECT_EQ(allocations, 0);
        EXPECT_FALSE(c.call(true));
        isEmpty = false;
        allocations = 0;
        EXPECT_TRUE(c.call(true));
        EXPECT_EQ(allocations, 1);
    }
}

}  // namespace
