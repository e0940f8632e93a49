#include "common/Suggestion.h"

#include "common/pages/cDescription.h"
#include "version/Shown.h"

namespace {

QString withoutDashes(QString name)
{
    while (name.startsWith(QLatin1Char('-')))
        name.remove(0, 1);
    return name.toLower();
}

QStringList namesIn(const QList<cDescription::Entry>& entries)
{
    QStringList names;
    for (const cDescription::Entry& entry : entries)
        names.append(QString::fromUtf8(entry.name));
    return names;
}

QString unknownCommand(const QStringList& words, const cDescription& description)
{
    QStringList known = namesIn(description.wordsAfter());
    QString before;
    for (const QString& word : words + QStringList(QString())) {
        if (word.isEmpty())
            return QStringLiteral("a command is missing: %1 %2{%3}")
                .arg(description.program, before, known.join(QLatin1Char('|')));
        if (!known.contains(word))
            return QStringLiteral("there is no command \"%1\"%2").arg(before + word, suggestionFor(word, known));
        known = namesIn(description.wordsAfter((before + word).toUtf8()));
        if (known.isEmpty())
            return QString();
        before += word + QLatin1Char(' ');
    }
    return QString();
}

QString unknownOption(const QStringList& arguments, const QByteArray& command, const cDescription& description)
{
    QStringList known;
    QList<cSyntax::Parameter> options = description.standard;
    for (const cSyntax& syntax : description.commands) {
        if (command.isEmpty() || syntax.name == command)
            options += syntax.parameters;
    }
    for (const cSyntax::Parameter& option : qAsConst(options)) {
        for (const QByteArray& name : cDescription::namesOf(option)) {
            if (option.isOption())
                known.append(QString::fromUtf8(name));
        }
    }
    for (const QString& argument : arguments.mid(1)) {
        const QString name = argument.section(QLatin1Char('='), 0, 0);
        if (name == QLatin1String("--"))
            break;
        if (name.startsWith(QLatin1String("--")) && !known.contains(name))
            return QStringLiteral("%1 is no option%2").arg(name, suggestionFor(name, known));
    }
    return QString();
}

} // namespace

QString suggestionFor(const QString& word, const QStringList& known)
{
    QStringList bare;
    for (const QString& name : known)
        bare.append(withoutDashes(name));
    const int nearest = bare.indexOf(nearestName(withoutDashes(word), bare));
    return nearest < 0 ? QString() : QStringLiteral("; did you mean %1?").arg(known.at(nearest));
}

QString unknownIn(const QStringList& arguments, const cDescription& description)
{
    QStringList words;
    for (int i = 1; i < arguments.size(); ++i) {
        const bool isColor = arguments.at(i - 1) == QLatin1String("--color"); // the only value that stands before
        if (!arguments.at(i).startsWith(QLatin1Char('-')) && !isColor)
            words.append(arguments.at(i));
    }
    if (description.hasOptionCommands())
        return unknownOption(arguments, QByteArray(), description);
    const QString unknown = unknownCommand(words, description);
    if (!unknown.isEmpty())
        return unknown;
    QByteArray command = words.first().toUtf8();
    for (int i = 1; !description.wordsAfter(command).isEmpty(); ++i)
        command += ' ' + words.at(i).toUtf8();
    return unknownOption(arguments, command, description);
}
