// "kvmeasure form step".

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/form/points.h"
#include "cli/range_words.h"
#include "cli/scan/course.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/form/step_height.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage& usage() {
    static const Usage all = with(
        {"form step",
         "PROFILE",
         "Depth of a groove or height of a ridge by the method for measurement standards (ISO 5436-1).",
         {{"--edges", "A..B", "x of the edges, mm; several grooves: A..B,C..D"},
          {"--type", "A1|A2", "flat bottom, or rounded (A1)", {"A1", "A2"}}},
         "With W the distance of the edges, the references lie from 3 W / 2 to 5 W / 6 on either side of the "
         "middle, the\n"
         "bottom within W / 6 of it. A1: least squares of z = slope x + b + h d with d = 1 on the references "
         "and -1 on the\n"
         "bottom; the depth is 2 h. A2: from the line of the references to the vertex of a parabola through "
         "the bottom.\n"
         "Depths are positive, heights of ridges negative. Several grooves: their mean, with the deviation "
         "between them.\n"
         "Exit code 1: a groove has no depth.\n\n"
         "Examples\n"
         "  kvmeasure form step groove.csv --edges 10..13\n"
         "  kvmeasure form step grooves.csv --edges 10..13,20..23 --json\n"},
        profileOptions());
    return all;
}

QJsonObject jsonStep(const StepHeight& step) {
    QJsonObject object{{"edges", QJsonArray{step.fromEdge, step.toEdge}},
                       {"height", jsonNumber(step.height)},
                       {"slope", jsonNumber(step.slope)},
                       {"deviation", jsonNumber(step.deviation)},
                       {"pointsA", step.pointsA},
                       {"pointsB", step.pointsB},
                       {"pointsC", step.pointsC},
                       {"complete", step.isComplete}};
    if (!step.isValid())
        object["reason"] = step.reason;
    return object;
}

/// The mean of several, with what they have in common.
QJsonObject jsonMean(const std::vector<StepHeight>& steps) {
    QJsonArray all;
    double sum = 0, slopes = 0;
    bool isComplete = true;
    QString reason;
    for (const StepHeight& step : steps) {
        all.append(jsonStep(step));
        sum += step.height;
        slopes += step.slope;
        isComplete = isComplete && step.isComplete;
        if (!step.isValid() && reason.isEmpty())
            reason = filledIn("edges %1..%2: %3", step.fromEdge, step.toEdge, step.reason);
    }
    const auto count = static_cast<double>(steps.size());
    double squares = 0;
    for (const StepHeight& step : steps)
        squares += (step.height - sum / count) * (step.height - sum / count);
    QJsonObject object{
        {"height", jsonNumber(sum / count)},
        {"slope", jsonNumber(slopes / count)},
        {"complete", isComplete},
        {"heightDeviation", jsonNumber(count > 1 ? std::sqrt(squares / (count - 1)) : std::nan(""))},
        {"steps", all}};
    if (!reason.isEmpty())
        object["reason"] = reason;
    return object;
}

void printSteps(const QString& file, const std::vector<StepHeight>& steps, const QJsonObject& mean) {
    Table table({"edges, mm", "height, mm", "slope", "deviation, mm", "points A, C, B", "3 W covered"});
    const auto number = [](double value, char form, int digits) {
        return std::isnan(value) ? QString("-") : QString::number(value, form, digits);
    };
    QString reasons;
    for (const StepHeight& step : steps) {
        table.add({filledIn("%1..%2", step.fromEdge, step.toEdge), number(step.height, 'f', 6),
                   number(step.slope, 'g', 6), number(step.deviation, 'g', 4),
                   filledIn("%1, %2, %3", step.pointsA, step.pointsC, step.pointsB),
                   step.isComplete ? "yes" : "no"});
        if (!step.isValid())
            reasons += filledIn("edges %1..%2: %3\n", step.fromEdge, step.toEdge, step.reason);
    }
    QString text = printable(file) + ": step height\n" + table.text() + reasons;
    if (steps.size() > 1 && reasons.isEmpty())
        text +=
            filledIn("mean %1 mm, deviation between them %2 mm\n", number(mean["height"].toDouble(), 'f', 6),
                     number(mean["heightDeviation"].toDouble(), 'g', 4));
    if (!mean["complete"].toBool())
        text += "the points do not cover 3 W: the references are shorter than the method asks for\n";
    print(text);
}

}  // namespace

int runFormStep(const QStringList& words) {
    const Arguments arguments(usage(), words, 1, 1);
    const QString text = arguments.required("--edges", "it says where the groove is, e.g. 10..13");
    const StepType type = arguments.choice("--type") == 1 ? StepType::A2 : StepType::A1;
    QList<NumberRange> edges;
    for (const QString& word : text.split(','))
        edges.append(parseRange(word, "--edges", /*mayBeOpen=*/false));
    const FormPoints<Vector> taken = takePlanePoints(arguments);
    std::vector<StepHeight> steps;
    bool areValid = true;
    for (const NumberRange& range : edges) {
        steps.push_back(stepHeight(taken.points, range.from, range.to, type));
        areValid = areValid && steps.back().isValid();
    }
    QJsonObject json = jsonMean(steps);
    json["file"] = arguments.operand(0);
    if (hasCourse(arguments))
        json["interpolated"] = taken.interpolated;
    json["type"] = type == StepType::A1 ? "A1" : "A2";
    if (arguments.isJson())
        printJson(json);
    else
        printSteps(arguments.operand(0), steps, json);
    return areValid ? int(Done) : int(NotMet);
}

}  // namespace KvMeasure
