#pragma once
// Profiles of the simulated scanner, each of another place of the part.

#include <simulator/profile_simulator.h>
#include <tests/support/random_data.h>

namespace Inputs {

/// A part with noise of 0.02 mm, turned by 2 to 4 degrees and shifted by up to 2 mm.
inline Simulator::SimulatedProfile simulated(const QString& shape, int size, unsigned seed) {
    TestSupport::Draws draws(seed);
    Simulator::ProfileRecipe recipe;
    recipe.shape = shape;
    if (shape == "plate")
        recipe.dimensions["width"] = 200.0;  // beyond the view on both sides: one straight line
    recipe.points = size;
    recipe.noise = 0.02;
    recipe.rotation = draws.real(2.0, 4.0);
    recipe.shiftX = draws.real(-2.0, 2.0);
    recipe.shiftY = 40;
    recipe.seed = seed;
    return *Simulator::simulateProfile(recipe);
}

inline KvMath::KvProfile groove(int size, unsigned seed) { return simulated("v-groove", size, seed).profile; }

}  // namespace Inputs
