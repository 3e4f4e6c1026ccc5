#pragma once
// The readers behind scan_file, one for each form that is not a binary record.

#include <kvmeasure/scans/scan_file.h>

#include <array>
#include <optional>

namespace KvMeasure {

/// Description of a raw height map: 16-bit counts, row by row, one row for each profile.
struct HeightMap {
    qint64 columns = 0, rows = 0;
    double xStep = 0, xOrigin = 0;      ///< mm
    double rowStep = 0, rowOrigin = 0;  ///< mm
    double heightStep = 0, heightOrigin = 0;
    int noData = 0;  ///< count of a place without a height
    bool isBigEndian = false;
    QString path;  ///< of the description

    qint64 bytes() const { return 2 * columns * rows; }
};

/// Lines "key,value". Throws Error for missing, unreadable and senseless values.
HeightMap readMapDescription(const QString& path);

/// The description that lies beside a map (findMapDescription), read; nothing where there is none.
std::optional<HeightMap> findMap(const QString& path);

/// All with `file` open at its beginning. They set the doubt of the scan.
void readHeightMap(QFile& file, const HeightMap& map, const ScanOptions& options, Scan& scan);
void readPly(QFile& file, const ScanOptions& options, Scan& scan);

/// XYZ rows or a CSV grid, see Internal::isGridHead. A leading line without numbers is a heading.
void readScanText(QFile& file, const ScanOptions& options, Scan& scan);

/// The units of x, y and z that the options say; mm where they say none. Throws Error for two.
std::array<LengthUnit, 3> unitsOfPoints(const ScanOptions& options);

/// A finite coordinate as float; NaN for NaN, infinities and what no float holds.
float coordinate(double value);

}  // namespace KvMeasure
