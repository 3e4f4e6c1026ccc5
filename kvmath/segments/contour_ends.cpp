#include <kvmath/segments/contour_ends_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

namespace {

using Point = KvVector2D<double>;

constexpr int kFew = 48;  // ends up to here are compared one by one

bool isFinite(const Point& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

double distance(const Point& p, const Point& q) {
    const double dx = p.x - q.x;
    const double dy = p.y - q.y;
    return std::sqrt(dx * dx + dy * dy);
}

}  // namespace

int ContourEnds::append(int point) {
    const int contour = count();
    ends_.emplace_back();
    ends_.back().p = pts_[point];
    const bool isFull = isGrid() ? ends_.size() > heads_.size() : contour >= kFew;
    if (isFull && std::isfinite(gap_))
        makeGrid();
    else if (isGrid())
        insert(contour);
    return contour;
}

void ContourEnds::setEnd(int contour, int point) {
    if (isGrid())
        remove(contour);
    ends_[static_cast<size_t>(contour)].p = pts_[point];
    if (isGrid())
        insert(contour);
}

int ContourEnds::nearest(const Point& p) const {
    Best best{gap_};
    if (std::isnan(p.x) || std::isnan(p.y))
        return -1;
    if (!isGrid()) {
        for (int contour = 0; contour < count(); ++contour)
            compare(p, contour, best);
        return best.contour;
    }
    if (!isFinite(p))
        return -1;  // infinitely far from all
    const double x = std::floor(p.x / cell_);
    const double y = std::floor(p.y / cell_);
    for (int k = 0; k < 9; ++k) {
        const int row = k / 3;
        const int column = k % 3;
        const int head = heads_[bucket(x + column - 1, y + row - 1)];
        for (int contour = head; contour >= 0; contour = ends_[static_cast<size_t>(contour)].next)
            compare(p, contour, best);
    }
    return best.contour;
}

void ContourEnds::compare(const Point& p, int contour, Best& best) const {
    const double d = distance(p, ends_[static_cast<size_t>(contour)].p);
    if (d < best.distance || (d == best.distance && contour > best.contour))
        best = {d, contour};
}

// Cell numbers stay below 2^30, where a quotient is exact to 2^-23; the margin of 1e-6 covers two of them.
// Distances below 1e-150 vanish when they are squared; no cell is narrower.
void ContourEnds::makeGrid() {
    if (!isGrid()) {
        double extent = 0;
        for (const Point* p = pts_; p != pts_ + n_; ++p) {
            if (isFinite(*p))
                extent = std::max({extent, std::fabs(p->x), std::fabs(p->y)});
        }
        cell_ = std::max({gap_ * (1 + 1e-6), extent * 0x1p-30, 1e-150});
    }
    size_t size = 256;
    while (size < 2 * ends_.size())
        size *= 2;
    heads_.assign(size, -1);
    for (int contour = 0; contour < count(); ++contour)
        insert(contour);
}

void ContourEnds::insert(int contour) {
    End& end = ends_[static_cast<size_t>(contour)];
    end.bucket = -1;
    if (!isFinite(end.p))
        return;
    const size_t b = bucket(std::floor(end.p.x / cell_), std::floor(end.p.y / cell_));
    end.bucket = static_cast<int>(b);
    end.next = heads_[b];
    heads_[b] = contour;
}

void ContourEnds::remove(int contour) {
    const End& end = ends_[static_cast<size_t>(contour)];
    if (end.bucket < 0)
        return;
    int* link = &heads_[static_cast<size_t>(end.bucket)];
    while (*link != contour)
        link = &ends_[static_cast<size_t>(*link)].next;
    *link = end.next;
}

size_t ContourEnds::bucket(double cellX, double cellY) const {
    const auto x = static_cast<quint64>(static_cast<qint64>(cellX));
    const auto y = static_cast<quint64>(static_cast<qint64>(cellY));
    const quint64 mixed = x * 0x9E3779B97F4A7C15ULL + y * 0xC2B2AE3D27D4EB4FULL;
    return static_cast<size_t>((mixed ^ (mixed >> 32)) & (heads_.size() - 1));
}

}  // namespace KvMath::Internal
