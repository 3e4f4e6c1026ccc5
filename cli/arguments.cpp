// Words of the command line by the usage of a command. Whatever can be refused before the work is refused
// here, with the option, its range and the nearest word; of pictures also the format.
#include "cli/arguments.h"
#include "cli/exit_code.h"

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/rendering.h>

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

QString unitNote(const QString& kind) {
    if (kind == "DEG")
        return ", in degrees";
    return kind == "MM" ? QString(", in mm") : QString();
}

bool isPicture(const Option& option) { return option.value == QLatin1String("PICTURE"); }
bool isPage(const Option& option) { return option.value == QLatin1String("PAGE"); }

/// Before the work: a picture of a wrong or impossible format would be missing after it.
void checkPictureName(const QString& path) {
    try {
        requireFormat(pictureFormatOf(path));
    } catch (const Error& error) {
        throw error.at(path);
    }
}

}  // namespace

Usage with(Usage usage, const std::vector<Option>& more) {
    usage.options.insert(usage.options.end(), more.begin(), more.end());
    return usage;
}

Arguments::Arguments(const Usage& usage, const QStringList& words, int fewest, int most)
    : Arguments(usage, words) {
    requireOperands(most, fewest);
}

Arguments::Arguments(const Usage& usage, const QStringList& words) : usage_(usage), command_(usage.command) {
    if (findOption(usage_, "--json") == nullptr)
        usage_.options.push_back({"--json", "", "print JSON"});
    if (words.contains("--help") || words.mid(0, words.indexOf("--")).contains("-h"))
        throw CommandHelp{{helpText(usage_)}, usage_};
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
        const int equals = static_cast<int>(word.indexOf('='));
        const QString name = equals < 0 ? word : word.left(equals);
        const Option* option = findOption(usage_, name);
        if (option == nullptr)
            throw Error(QString("%1: unknown option \"%2\"%3 (see \"kvmeasure %1 --help\")")
                            .arg(command_, name, suggestion(name, optionNames(usage_))));
        if (values_.contains(name) && !option->isRepeatable)
            throw Error(QString("%1: %2 is given twice; give it once").arg(command_, name));
        const bool isFlag = *option->value == '\0';
        if (isFlag && equals >= 0)
            throw Error(QString("%1: %2 takes no value").arg(command_, name));
        const bool isLast = i + 1 == words.size();
        if (!isFlag && equals < 0 && (isLast || findOption(usage_, words[i + 1]) != nullptr))
            throw Error(QString("%1: %2 needs a value: %2 %3").arg(command_, name, option->value));
        if (isFlag)
            values_[name] = QStringList();
        else
            values_[name] += equals >= 0 ? word.mid(equals + 1) : words[++i];
        const bool isOneWord = !isFlag && !values_[name].last().contains(' ');
        for (int more = 1; isOneWord && more < option->words && i + 1 < words.size(); ++more)
            values_[name].last() += ' ' + words[++i];
        if (!isFlag && values_[name].last().isEmpty())
            throw Error(
                QString("%1: the value of %2 is empty; give one: %2 %3").arg(command_, name, option->value));
        if (isPicture(*option))
            checkPictureName(text(name));
    }
}

double Arguments::number(const QString& name, double absent, double minimum, double maximum) const {
    if (!has(name))
        return absent;
    double value = 0;
    const QString kind = findOption(usage_, name)->value;
    const QStringList units = kind == "DEG" ? degreeUnits() : QStringList{"mm"};
    const bool hasUnit = kind == "DEG" || kind == "MM";
    if (!parseQuantity(text(name), hasUnit ? units : QStringList(), value))
        throw Error(QString("%1: %2 needs a number with a decimal point%3, not \"%4\"")
                        .arg(command_, name, unitNote(kind), text(name)));
    if (!(value >= minimum && value <= maximum))
        throw Error(
            filledIn("%1: %2 must be from %3 to %4, not %5", command_, name, minimum, maximum, text(name)));
    return value;
}

int Arguments::integer(const QString& name, int absent, int minimum, int maximum) const {
    const double value = number(name, absent, minimum, maximum);
    if (value != std::floor(value))
        throw Error(QString("%1: %2 needs a whole number, not \"%3\"").arg(command_, name, text(name)));
    return static_cast<int>(value);
}

void Arguments::pair(const QString& name, double& first, double& second) const {
    if (!has(name))
        return;
    const QStringList words = text(name).replace(',', ' ').simplified().split(' ');
    if (words.size() != 2 || !parseNumber(words[0], first) || !parseNumber(words[1], second))
        throw Error(
            QString("%1: %2 needs two numbers, e.g. %2 -5,12.5, not \"%3\"").arg(command_, name, text(name)));
}

void Arguments::wholePair(const QString& name, int& first, int& second, int minimum, int maximum) const {
    double values[] = {double(first), double(second)};
    pair(name, values[0], values[1]);
    for (const double value : values) {
        if (has(name) && (value != std::floor(value) || value < minimum || value > maximum))
            throw Error(filledIn("%1: %2 needs two whole numbers from %3 to %4, not \"%5\"", command_, name,
                                 minimum, maximum, text(name)));
    }
    first = static_cast<int>(values[0]);
    second = static_cast<int>(values[1]);
}

int Arguments::choice(const QString& name) const {
    if (!has(name))
        return 0;
    const QStringList& words = findOption(usage_, name)->choices;
    const int chosen = static_cast<int>(words.indexOf(text(name)));
    if (chosen < 0)
        throw Error(QString("%1: %2 must be %3, not \"%4\"%5")
                        .arg(command_, name, alternatives(words), text(name), suggestion(text(name), words)));
    return chosen;
}

QString Arguments::required(const QString& name, const QString& meaning) const {
    if (text(name).isEmpty())
        throw Error(QString("%1: %2 %3 is missing; %4")
                        .arg(command_, name, findOption(usage_, name)->value, meaning));
    return text(name);
}

void Arguments::requireWith(const QStringList& names, const QString& other) const {
    for (const QString& name : names) {
        if (has(name) && !has(other))
            throw Error(QString("%1: %2 goes with %3").arg(command_, name, other));
    }
}

void Arguments::requireOperands(int most, int fewest) const {
    if (operands_.size() < fewest)
        throw Error(QString("%1: %3name %2 (see \"kvmeasure %1 --help\")")
                        .arg(command_, usage_.operands, operands_.isEmpty() ? "nothing to read; " : ""));
    if (operands_.size() > most)
        throw Error(
            QString("%1: unexpected \"%2\" (see \"kvmeasure %1 --help\")").arg(command_, operands_[most]));
}

QString helpText(const Usage& usage) {
    const QString words = QStringList{"kvmeasure", usage.command, usage.operands, "[options]"}.join(' ');
    QString text = QString("%1\n%2\n\nOptions\n").arg(words.simplified(), usage.summary);
    for (const Option& option : usage.options) {
        const QString head = QString("  %1 %2").arg(option.name, option.value);
        text += head.leftJustified(30) + "  " + option.help + '\n';
    }
    text += QString("  --help, -h").leftJustified(30) + "  this text\n";
    if (std::any_of(usage.options.begin(), usage.options.end(), isPicture))
        text += "\nThe format of a PICTURE follows its name: .svg, .pdf or .png.\n";
    if (std::any_of(usage.options.begin(), usage.options.end(), isPage))
        text += "\nA PAGE is HTML or, printed by Chromium where that is installed, PDF, by its name: .html "
                "or .pdf.\n";
    return text + '\n' + usage.details;
}

}  // namespace KvMeasure
