#pragma once
// Plans and what they give, as Python holds them.

#include "python/core/arrays.h"

#include <kvmeasure/inspection/part_measurement.h>

#include <map>
#include <memory>
#include <vector>

namespace KvMathPython {

/// Objects that measure with one plan and the same settings, for as many threads as measure at a time. To be
/// called under the lock of Python.
class Measurers {
public:
    Measurers(const KvMeasure::InspectionPlan& plan, const KvMeasure::PartSettings& settings)
        : plan_(plan), settings_(settings) {}

    std::unique_ptr<KvMeasure::PartMeasurement> take();                      ///< one that nobody uses
    void giveBack(std::unique_ptr<KvMeasure::PartMeasurement> measurement);  ///< for the next one

private:
    KvMeasure::InspectionPlan plan_;
    KvMeasure::PartSettings settings_;
    std::vector<std::unique_ptr<KvMeasure::PartMeasurement>> idle_;
};

/// A plan, which nothing changes once it is made.
struct Plan {
    explicit Plan(const KvMeasure::InspectionPlan& inspection);

    KvMeasure::InspectionPlan inspection;
    KvMeasure::PartSettings settings;  ///< the usual ones
    Measurers usual;                   ///< with these
    int columns = 0;                   ///< number of values
};

/// What a plan gave on a profile.
struct Result {
    std::shared_ptr<Plan> plan;
    KvMath::KvProfile profile;        ///< as it was measured, before filter steps
    bool keepsProfile = true;         ///< false: `profile` is empty, no picture can be drawn
    KvMath::KvProfile second;         ///< of the other scanner; empty: none
    QList<KvMeasure::Value> values;   ///< one for each value of the plan, in order
    KvMeasure::Segments segments;     ///< that the search found
    KvMeasure::Segments measured;     ///< these, as they are measured
    KvMath::TSLinesIndecies indices;  ///< which of these stands for which line of the template
    int found = 0;                    ///< assignments that meet the constraints
    QString reason;                   ///< why the template is not found
    QString name;                     ///< of the profile; may be empty
    double z = std::numeric_limits<double>::quiet_NaN();  ///< place along the scan, mm

    const KvMeasure::Value* value(const QString& wanted) const;  ///< null: there is none of that name
    KvMeasure::Segments lines() const;  ///< of the template, in its order; none where it is not found
    bool isGood() const;                ///< found, and every value good
};

/// Measures under the lock of Python, which is released meanwhile.
Result measure(const std::shared_ptr<Plan>& plan, const KvMath::KvProfile& profile,
               const KvMath::KvProfile& second, const KvMeasure::PartSettings& settings);

/// A picture of a result, its values beside, as SVG.
QByteArray pictureOf(const Result& result);

/// The plan as its document, from which pickle makes it again.
py::bytes documentOf(const Plan& plan);
std::shared_ptr<Plan> planFromDocument(const QByteArray& document);  ///< throws Error as readPlan does

void bindValue(py::module_& module);   ///< kvmath.Value and kvmath.Tolerance
void bindResult(py::module_& module);  ///< kvmath.Result

}  // namespace KvMathPython
