#pragma once
// The standard normal distribution from tables, for sums over many points: true to 2e-6, in steps of 1/128
// from -10 to 10.

namespace KvMeasure::Internal {

double shareBelow(double value);        ///< share of the distribution below a value; 0 and 1 beyond the table
double logarithmOfShare(double value);  ///< its natural logarithm; below -10 that of the density, roughly
double hazardAt(double value);          ///< the density over that share; below -10 minus the value

}  // namespace KvMeasure::Internal
