#include "common/pages/cDescription.h"

#include <algorithm>

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

/// What follows @p group, whose words have been shifted away; @p indent is that of the lines.
QString casesAfter(const cDescription& description, const QByteArray& group, const QString& indent)
{
    QString text = QStringLiteral("%1if (( CURRENT == 2 )); then\n%1    %2\n%1    return\n%1fi\n"
                                  "%1case \"${words[2]}\" in\n")
                       .arg(indent, describe(description.wordsAfter(group)));
    const QString inner = indent + QStringLiteral("    ");
    for (const cDescription::Entry& word : description.wordsAfter(group)) {
        const QByteArray name = group.isEmpty() ? word.name : group + ' ' + word.name;
        text += QStringLiteral("%1%2)\n%3shift words; (( CURRENT -= 1 ))\n")
                    .arg(indent, QString::fromUtf8(word.name), inner);
        const auto command = std::find_if(description.commands.begin(), description.commands.end(),
                                          [&](const cSyntax& syntax) { return syntax.name == name; });
        text += command == description.commands.end()
                    ? casesAfter(description, name, inner)
                    : argumentsCall(command->parameters + description.standard, inner);
        text += QStringLiteral(" ;;\n");
    }
    return text + indent + QStringLiteral("esac");
}

} // namespace

QString zshCompletion(const cDescription& description)
{
    const QString body =
        description.hasOptionCommands()
            ? argumentsCall(description.allOptions(), QStringLiteral("    "))
            : QStringLiteral("    local -a commands\n") + casesAfter(description, {}, QStringLiteral("    "));
    return QStringLiteral(
               "#compdef %1\n# Made from the program's own description of its command line.\n\n_%1() {\n%2\n}\n\n"
               "_%1 \"$@\"\n")
        .arg(description.program, body);
}
