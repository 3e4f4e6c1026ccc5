#pragma once
// Options that the commands on scans share.

#include "cli/arguments.h"

#include <kvmeasure/scans/scan_file.h>

namespace KvMeasure {

/// Appends --map, --axes, --scan-step and --scan-start to the options of a command.
Usage withScanForms(const Usage& usage);
/// Appends --unit and --unset too.
Usage withScanOptions(const Usage& usage);
ScanOptions readScanOptions(const Arguments& arguments);
QStringList axesOrders();  ///< that --axes and --out-axes may name
bool isHeightLast(const Arguments& arguments, const QString& option);  ///< --axes or --out-axes

constexpr double kFarthest = 1e9;  ///< mm; no limit, no step is larger

/// Appends --x, --scan and --height.
Usage withLimits(const Usage& usage);

/// Keeps what lies within these options, where one was given. Throws Error when nothing is left.
void applyLimits(const Arguments& arguments, Scan& scan);

/// Throws Error for heights that may stand for "nothing measured", unless --height says which count.
void requireSetHeights(const Arguments& arguments, const Scan& scan);

/// The scan that the first operand names, as the scan options tell it and within the limits.
Scan takeScan(const Arguments& arguments);

/// Throws Error as refuseOverwriting, also for a description of a height map that is read with an input.
void refuseOverwritingScans(const Arguments& arguments, const QStringList& outputs, QStringList inputs);

}  // namespace KvMeasure
