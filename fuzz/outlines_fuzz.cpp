// Outlines of clouds and stacks, edges in scanner lines, corners in rectangles; all values free.

#include "fuzz/fuzz_input.h"

#include <kvmath/contours/edge_filter.h>
#include <kvmath/contours/rectangle.h>
#include <kvmath/contours/scan_lines.h>
#include <kvmath/profile/profile_zset.h>

namespace {

void corners(Fuzz::Input& in) {
    const KvMath::KvVector2D<double> corner1 = in.place(), corner2 = in.place();
    const int pieces = in.integer() % 1000;
    QList<KvMath::LinePP> lines;
    while (in.left() > 0 && lines.size() < 100)
        lines.append(in.line());
    QList<KvMath::LinePP> copy = lines;
    KvMath::makeOneIntersectionInRectangle(lines, corner1, corner2);
    KvMath::makePolynomInRectangle(copy, corner1, corner2, pieces);
}

Profile3D anyLine(Fuzz::Input& in, int most) {
    Profile3D line;
    while (in.left() > 0 && line.size() < most)
        line.append(new Vector3D(in.real(), in.real(), in.real()));
    return line;
}

void edges(Fuzz::Input& in) {
    const KvMath::TSFindTemplateParams params = {in.number(), in.number(), in.below(8),
                                                 in.number(), in.flag(),   in.number()};
    const double a = in.number(), b = in.number(), c = in.number(), d = in.number();
    const Profile3D line = anyLine(in, 300);
    QMap<QString, QVariant> result;
    KvMath::fltEdgePoints(line, params, a, b, c, d, result);
    KvMath::fltEdgePointsWithoutTable(line, params, a, c, d, result);
}

void outline(Fuzz::Input& in) {
    double v[8];
    for (double& value : v)
        value = in.number();
    const int most = in.integer(), passes = in.below(8) - 2;
    const bool isSimplified = in.flag();
    PointCloud cloud;
    while (in.left() > 0 && cloud.profiles().size() < 50)
        cloud.profiles().append(anyLine(in, in.below(20)));
    KvMath::KvProfileZSet stack;
    KvMath::KvProfile points, hull;
    KvMath::convertProfilesZ2Lines(cloud, v[0], v[1], v[2], v[3], v[4], v[5], most, v[6], v[7], isSimplified,
                                   passes, &stack, &points, &hull);
    Fuzz::require(hull.points.size() <= 2 * points.points.size() + 1, "an outline is made of points");
    KvMath::convertProfilesZ2Lines(stack, v[0], v[1], v[2], v[3], v[4], v[5], most, v[6], v[7], isSimplified);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const int kind = input.below(4);
    (kind == 0 ? corners : kind == 1 ? edges : outline)(input);
    return 0;
}
