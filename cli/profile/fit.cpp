// fit: a line, parabola, circle or plane through all points, none of them left out, with what tells how well
// it fits. Curves are fitted about the middle of x, and carried back. Circles start from those of kvmath.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/profile/options.h"
#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/profiles/circle_fit.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/svd.h>
#include <kvmath/profile/circle_fitting.h>

#include <QtCore/QFileInfo>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure {

namespace {

const Usage usage = withTextOptions(
    {"fit",
     "PROFILE",
     "Fits a line, parabola, circle or plane to all points of a file and says how well it fits.",
     {{"--line", "", "y = slope x + intercept"},
      {"--parabola", "", "y = a x^2 + b x + c"},
      {"--circle", "", "least squares of the distances to the circle"},
      {"--known-radius", "R", "the circle has this radius, mm"},
      {"--plane", "", "a x + b y + c z + d = 0, of an XYZ record of a binary file"},
      {"--svg", "PICTURE", "draw points, curve and residuals; a plane from its edge"},
      {"--record", "N", "which record or profile of a file with several, from 0 (the first that fits)"}},
     "Residuals are y - fit for a line and a parabola, and distances from the circle or plane. The standard "
     "error is the\n"
     "root of (sum of squares / (count - parameters)). A circle has the least sum of squares. An arc whose "
     "height\n"
     "above its chord is below three standard errors does not determine its radius; the output says so. Exit "
     "code 1:\n"
     "the fit has no result or did not converge.\n\n"
     "Examples\n"
     "  kvmeasure fit land.csv --line\n"
     "  kvmeasure fit bore.csv --circle --known-radius 12.5 --svg bore.svg\n"
     "  kvmeasure fit table.bin --plane --json\n"});

constexpr int kMostPoints = 1'000'000;

/// A fitted curve: its parameters, what is left over, and places along it to draw.
struct Fit {
    QString kind;
    QList<QPair<QString, double>> parameters;
    int freedom = 0;  ///< parameters that were fitted
    bool converged = true;
    int count = 0, unset = 0;
    double squares = 0, largest = 0;
    std::vector<double> residuals;  ///< mm, of the points in their order
    QList<Vector> curve;
    double sagitta = std::nan("");  ///< height of a circle's arc above its chord, mm
    QString note;                   ///< what the points do not determine

    void add(double residual) {
        ++count;
        residuals.push_back(residual);
        squares += residual * residual;
        largest = std::isnan(residual) ? residual : std::max(largest, std::fabs(residual));
    }
    double rms() const { return std::sqrt(squares / count); }
    bool hasError() const { return count > freedom; }
    double error() const { return std::sqrt(squares / (count - freedom)); }
    bool isGood() const {
        for (const auto& parameter : parameters) {
            if (!std::isfinite(parameter.second))
                return false;
        }
        return converged && std::isfinite(squares);
    }
};

constexpr int kCurvePieces = 256;

/// Line and parabola, about the middle of the data, where the normal equations are at their best.
void fitCurve(const std::vector<double>& x, const std::vector<double>& y, bool isParabola, Fit& fit) {
    const auto ends = std::minmax_element(x.begin(), x.end());
    const double from = *ends.first;
    const double to = *ends.second;
    const double middle = (from + to) / 2;
    std::vector<double> centred;
    centred.reserve(x.size());
    for (const double place : x)
        centred.push_back(place - middle);
    double c[3] = {0, 0, 0};  // of x^2, x, 1 about the middle
    if (isParabola)
        KvMath::parabolaFitting(centred.data(), y.data(), int(x.size()), c);
    else
        KvMath::lineFitting(centred.data(), y.data(), int(x.size()), c + 1);
    const auto at = [&c](double d) { return (c[0] * d + c[1]) * d + c[2]; };
    const double slope = c[1] - 2 * c[0] * middle;
    const double constant = at(-middle);
    fit.freedom = isParabola ? 3 : 2;
    if (isParabola)
        fit.parameters = {{"a", c[0]}, {"b", slope}, {"c", constant}};
    else
        fit.parameters = {{"slope", slope}, {"intercept", constant}};
    for (std::size_t i = 0; i < x.size(); ++i)
        fit.add(y[i] - at(centred[i]));
    for (int i = 0; i <= kCurvePieces; ++i) {
        const double place = from + (to - from) * i / kCurvePieces;
        fit.curve.append({place, at(place - middle)});
    }
}

/// The circle where the points are, and a little farther; the whole of it where they leave little out.
QList<Vector> arcAlong(const ArcSpan& covered, const FittedCircle& circle) {
    constexpr double kTurn = 6.283185307179586;
    constexpr double kNearlyAll = kTurn * 5 / 6;
    constexpr double kMargin = 0.15;  // of what the points span, on either side
    const bool isWhole = covered.span > kNearlyAll;
    const double start = isWhole ? covered.start : covered.start - kMargin * covered.span;
    const double span = isWhole ? kTurn : std::min(kTurn, covered.span * (1 + 2 * kMargin));
    QList<Vector> arc;
    for (int i = 0; i <= kCurvePieces; ++i) {
        const double angle = start + span * i / kCurvePieces;
        arc.append({circle.centre.x + circle.radius * std::cos(angle),
                    circle.centre.y + circle.radius * std::sin(angle)});
    }
    return arc;
}

/// Noise alone can bend points as far as a flat arc does.
QString flatArcNote(double sagitta, double deviation, bool knowsRadius) {
    constexpr double kLeastDeviations = 3;
    if (sagitta > kLeastDeviations * deviation)
        return QString();
    return filledIn("%1 not determined: the arc is %2 mm high, less than three standard errors (%3 mm)",
                    QString(knowsRadius ? "side of the centre" : "radius"), QString::number(sagitta, 'g', 3),
                    QString::number(kLeastDeviations * deviation, 'g', 3));
}

void fitCircle(const std::vector<double>& x, const std::vector<double>& y, double knownRadius, Fit& fit) {
    constexpr double kTolerance = 1e-10;
    constexpr int kMostEvaluations = 2000;
    std::vector<Vector> points;
    points.reserve(x.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        points.emplace_back(x[i], y[i]);
    FittedCircle circle{{}, knownRadius};
    const int count = int(points.size());
    const bool knowsRadius = knownRadius > 0;
    if (knowsRadius)
        KvMath::circleFittingWithKnownR(points.data(), count, circle.radius, circle.centre, kTolerance,
                                        kMostEvaluations);
    else
        KvMath::circleFitting(points.data(), count, circle.centre, circle.radius, kTolerance,
                              kMostEvaluations);
    fit.converged = polishCircle(points, knowsRadius, circle);
    fit.freedom = knowsRadius ? 2 : 3;
    fit.parameters = {{"x", circle.centre.x}, {"y", circle.centre.y}, {"radius", circle.radius}};
    for (const Vector& point : points)
        fit.add(length(circle.centre, point) - circle.radius);
    if (!fit.isGood())
        return;
    const ArcSpan covered = arcSpan(points, circle.centre);
    fit.curve = arcAlong(covered, circle);
    fit.sagitta = sagitta(circle.radius, covered.span);
    if (fit.hasError())
        fit.note = flatArcNote(fit.sagitta, fit.error(), knowsRadius);
}

/// Points of the record of that number, or of the first with three coordinates when it is negative.
std::vector<double> readXYZ(const QString& path, int record, int& unset) {
    PointFile file(path);
    RecordHead head;
    int index = 0;
    for (; file.form() == FileForm::Records && file.nextHead(head); ++index) {
        const bool isWanted = record < 0 ? recordHasZ(head.marker) : index == record;
        std::vector<double> xyz;
        file.forEachPoint([&](const KvMath::KvPointXYZ& p) {
            if (!isWanted)
                return;
            if (recordHasZ(head.marker) && std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z))
                xyz.insert(xyz.end(), {double(p.x), double(p.y), double(p.z)});
            else
                ++unset;
            if (xyz.size() > 3U * kMostPoints)
                throw Error(path + ": more than 1000000 points; a part of it by \"kvmeasure scan plane\"");
        });
        if (!isWanted)
            continue;
        if (!recordHasZ(head.marker))
            throw Error(filledIn("%1: record %2 has no z, which a plane needs", path, index));
        if (record < 0 && file.position() < file.size())
            complain(path +
                     QString(": holds several records; this is number %1, choose another with --record N")
                         .arg(index));
        return xyz;
    }
    if (index <= record && file.form() == FileForm::Records)
        throw Error(filledIn("%1: has %2 record(s); there is no --record %3", path, index, record));
    throw Error(path + ": a plane needs an XYZ record (see \"kvmeasure info\")");
}

/// Whether points lie beside one line by more than the rounding of records, which hold floats.
bool spanPlane(const std::vector<double>& xyz) {
    constexpr double kRounding = 4 * 1.2e-7;
    double centre[3];
    double basis[9];
    if (!KvMath::pca(xyz.data(), int(xyz.size() / 3), 3, centre, basis))
        return false;
    double width = 0;
    double farthest = 0;
    for (std::size_t i = 0; i + 2 < xyz.size(); i += 3) {
        double across = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            across += basis[3 * k + 1] * (xyz[i + k] - centre[k]);
            farthest = std::max(farthest, std::fabs(xyz[i + k]));
        }
        width = std::max(width, std::fabs(across));
    }
    return width > kRounding * farthest;
}

void fitPlane(const std::vector<double>& xyz, Fit& fit) {
    double p[4];
    fit.converged = KvMath::planeFitting(xyz.data(), int(xyz.size() / 3), p) && spanPlane(xyz);
    if (!fit.converged)
        std::fill(p, p + 4, std::nan(""));
    fit.freedom = 3;
    fit.parameters = {{"a", p[0]}, {"b", p[1]}, {"c", p[2]}, {"d", p[3]}};
    for (std::size_t i = 0; i + 2 < xyz.size(); i += 3)
        fit.add(p[0] * xyz[i] + p[1] * xyz[i + 1] + p[2] * xyz[i + 2] + p[3]);
}

/// The plane seen from its edge: places along the longest direction of the points, distances from the plane
/// above.
Picture edgeView(const std::vector<double>& xyz, const Fit& fit) {
    Picture picture;
    double centre[3];
    double basis[9];
    const int count = int(xyz.size() / 3);
    if (!fit.isGood() || !KvMath::pca(xyz.data(), count, 3, centre, basis))
        return picture;
    const double normal[3] = {fit.parameters[0].second, fit.parameters[1].second, fit.parameters[2].second};
    double from = 0;
    double to = 0;
    picture.profile.points.reserve(count);
    for (std::size_t i = 0; i + 2 < xyz.size(); i += 3) {
        double along = 0;
        double distance = fit.parameters[3].second;
        for (std::size_t k = 0; k < 3; ++k) {
            along += basis[3 * k] * (xyz[i + k] - centre[k]);
            distance += normal[k] * xyz[i + k];
        }
        picture.profile += KvMath::KvPointXY(float(along), float(distance));
        from = std::min(from, along);
        to = std::max(to, along);
    }
    picture.along = filledIn("from the centroid along (%1, %2, %3)", QString::number(basis[0], 'f', 3),
                             QString::number(basis[3], 'f', 3), QString::number(basis[6], 'f', 3));
    picture.upward = "distance from the plane";
    picture.curve = {{from, 0}, {to, 0}};
    return picture;
}

/// Angles in degrees of points about a place; of an arc without a jump where it passes 180 degrees.
std::vector<double> anglesAbout(const Vector& centre, const QList<KvMath::KvPointXY>& points) {
    constexpr double kHalfTurn = 180, kTurn = 360, kNearlyAll = 300;
    constexpr double kDegrees = kHalfTurn / 3.141592653589793;
    std::vector<Vector> places;
    for (const KvMath::KvPointXY& point : points)
        places.emplace_back(double(point.x), double(point.y));
    const ArcSpan covered = arcSpan(places, centre);
    const bool isWhole = covered.span * kDegrees > kNearlyAll;
    const double start = isWhole ? -kHalfTurn : covered.start * kDegrees;
    constexpr double kRounding = 1e-9;  // degrees, of the start itself
    std::vector<double> angles;
    for (const Vector& place : places) {
        const double angle = std::atan2(place.y - centre.y, place.x - centre.x) * kDegrees;
        angles.push_back(angle - kTurn * std::floor((angle - start + kRounding) / kTurn));
    }
    return angles;
}

/// None without a result.
Residuals residualsOf(const Picture& picture, const Fit& fit) {
    Residuals residuals;
    const QList<KvMath::KvPointXY>& points = picture.profile.points;
    if (!fit.isGood() || std::size_t(points.size()) != fit.residuals.size())
        return residuals;
    residuals.isOverAngle = fit.kind == "circle";
    std::vector<double> angles;
    if (residuals.isOverAngle)
        angles = anglesAbout({fit.parameters[0].second, fit.parameters[1].second}, points);
    for (std::size_t i = 0; i < fit.residuals.size(); ++i)
        residuals.points.append(
            {residuals.isOverAngle ? angles[i] : double(points[int(i)].x), fit.residuals[i]});
    if (fit.hasError())
        residuals.standardError = fit.error();
    return residuals;
}

void report(const QString& file, const Fit& fit, bool isJson) {
    Facts facts;
    QJsonObject parameters;
    for (const auto& parameter : fit.parameters) {
        facts.add("", parameter.first, parameter.second);
        parameters[parameter.first] = jsonNumber(parameter.second);
    }
    facts.add("count", "points", fit.count);
    facts.add("unset", "unset", fit.unset);
    facts.add("rms", "rms residual, mm", fit.rms());
    facts.add("max", "max residual, mm", fit.largest);
    if (fit.hasError())
        facts.add("standardError", "standard error, mm", fit.error());
    else
        facts.add("standardError", "standard error, mm", "-", QJsonValue());
    if (std::isfinite(fit.sagitta))
        facts.add("sagitta", "height of the arc, mm", fit.sagitta);
    if (fit.kind == "circle")
        facts.json["determined"] = fit.isGood() && fit.note.isEmpty();
    const QString note = fit.isGood() ? fit.note : filledIn("the points do not determine a %1", fit.kind);
    if (!note.isEmpty())
        facts.json["note"] = note;
    facts.json["file"] = file;
    facts.json["kind"] = fit.kind;
    facts.json["good"] = fit.isGood();
    facts.json["parameters"] = parameters;
    if (isJson)
        printJson(facts.json);
    else
        print(printable(file) + ": " + fit.kind + (fit.isGood() ? "" : " (NO RESULT)") + '\n' +
              facts.table.text() + (note.isEmpty() ? "" : note + '\n'));
}

void draw(const QString& path, Picture picture, const Fit& fit) {
    QStringList texts;
    for (const auto& parameter : fit.parameters)
        texts.append(filledIn("%1 %2", parameter.first, QString::number(parameter.second, 'g', 6)));
    if (!fit.note.isEmpty())
        picture.subtitle = fit.note.section(':', 0, 0) + "; ";
    picture.subtitle +=
        filledIn("%1: %2, rms %3 mm", fit.kind, texts.join(", "), QString::number(fit.rms(), 'g', 3));
    picture.residuals = residualsOf(picture, fit);
    writePicture(path, [&] { return drawPicture(picture); });
}

QString chosenKind(const Arguments& arguments) {
    QStringList kinds;
    for (const char* kind : {"line", "parabola", "circle", "plane"}) {
        if (arguments.has(QString("--") + kind))
            kinds.append(kind);
    }
    if (kinds.size() != 1)
        throw Error("fit: say one of --line, --parabola, --circle, --plane");
    if (arguments.has("--known-radius") && kinds[0] != "circle")
        throw Error("fit: --known-radius goes with --circle");
    const QString ofText = readTextOptions(arguments).given;
    if (kinds[0] == "plane" && !ofText.isEmpty())
        throw Error("fit: --plane takes an XYZ record; leave " + ofText + " out");
    return kinds[0];
}

}  // namespace

int runFit(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    refuseOverwriting({arguments.text("--svg")}, arguments.operands());
    Fit fit;
    fit.kind = chosenKind(arguments);
    const double radius = arguments.number("--known-radius", 0, 1e-6, 1e6);
    const QString path = arguments.operand(0);
    Picture picture;
    if (fit.kind == "plane") {
        const std::vector<double> xyz =
            readXYZ(path, arguments.has("--record") ? arguments.integer("--record", 0, 0, kLastRecord) : -1,
                    fit.unset);
        fitPlane(xyz, fit);
        if (arguments.has("--svg"))
            picture = edgeView(xyz, fit);
        picture.title = QFileInfo(path).completeBaseName();
    } else {
        const LoadedProfile loaded = takeProfile(arguments);
        std::vector<double> x;
        std::vector<double> y;
        for (const KvMath::KvPointXY& point : loaded.profile.points) {
            x.push_back(double(point.x));
            y.push_back(double(point.y));
        }
        if (x.empty())
            throw Error(path + ": no points to fit");
        fit.unset = loaded.unset;
        if (fit.kind == "circle")
            fitCircle(x, y, radius, fit);
        else
            fitCurve(x, y, fit.kind == "parabola", fit);
        picture.title = loaded.stem;
        picture.profile = loaded.profile;
        if (fit.isGood())
            picture.curve = fit.curve;
    }
    if (arguments.has("--svg"))
        draw(arguments.text("--svg"), picture, fit);
    report(path, fit, arguments.isJson());
    return fit.isGood() ? int(Done) : int(NotMet);
}

}  // namespace KvMeasure
