#pragma once
// Command lines: operands, flags and options with a value, as a command declares them.

#include "kvmeasure/failure.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// One option of a command.
struct Option {
    const char* name;          ///< with its dashes, e.g. "--out"
    const char* value;         ///< name of the value in the help, or "" for a flag
    const char* help;          ///< one line
    QStringList choices = {};  ///< all values that there are, where these are words
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

constexpr int anyNumber = std::numeric_limits<int>::max();  ///< of operands

/// Thrown where a command is asked for its help.
struct CommandHelp : Help {
    Usage usage;  ///< with what every command has
};

/// A parsed command line. "--name value" and "--name=value" mean the same, "--" ends the options. Every
/// command has --json and --help, which need not be declared. The constructor throws CommandHelp where it is
/// asked for, and Failure for unknown, repeated and incomplete options; the others throw Failure.
class Arguments {
public:
    Arguments(const Usage& usage, const QStringList& words);
    /// With from `fewest` to `most` operands.
    Arguments(const Usage& usage, const QStringList& words, int fewest, int most);

    const QStringList& operands() const { return operands_; }
    QString operand(int i) const { return operands_.value(i); }
    bool isJson() const { return has("--json"); }
    bool has(const QString& name) const { return values_.contains(name); }
    QString text(const QString& name) const { return values_.value(name); }

    /// Value of an option as a number within [minimum, maximum]; `absent` when it was not given.
    double number(const QString& name, double absent, double minimum, double maximum) const;
    int integer(const QString& name, int absent, int minimum, int maximum) const;

    /// Two numbers "A,B" or "A B"; unchanged when the option was not given.
    void pair(const QString& name, double& first, double& second) const;
    void wholePair(const QString& name, int& first, int& second, int minimum, int maximum) const;

    /// Index of the value among the choices of the option; 0 when the option was not given.
    int choice(const QString& name) const;

    /// Value of an option that must be given; `meaning` says what it is.
    QString required(const QString& name, const QString& meaning) const;

    /// Operands must number at least `fewest`, and at most `most`.
    void requireOperands(int most, int fewest = 1) const;

private:
    Usage usage_;
    QString command_;
    QStringList operands_;
    QMap<QString, QString> values_;
};

QString helpText(const Usage& usage);

/// "a, b or c".
QString alternatives(const QStringList& words);

/// A finite number in plain or exponent notation with a decimal point, nothing else around it.
bool parseNumber(const QString& text, double& value);

/// "; did you mean X?" for the candidate that is nearest by editing, or nothing when none is near.
QString suggestion(const QString& word, const QStringList& candidates);

}  // namespace KvMeasure
