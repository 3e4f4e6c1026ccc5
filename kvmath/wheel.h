#pragma once
// A train pass in wheel values: sensors in one space, wheels in recordings, what is measured on them.

#include <kvmath/wheel/apexes.h>
#include <kvmath/wheel/bogie_frame.h>
#include <kvmath/wheel/rule_algebra.h>
#include <kvmath/wheel/sensor_calibration.h>
#include <kvmath/wheel/sensor_coord.h>
#include <kvmath/wheel/wheel_defects.h>
#include <kvmath/wheel/wheel_detection.h>
#include <kvmath/wheel/wheel_files.h>
#include <kvmath/wheel/wheel_parameters.h>
#include <kvmath/wheel/wheel_variants.h>
#include <kvmath/wheel/wheelset_distance.h>
