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

Scanner faceScanner(int side) {
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
    return scanner;
}

Scanner sectionScanner(int index, int side, double x) {
    constexpr double kStandOff = 200, kMiddleY = 742, kMiddleZ = 10;
    Scanner scanner;
    scanner.index = index;
    scanner.serial = 1000 + index;
    scanner.side = side;
    scanner.tilt = 4.0 * kDegree;  // outwards: the flange back is seen too, and the flank still is
    scanner.originX = x;
    scanner.originY = kMiddleY - kStandOff * std::sin(scanner.tilt);
    scanner.originZ = kMiddleZ - kStandOff * std::cos(scanner.tilt);
    scanner.points = 800;
    scanner.xFrom = -88;
    scanner.xStep = 0.22;
    scanner.high = 62;  // above the tread where an outer scanner sees the wheel that stands in the middle
    scanner.low = -60;
    return scanner;
}

QString number(double value) { return QString::number(value, 'g', 9); }

QString bandSettings(const Scanner& scanner) {
    QString text;
    const auto line = [&](const char* name, double slope, double intercept) {
        text += QString("%1_k=%2\n%1_b=%3\n").arg(name, number(slope), number(intercept));
    };
    line("level", scanner.slope(), scanner.intercept(scanner.high));
    line("lowlevel", scanner.slope(), scanner.intercept(scanner.low));
    return text;
}

/// The defect search looks at the tread alone: a steep line takes the flange away, whose shape no polynomial
/// follows.
QString sectionSettings(const Scanner& scanner) {
    constexpr double kSteep = -8, kFirstX = -4, kRangeThere = 200;
    const double c = std::cos(scanner.tilt), s = std::sin(scanner.tilt);
    return QString("wndSize=3\nhigherPoinInWnd=1\nmaxdY=6\nminPointsIn=20\nrule=%1, %2, %3, 0, 0, %4, %5, "
                   "%6, %7\n"
                   "lowLevel_k=%8\nlowLevel_b=%9\n")
        .arg(number(scanner.originX), number(scanner.originY), number(scanner.originZ), number(c), number(s),
             number(-s), number(c), number(kSteep), number(kRangeThere - kSteep * kFirstX));
}

QString faceSettings(const Scanner& scanner) {
    const double reference = kNominalBackToBack / 2 - scanner.originY;
    return QString("wndSize=3\nhigherPoinInWnd=1\nmaxdY=1.5\nminPointsIn=20\nk2=%1\nb2=%2\n")
        .arg(number(scanner.slope()), number(scanner.intercept(reference)));
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
        const double x = dy * c - dz * s, range = dy * s + dz * c;
        const double column = (x - scanner_.xFrom) / scanner_.xStep;
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
            const double here = lastRange_ + share * (range - lastRange_);
            double& nearest = ranges_[static_cast<std::size_t>(i)];
            if (!(nearest <= here))
                nearest = here;
        }
    }

    const Scanner& scanner_;
    std::vector<double>& ranges_;
    double lastColumn_ = 0, lastRange_ = 0;
    bool hasLast_ = false;
};

bool seeSection(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges) {
    const double dx = scanner.originX - axisX;
    if (!(wheel.axisZ - std::sqrt(wheel.tipRadius * wheel.tipRadius - dx * dx) < kTop))
        return false;  // too far away, or beyond the radius: NaN
    Sight sight(scanner, ranges);
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
    return true;
}

bool seeFace(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges) {
    const double height = wheel.axisZ - scanner.originZ;
    const double halfChord = std::sqrt(wheel.radii.front() * wheel.radii.front() - height * height);
    const double reach = scanner.points * scanner.xStep;
    if (!(std::fabs(axisX) < halfChord + reach))
        return false;
    const double s = std::sin(scanner.tilt), c = std::cos(scanner.tilt);
    ranges.assign(static_cast<std::size_t>(scanner.points), std::numeric_limits<double>::quiet_NaN());
    for (int i = 0; i < scanner.points; ++i) {
        const double x = scanner.xFrom + i * scanner.xStep;
        const double range = (wheel.back - scanner.originY + x * s) / c;
        if (std::fabs(scanner.originX + x * c + range * s - axisX) <= halfChord)
            ranges[static_cast<std::size_t>(i)] = range;
    }
    return true;
}

}  // namespace

double Scanner::slope() const { return std::tan(tilt); }
double Scanner::intercept(double level) const { return (isFace ? level : level - originZ) / std::cos(tilt); }

std::vector<Scanner> measuringPost() {
    constexpr double kSpan = 200;
    std::vector<Scanner> post{faceScanner(0), faceScanner(1)};
    for (const int side : {0, 1}) {
        for (int i = 0; i < 3; ++i)
            post.push_back(sectionScanner((side == 0 ? 3 : 11) + i, side, (i - 1) * kSpan));
    }
    return post;
}

QByteArray postSettings(const std::vector<Scanner>& post) {
    // maxDeviation, polynomDegree and pointsHigher serve in the order of the search: a point is out by more
    // than polynomDegree mm from the polynomial of degree pointsHigher, and maxDeviation points may be.
    QString text =
        QString("calibrLines2=%1\nminProfsInWheel=5\npolynomDegree=0.5\nmaxDeviation=8\npointsHigher=6\n"
                "minimalDefectsProf=2\n")
            .arg(number(kNominalBackToBack));
    for (int index = 1; index <= post.back().index; ++index) {
        const auto scanner =
            std::find_if(post.begin(), post.end(), [&](const Scanner& s) { return s.index == index; });
        text += QString("\n[SENSOR%1]\nSN=%2\n").arg(index).arg(1000 + index);
        if (scanner != post.end())
            text += bandSettings(*scanner) +
                    (scanner->isFace ? faceSettings(*scanner) : sectionSettings(*scanner));
    }
    return "[General]\n" + text.toUtf8();
}

Wheel::Wheel(const WheelShape& wheelShape, double wheelBack)
    : shape(wheelShape), back(wheelBack), axisZ(wheelShape.treadDiameter / 2), tipRadius(0) {
    constexpr double kSteepPart = 1.0, kFine = 0.005, kCoarse = 0.1;
    for (double lateral = 0; lateral < kWheelWidth; lateral += lateral < kSteepPart ? kFine : kCoarse) {
        const double radius = wornRadius(shape, lateral);
        laterals.push_back(lateral);
        radii.push_back(radius);
        tipRadius = std::max(tipRadius, radius);
    }
}

bool seeWheel(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges) {
    return scanner.isFace ? seeFace(scanner, wheel, axisX, ranges)
                          : seeSection(scanner, wheel, axisX, ranges);
}

}  // namespace Simulator
