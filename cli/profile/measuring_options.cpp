#include "cli/profile/measuring_options.h"

#include "cli/parameters.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <cmath>

namespace KvMeasure {

namespace {

/// "monte-carlo N".
void readUncertainty(const Arguments& arguments, PartSettings& settings) {
    const QStringList words = arguments.text("--uncertainty").simplified().split(' ');
    double runs = 0;
    if (words[0] != "monte-carlo" || words.size() != 2 || !parseNumber(words[1], runs) ||
        runs != std::floor(runs) || !(runs >= 2 && runs <= kMostMonteCarloRuns))
        throw Error(filledIn("--uncertainty needs \"monte-carlo N\" with N from 2 to %1, not \"%2\"",
                             kMostMonteCarloRuns, arguments.text("--uncertainty")));
    settings.monteCarloRuns = static_cast<int>(runs);
}

}  // namespace

std::vector<Option> uncertaintyOptions() {
    Option option{"--uncertainty", "monte-carlo N",
                  "U from N runs with simulated noise of each profile (2 to 100000), not from propagation"};
    option.words = 2;
    return {option};
}

std::vector<Option> statisticsOptions() {
    return {{"--stats", "", "add mean, deviation, Cp, Cpk, Pp, Ppk of each value against its tolerance"},
            {"--report", "PAGE", "write a page with verdict, statistics, plots, the worst profiles"}};
}

MatchReport::Form reportForm(const Arguments& arguments, MatchReport::Form jsonForm) {
    const bool isLines = arguments.has("--jsonl");
    if (int(arguments.isJson()) + int(arguments.has("--csv")) + int(isLines) > 1)
        throw Error("--json, --jsonl and --csv are forms of one output; give one of them");
    if (isLines && arguments.has("--stats"))
        throw Error("--stats has no place in lines of profiles; leave it out, or take --json for --jsonl");
    if (arguments.isJson() || isLines)
        return jsonForm;
    return arguments.has("--csv") ? MatchReport::Csv : MatchReport::Text;
}

PartSettings settingsOf(const Arguments& arguments) {
    PartSettings settings;
    if (arguments.has("--uncertainty"))
        readUncertainty(arguments, settings);
    settings.takesAll = arguments.has("--all");
    settings.givesReason = false;
    settings.givesMarks = arguments.has("--svg") || arguments.has("--report");
    return settings;
}

MeasuredPart measureInPlace(PartMeasurement& part, KvMath::KvProfile& profile, KvMath::KvProfile& second) {
    try {
        part.prepare(profile);
        if (!second.points.isEmpty())
            part.prepare(second);
        return part.measurePrepared(profile, second);
    } catch (const Error& error) {
        if (error.parameter() != "steps")
            throw;
        return part.unmeasured(error.text(optionOf));
    }
}

}  // namespace KvMeasure
