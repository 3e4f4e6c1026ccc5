#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_sequence.h"

#include <kvmath/numerics/circle_fitting.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/svd.h>

#include <QtCore/QFileInfo>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure {

namespace {

const Usage usage{
    "fit",
    "PROFILE",
    "Fits a line, parabola, circle or plane to all points of a file and says how well it fits.",
    {{"--line", "", "y = slope x + intercept"},
     {"--parabola", "", "y = a x^2 + b x + c"},
     {"--circle", "", "least squares of the distances to the circle"},
     {"--known-radius", "R", "the circle has this radius, mm"},
     {"--plane", "", "a x + b y + c z + d = 0, of an XYZ record of a binary file"},
     {"--svg", "FILE", "draw points and curve; a plane from its edge, distances large"},
     {"--record", "N", "which record or profile of a file with several, from 0 (the first that fits)"},
     {"--columns", "X,Y", "columns of a CSV file, from 1 (1,2)"}},
    "Residuals are y - fit for a line and a parabola, and distances from the circle or plane. The standard "
    "error is the\n"
    "root of (sum of squares / (count - parameters)). Exit code 1: the fit has no result or did not "
    "converge.\n\n"
    "Examples\n"
    "  kvmeasure fit land.csv --line\n"
    "  kvmeasure fit bore.csv --circle --known-radius 12.5 --svg bore.svg\n"
    "  kvmeasure fit table.bin --plane --json\n"};

constexpr int mostPoints = 1'000'000;

/// A fitted curve: its parameters, what is left over, and places along it to draw.
struct Fit {
    QString kind;
    QList<QPair<QString, double>> parameters;
    int freedom = 0;  ///< parameters that were fitted
    bool converged = true;
    int count = 0, unset = 0;
    double squares = 0, largest = 0;
    QList<Vector> curve;

    void add(double residual) {
        ++count;
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

constexpr int curvePieces = 256;

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
    for (int i = 0; i <= curvePieces; ++i) {
        const double place = from + (to - from) * i / curvePieces;
        fit.curve.append({place, at(place - middle)});
    }
}

/// The circle where the points are, and a little farther; the whole of it where they leave little out.
QList<Vector> arcAlong(const std::vector<Vector>& points, const Vector& centre, double radius) {
    constexpr double turn = 6.283185307179586;
    constexpr double nearlyAll = turn * 5 / 6;
    constexpr double margin = 0.15;  // of what the points span, on either side
    std::vector<double> angles;
    angles.reserve(points.size());
    for (const Vector& point : points)
        angles.push_back(std::atan2(point.y - centre.y, point.x - centre.x));
    std::sort(angles.begin(), angles.end());
    double start = angles.front();
    double widest = turn - (angles.back() - start);  // stretch without points
    for (std::size_t i = 1; i < angles.size(); ++i) {
        if (angles[i] - angles[i - 1] > widest) {
            widest = angles[i] - angles[i - 1];
            start = angles[i];
        }
    }
    double span = turn - widest;
    if (span > nearlyAll) {
        span = turn;
    } else {
        start -= margin * span;
        span = std::min(turn, span * (1 + 2 * margin));
    }
    QList<Vector> arc;
    for (int i = 0; i <= curvePieces; ++i) {
        const double angle = start + span * i / curvePieces;
        arc.append({centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)});
    }
    return arc;
}

void fitCircle(const std::vector<double>& x, const std::vector<double>& y, double knownRadius, Fit& fit) {
    constexpr double tolerance = 1e-10;
    constexpr int mostEvaluations = 2000;
    std::vector<Vector> points;
    points.reserve(x.size());
    for (std::size_t i = 0; i < x.size(); ++i)
        points.emplace_back(x[i], y[i]);
    Vector centre;
    double radius = knownRadius;
    const int count = int(points.size());
    if (knownRadius > 0)
        fit.converged =
            KvMath::circleFittingWithKnownR(points.data(), count, radius, centre, tolerance, mostEvaluations);
    else
        fit.converged =
            KvMath::circleFitting(points.data(), count, centre, radius, tolerance, mostEvaluations);
    fit.freedom = knownRadius > 0 ? 2 : 3;
    fit.parameters = {{"x", centre.x}, {"y", centre.y}, {"radius", radius}};
    for (const Vector& point : points)
        fit.add(length(centre, point) - radius);
    if (fit.isGood())
        fit.curve = arcAlong(points, centre, radius);
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
            if (xyz.size() > 3U * mostPoints)
                throw Failure{path + ": more than 1000000 points; a part of it by \"kvmeasure scan plane\""};
        });
        if (!isWanted)
            continue;
        if (!recordHasZ(head.marker))
            throw Failure{QString("%1: record %2 has no z, which a plane needs").arg(path).arg(index)};
        if (record < 0 && file.position() < file.size())
            complain(path +
                     QString(": holds several records; this is number %1, choose another with --record N")
                         .arg(index));
        return xyz;
    }
    if (index <= record && file.form() == FileForm::Records)
        throw Failure{
            QString("%1: has %2 record(s); there is no --record %3").arg(path).arg(index).arg(record)};
    throw Failure{path + ": a plane needs an XYZ record (see \"kvmeasure info\")"};
}

void fitPlane(const std::vector<double>& xyz, Fit& fit) {
    double p[4];
    fit.converged = KvMath::planeFitting(xyz.data(), int(xyz.size() / 3), p);
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
    picture.along = QString("from the centroid along (%1, %2, %3)")
                        .arg(basis[0], 0, 'f', 3)
                        .arg(basis[3], 0, 'f', 3)
                        .arg(basis[6], 0, 'f', 3);
    picture.upward = "distance from the plane";
    picture.curve = {{from, 0}, {to, 0}};
    return picture;
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
    facts.json["file"] = file;
    facts.json["kind"] = fit.kind;
    facts.json["good"] = fit.isGood();
    facts.json["parameters"] = parameters;
    if (isJson)
        printJson(facts.json);
    else
        print(QString("%1: %2%3\n%4")
                  .arg(file, fit.kind, fit.isGood() ? "" : " (NO RESULT)", facts.table.text()));
}

void draw(const QString& path, Picture picture, const Fit& fit) {
    QStringList texts;
    for (const auto& parameter : fit.parameters)
        texts.append(QString("%1 %2").arg(parameter.first).arg(parameter.second, 0, 'g', 6));
    picture.subtitle = QString("%1: %2, rms %3 mm").arg(fit.kind, texts.join(", ")).arg(fit.rms(), 0, 'g', 3);
    writeOutputFile(path, drawPicture(picture));
}

QString chosenKind(const Arguments& arguments) {
    QStringList kinds;
    for (const char* kind : {"line", "parabola", "circle", "plane"}) {
        if (arguments.has(QString("--") + kind))
            kinds.append(kind);
    }
    if (kinds.size() != 1)
        throw Failure{"fit: say one of --line, --parabola, --circle, --plane"};
    if (arguments.has("--known-radius") && kinds[0] != "circle")
        throw Failure{"fit: --known-radius goes with --circle"};
    if (kinds[0] == "plane" && arguments.has("--columns"))
        throw Failure{"fit: --plane takes an XYZ record; leave --columns out"};
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
            readXYZ(path, arguments.has("--record") ? arguments.integer("--record", 0, 0, lastRecord) : -1,
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
            throw Failure{path + ": no points to fit"};
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
