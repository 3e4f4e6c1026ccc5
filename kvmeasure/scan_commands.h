#pragma once
// The commands on scans. Each takes the words behind its name and returns an exit code.

#include "kvmeasure/scan_options.h"

#include <QtCore/QJsonObject>

namespace KvMeasure {

int runScanInfo(const QStringList& words);
int runScanConvert(const QStringList& words);
int runScanSlice(const QStringList& words);
int runScanSection(const QStringList& words);
int runScanGrid(const QStringList& words);
int runScanPlane(const QStringList& words);
int runScanOutline(const QStringList& words);
int runSimulateScan(const QStringList& words);  ///< "kvmeasure simulate scan"

/// What a scan holds, for reports.
struct ScanSummary {
    QString form;
    bool isStack = false;
    qint64 profiles = 0, points = 0, unset = 0;
    float minX = 0, maxX = 0, minHeight = 0, maxHeight = 0, minScan = 0, maxScan = 0;

    QString line() const;  ///< one line of text
    QJsonObject json() const;
};

/// Prints the help of a command when --help is among its words.
bool askedForHelp(const Usage& usage, const QStringList& words);

ScanSummary summarise(const Scan& scan);

}  // namespace KvMeasure
