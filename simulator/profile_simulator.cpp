// The part is built in its own frame and placed; each column then takes the highest of its crossings with the
// pieces. Cost: columns times pieces. Memory: the points and one counter for each column.

#include <simulator/profile_simulator.h>

#include <simulator/draws.h>
#include <simulator/legal_range.h>
#include <simulator/part.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Simulator {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;
enum Stream : std::uint64_t { NoiseStream = 1, DropoutStream = 2, SpikeStream = 3 };

// ---- legal recipes

QString problemOf(const ProfileRecipe& recipe) {
    const QString problems[] = {
        outside("points", recipe.points, 2, 1000000),
        outside("x-from", recipe.xFrom, -1e4, 1e4),
        outside("x-to", recipe.xTo, -1e4, 1e4),
        outside("rotation", recipe.rotation, -60, 60),
        outside("shift-x", recipe.shiftX, -1e4, 1e4),
        outside("shift-y", recipe.shiftY, -1e4, 1e4),
        outside("noise", recipe.noise, 0, 1000),
        outside("dropouts", recipe.dropouts, 0, recipe.points),
        outside("dropout-length", recipe.dropoutLength, 1, 100000),
        outside("spikes", recipe.spikes, 0, recipe.points),
        outside("spike-height", recipe.spikeHeight, 0, 1000),
    };
    for (const QString& problem : problems) {
        if (!problem.isEmpty())
            return problem;
    }
    return recipe.xFrom < recipe.xTo ? QString() : QString("x-to: must be greater than x-from");
}

QString joined(const std::vector<QString>& names) {
    QString text;
    for (const QString& name : names)
        text += text.isEmpty() ? name : ", " + name;
    return text;
}

/// Every dimension of the shape, the recipe's own where it names one.
QMap<QString, double> completeDimensions(const ProfileRecipe& recipe, QString& error) {
    QMap<QString, double> complete;
    std::vector<QString> names;
    for (const Dimension& dimension : shapeDimensions(recipe.shape)) {
        const double value = recipe.dimensions.value(dimension.name, dimension.standard);
        const QString problem = outside(dimension.name, value, dimension.minimum, dimension.maximum);
        if (error.isEmpty())
            error = problem;
        complete.insert(dimension.name, value);
        names.push_back(dimension.name);
    }
    if (names.empty())
        error = QString("shape: \"%1\" is none of %2").arg(recipe.shape, joined(shapeNames()));
    for (auto it = recipe.dimensions.begin(); it != recipe.dimensions.end() && error.isEmpty(); ++it) {
        if (!complete.contains(it.key()))
            error = QString("%1: a %2 has %3").arg(it.key(), recipe.shape, joined(names));
    }
    return complete;
}

// ---- the part under the scanner

class Pose {
public:
    explicit Pose(const ProfileRecipe& recipe)
        : cos_(std::cos(recipe.rotation * kPi / 180)), sin_(std::sin(recipe.rotation * kPi / 180)),
          shift_(recipe.shiftX, recipe.shiftY) {}
    Vector operator()(const Vector& p) const {
        return {cos_ * p.x - sin_ * p.y + shift_.x, sin_ * p.x + cos_ * p.y + shift_.y};
    }

private:
    double cos_, sin_;
    Vector shift_;
};

void place(Part& part, const ProfileRecipe& recipe) {
    const Pose pose(recipe);
    for (OutlinePiece& piece : part.pieces) {
        piece.p1 = pose(piece.p1);
        piece.p2 = pose(piece.p2);
        piece.centre = pose(piece.centre);
    }
    for (auto& corner : part.corners)
        corner.second = pose(corner.second);
}

double cross(const Vector& a, const Vector& b, const Vector& p) {
    return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
}

/// Height of a straight piece that reaches x, from its nearer end on: the far one may be a kilometre away.
double lineHeight(const OutlinePiece& piece, double x) {
    const bool firstIsNear = std::abs(x - piece.p1.x) <= std::abs(x - piece.p2.x);
    const Vector& near = firstIsNear ? piece.p1 : piece.p2;
    return near.y + (x - near.x) * ((piece.p2.y - piece.p1.y) / (piece.p2.x - piece.p1.x));
}

/// The higher one of the places of an arc at x; the arc is the part of its circle to the left of p1 to p2.
double arcHeight(const OutlinePiece& piece, double x) {
    const double dx = x - piece.centre.x;
    const double rise = std::sqrt(piece.radius * piece.radius - dx * dx);  // NaN beside the circle
    for (const double y : {piece.centre.y + rise, piece.centre.y - rise}) {
        if (cross(piece.p1, piece.p2, {x, y}) >= 0)
            return y;
    }
    return kNaN;
}

double pieceHeight(const OutlinePiece& piece, double x) {
    if (piece.radius > 0)
        return arcHeight(piece, x);
    const auto [left, right] = std::minmax(piece.p1.x, piece.p2.x);
    return left < right && left <= x && x <= right ? lineHeight(piece, x) : kNaN;
}

double surfaceHeight(const std::vector<OutlinePiece>& pieces, double x) {
    double highest = kNaN;
    for (const OutlinePiece& piece : pieces) {
        const double y = pieceHeight(piece, x);
        if (!(y <= highest) && !std::isnan(y))
            highest = y;
    }
    return highest;
}

/// Cuts straight pieces at the scanner's limits and leaves out what lies beyond them.
std::vector<OutlinePiece> clipped(const std::vector<OutlinePiece>& pieces, double xFrom, double xTo) {
    std::vector<OutlinePiece> inside;
    for (OutlinePiece piece : pieces) {
        const double middle = piece.centre.x, radius = piece.radius;
        const double left = radius > 0 ? middle - radius : std::min(piece.p1.x, piece.p2.x);
        const double right = radius > 0 ? middle + radius : std::max(piece.p1.x, piece.p2.x);
        if (right < xFrom || left > xTo)
            continue;
        const OutlinePiece whole = piece;
        for (Vector* end : {&piece.p1, &piece.p2}) {
            const double x = std::clamp(end->x, xFrom, xTo);
            if (radius == 0 && x != end->x)
                *end = {x, lineHeight(whole, x)};
        }
        inside.push_back(piece);
    }
    return inside;
}

// ---- what a real scanner adds

/// Columns that are still free, found again from any column on.
class FreeColumns {
public:
    explicit FreeColumns(const std::vector<double>& heights) : next_(heights.size() + 1) {
        for (std::size_t i = 0; i < next_.size(); ++i)
            next_[i] = i < heights.size() && std::isnan(heights[i]) ? i + 1 : i;
    }

    /// The column itself, or the next free one behind it, from the last on to the first; none: the number of
    /// columns. It is free no more.
    std::size_t take(std::size_t column) {
        std::size_t found = find(column);
        if (found + 1 == next_.size())
            found = find(0);
        if (found + 1 < next_.size())
            next_[found] = found + 1;
        return found;
    }

private:
    std::size_t find(std::size_t column) {
        while (next_[column] != column)
            column = next_[column] = next_[next_[column]];
        return column;
    }

    std::vector<std::size_t> next_;  // the first free column from each on, with steps on the way
};

/// As many spikes as asked for, each in a column of its own that has a height.
std::vector<double> spikeOffsets(const ProfileRecipe& recipe, const std::vector<double>& heights) {
    std::vector<double> offsets(heights.size(), 0.0);
    FreeColumns free(heights);
    Draws draws(recipe.seed, SpikeStream);
    for (int i = 0; i < recipe.spikes; ++i) {
        const std::size_t column = free.take(static_cast<std::size_t>(draws.below(recipe.points)));
        if (column == heights.size())
            break;
        const double sign = draws.unit() < 0.5 ? -1.0 : 1.0;
        offsets[column] = sign * recipe.spikeHeight * (0.5 + 0.5 * draws.unit());
    }
    return offsets;
}

/// True for the columns that a gap covers. Only the ends of gaps are entered, so that long gaps cost no more.
std::vector<bool> missingColumns(const ProfileRecipe& recipe) {
    const auto columns = static_cast<std::size_t>(recipe.points);
    std::vector<int> changes(columns + 1, 0);
    Draws draws(recipe.seed, DropoutStream);
    for (int i = 0; i < recipe.dropouts; ++i) {
        const int first = draws.below(recipe.points);
        const int length = std::max(1, qRound(recipe.dropoutLength * (0.5 + draws.unit())));
        ++changes[static_cast<std::size_t>(first)];
        --changes[static_cast<std::size_t>(std::min(recipe.points, first + length))];
    }
    std::vector<bool> missing(columns);
    int open = 0;
    for (std::size_t i = 0; i < columns; ++i) {
        open += changes[i];
        missing[i] = open > 0;
    }
    return missing;
}

void scan(const ProfileRecipe& recipe, const std::vector<OutlinePiece>& pieces, KvMath::KvProfile& profile) {
    const std::vector<bool> missing = missingColumns(recipe);
    std::vector<float> places;
    std::vector<double> heights;
    for (int i = 0; i < recipe.points; ++i) {
        const double share = static_cast<double>(i) / (recipe.points - 1);
        places.push_back(static_cast<float>(recipe.xFrom + (recipe.xTo - recipe.xFrom) * share));
        heights.push_back(
            missing[places.size() - 1] ? kNaN : surfaceHeight(pieces, static_cast<double>(places.back())));
    }
    const std::vector<double> spikes = spikeOffsets(recipe, heights);
    Draws noise(recipe.seed, NoiseStream);
    profile.points.reserve(recipe.points);
    for (std::size_t i = 0; i < places.size(); ++i) {
        const double disturbed = recipe.noise * noise.normal() + spikes[i];  // drawn for missing columns too
        const double y = heights[i] + disturbed;
        if (recipe.keepMissing || !std::isnan(y))
            profile.points.append(KvMath::KvPointXY(places[i], static_cast<float>(y)));
    }
    profile.calcRange();
}

}  // namespace

std::optional<SimulatedProfile> simulateProfile(const ProfileRecipe& recipe, QString* error) {
    QString problem = problemOf(recipe);
    const QMap<QString, double> dimensions = completeDimensions(recipe, problem);
    Part part;
    if (problem.isEmpty())
        part = buildPart(recipe.shape, dimensions, problem);
    if (error != nullptr)
        *error = problem;
    if (!problem.isEmpty())
        return std::nullopt;

    place(part, recipe);
    SimulatedProfile result;
    scan(recipe, part.pieces, result.profile);
    result.outline = clipped(part.pieces, recipe.xFrom, recipe.xTo);
    result.values = part.values;
    result.values.push_back({"rotation", recipe.rotation, "deg"});
    for (const auto& [name, point] : part.corners) {
        result.values.push_back({name + " x", point.x, "mm"});
        result.values.push_back({name + " y", point.y, "mm"});
    }
    return result;
}

double trueValue(const SimulatedProfile& simulated, const QString& name) {
    for (const TrueValue& value : simulated.values) {
        if (value.name == name)
            return value.value;
    }
    return kNaN;
}

QByteArray truthCsv(const SimulatedProfile& simulated) { return truthCsv(simulated.values); }

QByteArray truthCsv(const std::vector<TrueValue>& values) {
    QByteArray text = "name,value,unit\n";
    for (const TrueValue& value : values)
        text += QString("%1,%2,%3\n")
                    .arg(value.name, QString::number(value.value + 0.0, 'g', 9), value.unit)
                    .toUtf8();
    return text;
}

std::vector<float> xyBuffer(const KvMath::KvProfile& profile) {
    std::vector<float> buffer;
    buffer.reserve(2 * static_cast<std::size_t>(profile.points.size()));
    for (const KvMath::KvPointXY& p : profile.points) {
        buffer.push_back(p.x);
        buffer.push_back(p.y);
    }
    return buffer;
}

}  // namespace Simulator
