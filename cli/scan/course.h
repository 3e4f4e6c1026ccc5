#pragma once
// The options that say where a section runs through a scan, for all commands that take one.

#include "cli/arguments.h"

#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/surface.h>

namespace KvMeasure {

/// --at-scan, --at-x, --from, --to and --spacing.
std::vector<Option> courseOptions();

/// Where a section runs.
enum class Course { AtScan, AtX, Between };

/// True where one of courseOptions() was given.
bool hasCourse(const Arguments& arguments);
/// Throws Error unless exactly one course was given.
Course readCourse(const Arguments& arguments);
QString nameOf(Course course);  ///< what the places of the section are

/// The heights between all points of the stack; a lost point or profile is bridged.
ScanSurface surfaceOf(const KvMath::KvProfileZSet& stack, const Steps& steps);

/// Throws Error where there are no heights, and for too many points.
Section takeSection(const Arguments& arguments, Course course, const ScanSurface& surface,
                    const Steps& steps);

}  // namespace KvMeasure
