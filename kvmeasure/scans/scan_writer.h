#pragma once
// Scans to files, in the forms that scan_file reads.

#include <kvmeasure/base/global.h>
#include <kvmeasure/scans/scan_file.h>

namespace KvMeasure {

/// Forms of scan files.
enum class ScanForm {
    Stack,        ///< records of profiles with z, one after another
    CloudRecord,  ///< one record of an XYZ cloud
    Xyz,          ///< text, a point in each line
    Grid,         ///< CSV of mean heights, as gridCsv writes it
    Ply,          ///< PLY, binary little-endian
    PlyText       ///< PLY, ascii
};

/// The names that parseScanForm takes, in the order of ScanForm: stack, cloud, xyz, grid, ply, ply-ascii.
KVMEASURE_EXPORT QStringList scanFormNames();

/// The form of one of these names, in lower case; an empty text: by the suffix of the path, in any case
/// (.ply, .xyz and .txt, .csv a grid; all others are stacks). Throws Error of the parameter "form" for
/// another name.
KVMEASURE_EXPORT ScanForm parseScanForm(const QString& text, const QString& path);

/// Writes a scan, in mm. The file appears when it is complete: after an Error, and when `progress`, told in
/// points, cancels, an older file is as it was. Coordinates keep all their digits. Stack and Grid take the
/// profiles of takeStack; `heightLast`, as in ScanOptions, is for the other forms. A scan without points
/// gives a file without points, which loadScan refuses. The scan stays as it is.
///
/// Throws Error: a cloud without profiles for Stack and Grid, a profile of more than 65,535 points for Stack
/// (parameter "form"), a Grid of no or too many cells, a file that cannot be written.
KVMEASURE_EXPORT void writeScan(const QString& path, ScanForm form, bool heightLast, Scan& scan,
                                const Progress& progress = {});

}  // namespace KvMeasure
