#pragma once
// Scans to files, in the forms that scan_file reads.

#include "kvmeasure/scan_file.h"

namespace KvMeasure {

enum class ScanForm { Stack, CloudRecord, Xyz, Grid, Ply, PlyText };

QStringList scanFormNames();

/// From one of these names; empty: by the suffix of the path (.ply, .xyz,
/// .txt, .csv; all others are stacks). Throws Failure.
ScanForm parseScanForm(const QString& text, const QString& path);

/// Writes a scan; the file appears when it is complete. Coordinates keep all their digits. Profiles are
/// written one after another; a cloud is made profiles or a grid as by takeStack. Throws Failure.
/// `heightLast` as in ScanOptions.
void writeScan(const QString& path, ScanForm form, bool heightLast, Scan& scan);

}  // namespace KvMeasure
