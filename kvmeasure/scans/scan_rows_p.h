#pragma once
// The points of any scan in rows: profiles, or bands of a cloud that has none.

#include <kvmeasure/scans/scan_file.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KvMeasure::Internal {

/// Points of a scan by position, each row by x.
struct ScanRows {
    std::vector<KvMath::KvPointXYZ> points;  ///< row by row; x, y the height, z the position, mm
    std::vector<std::uint32_t> order;        ///< of each: its number in Scan::forEachPoint
    std::vector<std::uint32_t> starts;       ///< of the rows, and after the last one
    double stepX = 1;                        ///< usual distance of neighbours in a row, mm, > 0
    double stepZ = 1;                        ///< usual distance of rows, mm, > 0
    double noise = 0;                        ///< standard deviation of the heights about straight runs, mm

    /// Rows are profiles, those at one position as one; of a cloud, the points of equal z where there are two
    /// for each z on average, else bands as wide as one and a half point distances. Of more than `most`
    /// points, evenly chosen rows and points. Points must be finite. n log n.
    explicit ScanRows(const Scan& scan, std::size_t most = std::size_t(kLargestScan));

    std::size_t size() const { return starts.size() - 1; }  ///< number of rows
    std::size_t rowOf(std::size_t point) const;             ///< of a point by its place in `points`

private:
    void measure();
};

}  // namespace KvMeasure::Internal
