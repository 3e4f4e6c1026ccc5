#pragma once
// The six constraints of the library.
//
// A bound of exactly -1e100 is unset and never rejects. A bound rejects values beyond it; a value on the
// bound passes, and so does a NaN value (segment of length zero). S and E are start and end of a segment in
// its assigned orientation. Lengths and bounds are compared squared: a lower bound of -6 that was not set
// through setBounds acts as 6.
//
// setBounds returns false and changes nothing for a NaN, for upper < lower (both set) and for a set value
// outside the range named there. Constructors and load take the fields as they are. Default: lines 0, bounds
// unset, angle and direction 0, flag false.
//
// Map form: indices are int, bounds double, or the string "undefined" when unset. On loading an index may be
// a number of any type (rounded), but only a double is a bound: an integer 3, a float or a string loads as
// unset, deliberately. Who passes a map through a text format must therefore keep whole numbers apart from
// integers (3.0, not 3).

#include <kvmath/tsearch/constraints/endpoint_distance.h>
#include <kvmath/tsearch/constraints/endpoint_distance_with_check.h>
#include <kvmath/tsearch/constraints/endpoint_shift_in_direction.h>
#include <kvmath/tsearch/constraints/inclination_angle.h>
#include <kvmath/tsearch/constraints/length.h>
#include <kvmath/tsearch/constraints/rotation_angle.h>
