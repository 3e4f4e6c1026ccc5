#pragma once
// Contours and straight pieces of one profile after another, in flat arrays.
//
//     ProfileLines lines;
//     while (next(points)) {
//         lines.extract(points.data(), static_cast<int>(points.size()), params);
//         for (const ProfileLines::Piece& piece : lines.pieces())
//             ...piece.line, lines.contour(piece.contour)[piece.from]...
//     }

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>
#include <kvmath/segments/find_params.h>
#include <kvmath/segments/line_types.h>

#include <memory>
#include <vector>

namespace KvMath {

/// What profile2contours and contour2lines on every contour give, without an array for each. Its storage is
/// used again by the next profile. One thread at a time may use an object.
class KVMATH_EXPORT ProfileLines {
public:
    /// A straight piece of a contour, from vertex to vertex.
    struct Piece {
        LinePP line;      ///< mm, in the order of the points
        int contour = 0;  ///< its number, from 0
        int from = 0;     ///< its first point, a number in the contour
        int to = 0;       ///< its last point, the first one of the next piece; `from` where a corner was cut
    };

    ProfileLines();                                         ///< of no profile
    ~ProfileLines();                                        ///< ends the life of what it returned
    ProfileLines(const ProfileLines&) = delete;             ///< what it returned points into it
    ProfileLines& operator=(const ProfileLines&) = delete;  ///< likewise

    /// Replaces all by the lines of these points, which must live as long as they are asked for. Lengths of
    /// pieces and reversed use are not looked at. n < 1 or null points: no contour. A contour of one point
    /// has no piece.
    void extract(const KvVector2D<double>* pts, int n, const TSFindTemplateParams& params);

    int contourCount() const;  ///< number of contours
    /// All points, contour after contour: the very array that extract() was given where no contour is
    /// interrupted, else a copy. Null before the first extract() and without points.
    const KvVector2D<double>* points() const;
    int contourBegin(int contour) const;  ///< number of its first point in points(); must be a contour
    int contourSize(int contour) const;   ///< number of its points, at least 1; must be a contour
    /// The first point of a contour, which must be one.
    const KvVector2D<double>* contour(int number) const { return points() + contourBegin(number); }
    const std::vector<Piece>& pieces() const;  ///< contour by contour, in the order of the points

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace KvMath
