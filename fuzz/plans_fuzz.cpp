// Plans as they come out of JSON: what is read is written and read again unchanged, and measures any profile.
// Points of a profile follow the text behind a 0 byte.

#include "fuzz/fuzz_input.h"
#include "fuzz/json_mutator.h"
#include "fuzz/scratch_file.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/inspection/part_measurement.h>

#include <QtCore/QSet>

namespace {

/// Settings that cost seconds are not what is looked for here.
bool isCheap(const KvMeasure::InspectionPlan& plan) {
    constexpr int most = 20;
    return plan.lines.getTemplateLinesNumber() < 5 && plan.filter.size() < 5 && plan.tools.size() < most &&
           plan.measurements.getAllMeasurements().size() < most;
}

void measure(const KvMeasure::InspectionPlan& plan, Fuzz::Input& input) {
    constexpr int mostPoints = 200;
    KvMath::KvProfile profile;
    profile.points = input.points<KvMath::KvPointXY>(mostPoints);
    KvMeasure::PartMeasurement part(plan);
    const KvMeasure::MeasuredPart measured = part.measure(profile);
    for (const KvMeasure::Value& value : measured.best.values) {
        Fuzz::require(value.isValid == value.reason.isEmpty(), "a missing value says why");
        Fuzz::require(!value.isValid || std::isfinite(value.value), "a value is finite");
        Fuzz::require(!(value.u < 0), "no uncertainty is negative");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const size_t text = Fuzz::textSize(data, size);
    Fuzz::Input input(data + text, size - text);
    const Fuzz::Input whole(data, size);
    const bool isMeasured = whole.isOneIn(2), isRepeated = whole.isOneIn(6);
    static Fuzz::ScratchFile file("plan.json");
    const QString path = file.with({reinterpret_cast<const char*>(data), int(text)});
    const Fuzz::LeaksIgnored brokenJson;
    try {
        const KvMeasure::InspectionPlan plan = KvMeasure::readPlan(path);
        Fuzz::require(KvMeasure::planFault(plan).isEmpty(), "a plan that is read is sound");
        if (isMeasured && isCheap(plan))
            measure(plan, input);
        if (!isRepeated)
            return 0;
        const QByteArray written = KvMeasure::planText(plan, path);
        const KvMeasure::InspectionPlan again = KvMeasure::readPlan(file.with(written));
        Fuzz::require(KvMeasure::planText(again, path) == written, "a plan is stable");
    } catch (const KvMeasure::Error& error) {
        Fuzz::require(!error.text().isEmpty(), "a refusal says why");
    }
    return 0;
}
