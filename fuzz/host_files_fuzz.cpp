// The host's readers: scans of every form, height maps, points, template files. They refuse with a text or
// read.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/profile_file.h"
#include "kvmeasure/scan_file.h"
#include "kvmeasure/template_file.h"

namespace {

template <class Reader>
void read(const Reader& reader) {
    try {
        reader();
    } catch (const KvMeasure::Failure& failure) {
        Fuzz::require(!failure.text.isEmpty(), "a refusal says why");
    }
}

void readScan(const QString& path, const KvMeasure::ScanOptions& options) {
    KvMeasure::Scan scan = KvMeasure::loadScan(path, options);
    Fuzz::require(scan.points >= 0 && scan.unset >= 0, "points are counted");
    KvMeasure::takeStack(scan, path);
}

void readProfiles(const QString& path, const QString& columns) {
    KvMeasure::ProfileSource source(path, columns);
    for (KvMeasure::LoadedProfile loaded; source.next(loaded);)
        Fuzz::require(loaded.unset >= 0, "unset points are counted");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const bool isTurned = input.byte() > 200, hasMap = input.byte() > 250;
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QString path = Fuzz::scratchFile("in", bytes);
    KvMeasure::ScanOptions options;
    options.heightLast = isTurned;
    options.step = input.byte() > 200 ? input.number() : options.step;
    const int split = static_cast<int>(bytes.indexOf("\n\n"));
    if (hasMap && split >= 0) {
        options.map = Fuzz::scratchFile("map.meta.csv", bytes.left(split));
        Fuzz::scratchFile("in", bytes.mid(split + 2));
    }
    read([&] { KvMeasure::looksLikeScan(path); });
    read([&] { readScan(path, options); });
    read([&] { readProfiles(path, isTurned ? "2,1" : ""); });
    const Fuzz::LeaksIgnored brokenJson;
    read([&] { KvMeasure::templateFileText(KvMeasure::readTemplateFile(path)); });
    return 0;
}
