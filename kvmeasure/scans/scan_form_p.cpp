#include <kvmeasure/scans/scan_form_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/scans/profile_sequence.h>

#include <cmath>

namespace KvMeasure {

namespace Internal {

namespace {

FileStart startOf(QFile& file) {
    file.seek(0);
    return FileStart(file);
}

}  // namespace

ScanForm::ScanForm(const std::shared_ptr<QFile>& file) : file_(file), start_(startOf(*file)) {}

const HeightMap* ScanForm::map() {
    if (!hasLooked_)
        map_ = findMap(file_->fileName());
    hasLooked_ = true;
    return map_ ? &*map_ : nullptr;
}

bool ScanForm::isMap() { return mayBeMap() && map() != nullptr && map()->bytes() == file_->size(); }

bool ScanForm::looksLikeScan() {
    if (start_.form == StartForm::Ply || start_.form == StartForm::Grid)
        return true;
    if (isRecords() && (start_.marker() == KvMath::kProfileRecord || recordHasZ(start_.marker())))
        return true;
    return isMap();
}

/// Of the first record of a file of clouds.
bool ScanForm::liesAtDifferentZ() {
    PointFile points(file_, file_->fileName());
    RecordHead head;
    if (!points.nextHead(head) || !recordHasZ(head.marker))
        return false;
    float z = std::nanf("");
    constexpr int kPointsAtOnce = 65'536;
    while (true) {
        const std::vector<KvMath::KvPointXYZ>& some = points.nextPoints(kPointsAtOnce);
        if (some.empty())
            return false;
        for (const KvMath::KvPointXYZ& point : some) {
            if (std::isnan(z))
                z = point.z;
            if (point.z != z && !std::isnan(point.z))
                return true;
        }
    }
}

bool ScanForm::isWholeScan() {
    if (!isRecords())
        return looksLikeScan();
    try {
        return looksLikeScan() && liesAtDifferentZ();
    } catch (const Error&) {
        return true;  // what is wrong with a record its reader tells
    }
}

}  // namespace Internal

bool looksLikeScan(const QString& path) { return looksLikeScan(openedFile(path)); }

bool looksLikeScan(const std::shared_ptr<QFile>& file) { return Internal::ScanForm(file).looksLikeScan(); }

bool isWholeScan(const QString& path) { return isWholeScan(openedFile(path)); }

bool isWholeScan(const std::shared_ptr<QFile>& file) { return Internal::ScanForm(file).isWholeScan(); }

}  // namespace KvMeasure
