#pragma once
// Lower faces of the cells of one axis, as repeated float addition makes them.

#include <vector>

namespace KvMath::Internal {

/// The sequence E[0] = from, E[i + 1] = E[i] + step in float, while below `to` and growing. There are fewer
/// than 2^26 of them, since an addition of less than half a unit in the last place changes nothing. They are
/// kept as stretches of equal increment, a few per power of two, so that memory and time do not depend on the
/// number of cells.
class CellEdges {
public:
    CellEdges(float from, float to, float step);

    int count() const { return count_; }
    float at(int i) const;            ///< E[i], 0 <= i < count()
    int lastNotAbove(float p) const;  ///< greatest i with E[i] <= p, or -1; p is not NaN

private:
    struct Stretch {
        double first, increment;  ///< edges first + k * increment, exact in double
        int index, count;
    };
    static Stretch stretchFrom(float x, float to, float step);
    static float edge(const Stretch& stretch, int k);

    std::vector<Stretch> stretches_;
    int count_ = 0;
};

}  // namespace KvMath::Internal
