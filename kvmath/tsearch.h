#pragma once
// Template search: segments of a profile, templates of segments, measurements on the match.

#include <kvmath/segments/find_params.h>
#include <kvmath/segments/line_extraction.h>
#include <kvmath/segments/line_geometry.h>
#include <kvmath/segments/line_types.h>
#include <kvmath/segments/profile_lines.h>
#include <kvmath/tsearch/constraint.h>
#include <kvmath/tsearch/constraint_kinds.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/lines_indices.h>
#include <kvmath/tsearch/measurement.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/measurement_manager.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/search.h>
#include <kvmath/tsearch/template.h>
#include <kvmath/tsearch/template_document.h>
#include <kvmath/tsearch/uniform_results.h>
