#pragma once
// A train pass in wheel values: the common space of the sensors of a measuring post.

#include <kvmath/wheel/apexes.h>
#include <kvmath/wheel/bogie_frame.h>
#include <kvmath/wheel/rule_algebra.h>
#include <kvmath/wheel/sensor_calibration.h>
#include <kvmath/wheel/sensor_coord.h>
