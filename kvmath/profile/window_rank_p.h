#pragma once
// Order statistics of a window that slides over a stretch of points.

#include <kvmath/profile/point_list_p.h>

#include <vector>

namespace KvMath::Internal {

/// Ranks points by (x, index) among a window of positions. All positions of a stretch are ranked once by
/// sorting; a binary indexed tree over the ranks (Fenwick 1994) counts those inside. Positions count from the
/// start of the stretch; those with NaN x have no rank and must not be inserted.
class WindowRank {
public:
    /// Takes the stretch [first, last); the window is empty. Memory is kept from call to call.
    void reset(ConstPointIterator first, ConstPointIterator last) {
        order_.clear();
        for (auto p = first; p != last; ++p) {
            if (!std::isnan(p->x))
                order_.push_back(static_cast<int>(p - first));
        }
        std::sort(order_.begin(), order_.end(), [first](int a, int b) {
            return first[a].x < first[b].x || (first[a].x == first[b].x && a < b);
        });
        rank_.assign(static_cast<size_t>(last - first), 0);
        for (size_t i = 0; i < order_.size(); ++i)
            rank_[static_cast<size_t>(order_[i])] = i + 1;
        counts_.assign(order_.size() + 1, 0);
        top_ = 1;
        while (2 * top_ <= order_.size())
            top_ *= 2;
    }

    void insert(int position) { add(position, 1); }
    void remove(int position) { add(position, -1); }

    /// Position of the point with `index` others of the window before it; 0 <= index < number in the window.
    int at(int index) const {
        size_t node = 0;
        for (size_t step = top_; step > 0; step /= 2) {
            if (node + step < counts_.size() && counts_[node + step] <= index) {
                node += step;
                index -= counts_[node];
            }
        }
        return order_[node];
    }

private:
    void add(int position, int change) {
        for (size_t i = rank_[static_cast<size_t>(position)]; i < counts_.size(); i += i & (~i + 1))
            counts_[i] += change;
    }

    std::vector<int> order_;    ///< positions by rank
    std::vector<size_t> rank_;  ///< 1-based rank of each position
    std::vector<int> counts_;   ///< the tree, 1-based
    size_t top_ = 1;            ///< greatest power of two within the tree
};

/// The same answers for narrow windows, from a list of the points inside in order of (x, index): a step
/// shifts a few entries and needs no sort of the stretch. Positions are inserted in ascending order.
class NarrowWindowRank {
public:
    static constexpr int kWidest = 64;  ///< points of a window

    void reset(ConstPointIterator first, ConstPointIterator /*last*/) {
        points_ = first;
        count_ = 0;
    }

    void insert(int position) {
        const float x = points_[position].x;
        int k = count_++;
        for (; k > 0 && entries_[k - 1].x > x; --k)
            entries_[k] = entries_[k - 1];
        entries_[k] = {x, position};
    }

    void remove(int position) {
        int k = 0;
        while (entries_[k].position != position)
            ++k;
        for (--count_; k < count_; ++k)
            entries_[k] = entries_[k + 1];
    }

    int at(int index) const { return entries_[index].position; }

private:
    struct Entry {
        float x;
        int position;
    };
    ConstPointIterator points_;
    Entry entries_[kWidest + 1];  // a step inserts the next point before it removes the last
    int count_ = 0;
};

}  // namespace KvMath::Internal
