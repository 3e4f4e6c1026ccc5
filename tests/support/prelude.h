#pragma once
// What nearly every test uses: GoogleMock, seeded draws, and the names of the library without its namespace.

#include <kvmath/base/global.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace TestSupport {
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr double kUnset = -1e100;  ///< of bounds and results
}  // namespace TestSupport

using namespace KvMath;
using namespace TestSupport;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
