// Faces of cells against the additions themselves.

#include <kvmath/core/cell_edges_p.h>

#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(CellEdges, AreTheSumsOfSingleSteps) {
    TestSupport::Draws draw(31);
    for (int round = 0; round < 300; ++round) {
        const float step =
            static_cast<float>(draw.integer(1, 4096)) * (draw.chance(0.5) ? 0x1p-11F : 0.000371F);
        const float from = static_cast<float>(draw.real(-1.0, 1.0) * std::pow(2.0, draw.integer(-4, 14)));
        const float to = from + step * static_cast<float>(draw.real(0.0, 20000.0));
        const KvMath::Internal::CellEdges edges(from, to, step);
        int i = 0;
        for (float x = from; x < to; ++i) {
            ASSERT_EQ(edges.at(i), x) << from << " + " << i << " * " << step;
            ASSERT_EQ(edges.lastNotAbove(x), i);
            ASSERT_EQ(edges.lastNotAbove(std::nextafterf(x, -INFINITY)), i - 1);
            const float next = x + step;
            x = next == x ? to : next;
        }
        EXPECT_EQ(edges.count(), i);
    }
}

}  // namespace
