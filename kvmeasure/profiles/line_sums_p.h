#pragma once
// Sums over points, from which a line is fitted. Their rounding does not depend on the processor.

#include <kvmeasure/base/double_pair_p.h>

#include <cstring>

namespace KvMeasure::Internal {

/// Sums over points relative to an origin: those of even and those of odd places side by side, since one
/// addition waits for the one before it.
struct QuadSums {
    DoubleQuad first{};    ///< of x and y, even, then odd
    DoubleQuad squares{};  ///< of their squares
    DoubleQuad product{};  ///< of x times y, each twice
};

KVMEASURE_INLINE_KERNEL void addPairs(const Vector* points, int pairs, const Vector& origin, QuadSums& sums) {
    const DoubleQuad zero{origin.x, origin.y, origin.x, origin.y};
    QuadSums own = sums;
    for (int i = 0; i < pairs; ++i) {
        DoubleQuad d;
        std::memcpy(&d, points + 2 * i, sizeof(d));
        d -= zero;
        own.first += d;
        own.squares += d * d;
        own.product += d * DoubleQuad{d[1], d[0], d[3], d[2]};
    }
    sums = own;
}
KVMEASURE_FOR_AVX2 inline void addPairsForAvx2(const Vector* points, int pairs, const Vector& origin,
                                               QuadSums& sums) {
    addPairs(points, pairs, origin, sums);
}

/// Sums over points relative to a place near their middle.
class LineSums {
public:
    explicit LineSums(const Vector& origin) : origin_(origin) {}

    void add(const Vector* first, const Vector* last) {
        const auto count = int(last - first);
        QuadSums sums;
        ofThisMachine(addPairsForAvx2, addPairs)(first, count / 2, origin_, sums);
        for (const int odd : {0, 2}) {
            x_ += sums.first[odd];
            y_ += sums.first[odd + 1];
            xx_ += sums.squares[odd];
            yy_ += sums.squares[odd + 1];
            xy_ += sums.product[odd];
        }
        if (count % 2 != 0)
            change(last[-1], 1);
        count_ += count;
    }
    void take(const Vector* first, const Vector* last) {
        for (const Vector* p = first; p != last; ++p)
            change(*p, -1);
        count_ -= int(last - first);
    }

    int count() const { return count_; }
    Vector mean() const { return {origin_.x + x_ / count_, origin_.y + y_ / count_}; }
    double squaresX() const { return xx_ - x_ * x_ / count_; }
    double squaresY() const { return yy_ - y_ * y_ / count_; }
    double product() const { return xy_ - x_ * y_ / count_; }

private:
    void change(const Vector& p, double sign) {
        const double dx = p.x - origin_.x;
        const double dy = p.y - origin_.y;
        x_ += sign * dx;
        y_ += sign * dy;
        xx_ += sign * (dx * dx);
        yy_ += sign * (dy * dy);
        xy_ += sign * (dx * dy);
    }

    Vector origin_;
    double x_ = 0, y_ = 0, xx_ = 0, yy_ = 0, xy_ = 0;
    int count_ = 0;
};

}  // namespace KvMeasure::Internal
