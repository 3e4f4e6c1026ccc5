#pragma once
// What an open file holds, asked once: its first bytes, and the description of a height map beside it.

#include <kvmeasure/profiles/file_start_p.h>
#include <kvmeasure/scans/scan_forms_p.h>

#include <memory>
#include <optional>

namespace KvMeasure::Internal {

/// The form of a scan, or of profiles that stand in a file one by one. The description is looked for when it
/// is asked for.
class ScanForm {
public:
    /// The file is open; it is looked at from its beginning.
    explicit ScanForm(const std::shared_ptr<QFile>& file);

    const std::shared_ptr<QFile>& file() const { return file_; }  ///< as it was given
    const FileStart& start() const { return start_; }             ///< its first bytes
    bool isRecords() const { return start_.form == StartForm::Records; }
    /// Text in 8 bits is no map, nor is an empty file.
    bool mayBeMap() const { return start_.encoding != TextEncoding::EightBit; }
    /// The description beside the file, null where there is none. Throws Error for a damaged one.
    const HeightMap* map();
    bool isMap();          ///< it may be one, and has as many bytes as the description says
    bool looksLikeScan();  ///< as the function of that name
    bool isWholeScan();    ///< as the function of that name

private:
    bool liesAtDifferentZ();

    std::shared_ptr<QFile> file_;
    FileStart start_;
    std::optional<HeightMap> map_;
    bool hasLooked_ = false;  ///< for the description
};

/// loadScan of a file whose form is known.
Scan loadScan(ScanForm& form, const QString& path, const ScanOptions& options);

}  // namespace KvMeasure::Internal
