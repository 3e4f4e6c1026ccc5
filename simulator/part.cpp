// Shapes of simulated parts as straight and round pieces in walking order, with true values in closed form. A
// new shape is a function, its name, its dimensions, and its place in buildPart.
#include <simulator/part.h>

#include <cmath>

namespace Simulator {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegrees = 180.0 / kPi;

using Dimensions = QMap<QString, double>;

void addLine(Part& part, Vector from, Vector to) { part.pieces.push_back({from, to, 0.0, {}}); }

void addPath(Part& part, const std::vector<Vector>& path) {
    for (std::size_t i = 1; i < path.size(); ++i)
        addLine(part, path[i - 1], path[i]);
}

// The origin is in the middle of the opening.
Part vGroove(const Dimensions& d) {
    const double half = d["width"] / 2, depth = d["depth"];
    const Vector left(-half, 0), root(0, -depth), right(half, 0);
    Part part;
    addPath(part, {{-kFar, 0}, left, root, right, {kFar, 0}});
    part.values = {{"depth", depth, "mm"},
                   {"width", 2 * half, "mm"},
                   {"opening angle", 2 * std::atan2(half, depth) * kDegrees, "deg"},
                   {"flank length", std::hypot(half, depth), "mm"}};
    part.corners = {{"left edge", left}, {"root", root}, {"right edge", right}};
    return part;
}

// The origin is in the middle of the opening.
Part squareGroove(const Dimensions& d) {
    const double half = d["width"] / 2, depth = d["depth"];
    const Vector left(-half, 0), leftFloor(-half, -depth), rightFloor(half, -depth), right(half, 0);
    Part part;
    addPath(part, {{-kFar, 0}, left, leftFloor, rightFloor, right, {kFar, 0}});
    part.values = {{"depth", depth, "mm"}, {"width", 2 * half, "mm"}};
    part.corners = {
        {"left edge", left}, {"left floor", leftFloor}, {"right floor", rightFloor}, {"right edge", right}};
    return part;
}

/// How far a flank of this angle runs sideways over a height; exactly 0 for an upright one.
double flankRun(double height, double angle) {
    return angle == 90.0 ? 0.0 : height / std::tan(angle / kDegrees);
}

// The origin is on the lower surface, below the middle of the flank.
Part step(const Dimensions& d) {
    const double height = d["height"], run = flankRun(height, d["flank-angle"]);
    const Vector foot(-run / 2, 0), edge(run / 2, height);
    Part part;
    addPath(part, {{-kFar, 0}, foot, edge, {kFar, height}});
    part.values = {{"height", height, "mm"}, {"flank angle", d["flank-angle"], "deg"}};
    part.corners = {{"foot", foot}, {"edge", edge}};
    return part;
}

// A circular segment on a plate; the origin is in the middle of its chord.
Part bead(const Dimensions& d, QString& error) {
    const double half = d["width"] / 2, height = d["height"];
    if (height > half) {
        error = "bead: height must not be above half the width";
        return {};
    }
    const double radius = (half * half + height * height) / (2 * height);
    const double toChord = radius - height;
    const Vector left(-half, 0), right(half, 0);
    Part part;
    addLine(part, {-kFar, 0}, left);
    part.pieces.push_back({left, right, radius, Vector(0, -toChord)});
    addLine(part, right, {kFar, 0});
    part.values = {{"height", height, "mm"},
                   {"width", 2 * half, "mm"},
                   {"radius", radius, "mm"},
                   {"area", radius * radius * std::atan2(half, toChord) - half * toChord, "mm2"}};
    part.corners = {{"left toe", left}, {"crest", {0, height}}, {"right toe", right}};
    return part;
}

// A slotted bar with slanted flanks on a plate; the origin is on the plate, below the middle of the slot.
Part extrusion(const Dimensions& d, QString& error) {
    const double half = d["width"] / 2, height = d["height"], slot = d["slot-width"] / 2;
    const double top = half - flankRun(height, d["flank-angle"]), floor = height - d["slot-depth"];
    if (!(top > slot) || floor < 0) {
        error = top > slot ? "extrusion: slot-depth must not be above the height"
                           : "extrusion: the slot does not fit between the flanks";
        return {};
    }
    const Vector leftFoot(-half, 0), leftEdge(-top, height), slotLeft(-slot, height);
    const Vector slotRight(slot, height), rightEdge(top, height), rightFoot(half, 0);
    Part part;
    addPath(part, {{-kFar, 0},
                   leftFoot,
                   leftEdge,
                   slotLeft,
                   {-slot, floor},
                   {slot, floor},
                   slotRight,
                   rightEdge,
                   rightFoot,
                   {kFar, 0}});
    part.values = {{"height", height, "mm"},       {"width", 2 * half, "mm"},
                   {"top width", 2 * top, "mm"},   {"flank angle", d["flank-angle"], "deg"},
                   {"slot width", 2 * slot, "mm"}, {"slot depth", d["slot-depth"], "mm"}};
    part.corners = {{"left foot", leftFoot},   {"left edge", leftEdge},   {"slot left", slotLeft},
                    {"slot right", slotRight}, {"right edge", rightEdge}, {"right foot", rightFoot}};
    return part;
}

// The origin is in the middle of the surface.
Part plate(const Dimensions& d) {
    const Vector left(-d["width"] / 2, 0), right(d["width"] / 2, 0);
    Part part;
    addLine(part, left, right);
    part.values = {{"width", d["width"], "mm"}};
    part.corners = {{"left edge", left}, {"right edge", right}};
    return part;
}

// Two sheets with nothing between; the origin is in the middle of the gap at the height of the left sheet.
Part gap(const Dimensions& d) {
    const Vector left(-d["width"] / 2, 0), right(d["width"] / 2, d["flush"]);
    Part part;
    addLine(part, {-kFar, 0}, left);
    addLine(part, right, {kFar, d["flush"]});
    part.values = {{"gap", d["width"], "mm"}, {"flush", d["flush"], "mm"}};
    part.corners = {{"left edge", left}, {"right edge", right}};
    return part;
}

// A bar seen from the side of its end; the origin is its centre. Both halves, so that it stays whole when it
// turns.
Part roundBar(const Dimensions& d) {
    const double radius = d["diameter"] / 2;
    const Vector left(-radius, 0), right(radius, 0);
    Part part;
    part.pieces = {{left, right, radius, {}}, {right, left, radius, {}}};
    part.values = {{"diameter", d["diameter"], "mm"}, {"radius", radius, "mm"}};
    part.corners = {{"centre", {}}};
    return part;
}

Dimension lengthOf(const char* name, double standard, const char* meaning) {
    return {name, "mm", standard, 0.001, 10000.0, meaning};
}

const Dimension kFlankAngle = {"flank-angle", "deg", 90.0,
                               5.0,           90.0,  "between the lower surface and the flank"};

}  // namespace

std::vector<QString> shapeNames() {
    return {"v-groove", "square-groove", "step", "bead", "extrusion", "plate", "gap", "round"};
}

std::vector<Dimension> shapeDimensions(const QString& shape) {
    if (shape == "v-groove")
        return {lengthOf("width", 12.0, "of the opening"),
                lengthOf("depth", 6.0, "from the surface to the root")};
    if (shape == "square-groove")
        return {lengthOf("width", 7.0, "of the groove"),
                lengthOf("depth", 12.0, "from the surface to the floor")};
    if (shape == "step")
        return {lengthOf("height", 5.0, "of the right surface over the left one"), kFlankAngle};
    if (shape == "bead")
        return {lengthOf("width", 8.0, "from toe to toe"), lengthOf("height", 2.0, "at most half the width")};
    if (shape == "extrusion") {
        Dimension flank = kFlankAngle;
        flank.standard = 75.0;
        return {lengthOf("width", 30.0, "at the foot"), lengthOf("height", 15.0, "over the plate"), flank,
                lengthOf("slot-width", 8.0, "of the slot in the top"),
                lengthOf("slot-depth", 6.0, "from the top, at most the height")};
    }
    if (shape == "plate")
        return {lengthOf("width", 40.0, "from edge to edge")};
    if (shape == "gap")
        return {lengthOf("width", 3.0, "of the gap"),
                {"flush", "mm", 0.5, -1000.0, 1000.0, "height of the right sheet over the left one"}};
    if (shape == "round")
        return {lengthOf("diameter", 40.0, "of the bar")};
    return {};
}

Part buildPart(const QString& shape, const QMap<QString, double>& dimensions, QString& error) {
    if (shape == "v-groove")
        return vGroove(dimensions);
    if (shape == "square-groove")
        return squareGroove(dimensions);
    if (shape == "step")
        return step(dimensions);
    if (shape == "bead")
        return bead(dimensions, error);
    if (shape == "extrusion")
        return extrusion(dimensions, error);
    if (shape == "plate")
        return plate(dimensions);
    if (shape == "gap")
        return gap(dimensions);
    return roundBar(dimensions);
}

}  // namespace Simulator
