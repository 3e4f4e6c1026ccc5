#include "kvmeasure/matcher.h"

#include "kvmeasure/failure.h"

#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/search.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace KvMeasure {

using namespace KvMath;

namespace {

constexpr double degreesPerRadian = 57.29577951308232;
constexpr double unsetBound = -1e100;

constexpr qint64 mostExamined = 20'000'000;
constexpr qint64 mostJudged = 100'000'000;
constexpr int mostAssignments = 100'000;

/// The template's check with a limit on the work.
struct BoundedCheck {
    std::vector<QList<TSConstraint*>> constraints;  ///< per template line
    qint64 examined = 0, judged = 0;

    bool isGivenUp() const { return examined > mostExamined || judged > mostJudged; }
};

bool checkBounded(LinePP* lines, int* assignment, int level, void* data) {
    auto& check = *static_cast<BoundedCheck*>(data);
    ++check.examined;
    if (check.isGivenUp())
        return false;
    const QList<TSConstraint*>& constraints = check.constraints[static_cast<std::size_t>(level)];
    const auto accepts = [&](TSConstraint* constraint) {
        ++check.judged;
        return constraint->check(lines, assignment);
    };
    return std::all_of(constraints.begin(), constraints.end(), accepts);
}

/// Collects values and marks of one measurement after another.
class Collector {
public:
    Collector(Segments& segments, TSLinesIndecies& indices, TemplateFile& file)
        : segments_(segments), indices_(indices), file_(file) {}

    void add(TSMeasurement& measurement);
    void finish();
    Evaluation result;

private:
    void addInvalid(TSMeasurement& measurement);
    void addAngle(TSMeasurement& measurement, const TSUniformResultAngle& angle);
    Value& addValue(const QString& name, double value, const QString& unit);
    Mark shiftMark(const TSUMEndPointShiftInDirection& shift, const TSUniformResultLine& line) const;
    void addMean(const Mean& mean);
    bool isPartOfMean(const QString& name) const;

    Segments& segments_;
    TSLinesIndecies& indices_;
    TemplateFile& file_;
};

QString valueText(const Value& value) {
    const bool isAngle = value.unit == "deg";
    return QString("%1 %2%3").arg(value.name, QString::number(value.value, 'f', isAngle ? 2 : 3),
                                  isAngle ? QString(QChar(0x00B0)) : " mm");
}

Value& Collector::addValue(const QString& name, double value, const QString& unit) {
    Value row;
    row.name = name;
    row.value = value;
    row.unit = unit;
    row.isValid = std::isfinite(value) && value != unsetBound;
    row.hasTolerance = file_.tolerances.contains(name);
    row.tolerance = file_.tolerances.value(name);
    result.values.append(row);
    return result.values.last();
}

void Collector::addInvalid(TSMeasurement& measurement) {
    for (const ValueName& value : valueNames(measurement))
        addValue(value.name, unsetBound, value.unit);
}

Mark Collector::shiftMark(const TSUMEndPointShiftInDirection& shift, const TSUniformResultLine& line) const {
    int from = 0;
    int to = 0;
    int reference = 0;
    shift.getMeasureLinesIndecies(from, to, reference);
    const LinePP along = assignedLine(segments_, indices_, reference);
    const double sign = shift.getLineReferenceReversed() ? -1 : 1;
    const double angle = std::atan2(sign * (along.p2.y - along.p1.y), sign * (along.p2.x - along.p1.x)) +
                         shift.getDirectionAngle();
    Mark mark;
    mark.kind = Mark::Distance;
    mark.first = line.p1;
    mark.second = Vector(line.p1.x + line.value * std::cos(angle), line.p1.y + line.value * std::sin(angle));
    mark.origin = line.p2;
    mark.hasOrigin = true;
    return mark;
}

void Collector::add(TSMeasurement& measurement) {
    if (!measurement.isValid())
        return addInvalid(measurement);
    const TSUniformResults results = measurement.getUniformResult();
    for (const TSUniformResultPoint& point : results.points) {
        Mark mark;
        mark.first = point.point;
        mark.label = point.name;
        addValue(point.name + ".x", point.point.x, "mm");
        addValue(point.name + ".y", point.point.y, "mm");
        result.marks.append(mark);
    }
    for (const TSUniformResultLine& line : results.lines) {
        const Value& value = addValue(line.name, line.value, "mm");
        Mark mark;
        if (const auto* shift = dynamic_cast<TSUMEndPointShiftInDirection*>(&measurement))
            mark = shiftMark(*shift, line);
        else
            mark.second = line.p2;
        mark.kind = Mark::Distance;
        mark.first = line.p1;
        mark.name = value.name;
        mark.label = valueText(value);
        mark.isGood = value.isGood();
        result.marks.append(mark);
    }
    for (const TSUniformResultAngle& angle : results.angles)
        addAngle(measurement, angle);
}

void Collector::addAngle(TSMeasurement& measurement, const TSUniformResultAngle& angle) {
    Value& value = addValue(angle.name, angle.value * degreesPerRadian, "deg");
    Mark mark;
    mark.kind = Mark::Angle;
    mark.vertex = mark.nearVertex = angle.vertex;
    mark.first = mark.nearFirst = angle.first;
    mark.angle = angle.value;
    int from = 0;
    int to = 0;
    if (const auto* rotation = dynamic_cast<TSUMRotationAngle*>(&measurement)) {
        const bool isLeft = rotation->getDirection() == TSUMRotationAngle::CounterClockwise;
        value.note = isLeft ? "to the left" : "to the right";
        mark.angle = isLeft ? angle.value : -angle.value;
        rotation->getMeasureLinesIndecies(from, to);
        const LinePP line = assignedLine(segments_, indices_, from);
        mark.nearVertex = line.p2;
        mark.nearFirst = Vector(2 * line.p2.x - line.p1.x, 2 * line.p2.y - line.p1.y);
    }
    if (const auto* between = dynamic_cast<TSUMAngleBetweenLines*>(&measurement)) {
        // From where the first line comes.
        mark.first = Vector(2 * angle.vertex.x - angle.first.x, 2 * angle.vertex.y - angle.first.y);
        between->getMeasureLinesIndecies(from, to);
        const LinePP line = assignedLine(segments_, indices_, from);
        mark.nearVertex = line.p2;
        mark.nearFirst = line.p1;
    }
    mark.name = value.name;
    mark.label = valueText(value);
    mark.isGood = value.isGood();
    result.marks.append(mark);
}

bool Collector::isPartOfMean(const QString& name) const {
    for (const Mean& mean : file_.means) {
        if (name == mean.first || name == mean.second)
            return true;
    }
    return false;
}

void Collector::addMean(const Mean& mean) {
    double sum = 0;
    int found = 0;
    for (const Value& value : result.values) {
        if (value.isValid && (value.name == mean.first || value.name == mean.second)) {
            sum += value.value;
            ++found;
        }
    }
    const Value& value = addValue(mean.name, found == 2 ? sum / 2 : unsetBound, "mm");
    Mark joined;
    int parts = 0;
    for (const Mark& mark : result.marks) {
        if (mark.kind == Mark::Point || (mark.name != mean.first && mark.name != mean.second))
            continue;
        ++parts;
        const auto add = [](Vector& to, const Vector& from) {
            to = Vector(to.x + from.x / 2, to.y + from.y / 2);
        };
        add(joined.first, mark.first);
        add(joined.second, mark.second);
        joined.origin = mark.origin;
    }
    if (parts != 2 || !value.isValid)
        return;
    joined.kind = Mark::Distance;
    joined.hasOrigin = true;
    joined.label = valueText(value);
    joined.isGood = value.isGood();
    result.marks.append(joined);
}

void Collector::finish() {
    for (const Mean& mean : file_.means)
        addMean(mean);
    Evaluation shown;
    for (const Value& value : result.values) {
        if (!isPartOfMean(value.name))
            shown.values.append(value);
    }
    for (const Mark& mark : result.marks) {
        if (mark.kind == Mark::Point || !isPartOfMean(mark.name))
            shown.marks.append(mark);
    }
    result = shown;
}

}  // namespace

double length(const Vector& from, const Vector& to) { return std::hypot(to.x - from.x, to.y - from.y); }

double direction(const LinePP& line) {
    return std::atan2(line.p2.y - line.p1.y, line.p2.x - line.p1.x) * degreesPerRadian;
}

bool Value::isGood() const {
    if (!isValid || !hasTolerance)
        return isValid;
    return deviation() >= tolerance.lower && deviation() <= tolerance.upper;
}

bool Evaluation::isGood() const {
    for (const Value& value : values) {
        if (!value.isGood())
            return false;
    }
    return true;
}

Segments extractSegments(const KvProfile& profile, const TSFindTemplateParams& params) {
    Segments segments;
    QList<TSLinesIndecies> none;
    findTemplate(profile, nullptr, params, segments, none);
    return segments;
}

QList<TSLinesIndecies> findAssignments(Segments& segments, const TSTemplate& wanted, bool allowReversed) {
    QList<TSLinesIndecies> found;
    const int lines = wanted.getTemplateLinesNumber();
    if (lines < 1 || segments.isEmpty())
        return found;
    QVector<LinePP> flat;
    for (const LinePP& segment : segments)
        flat.append(segment);
    BoundedCheck check;
    for (int i = 0; i < lines; ++i)
        check.constraints.push_back(wanted._getConstraintsForLine(i));
    int* codes = nullptr;
    std::unique_ptr<int[]> owner;
    while (templateSearch(flat.data(), static_cast<int>(flat.size()), lines, checkBounded, &check, nullptr,
                          nullptr,
                          /*findBest=*/false, allowReversed, codes)) {
        if (owner == nullptr)
            owner.reset(codes);
        found.append(TSLinesIndecies(codes, lines));
        if (found.size() > mostAssignments)
            break;
    }
    if (owner == nullptr)
        owner.reset(codes);
    if (check.isGivenUp() || found.size() > mostAssignments)
        throw Failure{
            QString("the template fits its %1 lines to %2 segments in too many ways (search given up); add "
                    "constraints to the template, or raise \"minLineLength\" in it")
                .arg(lines)
                .arg(segments.size())};
    return found;
}

LinePP assignedLine(const Segments& segments, const TSLinesIndecies& indices, int line) {
    int segment = 0;
    bool isReversed = false;
    if (!indices.getLineIndex(line, segment) || !indices.getLineOrientation(line, isReversed))
        return LinePP();
    const LinePP found = segments.value(segment);
    return isReversed ? LinePP(found.p2, found.p1) : found;
}

double totalLength(const Segments& segments, const TSLinesIndecies& indices) {
    double sum = 0;
    for (int i = 0; i < indices.count(); ++i) {
        const LinePP line = assignedLine(segments, indices, i);
        sum += length(line.p1, line.p2);
    }
    return sum;
}

Evaluation evaluate(Segments& segments, TSLinesIndecies indices, TemplateFile& file) {
    evalLinesSet(segments, indices, file.measurements);
    Collector collector(segments, indices, file);
    for (TSMeasurement* measurement : file.measurements.getAllMeasurements())
        collector.add(*measurement);
    collector.finish();
    return collector.result;
}

}  // namespace KvMeasure
