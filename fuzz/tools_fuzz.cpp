// Every kind of tool on any points, with any settings that it takes: a value is finite, or says why it is
// missing.

#include "fuzz/fuzz_input.h"

#include <kvmeasure/inspection/tool.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <QtCore/QMap>

namespace {

using namespace KvMeasure;

/// A region whose sides are in order; some are open.
Region region(const char* name, Fuzz::Input& input) {
    Region made;
    made.name = name;
    const auto side = [&](double& least, double& greatest) {
        const double from = input.number();
        const double width = input.number();
        if (std::isfinite(from) && std::isfinite(width)) {
            least = std::min(from, from + width);
            greatest = std::max(from, from + width);
        }
    };
    side(made.minX, made.maxX);
    if (input.flag())
        side(made.minZ, made.maxZ);
    return made;
}

/// Settings that are not taken stay as if left out.
void set(const ToolField& field, Tool& tool, Fuzz::Input& input) {
    const bool isRegion =
        field.type == ToolField::Region || (field.type == ToolField::RegionOrNumber && input.flag());
    if (isRegion)
        tool.set(field.key, input.flag() ? "R" : "L");
    else if (field.type == ToolField::Choice)
        tool.set(field.key, field.choices[input.below(static_cast<int>(field.choices.size()))]);
    else if (field.isRequired || input.flag())
        tool.set(field.key, QString::number(input.number(), 'g', 17));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr int mostPoints = 400;
    Fuzz::Input input(data, size);
    const ToolKind& kind = *toolKinds()[std::size_t(input.below(static_cast<int>(toolKinds().size())))];
    QList<Region> regions{region("R", input), region("L", input)};
    if (input.flag())
        regions[0].anchor = "A";
    Anchor anchor;
    anchor.name = "A";
    anchor.source = "L";
    anchor.kind = static_cast<Anchor::Kind>(input.below(Anchor::TemplateLine + 1));
    anchor.taught = {input.place(), input.number()};
    Tool tool("t", kind);
    for (const ToolField& field : kind.fields)
        set(field, tool, input);
    if (!tool.fault().isEmpty())
        return 0;
    KvMath::KvProfile profile;
    profile.points = input.points<KvMath::KvPointXY>(mostPoints);
    ToolInput points(regions, {anchor});
    points.setLineRegions(tool.lineRegions());
    points.load(profile);
    ToolResults results(tool, {}, /*givesMarks=*/true);
    kind.measure(tool, points, results);
    const Evaluation measured = results.take();
    Fuzz::require(std::size_t(measured.values.size()) == kind.values.size(), "every value comes out");
    for (const Value& value : measured.values) {
        Fuzz::require(value.isValid == value.reason.isEmpty(), "a missing value says why");
        Fuzz::require(!value.isValid || std::isfinite(value.value), "a value is finite");
        Fuzz::require(!(value.u < 0) && !std::isinf(value.u), "an uncertainty is a number or unknown");
    }
    return 0;
}
