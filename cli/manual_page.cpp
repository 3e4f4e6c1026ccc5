#include "cli/description.h"
#include "cli/exit_code.h"

#include <kvmath/base/version.h>

namespace KvMeasure {

namespace {

/// Text that means itself to the formatter.
QString escaped(QString text) {
    text.replace('\\', "\\e").replace('-', "\\-").replace('\'', "\\(aq").replace('`', "\\(ga");
    text.replace('^', "\\(ha").replace('~', "\\(ti");
    return text.startsWith('.') ? "\\&" + text : text;
}

QString bold(const QString& text) { return "\\fB" + escaped(text) + "\\fR"; }
QString italic(const QString& text) { return text.isEmpty() ? text : " \\fI" + escaped(text) + "\\fR"; }
QString entry(const QString& head, const QString& text) {
    return ".TP\n" + head + '\n' + escaped(text) + '\n';
}

/// Lines as they stand in the help: indented ones keep their shape, others are filled.
QString details(const QString& text) {
    QString page;
    bool isShape = false;
    bool isNew = true;  // paragraph
    for (const QString& line : text.trimmed().split('\n')) {
        if (line.startsWith(' ') != isShape && !line.isEmpty()) {
            isShape = !isShape;
            page += isShape ? ".PP\n.EX\n" : ".EE\n";
            isNew = !isShape;
        }
        if (line.isEmpty() && !isShape) {
            isNew = true;
            continue;
        }
        if (isNew)
            page += ".PP\n";
        page += line == "Examples" ? bold(line) : escaped(line);
        page += '\n';
        isNew = false;
    }
    return isShape ? page + ".EE\n" : page;
}

bool isCommon(const Option& option) { return option.name == QLatin1String("--json"); }

QString chapter(const Description& command) {
    const Usage& usage = command.usage;
    QString page =
        ".SS " + escaped(usage.command) + '\n' + bold("kvmeasure " + usage.command) + italic(usage.operands);
    page += QString(" [options]\n.PP\n%1\n").arg(escaped(usage.summary));
    for (const Option& option : usage.options) {
        if (!isCommon(option))
            page += entry(bold(option.name) + italic(option.value), option.help);
    }
    page += details(usage.details);
    for (const Description& part : command.commands)
        page += chapter(part);
    return page;
}

QString exitCodes() {
    QString page;
    for (const ExitCode code : {Done, NotMet, Refused})
        page += entry(bold(QString::number(code)), meaning(code));
    return page;
}

}  // namespace

QString manualPage(const Description& program) {
    char* library = nullptr;
    char* version = nullptr;
    KvMath::GetVersion(library, version);
    const QString summary = program.usage.summary;
    QString page = ".\\\" Written by \"kvmeasure help --man\".\n";
    page += QString(".TH KVMEASURE 1 \"\" \"%1 %2\" \"User Commands\"\n").arg(library, version);
    page += ".SH NAME\nkvmeasure \\- " + escaped(summary.section(": ", 1)) + '\n';
    page += ".SH SYNOPSIS\n\\fBkvmeasure\\fR \\fICOMMAND\\fR ... [\\fIoptions\\fR]\n.br\n"
            "\\fBkvmeasure help\\fR [\\fICOMMAND\\fR ...]\n.br\n\\fBkvmeasure \\-\\-version\\fR\n"
            ".SH DESCRIPTION\nThe commands, each of which has its chapter below:\n";
    for (const Description& command : program.commands)
        page += entry(bold(command.name()), command.brief);
    page += details(program.usage.details);
    page +=
        ".SH OPTIONS\nEvery command has these. \"\\-\\-name value\" and \"\\-\\-name=value\" mean the same, "
        "\"\\-\\-\" ends the options. The format of a picture follows its name: .svg, .pdf or .png.\n";
    page += entry(bold("--json"), "print JSON") + entry(bold("--help"), "print the usage of the command");
    page += ".SH COMMANDS\n";
    for (const Description& command : program.commands)
        page += chapter(command);
    return page + ".SH \"EXIT STATUS\"\n" + exitCodes();
}

}  // namespace KvMeasure
