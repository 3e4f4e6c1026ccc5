#pragma once
// The commands. Each takes the words behind its name and returns an exit code; each throws Failure.

#include <QtCore/QStringList>

namespace KvMeasure {

int runCalibrate(const QStringList& words);
int runFilter(const QStringList& words);
int runFit(const QStringList& words);
int runInfo(const QStringList& words);
int runLines(const QStringList& words);
int runMatch(const QStringList& words);
int runScan(const QStringList& words);
int runSimulate(const QStringList& words);
int runSimulatePass(const QStringList& words);  ///< "kvmeasure simulate pass"
int runTeach(const QStringList& words);
int runWheels(const QStringList& words);

}  // namespace KvMeasure
