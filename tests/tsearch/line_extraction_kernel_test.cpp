#include <kvmath/tsearch/line_extraction_p.h>

#include <tests/support/literal_lines.h>
#include <tests/support/point_runs.h>

#include <gtest/gtest.h>

using namespace KvMath;
using namespace TestSupport;

namespace {

TEST(ExtractSegments, EqualsTheStepsOneByOneAndAppends) {
    Draws draws(5);
    for (int trial = 0; trial < 3000; ++trial) {
        SCOPED_TRACE(trial);
        const PointRun run = drawnRun(draws);
        const TSFindTemplateParams params{
            draws.chance(0.5) ? 0.6 : 0.2, 0.1, draws.integer(0, 3), 0.3, true, 0.5};
        PointRun expected(2);
        for (const PointRun& contour : Literal::contours(run, params.contourGap)) {
            const PointRun v = Literal::pieces(contour, 0.1, params.refineIterations, 0.5).second;
            for (size_t k = 0; k + 1 < v.size(); ++k)
                if (Literal::distance(v[k + 1], v[k]) > 0.3)
                    expected.insert(expected.end(), {v[k], v[k + 1]});
        }
        QList<LinePP> segments{LinePP()};
        Internal::extractSegments(run.data(), static_cast<int>(run.size()), params, segments);
        PointRun found;
        for (const LinePP& s : segments)
            found.insert(found.end(), {s.p1, s.p2});
        ASSERT_TRUE(sameBits(found, expected));
    }
}

}  // namespace
