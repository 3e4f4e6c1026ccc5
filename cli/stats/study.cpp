// "kvmeasure stats study" and "kvmeasure stats anova".

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/pictures.h"
#include "cli/range_words.h"
#include "cli/stats/tables.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/study_picture.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/statistics/anova.h>
#include <kvmeasure/statistics/gauge_study.h>

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

namespace {

const Usage& studyUsage() {
    static const Usage kAll = with(
        {"stats study",
         "TABLE",
         "Repeatability and reproducibility of a gauge: parts read by appraisers, several times each.",
         {{"--part", "NAME", "column of the part (part)"},
          {"--appraiser", "NAME", "column of the appraiser (appraiser)"},
          {"--value", "NAME", "column of the values (value)"},
          {"--method",
           "range|anova",
           "average and range, or analysis of variance (anova)",
           {"range", "anova"}},
          {"--limits", "L..U", "limits of the characteristic: shares of the tolerance too"},
          {"--pool", "P", "anova: the interaction is repeatability where its probability is above P (0.25)"},
          {"--svg", "PICTURE", "draw the components and the readings by part"}},
         "TABLE is text with a heading, or the JSON of \"kvmeasure match\" or \"measure\". Deviations: EV "
         "repeatability,\n"
         "AV reproducibility, GRR both, PV parts, TV all; ndc = floor(1.41 PV / GRR). Both methods are right "
         "and differ:\n"
         "ranges leave the interaction of part and appraiser out. Every part needs as many readings of every "
         "appraiser.\n"
         "Exit code 1: no result.\n\n"
         "Examples\n"
         "  kvmeasure stats study study.csv --method range\n"
         "  kvmeasure stats study study.csv --part part --appraiser who --value depth --method anova --json\n"
         "  kvmeasure stats study results.json --value depth --group-by "
         "\"part{part}_{appraiser}_{trial}\"\n"},
        groupingOptions());
    return kAll;
}

const Usage& anovaUsage() {
    static const Usage kAll =
        with({"stats anova",
              "TABLE",
              "Analysis of variance of one factor: do groups differ by more than their values do?",
              {{"--group", "NAME", "column of the groups (group)"},
               {"--value", "NAME", "column of the values (value)"}},
              "Groups may be of different sizes. Sums run over differences from the mean: an offset of 1e9 "
              "costs no "
              "digits.\n"
              "varianceWithin and varianceBetween are the components where groups are random: what values of "
              "a group "
              "and\n"
              "what true means of groups scatter. Exit code 1: no result.\n\n"
              "Examples\n"
              "  kvmeasure stats anova stations.csv --group station --value depth\n"},
             groupingOptions());
    return kAll;
}

QString textOr(const Arguments& arguments, const char* option, const char* otherwise) {
    return arguments.has(option) ? arguments.text(option) : QString(otherwise);
}

QJsonObject jsonSource(const StudySource& source) {
    return {{"SS", jsonNumber(source.squares)},
            {"df", source.freedom},
            {"F", jsonNumber(source.f)},
            {"p", jsonNumber(source.probability)},
            {"variance", jsonNumber(source.variance)}};
}

/// Deviations and their shares of all, and of the tolerance where there is one.
void addDeviations(const GaugeStudy& study, double tolerance, QJsonObject& json, Table& table) {
    constexpr double kStudyWidth = 6, kWhole = 100;
    const struct {
        const char* key;
        double value;
    } rows[] = {{"EV", study.ev},   {"AV", study.av}, {"INT", study.interaction},
                {"GRR", study.grr}, {"PV", study.pv}, {"TV", study.tv}};
    QJsonObject shares, ofTolerance;
    for (const auto& row : rows) {
        json[row.key] = jsonNumber(row.value);
        if (std::isnan(row.value))
            continue;
        const double share = study.tv > 0 ? kWhole * row.value / study.tv : std::nan("");
        const double part = kWhole * kStudyWidth * row.value / tolerance;
        shares[row.key] = jsonNumber(share);
        if (std::isfinite(part))
            ofTolerance[row.key] = part;
        const auto percentText = [](double value) {
            return std::isfinite(value) ? QString::number(value, 'f', 2) + " %" : QString("-");
        };
        table.add({row.key, QString::number(row.value, 'g', 8), percentText(share), percentText(part)});
    }
    json["percent"] = shares;
    if (!ofTolerance.isEmpty())
        json["percentOfTolerance"] = ofTolerance;
}

void addSources(const GaugeStudy& study, double pool, QJsonObject& json) {
    json["sources"] = QJsonObject{{"part", jsonSource(study.partSource)},
                                  {"appraiser", jsonSource(study.appraiserSource)},
                                  {"interaction", jsonSource(study.interactionSource)},
                                  {"repeatability", jsonSource(study.repeatSource)}};
    json["pooled"] = study.isPooled;
    json["poolingRule"] =
        filledIn("the interaction counts as repeatability where its probability is above %1", pool);
}

QString sourceText(const GaugeStudy& study) {
    Table table({"source", "SS", "df", "F", "p", "variance"});
    const auto add = [&](const char* name, const StudySource& source) {
        const auto number = [](double value) {
            return std::isfinite(value) ? QString::number(value, 'g', 6) : QString("-");
        };
        table.add({name, number(source.squares), QString::number(source.freedom), number(source.f),
                   number(source.probability), number(source.variance)});
    };
    add("part", study.partSource);
    add("appraiser", study.appraiserSource);
    add("interaction", study.interactionSource);
    add(study.isPooled ? "repeatability, interaction pooled" : "repeatability", study.repeatSource);
    return table.text();
}

void draw(const Arguments& arguments, const GaugeStudy& study, std::vector<StudyReading> readings,
          const NamedValues& taken, double tolerance) {
    if (!arguments.has("--svg"))
        return;
    StudyPicture picture;
    picture.title = QFileInfo(arguments.operand(0)).completeBaseName() + ", " + taken.name;
    picture.subtitle =
        study.reason.isEmpty()
            ? filledIn("%1 parts, %2 appraisers, %3 trials: GRR %4 of all%5, %6 categories", study.parts,
                       study.appraisers, study.trials,
                       study.tv > 0 ? QString::number(100 * study.grr / study.tv, 'f', 1) + " %" : "-",
                       std::isfinite(tolerance)
                           ? filledIn(", %1 % of the tolerance",
                                      QString::number(600 * study.grr / tolerance, 'f', 1))
                           : QString(),
                       study.ndc >= 0 ? QString::number(study.ndc) : "-")
            : study.reason;
    picture.upward = taken.name + (taken.unit.isEmpty() ? "" : ", " + taken.unit);
    picture.readings = std::move(readings);
    picture.study = study;
    picture.tolerance = tolerance;
    writePicture(arguments.text("--svg"), [&] { return drawStudy(picture); });
}

}  // namespace

int runStatsStudy(const QStringList& words) {
    const Arguments arguments(studyUsage(), words, 1, 1);
    refuseOverwriting({arguments.text("--svg")},
                      arguments.operands() + QStringList{arguments.text("--group-table")});
    const bool isAnova = !arguments.has("--method") || arguments.choice("--method") == 1;
    if (arguments.has("--pool") && !isAnova)
        throw Error("stats study: --pool goes with --method anova");
    constexpr double kUsualPool = 0.25;
    const double pool = arguments.number("--pool", kUsualPool, 0, 1);
    double tolerance = std::nan("");
    if (arguments.has("--limits")) {
        const NumberRange limits = parseRange(arguments.text("--limits"), "--limits", /*mayBeOpen=*/false);
        tolerance = limits.to - limits.from;
    }
    const NamedValues taken =
        takeValues(arguments, textOr(arguments, "--value", "value"),
                   {textOr(arguments, "--part", "part"), textOr(arguments, "--appraiser", "appraiser")});
    if (!arguments.has("--limits") && std::isfinite(taken.limits.upper - taken.limits.lower))
        tolerance = taken.limits.upper - taken.limits.lower;  // of results in JSON
    std::vector<StudyReading> readings;
    readings.reserve(taken.values.size());
    for (std::size_t i = 0; i < taken.values.size(); ++i)
        readings.push_back(
            {taken.words[0][static_cast<int>(i)], taken.words[1][static_cast<int>(i)], taken.values[i]});
    const GaugeStudy study = gaugeStudy(readings, isAnova ? StudyMethod::Anova : StudyMethod::Range, pool);
    const bool isValid = study.reason.isEmpty();
    QJsonObject json{{"file", arguments.operand(0)},
                     {"method", isAnova ? "anova" : "range"},
                     {"parts", study.parts},
                     {"appraisers", study.appraisers},
                     {"trials", study.trials},
                     {"missing", taken.missing},
                     {"unit", taken.unit}};
    QStringList heading{"", "deviation", "of TV"};
    if (std::isfinite(tolerance))
        heading.append("6 deviations of the tolerance");
    Table table(heading);
    addDeviations(study, tolerance, json, table);
    json["ndc"] = study.ndc >= 0 ? QJsonValue(study.ndc) : QJsonValue();
    if (isAnova && isValid)
        addSources(study, pool, json);
    if (!isValid)
        json["reason"] = study.reason;
    if (!study.note.isEmpty())
        json["note"] = study.note;
    draw(arguments, study, std::move(readings), taken, tolerance);
    if (arguments.isJson())
        printJson(json);
    else if (!isValid)
        print(printable(arguments.operand(0)) + ": NO RESULT: " + printable(study.reason) + '\n');
    else
        print(filledIn("%1: %2 parts, %3 appraisers, %4 trials, by %5\n", printable(arguments.operand(0)),
                       study.parts, study.appraisers, study.trials,
                       isAnova ? "analysis of variance" : "average and range") +
              table.text() + (isAnova ? sourceText(study) : QString()) +
              filledIn("ndc %1%2\n", study.ndc >= 0 ? QString::number(study.ndc) : "-",
                       study.note.isEmpty() ? "" : "; " + study.note));
    return isValid ? int(Done) : int(NotMet);
}

int runStatsAnova(const QStringList& words) {
    const Arguments arguments(anovaUsage(), words, 1, 1);
    const NamedValues taken =
        takeValues(arguments, textOr(arguments, "--value", "value"), {textOr(arguments, "--group", "group")});
    const OneWayAnova result = oneWayAnova(taken.values, taken.words[0]);
    Facts facts;
    const auto add = [&](const char* key, const QString& what, double value) {
        facts.add(key, what, std::isfinite(value) ? QString::number(value, 'g', 12) : "-", jsonNumber(value));
    };
    add("count", "values", result.count);
    add("groups", "groups", result.groups);
    add("betweenSS", "sum of squares between", result.betweenSS);
    add("withinSS", "sum of squares within", result.withinSS);
    add("betweenDF", "degrees of freedom between", result.betweenFreedom);
    add("withinDF", "degrees of freedom within", result.withinFreedom);
    add("F", "F", result.f);
    add("p", "probability of a greater F", result.probability);
    add("rSquared", "share between", result.rSquared);
    add("residualStandardDeviation", "standard deviation within", result.residualStandardDeviation);
    add("varianceWithin", "variance of values of a group", result.varianceWithin);
    add("varianceBetween", "variance of true means of groups", result.varianceBetween);
    facts.json["file"] = arguments.operand(0);
    facts.json["missing"] = taken.missing;
    if (!result.reason.isEmpty())
        facts.json["reason"] = result.reason;
    if (arguments.isJson())
        printJson(facts.json);
    else
        print(printable(arguments.operand(0)) + ": analysis of variance\n" + facts.table.text() +
              (result.reason.isEmpty() ? QString() : result.reason + '\n'));
    return result.reason.isEmpty() ? int(Done) : int(NotMet);
}

}  // namespace KvMeasure
