#include "common/pages/cDescription.h"

namespace {

QString quoted(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\''), QLatin1String("\\'"));
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

QString lineFor(const QString& program, const QString& condition, const QString& rest)
{
    const QString when = condition.isEmpty() ? QString() : QStringLiteral(" -n ") + quoted(condition);
    return QStringLiteral("complete -c ") + program + when + QLatin1Char(' ') + rest;
}

QString optionLine(const QString& program, const QString& condition, const cSyntax::Parameter& option)
{
    QStringList parts;
    for (const QByteArray& name : cDescription::namesOf(option)) {
        const bool isLong = name.startsWith("--");
        parts.append((isLong ? QStringLiteral("-l ") : QStringLiteral("-s ")) +
                     quoted(QString::fromUtf8(name.mid(isLong ? 2 : 1))));
    }
    const QStringList words = cDescription::wordsOf(option);
    if (!words.isEmpty())
        parts.append(QStringLiteral("-x -a ") + quoted(words.join(QLatin1Char(' '))));
    else if (cDescription::hasValue(option))
        parts.append(cDescription::isPath(option.form) ? QStringLiteral("-r -F") : QStringLiteral("-x"));
    parts.append(QStringLiteral("-d ") + quoted(cDescription::firstSentence(QString::fromUtf8(option.help))));
    return lineFor(program, condition, parts.join(QLatin1Char(' ')));
}

QString commandLine(const QString& program, const QString& condition, const cDescription::Entry& entry)
{
    return lineFor(program, condition,
                   QStringLiteral("-f -a %1 -d %2").arg(quoted(QString::fromUtf8(entry.name)), quoted(entry.help)));
}

/// That one of @p words has been typed.
QString seen(const QByteArray& words)
{
    return QStringLiteral("__fish_seen_subcommand_from ") + QString::fromUtf8(words);
}

/// That each word of @p name has been.
QString seenAll(const QByteArray& name)
{
    QStringList conditions;
    for (const QByteArray& word : name.split(' '))
        conditions.append(seen(word));
    return conditions.join(QStringLiteral("; and "));
}

QStringList subcommandLines(const cDescription& description)
{
    QStringList lines;
    for (const cDescription::Entry& entry : description.wordsAfter())
        lines.append(commandLine(description.program, QStringLiteral("__fish_use_subcommand"), entry));
    for (const cDescription::Entry& group : description.groups) {
        const QList<cDescription::Entry> words = description.wordsAfter(group.name);
        QByteArray all;
        for (const cDescription::Entry& word : words)
            all += ' ' + word.name;
        for (const cDescription::Entry& word : words) {
            const QString condition = seenAll(group.name) + QStringLiteral("; and not ") + seen(all.mid(1));
            lines.append(commandLine(description.program, condition, word));
        }
    }
    for (const cSyntax& command : description.commands) {
        for (const cSyntax::Parameter& parameter : command.parameters) {
            if (parameter.isOption())
                lines.append(optionLine(description.program, seenAll(command.name), parameter));
        }
    }
    return lines;
}

} // namespace

QString fishCompletion(const cDescription& description)
{
    QStringList lines{QStringLiteral("# Made from the program's own description of its command line.")};
    if (!description.hasOptionCommands())
        lines += subcommandLines(description);
    for (const cSyntax::Parameter& option :
         description.hasOptionCommands() ? description.allOptions() : description.standard)
        lines.append(optionLine(description.program, QString(), option));
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}
