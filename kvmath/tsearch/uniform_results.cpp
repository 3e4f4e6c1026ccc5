#include <kvmath/tsearch/uniform_results.h>

namespace KvMath {

void TSUniformResults::clear() {
    points.clear();
    lines.clear();
    angles.clear();
}

bool TSUniformResults::isEmpty() const { return points.isEmpty() && lines.isEmpty() && angles.isEmpty(); }

}  // namespace KvMath
