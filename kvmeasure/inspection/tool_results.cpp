// What a tool says about its values, in order of its kind. take() gives a reason to every value that has none
// and drops remarks on values that are missing. Kinds have few values, so that each look-up walks through
// them.
#include <kvmeasure/inspection/tool_results.h>

#include <kvmeasure/base/filled_in.h>

#include <cmath>

namespace KvMeasure {

namespace {

void addSentence(QString& text, const QString& sentence) { text += (text.isEmpty() ? "" : "; ") + sentence; }

}  // namespace

ToolResults::ToolResults(const Tool& tool, const QMap<QString, Tolerance>& tolerances, bool givesMarks)
    : tool_(tool), givesMarks_(givesMarks) {
    for (const ToolValue& given : tool.kind->values) {
        Value value;
        value.name = tool.valueName(given);
        value.unit = QLatin1String(given.unit);
        const auto tolerance = tolerances.constFind(value.name);
        value.hasTolerance = tolerance != tolerances.constEnd();
        if (value.hasTolerance)
            value.tolerance = *tolerance;
        result_.values.append(value);
    }
}

/// The first value of that ending; a kind asks for those that it has.
Value& ToolResults::value(const char* ending) {
    const std::vector<ToolValue>& values = tool_.kind->values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (qstrcmp(values[i].ending, ending) == 0)
            return result_.values[static_cast<int>(i)];
    }
    return result_.values.first();
}

void ToolResults::add(const char* ending, double value, double u, double degreesOfFreedom) {
    Value& added = this->value(ending);
    added.isValid = std::isfinite(value);
    if (!added.isValid)
        return refuse(ending, "the points give no finite value");
    added.value = value;
    added.u = u;
    added.degreesOfFreedom = degreesOfFreedom;
    added.reason.clear();
}

void ToolResults::refuse(const char* ending, const QString& reason) {
    Value& refused = value(ending);
    refused.isValid = false;
    refused.reason = reason;
}

void ToolResults::refuse(const QString& reason) {
    for (Value& value : result_.values) {
        if (!value.isValid && value.reason.isEmpty())
            value.reason = reason;
    }
}

void ToolResults::warn(const QString& sentence) {
    for (Value& value : result_.values)
        addSentence(value.warning, sentence);
}

void ToolResults::warn(const char* ending, const QString& sentence) {
    addSentence(value(ending).warning, sentence);
}

void ToolResults::warnOfU(const QString& sentence) {
    for (Value& value : result_.values)
        addSentence(value.aboutU, sentence);
}

void ToolResults::warnOfU(const char* ending, const QString& sentence) {
    addSentence(value(ending).aboutU, sentence);
}

void ToolResults::note(const char* ending, const QString& text) { value(ending).note = text; }

void ToolResults::mark(const Mark& mark) {
    if (givesMarks_)
        result_.marks.append(mark);
}

void ToolResults::markPoint(const Vector& point, const QString& label) {
    Mark drawn;
    drawn.first = point;
    drawn.label = label;
    mark(drawn);
}

void ToolResults::markDistance(const Vector& first, const Vector& second, const char* ending) {
    if (!givesMarks_)
        return;
    const Value& shown = value(ending);
    Mark drawn;
    drawn.kind = Mark::Distance;
    drawn.first = first;
    drawn.second = second;
    drawn.name = shown.name;
    drawn.label = filledIn("%1 %2 %3", shown.name, QString::number(shown.value, 'f', 3), shown.unit);
    drawn.isGood = shown.isGood();
    mark(drawn);
}

Evaluation ToolResults::take() {
    refuse("cannot be measured on these points");
    for (Value& value : result_.values) {
        if (!value.isValid) {
            value.warning.clear();
            value.aboutU.clear();
            continue;
        }
        if (std::isnan(value.u) && !noUncertainty_.isEmpty())
            addSentence(value.aboutU, "no uncertainty: " + noUncertainty_);
        if (!value.aboutU.isEmpty())
            addSentence(value.warning, value.aboutU);
    }
    return result_;
}

}  // namespace KvMeasure
