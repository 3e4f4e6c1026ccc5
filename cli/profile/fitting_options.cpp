#include "cli/profile/fitting_options.h"

#include <kvmeasure/base/error.h>

namespace KvMeasure {

std::vector<Option> fittingOptions() {
    return {{"--raw", "",
             "measures the segments as the search leaves them: not joined, not fitted anew, edges as seen"},
            {"--edge-compensation",
             "on|off",
             "half a point distance is added at each free edge (on)",
             {"on", "off"}}};
}

void applyFittingOptions(const Arguments& arguments, LineFitting& fitting) {
    if (arguments.has("--raw") && arguments.has("--edge-compensation"))
        throw Error("--raw adds nothing at free edges; leave out --edge-compensation");
    fitting.isRaw = fitting.isRaw || arguments.has("--raw");
    if (arguments.has("--edge-compensation"))
        fitting.compensatesEdges = arguments.choice("--edge-compensation") == 0;
}

}  // namespace KvMeasure
