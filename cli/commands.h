#pragma once
// The commands, as cli/command_rows.inc lists them. Each takes the words behind its name and returns an exit
// code; each throws Error and Help.

#include <QtCore/QStringList>

namespace KvMeasure {

#define KVMEASURE_COMMAND(group, name, operands, summary, run) int run(const QStringList& words);
#include "cli/command_rows.inc"
#undef KVMEASURE_COMMAND

/// Runs the command that the first word names.
int runCommand(const QStringList& words);

}  // namespace KvMeasure
