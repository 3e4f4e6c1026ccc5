#pragma once
// Options that the commands on scans share.

#include "kvmeasure/arguments.h"
#include "kvmeasure/scan_file.h"

namespace KvMeasure {

/// Appends --map, --axes, --scan-step and --scan-start to the options of a command.
Usage withScanOptions(Usage usage);
ScanOptions readScanOptions(const Arguments& arguments);
bool parseAxes(const QString& text, bool absent);  ///< true when the height is last; throws Failure

constexpr double farthest = 1e9;  ///< mm; no limit, no step is larger

/// Two numbers "A,B" or "A B". Throws Failure.
void readPair(const Arguments& arguments, const QString& name, double& first, double& second);

/// A box; ends are inside.
struct Limits {
    double xFrom = -farthest, xTo = farthest;
    double scanFrom = -farthest, scanTo = farthest;
    double heightFrom = -farthest, heightTo = farthest;

    bool holds(double x, double scan, double height) const {
        return x >= xFrom && x <= xTo && scan >= scanFrom && scan <= scanTo && height >= heightFrom &&
               height <= heightTo;
    }
};

/// Appends --x, --scan and --height.
Usage withLimits(Usage usage);
Limits readLimits(const Arguments& arguments);
bool hasLimits(const Arguments& arguments);

/// Keeps what is inside. Throws Failure when nothing is left.
void applyLimits(const Limits& limits, const QString& path, Scan& scan);

/// Throws Failure when an output option or operand names one of the inputs.
void refuseOverwriting(const Arguments& arguments, const QString& output, const QString& input);

}  // namespace KvMeasure
