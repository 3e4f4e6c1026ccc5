#pragma once
// Options that the commands on scans share.

#include "kvmeasure/arguments.h"
#include "kvmeasure/scan_file.h"

namespace KvMeasure {

/// Appends --map, --axes, --scan-step and --scan-start to the options of a command.
Usage withScanOptions(const Usage& usage);
ScanOptions readScanOptions(const Arguments& arguments);
QStringList axesOrders();  ///< that --axes and --out-axes may name
bool isHeightLast(const Arguments& arguments, const QString& option);  ///< --axes or --out-axes

constexpr double farthest = 1e9;  ///< mm; no limit, no step is larger

/// Appends --x, --scan and --height.
Usage withLimits(const Usage& usage);

/// Keeps what lies within these options, where one was given. Throws Failure when nothing is left.
void applyLimits(const Arguments& arguments, Scan& scan);

/// The scan that the first operand names, as the scan options tell it and within the limits.
Scan takeScan(const Arguments& arguments);

/// The operands and the descriptions of height maps that are read with them.
QStringList scanInputs(const Arguments& arguments);

}  // namespace KvMeasure
