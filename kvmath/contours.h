#pragma once
// Contours of scans: from a stack of profiles to the straight lines of the object's outline.

#include <kvmath/contours/edge_filter.h>
#include <kvmath/contours/edge_points.h>
#include <kvmath/contours/hull.h>
#include <kvmath/contours/rectangle.h>
#include <kvmath/contours/scan_lines.h>
