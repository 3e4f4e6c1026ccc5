#pragma once
// What the benchmarks beside OpenCV share: the peer on one thread.

#include <opencv2/core.hpp>

namespace Peers {

inline const bool kIsOneThread = [] {
    cv::setNumThreads(1);
    return true;
}();

}  // namespace Peers
