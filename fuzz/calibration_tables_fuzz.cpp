// Look-ups and tables built from any cells with any window, and what is done with tables.

#include "fuzz/calibration_data.h"

#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/calibration/table_build.h>
#include <kvmath/calibration/table_ops.h>
#include <kvmath/profile/profile.h>

namespace {

using namespace KvMath;
using Fuzz::Input;

struct Bench {
    Fuzz::Columns record{kCalibrationSteps}, lookUpZ{kLookUpCells}, lookUpX{kLookUpCells};
    std::vector<unsigned short> table, compact;
    std::vector<double> params = std::vector<double>(kCalibrationSteps);
    int first = 0, last = 0, firstLimit = 0, lastLimit = 0;
    double zRange = 0, xRange = 0, zStep = 0, xStep = 0;

    void fill(Input& in) {
        for (int* column : {&last, &first, &lastLimit, &firstLimit})
            *column = in.byte() < 240 ? in.raw<uint16_t>() % kSensorColumns : in.integer();
        if (first > last && in.byte() < 240)
            std::swap(first, last);
        for (double* value : {&zRange, &xRange, &zStep, &xStep})
            *value = in.byte() < 224 ? 1 + in.raw<uint16_t>() / 256.0 : in.number();
        table.assign(kTableCells, kEmptyCell);
        compact.assign(kCompactCells, kEmptyCell);
        params.assign(params.size(), in.number());
        for (int i = 0; i < 8; ++i)
            params[in.raw<uint16_t>() % params.size()] = in.number();
        record.fill(in);
    }
    void buildX() {
        calc_X(record.rows(), params.data(), xRange, xStep, first, last, firstLimit, lastLimit, table.data());
    }
    void buildZ() {
        calc_Z(record.rows(), params.data(), zRange, zStep, first, last, firstLimit, lastLimit, table.data());
    }
    template <class Build>
    void buildCompact(Build build) {
        build(record.rows(), params.data(), zRange, xRange, zStep, xStep, first, last, firstLimit, lastLimit,
              compact.data());
    }
    void lookUp() {
        convert_Pxl2Z(record.rows(), params.data(), zRange, zStep, first, last, lookUpZ.rows());
        convert_Pxl2X(record.rows(), params.data(), xRange, xStep, first, last, lookUpX.rows());
        convert_Triangles2PxlWithTemplate(record.rows(), params.data(), zRange, xRange, zStep, xStep, first,
                                          last, lookUpZ.rows(), lookUpX.rows());
    }
    void rework(Input& in) {
        std::vector<double> gradient(size_t(kTableSensorRows) * kSensorColumns);
        const int v[] = {in.integer(), in.integer(), in.integer(), in.integer(), in.integer(), in.integer()};
        cutTBL(table.data(), {v[0], v[1], v[2], v[3], v[4], v[5], v[5], v[4], v[3], v[2], v[1], v[0]});
        zMirrorTBL(table.data(), in.flag(), in.flag());
        zMirrorDTF(record.rows());
        convert625to625d(compact.data(), compact.data(), v[0], v[1]);
        gradientXandZtables(table.data(), zRange, xRange, nullptr, gradient.data());
        KvProfile profile;
        profile.points = in.points<KvPointXY>(1000);
        double score = 0;
        checkExposure(profile, in.real(), in.number(), score);
        Fuzz::require(score >= 0 && score <= 1, "a score lies between 0 and 1");
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bench bench;
    Input input(data, size);
    const int operation = input.below(8);
    bench.fill(input);
    if (operation < 2)
        bench.buildX();
    else if (operation < 4)
        bench.buildZ();
    else if (operation < 6)
        bench.buildCompact(operation == 4 ? calc_XandZ : calc_XandZ_Triangles);
    else if (operation == 6)
        bench.lookUp();
    if (operation % 2 != 0)
        bench.rework(input);
    return 0;
}
