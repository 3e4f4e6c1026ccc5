// Clouds in space of any points: order, parts, filters, one after another on what the last one left.

#include "fuzz/fuzz_input.h"

#include <kvmath/core/point_cloud.h>

#include <algorithm>
#include <iterator>

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
using Fuzz::Input;

void extract(Cloud& cloud, Input& in) {
    Cloud part;
    cloud.extract(part, in.real(), in.real(), in.real(), in.real(), in.real(), in.real(), in.flag());
    Fuzz::require(part.points.size() <= cloud.points.size(), "a part is no more than the whole");
}

void remove(Cloud& cloud, Input& in) {
    QList<int> indices;
    for (int i = in.below(20); i > 0; --i)
        indices.append(in.integer());
    cloud.removeIndeces(indices);
}

void section(Cloud& cloud, Input& in) {
    Cloud part;
    cloud.calcSection(part, in.real(), in.real());
}

void (*const operations[])(Cloud&, Input&) = {
    [](Cloud& c, Input& in) { c.sort(KvMath::KvSortOrder(in.below(3)), KvMath::KvSortOrder(in.below(3))); },
    [](Cloud& c, Input& in) { c.rotate(in.real(), in.real(), in.real()); },
    [](Cloud& c, Input& in) { c.trim(in.real(), in.real(), in.real(), in.real(), in.real(), in.real()); },
    [](Cloud& c, Input&) { c.buildZIndex(); },
    [](Cloud& c, Input&) { c.calcRange(); },
    [](Cloud& c, Input& in) { c.cubicFilter(in.real(), in.below(6)); },
    [](Cloud& c, Input& in) { c.cubicFilter2(in.real(), in.real(), in.below(6), in.flag()); },
    [](Cloud& c, Input& in) { c.clearEdgeEffect(in.real()); },
    [](Cloud& c, Input& in) { c.shift(in.real(), in.real(), in.real()); },
    [](Cloud& c, Input& in) {
        c.extractInsulatingTape(in.real(), in.real(), in.real(), in.real(), in.real(), in.real());
    },
    [](Cloud& c, Input& in) { c.removePointsByYLevel(in.real(), in.flag()); },
    extract,
    remove,
    section,
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size), tail(data, size - std::min(size, size_t(64)));
    Cloud cloud;
    cloud.points = tail.points<KvMath::KvPointXYZ>(200);
    for (int steps = 1 + input.below(8); steps > 0; --steps)
        operations[size_t(input.below(std::size(operations)))](cloud, input);
    KvMath::KvPointXYZ middle;
    cloud.calcCenterPoint(middle);
    cloud.caclCenterMassPoint(middle);
    return 0;
}
