#pragma once
// The nine measurements of the library.
//
// Line arguments are template lines. S and E are start and end of the segment that stands for a line, in its
// assigned orientation. Lengths are millimetres, angles radians. `measure` is false, and every result -1e100,
// when a line has no segment (TSUMFarLineInDirection has its own conditions). Degenerate geometry is not
// guarded: a direction taken from a segment of length zero, or the intersection of parallel lines, is not
// finite (or far away, where rounding tells parallel lines apart), and `measure` is true. Names are those of
// the uniform results, in the order of the class's constructor.
//
// Map form: the keys listed, numbers of any type accepted where a line (rounded), a double or a flag belongs.
// Record: the parameters in the order of the keys, int32, double, or one byte for a flag.

#include <kvmath/tsearch/measurements/angle_between_lines.h>
#include <kvmath/tsearch/measurements/endpoint_shift_in_direction.h>
#include <kvmath/tsearch/measurements/far_line_in_direction.h>
#include <kvmath/tsearch/measurements/inclination_angle.h>
#include <kvmath/tsearch/measurements/length.h>
#include <kvmath/tsearch/measurements/line_point.h>
#include <kvmath/tsearch/measurements/lines_intersection.h>
#include <kvmath/tsearch/measurements/point_between_points.h>
#include <kvmath/tsearch/measurements/rotation_angle.h>
