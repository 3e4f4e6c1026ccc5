#pragma once
// The commands. Each takes the words behind its name and returns an exit code; each throws Failure and Help.

#include <QtCore/QStringList>

#include <vector>

namespace KvMeasure {

int runFilter(const QStringList& words);
int runFit(const QStringList& words);
int runInfo(const QStringList& words);
int runLines(const QStringList& words);
int runMatch(const QStringList& words);
int runTeach(const QStringList& words);

int runSimulateProfile(const QStringList& words);
int runSimulateScan(const QStringList& words);
int runSimulatePass(const QStringList& words);

int runScanInfo(const QStringList& words);
int runScanConvert(const QStringList& words);
int runScanSlice(const QStringList& words);
int runScanSection(const QStringList& words);
int runScanGrid(const QStringList& words);
int runScanPlane(const QStringList& words);
int runScanOutline(const QStringList& words);

int runCalibrateSimulate(const QStringList& words);
int runCalibrateBuild(const QStringList& words);
int runCalibrateApply(const QStringList& words);
int runCalibrateCut(const QStringList& words);
int runCalibrateMirror(const QStringList& words);
int runCalibrateInfo(const QStringList& words);
int runCalibrateCheck(const QStringList& words);

/// Runs the command that the first word names.
int runCommand(const QStringList& words);

}  // namespace KvMeasure
