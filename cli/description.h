#pragma once
// What --help says of all commands, as a tree, and the other texts that are made of it: they cannot differ.

#include "cli/arguments.h"

namespace KvMeasure {

/// The program, a group of commands, or a command.
struct Description {
    Usage usage;                        ///< a group has no options; the program no name
    QString brief;                      ///< its line in the list of its group
    std::vector<Description> commands;  ///< of a group

    QString name() const { return usage.command.section(' ', -1); }  ///< the last word
};

/// A page in the macros of man(7), with the version of the library and without a date.
QString manualPage(const Description& program);

/// A script for bash, which needs nothing but bash: commands, options, values where these are words, else
/// files.
QString bashCompletion(const Description& program);

}  // namespace KvMeasure
