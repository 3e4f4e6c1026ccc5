// Look-ups are filled column by column; see column_walk_p.cpp.

#include <kvmath/calibration/pixel_lookup.h>

#include "column_walk_p.h"
#include "rows_p.h"

#include <algorithm>

namespace KvMath {

namespace {

void clear(unsigned short** lookUp) {
    for (int c = 0; c < kSensorColumns; ++c)
        std::fill_n(lookUp[c], kLookUpCells, kEmptyCell);
}

/// Look-ups that are not wanted are not looked at.
bool convert(const Internal::BuildRequest& request, unsigned short** z, unsigned short** x) {
    if ((request.wantsZ && !Internal::hasColumns(z)) || (request.wantsX && !Internal::hasColumns(x)) ||
        !request.isLegal())
        return false;
    const auto walk = Internal::ColumnWalk::create(request);
    if (walk == nullptr)
        return false;
    if (request.wantsZ)
        clear(z);
    if (request.wantsX)
        clear(x);
    if (!walk->hasLine())
        return false;
    for (int c = request.firstColumn; c <= request.lastColumn; ++c) {
        walk->enter(c);
        if (request.wantsZ)
            walk->fillZ({z[c], 1, 1});
        if (request.wantsX)
            walk->fillX({x[c], 1, 1});
    }
    return true;
}

}  // namespace

bool convert_Pxl2Z(unsigned short** dtf, const double* params, double zRange, double stepSize,
                   int firstColumn, int lastColumn, unsigned short** lookUp) {
    return convert({dtf, params, zRange, 0.0, stepSize, 0.0, firstColumn, lastColumn, Internal::Form::Steps,
                    /*wantsZ=*/true, /*wantsX=*/false},
                   lookUp, nullptr);
}

bool convert_Pxl2X(unsigned short** dtf, const double* params, double xRange, double stepSize,
                   int firstColumn, int lastColumn, unsigned short** lookUp) {
    return convert({dtf, params, 0.0, xRange, 0.0, stepSize, firstColumn, lastColumn, Internal::Form::Steps,
                    /*wantsZ=*/false, /*wantsX=*/true},
                   nullptr, lookUp);
}

bool convert_Triangles2PxlWithTemplate(unsigned short** dtf, const double* params, double zRange,
                                       double xRange, double zStep, double xStep, int firstColumn,
                                       int lastColumn, unsigned short** lookUpZ, unsigned short** lookUpX) {
    return convert({dtf, params, zRange, xRange, zStep, xStep, firstColumn, lastColumn,
                    Internal::Form::Triangles, /*wantsZ=*/true, /*wantsX=*/true},
                   lookUpZ, lookUpX);
}

}  // namespace KvMath
