#pragma once
// Command lines: operands, flags and options with a value, as a command declares them.

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

namespace KvMeasure {

/// One option of a command.
struct Option {
    const char* name;   ///< with its dashes, e.g. "--out"
    const char* value;  ///< name of the value in the help, or "" for a flag
    const char* help;   ///< one line
};

/// What a command takes; the help text is made from it.
struct Usage {
    const char* command;
    const char* operands;  ///< e.g. "PROFILE..."
    const char* summary;   ///< one sentence
    std::vector<Option> options;
    const char* details;  ///< further text with the examples
};

/// A parsed command line. "--name value" and "--name=value" mean the same, "--" ends the options. The
/// constructor throws Failure for unknown, repeated and incomplete options.
class Arguments {
public:
    Arguments(const Usage& usage, const QStringList& words);

    const QStringList& operands() const { return operands_; }
    bool has(const QString& name) const { return values_.contains(name); }
    QString text(const QString& name) const { return values_.value(name); }

    /// Value of an option as a number within [minimum, maximum]; `absent` when it was not given.
    double number(const QString& name, double absent, double minimum, double maximum) const;
    int integer(const QString& name, int absent, int minimum, int maximum) const;

    /// Operands must number at least one, and at most `maximum`.
    void requireOperands(int maximum) const;

private:
    QString command_;
    QString what_;
    QStringList operands_;
    QMap<QString, QString> values_;
};

QString helpText(const Usage& usage);

/// A finite number in plain or exponent notation with a decimal point, nothing else around it.
bool parseNumber(const QString& text, double& value);

/// "; did you mean X?" for the candidate that is nearest by editing, or nothing when none is near.
QString suggestion(const QString& word, const QStringList& candidates);

}  // namespace KvMeasure
