#include <kvmath/segments/profile_lines.h>

#include <kvmath/segments/contour_split_p.h>
#include <kvmath/segments/line_extraction_p.h>

namespace KvMath {

struct ProfileLines::State {
    Internal::Contours contours;
    Internal::ContourPieces scratch;
    std::vector<Piece> pieces;
};

ProfileLines::ProfileLines() : state_(new State) {}
ProfileLines::~ProfileLines() = default;

void ProfileLines::extract(const KvVector2D<double>* pts, int n, const TSFindTemplateParams& params) {
    State& state = *state_;
    state.pieces.clear();
    state.contours.begins.clear();
    state.contours.points = nullptr;
    if (n < 1 || pts == nullptr)
        return;
    Internal::gatherContours(pts, n, params.contourGap, state.contours);
    for (int contour = 0; contour < contourCount(); ++contour) {
        const int size = contourSize(contour);
        if (size < 2)
            continue;
        Internal::extractPieces(this->contour(contour), size, params.splitTolerance, params.refineIterations,
                                params.cornerTolerance, state.scratch);
        const std::vector<int>& breaks = state.scratch.breaks;
        const std::vector<KvVector2D<double>>& vertices = state.scratch.vertices;
        for (size_t k = 0; k + 1 < vertices.size(); ++k)
            state.pieces.push_back({LinePP(vertices[k], vertices[k + 1]), contour, breaks[k], breaks[k + 1]});
    }
}

int ProfileLines::contourCount() const {
    return state_->contours.begins.empty() ? 0 : static_cast<int>(state_->contours.begins.size()) - 1;
}

const KvVector2D<double>* ProfileLines::points() const { return state_->contours.points; }

int ProfileLines::contourBegin(int contour) const {
    return state_->contours.begins[static_cast<size_t>(contour)];
}

int ProfileLines::contourSize(int contour) const { return contourBegin(contour + 1) - contourBegin(contour); }

const std::vector<ProfileLines::Piece>& ProfileLines::pieces() const { return state_->pieces; }

}  // namespace KvMath
