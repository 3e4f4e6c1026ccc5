// The host's readers: scans of every form, height maps, points. They refuse with a text or read.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/scans/scan_file.h>

namespace {

template <class Reader>
void read(const Reader& reader) {
    try {
        reader();
    } catch (const KvMeasure::Error& error) {
        Fuzz::require(!error.text().isEmpty(), "a refusal says why");
    }
}

void readScan(const QString& path, const KvMeasure::ScanOptions& options) {
    KvMeasure::Scan scan = KvMeasure::loadScan(path, options);
    Fuzz::require(scan.points >= 0 && scan.unset >= 0, "points are counted");
    KvMeasure::takeStack(scan, path);
}

/// Options of a text by the bits of a byte.
KvMeasure::TextOptions textOptions(int bits) {
    KvMeasure::TextOptions options;
    options.columns = (bits & 3) == 1 ? "2,1" : (bits & 3) == 2 ? "z" : "";
    options.pitch = (bits & 4) != 0 ? 0.5 : options.pitch;
    options.unset.keepsAll = (bits & 8) != 0;
    if ((bits & 16) != 0)
        options.units.append(*KvMeasure::findLengthUnit("um"));
    if ((bits & 32) != 0)
        options.unset.values.push_back(-9999);
    return options;
}

void readProfiles(const QString& path, const KvMeasure::TextOptions& options) {
    KvMeasure::ProfileSource source(path, options);
    for (KvMeasure::LoadedProfile loaded; source.next(loaded);)
        Fuzz::require(loaded.unset >= 0, "unset points are counted");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    // One reader for each input: all of them would take three times as long.
    const bool isScan = input.isOneIn(2), isJudged = input.isOneIn(16);
    const int bits = input.byte();
    const bool isTurned = bits > 200, hasMap = input.byte() > 250;
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    static Fuzz::ScratchFile in("in"), map("map.meta.csv");
    const QString path = in.with(bytes);
    KvMeasure::ScanOptions options;
    options.heightLast = isTurned;
    options.step = input.byte() > 200 ? input.number() : options.step;
    options.units = textOptions(bits).units;
    options.unset = textOptions(bits).unset;
    const int split = static_cast<int>(bytes.indexOf("\n\n"));
    if (hasMap && split >= 0) {
        options.map = map.with(bytes.left(split));
        in.with(bytes.mid(split + 2));
    }
    if (isJudged)
        read([&] { KvMeasure::looksLikeScan(path); });
    if (isScan)
        read([&] { readScan(path, options); });
    else
        read([&] { readProfiles(path, textOptions(bits)); });
    return 0;
}
