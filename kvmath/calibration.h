#pragma once
// Calibration of a laser triangulation scanner: raw record, pixel tables, their files and their application.

#include <kvmath/calibration/dtf_profiles.h>
#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/calibration/raw_record.h>
#include <kvmath/calibration/table_build.h>
#include <kvmath/calibration/table_io.h>
#include <kvmath/calibration/table_layout.h>
#include <kvmath/calibration/table_ops.h>
