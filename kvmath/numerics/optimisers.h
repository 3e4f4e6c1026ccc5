#pragma once
// Derivative-free minimisers of a cost over a few parameters.

#include <kvmath/base/global.h>

namespace KvMath {

/// Downhill simplex (J. A. Nelder, R. Mead, Comput. J. 7 (1965) 308-313; reflection 1, expansion 2,
/// contraction 0.5, shrink 0.5 towards the best vertex).
///
/// x (n): start in, best vertex out. step (n): initial step of each parameter, or null: 5 % of it, 0.00025
/// where it is 0. True when 2 |worst - best| / (|worst| + |best| + 1e-10) < tol. False when maxEvaluations is
/// used up before; x is then the first vertex of the simplex, not always the best. evaluations counts the
/// trials, without the n + 1 of the first simplex, and can pass the limit by the trials of one round. A cost
/// of NaN counts as +infinity, so such a place is never accepted in place of a number. n < 1: true,
/// evaluations 0, x untouched. A tol that is not > 0 ends by the limit only. `data` is handed to f unchanged.
/// Beyond 11 parameters one allocation per call; false, x untouched, where memory is short.
KVMATH_EXPORT bool fminsearch(double (*f)(double* params, void* data), void* data, int n, double* x,
                              const double* step, double tol, int maxEvaluations, int& evaluations);

/// Simulated annealing (S. Kirkpatrick, C. D. Gelatt, M. P. Vecchi, Science 220 (1983) 671-680) with
/// candidates spread ever wider as the iterations go on and the temperature falls.
///
/// x (n): start in, last accepted place out (not always the best seen). The temperature starts at T0, is
/// multiplied by alpha after each rejected move only, and ends the search at or below Tmin; maxIterations
/// ends it too. A cost of NaN makes the move an accepted one. Returns iterations <= maxIterations: true
/// except for a negative limit. T0 <= Tmin or a NaN temperature: at once, iterations 0. Random numbers are
/// those of randu and randn: one of each, in this order, per component, and one randu more for an uphill
/// move. n < 1: the temperature still runs. Beyond 200 parameters one allocation; false, iterations 0, where
/// memory is short.
KVMATH_EXPORT bool simulatedAnnealingMinimization(double (*f)(double* params, void* data), void* data, int n,
                                                  double* x, double T0, double Tmin, double alpha,
                                                  int maxIterations, int& iterations);

}  // namespace KvMath
