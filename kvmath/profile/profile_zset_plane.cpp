// Removal of what lies above or below the plane of a scan. Declared with the plane, which cannot know stacks.

#include <kvmath/core/plane.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile_zset.h>

namespace KvMath {

bool KvPlane::removePointsRelativelyPlane(KvProfileZSet& set, bool removeUpLevel, double shift, double& a,
                                          double& b, double& c) {
    KvPointCloud<KvPointXYZ> scan;  // height as the third axis: the fit has one height for each place
    for (const KvProfileZ& profile : set.profiles)
        for (const KvPointXY& p : profile.points)
            scan.points.append(KvPointXYZ(p.x, profile.z, p.y));
    double slopeX = 0.0;
    double slopeZ = 0.0;
    double level = 0.0;
    if (!calcFromPointCloud(scan, slopeX, slopeZ, level))
        return false;
    for (KvProfileZ& profile : set.profiles) {
        const auto z = static_cast<double>(profile.z);
        Internal::keepIf(profile.points, [&](const KvPointXY& p) {
            const double plane = slopeX * static_cast<double>(p.x) + slopeZ * z + level;
            const auto y = static_cast<double>(p.y);
            // Strict; an unset coordinate is on neither side.
            return !(removeUpLevel ? y > plane - shift : y < plane + shift);
        });
    }
    a = slopeX;
    b = slopeZ;
    c = level;
    return true;
}

}  // namespace KvMath
