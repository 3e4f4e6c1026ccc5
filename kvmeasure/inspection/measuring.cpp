// Measures the lines that were found, fitted again. Where the compensation of free edges moved one of them,
// all is measured twice, so that each value says what the compensation added. Which lines a value rests on is
// worked out once for a plan.
#include <kvmeasure/inspection/measuring.h>

#include <kvmeasure/inspection/evaluation_p.h>
#include <kvmeasure/inspection/line_ends.h>
#include <kvmeasure/inspection/template_kind_p.h>
#include <kvmeasure/inspection/template_uncertainty_p.h>

#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/measurement_list.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::TSLinesIndecies;
using KvMath::TSMeasurement;

namespace {

/// Writes beside each value what is to be said of the lines that it rests on, each sentence once.
void warn(const QList<QStringList>& ofLines, const Internal::EvaluationOrder& order, QList<Value>& values) {
    if (std::all_of(ofLines.begin(), ofLines.end(), [](const QStringList& line) { return line.isEmpty(); }))
        return;
    QStringList sentences;
    for (int i = 0; i < values.size(); ++i) {
        sentences.clear();
        for (const int line : order.linesOf(values.at(i).name, i)) {
            const QStringList ofLine = ofLines.value(line);
            for (const QString& sentence : ofLine) {
                if (!sentences.contains(sentence))
                    sentences.append(sentence);
            }
        }
        if (!sentences.isEmpty())
            values[i].warning = sentences.size() == 1 ? sentences[0] : sentences.join("; ");
    }
}

/// The compensation of free edges moved a line that is measured.
bool isMoved(const EdgeLines& lines, const TSLinesIndecies& indices) {
    const auto differ = [](const Vector& a, const Vector& b) { return !(a.x == b.x && a.y == b.y); };
    for (int i = 0; lines.isMoved && i < indices.count(); ++i) {
        if (!indices.isAssigned(i))
            continue;
        const int segment = indices.code(i) / 2;
        const KvMath::LinePP& line = lines.lines[segment];
        const KvMath::LinePP& asSeen = lines.asSeen[segment];
        if (differ(line.p1, asSeen.p1) || differ(line.p2, asSeen.p2))
            return true;
    }
    return false;
}

}  // namespace

Internal::EvaluationOrder::EvaluationOrder(const InspectionPlan& plan,
                                           const std::vector<MeasurementReading>& readings)
    : readings_(readings), kinds_(measurementKindsOf(plan)) {
    const auto add = [](const QList<int>& more, QList<int>& lines) {
        for (const int line : more) {
            if (!lines.contains(line))
                lines.append(line);
        }
    };
    QStringList names;
    for (const MeasurementReading& reading : readings) {
        add(reading.lines, read_);
        numbers_ += std::size_t(reading.names.size());
        for (const QString& name : reading.names) {
            add(reading.lines, named_[name]);
            names.append(name);
        }
    }
    for (const Mean& mean : plan.means) {
        QList<int> both = named_.value(mean.first);
        add(named_.value(mean.second), both);
        named_[mean.name] = both;
    }
    for (const ValueName& value : valueNames(plan)) {
        names_.append(value.name);
        inOrder_.append(named_.value(value.name));
    }
}

const QList<int>& Internal::EvaluationOrder::linesOf(const QString& name, int number) const {
    if (number < names_.size() && names_[number] == name)
        return inOrder_[number];
    const auto found = named_.constFind(name);
    return found == named_.constEnd() ? none_ : *found;
}

void Internal::appendNumbers(TSMeasurement& measurement, std::vector<double>& numbers) {
    const auto add = [&numbers](double number) {
        numbers.push_back(std::isfinite(number) && number != kUnsetBound ? number : std::nan(""));
    };
    const KvMath::TSUniformResults results = measurement.getUniformResult();
    for (const KvMath::TSUniformResultPoint& point : results.points) {
        add(point.point.x);
        add(point.point.y);
    }
    for (const KvMath::TSUniformResultLine& line : results.lines)
        add(line.value);
    for (const KvMath::TSUniformResultAngle& angle : results.angles)
        add(angle.value * kDegreesPerRadian);
}

std::vector<double> Internal::numbersOn(Segments& segments, TSLinesIndecies indices, InspectionPlan& plan) {
    std::vector<double> numbers;
    KvMath::evalLinesSet(segments, indices, plan.measurements);
    for (TSMeasurement* measurement : plan.measurements.getAllMeasurements()) {
        if (measurement->isValid())
            appendNumbers(*measurement, numbers);
        else
            numbers.resize(numbers.size() + std::size_t(valueNames(*measurement).size()), std::nan(""));
    }
    return numbers;
}

std::vector<MeasurementReading> measurementReadings(const InspectionPlan& plan) {
    std::vector<MeasurementReading> readings;
    for (TSMeasurement* measurement : plan.measurements.getAllMeasurements()) {
        MeasurementReading reading{Internal::linesRead(*measurement), {}};
        for (const ValueName& value : valueNames(*measurement))
            reading.names.append(value.name);
        readings.push_back(reading);
    }
    return readings;
}

Evaluation measure(const ProfilePieces& found, const TSLinesIndecies& indices, InspectionPlan& plan,
                   const LineFitting& fitting) {
    return measure(found, edgeLines(found, fitting), indices, plan, measurementReadings(plan),
                   /*givesMarks=*/true);
}

Evaluation measure(const ProfilePieces& found, const EdgeLines& lines, const TSLinesIndecies& indices,
                   InspectionPlan& plan, const std::vector<MeasurementReading>& readings, bool givesMarks) {
    EdgeLines own = lines;
    return Internal::measureOn(found, own, indices, plan, Internal::EvaluationOrder(plan, readings),
                               givesMarks);
}

Evaluation Internal::measureOn(const ProfilePieces& found, EdgeLines& lines, const TSLinesIndecies& indices,
                               InspectionPlan& plan, const EvaluationOrder& order, bool givesMarks) {
    const bool hasMoved = isMoved(lines, indices);
    std::vector<double> asSeen;
    if (hasMoved)
        asSeen = numbersOn(lines.asSeen, indices, plan);
    TSLinesIndecies assigned(indices);
    KvMath::evalLinesSet(lines.lines, assigned, plan.measurements);
    const TemplateUncertainty uncertainty(found, lines, indices, plan, order);
    Evaluation result = evaluationOf(lines.lines, indices, plan, order.kinds(), givesMarks,
                                     hasMoved ? &asSeen : nullptr, &uncertainty);
    warn(endWarnings(found, indices, plan), order, result.values);
    for (Value& value : result.values) {
        if (value.warning.isEmpty())
            value.warning = value.aboutU;
        else if (!value.aboutU.isEmpty())
            value.warning += "; " + value.aboutU;
    }
    return result;
}

}  // namespace KvMeasure
