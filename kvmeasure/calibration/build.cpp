#include <kvmeasure/calibration/build.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/calibration/survey.h>

#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/calibration/table_build.h>

namespace KvMeasure {

namespace {

/// Look-ups of one coordinate: 648 columns of 16384 cells, 21 MB.
class LookUp {
public:
    LookUp() : cells_(std::size_t{KvMath::kSensorColumns} * KvMath::kLookUpCells) {
        for (std::size_t c = 0; c < rows_.size(); ++c)
            rows_[c] = cells_.data() + c * KvMath::kLookUpCells;
    }
    unsigned short** rows() { return rows_.data(); }

private:
    std::vector<unsigned short> cells_;
    std::array<unsigned short*, KvMath::kSensorColumns> rows_{};
};

/// Rows of a full table are half a pixel apart.
void copyRows(LookUp& lookUp, unsigned short* cells) {
    constexpr int kStep = KvMath::kPositionsPerRow / 2;
    for (int row = 0; row < KvMath::kTableSensorRows; ++row) {
        for (int column = 0; column < PixelTable::kColumns; ++column)
            cells[row * PixelTable::kColumns + column] = lookUp.rows()[column][row * kStep];
    }
}

bool buildFullByTriangles(RawRecord& record, const BuildPlan& plan, PixelTable& table) {
    LookUp z;
    LookUp x;
    const TableUnits& u = plan.units;
    if (!KvMath::convert_Triangles2PxlWithTemplate(record.columns().data(), record.parameters.data(),
                                                   u.zRange, u.xRange, u.zStep, u.xStep, plan.firstColumn,
                                                   plan.lastColumn, z.rows(), x.rows()))
        return false;
    copyRows(z, table.cells(Half::Z));
    copyRows(x, table.cells(Half::X));
    return true;
}

bool build(RawRecord& record, const BuildPlan& plan, PixelTable& table) {
    const TableUnits& u = plan.units;
    auto columns = record.columns();
    unsigned short** dtf = columns.data();
    const double* z = record.parameters.data();
    int first = 0;  // out of order: derived from the record
    int last = 0;
    if (plan.isCompact) {
        const auto builder = plan.byTriangles ? KvMath::calc_XandZ_Triangles : KvMath::calc_XandZ;
        return builder(dtf, z, u.zRange, u.xRange, u.zStep, u.xStep, plan.firstColumn, plan.lastColumn, first,
                       last, table.cells());
    }
    if (plan.byTriangles)
        return buildFullByTriangles(record, plan, table);
    return KvMath::calc_Z(dtf, z, u.zRange, u.zStep, plan.firstColumn, plan.lastColumn, first, last,
                          table.cells()) &&
           KvMath::calc_X(dtf, z, u.xRange, u.xStep, plan.firstColumn, plan.lastColumn, first, last,
                          table.cells());
}

}  // namespace

PixelTable buildTable(RawRecord& record, const BuildPlan& plan) {
    if (plan.units.zOffset != 0) {
        std::vector<double> z(record.parameters.size());
        for (std::size_t s = 0; s < z.size(); ++s)
            z[s] = zOf(record, plan.units, static_cast<int>(s));
        record.parameters.swap(z);
    }
    PixelTable table(plan.isCompact ? CalibrationForm::CompactTable : CalibrationForm::FullTable);
    if (!build(record, plan, table))
        throw Error("the record gives no table: no step has a line in two of the columns, its z are all "
                    "equal and \1zStep\2 is missing, or steps below 500 have a gap (a full table by "
                    "triangles takes it); see \"kvmeasure calibrate info\"");
    return table;
}

}  // namespace KvMeasure
