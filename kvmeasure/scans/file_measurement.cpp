#include <kvmeasure/scans/file_measurement.h>

#include <kvmeasure/base/error.h>

#include <cmath>

namespace KvMeasure {

namespace {

/// `all` with the measured values in their places. Documents of other programs may give two values one name:
/// the first place that is free takes it.
QList<Value> inColumns(QList<Value> all, const QList<Value>& measured) {
    std::vector<bool> isTaken(static_cast<std::size_t>(all.size()));
    for (const Value& value : measured) {
        for (int i = 0; i < all.size(); ++i) {
            if (all[i].name == value.name && !isTaken[std::size_t(i)]) {
                all[i] = value;
                isTaken[std::size_t(i)] = true;
                break;
            }
        }
    }
    for (Value& value : all) {
        if (!value.isValid)
            value.value = std::nan("");
    }
    return all;
}

}  // namespace

FileMeasurement::FileMeasurement(const InspectionPlan& plan, const QString& path, const TextOptions& text,
                                 const ScanOptions& scan, const PartSettings& settings)
    : part_(plan, settings), profiles_(path, text, scan) {}

bool FileMeasurement::next(MeasuredProfile& measured) {
    LoadedProfile loaded;
    if (!profiles_.next(loaded))
        return false;
    measured.name = loaded.name;
    measured.warning = loaded.warning;
    measured.z = loaded.hasZ() ? loaded.z : std::nanf("");
    try {
        measured.part = part_.measure(loaded.profile);
    } catch (const Error& error) {
        throw error.at(loaded.name);
    }
    const QString reason =
        measured.part.reason.isEmpty() ? "the template is not found" : measured.part.reason;
    measured.values = inColumns(part_.unmeasured(reason).best.values, measured.part.best.values);
    return true;
}

}  // namespace KvMeasure
