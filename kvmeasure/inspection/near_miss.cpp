// The nearest assignment by branch and bound, of this project's own making, in the order of the template
// search, which is asked with a judge of its own. A judge that tolerates a number of refusals cuts a branch
// as soon as it has more of them, or as many that miss by more, than the best complete assignment so far; one
// refusal is tolerated first, then two, then three, so that near misses are found before the tree grows.
// Where nothing is found, a walk that tolerates none remembers how deep it came. Both end after a million
// judgements, some hundredths of a second, since the tree has n!/(n-t)! 2^t leaves for t lines and n
// segments. Misses are compared in widths of what is allowed: mm and degrees have no other common measure.
// Each constraint says itself what it measured.

#include <kvmeasure/inspection/near_miss.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <kvmath/tsearch/constraint_kinds.h>
#include <kvmath/tsearch/search.h>

#include <QtCore/QVector>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace KvMeasure {

using namespace KvMath;

namespace {

constexpr double kUnsetBound = -1e100;  ///< of a constraint
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr qint64 kMostJudged = 1'000'000;  ///< constraints, some hundredths of a second
constexpr int kMostBroken = 3;             ///< constraints, of an assignment that is called the nearest
constexpr int kMostReasons = 3;

/// What a constraint measures, with angles in degrees; without a quantity where it is of no kind of the
/// library, of which no more is known.
TSConstraintReading read(const TSConstraint& constraint, const LinePP* lines, const int* assignment) {
    TSConstraintReading reading;
    readConstraint(constraint, lines, assignment, reading);
    if (reading.unit != TSConstraintReading::Radian)
        return reading;
    for (double* angle : {&reading.value, &reading.lower, &reading.upper, &reading.missedBy})
        *angle *= *angle == kUnsetBound ? 1 : kDegreesPerRadian;
    return reading;
}

/// How far a refused value is from what is allowed, in widths of that; of the bound where there is only one.
double excess(const TSConstraint& constraint, const LinePP* lines, const int* assignment) {
    const TSConstraintReading reading = read(constraint, lines, assignment);
    const double lower = reading.lower == kUnsetBound ? -kInfinity : reading.lower;
    const double upper = reading.upper == kUnsetBound ? kInfinity : reading.upper;
    double width = upper - lower;
    if (!std::isfinite(width))
        width = std::fabs(std::isfinite(lower) ? lower : upper);
    if (!(width > 0) || !std::isfinite(width))
        width = 1;
    const double beyond =
        std::max({0.0, lower - reading.value, reading.value - upper, reading.missedBy}) / width;
    return std::isfinite(beyond) ? beyond : kInfinity;
}

/// How many constraints refuse, and by how much together.
using Refusals = std::pair<int, double>;

/// One walk through the assignments. Without tolerance it remembers where the template's own search comes
/// farthest; with a tolerance the complete assignment with the fewest refusals, up to that many.
struct Walk {
    int tolerated = 0;
    std::vector<QList<TSConstraint*>> constraints;  ///< per template line
    std::vector<Refusals> sums;                     ///< of the lines that are assigned
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
    if (++walk.judged > kMostJudged)
        return false;
    const auto line = static_cast<std::size_t>(level);
    Refusals sum = level > 0 ? walk.sums[line - 1] : Refusals();
    for (TSConstraint* constraint : walk.constraints[line]) {
        ++walk.judged;
        if (constraint->check(lines, assignment))
            continue;
        ++sum.first;
        sum.second += excess(*constraint, lines, assignment);
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
    return walk.level >= 0 && (tolerated == 0 || walk.judged <= kMostJudged);
}

/// "40.0000 to 50.0000", "at least 40.0000"
QString boundsOf(const TSConstraintReading& reading) {
    if (reading.lower == kUnsetBound)
        return "is at most " + mm(reading.upper);
    if (reading.upper == kUnsetBound)
        return "is at least " + mm(reading.lower);
    return QString("are %1 to %2").arg(mm(reading.lower), mm(reading.upper));
}

QString withNote(const QString& text, const QString& note) {
    return note.isEmpty() ? text : text + ' ' + note;
}

/// "rotation angle from left to fall is 56.3300 deg, allowed are 40.0000 to 50.0000"
QString reason(TSConstraint& constraint, const LinePP* lines, const int* assignment,
               const QStringList& names) {
    const TSConstraintReading reading = read(constraint, lines, assignment);
    if (reading.quantity.isEmpty())
        return constraint.getType().toLower() + " refuses";
    const QString place = reading.to < 0
                              ? " of " + names[reading.from]
                              : QString(" from %1 to %2").arg(names[reading.from], names[reading.to]);
    const char* const units[] = {" mm", " deg", ""};
    const QString value = mm(reading.value) + units[reading.unit];
    return reading.quantity + place + " is " + withNote(value, reading.note) + ", " +
           (reading.fault.isEmpty() ? withNote("allowed " + boundsOf(reading), reading.boundsNote)
                                    : reading.fault);
}

QStringList namesOf(const InspectionPlan& plan) {
    QStringList names;
    for (int i = 0; i < plan.lines.getTemplateLinesNumber(); ++i) {
        const QString name = plan.lineNames.value(i, QString::number(i));
        names.append(name == QString::number(i) ? "line " + name : name);
    }
    return names;
}

/// "nearest: left = segment 0, fall = segment 1 reversed; but " and why not
NearMiss explained(const char* what, const Walk& walk, const QVector<LinePP>& lines,
                   const QStringList& names) {
    QStringList places;
    QVector<int> assignment;
    for (int i = 0; i <= walk.level; ++i) {
        int segment = 0;
        walk.indices.getLineIndex(i, segment);
        assignment.append(walk.indices.code(i));
        places.append(
            filledIn("%1 = segment %2%3", names[i], segment, walk.indices.isReversed(i) ? " reversed" : ""));
    }
    QStringList reasons;
    QVector<LinePP> copy = lines;
    for (int i = 0; i <= walk.level; ++i) {
        for (TSConstraint* constraint : walk.constraints[static_cast<std::size_t>(i)]) {
            if (reasons.size() < kMostReasons && !constraint->check(copy.data(), assignment.data()))
                reasons.append(reason(*constraint, lines.data(), assignment.data(), names));
        }
    }
    if (walk.best.first > kMostReasons)
        reasons.append(QString("and %1 more").arg(walk.best.first - kMostReasons));
    NearMiss near;
    near.text = what + (": " + places.join(", ") + "; but " + reasons.join("; "));
    near.reasons = reasons;
    near.indices = walk.indices;
    near.isNearest = walk.tolerated > 0;
    return near;
}

NearMiss without(const QString& reason) {
    NearMiss near;
    near.text = reason;
    near.reasons.append(reason);
    return near;
}

}  // namespace

NearMiss nearMiss(Segments& segments, const InspectionPlan& plan, bool allowReversed) {
    const int lines = plan.lines.getTemplateLinesNumber();
    if (lines < 1)
        return without("the template has no lines");
    if (lines > segments.size())
        return without(
            filledIn("the template has %1 lines, the profile %2 segment(s)", lines, segments.size()));
    QVector<LinePP> flat;
    for (const LinePP& segment : segments)
        flat.append(segment);
    Walk walk;
    walk.sums.resize(static_cast<std::size_t>(lines));
    for (int i = 0; i < lines; ++i)
        walk.constraints.push_back(plan.lines._getConstraintsForLine(i));
    for (int tolerated = 1; tolerated <= kMostBroken && walk.judged <= kMostJudged; ++tolerated) {
        if (walkThrough(walk, flat, tolerated, allowReversed))
            return explained("nearest", walk, flat, namesOf(plan));
    }
    walk.judged = 0;
    if (!walkThrough(walk, flat, 0, allowReversed))
        return without("the search for the nearest assignment was given up");
    return explained("got farthest", walk, flat, namesOf(plan));
}

}  // namespace KvMeasure
