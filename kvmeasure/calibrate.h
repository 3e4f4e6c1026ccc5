#pragma once
// The actions of "kvmeasure calibrate". Each takes the words behind its name and returns an exit code.

#include "kvmeasure/arguments.h"

#include <optional>

namespace KvMeasure {

int runCalibrateSimulate(const QStringList& words);
int runCalibrateBuild(const QStringList& words);
int runCalibrateApply(const QStringList& words);
int runCalibrateCut(const QStringList& words);
int runCalibrateMirror(const QStringList& words);
int runCalibrateInfo(const QStringList& words);
int runCalibrateCheck(const QStringList& words);

/// The words of an action as arguments with `count` operands; nothing when the help was asked for and shown.
std::optional<Arguments> readAction(const Usage& usage, const QStringList& words, int count);

/// The share in per cent with two digits behind the point; "-" of nothing.
QString percent(double part, double whole);

}  // namespace KvMeasure
