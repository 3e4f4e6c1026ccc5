#include "kvmeasure/arguments.h"

#include "kvmeasure/failure.h"

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

QStringList optionNames(const Usage& usage) {
    QStringList names{"--help"};
    for (const Option& option : usage.options)
        names.append(option.name);
    return names;
}

const Option* findOption(const Usage& usage, const QString& name) {
    for (const Option& option : usage.options) {
        if (name == QLatin1String(option.name))
            return &option;
    }
    return nullptr;
}

/// Number of single-letter changes between two words.
int editDistance(const QString& a, const QString& b) {
    std::vector<int> row(static_cast<std::size_t>(b.size()) + 1);
    for (std::size_t j = 0; j < row.size(); ++j)
        row[j] = static_cast<int>(j);
    for (int i = 0; i < a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i + 1;
        for (int j = 0; j < b.size(); ++j) {
            const std::size_t k = static_cast<std::size_t>(j) + 1;
            const int replaced = diagonal + (a[i].toLower() == b[j].toLower() ? 0 : 1);
            diagonal = row[k];
            row[k] = std::min({replaced, row[k] + 1, row[k - 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

bool parseNumber(const QString& text, double& value) {
    bool ok = false;
    const double parsed = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(parsed))
        return false;
    value = parsed;
    return true;
}

QString suggestion(const QString& word, const QStringList& candidates) {
    constexpr int longestWord = 64;  // beyond that nothing of ours is near
    if (word.size() > longestWord)
        return QString();
    QString nearest;
    int best = std::max(1, word.size() / 3) + 1;
    for (const QString& candidate : candidates) {
        const int distance = editDistance(word, candidate);
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest.isEmpty() ? QString() : QString("; did you mean \"%1\"?").arg(nearest);
}

Arguments::Arguments(const Usage& usage, const QStringList& words)
    : command_(usage.command), what_(usage.operands) {
    bool optionsEnded = false;
    for (int i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (optionsEnded || !word.startsWith('-') || word == "-") {
            operands_.append(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        const int equals = word.indexOf('=');
        const QString name = equals < 0 ? word : word.left(equals);
        const Option* option = findOption(usage, name);
        if (option == nullptr)
            throw Failure{QString("%1: unknown option \"%2\"%3 (see \"kvmeasure %1 --help\")")
                              .arg(command_, name, suggestion(name, optionNames(usage)))};
        if (values_.contains(name))
            throw Failure{QString("%1: %2 is given twice; give it once").arg(command_, name)};
        const bool isFlag = *option->value == '\0';
        if (isFlag && equals >= 0)
            throw Failure{QString("%1: %2 takes no value").arg(command_, name)};
        const bool isLast = i + 1 == words.size();
        if (!isFlag && equals < 0 && (isLast || findOption(usage, words[i + 1]) != nullptr))
            throw Failure{QString("%1: %2 needs a value: %2 %3").arg(command_, name, option->value)};
        if (isFlag)
            values_[name] = QString();
        else
            values_[name] = equals >= 0 ? word.mid(equals + 1) : words[++i];
    }
}

double Arguments::number(const QString& name, double absent, double minimum, double maximum) const {
    if (!has(name))
        return absent;
    double value = 0;
    if (!parseNumber(text(name), value))
        throw Failure{QString("%1: %2 needs a number with a decimal point, not \"%3\"")
                          .arg(command_, name, text(name))};
    if (!(value >= minimum && value <= maximum))
        throw Failure{QString("%1: %2 must be from %3 to %4, not %5")
                          .arg(command_, name)
                          .arg(minimum)
                          .arg(maximum)
                          .arg(text(name))};
    return value;
}

int Arguments::integer(const QString& name, int absent, int minimum, int maximum) const {
    const double value = number(name, absent, minimum, maximum);
    if (value != std::floor(value))
        throw Failure{QString("%1: %2 needs a whole number, not \"%3\"").arg(command_, name, text(name))};
    return static_cast<int>(value);
}

void Arguments::requireOperands(int maximum) const {
    if (operands_.isEmpty())
        throw Failure{
            QString("%1: nothing to read; name %2 (see \"kvmeasure %1 --help\")").arg(command_, what_)};
    if (operands_.size() > maximum)
        throw Failure{
            QString("%1: unexpected \"%2\"; only %3 can be named").arg(command_, operands_[maximum], what_)};
}

QString helpText(const Usage& usage) {
    QString text = QString("kvmeasure %1 %2 [options]\n%3\n\nOptions\n")
                       .arg(usage.command, usage.operands, usage.summary);
    for (const Option& option : usage.options) {
        const QString head = QString("  %1 %2").arg(option.name, option.value);
        text += head.leftJustified(30) + "  " + option.help + '\n';
    }
    text += QString("  --help").leftJustified(30) + "  this text\n";
    return text + '\n' + usage.details;
}

}  // namespace KvMeasure
