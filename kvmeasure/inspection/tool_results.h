#pragma once
// What a tool gives: values with their uncertainty or the reason why there is none, and marks for pictures.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>
#include <kvmeasure/inspection/tool.h>

#include <QtCore/QMap>

namespace KvMeasure {

/// Takes the results of one tool. Every value of its kind comes out, in order, valid or with a reason.
class KVMEASURE_EXPORT ToolResults {
public:
    /// For values of this tool with these tolerances, by the name of the value. The tool must outlive it.
    ToolResults(const Tool& tool, const QMap<QString, Tolerance>& tolerances, bool givesMarks);

    /// A value by its ending. `u` is its standard uncertainty, NaN where it is not known; `degreesOfFreedom`
    /// those after it. A value that is not finite is none, with a reason.
    void add(const char* ending, double value, double u = std::numeric_limits<double>::quiet_NaN(),
             double degreesOfFreedom = std::numeric_limits<double>::infinity());
    /// Why one value cannot be had.
    void refuse(const char* ending, const QString& reason);
    /// Why the values that were not added cannot be had.
    void refuse(const QString& reason);
    /// What may mislead, beside all valid values.
    void warn(const QString& sentence);
    void warn(const char* ending, const QString& sentence);  ///< what may mislead, beside one value
    /// What may mislead in the uncertainty of all valid values.
    void warnOfU(const QString& sentence);
    void warnOfU(const char* ending, const QString& sentence);  ///< in the uncertainty of one value
    /// Why values that have no uncertainty have none.
    void sayNoUncertainty(const QString& reason) { noUncertainty_ = reason; }
    /// What is to be said of one value.
    void note(const char* ending, const QString& text);

    bool givesMarks() const { return givesMarks_; }  ///< marks are drawn: they are wanted
    void mark(const Mark& mark);                     ///< what a picture shows where it was measured
    void markPoint(const Vector& point, const QString& label);  ///< a point
    void markDistance(const Vector& first, const Vector& second,
                      const char* ending);  ///< labelled by a value

    /// The values in the order of the kind, and the marks. What has no value and no reason gets one.
    Evaluation take();

private:
    Value& value(const char* ending);

    const Tool& tool_;
    Evaluation result_;
    QString noUncertainty_;  ///< why there is none
    bool givesMarks_;
};

}  // namespace KvMeasure
