#pragma once
// What the benchmarks beside OpenCV share: profiles of the simulated scanner, and the peer on one thread.

#include <kvmath/profile/profile.h>
#include <simulator/profile_simulator.h>

#include <opencv2/core.hpp>

namespace Peers {

inline const bool kIsOneThread = [] {
    cv::setNumThreads(1);
    return true;
}();

/// A part with noise of 0.02 mm, turned by 3 degrees.
inline Simulator::SimulatedProfile simulated(const QString& shape, int size) {
    Simulator::ProfileRecipe recipe;
    recipe.shape = shape;
    if (shape == "plate")
        recipe.dimensions["width"] = 200.0;  // beyond the view on both sides: one straight line
    recipe.points = size;
    recipe.noise = 0.02;
    recipe.rotation = 3;
    recipe.shiftY = 40;
    return *Simulator::simulateProfile(recipe);
}

inline KvMath::KvProfile groove(int size) { return simulated("v-groove", size).profile; }

}  // namespace Peers
