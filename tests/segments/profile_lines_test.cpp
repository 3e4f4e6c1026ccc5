#include <kvmath/segments/profile_lines.h>

#include <tests/support/literal_lines.h>
#include <tests/support/point_runs.h>
#include <tests/support/prelude.h>

namespace {

// One object for all runs: nothing of a run is left in the next one.
TEST(ProfileLines, EqualTheLiteralStepsRunAfterRun) {
    const double gaps[] = {1.5, 0.5, 3, 0, 1e300, std::nan(""), 0.05};
    Draws draws(5);
    ProfileLines lines;
    int interrupted = 0;
    for (int trial = 0; trial < 5000; ++trial) {
        SCOPED_TRACE(trial);
        const PointRun run = drawnRun(draws);
        const TSFindTemplateParams params{gaps[draws.integer(0, 6)], 0.1, draws.integer(0, 3), 1, false, 0.5};
        lines.extract(run.data(), static_cast<int>(run.size()), params);
        const auto expected = Literal::contours(run, params.contourGap);
        ASSERT_EQ(size_t(lines.contourCount()), expected.size());
        interrupted += lines.points() != run.data() ? 1 : 0;
        size_t next = 0;
        for (int k = 0; k < lines.contourCount(); ++k) {
            const PointRun contour(lines.contour(k), lines.contour(k) + lines.contourSize(k));
            ASSERT_TRUE(sameBits(contour, expected[size_t(k)])) << k;
            if (contour.size() < 2)
                continue;
            const auto pieces = Literal::pieces(contour, 0.1, params.refineIterations, 0.5);
            for (size_t i = 0; i + 1 < pieces.first.size(); ++i) {
                ASSERT_LT(next, lines.pieces().size());
                const ProfileLines::Piece& piece = lines.pieces()[next++];
                ASSERT_EQ(piece.contour, k);
                ASSERT_EQ(piece.from, pieces.first[i]);
                ASSERT_EQ(piece.to, pieces.first[i + 1]);
                ASSERT_TRUE(
                    sameBits({piece.line.p1, piece.line.p2}, {pieces.second[i], pieces.second[i + 1]}));
            }
        }
        ASSERT_EQ(next, lines.pieces().size());
    }
    EXPECT_GT(interrupted, 100);
    lines.extract(nullptr, 3, {1, 1, 1, 1, false, 1});
    EXPECT_EQ(lines.contourCount(), 0);
    EXPECT_TRUE(lines.pieces().empty());
}

}  // namespace
