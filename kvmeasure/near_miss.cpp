#include "kvmeasure/near_miss.h"

#include "kvmeasure/print.h"

#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/search.h>

#include <QtCore/QVector>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace KvMeasure {

using namespace KvMath;

namespace {

constexpr double degreesPerRadian = 57.29577951308232;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr qint64 mostJudged = 1'000'000;  ///< constraints, some hundredths of a second
constexpr int mostBroken = 3;             ///< constraints, of an assignment that is called the nearest
constexpr int mostReasons = 3;

enum class Kind { Length, Inclination, Distance, FacingDistance, Rotation, Shift };

/// A constraint, read once.
struct Demand {
    TSConstraint* constraint = nullptr;
    Kind kind = Kind::Length;
    int from = 0, to = 0;                        ///< template lines; the same where it looks at one
    double lower = -infinity, upper = infinity;  ///< mm or degrees
    int turn = TSCRotationAngle::AnyDirection;
    double along = 0;  ///< of a shift: radians from its reference
    bool isFromReference = false;

    bool isOfOne() const { return kind == Kind::Length || kind == Kind::Inclination; }
    bool isAngle() const { return kind == Kind::Inclination || kind == Kind::Rotation; }
};

Kind kindOf(const QString& type) {
    if (type == "Length")
        return Kind::Length;
    if (type == "Inclination angle")
        return Kind::Inclination;
    if (type == "Rotation angle")
        return Kind::Rotation;
    if (type == "Endpoint shift in direction")
        return Kind::Shift;
    return type == "Endpoint distance" ? Kind::Distance : Kind::FacingDistance;
}

Demand readDemand(TSConstraint& constraint) {
    QVariantMap keys;
    constraint.save(keys);
    Demand demand;
    demand.constraint = &constraint;
    demand.kind = kindOf(constraint.getType());
    demand.from = keys[demand.isOfOne() ? "lineIndex" : "lineFromIndex"].toInt();
    demand.to = keys[demand.isOfOne() ? "lineIndex" : "lineToIndex"].toInt();
    demand.turn = keys["direction"].toInt();
    demand.along = keys["directionAngle"].toDouble();
    demand.isFromReference = keys["isFromLineReference"].toBool();
    for (const auto& [key, bound] : {std::pair("lowerBound", &demand.lower), {"upperBound", &demand.upper}}) {
        bool isSet = false;
        const double value = keys[key].toDouble(&isSet) * (demand.isAngle() ? degreesPerRadian : 1);
        if (isSet)
            *bound = value;
    }
    return demand;
}

LinePP assigned(const LinePP* lines, int code) {
    const LinePP& segment = lines[code / 2];
    return code % 2 != 0 ? LinePP(segment.p2, segment.p1) : segment;
}

/// What a demand looks at, mm or degrees; a turn is positive in the demanded sense.
double measured(const Demand& demand, const LinePP& from, const LinePP& to) {
    const Vector a(from.p2.x - from.p1.x, from.p2.y - from.p1.y);
    const Vector b(to.p2.x - to.p1.x, to.p2.y - to.p1.y);
    if (demand.kind == Kind::Length)
        return length(from.p1, from.p2);
    if (demand.kind == Kind::Inclination)
        return direction(from);
    if (demand.kind == Kind::Rotation) {
        const double cross = a.x * b.y - a.y * b.x;
        const double angle = std::fabs(std::atan2(cross, a.x * b.x + a.y * b.y)) * degreesPerRadian;
        const int turn = cross > 0 ? TSCRotationAngle::CounterClockwise : TSCRotationAngle::Clockwise;
        return demand.turn == TSCRotationAngle::AnyDirection || demand.turn == turn ? angle : -angle;
    }
    if (demand.kind != Kind::Shift)
        return length(from.p2, to.p1);
    const Vector& reference = demand.isFromReference ? a : b;
    const double angle = std::atan2(reference.y, reference.x) + demand.along;
    return (to.p1.x - from.p2.x) * std::cos(angle) + (to.p1.y - from.p2.y) * std::sin(angle);
}

/// By how much the ends that face each other are farther apart than the other two; 0 when they are not, or
/// when it does not matter.
double turnedAway(const Demand& demand, const LinePP& from, const LinePP& to) {
    return demand.kind == Kind::FacingDistance
               ? std::max(0.0, length(from.p2, to.p1) - length(from.p1, to.p2))
               : 0.0;
}

/// How far a refused value is from what is allowed, in widths of that; of the bound where there is only one.
double excess(const Demand& demand, const LinePP& from, const LinePP& to) {
    const double value = measured(demand, from, to);
    const double lower =
        demand.turn == TSCRotationAngle::AnyDirection ? demand.lower : std::max(demand.lower, 0.0);
    double width = demand.upper - lower;
    if (!std::isfinite(width))
        width = std::fabs(std::isfinite(lower) ? lower : demand.upper);
    if (!(width > 0) || !std::isfinite(width))
        width = 1;
    const double beyond =
        std::max({0.0, lower - value, value - demand.upper, turnedAway(demand, from, to)}) / width;
    return std::isfinite(beyond) ? beyond : infinity;
}

/// How many constraints refuse, and by how much together.
using Refusals = std::pair<int, double>;

/// One walk through the assignments. Without tolerance it remembers where the template's own search comes
/// farthest; with a tolerance the complete assignment with the fewest refusals, up to that many.
struct Walk {
    int tolerated = 0;
    std::vector<std::vector<Demand>> demands;  ///< per template line
    std::vector<Refusals> sums;                ///< of the lines that are assigned
    qint64 judged = 0;
    int level = -1;  ///< last line of what is remembered
    Refusals best;
    TSLinesIndecies indices;

    bool isBetter(const Refusals& sum, int at) const {
        return tolerated == 0 && at != level ? at > level : sum < best;
    }
};

bool judge(LinePP* lines, int* assignment, int level, void* data) {
    auto& walk = *static_cast<Walk*>(data);
    if (++walk.judged > mostJudged)
        return false;
    const auto line = static_cast<std::size_t>(level);
    Refusals sum = level > 0 ? walk.sums[line - 1] : Refusals();
    for (const Demand& demand : walk.demands[line]) {
        ++walk.judged;
        if (demand.constraint->check(lines, assignment))
            continue;
        ++sum.first;
        sum.second +=
            excess(demand, assigned(lines, assignment[demand.from]), assigned(lines, assignment[demand.to]));
        if (!walk.isBetter(sum, level))
            return false;
    }
    walk.sums[line] = sum;
    if (walk.tolerated == 0 ? sum.first == 0 : line + 1 < walk.sums.size())
        return true;
    if (walk.isBetter(sum, level)) {
        walk.level = level;
        walk.best = sum;
        walk.indices = TSLinesIndecies(assignment, level + 1);
    }
    return false;
}

/// True when something is remembered and, with a tolerance, nothing was left out.
bool walkThrough(Walk& walk, QVector<LinePP>& lines, int tolerated, bool allowReversed) {
    walk.tolerated = tolerated;
    walk.level = -1;
    walk.best = Refusals(tolerated + 1, 0);
    int* codes = nullptr;
    templateSearch(lines.data(), static_cast<int>(lines.size()), static_cast<int>(walk.sums.size()), judge,
                   &walk, nullptr, nullptr,
                   /*findBest=*/false, allowReversed, codes);
    const std::unique_ptr<int[]> owner(codes);
    return walk.level >= 0 && (tolerated == 0 || walk.judged <= mostJudged);
}

/// "allowed are 40.0000 to 50.0000", with the demanded sense where the turn has the other one
QString allowed(const Demand& demand, double value) {
    const bool hasLower = std::isfinite(demand.lower);
    const bool hasUpper = std::isfinite(demand.upper);
    QString text = "allowed is a turn";
    if (hasLower && hasUpper)
        text = QString("allowed are %1 to %2").arg(mm(demand.lower), mm(demand.upper));
    else if (hasLower || hasUpper)
        text =
            hasLower ? "allowed is at least " + mm(demand.lower) : "allowed is at most " + mm(demand.upper);
    if (demand.turn == TSCRotationAngle::AnyDirection || value > 0)
        return text;
    return text + (demand.turn == TSCRotationAngle::CounterClockwise ? " to the left" : " to the right");
}

/// "rotation angle from left to fall is 56.3300 deg, allowed are 40.0000 to 50.0000"
QString reason(const Demand& demand, const LinePP& from, const LinePP& to, const QStringList& names) {
    const double value = measured(demand, from, to);
    const bool hasTurn = demand.turn != TSCRotationAngle::AnyDirection;
    QString what = demand.constraint->getType().toLower();
    if (demand.kind == Kind::FacingDistance)
        what = "endpoint distance";
    what += demand.isOfOne() ? " of " + names[demand.from]
                             : QString(" from %1 to %2").arg(names[demand.from], names[demand.to]);
    what += QString(" is %1 %2").arg(mm(hasTurn ? std::fabs(value) : value), demand.isAngle() ? "deg" : "mm");
    if (demand.turn < 0 || demand.turn > TSCRotationAngle::Clockwise)
        return what + QString(", \"direction\" %1 in the template allows none").arg(demand.turn);
    if (hasTurn)
        what +=
            (value < 0) == (demand.turn == TSCRotationAngle::Clockwise) ? " to the left" : " to the right";
    if (demand.kind == Kind::FacingDistance && !(value < demand.lower) && !(value > demand.upper))
        return what + ", more than between their other ends";
    return what + ", " + allowed(demand, value);
}

QStringList namesOf(const TemplateFile& file) {
    QStringList names;
    for (int i = 0; i < file.lines.getTemplateLinesNumber(); ++i) {
        const QString name = file.lineNames.value(i, QString::number(i));
        names.append(name == QString::number(i) ? "line " + name : name);
    }
    return names;
}

/// "left = segment 0, fall = segment 1 reversed; but " and why not
QString explained(const Walk& walk, const QVector<LinePP>& lines, const QStringList& names) {
    QStringList places;
    QVector<int> assignment;
    for (int i = 0; i <= walk.level; ++i) {
        int segment = 0;
        bool isReversed = false;
        walk.indices.getLineIndex(i, segment);
        walk.indices.getLineOrientation(i, isReversed);
        assignment.append(2 * segment + (isReversed ? 1 : 0));
        places.append(
            QString("%1 = segment %2%3").arg(names[i]).arg(segment).arg(isReversed ? " reversed" : ""));
    }
    QStringList reasons;
    QVector<LinePP> copy = lines;
    for (int i = 0; i <= walk.level; ++i) {
        for (const Demand& demand : walk.demands[static_cast<std::size_t>(i)]) {
            if (reasons.size() < mostReasons && !demand.constraint->check(copy.data(), assignment.data()))
                reasons.append(reason(demand, assigned(lines.data(), assignment[demand.from]),
                                      assigned(lines.data(), assignment[demand.to]), names));
        }
    }
    if (walk.best.first > mostReasons)
        reasons.append(QString("and %1 more").arg(walk.best.first - mostReasons));
    return places.join(", ") + "; but " + reasons.join("; ");
}

}  // namespace

QString nearMiss(Segments& segments, const TemplateFile& file, bool allowReversed) {
    const int lines = file.lines.getTemplateLinesNumber();
    if (lines < 1)
        return QString();
    if (lines > segments.size())
        return QString("the template has %1 lines, the profile %2 segment(s)")
            .arg(lines)
            .arg(segments.size());
    QVector<LinePP> flat;
    for (const LinePP& segment : segments)
        flat.append(segment);
    Walk walk;
    walk.sums.resize(static_cast<std::size_t>(lines));
    for (int i = 0; i < lines; ++i) {
        walk.demands.emplace_back();
        for (TSConstraint* constraint : file.lines._getConstraintsForLine(i))
            walk.demands.back().push_back(readDemand(*constraint));
    }
    for (int tolerated = 1; tolerated <= mostBroken && walk.judged <= mostJudged; ++tolerated) {
        if (walkThrough(walk, flat, tolerated, allowReversed))
            return "nearest: " + explained(walk, flat, namesOf(file));
    }
    walk.judged = 0;
    if (!walkThrough(walk, flat, 0, allowReversed))
        return QString();
    return "got farthest: " + explained(walk, flat, namesOf(file));
}

}  // namespace KvMeasure
