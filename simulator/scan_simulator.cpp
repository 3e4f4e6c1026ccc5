// The places of every profile are turned into the object's own frame, where its height is looked up.

#include <simulator/scan_simulator.h>

#include <simulator/draws.h>
#include <simulator/legal_range.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Simulator {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;
enum Stream : std::uint64_t { NoiseStream = 1, DropoutStream = 2, StrayStream = 3 };

const std::vector<Dimension> kPlate = {
    {"width", "mm", 45, 1, 1000, "of the plate along x"},
    {"length", "mm", 50, 1, 1000, "of the plate along the scan"},
    {"height", "mm", 75, 0, 1000, "of its upper side"},
    {"groove-width", "mm", 7, 0, 1000, "of the groove, 0 for none"},
    {"groove-depth", "mm", 12, 0, 1000, "of its floor below the upper side"},
    {"groove-offset", "mm", 10, -500, 500, "of its middle from that of the plate"},
};
const std::vector<Dimension> kTray = {
    {"width", "mm", 50, 1, 1000, "of the frame along x"},
    {"length", "mm", 46, 1, 1000, "of the frame along the scan"},
    {"height", "mm", 40, 0, 1000, "of its upper side"},
    {"rim", "mm", 6, 0.1, 500, "width of the frame"},
    {"depth", "mm", 25, 0, 1000, "of the floor below the upper side"},
    {"corner-radius", "mm", 8, 0, 500, "of the outer corners"},
};

// ---- the object

/// A body in its own frame, the origin in its middle, with a lower place in it.
struct Body {
    double halfWidth = 0, halfLength = 0, radius = 0;
    double height = 0, depth = 0;
    double grooveFrom = 0, grooveTo = 0;  // plate
    double rim = 0;                       // tray; 0 for a plate

    double heightAt(double u, double v) const {
        if (!isInside(u, v, halfWidth, halfLength, radius))
            return kNaN;
        const bool isLow =
            rim > 0 ? isInside(u, v, halfWidth - rim, halfLength - rim, std::max(0.0, radius - rim))
                    : u > grooveFrom && u < grooveTo;
        return isLow ? height - depth : height;
    }

    /// Rectangle with rounded corners.
    static bool isInside(double u, double v, double halfU, double halfV, double r) {
        const double du = std::abs(u) - (halfU - r);
        const double dv = std::abs(v) - (halfV - r);
        if (du <= 0 || dv <= 0)
            return du <= r && dv <= r;
        return du * du + dv * dv <= r * r;
    }
};

Body makeBody(const QString& shape, const QMap<QString, double>& d, QString& error) {
    Body body;
    body.halfWidth = d["width"] / 2;
    body.halfLength = d["length"] / 2;
    body.height = d["height"];
    if (shape == "tray") {
        body.depth = d["depth"];
        body.rim = d["rim"];
        body.radius = d["corner-radius"];
        const double half = std::min(body.halfWidth, body.halfLength);
        if (body.rim >= half || body.radius >= half)
            error = "rim, corner-radius: must be less than half of width and length";
        return body;
    }
    body.depth = d["groove-depth"];
    body.grooveFrom = d["groove-offset"] - d["groove-width"] / 2;
    body.grooveTo = d["groove-offset"] + d["groove-width"] / 2;
    if (body.grooveFrom < -body.halfWidth || body.grooveTo > body.halfWidth)
        error = "groove-offset: the groove must lie within the width";
    return body;
}

// ---- legal recipes

QString problemOf(const ScanRecipe& recipe) {
    const QString problems[] = {
        outside("columns", recipe.columns, 2, 10000),
        outside("rows", recipe.rows, 2, 10000),
        outside("columns times rows", double(recipe.columns) * recipe.rows, 4, 4e6),
        outside("x-from", recipe.xFrom, -1e4, 1e4),
        outside("x-to", recipe.xTo, -1e4, 1e4),
        outside("row-step", recipe.rowStep, 1e-3, 100),
        outside("rotation", recipe.rotation, -180, 180),
        outside("noise", recipe.noise, 0, 1000),
        outside("dropouts", recipe.dropouts, 0, 1e6),
        outside("dropout-length", recipe.dropoutLength, 1, 10000),
        outside("strays", recipe.strays, 0, 1e6),
    };
    for (const QString& problem : problems) {
        if (!problem.isEmpty())
            return problem;
    }
    return recipe.xFrom < recipe.xTo ? QString() : QString("x-to: must be greater than x-from");
}

QMap<QString, double> completeDimensions(const ScanRecipe& recipe, QString& error) {
    QMap<QString, double> complete;
    for (const Dimension& dimension : scanShapeDimensions(recipe.shape)) {
        const double value = recipe.dimensions.value(dimension.name, dimension.standard);
        const QString problem = outside(dimension.name, value, dimension.minimum, dimension.maximum);
        if (error.isEmpty())
            error = problem;
        complete.insert(dimension.name, value);
    }
    if (complete.isEmpty())
        error = QString("shape: \"%1\" is none of grooved-plate, tray").arg(recipe.shape);
    for (auto it = recipe.dimensions.begin(); it != recipe.dimensions.end() && error.isEmpty(); ++it) {
        if (!complete.contains(it.key()))
            error = QString("%1: a %2 has %3")
                        .arg(it.key(), recipe.shape, QStringList(complete.keys()).join(", "));
    }
    return complete;
}

// ---- the scan

/// Between the view and the object's frame.
struct Pose {
    explicit Pose(const ScanRecipe& recipe)
        : cosine(std::cos(recipe.rotation * kPi / 180)), sine(std::sin(recipe.rotation * kPi / 180)),
          middle((recipe.xFrom + recipe.xTo) / 2, recipe.rowStep * (recipe.rows - 1) / 2) {}

    Vector toView(const Vector& p) const {
        return {middle.x + cosine * p.x - sine * p.y, middle.y + sine * p.x + cosine * p.y};
    }
    Vector toObject(const Vector& p) const {
        const Vector d(p.x - middle.x, p.y - middle.y);
        return {cosine * d.x + sine * d.y, cosine * d.y - sine * d.x};
    }

    double cosine, sine;
    Vector middle;
};

/// Heights of all places, row by row; NaN where there is none.
std::vector<double> cleanHeights(const ScanRecipe& recipe, const Body& body, const Pose& pose) {
    std::vector<double> heights;
    heights.reserve(std::size_t(recipe.columns) * std::size_t(recipe.rows));
    for (int row = 0; row < recipe.rows; ++row) {
        for (int column = 0; column < recipe.columns; ++column) {
            const double x = recipe.xFrom + (recipe.xTo - recipe.xFrom) * column / (recipe.columns - 1);
            const Vector place = pose.toObject({x, recipe.rowStep * row});
            heights.push_back(body.heightAt(place.x, place.y));
        }
    }
    return heights;
}

void disturb(const ScanRecipe& recipe, double objectHeight, std::vector<double>& heights) {
    Draws noise(recipe.seed, NoiseStream);
    for (double& height : heights)
        height += recipe.noise * noise.normal();  // drawn for places without a height too
    Draws gaps(recipe.seed, DropoutStream);
    for (int i = 0; i < recipe.dropouts; ++i) {
        const int row = gaps.below(recipe.rows);
        const int first = gaps.below(recipe.columns);
        const int length = std::max(1, qRound(recipe.dropoutLength * (0.5 + gaps.unit())));
        const auto start = heights.begin() + std::ptrdiff_t(row) * recipe.columns;
        std::fill(start + first, start + std::min(recipe.columns, first + length), kNaN);
    }
    Draws strays(recipe.seed, StrayStream);
    for (int i = 0; i < recipe.strays; ++i) {
        const auto place = std::size_t(strays.below(recipe.rows)) * std::size_t(recipe.columns) +
                           std::size_t(strays.below(recipe.columns));
        heights[place] = objectHeight / 2 * strays.unit();
    }
}

void fillStack(const ScanRecipe& recipe, const std::vector<double>& heights, KvMath::KvProfileZSet& stack) {
    auto height = heights.begin();
    for (int row = 0; row < recipe.rows; ++row) {
        KvMath::KvProfileZ profile;
        for (int column = 0; column < recipe.columns; ++column, ++height) {
            const double x = recipe.xFrom + (recipe.xTo - recipe.xFrom) * column / (recipe.columns - 1);
            if (!std::isnan(*height))
                profile.points.append(KvMath::KvPointXY(static_cast<float>(x), static_cast<float>(*height)));
        }
        stack.append(profile);
    }
    stack.setZ(0, static_cast<float>(recipe.rowStep));
    stack.calcRange();
}

/// The straight edges between the corners, in the view.
std::vector<TrueEdge> makeEdges(const Body& body, const Pose& pose) {
    const double w = body.halfWidth, l = body.halfLength;
    const double ws = w - body.radius, ls = l - body.radius;
    return {{"left", pose.toView({-w, -ls}), pose.toView({-w, ls})},
            {"far", pose.toView({-ws, l}), pose.toView({ws, l})},
            {"right", pose.toView({w, ls}), pose.toView({w, -ls})},
            {"near", pose.toView({ws, -l}), pose.toView({-ws, -l})}};
}

void addValues(const ScanRecipe& recipe, const QMap<QString, double>& dimensions, SimulatedScan& scan) {
    for (const Dimension& dimension : scanShapeDimensions(recipe.shape))
        scan.values.push_back({dimension.name, dimensions[dimension.name], dimension.unit});
    scan.values.push_back({"rotation", recipe.rotation, "deg"});
    for (const TrueEdge& edge : scan.edges) {
        const QString name = edge.name + " edge ";
        scan.values.push_back({name + "x1", edge.from.x, "mm"});
        scan.values.push_back({name + "scan1", edge.from.y, "mm"});
        scan.values.push_back({name + "x2", edge.to.x, "mm"});
        scan.values.push_back({name + "scan2", edge.to.y, "mm"});
        const double dx = edge.to.x - edge.from.x;
        const double dy = edge.to.y - edge.from.y;
        scan.values.push_back({name + "length", std::sqrt(dx * dx + dy * dy), "mm"});
    }
}

}  // namespace

std::vector<QString> scanShapeNames() { return {"grooved-plate", "tray"}; }

std::vector<Dimension> scanShapeDimensions(const QString& shape) {
    if (shape == "grooved-plate")
        return kPlate;
    return shape == "tray" ? kTray : std::vector<Dimension>();
}

std::optional<SimulatedScan> simulateScan(const ScanRecipe& recipe, QString* error) {
    QString problem = problemOf(recipe);
    const QMap<QString, double> dimensions = completeDimensions(recipe, problem);
    Body body;
    if (problem.isEmpty())
        body = makeBody(recipe.shape, dimensions, problem);
    if (error != nullptr)
        *error = problem;
    if (!problem.isEmpty())
        return std::nullopt;

    const Pose pose(recipe);
    std::vector<double> heights = cleanHeights(recipe, body, pose);
    disturb(recipe, body.height, heights);
    SimulatedScan scan;
    fillStack(recipe, heights, scan.stack);
    scan.edges = makeEdges(body, pose);
    addValues(recipe, dimensions, scan);
    return scan;
}

QByteArray truthCsv(const SimulatedScan& simulated) { return truthCsv(simulated.values); }

}  // namespace Simulator
