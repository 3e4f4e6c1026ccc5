#pragma once
// Measurements of many profiles: on lists of lines that nobody else holds, which are not copied, and without
// working out again what is the same for all profiles of a plan.

#include <kvmeasure/inspection/measuring.h>

#include <QtCore/QMap>

#include <vector>

namespace KvMeasure::Internal {

class TemplateKind;
class TemplateUncertainty;

constexpr double kUnsetBound = -1e100;  ///< the library's number for "none"

/// What the values of a plan rest on, in their order.
class EvaluationOrder {
public:
    EvaluationOrder(const InspectionPlan& plan, const std::vector<MeasurementReading>& readings);

    /// Kinds of the measurements, in their order.
    const std::vector<const TemplateKind*>& kinds() const { return kinds_; }
    /// The template lines that a value rests on, each once. `number`: of the value among those of the plan.
    const QList<int>& linesOf(const QString& name, int number) const;
    /// The template lines that a measurement reads, by its place; none: it reads all segments.
    const QList<int>& linesReadBy(int measurement) const { return readings_[std::size_t(measurement)].lines; }
    /// The template lines that any of them reads, each once.
    const QList<int>& linesRead() const { return read_; }
    /// How many numbers all of them give.
    std::size_t numbers() const { return numbers_; }
    /// How many values it gives.
    int valuesOf(int measurement) const {
        return static_cast<int>(readings_[std::size_t(measurement)].names.size());
    }

private:
    std::vector<MeasurementReading> readings_;
    std::vector<const TemplateKind*> kinds_;
    QList<int> read_;
    std::size_t numbers_ = 0;
    QMap<QString, QList<int>> named_;
    QStringList names_;          ///< of the values, in their order
    QList<QList<int>> inOrder_;  ///< the lines of each
    QList<int> none_;
};

/// The values of measurements that were taken on such segments, as evaluate() gives them. `asSeen`: the
/// numbers of the same measurements on lines without the compensation of free edges, from numbersOn(); null:
/// there is no compensation. `uncertainty`: of these numbers; null: not known.
Evaluation evaluationOf(const Segments& segments, const KvMath::TSLinesIndecies& indices,
                        InspectionPlan& plan, const std::vector<const TemplateKind*>& kinds, bool givesMarks,
                        const std::vector<double>* asSeen = nullptr,
                        const TemplateUncertainty* uncertainty = nullptr);

/// As measure() of lines, which stay as they are.
Evaluation measureOn(const ProfilePieces& found, EdgeLines& lines, const KvMath::TSLinesIndecies& indices,
                     InspectionPlan& plan, const EvaluationOrder& order, bool givesMarks);

/// The numbers of the measurements alone, without means, in their order; NaN for a value that is not valid.
std::vector<double> numbersOn(Segments& segments, KvMath::TSLinesIndecies indices, InspectionPlan& plan);

/// Adds the numbers of a measurement that is valid.
void appendNumbers(KvMath::TSMeasurement& measurement, std::vector<double>& numbers);

/// The kinds of all measurements of a plan, in their order.
std::vector<const TemplateKind*> measurementKindsOf(const InspectionPlan& plan);

}  // namespace KvMeasure::Internal
