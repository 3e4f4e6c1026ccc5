#pragma once
// The straight pieces of a profile with the points that they stand on: what the template search keeps of
// them, and what it drops.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <kvmath/profile/profile.h>
#include <kvmath/segments/profile_lines.h>

#include <memory>
#include <vector>

namespace KvMeasure {

/// A straight piece of a contour from vertex to vertex. Neighbours in a contour share a vertex and the point
/// at it.
struct Piece {
    KvMath::LinePP line;  ///< from vertex to vertex in scan order, mm
    int contour = 0;      ///< its number, from 0
    int from = 0;         ///< its first point, a number in the contour
    int to = 0;           ///< its last point, > from
    int segment = -1;     ///< its number among the segments; -1: too short to be one

    int ownPoints() const { return to - from - 1; }  ///< without those that it shares; below 1: none
};

/// The points of a contour in scan order, mm. Copies share them.
class ContourPoints {
public:
    /// `count` of an array of points, from number `first` on.
    ContourPoints(const std::shared_ptr<const Vector[]>& points, int first, int count)
        : points_(points), first_(points.get() + first), count_(count) {}

    int size() const { return count_; }                                    ///< number of points
    const Vector* begin() const { return first_; }                         ///< the first point
    const Vector* end() const { return first_ + count_; }                  ///< after the last point
    const Vector& operator[](int number) const { return first_[number]; }  ///< from 0, not checked

private:
    std::shared_ptr<const Vector[]> points_;
    const Vector* first_;
    int count_;
};

/// What the search makes of a profile: contours, pieces of these, and the pieces long enough to be segments.
struct KVMEASURE_EXPORT ProfilePieces {
    std::vector<ContourPoints> contours;  ///< the points of each
    std::vector<Piece> pieces;            ///< contour by contour, in scan order
    std::vector<int> pieceOf;             ///< the piece of each segment
    Segments segments;                    ///< longer than minLineLength

    /// A point of the contour of a piece, by its number there, which must be one.
    const Vector& point(const Piece& piece, int number) const {
        return contours[std::size_t(piece.contour)][number];
    }
    /// The neighbour of a piece, by its number, before it (step -1) or after it (step 1) in the same contour;
    /// null where the contour ends.
    const Piece* neighbour(int piece, int step) const;
};

/// Which pieces are told apart.
enum class Pieces {
    Joined,   ///< neighbours that the search would not part if it looked at them alone are one piece
    AsFound,  ///< as the search leaves them; the segments are exactly those that findTemplate finds
};

/// Contours, pieces and segments of a profile by the line search of KvMath, with the search parameters of a
/// template or of estimateSearch. Without points all is empty. Points with an unset coordinate join no
/// others.
///
/// The search parts a contour at its farthest point from a chord, which on a surface parallel to the chord
/// is any of its points, by the noise. Joined pieces are one wherever all their points are less than
/// splitTolerance off the chord over both (T. Pavlidis, S. L. Horowitz, IEEE Transactions on Computers
/// C-23 (1974) 860-870). A contour in which that would take more than 64 looks at each of its points keeps
/// the pieces that are left then.
KVMEASURE_EXPORT ProfilePieces findPieces(const KvMath::KvProfile& profile,
                                          const KvMath::TSFindTemplateParams& search,
                                          Pieces pieces = Pieces::Joined);

/// The same of one profile after another, in storage that is used again. One thread at a time may use an
/// object; a copy has storage of its own.
class KVMEASURE_EXPORT PieceFinder {
public:
    PieceFinder();                                     ///< of no profile
    PieceFinder(const PieceFinder& other);             ///< a new one, of no profile either
    PieceFinder& operator=(const PieceFinder& other);  ///< leaves this one as it is
    ~PieceFinder();                                    ///< ends the life of what find() returned

    /// As findPieces. Valid until the next call; copies of it last.
    const ProfilePieces& find(const KvMath::KvProfile& profile, const KvMath::TSFindTemplateParams& search,
                              Pieces pieces = Pieces::Joined);

private:
    struct Storage;
    std::unique_ptr<Storage> storage_;
};

}  // namespace KvMeasure
