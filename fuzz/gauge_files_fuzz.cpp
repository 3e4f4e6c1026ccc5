// Files of gauges: they refuse with a text or read, and what is measured on any section is a number or has a
// reason.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/wheels/wheel_wear.h>

#include <cmath>

namespace {

void requireReasons(const std::vector<KvMeasure::SectionValue>& values) {
    for (const KvMeasure::SectionValue& value : values)
        Fuzz::require(std::isfinite(value.value) == value.isKnown(), "a value is there or has a reason");
}

void measure(const KvMeasure::GaugeProfile& profile, int kind) {
    static const KvMeasure::WheelSection nominal = KvMeasure::s1002Section(1);
    if (kind % 2 == 0) {
        const KvMeasure::WheelSection wheel = KvMeasure::wheelSection(profile);
        requireReasons(KvMeasure::gaugeValues(wheel).values);
        requireReasons(KvMeasure::wheelWear(wheel, nominal).values);
        return;
    }
    const KvMeasure::RailSection rail = KvMeasure::railSection(profile);
    requireReasons(KvMeasure::railValues(rail, rail.isRail() ? &rail : nullptr).values);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Fuzz::ScratchFile in("in");
    Fuzz::Input input(data, size);
    KvMeasure::TextOptions options;
    if (input.byte() > 240)
        options.units.append(*KvMeasure::findLengthUnit("um"));
    try {
        const int kind = input.byte();
        measure(KvMeasure::readGaugeProfile(in.with(input.rest()), options), kind);
    } catch (const KvMeasure::Error& error) {
        Fuzz::require(!error.text().isEmpty(), "a refusal says why");
    }
    return 0;
}
