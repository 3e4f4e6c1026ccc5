// The template search with a bound on its work: the number of assignments grows with the factorial of the
// segments, and the search itself knows no limit. Then the values of an assignment in the order of the plan,
// with tolerances, marks, means and uncertainties.
#include <kvmeasure/inspection/matching.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/evaluation_p.h>
#include <kvmeasure/inspection/result_order_p.h>
#include <kvmeasure/inspection/template_kind_p.h>
#include <kvmeasure/inspection/template_uncertainty_p.h>

#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/search.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace KvMeasure {

using namespace KvMath;
using Internal::kUnsetBound;
using Internal::LineOf;
using Internal::TemplateKind;
using Internal::TemplateUncertainty;

namespace {

constexpr qint64 kMostExamined = 20'000'000;
constexpr qint64 kMostJudged = 100'000'000;
constexpr int kMostAssignments = 100'000;

/// The template's check with a limit on the work.
struct BoundedCheck {
    std::vector<QList<TSConstraint*>> constraints;  ///< per template line
    qint64 examined = 0, judged = 0;

    bool isGivenUp() const { return examined > kMostExamined || judged > kMostJudged; }
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
    Collector(const Segments& segments, const TSLinesIndecies& indices, const InspectionPlan& plan,
              bool givesMarks, const std::vector<double>* asSeen, const TemplateUncertainty* uncertainty)
        : plan_(plan), givesMarks_(givesMarks), asSeen_(asSeen), uncertainty_(uncertainty) {
        if (givesMarks)
            lineOf_ = [&](int line) { return assignedLine(segments, indices, line); };
    }

    void add(TSMeasurement& measurement, const TemplateKind& kind);
    void finish();
    Evaluation result;

private:
    void addInvalid(TSMeasurement& measurement, const QString& whyNone);
    void addMark(Mark mark, const Value& value);
    void fill(const QString& name, double value, const QString& unit, const QString& whyNone,
              Value& row) const;
    Value& addValue(const QString& name, double value, const QString& unit, const QString& whyNone);
    Value meanOf(const Mean& mean);
    double asSeen(int number) const;

    const InspectionPlan& plan_;
    bool givesMarks_;
    const std::vector<double>* asSeen_;       ///< without what free edges add; null: they add nothing
    const TemplateUncertainty* uncertainty_;  ///< of the numbers; null: not known
    LineOf lineOf_;                           ///< for marks
};

/// Texts that all values share.
const QString& millimetres() {
    static const QString text = "mm";
    return text;
}

const QString& degrees() {
    static const QString text = "deg";
    return text;
}

QString valueText(const Value& value) {
    const bool isAngle = value.unit == "deg";
    return QString("%1 %2%3").arg(value.name, QString::number(value.value, 'f', isAngle ? 2 : 3),
                                  isAngle ? QString(QChar(0x00B0)) : " mm");
}

/// `whyNone`: what is to be said where the value is none.
void Collector::fill(const QString& name, double value, const QString& unit, const QString& whyNone,
                     Value& row) const {
    row.name = name;
    row.value = value;
    row.unit = unit;
    row.isValid = std::isfinite(value) && value != kUnsetBound;
    if (!row.isValid)
        row.reason = whyNone;
    const auto tolerance = plan_.tolerances.constFind(name);
    row.hasTolerance = tolerance != plan_.tolerances.constEnd();
    if (row.hasTolerance)
        row.tolerance = *tolerance;
}

/// What the compensation of free edges added.
void setFreeEdges(Value& value, double asSeen) {
    constexpr double kRounding = 1e-9;
    const double added = value.value - asSeen;
    if (value.isValid && std::fabs(added) > kRounding)  // false for NaN
        value.freeEdges = added;
}

void setUncertainty(Value& value, const Internal::StatedNumber& stated) {
    value.u = stated.u;
    value.degreesOfFreedom = stated.degreesOfFreedom;
    value.aboutU = stated.remark;
}

/// The value of that number without the compensation of free edges; NaN: there is none.
double Collector::asSeen(int number) const {
    return asSeen_ != nullptr && std::size_t(number) < asSeen_->size() ? (*asSeen_)[std::size_t(number)]
                                                                       : std::nan("");
}

Value& Collector::addValue(const QString& name, double value, const QString& unit, const QString& whyNone) {
    result.values.append(Value());  // filled where it stays
    Value& added = result.values.last();
    fill(name, value, unit, whyNone, added);
    const auto number = static_cast<int>(result.values.size()) - 1;
    setFreeEdges(added, asSeen(number));
    if (uncertainty_ != nullptr && added.isValid)
        setUncertainty(added, uncertainty_->of(number));
    return added;
}

void Collector::addInvalid(TSMeasurement& measurement, const QString& whyNone) {
    for (const ValueName& value : valueNames(measurement))
        addValue(value.name, kUnsetBound, value.unit, whyNone);
}

/// What every mark of a length or an angle has.
void Collector::addMark(Mark mark, const Value& value) {
    mark.name = value.name;
    mark.label = valueText(value);
    mark.isGood = value.isGood();
    result.marks.append(mark);
}

void Collector::add(TSMeasurement& measurement, const TemplateKind& kind) {
    if (!measurement.isValid())
        return addInvalid(measurement, kind.whyNotMeasured());
    const TSUniformResults results = measurement.getUniformResult();
    for (const TSUniformResultPoint& point : results.points) {
        addValue(point.name + ".x", point.point.x, millimetres(), kind.whyNoNumber());
        addValue(point.name + ".y", point.point.y, millimetres(), kind.whyNoNumber());
        Mark mark;
        mark.first = point.point;
        mark.label = point.name;
        if (givesMarks_)
            result.marks.append(mark);
    }
    for (const TSUniformResultLine& line : results.lines) {
        Value& value = addValue(line.name, line.value, millimetres(), kind.whyNoNumber());
        value.note = kind.note(measurement);
        if (!givesMarks_)
            continue;
        Mark mark;
        mark.kind = Mark::Distance;
        mark.first = line.p1;
        mark.second = line.p2;
        kind.draw(measurement, lineOf_, mark);
        addMark(mark, value);
    }
    for (const TSUniformResultAngle& angle : results.angles) {
        Value& value = addValue(angle.name, angle.value * kDegreesPerRadian, degrees(), kind.whyNoNumber());
        value.note = kind.note(measurement);
        if (!givesMarks_)
            continue;
        Mark mark;
        mark.kind = Mark::Angle;
        mark.vertex = mark.nearVertex = angle.vertex;
        mark.first = mark.nearFirst = angle.first;
        mark.angle = angle.value;
        kind.draw(measurement, lineOf_, mark);
        addMark(mark, value);
    }
}

/// The mean of two results; its mark is added.
Value Collector::meanOf(const Mean& mean) {
    double sum = 0;
    double sumAsSeen = 0;
    int found = 0;
    int foundAsSeen = 0;
    std::vector<int> numbers;
    numbers.reserve(2);
    for (int i = 0; i < result.values.size(); ++i) {
        const Value& value = result.values.at(i);
        if (value.name != mean.first && value.name != mean.second)
            continue;
        if (value.isValid) {
            sum += value.value;
            ++found;
            numbers.push_back(i);
        }
        if (!std::isnan(asSeen(i))) {
            sumAsSeen += asSeen(i);
            ++foundAsSeen;
        }
    }
    static const QString whyNone = "one of the two values that it is the mean of is missing";
    Value value;
    fill(mean.name, found == 2 ? sum / 2 : kUnsetBound, millimetres(), whyNone, value);
    setFreeEdges(value, foundAsSeen == 2 ? sumAsSeen / 2 : std::nan(""));
    if (uncertainty_ != nullptr && found == 2)
        setUncertainty(value, uncertainty_->ofMean(numbers[0], numbers[1]));
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
    if (parts != 2)  // a mark of each: both values are there
        return value;
    joined.kind = Mark::Distance;
    joined.hasOrigin = true;
    joined.label = valueText(value);
    joined.isGood = value.isGood();
    result.marks.append(joined);
    return value;
}

void Collector::finish() {
    if (plan_.means.isEmpty())
        return;
    Internal::toShownOrder(
        plan_, [this](const Mean& mean) { return meanOf(mean); }, result.values);
    if (result.marks.isEmpty())
        return;
    QList<Mark> shown;
    for (const Mark& mark : result.marks) {
        if (mark.kind == Mark::Point || !Internal::isPartOfMean(plan_, mark.name))
            shown.append(mark);
    }
    result.marks = shown;
}

}  // namespace

QString Value::notes() const {
    constexpr double kLeast = 5e-5;  // below the last decimal of tables
    QStringList parts;
    if (!warning.isEmpty())
        parts.append(warning);
    if (!note.isEmpty())
        parts.append(note);
    if (std::fabs(freeEdges) >= kLeast)
        parts.append(filledIn("free edges %1%2 %3", QString(freeEdges > 0 ? "+" : ""),
                              QString::number(freeEdges, 'f', 4), unit));
    return parts.join("; ");
}

bool Value::isWithin() const {
    if (!isValid || !hasTolerance)
        return isValid;
    return deviation() >= tolerance.lower && deviation() <= tolerance.upper;
}

bool Value::isGood() const {
    if (!isWithin() || !hasTolerance || decision == Decision::Simple)
        return isWithin();
    // False where U is not known. Without a limit on a side there is nothing to keep away from.
    return deviation() - tolerance.lower >= expandedU() && tolerance.upper - deviation() >= expandedU();
}

QString Value::verdict() const {
    if (!isValid)
        return "NOT MEASURED";
    if (!hasTolerance)
        return QString();
    return isGood() ? "good" : "OUT";
}

bool Evaluation::isGood() const {
    for (const Value& value : values) {
        if (!value.isGood())
            return false;
    }
    return true;
}

QList<TSLinesIndecies> findAssignments(const Segments& segments, const TSTemplate& wanted,
                                       bool allowReversed) {
    QList<TSLinesIndecies> found;
    const int lines = wanted.getTemplateLinesNumber();
    if (lines < 1 || segments.isEmpty())
        return found;
    std::vector<LinePP> flat(segments.begin(), segments.end());
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
        if (found.size() > kMostAssignments)
            break;
    }
    if (owner == nullptr)
        owner.reset(codes);
    if (check.isGivenUp() || found.size() > kMostAssignments)
        throw Error(
            filledIn("the template fits its %1 lines to %2 segments in too many ways (search given up); add "
                     "constraints to the template, or raise \"minLineLength\" in it",
                     lines, segments.size()));
    return found;
}

LinePP assignedLine(const Segments& segments, const TSLinesIndecies& indices, int line) {
    LinePP found;
    indices.getLine(segments, line, found);
    return found;
}

double totalLength(const Segments& segments, const TSLinesIndecies& indices) {
    double sum = 0;
    for (int i = 0; i < indices.count(); ++i) {
        const LinePP line = assignedLine(segments, indices, i);
        sum += length(line.p1, line.p2);
    }
    return sum;
}

Evaluation evaluate(Segments segments, TSLinesIndecies indices, InspectionPlan& plan, bool givesMarks) {
    evalLinesSet(segments, indices, plan.measurements);
    return Internal::evaluationOf(segments, indices, plan, Internal::measurementKindsOf(plan), givesMarks);
}

std::vector<const TemplateKind*> Internal::measurementKindsOf(const InspectionPlan& plan) {
    std::vector<const TemplateKind*> kinds;
    for (TSMeasurement* measurement : plan.measurements.getAllMeasurements())
        kinds.push_back(&Internal::templateKind(*measurement));
    return kinds;
}

Evaluation Internal::evaluationOf(const Segments& segments, const TSLinesIndecies& indices,
                                  InspectionPlan& plan, const std::vector<const TemplateKind*>& kinds,
                                  bool givesMarks, const std::vector<double>* asSeen,
                                  const TemplateUncertainty* uncertainty) {
    Collector collector(segments, indices, plan, givesMarks, asSeen, uncertainty);
    collector.result.values.reserve(static_cast<int>(kinds.size()));
    auto kind = kinds.begin();
    for (TSMeasurement* measurement : plan.measurements.getAllMeasurements())
        collector.add(*measurement, **kind++);
    collector.finish();
    return std::move(collector.result);
}

}  // namespace KvMeasure
