// "kvmeasure stats linearity" and "kvmeasure stats bias".

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/range_words.h"
#include "cli/stats/tables.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/statistics/linearity.h>

#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kMost = 1e300;

const Usage& linearityUsage() {
    static const Usage kAll = with(
        {"stats linearity",
         "TABLE",
         "Linearity of a gauge: does its bias change over its range?",
         {{"--reference", "NAME", "column of the true values (reference)"},
          {"--value", "NAME", "column of the values (value)"}},
         "The line bias = slope reference + intercept by least squares, with 95 % limits, and for each "
         "reference "
         "its bias.\n"
         "Where references were read several times, a test says whether the bias is bent. Exit code 1: no "
         "line.\n\n"
         "Examples\n"
         "  kvmeasure stats linearity blocks.csv --reference nominal --value depth\n"},
        groupingOptions());
    return kAll;
}

const Usage& biasUsage() {
    static const Usage kAll =
        with({"stats bias",
              "TABLE",
              "Bias of a gauge by readings of one part of known value: t test, Cg and Cgk.",
              {{"--reference", "VALUE", "true value of the part (required)"},
               {"--value", "NAME", "column of the values (value)"},
               {"--limits", "L..U",
                "limits of the characteristic: Cg = 0.2 T / 6 s, Cgk = (0.1 T - |bias|) / 3 s"}},
              "Exit code 1: fewer than two readings.\n\n"
              "Examples\n"
              "  kvmeasure stats bias readings.csv --reference 5.003 --value depth --limits 4.9..5.1\n"},
             groupingOptions());
    return kAll;
}

QString textOr(const Arguments& arguments, const char* option, const char* otherwise) {
    return arguments.has(option) ? arguments.text(option) : QString(otherwise);
}

QString number(double value) {
    constexpr int kDigits = 8;
    return std::isfinite(value) ? QString::number(value, 'g', kDigits) : QString("-");
}

QJsonArray jsonLimits(const Estimate& estimate) {
    return {jsonNumber(estimate.low), jsonNumber(estimate.high)};
}

QJsonObject jsonBias(const BiasOfReference& one) {
    QJsonObject json{{"reference", jsonNumber(one.reference)},
                     {"count", one.count},
                     {"bias", jsonNumber(one.bias.value)},
                     {"biasConfidence", jsonLimits(one.bias)},
                     {"standardDeviation", jsonNumber(one.deviation)},
                     {"p", jsonNumber(one.probability)},
                     {"biased", one.isBiased()}};
    if (std::isnan(one.probability))
        json["reason"] = one.count < 2 ? "fewer than two readings" : "all readings are equal";
    return json;
}

/// The reference of a word; throws where it is no number.
double referenceOf(const Arguments& arguments, const NamedValues& taken, std::size_t i) {
    double reference = 0;
    const QString& word = taken.words[0][static_cast<int>(i)];
    if (!parseNumber(word, reference) || !std::isfinite(reference))
        throw Error(filledIn("%1: %2: the reference \"%3\" is no number", arguments.operand(0),
                             i < taken.lines.size() ? filledIn("line %1", taken.lines[i])
                                                    : taken.sources.value(static_cast<int>(i)),
                             word))
            .inFile(arguments.operand(0));
    return reference;
}

QJsonObject jsonLinearity(const Linearity& found) {
    QJsonArray references;
    for (const BiasOfReference& one : found.references)
        references.append(jsonBias(one));
    QJsonObject json{{"count", found.count},
                     {"references", references},
                     {"bias", jsonNumber(found.meanBias)},
                     {"slope", jsonNumber(found.slope.value)},
                     {"slopeConfidence", jsonLimits(found.slope)},
                     {"slopeProbability", jsonNumber(found.slopeProbability)},
                     {"intercept", jsonNumber(found.intercept.value)},
                     {"interceptConfidence", jsonLimits(found.intercept)},
                     {"interceptProbability", jsonNumber(found.interceptProbability)},
                     {"residualStandardDeviation", jsonNumber(found.deviation)},
                     {"rSquared", jsonNumber(found.rSquared)},
                     {"curvatureF", jsonNumber(found.curvatureF)},
                     {"curvatureProbability", jsonNumber(found.curvatureProbability)}};
    QJsonObject reasons;
    if (!found.reason.isEmpty())
        json["reason"] = found.reason;
    else if (!(found.deviation > 0))
        for (const char* key : {"slopeProbability", "interceptProbability"})
            reasons[key] = "all readings are on the line";
    if (found.reason.isEmpty() && std::isnan(found.rSquared))
        reasons["rSquared"] = "all biases are equal";
    if (!found.curvatureReason.isEmpty())
        for (const char* key : {"curvatureF", "curvatureProbability"})
            reasons[key] = found.curvatureReason;
    json["reasons"] = reasons;
    if (found.reason.isEmpty())
        json["linear"] = found.isLinear();
    return json;
}

QString lineText(const Linearity& found) {
    Facts facts;
    const auto add = [&facts](const char* what, const QString& value) { facts.add("", what, value, {}); };
    const auto limits = [](const Estimate& estimate) {
        return filledIn("%1 (95 %: %2 .. %3)", number(estimate.value), number(estimate.low),
                        number(estimate.high));
    };
    add("slope", limits(found.slope));
    add("probability of a greater slope by chance", number(found.slopeProbability));
    add("intercept", limits(found.intercept));
    add("probability of a greater intercept by chance", number(found.interceptProbability));
    add("standard deviation about the line", number(found.deviation));
    add("share of the line in the scatter", number(found.rSquared));
    add("probability of a more bent bias by chance", number(found.curvatureProbability));
    return facts.table.text() +
           (found.curvatureReason.isEmpty() ? QString()
                                            : "no test of a bent bias: " + found.curvatureReason + '\n') +
           (found.isLinear() ? "the bias does not change over the range beyond chance\n"
                             : "the bias changes over the range\n");
}

}  // namespace

int runStatsLinearity(const QStringList& words) {
    const Arguments arguments(linearityUsage(), words, 1, 1);
    const NamedValues taken = takeValues(arguments, textOr(arguments, "--value", "value"),
                                         {textOr(arguments, "--reference", "reference")});
    std::vector<ReferenceReading> readings;
    readings.reserve(taken.values.size());
    for (std::size_t i = 0; i < taken.values.size(); ++i)
        readings.push_back({referenceOf(arguments, taken, i), taken.values[i]});
    const Linearity found = linearity(readings);
    if (arguments.isJson()) {
        QJsonObject json = jsonLinearity(found);
        json["file"] = arguments.operand(0);
        json["unit"] = taken.unit;
        json["missing"] = taken.missing;
        printJson(json);
        return found.reason.isEmpty() ? int(Done) : int(NotMet);
    }
    Table table({"reference", "count", "bias", "from", "to", "std dev", "biased"});
    for (const BiasOfReference& one : found.references)
        table.add({number(one.reference), QString::number(one.count), number(one.bias.value),
                   number(one.bias.low), number(one.bias.high), number(one.deviation),
                   std::isnan(one.probability) ? "-"
                   : one.isBiased()            ? "yes"
                                               : "no"});
    print(filledIn("%1: %2 readings of %3 references\n", printable(arguments.operand(0)), found.count,
                   found.references.size()) +
          table.text() + (found.reason.isEmpty() ? lineText(found) : "NO LINE: " + found.reason + '\n'));
    return found.reason.isEmpty() ? int(Done) : int(NotMet);
}

int runStatsBias(const QStringList& words) {
    const Arguments arguments(biasUsage(), words, 1, 1);
    arguments.required("--reference", "it is the true value of the part");
    const double reference = arguments.number("--reference", 0, -kMost, kMost);
    NamedValues taken = takeValues(arguments, textOr(arguments, "--value", "value"), {});
    if (arguments.has("--limits")) {
        const NumberRange range = parseRange(arguments.text("--limits"), "--limits", /*mayBeOpen=*/false);
        taken.limits = {range.from, range.to};
    }
    const BiasOfReference bias = biasOf(reference, taken.values);
    const GaugeCapability gauge = gaugeCapability(taken.values, reference, taken.limits);
    QJsonObject json = jsonBias(bias);
    json["file"] = arguments.operand(0);
    json["unit"] = taken.unit;
    json["missing"] = taken.missing;
    json["mean"] = jsonNumber(summarize(taken.values).mean);
    json["cg"] = jsonNumber(gauge.cg);
    json["cgk"] = jsonNumber(gauge.cgk);
    QJsonObject reasons;
    if (!gauge.reason.isEmpty())
        for (const char* key : {"cg", "cgk"})
            reasons[key] = gauge.reason;
    json["reasons"] = reasons;
    const bool isValid = bias.count > 1;
    if (arguments.isJson()) {
        printJson(json);
        return isValid ? int(Done) : int(NotMet);
    }
    Facts facts;
    facts.add("", "readings", QString::number(bias.count), {});
    facts.add("", "bias", number(bias.bias.value), {});
    facts.add("", "bias, 95 %", number(bias.bias.low) + " .. " + number(bias.bias.high), {});
    facts.add("", "standard deviation", number(bias.deviation), {});
    facts.add("", "probability of a greater bias by chance", number(bias.probability), {});
    facts.add("", "Cg", number(gauge.cg), {});
    facts.add("", "Cgk", number(gauge.cgk), {});
    print(printable(arguments.operand(0)) + ": bias against " + number(reference) + '\n' +
          facts.table.text() + (gauge.reason.isEmpty() ? QString() : "Cg, Cgk: " + gauge.reason + '\n') +
          (std::isnan(bias.probability) ? json["reason"].toString()
           : bias.isBiased()            ? QString("the gauge is biased")
                                        : QString("the bias is within chance")) +
          '\n');
    return isValid ? int(Done) : int(NotMet);
}

}  // namespace KvMeasure
