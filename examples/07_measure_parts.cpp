// Measures every profile of a file with a template: names, values, units, tolerances, and why one is missing.
// usage: example_07_measure_parts TEMPLATE PROFILES

#include <kvmeasure/base/error.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/scans/profile_sequence.h>

#include <cstdio>

using namespace KvMeasure;

int main(int argc, char** argv) try {
    if (argc != 3)
        return 2;
    PartMeasurement part(readPlan(argv[1]));
    ProfileSequence profiles(argv[2]);
    LoadedProfile loaded;
    bool isGood = true;
    while (profiles.next(loaded)) {
        const MeasuredPart measured = part.measure(loaded.profile);
        isGood = isGood && measured.isGood();
        if (!measured.isFound())
            std::printf("not found: %s\n", qPrintable(measured.reason));
        for (const Value& value : measured.best.values) {
            const QString limits = value.hasTolerance ? value.tolerance.limits() : QString("no tolerance");
            if (value.isValid)
                std::printf("%s %.3f %s, %s%s\n", qPrintable(value.name), value.value, qPrintable(value.unit),
                            qPrintable(limits), value.isGood() ? "" : ": OUT");
            else
                std::printf("%s: %s\n", qPrintable(value.name), qPrintable(value.reason));
        }
    }
    return isGood ? 0 : 1;
} catch (const Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 2;
}
