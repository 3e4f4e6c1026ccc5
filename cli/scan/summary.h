#pragma once
// What a scan holds, for reports.

#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/scan_file.h>

namespace KvMeasure {

struct ScanSummary {
    QString form;
    bool isStack = false;
    qint64 profiles = 0, points = 0, unset = 0;
    Span x, height, scan;  ///< mm

    QString line() const;  ///< one line of text
    QJsonObject json() const;
};

ScanSummary summarise(const Scan& scan);

}  // namespace KvMeasure
