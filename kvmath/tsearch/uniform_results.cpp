#include <kvmath/tsearch/uniform_results.h>

namespace KvMath {

namespace {

/// Removes all and, where nobody else holds the list, keeps its room for the next results.
template <class Result>
void removeAll(QList<Result>& results) {
    if (results.isDetached())
        results.erase(results.begin(), results.end());
    else
        results.clear();
}

}  // namespace

void TSUniformResults::clear() {
    removeAll(points);
    removeAll(lines);
    removeAll(angles);
}

bool TSUniformResults::isEmpty() const { return points.isEmpty() && lines.isEmpty() && angles.isEmpty(); }

}  // namespace KvMath
