// The points of a profile lie in one array, in which the search looks for contours and pieces. They are
// copied again only where a contour is interrupted.

#include <kvmeasure/profiles/line_pieces.h>

#include <kvmeasure/profiles/piece_join_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

struct PieceFinder::Storage {
    KvMath::ProfileLines lines;
    ProfilePieces found;
    std::shared_ptr<Vector[]> points;  ///< of the last profile, which copies of its pieces share
    int room = 0;                      ///< points that fit into it

    Vector* pointsFor(int count);
    void addContours(int count);
    void addPieces(const KvMath::TSFindTemplateParams& search, Pieces pieces);
};

/// An array that nobody else reads.
Vector* PieceFinder::Storage::pointsFor(int count) {
    if (room < count || points.use_count() > 1) {
        points.reset(new Vector[std::size_t(count)]);
        room = count;
    }
    return points.get();
}

void PieceFinder::Storage::addContours(int count) {
    if (lines.points() != points.get()) {
        const Vector* const gathered = lines.points();
        const std::shared_ptr<Vector[]> own(new Vector[std::size_t(count)]);
        std::copy(gathered, gathered + count, own.get());
        points = own;
        room = count;
    }
    for (int i = 0; i < lines.contourCount(); ++i)
        found.contours.emplace_back(points, lines.contourBegin(i), lines.contourSize(i));
}

/// A piece is a segment by the same comparison as in the template search.
void PieceFinder::Storage::addPieces(const KvMath::TSFindTemplateParams& search, Pieces pieces) {
    for (const KvMath::ProfileLines::Piece& line : lines.pieces())
        found.pieces.push_back({line.line, line.contour, line.from, line.to, -1});
    if (pieces == Pieces::Joined)
        Internal::joinPieces(found.contours, {search.splitTolerance, search.cornerTolerance}, found.pieces);
    for (std::size_t i = 0; i < found.pieces.size(); ++i) {
        Piece& piece = found.pieces[i];
        const double dx = piece.line.p2.x - piece.line.p1.x;
        const double dy = piece.line.p2.y - piece.line.p1.y;
        if (std::sqrt(dx * dx + dy * dy) > search.minLineLength) {
            piece.segment = static_cast<int>(found.segments.size());
            found.segments.append(piece.line);
            found.pieceOf.push_back(static_cast<int>(i));
        }
    }
}

PieceFinder::PieceFinder() : storage_(new Storage) {}
PieceFinder::PieceFinder(const PieceFinder& /*other*/) : PieceFinder() {}
PieceFinder& PieceFinder::operator=(const PieceFinder& /*other*/) { return *this; }
PieceFinder::~PieceFinder() = default;

const ProfilePieces& PieceFinder::find(const KvMath::KvProfile& profile,
                                       const KvMath::TSFindTemplateParams& search, Pieces pieces) {
    ProfilePieces& found = storage_->found;
    found.contours.clear();
    found.pieces.clear();
    found.pieceOf.clear();
    found.segments.clear();
    const auto count = static_cast<int>(profile.points.size());
    Vector* const points = storage_->pointsFor(count);
    const auto from = profile.points.constBegin();
    for (int i = 0; i < count; ++i) {  // by index, so that several are converted at a time
        points[i].x = double(from[i].x);
        points[i].y = double(from[i].y);
    }
    storage_->lines.extract(points, count, search);
    if (count > 0)
        storage_->addContours(count);
    storage_->addPieces(search, pieces);
    return found;
}

const Piece* ProfilePieces::neighbour(int piece, int step) const {
    const int at = piece + step;
    if (at < 0 || at >= static_cast<int>(pieces.size()))
        return nullptr;
    const Piece& found = pieces[std::size_t(at)];
    return found.contour == pieces[std::size_t(piece)].contour ? &found : nullptr;
}

ProfilePieces findPieces(const KvMath::KvProfile& profile, const KvMath::TSFindTemplateParams& search,
                         Pieces pieces) {
    return PieceFinder().find(profile, search, pieces);
}

}  // namespace KvMeasure
