#pragma once
// Core geometry: points, clouds, lines, circles, planes, histograms, matrix clouds, the interpolant, version
// and trace.

#include <kvmath/base/global.h>
#include <kvmath/base/trace.h>
#include <kvmath/base/vector2d.h>
#include <kvmath/base/version.h>
#include <kvmath/core/circle.h>
#include <kvmath/core/free_vector.h>
#include <kvmath/core/interpolant.h>
#include <kvmath/core/level_histogram.h>
#include <kvmath/core/line.h>
#include <kvmath/core/matrix_cloud.h>
#include <kvmath/core/plane.h>
#include <kvmath/core/point.h>
#include <kvmath/core/point_cloud.h>
#include <kvmath/core/record_layout.h>
