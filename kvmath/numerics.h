#pragma once
// Small dense mathematics: matrices, decomposition, fits, minimisers, curves.

#include <kvmath/numerics/curves.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/optimisers.h>
#include <kvmath/numerics/random.h>
#include <kvmath/numerics/ring_calibration.h>
#include <kvmath/numerics/savitzky_golay.h>
#include <kvmath/numerics/signal.h>
#include <kvmath/numerics/small_matrix.h>
#include <kvmath/numerics/svd.h>
#include <kvmath/profile/circle_fitting.h>
#include <kvmath/profile/trajectories.h>
