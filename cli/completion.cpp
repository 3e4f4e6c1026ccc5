#include "cli/description.h"

#include <kvmeasure/base/filled_in.h>

namespace KvMeasure {

namespace {

/// What may follow a name: words, or "-f" for a file, "-d" for a directory, "" for what nobody can tell.
QString valuesOf(const Option& option) {
    const QString value = option.value;
    if (value == "FILE" || value == "PICTURE" || value == "PAGE" || value == "RAW" || value == "STORE")
        return "-f";
    return value == "DIR" ? QString("-d") : option.choices.join(' ');
}

QString rowOf(const QString& name, const QString& words) {
    return QString("        [\"%1\"]=\"%2\"\n").arg(name, words);
}

/// Rows of the script's table: the options of each command, the commands of each group, the values of each
/// option.
QString rows(const Description& description) {
    const Usage& usage = description.usage;
    QStringList words;
    QString text;
    for (const Option& option : usage.options) {
        words << option.name;
        if (*option.value != '\0')
            text += rowOf(usage.command + QString(' ') + option.name, valuesOf(option));
    }
    for (const Description& command : description.commands) {
        words << command.name();
        text += rows(command);
    }
    words << "--help";
    if (usage.command.isEmpty())
        words << "help"
              << "--version";
    return rowOf(usage.command.isEmpty() ? "kvmeasure" : usage.command, words.join(' ')) + text;
}

constexpr char kScript[] = R"(# Completion of kvmeasure for bash; written by "kvmeasure help --bash".
_kvmeasure() {
    local -A table=(
%1    )
    local place=kvmeasure next word option words=("${COMP_WORDS[@]:1:COMP_CWORD-1}")
    local current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    [[ ${words[0]-} == help ]] && words=("${words[@]:1}")
    for word in "${words[@]}"; do  # the command, one or two words
        next=$word
        [[ $place == kvmeasure ]] || next="$place $word"
        [[ $word != -* && -n $word && -n ${table[$next]+x} ]] || break
        place=$next
    done
    # bash takes "--name=value" apart at the sign.
    option=${COMP_WORDS[COMP_CWORD-1]}
    [[ $option == "=" ]] && option=${COMP_WORDS[COMP_CWORD-2]}
    [[ $current == "=" ]] && current=
    word=${table["$place"]}
    if [[ $option == -* && -n ${table["$place $option"]+x} ]]; then
        word=${table["$place $option"]}
    elif [[ $current != -* && $word == -* ]]; then
        word=-f  # operands
    fi
    case $word in
        -f) compopt -o default 2>/dev/null ;;
        -d) compopt -o dirnames 2>/dev/null ;;
        *) mapfile -t COMPREPLY < <(compgen -W "$word" -- "$current") ;;
    esac
}
complete -F _kvmeasure kvmeasure
)";

}  // namespace

QString bashCompletion(const Description& program) { return filledIn(kScript, rows(program)); }

}  // namespace KvMeasure
