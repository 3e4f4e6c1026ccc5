// The public steps hand over arrays of their own; extractSegments reads the points of an uninterrupted
// contour where they are and uses the same scratch for all contours. Allocations per contour, none per point.

#include <kvmath/segments/line_extraction.h>

#include <kvmath/segments/contour_group_p.h>
#include <kvmath/segments/contour_split_p.h>
#include <kvmath/segments/line_extraction_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath {

using namespace Internal;

namespace {

using Point = KvVector2D<double>;

void appendSegments(const std::vector<Point>& vertices, double minLength, std::vector<LinePP>& segments) {
    for (size_t k = 0; k + 1 < vertices.size(); ++k) {
        const double dx = vertices[k + 1].x - vertices[k].x;
        const double dy = vertices[k + 1].y - vertices[k].y;
        if (std::sqrt(dx * dx + dy * dy) > minLength)
            segments.emplace_back(vertices[k], vertices[k + 1]);
    }
}

}  // namespace

void Internal::gatherContours(const Point* pts, int n, double gap, Contours& contours) {
    const int count = groupContours(pts, n, gap, contours.runs, contours.ends);
    std::vector<int>& begins = contours.begins;
    begins.assign(static_cast<size_t>(count) + 1, 0);
    for (const ContourRun& run : contours.runs)
        begins[static_cast<size_t>(run.contour) + 1] += run.to - run.from;
    for (size_t k = 1; k < begins.size(); ++k)
        begins[k] += begins[k - 1];
    contours.points = pts;
    if (contours.runs.size() == static_cast<size_t>(count))
        return;
    contours.gathered.resize(static_cast<size_t>(n));
    std::vector<int>& at = contours.at;
    at.assign(begins.begin(), begins.end() - 1);
    for (const ContourRun& run : contours.runs) {
        int& to = at[static_cast<size_t>(run.contour)];
        std::copy(pts + run.from, pts + run.to, contours.gathered.data() + to);
        to += run.to - run.from;
    }
    contours.points = contours.gathered.data();
}

void profile2contours(const Point* pts, int n, double gap, Point**& contours, int& nContours, int*& sizes) {
    contours = nullptr;
    nContours = 0;
    sizes = nullptr;
    if (n < 1 || pts == nullptr)
        return;
    Contours found;
    gatherContours(pts, n, gap, found);
    const size_t count = found.begins.size() - 1;
    contours = new Point*[count];
    sizes = new int[count];
    nContours = static_cast<int>(count);
    for (size_t k = 0; k < count; ++k) {
        sizes[k] = found.begins[k + 1] - found.begins[k];
        contours[k] = new Point[static_cast<size_t>(sizes[k])];
        std::copy(found.points + found.begins[k], found.points + found.begins[k + 1], contours[k]);
    }
}

void contour2lines(const Point* pts, int n, double tolerance, int iterations, double cornerTolerance,
                   int*& breaks, int& nBreaks, Point*& vertices) {
    breaks = nullptr;
    nBreaks = 0;
    vertices = nullptr;
    if (n < 1 || pts == nullptr)
        return;
    if (n == 1) {
        breaks = new int[1]{0};
        nBreaks = 1;
        return;
    }
    ContourPieces pieces;
    extractPieces(pts, n, tolerance, iterations, cornerTolerance, pieces);
    breaks = new int[pieces.breaks.size()];
    nBreaks = static_cast<int>(pieces.breaks.size());
    vertices = new Point[pieces.vertices.size()];
    std::copy(pieces.breaks.begin(), pieces.breaks.end(), breaks);
    std::copy(pieces.vertices.begin(), pieces.vertices.end(), vertices);
}

void Internal::extractSegments(const Point* pts, int n, const TSFindTemplateParams& params,
                               SegmentScratch& scratch, std::vector<LinePP>& segments) {
    segments.clear();
    if (n < 1)
        return;
    Contours& contours = scratch.contours;
    ContourPieces& pieces = scratch.pieces;
    gatherContours(pts, n, params.contourGap, contours);
    pieces.reserve();
    for (size_t k = 0; k + 1 < contours.begins.size(); ++k) {
        const int size = contours.begins[k + 1] - contours.begins[k];
        if (size < 2)
            continue;
        extractPieces(contours.points + contours.begins[k], size, params.splitTolerance,
                      params.refineIterations, params.cornerTolerance, pieces);
        appendSegments(pieces.vertices, params.minLineLength, segments);
    }
}

}  // namespace KvMath
