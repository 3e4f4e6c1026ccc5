#pragma once
// Command lines: operands, flags and options with a value, as a command declares them.

#include "cli/exit_code.h"
#include <kvmeasure/base/error.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// One option of a command.
struct Option {
    const char* name;           ///< with its dashes, e.g. "--out"
    const char* value;          ///< name of the value in the help, or "" for a flag; a PICTURE is checked
    const char* help;           ///< one line
    QStringList choices = {};   ///< all values that there are, where these are words
    bool isRepeatable = false;  ///< it may be given several times
    int words = 1;              ///< words of its value, which may also stand in one: "A B"
};

/// What a command takes; help text, manual page and completions are made from it.
struct Usage {
    QString command;
    const char* operands;  ///< e.g. "PROFILE..."
    const char* summary;   ///< one sentence
    std::vector<Option> options;
    QString details;  ///< further text with the examples
};

/// The usage with further options behind its own.
Usage with(Usage usage, const std::vector<Option>& more);

constexpr int kAnyNumber = std::numeric_limits<int>::max();  ///< of operands

/// Thrown where a command is asked for its help.
struct CommandHelp : Help {
    Usage usage;  ///< with what every command has
};

/// A parsed command line. "--name value" and "--name=value" mean the same, "--" ends the options. Every
/// command has --json and --help, or -h, which need not be declared. The constructor throws CommandHelp where
/// it is asked for, and Error for unknown, repeated and incomplete options; the others throw Error.
class Arguments {
public:
    Arguments(const Usage& usage, const QStringList& words);
    /// With from `fewest` to `most` operands.
    Arguments(const Usage& usage, const QStringList& words, int fewest, int most);

    const QString& command() const { return command_; }
    const QStringList& operands() const { return operands_; }
    QString operand(int i) const { return operands_.value(i); }
    bool isJson() const { return has("--json"); }
    QStringList given() const { return values_.keys(); }  ///< names of the options, sorted
    bool has(const QString& name) const { return values_.contains(name); }
    QString text(const QString& name) const { return values_.value(name).value(0); }
    /// All values of an option that may be repeated, in order; none when it was not given.
    QStringList texts(const QString& name) const { return values_.value(name); }

    /// Value of an option as a number within [minimum, maximum]; `absent` when it was not given. The unit may
    /// stand behind it where the value is called MM or DEG.
    double number(const QString& name, double absent, double minimum, double maximum) const;
    int integer(const QString& name, int absent, int minimum, int maximum) const;

    /// Two numbers "A,B" or "A B"; unchanged when the option was not given.
    void pair(const QString& name, double& first, double& second) const;
    void wholePair(const QString& name, int& first, int& second, int minimum, int maximum) const;

    /// Index of the value among the choices of the option; 0 when the option was not given.
    int choice(const QString& name) const;

    /// Value of an option that must be given; `meaning` says what it is.
    QString required(const QString& name, const QString& meaning) const;

    /// Throws Error where one of these options is given without that one, which gives them their effect.
    void requireWith(const QStringList& names, const QString& other) const;

    /// Operands must number at least `fewest`, and at most `most`.
    void requireOperands(int most, int fewest = 1) const;

private:
    Usage usage_;
    QString command_;
    QStringList operands_;
    QMap<QString, QStringList> values_;
};

QString helpText(const Usage& usage);

}  // namespace KvMeasure
