#include "common/pages/cDescription.h"

namespace {

QString optionNames(const QList<cSyntax::Parameter>& options)
{
    QStringList names;
    for (const cSyntax::Parameter& option : options) {
        for (const QByteArray& name : cDescription::namesOf(option)) {
            if (option.isOption() && !names.contains(QString::fromUtf8(name)))
                names.append(QString::fromUtf8(name));
        }
    }
    return names.join(QLatin1Char(' '));
}

QString wordList(const QList<cDescription::Entry>& entries)
{
    QStringList names;
    for (const cDescription::Entry& entry : entries)
        names.append(QString::fromUtf8(entry.name));
    return names.join(QLatin1Char(' '));
}

/// The names of an option as a pattern of "case".
QString patternOf(const cSyntax::Parameter& option)
{
    return QString::fromUtf8(option.names).replace(QLatin1Char(','), QLatin1Char('|'));
}

/// What a value or word may be, as a call of one of the helper functions.
QString offer(const QByteArray& form, const QStringList& words)
{
    if (!words.isEmpty())
        return QStringLiteral("_@NAME@_offer \"") + words.join(QLatin1Char(' ')) + QLatin1Char('"');
    if (cDescription::isFolder(form))
        return QStringLiteral("_@NAME@_paths -d");
    return cDescription::isPath(form) ? QStringLiteral("_@NAME@_paths -f") : QStringLiteral(":");
}

QString valueCases(const QList<cSyntax::Parameter>& options)
{
    QStringList lines, seen;
    for (const cSyntax::Parameter& option : options) {
        if (!option.isOption() || !cDescription::hasValue(option) || seen.contains(patternOf(option)))
            continue;
        seen.append(patternOf(option));
        lines.append(QStringLiteral("    ") + patternOf(option) + QStringLiteral(") ") +
                     offer(option.form, cDescription::wordsOf(option)) + QStringLiteral("; return ;;"));
    }
    return lines.join(QLatin1Char('\n'));
}

QList<cSyntax::Parameter> everyOption(const cDescription& description)
{
    if (description.hasOptionCommands())
        return description.allOptions();
    QList<cSyntax::Parameter> options = description.standard;
    for (const cSyntax& command : description.commands)
        options += command.parameters;
    return options;
}

/// Which options and words go with what has been typed so far, a case each.
QString commandCases(const cDescription& description)
{
    QStringList lines;
    for (const cSyntax& command : description.commands) {
        QByteArray word;
        for (const cSyntax::Parameter& parameter : command.parameters) {
            if (!parameter.isOption())
                word = parameter.names;
        }
        lines.append(QStringLiteral("    \"%1\") options=\"%2\"; words=(%3) ;;")
                         .arg(QString::fromUtf8(command.name), optionNames(command.parameters + description.standard),
                              offer(word, {})));
    }
    return lines.join(QLatin1Char('\n'));
}

/// Finds the command in the words before the cursor.
QString search(const cDescription& description)
{
    QStringList names;
    for (const cSyntax& command : description.commands)
        names.append(QStringLiteral("\"%1\"").arg(QString::fromUtf8(command.name)));
    if (description.hasOptionCommands()) {
        return QStringLiteral("        case \"$word\" in\n        %1) command=$word ;;\n        esac")
            .arg(names.join(QLatin1Char('|')));
    }
    QStringList groups;
    for (const cDescription::Entry& group : description.groups)
        groups.append(QStringLiteral("\"%1\"").arg(QString::fromUtf8(group.name)));
    return QStringLiteral("        case \"$command\" in\n        \"\") [[ $word == -* ]] || command=$word ;;\n"
                          "        %1) [[ $word == -* ]] || command=\"$command $word\" ;;\n        esac")
        .arg(groups.isEmpty() ? QStringLiteral("\"-\"") : groups.join(QLatin1Char('|')));
}

QString levelCases(const cDescription& description)
{
    if (description.hasOptionCommands()) {
        return QStringLiteral("    \"\") options=\"%1\" ;;").arg(optionNames(description.allOptions()));
    }
    QStringList lines{QStringLiteral("    \"\") options=\"%1\"; words=(_@NAME@_offer \"%2\") ;;")
                          .arg(optionNames(description.standard), wordList(description.wordsAfter()))};
    for (const cDescription::Entry& group : description.groups) {
        lines.append(QStringLiteral("    \"%1\") options=\"%2\"; words=(_@NAME@_offer \"%3\") ;;")
                         .arg(QString::fromUtf8(group.name), optionNames(description.standard),
                              wordList(description.wordsAfter(group.name))));
    }
    return lines.join(QLatin1Char('\n'));
}

const char Script[] = R"(# Completion of @NAME@ for bash, made from the program's own description of its command line.

_@NAME@_offer() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur"); }

_@NAME@_paths()
{
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "$1" -- "$cur")
}

_@NAME@()
{
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} command="" options="" word
    local -a words=(:)
    COMPREPLY=()
    # --option=value comes as three words
    if [[ $cur == "=" ]]; then
        cur=""
    elif [[ $prev == "=" ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case "$prev" in
@VALUES@
    esac
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
@SEARCH@
    done
    case "$command" in
@LEVELS@
@COMMANDS@
    esac
    if [[ $cur == -* ]]; then
        _@NAME@_offer "$options"
    else
        "${words[@]}"
    fi
}

complete -F _@NAME@ @NAME@
)";

} // namespace

QString bashCompletion(const cDescription& description)
{
    return QString::fromUtf8(Script)
        .replace(QLatin1String("@VALUES@"), valueCases(everyOption(description)))
        .replace(QLatin1String("@SEARCH@"), search(description))
        .replace(QLatin1String("@LEVELS@"), levelCases(description))
        .replace(QLatin1String("@COMMANDS@"), commandCases(description))
        .replace(QLatin1String("@NAME@"), description.program);
}
