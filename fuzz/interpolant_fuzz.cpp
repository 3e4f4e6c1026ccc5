// The interpolant through any points, asked anywhere.

#include "fuzz/fuzz_input.h"

#include <kvmath/core/interpolant.h>

#include <cmath>

namespace {

constexpr double kMostSamples = 1e6;

void use(const KvMath::KvInterpolant& curve, Fuzz::Input input) {
    const int count = curve.knotCount;
    Fuzz::require(count == curve.knotX.size() && curve.coefficients.size() == 4 * qMax(count - 1, 0),
                  "the build fits its number of knots");
    for (int i = 0; i < count; ++i) {
        Fuzz::require(i == 0 || curve.knotX[i - 1] < curve.knotX[i], "knots ascend");
        Fuzz::require(!std::isnan(curve.calcY(curve.knotX[i])), "there is a value at every knot");
    }
    curve.calcY(input.real());
    const float step = input.real(), from = input.real(), to = input.real();
    if (count > 0 &&
        !((double(curve.knotX.last()) - double(curve.knotX.first())) / double(step) > kMostSamples)) {
        KvMath::KvPointCloud<KvMath::KvPointXY> samples;
        Fuzz::require(curve.generatePointCloud(samples, step, from, to) == samples.points.size(),
                      "the number of samples is returned");
    }
    curve.diff3p(input.real(), input.real(), input.real(), input.real(), input.real(), input.real(),
                 input.real());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const auto type = static_cast<KvMath::_KvInterpolantType_>(input.below(8) == 1 ? input.integer() : 0);
    const Fuzz::Input questions = input;
    KvMath::KvPointCloud<KvMath::KvPointXY> cloud;
    cloud.points = input.points<KvMath::KvPointXY>(1000);
    KvMath::KvInterpolant curve(cloud, type);
    use(curve, questions);
    curve.buildAkimaSpline(&cloud);
    use(KvMath::KvInterpolant(curve), questions);
    cloud.sort(KvMath::KvSortAscending, KvMath::KvSortNone);
    curve.buildAkimaSpline(&cloud);
    use(curve, questions);
    return 0;
}
