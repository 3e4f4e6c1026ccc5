// Pieces of one surface that the search parts are joined, and no others. With KVMEASURE_RUNS=10000 that many
// grooves of each slope are looked at, and what the search alone makes of them is printed.

#include <kvmeasure/profiles/line_pieces.h>
#include <kvmeasure/profiles/search_estimate.h>
#include <tests/kvmeasure/calls.h>

#include <cstdio>

namespace {

/// Whether all points of the pieces from one to another lie near the line over both.
bool isStraight(const ProfilePieces& found, const Piece& first, const Piece& last, double tolerance) {
    const Vector from = first.line.p1;
    const Vector along(last.line.p2.x - from.x, last.line.p2.y - from.y);
    for (int i = first.from + 1; i < last.to; ++i) {
        const Vector& p = found.point(first, i);
        const double square = along.x * (p.y - from.y) - along.y * (p.x - from.x);
        if (!(std::fabs(square) < tolerance * std::hypot(along.x, along.y)))
            return false;
    }
    return true;
}

/// Lands, and a groove with a floor as wide as it is deep.
KvMath::KvProfile scanOfAGroove(double slope, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal(0, 0.01);
    KvMath::KvProfile profile;
    for (double x = -8; x < 8; x += 0.02)
        profile.points.append(
            {float(x), float(std::clamp(slope * (std::fabs(x) - 2) - 4, -4.0, 0.0) + normal(random))});
    return profile;
}

/// Whether the pieces are lands, walls and floor, and end where these do.
bool areSurfaces(const ProfilePieces& found, double slope, double tolerance) {
    const double x[] = {-8, -2 - 4 / slope, -2, 2, 2 + 4 / slope, 8};
    const double y[] = {0, 0, -4, -4, 0, 0};
    if (found.pieces.size() != 5 || found.segments.size() != 5)
        return false;
    for (int i = 0; i < 10; ++i) {
        const KvMath::LinePP& line = found.segments[i / 2];
        const Vector& end = i % 2 == 0 ? line.p1 : line.p2;
        const int k = (i + 1) / 2;
        if (std::fabs(end.x - x[k]) > tolerance || std::fabs(end.y - y[k]) > tolerance / 8)
            return false;
    }
    return true;
}

/// Each joined piece is pieces as found, from one to another, and ends where the next one begins.
void expectWholePieces(const ProfilePieces& apart, const ProfilePieces& found) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < found.pieces.size(); ++i, ++at) {
        const Piece& piece = found.pieces[i];
        ASSERT_LT(at, apart.pieces.size());
        if (apart.pieces[at].from == apart.pieces[at].to && piece.from != piece.to)
            ++at;  // a corner that is not cut any more
        ASSERT_EQ(piece.contour, apart.pieces[at].contour);
        ASSERT_EQ(piece.from, apart.pieces[at].from);
        while (at + 1 < apart.pieces.size() && apart.pieces[at].to != piece.to)
            ++at;
        ASSERT_EQ(piece.to, apart.pieces[at].to);
        ASSERT_EQ(piece.contour, apart.pieces[at].contour);
        if (i == 0 || found.pieces[i - 1].contour != piece.contour)
            continue;
        const Vector& end = found.pieces[i - 1].line.p2;
        const Vector& start = piece.line.p1;
        EXPECT_TRUE((end.x == start.x && end.y == start.y) || !std::isfinite(end.x + end.y)) << i;
    }
    EXPECT_EQ(at, apart.pieces.size());
}

TEST(MeasuredLines, PiecesOfAnyProfileStayWhole) {
    int joined = 0;
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        std::normal_distribution<double> normal;
        KvMath::KvProfile profile;
        Vector p(0, 0);
        for (int i = 0; i < 400; ++i) {  // a walk that jumps, and falls upright at times
            p = Vector(p.x + (seed % 3 == 0 ? 0.1 * normal(random)
                              : i % 5 == 0  ? 0
                                            : 0.1),
                       p.y + 0.05 * normal(random) * (i % 50 == 0 ? 30 : 1));
            profile.points.append({float(p.x), float(p.y)});
        }
        KvMath::TSFindTemplateParams search = estimateSearch(profile);
        search.refineIterations = int(seed % 4);
        for (const double share : {0.03, 0.3, 1.0}) {
            search.cornerTolerance = share;
            KvMath::TSFindTemplateParams narrow = search;
            narrow.splitTolerance *= share;
            const ProfilePieces apart = findPieces(profile, narrow, Pieces::AsFound);
            const ProfilePieces found = findPieces(profile, narrow);
            expectWholePieces(apart, found);
            joined += int(apart.pieces.size()) - int(found.pieces.size());
        }
    }
    EXPECT_GT(joined, 300);
}

TEST(MeasuredLines, PiecesOfOneSurfaceAreJoined) {
    const int wanted = qEnvironmentVariableIntValue("KVMEASURE_RUNS");
    const int runs = std::max(60, wanted);
    int parted = 0, wrong = 0;
    for (const double slope : {1.0, 2.0, 4.0}) {
        for (std::uint64_t seed = 1; seed <= std::uint64_t(runs); ++seed) {
            SCOPED_TRACE(testing::Message() << slope << ", seed " << seed);
            const KvMath::KvProfile profile = scanOfAGroove(slope, seed);
            const auto search = estimateSearch(profile);
            const ProfilePieces apart = findPieces(profile, search, Pieces::AsFound);
            const ProfilePieces found = findPieces(profile, search);
            parted += areSurfaces(apart, slope, search.splitTolerance) ? 0 : 1;
            wrong += areSurfaces(found, slope, search.splitTolerance) ? 0 : 1;
            expectWholePieces(apart, found);
            for (std::size_t i = 1; i < found.pieces.size(); ++i) {
                const Piece& before = found.pieces[i - 1];
                const Piece& piece = found.pieces[i];
                EXPECT_FALSE(before.to > before.from && piece.to > piece.from &&
                             isStraight(found, before, piece, search.splitTolerance));
            }
        }
    }
    EXPECT_LE(wrong, 3 * runs / 1000);
    EXPECT_GT(parted, runs / 2);  // the search alone parts floors
    if (wanted > 0)
        std::printf("not lands, walls and floor: %d of %d, %d by the search alone\n", wrong, 3 * runs,
                    parted);
}

TEST(MeasuredLines, PiecesThatFoldBackAreNotJoined) {
    KvMath::KvProfile profile;
    for (int i = 0; i <= 100; ++i)
        profile.points.append({float(0.1 * i), 0});
    for (int i = 1; i <= 50; ++i)
        profile.points.append({float(10 - 0.1 * i), float(0.0004 * i)});
    for (int i = 1; i <= 80; ++i)
        profile.points.append({float(5 - 0.001 * i), float(0.02 + 0.1 * i)});
    KvMath::TSFindTemplateParams search = estimateSearch(profile);
    search.splitTolerance = 0.1;
    EXPECT_EQ(findPieces(profile, search).segments.size(), 3);
    search.splitTolerance = std::nan("");
    const auto count = findPieces(profile, search, Pieces::AsFound).pieces.size();
    EXPECT_EQ(findPieces(profile, search).pieces.size(), count);
}

}  // namespace
