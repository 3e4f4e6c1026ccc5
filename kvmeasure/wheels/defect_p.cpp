// The library tells that a profile is defective, not where: its test is put to the profiles again, and the
// place is where points stand off a parabola through most of the tread, which does not follow the defect.

#include <kvmeasure/wheels/defect_p.h>

#include <kvmeasure/base/plane_geometry.h>

#include <kvmath/profile/profile.h>
#include <kvmath/wheel/sensor_coord.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure {

namespace {

/// The test of a profile, with the settings in the order in which the library's search takes them.
struct DefectTest {
    KvMath::KvLine high, low;
    float limit;  ///< mm off the smooth curve
    int outliers, degree;
};

DefectTest readTest(const PostSettings& settings, int index) {
    DefectTest test;
    test.high = settings.line(index, "level", -0.4, 187);
    test.low = settings.line(index, "lowLevel", -0.4, 67);
    test.limit = static_cast<float>(settings.ofScanner(index, "polynomDegree", 20));
    constexpr double kAnyCount = 1e9;
    test.outliers = static_cast<int>(std::min(settings.ofScanner(index, "maxDeviation", 0.3), kAnyCount));
    test.degree = static_cast<int>(std::min(settings.ofScanner(index, "pointsHigher", 5), kAnyCount));
    return test;
}

struct Stretch {
    int first = 0, last = 0;  ///< points of the tread
    double farthest = 0;      ///< mm off the sound tread, towards larger y
};

double residual(const KvMath::KvPointXY& point, const std::vector<double>& powers) {
    double sum = 0;
    for (std::size_t k = powers.size(); k-- > 0;)
        sum = sum * static_cast<double>(point.x) + powers[k];
    return static_cast<double>(point.y) - sum;
}

std::vector<double> residuals(const KvMath::KvProfile& tread, const KvMath::KvProfile& sound, int degree) {
    std::vector<double> powers(static_cast<std::size_t>(degree) + 1);
    std::vector<double> off;
    if (!sound.calcPolynomCoeffs(degree, powers.data()))
        return off;
    for (const KvMath::KvPointXY& point : tread.points)
        off.push_back(residual(point, powers));
    return off;
}

/// What most of the points are nearer than.
double spread(std::vector<double> off) {
    constexpr std::size_t kMost = 60;  // %
    constexpr double kFar = 1e300;
    for (double& value : off)
        value = std::isfinite(value) ? std::fabs(value) : kFar;
    const auto limit = off.begin() + static_cast<std::ptrdiff_t>(off.size() * kMost / 100);
    std::nth_element(off.begin(), limit, off.end());
    return *limit;
}

/// How far each point is off a smooth curve through most of them. The polynomial of the search follows a
/// defect half way and swings beside it; this one leaves the defect out: it begins with the parabola through
/// three points that most others are nearest to.
std::vector<double> offSoundTread(const KvMath::KvProfile& tread) {
    constexpr int kPlaces = 12, kRounds = 5;
    std::vector<double> best;
    const auto at = [&tread](int place) {
        return tread.points.at((static_cast<int>(tread.points.size()) - 1) * place / (kPlaces - 1));
    };
    for (int i = 0; tread.points.size() >= kPlaces && i < kPlaces; ++i) {
        for (int j = i + 1; j < kPlaces; ++j) {
            for (int k = j + 1; k < kPlaces; ++k) {
                KvMath::KvProfile three;
                for (const int place : {i, j, k})
                    three.points.append(at(place));
                const std::vector<double> off = residuals(tread, three, 2);
                if (!off.empty() && (best.empty() || spread(off) < spread(best)))
                    best = off;
            }
        }
    }
    for (int round = 0; !best.empty() && round < kRounds; ++round) {
        const double limit = spread(best);
        KvMath::KvProfile sound;
        for (std::size_t i = 0; i < best.size(); ++i) {
            if (std::fabs(best[i]) <= limit)
                sound.points.append(tread.points.at(static_cast<int>(i)));
        }
        best = residuals(tread, sound, 2);
    }
    return best;
}

/// Points of a profile beyond the limit of the search.
int countOutliers(const KvMath::KvProfile& tread, const DefectTest& test) {
    KvMath::KvProfile fitted = tread;
    fitted.polynomFit(test.degree);
    int count = 0;
    for (int i = 0; i < tread.points.size(); ++i)
        count += std::fabs(tread.points.at(i).y - fitted.points.at(i).y) > test.limit ? 1 : 0;
    return count;
}

/// The stretch on one side of the sound tread with the point farthest off. False: there is none.
bool findStretch(const KvMath::KvProfile& tread, double limit, Stretch& found) {
    const std::vector<double> off = offSoundTread(tread);
    if (off.empty())
        return false;
    const auto isNearer = [](double a, double b) { return std::fabs(a) < std::fabs(b); };
    const auto farthest = std::max_element(off.begin(), off.end(), isNearer);
    if (!(std::fabs(*farthest) > limit))
        return false;
    found.farthest = *farthest;
    const auto isIn = [&](int i) {
        return i >= 0 && i < tread.points.size() &&
               off[static_cast<std::size_t>(i)] / *farthest * std::fabs(*farthest) > limit;
    };
    found.first = found.last = static_cast<int>(farthest - off.begin());
    while (isIn(found.first - 1))
        --found.first;
    while (isIn(found.last + 1))
        ++found.last;
    return true;
}

}  // namespace

DefectPlace findDefect(const Recording& recording, int wheel, const KvMath::WheelPassage& run,
                       const PostSettings& settings, double backY, int record) {
    const DefectTest test = readTest(settings, recording.index);
    DefectPlace place;
    int most = test.outliers;
    for (int i = 0; i < run.records.size(); ++i) {
        KvMath::KvProfile tread;
        tread.readFromFile(recording.file(wheel, i + 1));
        tread.removeHighLevel(test.high);
        tread.removeLowLevel(test.low);
        const auto isUnset = [](const KvMath::KvPointXY& p) { return !isFinite(p); };
        tread.points.erase(std::remove_if(tread.points.begin(), tread.points.end(), isUnset),
                           tread.points.end());
        const int points = countOutliers(tread, test);
        const bool isWanted = run.records.at(i) == record && points > test.outliers;
        Stretch found;
        if ((points <= most && !isWanted) || !findStretch(tread, static_cast<double>(test.limit), found))
            continue;
        most = points;
        KvMath::KvPointCloud<KvMath::KvPointXYZ> cloud;
        KvMath::ORBIS_XYtoXYZ(tread, cloud, settings.rule(recording.index));
        const double a = static_cast<double>(cloud.points.at(found.first).y) - backY;
        const double b = static_cast<double>(cloud.points.at(found.last).y) - backY;
        place = {std::min(a, b),  std::max(a, b),    std::fabs(found.farthest),
                 recording.index, run.records.at(i), points};
        if (isWanted)
            break;
    }
    return place;
}

}  // namespace KvMeasure
