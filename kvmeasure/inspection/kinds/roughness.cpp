// roughness: Ra, Rq, Rz and the like of the points of a region (ISO 21920-2, ISO 4287).

#include <kvmeasure/form/roughness.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

void measureRoughness(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    RoughnessSettings settings;
    settings.cutoff = tool.number("cutoff");
    settings.norm = tool.choice("norm") == 1 ? RoughnessNorm::Iso4287 : RoughnessNorm::Iso21920;
    settings.isRobust = tool.choice("filter") == 1;
    Roughness found;
    try {
        found = roughness(region.points, settings);
    } catch (const Error& error) {
        return results.refuse(error.text());
    }
    if (!found.reason.isEmpty())
        return results.refuse(found.reason);
    constexpr double kMicrometres = 1000;
    const RoughnessValues& values = found.values;
    const struct {
        const char* ending;
        double value;
    } lengths[] = {{"Ra", values.ra}, {"Rq", values.rq}, {"Rz", values.rz}, {"Rp", values.rp},
                   {"Rv", values.rv}, {"Rt", values.rt}, {"Wa", values.wa}, {"Wz", values.wz}};
    for (const auto& [ending, value] : lengths)
        results.add(ending, kMicrometres * value);
    const auto addOr = [&results](const char* ending, double value, const char* reason) {
        std::isnan(value) ? results.refuse(ending, reason) : results.add(ending, value);
    };
    addOr("Rsk", values.rsk, "all heights are 0");
    addOr("Rku", values.rku, "all heights are 0");
    addOr("RSm", values.rsm, "fewer than two whole elements");
    results.sayNoUncertainty("the noise of the scanner is in the roughness, and cannot be told from it");
    for (const QString& note : found.notes)
        results.note("Ra", note);
}

}  // namespace

const ToolKind roughnessTool{
    "roughness",
    "roughness and waviness of the points, um (ISO 21920-2, ISO 4287)",
    {regionField("region", "in", "region"),
     [] {
         constexpr double kLeast = 1e-3, kGreatest = 1e4;
         ToolField field{"cutoff", "cutoff", ToolField::Number, "cut-off of the filter, lambda c",
                         /*isRequired=*/true};
         field.least = kLeast;
         field.greatest = kGreatest;
         return field;
     }(),
     choiceField("norm", "", "what is a mean of sampling lengths", {"iso21920", "iso4287"}),
     choiceField("filter", "", "mean line", {"gaussian", "robust"})},
    {{"Ra", "um", "mean of the sizes of the heights"},
     {"Rq", "um", "root mean square of the heights"},
     {"Rz", "um", "highest peak to lowest valley of a sampling length"},
     {"Rp", "um", "highest peak"},
     {"Rv", "um", "lowest valley"},
     {"Rt", "um", "highest peak to lowest valley of all"},
     {"Wa", "um", "mean size of the waviness"},
     {"Wz", "um", "waviness from peak to valley"},
     {"Rsk", "", "skewness"},
     {"Rku", "", "kurtosis"},
     {"RSm", "mm", "mean length of a peak with its valley"}},
    measureRoughness};

}  // namespace KvMeasure::Internal
