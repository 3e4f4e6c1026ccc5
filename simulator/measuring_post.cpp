// What a scanner sees of a wheel. A section is a chain of points; each stretch of it fills the columns that
// it crosses, and the nearest range wins. The same chain seen by the camera tells what is hidden from it. The
// plane flange back is met in closed form, its rounding by iteration. Linear in points and columns.
#include "simulator/measuring_post.h"

#include <QtCore/QString>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Simulator {

namespace {

constexpr double kDegree = 3.14159265358979323846 / 180;
constexpr double kNominalBackToBack = 1360.0;
constexpr double kTop = 120.0;  // height to which the faces of a wheel are drawn, above every wheel band

constexpr double kFaceRange = 280, kStandOff = 200;  // of the wheels from the scanners

Scanner faceScanner(int side, const PostView& view) {
    Scanner scanner;
    scanner.index = side + 1;
    scanner.serial = 1000 + scanner.index;
    scanner.side = side;
    scanner.isFace = true;
    scanner.originY = 400;
    scanner.originZ = 50;
    scanner.tilt = 1.0 * kDegree;  // as well as it can be mounted; its reference line knows
    scanner.points = 500;
    scanner.xFrom = -110;
    scanner.xStep = 0.44;
    scanner.high = 340;
    scanner.low = 200;
    scanner.fanRange = view.isFan ? kFaceRange : 0;
    scanner.zero = view.isZeroInMiddle ? kFaceRange : 0;
    return scanner;
}

/// Parallel rays are turned outwards by 4 degrees: the flange back is seen too, and the flank still is. The
/// point that a fan leaves lies inside of the flange back for the same reason, and the fan is turned towards
/// the tread.
Scanner sectionScanner(int index, int side, double x, const PostView& view) {
    constexpr double kMiddleY = 742, kMiddleZ = 10, kSteep = -8;
    constexpr double kSourceY = 665, kFanTilt = 20 * kDegree, kFanSteep = -2.3;
    Scanner scanner;
    scanner.index = index;
    scanner.serial = 1000 + index;
    scanner.side = side;
    scanner.tilt = view.isFan ? kFanTilt : 4.0 * kDegree;
    scanner.originX = x;
    scanner.originY = view.isFan ? kSourceY : kMiddleY - kStandOff * std::sin(scanner.tilt);
    scanner.originZ = kMiddleZ - kStandOff * std::cos(scanner.tilt);
    scanner.points = 800;
    scanner.xFrom = -88;
    scanner.xStep = 0.22;
    scanner.high = 62;  // above the tread where an outer scanner sees the wheel that stands in the middle
    scanner.low = -60;
    scanner.fanRange = view.isFan ? kStandOff : 0;
    scanner.camera = view.camera;
    scanner.zero = view.isZeroInMiddle ? kStandOff : 0;
    scanner.searchSlope = view.isFan ? kFanSteep : kSteep;
    return scanner;
}

QString number(double value) { return QString::number(value, 'g', 9); }

/// Of the stored x.
double direction(const Scanner& scanner) { return scanner.isMirrored ? -1 : 1; }

QString bandSettings(const Scanner& scanner) {
    QString text;
    const auto line = [&](const char* name, double slope, double intercept) {
        text +=
            QString("%1_k=%2\n%1_b=%3\n").arg(name, number(direction(scanner) * slope), number(intercept));
    };
    line("level", scanner.slope(), scanner.intercept(scanner.high) - scanner.zero);
    line("lowlevel", scanner.slope(), scanner.intercept(scanner.low) - scanner.zero);
    return text;
}

/// A reflection of up to three columns has a step within its block of five, wherever it begins.
QString noiseSettings(bool hasGlints) {
    return hasGlints ? "wndSize=5\nhigherPoinInWnd=0\n" : "wndSize=3\nhigherPoinInWnd=1\n";
}

/// The defect search looks at the tread alone: a steep line takes the flange away, whose shape no polynomial
/// follows. It meets the tread 58 mm from the flange back of a wheelset that stands in the middle.
QString sectionSettings(const Scanner& scanner, bool hasGlints) {
    constexpr double kEdgeY = 738.009743799, kEdgeZ = 10.279025895;  // x -4, y 200 of parallel rays
    const double c = std::cos(scanner.tilt), s = std::sin(scanner.tilt);
    const double dy = kEdgeY - scanner.originY, dz = kEdgeZ - scanner.originZ;
    const double edge = dy * s + dz * c - scanner.searchSlope * (dy * c - dz * s);
    return noiseSettings(hasGlints) +
           QString("maxdY=6\nminPointsIn=20\nrule=%1, %2, %3, 0, 0, %4, %5, %6, %7\n"
                   "lowLevel_k=%8\nlowLevel_b=%9\n")
               .arg(number(scanner.originX), number(scanner.originY + scanner.zero * s),
                    number(scanner.originZ + scanner.zero * c), number(direction(scanner) * c), number(s),
                    number(-direction(scanner) * s), number(c),
                    number(direction(scanner) * scanner.searchSlope), number(edge - scanner.zero));
}

QString faceSettings(const Scanner& scanner, bool hasGlints) {
    const double reference = kNominalBackToBack / 2 - scanner.originY;
    return noiseSettings(hasGlints) + QString("maxdY=1.5\nminPointsIn=20\nk2=%1\nb2=%2\n")
                                          .arg(number(direction(scanner) * scanner.slope()),
                                               number(scanner.intercept(reference) - scanner.zero));
}

/// Sight lines through a chain of points: the nearest range in each column.
class Sight {
public:
    Sight(const Scanner& scanner, std::vector<double>& ranges) : scanner_(scanner), ranges_(ranges) {
        ranges_.assign(static_cast<std::size_t>(scanner.points), std::numeric_limits<double>::quiet_NaN());
    }

    void add(double y, double z) {
        const double s = std::sin(scanner_.tilt), c = std::cos(scanner_.tilt);
        const double dy = y - scanner_.originY, dz = z - scanner_.originZ;
        const double range = dy * s + dz * c, column = scanner_.column(dy * c - dz * s, range);
        if (hasLast_)
            fill(column, range);
        lastColumn_ = column;
        lastRange_ = range;
        hasLast_ = true;
    }
    void lift() { hasLast_ = false; }

private:
    void fill(double column, double range) {
        const double from = std::min(lastColumn_, column), to = std::max(lastColumn_, column);
        const double last = std::min(to, scanner_.points - 1.0);
        for (double i = std::max(std::ceil(from), 0.0); i <= last; ++i) {
            const double share = to > from ? (i - lastColumn_) / (column - lastColumn_) : 0.0;
            const double here = between(range, share);
            double& nearest = ranges_[static_cast<std::size_t>(i)];
            if (!(nearest <= here))
                nearest = here;
        }
    }

    /// Along a straight line the range is linear over parallel rays, its reciprocal over a fan.
    double between(double range, double share) const {
        if (scanner_.fanRange > 0)
            return 1 / (1 / lastRange_ + share * (1 / range - 1 / lastRange_));
        return lastRange_ + share * (range - lastRange_);
    }

    const Scanner& scanner_;
    std::vector<double>& ranges_;
    double lastColumn_ = 0, lastRange_ = 0;
    bool hasLast_ = false;
};

/// The camera as a scanner with a fan of its own, finer and wider than what is lit.
Scanner cameraOf(const Scanner& scanner) {
    constexpr int kFiner = 4, kWider = 2;
    Scanner camera = scanner;
    const double s = std::sin(scanner.tilt), c = std::cos(scanner.tilt);
    camera.originY += scanner.camera * c;
    camera.originZ -= scanner.camera * s;
    camera.fanRange = kStandOff;
    camera.points = scanner.points * kFiner * kWider;
    camera.xStep = scanner.xStep / kFiner;
    camera.xFrom = -camera.xStep * camera.points / 2 - scanner.camera;
    return camera;
}

/// Takes away what is lit but hidden from the camera.
void hide(const Scanner& scanner, const Scanner& camera, const std::vector<double>& nearest,
          std::vector<double>& ranges) {
    constexpr double kAlongSurface = 0.5;  // mm between columns of a surface that the camera sees aslant
    for (int i = 0; i < scanner.points; ++i) {
        double& range = ranges[static_cast<std::size_t>(i)];
        const double place = std::round(camera.column(scanner.x(i, range) - scanner.camera, range));
        const bool isInView = place >= 0 && place < camera.points;
        if (!isInView || range > nearest[static_cast<std::size_t>(place)] + kAlongSurface)
            range = std::numeric_limits<double>::quiet_NaN();
    }
}

/// The section at this X as a chain for each sight.
void trace(const Scanner& scanner, const Wheel& wheel, double axisX, Sight& sight) {
    const double dx = scanner.originX - axisX;
    sight.add(wheel.back, kTop);
    const double running = wheel.shape.treadDiameter / 2;
    const double arc = axisX + running * std::asin(std::min(std::max(dx / running, -1.0), 1.0));
    for (std::size_t i = 0; i < wheel.laterals.size(); ++i) {
        double radius = wheel.radii[i];
        for (const TreadDefect& defect : wheel.shape.defects)
            radius -= missingDepth(wheel.shape, defect, wheel.laterals[i], arc);
        if (radius > std::fabs(dx))
            sight.add(wheel.back + wheel.laterals[i], wheel.axisZ - std::sqrt(radius * radius - dx * dx));
        else
            sight.lift();
    }
    sight.add(wheel.back + wheel.laterals.back(), kTop);
}

bool seeSection(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges) {
    const double dx = scanner.originX - axisX;
    if (!(wheel.axisZ - std::sqrt(wheel.tipRadius * wheel.tipRadius - dx * dx) < kTop))
        return false;  // too far away, or beyond the radius: NaN
    Sight sight(scanner, ranges);
    trace(scanner, wheel, axisX, sight);
    if (scanner.camera != 0) {
        const Scanner camera = cameraOf(scanner);
        std::vector<double> nearest;
        Sight view(camera, nearest);
        trace(camera, wheel, axisX, view);
        hide(scanner, camera, nearest, ranges);
    }
    return true;
}

/// Range at which a column meets the back: plane but for its rounding. Where the rounding is met follows from
/// the range, and the range from it; at the very tip, where the two do not come together, nothing is seen.
double rangeOfBack(const Scanner& scanner, const Wheel& wheel, double axisX, int column) {
    constexpr int kSteps = 40;
    constexpr double kTogether = 1e-4;
    const double s = std::sin(scanner.tilt), c = std::cos(scanner.tilt);
    const double height = wheel.axisZ - scanner.originZ;
    double lateral = 0;
    for (int i = 0; i < kSteps; ++i) {
        const double y = wheel.back + lateral - scanner.originY;
        const double range =
            scanner.fanRange > 0 ? y / (c - scanner.x(column, 1) * s) : (y + scanner.x(column, y) * s) / c;
        const double x = scanner.originX + scanner.x(column, range) * c + range * s;
        const double before = lateral;
        lateral = wheel.lateralOfBack(std::hypot(x - axisX, height));
        if (std::isnan(lateral) || std::fabs(lateral - before) < kTogether)
            return std::isnan(lateral) ? lateral : range;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

bool seeFace(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges) {
    const double height = wheel.axisZ - scanner.originZ;
    const double reach = scanner.points * scanner.xStep;
    if (!(std::fabs(axisX) < std::sqrt(wheel.tipRadius * wheel.tipRadius - height * height) + reach))
        return false;
    ranges.resize(static_cast<std::size_t>(scanner.points));
    for (int i = 0; i < scanner.points; ++i)
        ranges[static_cast<std::size_t>(i)] = rangeOfBack(scanner, wheel, axisX, i);
    return true;
}

}  // namespace

double Scanner::slope() const { return std::tan(tilt); }
double Scanner::intercept(double level) const { return (isFace ? level : level - originZ) / std::cos(tilt); }

double Scanner::x(int column, double range) const {
    const double parallel = xFrom + column * xStep;
    return fanRange > 0 ? parallel * range / fanRange : parallel;
}

double Scanner::column(double x, double range) const {
    return ((fanRange > 0 ? x * fanRange / range : x) - xFrom) / xStep;
}

std::vector<Scanner> measuringPost(const PostView& view) {
    constexpr double kSpan = 200;
    std::vector<Scanner> post{faceScanner(0, view), faceScanner(1, view)};
    for (const int side : {0, 1}) {
        for (int i = 0; i < 3; ++i)
            post.push_back(sectionScanner((side == 0 ? 3 : 11) + i, side, (i - 1) * kSpan, view));
    }
    for (Scanner& scanner : post)
        scanner.isMirrored = view.isMirrored[scanner.side];
    return post;
}

QByteArray postSettings(const std::vector<Scanner>& post, bool hasGlints) {
    // maxDeviation, polynomDegree and pointsHigher serve in the order of the search: a point is out by more
    // than polynomDegree mm from the polynomial of degree pointsHigher, and maxDeviation points may be.
    QString text =
        QString("calibrLines2=%1\nminProfsInWheel=5\npolynomDegree=0.5\nmaxDeviation=8\npointsHigher=6\n"
                "minimalDefectsProf=2\n")
            .arg(number(kNominalBackToBack));
    for (int index = 1; index <= post.back().index; ++index) {
        const auto scanner =
            std::find_if(post.begin(), post.end(), [&](const Scanner& s) { return s.index == index; });
        text += QString("\n[SENSOR%1]\nSN=%2\n").arg(QString::number(index), QString::number(1000 + index));
        if (scanner != post.end())
            text += bandSettings(*scanner) + (scanner->isFace ? faceSettings(*scanner, hasGlints)
                                                              : sectionSettings(*scanner, hasGlints));
    }
    return "[General]\n" + text.toUtf8();
}

Wheel::Wheel(const WheelShape& wheelShape, double wheelBack, bool backIsPlane)
    : shape(wheelShape), back(wheelBack), endsAtPlaneBack(backIsPlane), axisZ(wheelShape.treadDiameter / 2),
      tipRadius(0), tip(0) {
    constexpr double kSteepPart = 1.0, kFine = 0.005, kCoarse = 0.1;
    for (double lateral = 0; lateral < kWheelWidth; lateral += lateral < kSteepPart ? kFine : kCoarse) {
        const double radius = wornRadius(shape, lateral);
        laterals.push_back(lateral);
        radii.push_back(radius);
        if (radius > tipRadius) {
            tipRadius = radius;
            tip = radii.size() - 1;
        }
    }
}

double Wheel::lateralOfBack(double radius) const {
    if (radius <= radii.front())
        return 0;
    if (endsAtPlaneBack || !(radius <= tipRadius))
        return std::numeric_limits<double>::quiet_NaN();
    const auto end = radii.begin() + static_cast<std::ptrdiff_t>(tip) + 1;  // radii ascend to the tip
    const auto i = static_cast<std::size_t>(std::lower_bound(radii.begin(), end, radius) - radii.begin());
    const double share = (radius - radii[i - 1]) / (radii[i] - radii[i - 1]);
    return laterals[i - 1] + share * (laterals[i] - laterals[i - 1]);
}

bool seeWheel(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges) {
    return scanner.isFace ? seeFace(scanner, wheel, axisX, ranges)
                          : seeSection(scanner, wheel, axisX, ranges);
}

}  // namespace Simulator
