// Look-ups and tables built from any cells with any window, and what is done with tables.

#include "fuzz/calibration_data.h"

#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/calibration/table_build.h>
#include <kvmath/calibration/table_ops.h>
#include <kvmath/profile/profile.h>

#include <algorithm>
#include <vector>

namespace {

using namespace KvMath;
using Fuzz::Input;

struct Bench {
    Fuzz::Columns record{kCalibrationSteps}, lookUpZ{kLookUpCells}, lookUpX{kLookUpCells};
    const std::vector<unsigned short> empty = std::vector<unsigned short>(kTableCells, kEmptyCell);
    std::vector<unsigned short> table = empty;  // its front serves as the compact form too
    std::vector<double> gradient = std::vector<double>(size_t(kTableSensorRows) * kSensorColumns);
    std::vector<double> params = std::vector<double>(kCalibrationSteps);
    int first = 0, last = 0, firstLimit = 0, lastLimit = 0;
    double zRange = 0, xRange = 0, zStep = 0, xStep = 0;

    void fill(Input& in) {
        fillWindow(in);
        for (double* value : {&zRange, &xRange, &zStep, &xStep})
            *value = in.byte() < 224 ? 1 + in.raw<uint16_t>() / 256.0 : in.number();
        params.assign(params.size(), in.number());
        for (int i = 0; i < 8; ++i)
            params[in.raw<uint16_t>() % params.size()] = in.number();
        record.fill(in);
        std::memcpy(table.data(), empty.data(), kTableCells * sizeof empty[0]);
    }
    /// Mostly a few columns: the time goes with them, what happens does not.
    void fillWindow(Input& in) {
        for (int* column : {&last, &first, &lastLimit, &firstLimit})
            *column = in.byte() < 240 ? in.raw<uint16_t>() % kSensorColumns : in.integer();
        const int width = in.byte();
        if (width < 240)
            last = std::min(first, kSensorColumns) + width / 32;
        else if (first > last && width < 254)
            std::swap(first, last);
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
              table.data());
    }
    /// One of the three: each clears 21 MB or twice as much.
    void lookUp(int kind) {
        if (kind == 0)
            convert_Pxl2Z(record.rows(), params.data(), zRange, zStep, first, last, lookUpZ.rows());
        else if (kind == 1)
            convert_Pxl2X(record.rows(), params.data(), xRange, xStep, first, last, lookUpX.rows());
        else
            convert_Triangles2PxlWithTemplate(record.rows(), params.data(), zRange, xRange, zStep, xStep,
                                              first, last, lookUpZ.rows(), lookUpX.rows());
    }
    void rework(int kind, Input& in) {
        const int v[] = {in.integer(), in.integer(), in.integer(), in.integer(), in.integer(), in.integer()};
        if (kind == 0)
            cutTBL(table.data(), {v[0], v[1], v[2], v[3], v[4], v[5], v[5], v[4], v[3], v[2], v[1], v[0]});
        else if (kind == 1)
            zMirrorTBL(table.data(), in.flag(), in.flag());
        else if (kind == 2)
            zMirrorDTF(record.rows());
        else if (kind == 3)
            convert625to625d(table.data(), table.data(), v[0], v[1]);
        else
            gradientXandZtables(table.data(), zRange, xRange, nullptr, gradient.data());
    }
    static void expose(Input& in) {
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
    const int operation = input.byte(), second = input.byte();
    if (second >= 128 && second % 8 == 7) {  // takes a profile alone
        Bench::expose(input);
        return 0;
    }
    bench.fill(input);
    if (operation < 64)
        bench.buildX();
    else if (operation < 128)
        bench.buildZ();
    else if (operation < 240)
        bench.buildCompact(operation < 184 ? calc_XandZ : calc_XandZ_Triangles);
    else if (operation < 246)
        bench.lookUp(operation % 3);
    if (second >= 128)
        bench.rework(second % 8 % 5, input);
    return 0;
}
