#include "common/pages/cDescription.h"

namespace {

/// Help as it may stand in a quoted specification: brackets and colons are its own there.
QString plain(const QString& help)
{
    QString text = cDescription::firstSentence(help);
    text.replace(QLatin1Char('['), QLatin1Char('(')).replace(QLatin1Char(']'), QLatin1Char(')'));
    return text.replace(QLatin1Char(':'), QLatin1String("\\:")).replace(QLatin1Char('\''), QLatin1String("'\\''"));
}

QString actionOf(const QByteArray& form, const QStringList& words)
{
    if (!words.isEmpty())
        return QStringLiteral("(%1)").arg(words.join(QLatin1Char(' ')));
    if (cDescription::isFolder(form))
        return QStringLiteral("_files -/");
    return cDescription::isPath(form) ? QStringLiteral("_files") : QStringLiteral(" ");
}

/// A specification for _arguments for each name of an option.
QStringList specificationsOf(const cSyntax::Parameter& option)
{
    QStringList result;
    const QString help = plain(QString::fromUtf8(option.help));
    for (const QByteArray& name : cDescription::namesOf(option)) {
        QString text = QStringLiteral("'") +
                       (std::holds_alternative<QStringList*>(option.target) ? QStringLiteral("*") : QString()) +
                       QString::fromUtf8(name) + QStringLiteral("[%1]").arg(help);
        if (cDescription::hasValue(option)) {
            const QString form = plain(QString::fromUtf8(option.form));
            text += QStringLiteral(":%1:%2").arg(form, actionOf(option.form, cDescription::wordsOf(option)));
        }
        result.append(text + QLatin1Char('\''));
    }
    return result;
}

QString argumentsCall(const QList<cSyntax::Parameter>& parameters, const QString& indent)
{
    QStringList specifications;
    QByteArray word;
    for (const cSyntax::Parameter& parameter : parameters) {
        if (parameter.isOption())
            specifications += specificationsOf(parameter);
        else
            word = parameter.names;
    }
    const QString rest = cDescription::isPath(word) ? actionOf(word, {}) : QStringLiteral("_files");
    specifications.append(QStringLiteral("'*:word:%1'").arg(rest));
    return indent + QStringLiteral("_arguments -s \\\n") + indent + QStringLiteral("    ") +
           specifications.join(QStringLiteral(" \\\n    ") + indent);
}

QString describe(const QList<cDescription::Entry>& entries)
{
    QStringList words;
    for (const cDescription::Entry& entry : entries)
        words.append(QStringLiteral("'%1:%2'").arg(QString::fromUtf8(entry.name), plain(entry.help)));
    return QStringLiteral("commands=(%1); _describe command commands").arg(words.join(QLatin1Char(' ')));
}

QString subcommandCases(const cDescription& description)
{
    QString text =
        QStringLiteral("    local -a commands\n    if (( CURRENT == 2 )); then\n        %1\n        return\n    fi\n"
                       "    case \"${words[2]}\" in\n")
            .arg(describe(description.firstWords()));
    for (const cSyntax& command : description.commands) {
        if (command.name.contains(' '))
            continue;
        text +=
            QStringLiteral("    %1)\n        shift words; (( CURRENT -= 1 ))\n").arg(QString::fromUtf8(command.name)) +
            argumentsCall(command.parameters + description.standard, QStringLiteral("        ")) +
            QStringLiteral(" ;;\n");
    }
    for (const cDescription::Entry& group : description.groups) {
        text += QStringLiteral(
                    "    %1)\n        if (( CURRENT == 3 )); then\n            %2\n            return\n        fi\n"
                    "        case \"${words[3]}\" in\n")
                    .arg(QString::fromUtf8(group.name), describe(description.secondWords(group.name)));
        for (const cSyntax& command : description.commands) {
            if (!command.name.startsWith(group.name + ' '))
                continue;
            text += QStringLiteral("        %1)\n            shift 2 words; (( CURRENT -= 2 ))\n")
                        .arg(QString::fromUtf8(command.name.mid(group.name.size() + 1))) +
                    argumentsCall(command.parameters + description.standard, QStringLiteral("            ")) +
                    QStringLiteral(" ;;\n");
        }
        text += QStringLiteral("        esac ;;\n");
    }
    return text + QStringLiteral("    esac");
}

} // namespace

QString zshCompletion(const cDescription& description)
{
    const QString body = description.hasOptionCommands()
                             ? argumentsCall(description.allOptions(), QStringLiteral("    "))
                             : subcommandCases(description);
    return QStringLiteral(
               "#compdef %1\n# Made from the program's own description of its command line.\n\n_%1() {\n%2\n}\n\n"
               "_%1 \"$@\"\n")
        .arg(description.program, body);
}
