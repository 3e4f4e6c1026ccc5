#pragma once
// The readers behind scan_file, one for each form that is not a binary record.

#include "kvmeasure/scan_file.h"

namespace KvMeasure {

/// Description of a raw height map: 16-bit counts, row by row, one row for each profile.
struct HeightMap {
    qint64 columns = 0, rows = 0;
    double xStep = 0, xOrigin = 0;      ///< mm
    double rowStep = 0, rowOrigin = 0;  ///< mm
    double heightStep = 0, heightOrigin = 0;
    int noData = 0;  ///< count of a place without a height
    bool isBigEndian = false;

    qint64 bytes() const { return 2 * columns * rows; }
};

/// The description that lies beside a raw map: "FILE.meta.csv", "STEM.meta.csv" or "meta.csv" in its folder,
/// if it has the keys columns and rows; otherwise empty.
QString findMapDescription(const QString& path);

/// Lines "key,value". Throws Failure for missing, unreadable and senseless values.
HeightMap readMapDescription(const QString& path);

/// Both with `file` open at its beginning.
void readHeightMap(QFile& file, const HeightMap& map, Scan& scan);
void readPly(QFile& file, bool heightLast, Scan& scan);

/// XYZ rows or a CSV grid, see isGridHead. A leading line without numbers is a heading.
void readScanText(QFile& file, bool heightLast, Scan& scan);

/// True for the first field of a CSV grid, whose first line holds the x of the columns and whose other lines
/// begin with their scan position.
bool isGridHead(const QByteArray& line);

/// A finite coordinate as float; NaN for NaN, infinities and what no float holds.
float coordinate(double value);

}  // namespace KvMeasure
